// The live state store: which keys the current set publishes, whole-key
// pattern matching in sorted order, applies that are seen at once, in order
// and only when committed, and states that cannot be read.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "platform/PlatformTestHelpers.h"
#include "platform/corefoundation/PropertyListFile.h"
#include "platform/systemconfiguration/SCDynamicStore.h"
#include "platform/systemconfiguration/SCDynamicStoreTesting.h"
#include "platform/systemconfiguration/SCPreferences.h"
#include "support/CFText.h"
#include "support/StderrCapture.h"
#include "support/TempRoot.h"

namespace {

// Set A (current) links S1 under the local ID x, the inactive S2, and S3
// through a second link; S4 is in set B only. S1's Proxies and the global
// NetInfo are inactive.
const char kStore[] = R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0"><dict>
<key>CurrentSet</key><string>/Sets/A</string><key>NetworkServices</key><dict>
<key>S1</key><dict><key>UserDefinedName</key><string>Ethernet</string><key>DNS</key><dict/>
  <key>IPv4</key><dict><key>ConfigMethod</key><string>DHCP</string></dict>
  <key>Proxies</key><dict><key>__INACTIVE__</key><integer>1</integer></dict></dict>
<key>S2</key><dict><key>__INACTIVE__</key><integer>1</integer><key>IPv4</key><dict/></dict>
<key>S3</key><dict><key>IPv4</key><dict><key>ConfigMethod</key><string>Manual</string></dict></dict>
<key>S4</key><dict><key>IPv4</key><dict/></dict>
<key>Alias</key><dict><key>__LINK__</key><string>/NetworkServices/S3</string></dict></dict>
<key>Sets</key><dict><key>A</key><dict><key>Network</key><dict><key>Global</key><dict><key>IPv4</key><dict/>
  <key>NetInfo</key><dict><key>__INACTIVE__</key><integer>1</integer></dict></dict><key>Service</key><dict>
  <key>x</key><dict><key>__LINK__</key><string>/NetworkServices/S1</string></dict>
  <key>S2</key><dict><key>__LINK__</key><string>/NetworkServices/S2</string></dict>
  <key>S3</key><dict><key>__LINK__</key><string>/NetworkServices/Alias</string></dict></dict></dict></dict>
<key>B</key><dict><key>Network</key><dict><key>Service</key><dict>
  <key>S4</key><dict><key>__LINK__</key><string>/NetworkServices/S4</string></dict></dict></dict></dict>
</dict></dict></plist>
)";

using Store = CFRef<SCDynamicStoreRef>;
using Strings = std::vector<std::string>;

Store OpenStore() { return Store(SCDynamicStoreCreate(kCFAllocatorDefault, CFSTR("test"), nil, nil)); }

Strings Keys(SCDynamicStoreRef store, const std::string& pattern) {
    CFRef<CFArrayRef> keys(SCDynamicStoreCopyKeyList(store, String(pattern).get()));
    return keys ? Texts(keys.get()) : Strings{"(failed)"};
}

// The "ConfigMethod" of the live IPv4 entity of a service, or "(none)".
std::string Method(SCDynamicStoreRef store, const std::string& serviceID) {
    CFRef<CFPropertyListRef> value(SCDynamicStoreCopyValue(store, String("Setup:/Network/Service/" + serviceID + "/IPv4").get()));
    return value ? Text(CFDictionaryGetValue(static_cast<CFDictionaryRef>(value.get()), CFSTR("ConfigMethod"))) : "(none)";
}

class SCDynamicStoreTest : public ::testing::Test {
protected:
    void SetUp() override { root.writeStore(kStore); }

    // Saves (when commit) an inactive entity at path and applies.
    void Apply(const char* path, bool commit = true, CFStringRef prefsID = nil) {
        CFRef<SCPreferencesRef> prefs(SCPreferencesCreate(kCFAllocatorDefault, CFSTR("test"), prefsID));
        ASSERT_TRUE(SCPreferencesPathSetValue(prefs.get(), String(path).get(), DictOf(CFSTR("__INACTIVE__"), CFSTR("1")).get()));
        ASSERT_TRUE(!commit || SCPreferencesCommitChanges(prefs.get()));
        ASSERT_TRUE(SCPreferencesApplyChanges(prefs.get()));
    }

    std::filesystem::path PublishedFile() const { return root.path() / "var/run/SystemConfiguration/preferences.plist"; }

    TempRoot root;
};

TEST_F(SCDynamicStoreTest, CurrentSetsActiveEntitiesAreListedByWholeKeyPatternsInSortedOrder) {
    Store store = OpenStore();
    ASSERT_TRUE(store);
    EXPECT_EQ(SCDynamicStoreGetGenerationForTesting(store.get()), 0);  // nothing applied yet: the store on disk

    const struct { const char* pattern; Strings keys; } rows[] = {
        {"Setup:.*", {"Setup:/Network/Global/IPv4", "Setup:/Network/Service/S1/DNS", "Setup:/Network/Service/S1/IPv4",
                      "Setup:/Network/Service/S3/IPv4"}},
        {"Setup:/Network/Service/[^/]+/IPv4", {"Setup:/Network/Service/S1/IPv4", "Setup:/Network/Service/S3/IPv4"}},
        {"Setup:/Network/Service/S1", {}},  // a prefix is not enough
        {"IPv4", {}},                       // nor a part
        {"Setup:/Network/Global/IP|Setup:/Network/Global/IPv4", {"Setup:/Network/Global/IPv4"}},
    };
    for (const auto& row : rows) EXPECT_EQ(Keys(store.get(), row.pattern), row.keys) << row.pattern;
    EXPECT_EQ(Method(store.get(), "S3"), "Manual");

    StderrCapture report;
    EXPECT_EQ(Method(store.get(), "S2"), "(none)");
    EXPECT_EQ(SCError(), kSCStatusNoKey);
    EXPECT_EQ(Keys(store.get(), "Setup:(["), Strings{"(failed)"});
    EXPECT_EQ(SCError(), kSCStatusInvalidArgument);
    EXPECT_EQ(report.text().rfind("SCDynamicStore: bad key pattern \"Setup:([\": ", 0), 0u);
}

