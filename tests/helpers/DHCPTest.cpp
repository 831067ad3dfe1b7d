// DHCP services from the live state, on the real stores and on edge cases,
// and the release seen as two applies in order.
#include "helpers/MoreSCDHCP.h"

#include <filesystem>
#include <utility>

#include "helpers/HelpersStore.h"
#include "netconfig/MoreSCSessionScope.h"
#include "netconfig/MoreSCSets.h"

namespace {

using DHCP = HelpersTest;
using Strings = std::vector<std::string>;

// The service IDs, or "(failed <status>)".
Strings ActiveDHCP() {
    CFRef<CFArrayRef> services;
    OSStatus err = MoreSCCreateActiveDHCPServicesArray(services.out());
    EXPECT_EQ(err == noErr, services.get() != nullptr);
    if (err != noErr) return {"(failed " + std::to_string(err) + ")"};
    return Texts(services.get());
}

TEST_F(DHCP, RealStoresListTheirDHCPServicesInKeyOrder) {
    const std::pair<const char*, Strings> rows[] = {
        {"imac-ethernet-pac.plist", {"1838D499-D1F7-4102-909F-EDFB6C16897B", "E85BB583-ECDD-469D-BED0-8E051CC976B5"}},
        {"ios-binary.plist", {"DB914B7E-ED15-483C-9FD8-82A614874711"}},
        {"macbook-air-http-proxy-ppp.plist",
         {"3896F922-5883-4D53-AC38-CEDEC0DAAAF3", "622D9F75-98F0-4AF1-8FFC-C5A27462B0B6"}},
    };
    for (const auto& [name, services] : rows) {
        root_.installStore(name);
        EXPECT_EQ(ActiveDHCP(), services) << name;
    }
}

TEST_F(DHCP, ActiveServicesComeFromTheLastApplyAndAMissingMethodFailsAll) {
    // Key order, not service order; X is inactive, W manual, M PPP.
    EXPECT_EQ(ActiveDHCP(), (Strings{"D", "E"}));

    // A set without services publishes none: an empty array, not a failure.
    EXPECT_EQ(MoreSCSetCurrentSet(CFSTR("2")), noErr);
    EXPECT_EQ(ActiveDHCP(), Strings{});

    // The store on disk no longer counts once something was applied.
    std::string store = kHelpersStore;
    const std::string method = "<key>ConfigMethod</key><string>Manual</string>";
    store.erase(store.find(method), method.size());
    root_.writeStore(store);
    EXPECT_EQ(ActiveDHCP(), Strings{});
    std::filesystem::remove(root_.path() / "var/run/SystemConfiguration/dynamic-store.plist");
    EXPECT_EQ(ActiveDHCP(), Strings{"(failed -2)"});  // W's IPv4 has a key but no method

    root_.write("/var/run/SystemConfiguration/dynamic-store.plist", "garbage");
    testing::internal::CaptureStderr();
    EXPECT_EQ(ActiveDHCP(), Strings{"(failed 1001)"});
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
}

// What the live state held at each apply: the generation and whether
// service E had an IPv4 entity.
std::vector<std::pair<SInt64, bool>> gPublished;

void RecordPublish(void*) {
    CFRef<SCDynamicStoreRef> store(SCDynamicStoreCreate(nullptr, CFSTR("observer"), nullptr, nullptr));
    CFRef<CFPropertyListRef> ipv4(SCDynamicStoreCopyValue(store.get(), CFSTR("Setup:/Network/Service/E/IPv4")));
    gPublished.emplace_back(SCDynamicStoreGetGenerationForTesting(store.get()), ipv4.get() != nullptr);
}

class DHCPRelease : public HelpersTest {
protected:
    void SetUp() override {
        HelpersTest::SetUp();
        gPublished.clear();
        SCDynamicStoreSetPublishObserverForTesting(RecordPublish, nullptr);
    }
    void TearDown() override { SCDynamicStoreSetPublishObserverForTesting(nullptr, nullptr); }
};

TEST_F(DHCPRelease, PublishesTheServiceWithoutItsIPv4EntityThenWithIt) {
    EXPECT_EQ(MoreSCDHCPRelease(CFSTR("E")), noErr);
    EXPECT_EQ(gPublished, (std::vector<std::pair<SInt64, bool>>{{1, false}, {2, true}}));
    EXPECT_TRUE(SavedActive("/NetworkServices/E/IPv4"));

    // Inside the caller's session both saves wait for its close, which
    // applies the unchanged state once: no release.
    gPublished.clear();
    OSStatus err = noErr;
    {
        MoreSCSessionScope session(&err, false);
        EXPECT_EQ(MoreSCDHCPRelease(CFSTR("E")), noErr);
    }
    EXPECT_EQ(err, noErr);
    EXPECT_EQ(gPublished, (std::vector<std::pair<SInt64, bool>>{{3, true}}));
}

TEST_F(DHCPRelease, AFailedFirstSessionEndsTheRelease) {
    // An unknown service: nothing to save.
    EXPECT_EQ(MoreSCDHCPRelease(CFSTR("Q")), kSCStatusNoKey);

    // The first apply fails after its save: the second session would have
    // saved the entity active again, and does not run.
    root_.write("/var/run", "a file where a folder belongs");
    testing::internal::CaptureStderr();
    EXPECT_EQ(MoreSCDHCPRelease(CFSTR("E")), kSCStatusFailed);
    testing::internal::GetCapturedStderr();
    EXPECT_FALSE(SavedActive("/NetworkServices/E/IPv4"));
    EXPECT_TRUE(gPublished.empty());

    testing::internal::CaptureStderr();
    EXPECT_EQ(MoreSCDHCPRelease(nullptr), paramErr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "MoreAssertQ failure: serviceID != nil\n");
}

}  // namespace
