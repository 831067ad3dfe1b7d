// Builders of the protocol entities of a service: IPv4, DNS, Proxies and
// AppleTalk. Same contract as the interface builders: digest in, a new
// mutable dictionary owned by the caller out (nil on failure).
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

// One protocol of the Proxies entity: the enable flag always, the proxy
// host if not nil, the port if not 0.
OSStatus AddProxy(CFMutableDictionaryRef dict, CFStringRef enableKey, CFStringRef proxyKey, CFStringRef portKey,
                  Boolean enable, CFStringRef proxy, UInt16 port);
