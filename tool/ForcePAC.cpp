#include "platform/corefoundation/CFRef.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"
#include "tool/PACCommands.h"
#include "tool/ProxiesValues.h"
#include "tool/ServiceWalk.h"

namespace {

// What a service's "Proxies" entity says about PAC before a URL command
// changes it.
struct PACState {
    bool enabled;        // "ProxyAutoConfigEnable" non-zero
    TextReading urlKind;
    CFStringRef url;     // the existing URL when urlKind is kText (borrowed)
};

PACState ReadPACState(CFDictionaryRef proxies) {
    PACState state{};
    // An unreadable flag counts by its truncated value; a missing one is 0.
    SInt32 enable = 0;
    ReadFlag(proxies, kSCPropNetProxiesProxyAutoConfigEnable, &enable);
    state.enabled = enable != 0;
    state.urlKind = ReadText(proxies, kSCPropNetProxiesProxyAutoConfigURLString, &state.url);
    return state;
}

// URLs are the same only when identical character for character.
bool SameURL(CFStringRef existing, CFStringRef url) {
    return existing != nil && CFStringCompare(existing, url, 0) == kCFCompareEqualTo;
}

void SetURL(CFMutableDictionaryRef proxies, CFStringRef url) {
    CFDictionarySetValue(proxies, kSCPropNetProxiesProxyAutoConfigURLString, url);
}

// PAC is always switched on with 1, whatever the flag held before.
void SetPACOn(CFMutableDictionaryRef proxies) {
    WriteFlag(proxies, kSCPropNetProxiesProxyAutoConfigEnable, 1);
}

}  // namespace

bool HasSameSuffix(CFStringRef existingURL, CFStringRef newURL) {
    CFRange slash = CFStringFind(existingURL, CFSTR("/"), kCFCompareBackwards);
    if (slash.location == kCFNotFound) return false;
    CFIndex tailLength = CFStringGetLength(existingURL) - slash.location;
    CFRef<CFStringRef> tail(
        CFStringCreateWithSubstring(kCFAllocatorDefault, existingURL, CFRangeMake(slash.location, tailLength)));
    return tail && CFStringHasSuffix(newURL, tail.get());
}

void SetCurrentPAC(CFStringRef url) {
    EditActiveProxies([url](ProxiesEdit& service) {
        PACState state = ReadPACState(service.proxies());
        bool same = state.urlKind == TextReading::kText && SameURL(state.url, url);

        if (state.enabled && same) {
            service.Say("- PAC is already set - %s.\n");
            return;
        }
        if (!same) SetURL(service.proxies(), url);
        if (!state.enabled) SetPACOn(service.proxies());
        service.Write("OK - Force PAC - %s.\n");
    });
}

void UpdateCurrentPAC(CFStringRef url) {
    EditActiveProxies([url](ProxiesEdit& service) {
        PACState state = ReadPACState(service.proxies());
        // A missing or empty URL is always filled in; an existing one is
        // replaced only when it names the same file as the new one.
        bool replace = state.urlKind != TextReading::kText ||
                       (!SameURL(state.url, url) && HasSameSuffix(state.url, url));

        if (state.enabled && !replace) {
            service.Say("- PAC is ready for Orbel - %s.\n");
            return;
        }
        if (replace) {
            SetURL(service.proxies(), url);
        } else {
            service.Say("- PAC URL is already set - %s.\n");
        }
        if (!state.enabled) SetPACOn(service.proxies());
        service.Write("OK - Update PAC - %s.\n");
    });
}
