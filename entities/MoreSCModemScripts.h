// The modem scripts installed on this system: the names of the plain,
// visible files in the modem-scripts folders of the user, network, local
// and system domains, sorted the way users read them, each name once.
#pragma once

#include "entities/MoreSCDigests.h"

// *result (nil on entry) receives the sorted names, owned by the caller; it
// stays nil on failure. When indexOfDefaultCCL is not nil it receives the
// position of "Apple Internal 56K Modem (v.90)", or 0 when that script is
// not installed. A domain without a modem-scripts folder has no scripts;
// a folder that cannot be read gives its status, -108 or -4960 when memory
// or an object cannot be had.
OSStatus MoreSCCreateCCLArray(CFArrayRef* result, SInt32* indexOfDefaultCCL);
