// The preferences store: reading and refusing files, path access through
// links with the right statuses, values that never change under their
// holders, the cross-process lock, and saves that neither lose another
// process's update nor leave a broken file behind.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "platform/corefoundation/CFRef.h"
#include "platform/systemconfiguration/SCPreferences.h"
#include "platform/systemconfiguration/SCPreferencesTesting.h"
#include "support/TempRoot.h"

namespace {

using Prefs = CFRef<SCPreferencesRef>;

Prefs Open(CFStringRef prefsID = nil) { return Prefs(SCPreferencesCreate(kCFAllocatorDefault, CFSTR("test"), prefsID)); }

CFRef<CFMutableDictionaryRef> NewDict() {
    return CFRef<CFMutableDictionaryRef>(CFDictionaryCreateMutable(
        kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
}

// A dictionary holding one string.
CFRef<CFMutableDictionaryRef> Entity(CFStringRef key, CFStringRef value) {
    auto dict = NewDict();
    CFDictionarySetValue(dict.get(), key, value);
    return dict;
}

std::size_t Lines(const std::string& text) { return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')); }

struct stat Stat(const std::filesystem::path& file) {
    struct stat info {};
    EXPECT_EQ(::stat(file.c_str(), &info), 0) << file;
    return info;
}

class SCPreferencesTest : public ::testing::Test {
protected:
    TempRoot root;
};

TEST_F(SCPreferencesTest, ChangedAndRestoredRealStoresSaveToTheirOriginalBytes) {
    for (const char* name : {"imac-ethernet-pac.plist", "macbook-air-http-proxy-ppp.plist"}) {
        auto file = root.installStore(name);
        std::string original = TempRoot::ReadFile(file);
        Prefs prefs = Open();
        ASSERT_TRUE(prefs) << name;
        ASSERT_TRUE(SCPreferencesSetValue(prefs.get(), CFSTR("Extra"), CFSTR("x")));
        ASSERT_TRUE(SCPreferencesCommitChanges(prefs.get()));
        EXPECT_NE(TempRoot::ReadFile(file), original);
        ASSERT_TRUE(SCPreferencesRemoveValue(prefs.get(), CFSTR("Extra")));
        ASSERT_TRUE(SCPreferencesCommitChanges(prefs.get()));
        EXPECT_EQ(TempRoot::ReadFile(file), original) << name;
    }
}

TEST_F(SCPreferencesTest, BinaryStoreIsSavedAsBinary) {
    auto file = root.installStore("ios-binary.plist");
    Prefs prefs = Open();
    ASSERT_TRUE(prefs);
    ASSERT_TRUE(SCPreferencesPathSetValue(prefs.get(), CFSTR("/Extra/Entity"), Entity(CFSTR("k"), CFSTR("v")).get()));
    ASSERT_TRUE(SCPreferencesCommitChanges(prefs.get()));
    EXPECT_EQ(TempRoot::ReadFile(file).rfind("bplist00", 0), 0u);
    // The running system is handed XML whatever the store's format.
    ASSERT_TRUE(SCPreferencesApplyChanges(prefs.get()));
    std::string applied = TempRoot::ReadFile(root.path() / "var/run/SystemConfiguration/preferences.plist");
    EXPECT_EQ(applied.rfind("<?xml", 0), 0u);
    EXPECT_NE(applied.find("<key>Extra</key>"), std::string::npos);
    Prefs again = Open();
    ASSERT_TRUE(again);
    EXPECT_TRUE(CFEqual(SCPreferencesPathGetValue(again.get(), CFSTR("/")), SCPreferencesPathGetValue(prefs.get(), CFSTR("/"))));
}

TEST_F(SCPreferencesTest, MissingStoreIsEmptyAndFirstSaveMakesFoldersAndXML) {
    Prefs prefs = Open();
    ASSERT_TRUE(prefs);
    EXPECT_EQ(SCError(), kSCStatusOK);
    EXPECT_EQ(CFDictionaryGetCount(SCPreferencesPathGetValue(prefs.get(), CFSTR("/"))), 0);
    ASSERT_TRUE(SCPreferencesSetValue(prefs.get(), CFSTR("CurrentSet"), CFSTR("/Sets/0")));
    ASSERT_TRUE(SCPreferencesCommitChanges(prefs.get()));
    std::string text = TempRoot::ReadFile(root.storePath());
    EXPECT_EQ(text.rfind("<?xml", 0), 0u);
    EXPECT_NE(text.find("<string>/Sets/0</string>"), std::string::npos);
    EXPECT_EQ(Stat(root.storePath()).st_mode & 07777, 0644u);

    // Other store names: absolute, or within the default store's folder.
    for (CFStringRef name : {CFSTR("other.plist"), CFSTR("/elsewhere/deep/my.plist")}) {
        Prefs other = Open(name);
        ASSERT_TRUE(other);
        SCPreferencesSetValue(other.get(), CFSTR("k"), CFSTR("v"));
        EXPECT_TRUE(SCPreferencesCommitChanges(other.get()));
    }
    EXPECT_TRUE(std::filesystem::exists(root.storePath().parent_path() / "other.plist"));
    EXPECT_TRUE(std::filesystem::exists(root.path() / "elsewhere/deep/my.plist"));
}

TEST_F(SCPreferencesTest, BrokenStoresAreRefusedNamedAndLeftAlone) {
    std::string xml = TempRoot::ReadFile(std::string(TARNWICK_STORES_DIR) + "/imac-ethernet-pac.plist");
    std::string binary = TempRoot::ReadFile(std::string(TARNWICK_STORES_DIR) + "/ios-binary.plist");
    const std::string cases[] = {
        "",
        "garbage",
        xml.substr(0, xml.size() - 20),
        binary.substr(0, binary.size() / 2),
        "<?xml version=\"1.0\"?>\n<plist version=\"1.0\">\n<array/>\n</plist>\n",
    };
    for (const std::string& bytes : cases) {
        auto file = root.writeStore(bytes);
        auto before = Stat(file);
        testing::internal::CaptureStderr();
        Prefs prefs = Open();
        std::string said = testing::internal::GetCapturedStderr();
        EXPECT_FALSE(prefs);
        EXPECT_EQ(SCError(), kSCStatusFailed);
        EXPECT_EQ(Lines(said), 1u) << said;
        EXPECT_NE(said.find(file.string()), std::string::npos) << said;
        EXPECT_EQ(TempRoot::ReadFile(file), bytes);
        EXPECT_EQ(Stat(file).st_mtim.tv_nsec, before.st_mtim.tv_nsec);
    }
}

TEST_F(SCPreferencesTest, UnreadableStoreIsAnAccessError) {
    if (::geteuid() == 0) GTEST_SKIP() << "permissions do not bind the super-user";
    auto file = root.writeStore("<plist><dict/></plist>");
    std::filesystem::permissions(file, std::filesystem::perms::none);
    testing::internal::CaptureStderr();
    Prefs prefs = Open();
    std::string said = testing::internal::GetCapturedStderr();
    EXPECT_FALSE(prefs);
    EXPECT_EQ(SCError(), kSCStatusAccessError);
    EXPECT_NE(said.find(file.string()), std::string::npos) << said;
}

TEST_F(SCPreferencesTest, PathsReportMissingInvalidAndNonDictionaryNodes) {
    Prefs prefs = Open();
    ASSERT_TRUE(prefs);
    auto entity = Entity(CFSTR("HTTPProxy"), CFSTR("proxy"));
    ASSERT_TRUE(SCPreferencesPathSetValue(prefs.get(), CFSTR("/NetworkServices/1/Proxies"), entity.get()));
    EXPECT_EQ(SCError(), kSCStatusOK);
    EXPECT_TRUE(CFEqual(SCPreferencesPathGetValue(prefs.get(), CFSTR("/NetworkServices/1/Proxies")), entity.get()));

    struct Lookup {
        CFStringRef path;
        int status;
    } lookups[] = {
        {CFSTR("/NetworkServices/2"), kSCStatusNoKey},
        {CFSTR("/NetworkServices/1/Proxies/HTTPProxy"), kSCStatusNoKey},  // a string, not a dictionary
        {CFSTR("/NetworkServices/1/Proxies/HTTPProxy/deeper"), kSCStatusNoKey},
        {CFSTR("NetworkServices/1"), kSCStatusInvalidArgument},
        {CFSTR(""), kSCStatusInvalidArgument},
    };
    for (const Lookup& l : lookups) {
        EXPECT_EQ(SCPreferencesPathGetValue(prefs.get(), l.path), nullptr);
        EXPECT_EQ(SCError(), l.status);
    }
    EXPECT_EQ(SCPreferencesGetValue(prefs.get(), CFSTR("Sets")), nullptr);
    EXPECT_EQ(SCError(), kSCStatusNoKey);

    EXPECT_FALSE(SCPreferencesPathRemoveValue(prefs.get(), CFSTR("/NetworkServices/2")));
    EXPECT_EQ(SCError(), kSCStatusNoKey);
    EXPECT_FALSE(SCPreferencesPathSetValue(prefs.get(), CFSTR("relative"), entity.get()));
    EXPECT_EQ(SCError(), kSCStatusInvalidArgument);
    // An intermediate node that exists but is no dictionary cannot be
    // replaced by one on the way.
    EXPECT_FALSE(SCPreferencesPathSetValue(prefs.get(), CFSTR("/NetworkServices/1/Proxies/HTTPProxy/x"), entity.get()));
    EXPECT_EQ(SCError(), kSCStatusFailed);

    EXPECT_TRUE(SCPreferencesPathRemoveValue(prefs.get(), CFSTR("/NetworkServices/1/Proxies")));
    EXPECT_EQ(SCPreferencesPathGetValue(prefs.get(), CFSTR("/NetworkServices/1/Proxies")), nullptr);
}

TEST_F(SCPreferencesTest, LinksAreFollowedForLookupsAndAllButTheLastComponentOfWrites) {
    Prefs prefs = Open();
    ASSERT_TRUE(prefs);
    auto proxies = Entity(CFSTR("HTTPProxy"), CFSTR("proxy"));
    ASSERT_TRUE(SCPreferencesPathSetValue(prefs.get(), CFSTR("/NetworkServices/7/Proxies"), proxies.get()));
    ASSERT_TRUE(SCPreferencesPathSetLink(prefs.get(), CFSTR("/Sets/0/Network/Service/7"), CFSTR("/NetworkServices/7")));
    // A link to a link.
    ASSERT_TRUE(SCPreferencesPathSetLink(prefs.get(), CFSTR("/Alias"), CFSTR("/Sets/0/Network/Service/7")));

    CFStringRef link = SCPreferencesPathGetLink(prefs.get(), CFSTR("/Sets/0/Network/Service/7"));
    ASSERT_NE(link, nullptr);
    EXPECT_TRUE(CFEqual(link, CFSTR("/NetworkServices/7")));
    EXPECT_TRUE(CFEqual(SCPreferencesPathGetValue(prefs.get(), CFSTR("/Alias/Proxies")), proxies.get()));
    EXPECT_EQ(SCPreferencesPathGetLink(prefs.get(), CFSTR("/NetworkServices/7")), nullptr);
    EXPECT_EQ(SCError(), kSCStatusNoKey);

    // A write through the link lands in the service itself.
    auto ipv4 = Entity(CFSTR("ConfigMethod"), CFSTR("DHCP"));
    ASSERT_TRUE(SCPreferencesPathSetValue(prefs.get(), CFSTR("/Sets/0/Network/Service/7/IPv4"), ipv4.get()));
    EXPECT_TRUE(CFEqual(SCPreferencesPathGetValue(prefs.get(), CFSTR("/NetworkServices/7/IPv4")), ipv4.get()));
    // Removing the link removes only the link.
    ASSERT_TRUE(SCPreferencesPathRemoveValue(prefs.get(), CFSTR("/Sets/0/Network/Service/7")));
    EXPECT_NE(SCPreferencesPathGetValue(prefs.get(), CFSTR("/NetworkServices/7/Proxies")), nullptr);
    EXPECT_EQ(SCPreferencesPathGetValue(prefs.get(), CFSTR("/Alias")), nullptr);
    EXPECT_EQ(SCError(), kSCStatusNoKey);

    // Cycles end with the link-count status, for reads and writes alike.
    ASSERT_TRUE(SCPreferencesPathSetLink(prefs.get(), CFSTR("/A"), CFSTR("/B")));
    ASSERT_TRUE(SCPreferencesPathSetLink(prefs.get(), CFSTR("/B"), CFSTR("/A")));
    ASSERT_TRUE(SCPreferencesPathSetLink(prefs.get(), CFSTR("/Self"), CFSTR("/Self/x")));
    EXPECT_EQ(SCPreferencesPathGetValue(prefs.get(), CFSTR("/A")), nullptr);
    EXPECT_EQ(SCError(), kSCStatusMaxLink);
    EXPECT_EQ(SCPreferencesPathGetValue(prefs.get(), CFSTR("/Self")), nullptr);
    EXPECT_EQ(SCError(), kSCStatusMaxLink);
    EXPECT_FALSE(SCPreferencesPathSetValue(prefs.get(), CFSTR("/A/x"), ipv4.get()));
    EXPECT_EQ(SCError(), kSCStatusMaxLink);
    EXPECT_FALSE(SCPreferencesPathRemoveValue(prefs.get(), CFSTR("/B/x")));
    EXPECT_EQ(SCError(), kSCStatusMaxLink);
}

TEST_F(SCPreferencesTest, ValuesNeverChangeUnderTheirHolders) {
    Prefs prefs = Open();
    ASSERT_TRUE(prefs);
    auto mine = Entity(CFSTR("HTTPProxy"), CFSTR("first"));
    ASSERT_TRUE(SCPreferencesPathSetValue(prefs.get(), CFSTR("/NetworkServices/1/Proxies"), mine.get()));
    // The caller's later edits stay the caller's.
    CFDictionarySetValue(mine.get(), CFSTR("HTTPProxy"), CFSTR("edited"));
    CFDictionaryRef stored = SCPreferencesPathGetValue(prefs.get(), CFSTR("/NetworkServices/1/Proxies"));
    EXPECT_TRUE(CFEqual(CFDictionaryGetValue(stored, CFSTR("HTTPProxy")), CFSTR("first")));

    // A node retained from an earlier lookup keeps its contents when the
    // store changes beneath it, however deep.
    auto service = CFRef<CFDictionaryRef>::Retain(SCPreferencesPathGetValue(prefs.get(), CFSTR("/NetworkServices/1")));
    auto snapshot = CFRef<CFDictionaryRef>(static_cast<CFDictionaryRef>(
        CFPropertyListCreateDeepCopy(kCFAllocatorDefault, service.get(), kCFPropertyListImmutable)));
    ASSERT_TRUE(SCPreferencesPathSetValue(prefs.get(), CFSTR("/NetworkServices/1/Proxies/Deeper"), mine.get()));
    ASSERT_TRUE(SCPreferencesPathRemoveValue(prefs.get(), CFSTR("/NetworkServices/1/Proxies")));
    ASSERT_TRUE(SCPreferencesPathSetValue(prefs.get(), CFSTR("/NetworkServices/1/IPv4"), mine.get()));
    EXPECT_TRUE(CFEqual(service.get(), snapshot.get()));
    EXPECT_FALSE(CFEqual(SCPreferencesPathGetValue(prefs.get(), CFSTR("/NetworkServices/1")), service.get()));
}

TEST_F(SCPreferencesTest, LockExcludesOtherProcessesAndWaitsWhenAsked) {
    int ready[2], release[2];
    ASSERT_EQ(::pipe(ready), 0);
    ASSERT_EQ(::pipe(release), 0);
    pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        SCPreferencesRef holder = SCPreferencesCreate(nil, CFSTR("child"), nil);
        char locked = (holder != nil && SCPreferencesLock(holder, false)) ? '1' : '0';
        (void)!::write(ready[1], &locked, 1);
        char go;
        (void)!::read(release[0], &go, 1);
        ::_exit(SCPreferencesUnlock(holder) ? 0 : 1);
    }
    char locked = 0;
    ASSERT_EQ(::read(ready[0], &locked, 1), 1);
    ASSERT_EQ(locked, '1');

    Prefs prefs = Open();
    ASSERT_TRUE(prefs);
    EXPECT_FALSE(SCPreferencesLock(prefs.get(), false));
    EXPECT_EQ(SCError(), kSCStatusPrefsBusy);
    char go = 'g';
    ASSERT_EQ(::write(release[1], &go, 1), 1);
    EXPECT_TRUE(SCPreferencesLock(prefs.get(), true));
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    for (int fd : {ready[0], ready[1], release[0], release[1]}) ::close(fd);

    EXPECT_FALSE(SCPreferencesLock(prefs.get(), false));
    EXPECT_EQ(SCError(), kSCStatusLocked);
    // Releasing the handle gives the lock up.
    prefs.reset();
    Prefs next = Open();
    EXPECT_TRUE(SCPreferencesLock(next.get(), false));
    EXPECT_TRUE(SCPreferencesUnlock(next.get()));
    EXPECT_FALSE(SCPreferencesUnlock(next.get()));
    EXPECT_EQ(SCError(), kSCStatusNeedLock);
}

TEST_F(SCPreferencesTest, SaveAfterAnotherSaveIsRefusedAsStale) {
    auto file = root.installStore("imac-ethernet-pac.plist");
    Prefs first = Open(), second = Open();
    ASSERT_TRUE(first && second);
    SCPreferencesSetValue(first.get(), CFSTR("Owner"), CFSTR("first"));
    SCPreferencesSetValue(second.get(), CFSTR("Owner"), CFSTR("second"));
    ASSERT_TRUE(SCPreferencesCommitChanges(first.get()));
    std::string saved = TempRoot::ReadFile(file);

    testing::internal::CaptureStderr();
    EXPECT_FALSE(SCPreferencesCommitChanges(second.get()));
    std::string said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(SCError(), kSCStatusStale);
    EXPECT_EQ(Lines(said), 1u) << said;
    EXPECT_NE(said.find(file.string()), std::string::npos) << said;
    EXPECT_NE(said.find("changed on disk"), std::string::npos) << said;
    EXPECT_EQ(TempRoot::ReadFile(file), saved);
    EXPECT_FALSE(SCPreferencesLock(second.get(), false));
    EXPECT_EQ(SCError(), kSCStatusStale);
    // The stale handle let go of the lock, and the first one may save again.
    SCPreferencesSetValue(first.get(), CFSTR("Owner"), CFSTR("first, again"));
    EXPECT_TRUE(SCPreferencesCommitChanges(first.get()));
}

TEST_F(SCPreferencesTest, SaveWithoutChangesLeavesTheFileUntouched) {
    auto file = root.installStore("macbook-air-http-proxy-ppp.plist");
    auto before = Stat(file);
    Prefs prefs = Open();
    ASSERT_TRUE(prefs);
    // Writing back what is already there is no change.
    auto same = CFRef<CFDictionaryRef>::Retain(SCPreferencesPathGetValue(prefs.get(), CFSTR("/NetworkServices")));
    ASSERT_TRUE(same);
    ASSERT_TRUE(SCPreferencesPathSetValue(prefs.get(), CFSTR("/NetworkServices"), same.get()));
    EXPECT_TRUE(SCPreferencesCommitChanges(prefs.get()));
    auto after = Stat(file);
    EXPECT_TRUE(after.st_ino == before.st_ino && after.st_mtim.tv_sec == before.st_mtim.tv_sec &&
                after.st_mtim.tv_nsec == before.st_mtim.tv_nsec);
    EXPECT_FALSE(std::filesystem::exists(file.string() + ".lock"));
}

TEST_F(SCPreferencesTest, SaveKeepsTheModeAndApplyRecordsTheSavedState) {
    auto file = root.installStore("imac-ethernet-pac.plist");
    std::filesystem::permissions(file, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    Prefs prefs = Open();
    ASSERT_TRUE(prefs);
    SCPreferencesSetValue(prefs.get(), CFSTR("Committed"), CFSTR("yes"));
    ASSERT_TRUE(SCPreferencesCommitChanges(prefs.get()));
    EXPECT_EQ(Stat(file).st_mode & 07777, 0600u);

    SCPreferencesSetValue(prefs.get(), CFSTR("NotCommitted"), CFSTR("yes"));
    ASSERT_TRUE(SCPreferencesApplyChanges(prefs.get()));
    std::string applied = TempRoot::ReadFile(root.path() / "var/run/SystemConfiguration/preferences.plist");
    EXPECT_NE(applied.find("<key>Committed</key>"), std::string::npos);
    EXPECT_EQ(applied.find("<key>NotCommitted</key>"), std::string::npos);

    // A run-time folder that cannot be made: apply fails and says why.
    std::filesystem::remove_all(root.path() / "var");
    root.write("/var/run", "a file where a folder belongs");
    testing::internal::CaptureStderr();
    EXPECT_FALSE(SCPreferencesApplyChanges(prefs.get()));
    std::string said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(SCError(), kSCStatusFailed);
    EXPECT_EQ(Lines(said), 1u) << said;
}

TEST_F(SCPreferencesTest, InterruptedSaveLeavesTheOldFileWhole) {
    auto file = root.installStore("imac-ethernet-pac.plist");
    std::string original = TempRoot::ReadFile(file);
    pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        SCPreferencesRef prefs = SCPreferencesCreate(nil, CFSTR("child"), nil);
        if (prefs == nil) ::_exit(1);
        SCPreferencesSetValue(prefs, CFSTR("Lost"), CFSTR("in the crash"));
        SCPreferencesInterruptNextCommitForTesting(100);
        SCPreferencesCommitChanges(prefs);
        ::_exit(2);  // not reached: the commit ends the process
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), kAtomicFileInterruptedExitStatus);
    EXPECT_EQ(TempRoot::ReadFile(file), original);

    // The crash's leftover does not disturb the next run.
    Prefs prefs = Open();
    ASSERT_TRUE(prefs);
    SCPreferencesSetValue(prefs.get(), CFSTR("Saved"), CFSTR("after the crash"));
    EXPECT_TRUE(SCPreferencesCommitChanges(prefs.get()));
    Prefs again = Open();
    ASSERT_TRUE(again);
    EXPECT_NE(SCPreferencesGetValue(again.get(), CFSTR("Saved")), nullptr);
}

}  // namespace
