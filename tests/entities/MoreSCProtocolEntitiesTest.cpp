#include "entities/MoreSCProtocolEntities.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include "entities/EntityChecks.h"
#include "entities/MoreSCCreateEntity.h"
#include "entities/MoreSCGlobalEntities.h"

using Names = std::vector<std::string>;

namespace {

const char* const kAddressWarning =
    "MoreSCCreateIPv4Entity: IP address zero makes sense for BOOTP, DHCP, and PPP config methods only\n";
const char* const kMaskWarning = "MoreSCCreateIPv4Entity: Subnet mask zero makes sense for Manual config method only\n";
const char* const kRouterWarning =
    "MoreSCCreateIPv4Entity: Router address zero makes sense for Manual config method only\n";

// Builds an IPv4 entity and returns what it wrote on standard error.
std::string BuildIPv4(const MoreSCIPv4Digest& digest, CFRef<CFDictionaryRef>& entity) {
    entity.reset();
    testing::internal::CaptureStderr();
    EXPECT_EQ(noErr, MoreSCCreateIPv4Entity(&digest, entity.out()));
    return testing::internal::GetCapturedStderr();
}

}  // namespace

TEST(IPv4Entity, DHCPWithClientIDAndManualWithAllAddressesWarnNothing) {
    CFRef<CFDictionaryRef> entity;
    EXPECT_EQ("", BuildIPv4({CFSTR("DHCP"), 0, 0, 0, CFSTR("client-7")}, entity));
    EXPECT_EQ((Names{"ConfigMethod", "DHCPClientID"}), Keys(entity.get()));
    MoreSCIPv4Digest digest{CFSTR("Manual"), inet_addr("192.168.1.20"), inet_addr("255.255.255.0"),
                            inet_addr("192.168.1.1"), nullptr};
    EXPECT_EQ("", BuildIPv4(digest, entity));
    EXPECT_EQ((Names{"ConfigMethod", "Addresses", "SubnetMasks", "Router"}), Keys(entity.get()));
    EXPECT_EQ((Names{"192.168.1.20"}), Strings(static_cast<CFArrayRef>(ValueAt(entity.get(), "Addresses"))));
    EXPECT_EQ((Names{"255.255.255.0"}), Strings(static_cast<CFArrayRef>(ValueAt(entity.get(), "SubnetMasks"))));
    EXPECT_EQ("192.168.1.1", StringAt(entity.get(), "Router"));
}

TEST(IPv4Entity, WarningsFollowTheMethodRules) {
    CFRef<CFDictionaryRef> entity;
    // Manual without a mask: only the mask warning, and no mask stored.
    EXPECT_EQ(kMaskWarning, BuildIPv4({CFSTR("Manual"), inet_addr("10.0.0.2"), 0, inet_addr("10.0.0.1"), nullptr},
                                      entity));
    EXPECT_EQ((Names{"ConfigMethod", "Addresses", "Router"}), Keys(entity.get()));

    EXPECT_EQ(kAddressWarning, BuildIPv4({CFSTR("INFORM"), 0, 0, 0, nullptr}, entity));
    EXPECT_EQ(kRouterWarning, BuildIPv4({CFSTR("INFORM"), inet_addr("10.0.0.2"), 0, inet_addr("10.0.0.1"), nullptr},
                                        entity));
    EXPECT_EQ("10.0.0.1", StringAt(entity.get(), "Router"));

    // PPP is stored as given and judged like DHCP.
    EXPECT_EQ(std::string(kAddressWarning) + kMaskWarning,
              BuildIPv4({CFSTR("PPP"), inet_addr("10.0.0.2"), inet_addr("255.0.0.0"), 0, nullptr}, entity));
    EXPECT_EQ("PPP", StringAt(entity.get(), "ConfigMethod"));
}

TEST(IPv4Entity, UnknownMethodAndStrayClientIDAreReported) {
    CFRef<CFDictionaryRef> entity;
    std::string reports = BuildIPv4({CFSTR("Carrier Pigeon"), 0, 0, 0, CFSTR("id")}, entity);
    EXPECT_NE(std::string::npos, reports.find("MoreAssertQ failure: method != 'bad!'"));
    EXPECT_NE(std::string::npos, reports.find("MoreAssertQ failure: (digest->clientID == nil) || (method == 'dhcp')"));
    EXPECT_EQ("Carrier Pigeon", StringAt(entity.get(), "ConfigMethod"));
}

TEST(DNSEntity, WritesOnlyTheListsItHas) {
    CFRef<CFDictionaryRef> entity;
    MoreSCDNSDigest empty{};
    ASSERT_EQ(noErr, MoreSCCreateEntity(CFSTR("DNS"), &empty, entity.out()));
    EXPECT_EQ(0, CFDictionaryGetCount(entity.get()));

    const CFStringRef domains[] = {CFSTR("example.com"), CFSTR("corp.example.com")};
    MoreSCDNSDigest searchOnly{0, nullptr, 2, domains};
    entity.reset();
    ASSERT_EQ(noErr, MoreSCCreateDNSEntity(&searchOnly, entity.out()));
    EXPECT_EQ((Names{"SearchDomains"}), Keys(entity.get()));
    EXPECT_EQ((Names{"example.com", "corp.example.com"}),
              Strings(static_cast<CFArrayRef>(ValueAt(entity.get(), "SearchDomains"))));

    const MoreSCInetAddress servers[] = {inet_addr("8.8.8.8"), inet_addr("1.1.1.1")};
    MoreSCDNSDigest both{2, servers, 1, domains};
    entity.reset();
    ASSERT_EQ(noErr, MoreSCCreateDNSEntity(&both, entity.out()));
    EXPECT_EQ((Names{"ServerAddresses", "SearchDomains"}), Keys(entity.get()));
    EXPECT_EQ((Names{"8.8.8.8", "1.1.1.1"}), Strings(static_cast<CFArrayRef>(ValueAt(entity.get(), "ServerAddresses"))));
}

