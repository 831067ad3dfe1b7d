// Address texts used in entities: MAC addresses as "00:0a:95:9d:68:16" and
// IPv4 addresses in dotted decimal. Out-slots must hold nil on entry; on
// success they receive a new string or array the caller owns and releases,
// on failure they stay nil (-4960 when it cannot be made). Failed checks of
// the arguments are reported on standard error and the call goes on.
#pragma once

#include "entities/MoreSCDigests.h"

// Six bytes as two lower-case hexadecimal digits each, joined by colons.
OSStatus MoreSCFCreateStringWithMacAddress(const UInt8 macAddr[6], CFStringRef* result);

// Parses "xx:xx:xx:xx:xx:xx" (either case, single-digit fields allowed).
// -4960 when the text is longer than 17 characters or not ASCII; -1 when
// it does not hold six fields, leaving macAddr untouched.
OSStatus MoreSCFStringToMacAddress(CFStringRef cfStr, UInt8 macAddr[6]);

// Dotted-decimal text of an address in network byte order (0 gives
// "0.0.0.0").
OSStatus MoreSCFCreateStringWithInetAddress(MoreSCInetAddress addr, CFStringRef* result);

// An array of the texts of addrCount addresses, in order; empty for 0.
OSStatus MoreSCFCreateArrayWithInetAddresses(UInt32 addrCount, const MoreSCInetAddress* addresses,
                                             CFArrayRef* result);
