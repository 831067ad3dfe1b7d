// The subcommand that shows a service's configuration at a glance: its
// name and state, its device, how IPv4 is configured, DNS and proxies.

#include <cstdio>
#include <string>

#include "MoreSC.h"
#include "moresc/Json.h"
#include "moresc/OneService.h"
#include "moresc/Outcome.h"
#include "moresc/ProxyKinds.h"
#include "moresc/Subcommands.h"
#include "moresc/Text.h"

namespace {

// The JSON of the entity called protocol in the service's dictionary, or
// null when there is none (or it is not a dictionary).
nlohmann::json EntityJson(CFDictionaryRef service, CFStringRef protocol) {
    CFTypeRef entity = CFDictionaryGetValue(service, protocol);
    if (entity == nil || CFGetTypeID(entity) != CFDictionaryGetTypeID()) return nullptr;
    return JsonOf(entity);
}

// The service as the JSON document of "info".
nlohmann::json ServiceJson(CFStringRef serviceID, CFDictionaryRef service) {
    nlohmann::json interface = EntityJson(service, kSCEntNetInterface);
    nlohmann::json device = interface.is_object() ? interface.value("DeviceName", nlohmann::json()) : nlohmann::json();
    return {
        {"id", TextOf(serviceID)},
        {"name", JsonStringOrNull(CFDictionaryGetValue(service, kSCPropUserDefinedName))},
        {"active", !CFDictionaryContainsKey(service, kSCResvInactive)},
        {"device", device.is_string() ? device : nlohmann::json()},
        {"ipv4", EntityJson(service, kSCEntNetIPv4)},
        {"dns", EntityJson(service, kSCEntNetDNS)},
        {"proxies", EntityJson(service, kSCEntNetProxies)},
    };
}

// One line of the text: the field's name, a tab and the fields of value;
// nothing when value is null.
std::string Line(const std::string& name, const nlohmann::json& value) {
    return value.is_null() ? "" : name + "\t" + FieldsText(value) + "\n";
}

// The member of an entity's JSON, or null.
nlohmann::json Member(const nlohmann::json& entity, const char* key) {
    return entity.is_object() ? entity.value(key, nlohmann::json()) : nlohmann::json();
}

bool FlagOn(const nlohmann::json& entity, const char* key) {
    nlohmann::json flag = Member(entity, key);
    return flag.is_number() && flag != 0;
}

// The proxy lines: one for each kind of proxy that the entity mentions,
// "on" or "off", its host and its port ("-" for none).
std::string ProxyLines(const nlohmann::json& proxies) {
    std::string lines;
    for (const ProxyKind& kind : AllProxyKinds()) {
        std::string enable = TextOf(kind.enableKey);
        nlohmann::json host = Member(proxies, TextOf(kind.proxyKey).c_str());
        nlohmann::json port = Member(proxies, TextOf(kind.portKey).c_str());
        if (!FlagOn(proxies, enable.c_str()) && host.is_null()) continue;
        lines += std::string(kind.name) + "-proxy\t" + (FlagOn(proxies, enable.c_str()) ? "on" : "off") + "\t" +
                 (host.is_null() ? "-" : FieldText(host)) + "\t" + (port.is_null() ? "-" : FieldText(port)) + "\n";
    }
    nlohmann::json url = Member(proxies, "ProxyAutoConfigURLString");
    if (FlagOn(proxies, "ProxyAutoConfigEnable") || !url.is_null()) {
        lines += std::string("pac\t") + (FlagOn(proxies, "ProxyAutoConfigEnable") ? "on" : "off") + "\t" +
                 (url.is_null() ? "-" : FieldText(url)) + "\n";
    }
    return lines + Line("bypass", Member(proxies, "ExceptionsList"));
}

// The service as the text of "info": one field a line, its name first.
std::string ServiceText(const nlohmann::json& info) {
    const nlohmann::json& ipv4 = info["ipv4"];
    const nlohmann::json& dns = info["dns"];
    return Line("id", info["id"]) + Line("name", info["name"]) + Line("active", info["active"] ? "yes" : "no") +
           Line("device", info["device"]) + Line("ipv4", Member(ipv4, "ConfigMethod")) +
           Line("addresses", Member(ipv4, "Addresses")) + Line("subnet-masks", Member(ipv4, "SubnetMasks")) +
           Line("router", Member(ipv4, "Router")) + Line("dns-servers", Member(dns, "ServerAddresses")) +
           Line("search-domains", Member(dns, "SearchDomains")) + ProxyLines(info["proxies"]);
}

}  // namespace

int PrintServiceInfo(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    nlohmann::json info;
    RunOnService(&outcome, invocation, Session::kRead, "MoreSCCopyEntitiesDict",
                 [&](CFStringRef setID, CFStringRef serviceID) {
                     CFRef<CFDictionaryRef> service;
                     OSStatus err = MoreSCCopyEntitiesDict(setID, serviceID, service.out());
                     if (err == noErr) info = ServiceJson(serviceID, service.get());
                     return err;
                 });
    if (outcome.ok()) std::fputs((invocation.json ? JsonDocument(info) : ServiceText(info)).c_str(), stdout);
    return outcome.Finish();
}
