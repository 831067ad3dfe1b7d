// Builders of the protocol entities of a service: IPv4, DNS, Proxies and
// AppleTalk. Same contract as the interface builders: the digest in (not
// nil), and *entity, nil on entry, receives a new dictionary the caller
// owns and releases; on failure it stays nil (-4960 when an object cannot
// be made). Failed checks of the digest are reported on standard error and
// the entity is built all the same.
#pragma once

#include "entities/MoreSCDigests.h"

// Warns on standard error when the addresses do not suit the configuration
// method, and builds the entity anyway.
OSStatus MoreSCCreateIPv4Entity(const MoreSCIPv4Digest* digest, CFDictionaryRef* entity);
OSStatus MoreSCCreateDNSEntity(const MoreSCDNSDigest* digest, CFDictionaryRef* entity);
// Writes every protocol's enable flag, and its host and port when set; no
// auto-configuration keys.
OSStatus MoreSCCreateProxiesEntity(const MoreSCProxiesDigest* digest, CFDictionaryRef* entity);
OSStatus MoreSCCreateAppleTalkEntity(const MoreSCAppleTalkDigest* digest, CFDictionaryRef* entity);
