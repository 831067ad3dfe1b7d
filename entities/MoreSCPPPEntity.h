// The PPP entity of a dial-up or PPP-over-Ethernet service, the option
// defaults by system version, and the encoding of the stored password.
#pragma once

#include "entities/MoreSCDigests.h"

// The option defaults for this system: on 10.2 or later the PPPoE or the
// dial-up table, on an older system the 10.1 table whatever forPPPoE says.
// Never nil; the table is constant.
const MoreSCPPPOptions* MoreSCGetDefaultPPPOptions(Boolean forPPPoE);

// Builds the PPP entity; a digest without options takes the dial-up
// defaults of this system. *entity must hold nil on entry; on success it
// receives a new dictionary the caller owns and releases, on failure it
// stays nil (-4960, or -108 for the password's buffer).
OSStatus MoreSCCreatePPPEntity(const MoreSCPPPDigest* digest, CFDictionaryRef* entity);

// The password as stored under "AuthPassword": its UTF-16 code units,
// big-endian, no byte-order mark and no terminator. The caller owns the
// data; *encodedPassword must be nil on entry and stays nil on failure
// (-108 or -4960).
OSStatus MoreSCFCopyEncodedPPPPassword(CFStringRef password, CFDataRef* encodedPassword);
