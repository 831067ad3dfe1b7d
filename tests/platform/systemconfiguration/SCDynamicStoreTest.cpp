// The live state store: which keys the current set publishes, whole-key
// pattern matching in sorted order, applies that are seen at once, in order
// and only when committed, and states that cannot be read.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "platform/corefoundation/CFRef.h"
#include "platform/systemconfiguration/SCDynamicStore.h"
#include "platform/systemconfiguration/SCDynamicStoreTesting.h"
#include "platform/systemconfiguration/SCPreferences.h"
#include "support/TempRoot.h"

namespace {

// Set A is current. It links S1 under another local ID, the inactive S2,
// and S3 through a chain of two links; S4 belongs to set B only. Inactive
// entities: S1's Proxies and the global NetInfo.
const char kStore[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
<key>CurrentSet</key><string>/Sets/A</string>
<key>NetworkServices</key><dict>
  <key>S1</key><dict><key>UserDefinedName</key><string>Ethernet</string>
    <key>IPv4</key><dict><key>ConfigMethod</key><string>DHCP</string></dict>
    <key>DNS</key><dict/>
    <key>Proxies</key><dict><key>__INACTIVE__</key><integer>1</integer></dict></dict>
  <key>S2</key><dict><key>__INACTIVE__</key><integer>1</integer>
    <key>IPv4</key><dict><key>ConfigMethod</key><string>DHCP</string></dict></dict>
  <key>S3</key><dict><key>IPv4</key><dict><key>ConfigMethod</key><string>Manual</string></dict></dict>
  <key>S4</key><dict><key>IPv4</key><dict><key>ConfigMethod</key><string>DHCP</string></dict></dict>
  <key>Alias</key><dict><key>__LINK__</key><string>/NetworkServices/S3</string></dict>
</dict>
<key>Sets</key><dict>
  <key>A</key><dict><key>Network</key><dict>
    <key>Global</key><dict>
      <key>IPv4</key><dict><key>ServiceOrder</key><array><string>x</string></array></dict>
      <key>NetInfo</key><dict><key>__INACTIVE__</key><integer>1</integer></dict></dict>
    <key>Service</key><dict>
      <key>x</key><dict><key>__LINK__</key><string>/NetworkServices/S1</string></dict>
      <key>S2</key><dict><key>__LINK__</key><string>/NetworkServices/S2</string></dict>
      <key>S3</key><dict><key>__LINK__</key><string>/NetworkServices/Alias</string></dict>
    </dict></dict></dict>
  <key>B</key><dict><key>Network</key><dict><key>Service</key><dict>
      <key>S4</key><dict><key>__LINK__</key><string>/NetworkServices/S4</string></dict>
  </dict></dict></dict>
</dict>
</dict></plist>
)";

using Store = CFRef<SCDynamicStoreRef>;
using Strings = std::vector<std::string>;

Store OpenStore() { return Store(SCDynamicStoreCreate(kCFAllocatorDefault, CFSTR("test"), nil, nil)); }

CFRef<CFStringRef> String(const std::string& text) {
    return CFRef<CFStringRef>(CFStringCreateWithCString(kCFAllocatorDefault, text.c_str(), kCFStringEncodingUTF8));
}

std::string Text(CFTypeRef string) {
    char buffer[512];
    if (string == nil || !CFStringGetCString(static_cast<CFStringRef>(string), buffer, sizeof buffer, kCFStringEncodingUTF8)) {
        return "(none)";
    }
    return buffer;
}

Strings Keys(SCDynamicStoreRef store, const std::string& pattern) {
    CFRef<CFArrayRef> keys(SCDynamicStoreCopyKeyList(store, String(pattern).get()));
    Strings texts;
    for (CFIndex i = 0; keys && i < CFArrayGetCount(keys.get()); i++) texts.push_back(Text(CFArrayGetValueAtIndex(keys.get(), i)));
    if (!keys) texts.push_back("(failed)");
    return texts;
}

// The "ConfigMethod" of the live IPv4 entity of a service, or "(none)".
std::string Method(SCDynamicStoreRef store, const std::string& serviceID) {
    CFRef<CFPropertyListRef> value(SCDynamicStoreCopyValue(store, String("Setup:/Network/Service/" + serviceID + "/IPv4").get()));
    if (!value) return "(none)";
    return Text(CFDictionaryGetValue(static_cast<CFDictionaryRef>(value.get()), CFSTR("ConfigMethod")));
}

class SCDynamicStoreTest : public ::testing::Test {
protected:
    void SetUp() override { root.writeStore(kStore); }

    // Saves a change of the store and applies it (commit: whether it is
    // saved before the apply).
    void Apply(const char* path, CFDictionaryRef value, bool commit = true, CFStringRef prefsID = nil) {
        CFRef<SCPreferencesRef> prefs(SCPreferencesCreate(kCFAllocatorDefault, CFSTR("test"), prefsID));
        ASSERT_TRUE(prefs);
        ASSERT_TRUE(SCPreferencesPathSetValue(prefs.get(), String(path).get(), value));
        if (commit) {
            ASSERT_TRUE(SCPreferencesCommitChanges(prefs.get()));
        }
        ASSERT_TRUE(SCPreferencesApplyChanges(prefs.get()));
    }

