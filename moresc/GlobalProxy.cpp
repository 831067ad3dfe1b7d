#include "moresc/GlobalProxy.h"

#include "moresc/ProxyKinds.h"
#include "moresc/Text.h"
#include "moresc/Values.h"

namespace {

#define kProxyAutoDiscoveryEnable CFSTR("ProxyAutoDiscoveryEnable")
#define kProxyExcludeSimpleHostnames CFSTR("ExcludeSimpleHostnames")

#define kGlobalProxyType CFSTR("ProxyType")
#define kGlobalProxyServer CFSTR("ProxyServer")
#define kGlobalProxyServerPort CFSTR("ProxyServerPort")
#define kGlobalProxyPACURL CFSTR("ProxyPACURL")

// A flag of an entity or payload is on when it is a non-zero number (as the
// store writes flags) or true.
bool FlagOn(CFDictionaryRef dict, CFStringRef key) {
    CFTypeRef value = CFDictionaryGetValue(dict, key);
    if (IsType(value, CFBooleanGetTypeID())) return CFBooleanGetValue(static_cast<CFBooleanRef>(value));
    if (!IsType(value, CFNumberGetTypeID())) return false;
    double number = 0;
    CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberDoubleType, &number);
    return number != 0;
}

// A whole number from 1 to 65535, or nothing.
std::optional<SInt32> PortOf(CFTypeRef value) {
    SInt64 port = 0;
    if (!IsType(value, CFNumberGetTypeID()) || CFNumberIsFloatType(static_cast<CFNumberRef>(value)) ||
        !CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberSInt64Type, &port) || port < 1 || port > 65535) {
        return std::nullopt;
    }
    return static_cast<SInt32>(port);
}

CFStringRef StringOrNil(CFDictionaryRef dict, CFStringRef key) {
    CFTypeRef value = CFDictionaryGetValue(dict, key);
    return IsType(value, CFStringGetTypeID()) ? static_cast<CFStringRef>(value) : nil;
}

bool IsEmptyString(CFStringRef string) { return string == nil || CFStringGetLength(string) == 0; }

// Switches a flag on (1), or off: 0 where the entity has the key.
OSStatus SetFlag(CFMutableDictionaryRef entity, CFStringRef key, bool on) {
    if (!on && !CFDictionaryContainsKey(entity, key)) return noErr;
    return CFQDictionarySetNumber(entity, key, on ? 1 : 0);
}

// The web or secure web proxy of kind as the payload says: on, with its
// server and port (Manual), or off, keeping its host and port (Auto).
OSStatus SetWebProxy(CFMutableDictionaryRef entity, const ProxyKind& kind, const GlobalProxy& proxy) {
    OSStatus err = SetFlag(entity, kind.enableKey, proxy.manual);
    if (err == noErr && proxy.manual) {
        CFDictionarySetValue(entity, kind.proxyKey, proxy.server.get());
        if (proxy.port) {
            err = CFQDictionarySetNumber(entity, kind.portKey, *proxy.port);
        } else {
            CFDictionaryRemoveValue(entity, kind.portKey);
        }
    }
    return err;
}

// The kind of proxy of that name in moresc's table (web, secure-web, ...).
const ProxyKind& KindNamed(const char* name) {
    for (const ProxyKind& kind : AllProxyKinds()) {
        if (std::string(name) == kind.name) return kind;
    }
    return AllProxyKinds().front();
}

// "host:port" of a proxy of the entity, for messages.
std::string ProxyText(CFDictionaryRef proxies, const ProxyKind& kind) {
    std::optional<SInt32> port = PortOf(CFDictionaryGetValue(proxies, kind.portKey));
    // Built in steps: GCC 12's Release build takes ":" + a temporary for an
    // overlapping copy.
    std::string text = Escaped(TextOf(StringOrNil(proxies, kind.proxyKey)));
    if (port) text += ':' + std::to_string(*port);
    return text;
}

}  // namespace

bool ReadGlobalProxy(CFDictionaryRef payload, GlobalProxy* proxy, std::string* why) {
    CFStringRef type = StringOrNil(payload, kGlobalProxyType);
    std::string typeText = TextOf(type);
    if (typeText != "Manual" && typeText != "Auto") {
        *why = type == nil ? "it has no ProxyType" : "its ProxyType " + Quoted(typeText) + " is neither Manual nor Auto";
        return false;
    }
    proxy->manual = typeText == "Manual";
    if (proxy->manual) {
        CFStringRef server = StringOrNil(payload, kGlobalProxyServer);
        if (IsEmptyString(server)) {
            *why = "it is Manual but has no ProxyServer";
            return false;
        }
        proxy->server = CFRef<CFStringRef>::Retain(server);
        CFTypeRef port = CFDictionaryGetValue(payload, kGlobalProxyServerPort);
        if (port != nil) {
            proxy->port = PortOf(port);
            if (!proxy->port) {
                *why = "its ProxyServerPort is not a port (1 to 65535)";
                return false;
            }
        }
    } else {
        CFTypeRef url = CFDictionaryGetValue(payload, kGlobalProxyPACURL);
        if (url != nil && !IsType(url, CFStringGetTypeID())) {
            *why = "its ProxyPACURL is not a string";
            return false;
        }
        // An empty URL is the blank field of a profile editor: none.
        CFStringRef text = static_cast<CFStringRef>(url);
        if (!IsEmptyString(text)) proxy->pacURL = CFRef<CFStringRef>::Retain(text);
    }
    // The store keeps no proxy credentials (macOS keeps them in the
    // keychain) and has no keys for these two choices.
    for (CFStringRef key : {CFSTR("ProxyUsername"), CFSTR("ProxyPassword")}) {
        if (CFDictionaryContainsKey(payload, key)) proxy->unstored.push_back(TextOf(key));
    }
    for (CFStringRef key : {CFSTR("ProxyPACFallbackAllowed"), CFSTR("ProxyCaptiveLoginAllowed")}) {
        if (FlagOn(payload, key)) proxy->unstored.push_back(TextOf(key));
    }
    return true;
}