TEST_F(SCDynamicStoreTest, EachCommittedApplyOfTheSystemStoreIsSeenAtOnceWithTheNextGeneration) {
    Store store = OpenStore();
    ASSERT_TRUE(store);
    Apply("/NetworkServices/S1/IPv4");
    EXPECT_EQ(Method(store.get(), "S1"), "(none)");
    EXPECT_EQ(SCDynamicStoreGetGenerationForTesting(store.get()), 1);

    // Only what was committed is applied; another store is not published.
    Apply("/NetworkServices/S3/IPv4", false);
    Apply("/NetworkServices/S1/IPv4", true, CFSTR("other.plist"));
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

    // From the first apply on, the store on disk does not count.
    root.writeStore(kStore);
    EXPECT_EQ(Method(OpenStore().get(), "S1"), "(none)");
}

// A binary store is published as it is, with its number where readers
// find it; the number after the largest one is 1, never an overflow.
TEST_F(SCDynamicStoreTest, BinaryStoresArePublishedAsBinaryAndNumbersStartAgainAfterTheLargest) {
    std::string binary, fault;
    PropertyListFormat format;
    CFRef<CFDictionaryRef> tree(PropertyListCreateFromFileBytes(kStore, &format, &fault));
    ASSERT_TRUE(PropertyListEncodeFileBytes(tree.get(), PropertyListFormat::Binary, &binary, &fault));
    root.writeStore(binary);
    const std::pair<const char*, SInt64> rows[] = {
        {"9223372036854775806", 9223372036854775807}, {"9223372036854775807", 1}, {"99999999999999999999", 1}};
    for (const auto& [last, next] : rows) {
        root.write("/var/run/SystemConfiguration/preferences.plist", std::string("<!-- generation ") + last + " -->");
        CFRef<SCPreferencesRef> prefs(SCPreferencesCreate(kCFAllocatorDefault, CFSTR("test"), nil));
        ASSERT_TRUE(SCPreferencesApplyChanges(prefs.get()));
        EXPECT_EQ(TempRoot::ReadFile(PublishedFile()).rfind("bplist00<!-- generation ", 0), 0u);
        Store store = OpenStore();
        EXPECT_EQ(SCDynamicStoreGetGenerationForTesting(store.get()), next) << last;
        EXPECT_EQ(Method(store.get(), "S3"), "Manual");
    }
}

TEST_F(SCDynamicStoreTest, ConcurrentAppliesAreNumberedWithoutGapsOrRepeats) {
    pid_t children[2];
    for (pid_t& child : children) {
        if ((child = fork()) != 0) continue;
        bool ok = true;
        for (int i = 0; i < 15; i++) {
            CFRef<SCPreferencesRef> prefs(SCPreferencesCreate(kCFAllocatorDefault, CFSTR("child"), nil));
            ok = ok && prefs && SCPreferencesApplyChanges(prefs.get());
        }
        _exit(ok ? 0 : 1);
    }
    for (pid_t child : children) {
        int status = 1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(SCDynamicStoreGetGenerationForTesting(OpenStore().get()), 30);
}

TEST_F(SCDynamicStoreTest, UnreadableStateFailsWithOneLineAndIsNeverOverwritten) {
    const std::pair<const char*, const char*> rows[] = {{"garbage", kStore}, {nullptr, "<plist><dict>"}};
    for (const auto& [published, preferences] : rows) {  // published state (or none), store
        std::filesystem::remove(PublishedFile());
        if (published != nullptr) root.write("/var/run/SystemConfiguration/preferences.plist", published);
        root.writeStore(preferences);
        StderrCapture report;
        EXPECT_FALSE(OpenStore());
        EXPECT_EQ(SCError(), kSCStatusFailed);
        const std::string& complaint = report.text();
        EXPECT_EQ(complaint.rfind("SCDynamicStore: cannot read " + root.path().string(), 0), 0u) << complaint;
        EXPECT_EQ(Lines(complaint), 1u) << complaint;
    }

    // A handle whose state goes bad fails rather than answer from the old
    // one; a pipe in place of the file does not hang it.
    std::filesystem::remove(PublishedFile());
    root.writeStore(kStore);
    Store store = OpenStore();
    ASSERT_TRUE(store);
    ASSERT_EQ(::mkfifo(PublishedFile().c_str(), 0644), 0);
    StderrCapture report;
    EXPECT_EQ(Method(store.get(), "S1"), "(none)");
    EXPECT_EQ(SCError(), kSCStatusFailed);
    EXPECT_NE(report.text().find("not a regular file"), std::string::npos);
    // Nor does a state larger than any store: it is not read at all.
    std::filesystem::remove(PublishedFile());
    root.write("/var/run/SystemConfiguration/preferences.plist", "");
    std::filesystem::resize_file(PublishedFile(), kSCPreferencesMaxFileSize + 1);
    StderrCapture large;
    EXPECT_EQ(Method(store.get(), "S1"), "(none)");
    EXPECT_NE(large.text().find("larger than the limit"), std::string::npos);
}

}  // namespace