TEST(ProxiesEntity, AllZeroGivesPassiveAndSixEnableFlags) {
    MoreSCProxiesDigest digest{};
    CFRef<CFDictionaryRef> entity;
    ASSERT_EQ(noErr, MoreSCCreateProxiesEntity(&digest, entity.out()));
    Names keys{"FTPPassive", "FTPEnable", "GopherEnable", "HTTPEnable", "HTTPSEnable", "RTSPEnable", "SOCKSEnable"};
    EXPECT_EQ(keys, Keys(entity.get()));
    for (const std::string& key : keys) EXPECT_EQ(0, NumberAt(entity.get(), key.c_str())) << key;
}

TEST(ProxiesEntity, HostsAndPortsOnlyWhenSet) {
    CFRef<CFArrayRef> exceptions(CFArrayCreate(nullptr, nullptr, 0, &kCFTypeArrayCallBacks));
    MoreSCProxiesDigest digest{};
    digest.exceptionsList = exceptions.get();
    digest.FTPPassive = 1;
    digest.HTTPEnable = 1;
    digest.HTTPProxy = CFSTR("proxy.example.com");
    digest.HTTPPort = 8080;
    digest.SOCKSProxy = CFSTR("socks.example.com");  // a host without a port
    CFRef<CFDictionaryRef> entity;
    ASSERT_EQ(noErr, MoreSCCreateProxiesEntity(&digest, entity.out()));
    EXPECT_EQ((Names{"ExceptionsList", "FTPPassive", "FTPEnable", "GopherEnable", "HTTPEnable", "HTTPProxy",
                     "HTTPPort", "HTTPSEnable", "RTSPEnable", "SOCKSEnable", "SOCKSProxy"}),
              Keys(entity.get()));
    EXPECT_EQ(8080, NumberAt(entity.get(), "HTTPPort"));
}

TEST(AppleTalkEntity, InactiveMarkerAndNodeNumbers) {
    MoreSCAppleTalkDigest digest{0, CFSTR("Node"), 1, 1000, 42, CFSTR("Engineering")};
    CFRef<CFDictionaryRef> entity;
    ASSERT_EQ(noErr, MoreSCCreateAppleTalkEntity(&digest, entity.out()));
    EXPECT_EQ((Names{"ConfigMethod", "DefaultZone", "NetworkID", "NodeID", "__INACTIVE__"}), Keys(entity.get()));
    EXPECT_EQ(42, NumberAt(entity.get(), "NodeID"));
    EXPECT_EQ(1, NumberAt(entity.get(), "__INACTIVE__"));

    digest = MoreSCAppleTalkDigest{1, CFSTR("Node"), 0, 0, 0, nullptr};
    entity.reset();
    ASSERT_EQ(noErr, MoreSCCreateAppleTalkEntity(&digest, entity.out()));
    EXPECT_EQ((Names{"ConfigMethod"}), Keys(entity.get()));
}

TEST(GlobalEntities, IPv4AndNetInfoOnly) {
    int anyDigest = 0;
    CFRef<CFDictionaryRef> entity;
    ASSERT_EQ(noErr, MoreSCCreateGlobalEntity(CFSTR("IPv4"), &anyDigest, entity.out()));
    EXPECT_EQ((Names{"PPPOverridePrimary", "ServiceOrder"}), Keys(entity.get()));
    EXPECT_EQ(0, CFArrayGetCount(static_cast<CFArrayRef>(ValueAt(entity.get(), "ServiceOrder"))));

    entity.reset();
    ASSERT_EQ(noErr, MoreSCCreateGlobalEntity(CFSTR("NetInfo"), &anyDigest, entity.out()));
    EXPECT_EQ(0, CFDictionaryGetCount(entity.get()));

    testing::internal::CaptureStderr();
    entity.reset();
    EXPECT_EQ(-1, MoreSCCreateGlobalEntity(CFSTR("DNS"), &anyDigest, entity.out()));
    EXPECT_EQ("MoreAssertQ failure: false\n", testing::internal::GetCapturedStderr());
    EXPECT_EQ(nullptr, entity.get());
}

TEST(CreateEntity, UnknownNamesAreRefused) {
    MoreSCProxiesDigest digest{};
    for (CFStringRef name : {CFSTR("IPv6"), CFSTR("NetInfo"), CFSTR("proxies")}) {
        CFRef<CFDictionaryRef> entity;
        testing::internal::CaptureStderr();
        EXPECT_EQ(-1, MoreSCCreateEntity(name, &digest, entity.out())) << Text(name);
        EXPECT_NE(std::string::npos, testing::internal::GetCapturedStderr().find("MoreAssertQ failure: false"));
        EXPECT_EQ(nullptr, entity.get());
    }
}
