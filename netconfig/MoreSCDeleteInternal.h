// Internal to the layer and its tests: the collection that follows every
// deletion.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

// Removes every service under "NetworkServices" that no set links to. Stops
// at the first failure and returns it: a set whose services cannot be
// listed, a missing "NetworkServices" (the store's status), or a refused
// removal; -4960 when the set of IDs cannot be made. Needs an open session.
OSStatus DeleteUnreferencedServices(void);
