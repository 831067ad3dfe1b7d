// The preferences store: reading and refusing files, path access through
// links with the right statuses, values that never change under their
// holders, the cross-process lock, and saves that neither lose another
// program's change nor leave a broken file behind.
#include <gtest/gtest.h>

#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <string>

#include "platform/corefoundation/CFRef.h"
#include "platform/systemconfiguration/SCPreferences.h"
#include "platform/systemconfiguration/SCPreferencesTesting.h"
#include "support/BoundedWait.h"
#include "support/StderrCapture.h"
#include "support/StoreLockHolder.h"
#include "support/TempRoot.h"

namespace {

using Prefs = CFRef<SCPreferencesRef>;

Prefs Open() { return Prefs(SCPreferencesCreate(kCFAllocatorDefault, CFSTR("test"), nil)); }

// A dictionary holding one string.
CFRef<CFMutableDictionaryRef> Entity(CFStringRef key, CFStringRef value) {
    CFRef<CFMutableDictionaryRef> dict(CFDictionaryCreateMutable(
        kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    CFDictionarySetValue(dict.get(), key, value);
    return dict;
}

std::size_t Lines(const std::string& text) { return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')); }

struct stat Stat(const std::filesystem::path& file) {
    struct stat info {};
    EXPECT_EQ(::stat(file.c_str(), &info), 0) << file;
    return info;
}

std::string AppliedText(const TempRoot& root) {
    return TempRoot::ReadFile(root.path() / "var/run/SystemConfiguration/preferences.plist");
}

// While it lives, file permissions bind this process as they bind everyone
// else, the super-user included: it gives up the capabilities that
// override them.
class PermissionsBind {
public:
    PermissionsBind() {
        ::syscall(SYS_capget, &header_, saved_);
        __user_cap_data_struct lowered[2] = {saved_[0], saved_[1]};
        lowered[0].effective &= ~(CAP_TO_MASK(CAP_DAC_OVERRIDE) | CAP_TO_MASK(CAP_DAC_READ_SEARCH));
        ::syscall(SYS_capset, &header_, lowered);
    }
    ~PermissionsBind() { ::syscall(SYS_capset, &header_, saved_); }

private:
    __user_cap_header_struct header_{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct saved_[2] = {};
};

class SCPreferencesTest : public ::testing::Test {
protected:
    TempRoot root;
    Watchdog watchdog{"a preferences store test", 10};
};

// The running system is handed XML, whatever the store's own format.
TEST_F(SCPreferencesTest, BinaryStoreIsSavedAsBinaryAndAppliedAsXML) {
    auto file = root.installStore("ios-binary.plist");
    Prefs prefs = Open();
    ASSERT_TRUE(SCPreferencesPathSetValue(prefs.get(), CFSTR("/Extra/Entity"), Entity(CFSTR("k"), CFSTR("v")).get()));
    ASSERT_TRUE(SCPreferencesCommitChanges(prefs.get()));
    EXPECT_EQ(TempRoot::ReadFile(file).rfind("bplist00", 0), 0u);
    ASSERT_TRUE(SCPreferencesApplyChanges(prefs.get()));
    EXPECT_EQ(AppliedText(root).rfind("<?xml", 0), 0u);
    EXPECT_NE(AppliedText(root).find("<key>Extra</key>"), std::string::npos);
}

TEST_F(SCPreferencesTest, MissingStoreIsEmptyAndFirstSaveMakesFoldersAndXML) {
    Prefs prefs = Open();
    ASSERT_TRUE(prefs);
    EXPECT_EQ(CFDictionaryGetCount(SCPreferencesPathGetValue(prefs.get(), CFSTR("/"))), 0);
    ASSERT_TRUE(SCPreferencesSetValue(prefs.get(), CFSTR("CurrentSet"), CFSTR("/Sets/0")));
    EXPECT_TRUE(SCPreferencesCommitChanges(prefs.get()));
    std::string text = TempRoot::ReadFile(root.storePath());
    EXPECT_EQ(text.rfind("<?xml", 0), 0u);
    EXPECT_NE(text.find("<string>/Sets/0</string>"), std::string::npos);
    EXPECT_EQ(Stat(root.storePath()).st_mode & 07777, 0644u);
}

// What the store cannot read is refused, named in one line and left alone.
TEST_F(SCPreferencesTest, BrokenStoresAreRefusedNamedAndLeftAlone) {
    for (const std::string& bytes : {std::string(), std::string("<plist version=\"1.0\"><array/></plist>")}) {
        auto file = root.writeStore(bytes);
        StderrCapture said;
        EXPECT_FALSE(Open());
        EXPECT_EQ(SCError(), kSCStatusFailed);
        EXPECT_EQ(Lines(said.text()), 1u) << said.text();
        EXPECT_NE(said.text().find(file.string()), std::string::npos) << said.text();
        EXPECT_EQ(TempRoot::ReadFile(file), bytes);
    }
}

TEST_F(SCPreferencesTest, UnreadableStoreIsAnAccessError) {
    auto file = root.writeStore("<plist><dict/></plist>");
    std::filesystem::permissions(file, std::filesystem::perms::none);
    PermissionsBind bind;
    StderrCapture said;
    EXPECT_FALSE(Open());
    EXPECT_EQ(SCError(), kSCStatusAccessError);
    EXPECT_NE(said.text().find(file.string()), std::string::npos) << said.text();
}

// Steps on one store handle, each with the status it must leave; a step
// succeeds exactly when its status is kSCStatusOK.
using Steps = std::vector<std::pair<std::function<bool()>, int>>;
void ExpectSteps(const Steps& steps) {
    for (size_t i = 0; i < steps.size(); i++) {
        EXPECT_EQ(steps[i].first(), steps[i].second == kSCStatusOK) << "step " << i;
        EXPECT_EQ(SCError(), steps[i].second) << "step " << i;
    }
}

TEST_F(SCPreferencesTest, PathsReportMissingInvalidAndNonDictionaryNodes) {
    Prefs prefs = Open();
    auto entity = Entity(CFSTR("HTTPProxy"), CFSTR("proxy"));
    auto get = [&](CFStringRef path) { return [&, path] { return SCPreferencesPathGetValue(prefs.get(), path) != nil; }; };
    auto set = [&](CFStringRef path) { return [&, path] { return SCPreferencesPathSetValue(prefs.get(), path, entity.get()); }; };
    auto remove = [&](CFStringRef path) { return [&, path] { return SCPreferencesPathRemoveValue(prefs.get(), path); }; };
    ExpectSteps({
        {set(CFSTR("/NetworkServices/1/Proxies")), kSCStatusOK},
        {get(CFSTR("/NetworkServices/1/Proxies")), kSCStatusOK},
        {get(CFSTR("/NetworkServices/2")), kSCStatusNoKey},
        {get(CFSTR("/NetworkServices/1/Proxies/HTTPProxy")), kSCStatusNoKey},  // a string, not a dictionary
        {get(CFSTR("/NetworkServices/1/Proxies/HTTPProxy/deeper")), kSCStatusNoKey},
        {get(CFSTR("NetworkServices/1")), kSCStatusInvalidArgument},
        {get(CFSTR("")), kSCStatusInvalidArgument},
        {[&] { return SCPreferencesGetValue(prefs.get(), CFSTR("Sets")) != nil; }, kSCStatusNoKey},
        {remove(CFSTR("/NetworkServices/2")), kSCStatusNoKey},
        {set(CFSTR("relative")), kSCStatusInvalidArgument},
        {set(CFSTR("/NetworkServices/1/Proxies/HTTPProxy/x")), kSCStatusFailed},  // no dictionary made over a string
        {remove(CFSTR("/NetworkServices/1/Proxies")), kSCStatusOK},
        {get(CFSTR("/NetworkServices/1/Proxies")), kSCStatusNoKey},
    });
}

// Links are followed by lookups and by all but the last component of a
// write; a cycle ends with the link-count status.
TEST_F(SCPreferencesTest, LinksAreFollowedButNotForever) {
    Prefs prefs = Open();
    auto proxies = Entity(CFSTR("HTTPProxy"), CFSTR("proxy"));
    auto link = [&](CFStringRef path, CFStringRef target) {
        return [&, path, target] { return SCPreferencesPathSetLink(prefs.get(), path, target); };
    };
    auto get = [&](CFStringRef path) { return [&, path] { return SCPreferencesPathGetValue(prefs.get(), path) != nil; }; };
    auto set = [&](CFStringRef path) { return [&, path] { return SCPreferencesPathSetValue(prefs.get(), path, proxies.get()); }; };
    auto remove = [&](CFStringRef path) { return [&, path] { return SCPreferencesPathRemoveValue(prefs.get(), path); }; };
    ExpectSteps({
        {set(CFSTR("/NetworkServices/7/Proxies")), kSCStatusOK},
        {link(CFSTR("/Sets/0/Network/Service/7"), CFSTR("/NetworkServices/7")), kSCStatusOK},
        {link(CFSTR("/Alias"), CFSTR("/Sets/0/Network/Service/7")), kSCStatusOK},
        {[&] { return CFEqual(SCPreferencesPathGetLink(prefs.get(), CFSTR("/Alias")), CFSTR("/Sets/0/Network/Service/7")); },
         kSCStatusOK},
        {[&] { return SCPreferencesPathGetLink(prefs.get(), CFSTR("/NetworkServices/7")) != nil; }, kSCStatusNoKey},
        {get(CFSTR("/Alias/Proxies")), kSCStatusOK},  // a link to a link
        {set(CFSTR("/Sets/0/Network/Service/7/IPv4")), kSCStatusOK},
        {get(CFSTR("/NetworkServices/7/IPv4")), kSCStatusOK},  // the write landed in the service
        {remove(CFSTR("/Sets/0/Network/Service/7")), kSCStatusOK},
        {get(CFSTR("/NetworkServices/7/Proxies")), kSCStatusOK},  // only the link went
        {get(CFSTR("/Alias")), kSCStatusNoKey},
        {link(CFSTR("/A"), CFSTR("/B")), kSCStatusOK},
        {link(CFSTR("/B"), CFSTR("/A")), kSCStatusOK},
        {link(CFSTR("/Self"), CFSTR("/Self/x")), kSCStatusOK},
        {get(CFSTR("/A")), kSCStatusMaxLink},
        {get(CFSTR("/Self")), kSCStatusMaxLink},
        {set(CFSTR("/A/x")), kSCStatusMaxLink},
        {remove(CFSTR("/B/x")), kSCStatusMaxLink},
    });
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
    Prefs prefs = Open();
    ASSERT_TRUE(prefs);
    {
        StoreLockHolder holder;
        ASSERT_TRUE(holder.locked());
        EXPECT_FALSE(SCPreferencesLock(prefs.get(), false));
        EXPECT_EQ(SCError(), kSCStatusPrefsBusy);
        EXPECT_TRUE(holder.LetGo());
    }
    EXPECT_TRUE(SCPreferencesLock(prefs.get(), true));
    EXPECT_FALSE(SCPreferencesLock(prefs.get(), false));
    EXPECT_EQ(SCError(), kSCStatusLocked);
    EXPECT_FALSE(StoreLockHolder().locked());
    // Releasing the handle gives the lock up.
    prefs.reset();
    Prefs next = Open();
    EXPECT_TRUE(SCPreferencesLock(next.get(), false));
    EXPECT_TRUE(SCPreferencesUnlock(next.get()));
    EXPECT_FALSE(SCPreferencesUnlock(next.get()));
    EXPECT_EQ(SCError(), kSCStatusNeedLock);
}

// Another program saves the store, or deletes it, between this handle's
// read and its save: the save is refused, and the file stays as the other
// program left it.
TEST_F(SCPreferencesTest, SaveAfterAnotherProgramsChangeIsRefusedAsStale) {
    const std::pair<const char*, std::function<void()>> others[] = {
        {"changed on disk", [] {
             Prefs other = Open();
             SCPreferencesSetValue(other.get(), CFSTR("Owner"), CFSTR("other"));
             EXPECT_TRUE(SCPreferencesCommitChanges(other.get()));
         }},
        {"was removed", [this] { std::filesystem::remove(root.storePath()); }},
    };
    for (const auto& [what, otherProgram] : others) {
        SCOPED_TRACE(what);
        auto file = root.installStore("imac-ethernet-pac.plist");
        Prefs mine = Open();
        ASSERT_TRUE(mine);
        SCPreferencesSetValue(mine.get(), CFSTR("Owner"), CFSTR("mine"));
        otherProgram();
        std::string left = TempRoot::ReadFile(file);
        bool exists = std::filesystem::exists(file);

        StderrCapture said;
        EXPECT_FALSE(SCPreferencesCommitChanges(mine.get()));
        EXPECT_EQ(SCError(), kSCStatusStale);
        EXPECT_EQ(Lines(said.text()), 1u) << said.text();
        EXPECT_NE(said.text().find(file.string() + ": it " + what), std::string::npos) << said.text();
        EXPECT_EQ(std::filesystem::exists(file), exists);
        EXPECT_EQ(TempRoot::ReadFile(file), left);
        EXPECT_FALSE(SCPreferencesLock(mine.get(), false));
        EXPECT_EQ(SCError(), kSCStatusStale);
        // The stale handle kept no lock: another one takes it at once.
        Prefs next = Open();
        EXPECT_TRUE(SCPreferencesLock(next.get(), false));
        SCPreferencesSetValue(next.get(), CFSTR("Owner"), CFSTR("next"));
        EXPECT_TRUE(SCPreferencesCommitChanges(next.get()));
    }
}

TEST_F(SCPreferencesTest, SaveWithoutChangesLeavesTheFileUntouched) {
    auto file = root.installStore("macbook-air-http-proxy-ppp.plist");
    auto before = Stat(file);
    Prefs prefs = Open();
    ASSERT_TRUE(prefs);
    // Writing back what is already there is no change.
    auto same = CFRef<CFDictionaryRef>::Retain(SCPreferencesPathGetValue(prefs.get(), CFSTR("/NetworkServices")));
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
    EXPECT_NE(AppliedText(root).find("<key>Committed</key>"), std::string::npos);
    EXPECT_EQ(AppliedText(root).find("<key>NotCommitted</key>"), std::string::npos);

    // A run-time folder that cannot be made: apply fails and says why.
    std::filesystem::remove_all(root.path() / "var");
    root.write("/var/run", "a file where a folder belongs");
    StderrCapture said;
    EXPECT_FALSE(SCPreferencesApplyChanges(prefs.get()));
    EXPECT_EQ(SCError(), kSCStatusFailed);
    EXPECT_EQ(Lines(said.text()), 1u) << said.text();
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
    ASSERT_TRUE(WaitForChild(child, &status));
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == kAtomicFileInterruptedExitStatus);
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
