#include "entities/MoreSCProtocolEntities.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include "entities/EntityChecks.h"
#include "entities/MoreSCCreateEntity.h"
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
    static const Contents allProxiesOff = {{"FTPPassive", "0"}, {"FTPEnable", "0"},  {"GopherEnable", "0"},
                                           {"HTTPEnable", "0"}, {"HTTPSEnable", "0"}, {"RTSPEnable", "0"},
                                           {"SOCKSEnable", "0"}};
    static const Contents someProxies = {
        {"ExceptionsList", "[local]"}, {"FTPPassive", "1"},  {"FTPEnable", "0"},   {"GopherEnable", "0"},
        {"HTTPEnable", "1"},           {"HTTPProxy", "proxy.example.com"},         {"HTTPPort", "8080"},
        {"HTTPSEnable", "0"},          {"RTSPEnable", "0"}, {"SOCKSEnable", "0"}, {"SOCKSProxy", "socks.example.com"}};
    ExpectBuilds({
        {"empty DNS", [](D e) { MoreSCDNSDigest d{}; return MoreSCCreateEntity(CFSTR("DNS"), &d, e); }, {}},
        {"DNS domains only", [](D e) { MoreSCDNSDigest d{0, nullptr, 2, domains}; return MoreSCCreateDNSEntity(&d, e); },
         {{"SearchDomains", "[example.com,corp.example.com]"}}},
        {"DNS", [](D e) { MoreSCDNSDigest d{2, servers, 1, domains}; return MoreSCCreateDNSEntity(&d, e); },
         {{"ServerAddresses", "[8.8.8.8,1.1.1.1]"}, {"SearchDomains", "[example.com]"}}},
        {"no proxies", [](D e) { MoreSCProxiesDigest d{}; return MoreSCCreateProxiesEntity(&d, e); }, allProxiesOff},
        {"some proxies",
         [](D e) {
             const void* local = CFSTR("local");
             CFRef<CFArrayRef> exceptions(CFArrayCreate(nullptr, &local, 1, &kCFTypeArrayCallBacks));
             MoreSCProxiesDigest d{};
             d.exceptionsList = exceptions.get();
             d.FTPPassive = d.HTTPEnable = 1;
             d.HTTPProxy = CFSTR("proxy.example.com");
             d.HTTPPort = 8080;
             d.SOCKSProxy = CFSTR("socks.example.com");  // a host without a port
             return MoreSCCreateProxiesEntity(&d, e);
         },
         someProxies},
        {"inactive AppleTalk",
         [](D e) { MoreSCAppleTalkDigest d{0, CFSTR("Node"), 1, 1000, 42, CFSTR("Eng")}; return MoreSCCreateAppleTalkEntity(&d, e); },
         {{"ConfigMethod", "Node"}, {"DefaultZone", "Eng"}, {"NetworkID", "1000"}, {"NodeID", "42"}, {"__INACTIVE__", "1"}}},
        {"AppleTalk", [](D e) { MoreSCAppleTalkDigest d{1, CFSTR("Node"), 0, 7, 7, nullptr}; return MoreSCCreateAppleTalkEntity(&d, e); },
         {{"ConfigMethod", "Node"}}},
        {"global IPv4", [](D e) { int any = 0; return MoreSCCreateGlobalEntity(CFSTR("IPv4"), &any, e); },
         {{"PPPOverridePrimary", "0"}, {"ServiceOrder", "[]"}}},
        {"global NetInfo", [](D e) { int any = 0; return MoreSCCreateGlobalEntity(CFSTR("NetInfo"), &any, e); }, {}},
    });
}

TEST(ProtocolEntities, UnknownNamesAreRefused) {
    MoreSCProxiesDigest digest{};
    const std::function<OSStatus(D)> builds[] = {
        [&](D e) { return MoreSCCreateGlobalEntity(CFSTR("DNS"), &digest, e); },
        [&](D e) { return MoreSCCreateEntity(CFSTR("IPv6"), &digest, e); },
        [&](D e) { return MoreSCCreateEntity(CFSTR("NetInfo"), &digest, e); },
        [&](D e) { return MoreSCCreateEntity(CFSTR("proxies"), &digest, e); },
    };
    for (const auto& build : builds) {
        CFRef<CFDictionaryRef> entity;
        StderrCapture reports;
        EXPECT_EQ(-1, build(entity.out()));
        EXPECT_EQ("MoreAssertQ failure: false\n", reports.text());
        EXPECT_EQ(nullptr, entity.get());
    }
}
