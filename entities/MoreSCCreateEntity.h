// Builds the entity named protocol from its digest: "Interface",
// "Proxies", "AppleTalk", "DNS", "IPv4", "PPP", "AirPort", "Ethernet" or
// "Modem", each from the digest record of that name (digest must point at
// that record). *entity must hold nil on entry; on success it receives a
// new dictionary the caller owns and releases. Any other name is reported
// and gives -1 with *entity nil; the builders' own failures are theirs.
#pragma once

#include "entities/MoreSCDigests.h"

OSStatus MoreSCCreateEntity(CFStringRef protocol, const void* digest, CFDictionaryRef* entity);
