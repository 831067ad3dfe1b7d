// Internal to the layer and its tests: the active flag that entities and
// services share.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

// Adds ("__INACTIVE__" = 1) or removes the inactive marker of dict (not
// nil). A dict already in the wanted state is left alone. Sets *changed
// (when given) to true only if dict changed; never clears it. -4960, with
// dict unchanged, when the marker's number cannot be made. Needs no session.
OSStatus SetDictionaryActive(CFMutableDictionaryRef dict, Boolean active, Boolean* changed);
