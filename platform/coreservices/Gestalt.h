// The system-information call Gestalt. The one selector answered is the
// system version, read from the SystemVersion.plist of the system under
// TARNWICK_ROOT.
#pragma once

#include "platform/corefoundation/MacTypes.h"

enum : OSType {
    // 'sysv': the system version as binary-coded decimal, 0xMMmb for
    // version MM.m.b, minor and bug-fix release each capped at 9
    // (10.4.11 gives 0x1049, 10.2 gives 0x1020).
    gestaltSystemVersion = 0x73797376,
};

enum : OSErr {
    // The selector is unknown, or the system cannot answer it (no readable
    // SystemVersion.plist with a parsable "ProductVersion").
    gestaltUndefSelectorErr = -5551,
};

// Stores the answer for selector in *response and returns noErr; on
// failure returns gestaltUndefSelectorErr and leaves *response unchanged.
OSErr Gestalt(OSType selector, SInt32* response);

