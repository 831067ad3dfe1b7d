// DHCP services from the live state, on a real binary store and edge cases,
// and the release seen as two applies in order.
#include "helpers/MoreSCDHCP.h"

#include <filesystem>

#include "helpers/HelpersStore.h"
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

TEST_F(DHCP, ActiveServicesComeFromTheLiveStateAndAMissingMethodFailsAll) {
    EXPECT_EQ(ActiveDHCP(), (Strings{"D", "E"}));  // key order; X is an inactive service
    root_.installStore("ios-binary.plist");          // a real store, in binary
    EXPECT_EQ(ActiveDHCP(), Strings{"DB914B7E-ED15-483C-9FD8-82A614874711"});

    std::string store = HelpersStoreXML();
    const std::string method = "<key>ConfigMethod</key><string>Manual</string>";
    root_.writeStore(store.erase(store.find(method), method.size()));
    EXPECT_EQ(ActiveDHCP(), Strings{"(failed -2)"});  // W's IPv4 has no method

    // A set without services publishes none: an empty array, not a failure.
    EXPECT_EQ(MoreSCSetCurrentSet(CFSTR("2")), noErr);
    EXPECT_EQ(ActiveDHCP(), Strings{});

    root_.write("/var/run/SystemConfiguration/preferences.plist", "garbage");
    StderrCapture reports;
    EXPECT_EQ(ActiveDHCP(), Strings{"(failed 1001)"});
    EXPECT_NE(reports.text(), "");
}

// Each apply as the live state showed it: its generation, and whether
// service E had an IPv4 entity.
using Published = std::vector<std::pair<SInt64, bool>>;
Published gPublished;

void RecordPublish(void*) {
    CFRef<SCDynamicStoreRef> store(SCDynamicStoreCreate(nullptr, CFSTR("observer"), nullptr, nullptr));
    CFRef<CFPropertyListRef> ipv4(SCDynamicStoreCopyValue(store.get(), CFSTR("Setup:/Network/Service/E/IPv4")));
    gPublished.emplace_back(SCDynamicStoreGetGenerationForTesting(store.get()), ipv4.get() != nullptr);
}

TEST_F(DHCP, ReleasePublishesTheServiceWithoutItsIPv4EntityThenWithIt) {
    gPublished.clear();
    SCDynamicStoreSetPublishObserverForTesting(RecordPublish, nullptr);
    EXPECT_EQ(MoreSCDHCPRelease(CFSTR("E")), noErr);
    EXPECT_EQ(gPublished, (Published{{1, false}, {2, true}}));
    EXPECT_TRUE(SavedActive("/NetworkServices/E/IPv4"));

    // The first apply fails after its save: the second session, which
    // would save the entity active again, does not run.
    std::filesystem::remove_all(root_.path() / "var/run");
    root_.write("/var/run", "a file where a folder belongs");
    StderrCapture reports;
    EXPECT_EQ(MoreSCDHCPRelease(CFSTR("E")), kSCStatusNoStoreServer);
    EXPECT_FALSE(SavedActive("/NetworkServices/E/IPv4"));
    EXPECT_EQ(gPublished.size(), 2u);
    SCDynamicStoreSetPublishObserverForTesting(nullptr, nullptr);
}

}  // namespace
