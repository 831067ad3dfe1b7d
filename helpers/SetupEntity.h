// Internal to the helpers: writes one entity of a service, built from its
// digest.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

// Builds the entity named protocol from digest (a record of the protocol's
// digest type; nil stands for one with every field zero or nil) and writes
// it into the service of the set, replacing what was there. Returns the
// builder's or the write's status; nothing is written when the build fails.
// A nil protocol is reported and refused with paramErr.
OSStatus SetupEntity(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol, const void* digest);
