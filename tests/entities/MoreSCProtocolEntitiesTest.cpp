#include "entities/MoreSCProtocolEntities.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include "entities/EntityChecks.h"
#include "entities/MoreSCGlobalEntities.h"

namespace {

const std::string kAddressWarning =
    "MoreSCCreateIPv4Entity: IP address zero makes sense for BOOTP, DHCP, and PPP config methods only\n";
const std::string kMaskWarning = "MoreSCCreateIPv4Entity: Subnet mask zero makes sense for Manual config method only\n";
const std::string kRouterWarning =
    "MoreSCCreateIPv4Entity: Router address zero makes sense for Manual config method only\n";

using D = CFDictionaryRef*;

std::function<OSStatus(D)> IPv4(const char* method, const char* address, const char* mask, const char* router,
                                CFStringRef clientID = nullptr) {
    return [=](D entity) {
        CFRef<CFStringRef> name(CFStringCreateWithCString(nullptr, method, kCFStringEncodingUTF8));
        auto in = [](const char* text) { return text == nullptr ? 0 : inet_addr(text); };
        MoreSCIPv4Digest digest{name.get(), in(address), in(mask), in(router), clientID};
        return MoreSCCreateIPv4Entity(&digest, entity);
    };
}

}  // namespace

// The warnings follow the method's rules (and keep their texts, though two
// of them say the opposite of what triggers them).
TEST(ProtocolEntities, IPv4KeysAndWarnings) {
    ExpectBuilds({
        {"DHCP with a client ID", IPv4("DHCP", nullptr, nullptr, nullptr, CFSTR("client-7")),
         {{"ConfigMethod", "DHCP"}, {"DHCPClientID", "client-7"}}},
        {"Manual", IPv4("Manual", "192.168.1.20", "255.255.255.0", "192.168.1.1"),
         {{"ConfigMethod", "Manual"}, {"Addresses", "[192.168.1.20]"}, {"SubnetMasks", "[255.255.255.0]"},
          {"Router", "192.168.1.1"}}},
        {"Manual without a mask", IPv4("Manual", "10.0.0.2", nullptr, "10.0.0.1"),
         {{"ConfigMethod", "Manual"}, {"Addresses", "[10.0.0.2]"}, {"Router", "10.0.0.1"}}, kMaskWarning},
        {"INFORM without an address", IPv4("INFORM", nullptr, nullptr, nullptr), {{"ConfigMethod", "INFORM"}},
         kAddressWarning},
        {"INFORM with a router", IPv4("INFORM", "10.0.0.2", nullptr, "10.0.0.1"),
         {{"ConfigMethod", "INFORM"}, {"Addresses", "[10.0.0.2]"}, {"Router", "10.0.0.1"}}, kRouterWarning},
        {"PPP, judged like DHCP", IPv4("PPP", "10.0.0.2", "255.0.0.0", nullptr),
         {{"ConfigMethod", "PPP"}, {"Addresses", "[10.0.0.2]"}, {"SubnetMasks", "[255.0.0.0]"}},
         kAddressWarning + kMaskWarning},
        {"unknown method, stray client ID", IPv4("Carrier Pigeon", nullptr, nullptr, nullptr, CFSTR("id")),
         {{"ConfigMethod", "Carrier Pigeon"}, {"DHCPClientID", "id"}},
         "MoreAssertQ failure: method != 'bad!'\n"
         "MoreAssertQ failure: (digest->clientID == nil) || (method == 'dhcp')\n"},
    });
}

TEST(ProtocolEntities, OtherEntitiesKeysAndValues) {
    static const CFStringRef domains[] = {CFSTR("example.com"), CFSTR("corp.example.com")};
    static const MoreSCInetAddress servers[] = {inet_addr("8.8.8.8"), inet_addr("1.1.1.1")};
    const Contents allProxiesOff = {{"FTPPassive", "0"}, {"FTPEnable", "0"},   {"GopherEnable", "0"}, {"HTTPEnable", "0"},
                                    {"HTTPSEnable", "0"}, {"RTSPEnable", "0"}, {"SOCKSEnable", "0"}};
    Contents someProxies = allProxiesOff;
    someProxies.insert({{"ExceptionsList", "[local]"}, {"HTTPProxy", "proxy.example.com"}, {"HTTPPort", "8080"},
                        {"SOCKSProxy", "socks.example.com"}});
    someProxies["FTPPassive"] = someProxies["HTTPEnable"] = "1";
    const void* local = CFSTR("local");
    CFRef<CFArrayRef> exceptions(CFArrayCreate(nullptr, &local, 1, &kCFTypeArrayCallBacks));
    MoreSCProxiesDigest proxies{};
    proxies.exceptionsList = exceptions.get();
    proxies.FTPPassive = proxies.HTTPEnable = 1;
    proxies.HTTPProxy = CFSTR("proxy.example.com");
    proxies.HTTPPort = 8080;
    proxies.SOCKSProxy = CFSTR("socks.example.com");  // a host without a port
    const int any = 0;
    ExpectBuilds({
        {"empty DNS", By(CFSTR("DNS"), MoreSCDNSDigest{}), {}},
        {"DNS domains only", By(MoreSCCreateDNSEntity, MoreSCDNSDigest{0, nullptr, 2, domains}),
         {{"SearchDomains", "[example.com,corp.example.com]"}}},
        {"DNS", By(MoreSCCreateDNSEntity, MoreSCDNSDigest{2, servers, 1, domains}),
         {{"ServerAddresses", "[8.8.8.8,1.1.1.1]"}, {"SearchDomains", "[example.com]"}}},
        {"no proxies", By(MoreSCCreateProxiesEntity, MoreSCProxiesDigest{}), allProxiesOff},
        {"some proxies", By(CFSTR("Proxies"), proxies), someProxies},
        {"inactive AppleTalk", By(MoreSCCreateAppleTalkEntity, MoreSCAppleTalkDigest{0, CFSTR("Node"), 1, 1000, 42, CFSTR("Eng")}),
         {{"ConfigMethod", "Node"}, {"DefaultZone", "Eng"}, {"NetworkID", "1000"}, {"NodeID", "42"}, {"__INACTIVE__", "1"}}},
        {"AppleTalk", By(CFSTR("AppleTalk"), MoreSCAppleTalkDigest{1, CFSTR("Node"), 0, 7, 7, nullptr}),
         {{"ConfigMethod", "Node"}}},
        {"global IPv4", By(CFSTR("IPv4"), any, MoreSCCreateGlobalEntity), {{"PPPOverridePrimary", "0"}, {"ServiceOrder", "[]"}}},
        {"global NetInfo", By(CFSTR("NetInfo"), any, MoreSCCreateGlobalEntity), {}},
        // Names a builder does not know are refused.
        {"global DNS", By(CFSTR("DNS"), proxies, MoreSCCreateGlobalEntity), {}, "MoreAssertQ failure: false\n", -1},
        {"IPv6", By(CFSTR("IPv6"), proxies), {}, "MoreAssertQ failure: false\n", -1},
        {"NetInfo as a service entity", By(CFSTR("NetInfo"), proxies), {}, "MoreAssertQ failure: false\n", -1},
        {"proxies", By(CFSTR("proxies"), proxies), {}, "MoreAssertQ failure: false\n", -1},
    });
}