    std::filesystem::path PublishedFile() const { return root.path() / "var/run/SystemConfiguration/dynamic-store.plist"; }

    TempRoot root;
};

TEST_F(SCDynamicStoreTest, SetupDomainHoldsTheCurrentSetsActiveEntitiesUnderTheirServiceIDs) {
    Store store = OpenStore();
    ASSERT_TRUE(store);
    EXPECT_EQ(Keys(store.get(), "Setup:.*"),
              (Strings{"Setup:/Network/Global/IPv4", "Setup:/Network/Service/S1/DNS", "Setup:/Network/Service/S1/IPv4",
                       "Setup:/Network/Service/S3/IPv4"}));
    EXPECT_EQ(SCDynamicStoreGetGenerationForTesting(store.get()), 0);
    EXPECT_EQ(Method(store.get(), "S3"), "Manual");

    // Each value handed out is the caller's own.
    CFRef<CFPropertyListRef> value(SCDynamicStoreCopyValue(store.get(), CFSTR("Setup:/Network/Service/S1/IPv4")));
    CFRef<CFPropertyListRef> again(SCDynamicStoreCopyValue(store.get(), CFSTR("Setup:/Network/Service/S1/IPv4")));
    ASSERT_TRUE(value);
    EXPECT_TRUE(CFEqual(value.get(), again.get()));

    testing::internal::CaptureStderr();
    EXPECT_FALSE(SCDynamicStoreCopyValue(store.get(), CFSTR("Setup:/Network/Service/S2/IPv4")));
    EXPECT_EQ(SCError(), kSCStatusNoKey);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(SCDynamicStoreTest, PatternsMatchWholeKeysInSortedOrder) {
    Store store = OpenStore();
    ASSERT_TRUE(store);
    CFRef<CFStringRef> servicePattern(SCDynamicStoreKeyCreateNetworkServiceEntity(
        kCFAllocatorDefault, kSCDynamicStoreDomainSetup, CFSTR("[^/]+"), CFSTR("IPv4")));
    EXPECT_EQ(Text(servicePattern.get()), "Setup:/Network/Service/[^/]+/IPv4");
    CFRef<CFStringRef> serviceKey(SCDynamicStoreKeyCreateNetworkServiceEntity(kCFAllocatorDefault, CFSTR("State:"),
                                                                              CFSTR("S1"), nil));
    EXPECT_EQ(Text(serviceKey.get()), "State:/Network/Service/S1");

    const struct {
        const char* pattern;
        Strings keys;
    } rows[] = {
        {"Setup:/Network/Service/[^/]+/IPv4", {"Setup:/Network/Service/S1/IPv4", "Setup:/Network/Service/S3/IPv4"}},
        {"Setup:/Network/Service/S1", {}},                // a prefix is not enough
        {"IPv4", {}},                                     // nor a part
        {"Setup:/Network/Service/S1/DNS|Setup:/Network/Global/IP", {"Setup:/Network/Service/S1/DNS"}},
        {"Setup:/Network/Global/IP|Setup:/Network/Global/IPv4", {"Setup:/Network/Global/IPv4"}},
        {"setup:.*", {}},                                 // case counts
        {".*/(DNS|Global/IPv4)", {"Setup:/Network/Global/IPv4", "Setup:/Network/Service/S1/DNS"}},
    };
    for (const auto& row : rows) EXPECT_EQ(Keys(store.get(), row.pattern), row.keys) << row.pattern;

    testing::internal::CaptureStderr();
    EXPECT_EQ(Keys(store.get(), "Setup:(["), Strings{"(failed)"});
    EXPECT_EQ(SCError(), kSCStatusInvalidArgument);
    std::string complaint = testing::internal::GetCapturedStderr();
    EXPECT_EQ(complaint.rfind("SCDynamicStore: bad key pattern \"Setup:([\": ", 0), 0u) << complaint;
}

TEST_F(SCDynamicStoreTest, EachCommittedApplyOfTheSystemStoreIsPublishedWithTheNextGeneration) {
    Store store = OpenStore();
    ASSERT_TRUE(store);
    CFRef<CFMutableDictionaryRef> inactive(CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                                                     &kCFTypeDictionaryValueCallBacks));
    int one = 1;
    CFRef<CFNumberRef> marker(CFNumberCreate(kCFAllocatorDefault, kCFNumberIntType, &one));
    CFDictionarySetValue(inactive.get(), CFSTR("__INACTIVE__"), marker.get());

    Apply("/NetworkServices/S1/IPv4", inactive.get());
    EXPECT_EQ(Method(store.get(), "S1"), "(none)");  // an open handle sees the apply at once
    EXPECT_EQ(SCDynamicStoreGetGenerationForTesting(store.get()), 1);

    // Only what was committed is applied; another store is not published.
    Apply("/NetworkServices/S3/IPv4", inactive.get(), false);
    Apply("/NetworkServices/S1/IPv4", inactive.get(), true, CFSTR("other.plist"));
    EXPECT_EQ(Method(store.get(), "S3"), "Manual");
    EXPECT_EQ(SCDynamicStoreGetGenerationForTesting(store.get()), 2);

    // A state replaced by one of the same size and time is still seen.
    struct stat first = {};
    ASSERT_EQ(::stat(PublishedFile().c_str(), &first), 0);
    CFRef<SCPreferencesRef> prefs(SCPreferencesCreate(kCFAllocatorDefault, CFSTR("test"), nil));
    ASSERT_TRUE(SCPreferencesApplyChanges(prefs.get()));
    const struct timespec times[2] = {first.st_atim, first.st_mtim};
    ASSERT_EQ(::utimensat(AT_FDCWD, PublishedFile().c_str(), times, 0), 0);
    EXPECT_EQ(Method(store.get(), "S3"), "Manual");
    EXPECT_EQ(SCDynamicStoreGetGenerationForTesting(store.get()), 3);

    // Published state wins over the store on disk from now on.
    root.writeStore(kStore);
    EXPECT_EQ(Method(store.get(), "S1"), "(none)");
    EXPECT_EQ(Method(OpenStore().get(), "S1"), "(none)");
}

TEST_F(SCDynamicStoreTest, ConcurrentAppliesAreNumberedWithoutGapsOrRepeats) {
    const int kAppliesPerProcess = 15;
    pid_t children[2];
    for (pid_t& child : children) {
        child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            bool ok = true;
            for (int i = 0; i < kAppliesPerProcess; i++) {
                CFRef<SCPreferencesRef> prefs(SCPreferencesCreate(kCFAllocatorDefault, CFSTR("child"), nil));
                ok = ok && prefs && SCPreferencesApplyChanges(prefs.get());
            }
            _exit(ok ? 0 : 1);
        }
    }
    for (pid_t child : children) {
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    Store store = OpenStore();
    ASSERT_TRUE(store);
    EXPECT_EQ(SCDynamicStoreGetGenerationForTesting(store.get()), 2 * kAppliesPerProcess);
}

TEST_F(SCDynamicStoreTest, UnreadableStateFailsWithOneLineAndIsNeverOverwritten) {
    const struct {
        const char* what;
        std::string published;  // "" : no published state
        std::string preferences;
        int status;
    } rows[] = {
        {"corrupt published state", "garbage", kStore, kSCStatusFailed},
        {"published state without generation",
         "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>Keys</key><dict/></dict></plist>", kStore,
         kSCStatusFailed},
        {"corrupt store before any apply", "", "<plist><dict>", kSCStatusFailed},
    };
    for (const auto& row : rows) {
        std::filesystem::remove(PublishedFile());
        if (!row.published.empty()) root.write("/var/run/SystemConfiguration/dynamic-store.plist", row.published);
        root.writeStore(row.preferences);
        testing::internal::CaptureStderr();
        EXPECT_FALSE(OpenStore()) << row.what;
        EXPECT_EQ(SCError(), row.status) << row.what;
        std::string complaint = testing::internal::GetCapturedStderr();
        EXPECT_EQ(complaint.rfind("SCDynamicStore: cannot read " + root.path().string(), 0), 0u) << complaint;
        EXPECT_EQ(std::count(complaint.begin(), complaint.end(), '\n'), 1) << complaint;
    }

    // An apply does not replace a published state it cannot read.
    root.write("/var/run/SystemConfiguration/dynamic-store.plist", "garbage");
    root.writeStore(kStore);
    CFRef<SCPreferencesRef> prefs(SCPreferencesCreate(kCFAllocatorDefault, CFSTR("test"), nil));
    testing::internal::CaptureStderr();
    EXPECT_FALSE(SCPreferencesApplyChanges(prefs.get()));
    EXPECT_NE(testing::internal::GetCapturedStderr().find("SCDynamicStore: cannot publish"), std::string::npos);
    EXPECT_EQ(TempRoot::ReadFile(PublishedFile()), "garbage");

    // A handle whose state goes bad fails rather than answer from the old one;
    // a pipe in place of the file does not hang it.
    std::filesystem::remove(PublishedFile());
    Store store = OpenStore();
    ASSERT_TRUE(store);
    ASSERT_EQ(::mkfifo(PublishedFile().c_str(), 0644), 0);
    testing::internal::CaptureStderr();
    EXPECT_EQ(Method(store.get(), "S1"), "(none)");
    EXPECT_EQ(SCError(), kSCStatusFailed);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("not a regular file"), std::string::npos);
}

TEST_F(SCDynamicStoreTest, NoStoreAtAllIsAnEmptyConfiguration) {
    std::filesystem::remove(root.storePath());
    Store store = OpenStore();
    ASSERT_TRUE(store);
    EXPECT_EQ(Keys(store.get(), ".*"), Strings{});
}

}  // namespace
