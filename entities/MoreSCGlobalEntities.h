// Builders of the entities that live in a set's global area rather than in
// a service. The digest argument must not be nil but is not read. *entity
// must hold nil on entry; on success it receives a new dictionary the
// caller owns and releases, on failure it stays nil (-4960 when an object
// cannot be made).
#pragma once

#include "entities/MoreSCDigests.h"

// "IPv4" or "NetInfo"; any other name is -1 with *entity nil.
OSStatus MoreSCCreateGlobalEntity(CFStringRef protocol, const void* digest, CFDictionaryRef* entity);

// "PPPOverridePrimary" 0 and an empty "ServiceOrder".
OSStatus MoreSCCreateIPv4GlobalEntity(const void* digest, CFDictionaryRef* entity);
// An empty dictionary.
OSStatus MoreSCCreateNetInfoGlobalEntity(const void* digest, CFDictionaryRef* entity);
