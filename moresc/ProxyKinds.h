// The kinds of proxy of a service's "Proxies" entity, as the command line
// names them, with their fields in the Proxies digest and their keys in
// the entity.
#pragma once

#include <span>

#include "MoreSC.h"

struct ProxyKind {
    const char* name;  // web, secure-web, ftp, socks, streaming, gopher
    Boolean MoreSCProxiesDigest::*enable;
    CFStringRef MoreSCProxiesDigest::*proxy;
    UInt16 MoreSCProxiesDigest::*port;
    CFStringRef enableKey;
    CFStringRef proxyKey;
    CFStringRef portKey;
};

// Every kind, in the order moresc lists them.
std::span<const ProxyKind> AllProxyKinds();
