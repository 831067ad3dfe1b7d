// The global HTTP proxy payload of a configuration profile
// ("com.apple.proxy.http.global") and a service's "Proxies" entity, each
// said in the other's terms.
//
// The payload knows one proxy for the web: "ProxyType" "Manual", with
// "ProxyServer" and "ProxyServerPort", or "Auto", with "ProxyPACURL" (none:
// web proxy auto-discovery). In the entity that is the web and secure web
// proxies, or PAC, or auto-discovery.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "MoreSC.h"

// A global HTTP proxy payload, read and checked.
struct GlobalProxy {
    bool manual = false;                  // "Manual"; otherwise "Auto"
    CFRef<CFStringRef> server;            // Manual: the proxy's host
    std::optional<SInt32> port;           // Manual: its port, when the payload gives one
    CFRef<CFStringRef> pacURL;            // Auto: the PAC file's URL; nil: auto-discovery
    std::vector<std::string> unstored;    // keys the payload sets that the store has no place for
};

// Reads the payload's keys into *proxy. A payload that does not say one
// proxy (no or another "ProxyType", Manual without a server, a port that
// is not one) gives false, with *why saying what is wrong.
bool ReadGlobalProxy(CFDictionaryRef payload, GlobalProxy* proxy, std::string* why);

// Changes entity (a service's "Proxies" entity, or an empty dictionary) as
// the payload says. Manual: the web and secure web proxies on, with the
// server and port (no port: none); PAC and auto-discovery off. Auto with a
// URL: the web proxies and auto-discovery off, PAC on with the URL. Auto
// without: the web proxies and PAC off, auto-discovery on. A flag is
// switched on as 1; switched off, it is 0 where the entity has it and stays
// absent where it has not. Hosts, ports and keys not named here stay.
OSStatus ApplyGlobalProxy(const GlobalProxy& proxy, CFMutableDictionaryRef entity);

// The payload's own keys ("ProxyType" and the rest, without the
// "Payload..." identity) that say what proxies, a "Proxies" entity, says:
// PAC on with a URL (Auto), auto-discovery alone (Auto without a URL), or
// the web proxy on, alone or with the same secure web proxy (Manual).
// Anything else gives nil, with *why saying what cannot be said. Keys of
// the entity that the payload cannot carry (a bypass list) are named in
// *leftOut.
CFRef<CFDictionaryRef> CreateGlobalProxyKeys(CFDictionaryRef proxies, std::string* why,
                                             std::vector<std::string>* leftOut);
