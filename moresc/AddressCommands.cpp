// The subcommands on the addresses of a service: how IPv4 is configured
// (DHCP, BOOTP or by hand), and the DNS servers and search domains. Each
// builds the entity's new keys with the library's builder and changes
// only those keys.

#include <string>
#include <vector>

#include "MoreSC.h"
#include "moresc/Arguments.h"
#include "moresc/OneService.h"
#include "moresc/Outcome.h"
#include "moresc/Subcommands.h"
#include "moresc/Text.h"

namespace {

struct IPv4Method {
    const char* name;
    CFStringRef configMethod;
    bool manual;  // takes ADDRESS MASK [ROUTER]
};

const IPv4Method kIPv4Methods[] = {
    {"dhcp", kSCValNetIPv4ConfigMethodDHCP, false},
    {"bootp", kSCValNetIPv4ConfigMethodBOOTP, false},
    {"manual", kSCValNetIPv4ConfigMethodManual, true},
};

const IPv4Method* FindIPv4Method(Outcome* outcome, const Invocation& invocation) {
    const std::string& name = invocation.arguments[1];
    std::size_t values = invocation.arguments.size() - 2;
    for (const IPv4Method& method : kIPv4Methods) {
        if (name != method.name) continue;
        if (method.manual && values < 2) {
            outcome->FailUsage("manual needs ADDRESS and MASK (usage: " + UsageLine(*invocation.subcommand) + ")");
        } else if (!method.manual && values != 0) {
            outcome->FailUsage(name + " takes no addresses (usage: " + UsageLine(*invocation.subcommand) + ")");
        }
        return outcome->ok() ? &method : nullptr;
    }
    outcome->FailUsage(Quoted(name) + " is not a way to configure IPv4 (dhcp, bootp or manual)");
    return nullptr;
}

}  // namespace

int SetIPv4(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    const std::vector<std::string>& arguments = invocation.arguments;
    const IPv4Method* method = FindIPv4Method(&outcome, invocation);
    MoreSCIPv4Digest digest{};
    bool router = arguments.size() > 4;
    if (outcome.ok()) {
        digest.configMethod = method->configMethod;
        if (method->manual) {
            digest.address = AddressArgument(&outcome, arguments[2], "address").value_or(0);
            if (outcome.ok()) digest.subnetMask = MaskArgument(&outcome, arguments[3]).value_or(0);
            // The builder warns about a manual configuration without a
            // router, which is a sound one (a network with no way out): it
            // is built with the address as a stand-in, and the "Router" it
            // makes of that is not taken.
            if (outcome.ok()) {
                digest.router = router ? AddressArgument(&outcome, arguments[4], "router").value_or(0) : digest.address;
            }
        }
    }
    CFRef<CFDictionaryRef> built;
    if (outcome.ok()) outcome.Check("MoreSCCreateIPv4Entity", MoreSCCreateIPv4Entity(&digest, built.out()));
    if (outcome.ok()) {
        EditEntity(&outcome, invocation, kSCEntNetIPv4, [&](Outcome*, CFMutableDictionaryRef entity) {
            CopyKeys(built.get(), entity,
                     {kSCPropNetIPv4ConfigMethod, kSCPropNetIPv4Addresses, kSCPropNetIPv4SubnetMasks});
            if (router) {
                CopyKeys(built.get(), entity, {kSCPropNetIPv4Router});
            } else {
                CFDictionaryRemoveValue(entity, kSCPropNetIPv4Router);
            }
            // A DHCP client ID belongs to DHCP alone.
            if (!CFEqual(method->configMethod, kSCValNetIPv4ConfigMethodDHCP)) {
                CFDictionaryRemoveValue(entity, kSCPropNetIPv4DHCPClientID);
            }
        });
    }
    return outcome.Finish();
}

int SetDNS(const Invocation& invocation) {
    Outcome outcome(invocation.subcommand->name);
    std::vector<MoreSCInetAddress> servers;
    for (std::size_t i = 1; i < invocation.arguments.size() && outcome.ok(); ++i) {
        servers.push_back(AddressArgument(&outcome, invocation.arguments[i], "DNS server").value_or(0));
    }
    std::vector<CFRef<CFStringRef>> domains;
    std::vector<CFStringRef> domainRefs;
    if (invocation.search) {
        for (const std::string& text : *invocation.search) {
            if (!outcome.ok()) break;
            domains.push_back(DomainArgument(&outcome, text));
            domainRefs.push_back(domains.back().get());
        }
    }
    MoreSCDNSDigest digest{};
    digest.serverAddressesCount = static_cast<UInt32>(servers.size());
    digest.serverAddresses = servers.empty() ? nullptr : servers.data();
    digest.searchDomainsCount = static_cast<UInt32>(domainRefs.size());
    digest.searchDomains = domainRefs.empty() ? nullptr : domainRefs.data();
    CFRef<CFDictionaryRef> built;
    if (outcome.ok()) outcome.Check("MoreSCCreateDNSEntity", MoreSCCreateDNSEntity(&digest, built.out()));
    // The servers change when some are given, or when nothing is (which
    // removes them); the search domains only with --search.
    bool setServers = !servers.empty() || !invocation.search;
    if (outcome.ok()) {
        EditEntity(&outcome, invocation, kSCEntNetDNS, [&](Outcome*, CFMutableDictionaryRef entity) {
            if (setServers) CopyKeys(built.get(), entity, {kSCPropNetDNSServerAddresses});
            if (invocation.search) CopyKeys(built.get(), entity, {kSCPropNetDNSSearchDomains});
        });
    }
    return outcome.Finish();
}
