// Builds the entity named protocol from its digest: "Interface",
// "Proxies", "AppleTalk", "DNS", "IPv4", "PPP", "AirPort", "Ethernet" or
// "Modem", each from the digest record of that name. Any other name is -1
// with *entity nil.
#pragma once

#include "entities/MoreSCDigests.h"

OSStatus MoreSCCreateEntity(CFStringRef protocol, const void* digest, CFDictionaryRef* entity);
