#include "platform/systemconfiguration/SCSchemaDefinitions.h"
#include "tool/PACCommands.h"
#include "tool/ProxiesValues.h"
#include "tool/ServiceWalk.h"

namespace {

// A flag of the "Proxies" entity and the setting that gates it: the flag is
// only switched where the setting is configured.
struct FlagSwitch {
    CFStringRef gateKey;
    CFStringRef flagKey;
    const char* gateAbsent;
    const char* gateEmpty;
    const char* alreadyEnabled;
    const char* alreadyDisabled;
    const char* enabled;
    const char* disabled;
};

void SwitchFlag(const FlagSwitch& flag, SInt32 enable) {
    EditActiveProxies([&](ProxiesEdit& service) {
        CFStringRef gate = nil;
        switch (ReadText(service.proxies(), flag.gateKey, &gate)) {
            case TextReading::kAbsent: service.Say(flag.gateAbsent); return;
            case TextReading::kEmpty: service.Say(flag.gateEmpty); return;
            case TextReading::kText: break;
        }

        // Only an exactly equal value counts as already set: a stored 2 is
        // rewritten to 1.
        SInt32 current = 0;
        if (ReadFlag(service.proxies(), flag.flagKey, &current) == FlagReading::kExact && current == enable) {
            service.Say(current != 0 ? flag.alreadyEnabled : flag.alreadyDisabled);
            return;
        }

        WriteFlag(service.proxies(), flag.flagKey, enable);
        service.Write(enable != 0 ? flag.enabled : flag.disabled);
    });
}

}  // namespace

void SetEnabledPAC(SInt32 enable) {
    static const FlagSwitch kPAC = {
        kSCPropNetProxiesProxyAutoConfigURLString,
        kSCPropNetProxiesProxyAutoConfigEnable,
        "- PAC URL does not exist - %s.\n",
        "- PAC URL is not available - %s.\n",
        "- PAC Enable is already enabled - %s.\n",
        "- PAC Enable is already disabled - %s.\n",
        "OK - Enable PAC - %s.\n",
        "OK - Disable PAC - %s.\n",
    };
    SwitchFlag(kPAC, enable);
}

void SetEnabledProxy(SInt32 enable) {
    static const FlagSwitch kHTTPProxy = {
        kSCPropNetProxiesHTTPProxy,
        kSCPropNetProxiesHTTPEnable,
        "- Http Proxy does not exist - %s.\n",
        "- Http Proxy is not available - %s.\n",
        "- Http Proxy is already enabled - %s.\n",
        "- Http Proxy is already disabled - %s.\n",
        "OK - Enable Http Proxy - %s.\n",
        "OK - Disable Http Proxy - %s.\n",
    };
    SwitchFlag(kHTTPProxy, enable);
}