OSStatus ApplyGlobalProxy(const GlobalProxy& proxy, CFMutableDictionaryRef entity) {
    bool pac = !proxy.manual && proxy.pacURL;
    bool discovery = !proxy.manual && !proxy.pacURL;
    OSStatus err = SetWebProxy(entity, KindNamed("web"), proxy);
    if (err == noErr) err = SetWebProxy(entity, KindNamed("secure-web"), proxy);
    if (err == noErr) err = SetFlag(entity, kSCPropNetProxiesProxyAutoConfigEnable, pac);
    if (err == noErr && pac) CFDictionarySetValue(entity, kSCPropNetProxiesProxyAutoConfigURLString, proxy.pacURL.get());
    if (err == noErr) err = SetFlag(entity, kProxyAutoDiscoveryEnable, discovery);
    return err;
}

CFRef<CFDictionaryRef> CreateGlobalProxyKeys(CFDictionaryRef proxies, std::string* why,
                                             std::vector<std::string>* leftOut) {
    const ProxyKind& web = KindNamed("web");
    const ProxyKind& secure = KindNamed("secure-web");
    for (const ProxyKind& kind : AllProxyKinds()) {
        if (&kind != &web && &kind != &secure && FlagOn(proxies, kind.enableKey)) {
            *why = std::string("the ") + kind.name + " proxy is on, and a global HTTP proxy sets the web proxies only";
            return nullptr;
        }
    }
    bool pac = FlagOn(proxies, kSCPropNetProxiesProxyAutoConfigEnable);
    bool discovery = FlagOn(proxies, kProxyAutoDiscoveryEnable);
    bool webOn = FlagOn(proxies, web.enableKey);
    bool secureOn = FlagOn(proxies, secure.enableKey);
    CFStringRef url = StringOrNil(proxies, kSCPropNetProxiesProxyAutoConfigURLString);

    CFRef<CFMutableDictionaryRef> keys(CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                                                 &kCFTypeDictionaryValueCallBacks));
    if (!keys) {
        *why = "out of memory";
        return nullptr;
    }
    if ((pac || discovery) && (webOn || secureOn)) {
        *why = std::string(pac ? "PAC" : "proxy auto-discovery") + " and the " + (webOn ? "web" : "secure-web") +
               " proxy are both on, and a global HTTP proxy is one or the other";
        return nullptr;
    }
    if (pac) {
        if (IsEmptyString(url)) {
            *why = "PAC is on without a URL";
            return nullptr;
        }
        // With a URL, PAC is used and auto-discovery is not looked at.
        CFDictionarySetValue(keys.get(), kGlobalProxyType, CFSTR("Auto"));
        CFDictionarySetValue(keys.get(), kGlobalProxyPACURL, url);
    } else if (discovery) {
        CFDictionarySetValue(keys.get(), kGlobalProxyType, CFSTR("Auto"));
    } else if (webOn) {
        CFStringRef host = StringOrNil(proxies, web.proxyKey);
        CFTypeRef portValue = CFDictionaryGetValue(proxies, web.portKey);
        std::optional<SInt32> port = PortOf(portValue);
        if (IsEmptyString(host)) {
            *why = "the web proxy is on without a host";
            return nullptr;
        }
        if (portValue != nil && !port) {
            *why = "the web proxy's port is not a port (1 to 65535)";
            return nullptr;
        }
        bool sameProxy = SameValue(host, CFDictionaryGetValue(proxies, secure.proxyKey)) &&
                         SameValue(portValue, CFDictionaryGetValue(proxies, secure.portKey));
        if (secureOn && !sameProxy) {
            *why = "the secure web proxy (" + ProxyText(proxies, secure) + ") is not the web proxy (" +
                   ProxyText(proxies, web) + "), and a global HTTP proxy sets both to one";
            return nullptr;
        }
        CFDictionarySetValue(keys.get(), kGlobalProxyType, CFSTR("Manual"));
        CFDictionarySetValue(keys.get(), kGlobalProxyServer, host);
        if (port) CFQDictionarySetNumber(keys.get(), kGlobalProxyServerPort, *port);
    } else if (secureOn) {
        *why = "the secure web proxy is on without the web proxy";
        return nullptr;
    } else {
        *why = "no proxy is on (a global HTTP proxy needs PAC, proxy auto-discovery or the web proxy)";
        return nullptr;
    }
    CFTypeRef exceptions = CFDictionaryGetValue(proxies, kSCPropNetProxiesExceptionsList);
    if (IsType(exceptions, CFArrayGetTypeID()) && CFArrayGetCount(static_cast<CFArrayRef>(exceptions)) > 0) {
        leftOut->push_back("ExceptionsList");
    }
    if (FlagOn(proxies, kProxyExcludeSimpleHostnames)) leftOut->push_back("ExcludeSimpleHostnames");
    return keys;
}
