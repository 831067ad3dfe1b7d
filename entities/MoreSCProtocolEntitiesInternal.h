// Internal to the entity builders and their tests.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

// One protocol of the Proxies entity: the enable flag always, the proxy
// host if not nil, the port if not 0. Stops at the first number that cannot
// be made (-4960).
OSStatus AddProxy(CFMutableDictionaryRef dict, CFStringRef enableKey, CFStringRef proxyKey, CFStringRef portKey,
                  Boolean enable, CFStringRef proxy, UInt16 port);
