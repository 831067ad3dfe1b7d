// The preferences store: reading and refusing files, path access through
// links with the right statuses, values that never change under their
// holders, the cross-process lock, and saves that neither lose another
// program's change nor leave a broken file behind. A file this process
// saved is not parsed again while it stays as written, and what crashed
// saves left behind is cleared under the lock, and nothing else.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <linux/capability.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>

#include "platform/PlatformTestHelpers.h"
#include "platform/corefoundation/PropertyListFile.h"
#include "platform/systemconfiguration/SCPreferences.h"
#include "support/BoundedWait.h"
#include "support/CFText.h"
#include "support/StderrCapture.h"
#include "support/StoreLockHolder.h"
#include "support/TempRoot.h"

namespace {

using Prefs = CFRef<SCPreferencesRef>;
namespace fs = std::filesystem;

Prefs Open() { return Prefs(SCPreferencesCreate(kCFAllocatorDefault, CFSTR("test"), nil)); }

// A link to target, as the store holds one.
CFRef<CFMutableDictionaryRef> Link(const std::string& target) { return DictOf(CFSTR("__LINK__"), String(target).get()); }

// Sets a top-level value and saves it.
void Save(SCPreferencesRef prefs, CFStringRef key, CFStringRef value) {
    ASSERT_TRUE(SCPreferencesSetValue(prefs, key, value));
    ASSERT_TRUE(SCPreferencesCommitChanges(prefs));
}

struct stat Stat(const fs::path& file) {
    struct stat info {};
    EXPECT_EQ(::stat(file.c_str(), &info), 0) << file;
    return info;
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
    fs::path folder() const { return root.storePath().parent_path(); }
};

// A sparse file of the given size under the store's name: nothing to read.
void SparseStore(const fs::path& store, off_t size) {
    int fd = ::open(store.c_str(), O_WRONLY | O_CREAT, 0644);
    ASSERT_EQ(::ftruncate(fd, size), 0);
    ::close(fd);
}

// A missing store is empty, and its first save makes the folders and an XML
// file; a later save keeps the file's format and mode.
TEST_F(SCPreferencesTest, FirstSaveMakesFoldersAndXMLAndLaterSavesKeepFormatAndMode) {
    Prefs prefs = Open();
    ASSERT_TRUE(prefs);
    EXPECT_EQ(CFDictionaryGetCount(SCPreferencesPathGetValue(prefs.get(), CFSTR("/"))), 0);
    Save(prefs.get(), CFSTR("CurrentSet"), CFSTR("/Sets/0"));
    std::string text = TempRoot::ReadFile(root.storePath());
    EXPECT_EQ(text.rfind("<?xml", 0), 0u);
    EXPECT_NE(text.find("<string>/Sets/0</string>"), std::string::npos);
    EXPECT_EQ(Stat(root.storePath()).st_mode & 07777, 0644u);

    fs::permissions(root.installStore("ios-binary.plist"), fs::perms::owner_read | fs::perms::owner_write);
    Save(Open().get(), CFSTR("Committed"), CFSTR("yes"));
    EXPECT_EQ(TempRoot::ReadFile(root.storePath()).rfind("bplist00", 0), 0u);
    EXPECT_EQ(Stat(root.storePath()).st_mode & 07777, 0600u);
}

// What the store cannot use is refused, with its status and one line naming
// the file and the fault. What is not a regular file of a sane size is
// refused before it is read; an unreadable file is an access error, for the
// super-user too.
TEST_F(SCPreferencesTest, UnusableStoresAreRefusedInOneLine) {
    const fs::path store = root.storePath();
    const struct { const char* what; std::function<void()> make; int status; std::string fault; } cases[] = {
        {"an empty file", [&] { root.writeStore(""); }, kSCStatusFailed, "empty file"},
        {"an array", [&] { root.writeStore("<plist version=\"1.0\"><array/></plist>"); }, kSCStatusFailed, "root is not a dictionary"},
        {"an unreadable file", [&] { fs::permissions(root.writeStore("<plist><dict/></plist>"), fs::perms::none); }, kSCStatusAccessError, "Permission denied"},
        {"a FIFO", [&] { ASSERT_EQ(::mkfifo(store.c_str(), 0644), 0); }, kSCStatusFailed, "not a regular file but a FIFO"},
        {"a link to /dev/zero", [&] { fs::create_symlink("/dev/zero", store); }, kSCStatusFailed, "not a regular file but a device"},
        {"a folder", [&] { fs::create_directory(store); }, kSCStatusFailed, "not a regular file but a folder"},
        {"a file one byte over the limit", [&] { SparseStore(store, kSCPreferencesMaxFileSize + 1); }, kSCStatusFailed,
         "larger than the limit of 67108864 bytes"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        fs::create_directories(folder());
        c.make();
        auto started = std::chrono::steady_clock::now();
        PermissionsBind bind;
        StderrCapture said;
        EXPECT_FALSE(Open());
        EXPECT_EQ(SCError(), c.status);
        EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(5));
        EXPECT_EQ(said.text().rfind("SCPreferences: cannot read " + store.string() + ": ", 0), 0u) << said.text();
        EXPECT_NE(said.text().find(c.fault), std::string::npos) << said.text();
        EXPECT_EQ(Lines(said.text()), 1u) << said.text();
        fs::remove(store);
    }
    // A file of exactly the limit is read (and here refused for its contents).
    SparseStore(store, kSCPreferencesMaxFileSize);
    StderrCapture said;
    EXPECT_FALSE(Open());
    EXPECT_EQ(said.text().find("larger than"), std::string::npos);
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

// Lookups report missing, invalid and non-dictionary nodes; links are
// followed by lookups and by all but the last component of a write, and a
// cycle ends with the link-count status. Paths of one-byte text are walked
// without making strings, others by the general walk: every step runs with
// plain keys and again with every key ending in "€", with the same results.
TEST_F(SCPreferencesTest, PathsAndLinksWalkAlikeInOneByteAndWideText) {
    for (const char* suffix : {"", "\xE2\x82\xAC"}) {
        SCOPED_TRACE(*suffix ? "wide" : "one-byte");
        auto P = [&](const std::string& plain) {
            std::string text;
            for (std::size_t i = 0; i < plain.size(); ++i) {
                text += plain[i];
                if (plain[i] != '/' && (i + 1 == plain.size() || plain[i + 1] == '/')) text += suffix;
            }
            return CFRef<CFStringRef>(CFStringCreateWithCString(nullptr, text.c_str(), kCFStringEncodingUTF8));
        };
        Prefs prefs = Open();
        auto entity = DictOf(P("HTTPProxy").get(), P("proxy").get());
        auto get = [&](const char* path) { return [&, path] { return SCPreferencesPathGetValue(prefs.get(), P(path).get()) != nil; }; };
        auto getLink = [&](const char* path) { return [&, path] { return SCPreferencesPathGetLink(prefs.get(), P(path).get()) != nil; }; };
        auto set = [&](const char* path) { return [&, path] { return SCPreferencesPathSetValue(prefs.get(), P(path).get(), entity.get()); }; };
        auto remove = [&](const char* path) { return [&, path] { return SCPreferencesPathRemoveValue(prefs.get(), P(path).get()); }; };
        auto link = [&](const char* path, const char* target) {
            return [&, path, target] { return SCPreferencesPathSetValue(prefs.get(), P(path).get(), DictOf(CFSTR("__LINK__"), P(target).get()).get()); };
        };
        auto is = [&](auto get, const char* path, CFTypeRef value) {
            return [&, get, path, value] { CFTypeRef found = get(prefs.get(), P(path).get()); return found != nil && CFEqual(found, value); };
        };
        ExpectSteps({
            {set("/NetworkServices/7/Proxies"), kSCStatusOK},
            {get("//NetworkServices///7/Proxies/"), kSCStatusOK},
            {get("/NetworkServices/8"), kSCStatusNoKey},
            {get("/NetworkServices/7/Proxies/HTTPProxy"), kSCStatusNoKey},  // a string, not a dictionary
            {get("/NetworkServices/7/Proxies/HTTPProxy/deeper"), kSCStatusNoKey},
            {get("NetworkServices/7"), kSCStatusInvalidArgument},
            {getLink("NetworkServices/7"), kSCStatusInvalidArgument},
            {get(""), kSCStatusInvalidArgument},
            {[&] { return SCPreferencesGetValue(prefs.get(), P("Sets").get()) != nil; }, kSCStatusNoKey},
            {remove("/NetworkServices/8"), kSCStatusNoKey},
            {set("relative"), kSCStatusInvalidArgument},
            {set("/NetworkServices/7/Proxies/HTTPProxy/x"), kSCStatusFailed},  // no dictionary made over a string
            {link("/Sets/0/Network/Service/7", "/NetworkServices/7"), kSCStatusOK},
            {link("/Alias", "/Sets/0/Network/Service/7"), kSCStatusOK},
            {is(SCPreferencesPathGetLink, "/Alias", P("/Sets/0/Network/Service/7").get()), kSCStatusOK},
            {getLink("/NetworkServices/7"), kSCStatusNoKey},
            {getLink("/Alias/Proxies"), kSCStatusNoKey},
            {is(SCPreferencesPathGetValue, "/Alias/Proxies", entity.get()), kSCStatusOK},  // a link to a link
            {set("/Sets/0/Network/Service/7/IPv4"), kSCStatusOK},
            {get("/NetworkServices/7/IPv4"), kSCStatusOK},  // the write landed in the service
            {link("/Relative", "NetworkServices/7"), kSCStatusOK},
            {get("/Relative/Proxies"), kSCStatusNoKey},  // a link's target is a whole path
            {remove("/Sets/0/Network/Service/7"), kSCStatusOK},
            {get("/NetworkServices/7/Proxies"), kSCStatusOK},  // only the link went
            {get("/Alias"), kSCStatusNoKey},
            {link("/A", "/B"), kSCStatusOK},
            {link("/B", "/A"), kSCStatusOK},
            {link("/Self", "/Self/x"), kSCStatusOK},
            {get("/A"), kSCStatusMaxLink},
            {get("/Self"), kSCStatusMaxLink},
            {getLink("/A/x"), kSCStatusMaxLink},
            {set("/A/x"), kSCStatusMaxLink},
            {remove("/B/x"), kSCStatusMaxLink},
            {remove("/NetworkServices/7/Proxies"), kSCStatusOK},
            {get("/NetworkServices/7/Proxies"), kSCStatusNoKey},
        });
    }
}

// A link asked for once is answered from memory afterwards; every change of
// the store that alters the answer, made any way, is seen by the next
// question, whether it is asked straight or through another link.
TEST_F(SCPreferencesTest, LinkAnswersFollowEveryChangeOfTheirWay) {
    const CFStringRef service = CFSTR("/Sets/0/Network/Service/7"), aliased = CFSTR("/Alias/Service/7");
    auto relink = [](SCPreferencesRef p, CFStringRef path, const char* target) { return SCPreferencesPathSetValue(p, path, Link(target).get()); };
    // What the store holds under the first `skip` keys of the service's path, its link to target at the end.
    auto under = [](int skip, const char* target) {
        const CFStringRef keys[] = {CFSTR("Sets"), CFSTR("0"), CFSTR("Network"), CFSTR("Service"), CFSTR("7")};
        CFRef<CFMutableDictionaryRef> inner = Link(target);
        for (int i = 4; i >= skip; --i) inner = DictOf(keys[i], inner.get());
        return inner;
    };
    // Each change, and the link's target afterwards (nil for no link).
    const struct { const char* name; std::function<bool(SCPreferencesRef)> change; const char* answer; } rows[] = {
        {"the link rewritten", [&](auto p) { return relink(p, service, "/NetworkServices/8"); }, "/NetworkServices/8"},
        {"the link rewritten through another link", [&](auto p) { return relink(p, aliased, "/NetworkServices/8"); }, "/NetworkServices/8"},
        {"the set's services replaced",
         [&](auto p) { return SCPreferencesPathSetValue(p, CFSTR("/Sets/0/Network/Service"), under(4, "/NetworkServices/9").get()); },
         "/NetworkServices/9"},
        {"the link removed", [&](auto p) { return SCPreferencesPathRemoveValue(p, service); }, nullptr},
        {"the set removed", [&](auto p) { return SCPreferencesPathRemoveValue(p, CFSTR("/Sets/0")); }, nullptr},
        {"the sets replaced at the root", [&](auto p) { return SCPreferencesSetValue(p, CFSTR("Sets"), under(1, "/NetworkServices/5").get()); },
         "/NetworkServices/5"},
        {"the sets replaced under a key of wide text", [&](auto p) {
             CFRef<CFMutableStringRef> key(CFStringCreateMutableCopy(nullptr, 0, CFSTR("Sets")));
             return SCPreferencesSetValue(p, key.get(), under(1, "/NetworkServices/5").get()); },
         "/NetworkServices/5"},
        {"the whole store replaced", [&](auto p) { return SCPreferencesPathSetValue(p, CFSTR("/"), under(0, "/NetworkServices/4").get()); },
         "/NetworkServices/4"},
        {"changes discarded", [&](auto p) {
             return relink(p, service, "/NetworkServices/8") && SCPreferencesPathGetLink(p, service) != nil && SCPreferencesSynchronize(p); },
         "/NetworkServices/7"},
        {"a write beside the way", [&](auto p) {
             return SCPreferencesPathSetValue(p, CFSTR("/NetworkServices/7/Proxies"), DictOf(CFSTR("HTTPProxy"), CFSTR("p")).get()) &&
                    relink(p, CFSTR("/Sets/0/Network/Service/8"), "/NetworkServices/8"); },
         "/NetworkServices/7"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Prefs prefs = Open();
        ASSERT_TRUE(relink(prefs.get(), service, "/NetworkServices/7") && relink(prefs.get(), CFSTR("/Alias"), "/Sets/0/Network"));
        ASSERT_TRUE(SCPreferencesCommitChanges(prefs.get()));
        for (CFStringRef path : {service, aliased}) ASSERT_EQ(Text(SCPreferencesPathGetLink(prefs.get(), path)), "/NetworkServices/7");
        ASSERT_TRUE(row.change(prefs.get()));
        // Asked straight, and through the alias where the change left it.
        for (CFStringRef path : {service, aliased}) {
            std::string answer = Text(SCPreferencesPathGetLink(prefs.get(), path));
            int status = SCError();
            if (path == aliased && SCPreferencesPathGetLink(prefs.get(), CFSTR("/Alias")) == nil) continue;
            EXPECT_EQ(answer, row.answer ? row.answer : "(nil)");
            EXPECT_EQ(status, row.answer ? status : kSCStatusNoKey);
        }
        SCPreferencesSynchronize(prefs.get());  // nothing is saved
    }
}

// A handle that ends on the tree it saved hands its link answers to the
// next handle opened on that tree; one that changed the tree after saving
// does not.
TEST_F(SCPreferencesTest, LinkAnswersPassOnOnlyWithTheTreeTheyDescribe) {
    const CFStringRef path = CFSTR("/Sets/0/Network/Service/7");
    auto linkOf = [&](const Prefs& p) { return Text(SCPreferencesPathGetLink(p.get(), path)); };
    auto relink = [&](const Prefs& p, const char* target) { return SCPreferencesPathSetValue(p.get(), path, Link(target).get()); };
    {
        Prefs first = Open();
        ASSERT_TRUE(relink(first, "/NetworkServices/7") && SCPreferencesCommitChanges(first.get()));
        ASSERT_EQ(linkOf(first), "/NetworkServices/7");
    }
    {
        Prefs second = Open();  // takes the tree saved, and its answers
        EXPECT_EQ(linkOf(second), "/NetworkServices/7");
        ASSERT_TRUE(relink(second, "/NetworkServices/8"));
        ASSERT_EQ(linkOf(second), "/NetworkServices/8");
    }  // ends without saving its change
    EXPECT_EQ(linkOf(Open()), "/NetworkServices/7");
}

// Every handle applies the text it committed itself, whatever other handles
// of the process read, save and let go of in between: they all share one
// buffer for the store's text.
TEST_F(SCPreferencesTest, EachHandleAppliesWhatItCommitted) {
    auto model = [](const fs::path& file) {
        std::string fault;
        PropertyListFormat format;
        CFRef<CFDictionaryRef> tree(PropertyListCreateFromFileBytes(TempRoot::ReadFile(file), &format, &fault));
        return tree ? Text(CFDictionaryGetValue(tree.get(), CFSTR("Model"))) : fault;
    };
    auto apply = [&](const Prefs& p) {
        return SCPreferencesApplyChanges(p.get()) ? model(root.path() / "var/run/SystemConfiguration/preferences.plist") : "(failed)";
    };
    Prefs first = Open();
    Save(first.get(), CFSTR("Model"), CFSTR("first"));
    {
        Prefs second = Open();
        Save(second.get(), CFSTR("Model"), CFSTR("second"));
        EXPECT_EQ(apply(first), "first");
        EXPECT_EQ(apply(second), "second");
    }
    // The second handle is gone; a third reads the store and saves anew.
    Prefs third = Open();
    EXPECT_EQ(Text(SCPreferencesGetValue(third.get(), CFSTR("Model"))), "second");
    Save(third.get(), CFSTR("Model"), CFSTR("third"));
    EXPECT_EQ(apply(first), "first");
    EXPECT_EQ(apply(third), "third");
    EXPECT_EQ(model(root.storePath()), "third");
}

TEST_F(SCPreferencesTest, ValuesNeverChangeUnderTheirHolders) {
    Prefs prefs = Open();
    ASSERT_TRUE(prefs);
    auto mine = DictOf(CFSTR("HTTPProxy"), CFSTR("first"));
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

    // Discarding the changes brings back the store as last committed, and
    // leaves retained values as they were; a commit then writes nothing.
    ASSERT_TRUE(SCPreferencesCommitChanges(prefs.get()));
    std::string committed = TempRoot::ReadFile(root.storePath());
    ASSERT_TRUE(SCPreferencesPathSetValue(prefs.get(), CFSTR("/NetworkServices/2/Proxies"), mine.get()));
    ASSERT_TRUE(SCPreferencesPathRemoveValue(prefs.get(), CFSTR("/NetworkServices/1/IPv4")));
    auto changed = CFRef<CFDictionaryRef>::Retain(SCPreferencesPathGetValue(prefs.get(), CFSTR("/NetworkServices")));
    ASSERT_TRUE(SCPreferencesSynchronize(prefs.get()));
    EXPECT_EQ(CFDictionaryGetCount(changed.get()), 2);
    EXPECT_EQ(SCPreferencesPathGetValue(prefs.get(), CFSTR("/NetworkServices/2")), nullptr);
    EXPECT_NE(SCPreferencesPathGetValue(prefs.get(), CFSTR("/NetworkServices/1/IPv4")), nullptr);
    auto mtime = fs::last_write_time(root.storePath());
    EXPECT_TRUE(SCPreferencesCommitChanges(prefs.get()));
    EXPECT_EQ(TempRoot::ReadFile(root.storePath()), committed);
    EXPECT_EQ(fs::last_write_time(root.storePath()), mtime);
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
        {"changed on disk", [] { Save(Open().get(), CFSTR("Owner"), CFSTR("other")); }},
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
        Save(next.get(), CFSTR("Owner"), CFSTR("next"));
    }
}

TEST_F(SCPreferencesTest, TheLastSaveIsReusedOnlyWhileTheFileIsAsWritten) {
    root.installStore("imac-ethernet-pac.plist");
    Prefs first = Open();
    Save(first.get(), CFSTR("Model"), CFSTR("saved"));
    CFTypeRef savedSets = SCPreferencesGetValue(first.get(), CFSTR("Sets"));
    first.reset();

    // Not read again: the very objects of the save come back.
    Prefs second = Open();
    EXPECT_EQ(SCPreferencesGetValue(second.get(), CFSTR("Sets")), savedSets);
    // Changes through one handle never reach the tree another one holds.
    ASSERT_TRUE(SCPreferencesSetValue(second.get(), CFSTR("Model"), CFSTR("unsaved")));
    EXPECT_TRUE(CFEqual(SCPreferencesGetValue(Open().get(), CFSTR("Model")), CFSTR("saved")));

    // Another program rewrites the file with the same size in place: the
    // next handle reads the new contents, and the older ones are stale.
    std::string changed = TempRoot::ReadFile(root.storePath());
    changed.replace(changed.find("<string>saved</string>"), 22, "<string>other</string>");
    int fd = ::open(root.storePath().c_str(), O_WRONLY);
    ASSERT_EQ(::pwrite(fd, changed.data(), changed.size(), 0), static_cast<ssize_t>(changed.size()));
    timespec later[2] = {{0, UTIME_OMIT}, {2000000000, 0}};
    ::futimens(fd, later);
    ::close(fd);
    Prefs fourth = Open();
    EXPECT_TRUE(CFEqual(SCPreferencesGetValue(fourth.get(), CFSTR("Model")), CFSTR("other")));
    StderrCapture said;
    EXPECT_FALSE(SCPreferencesCommitChanges(second.get()));
    EXPECT_EQ(SCError(), kSCStatusStale);
    EXPECT_NE(said.text().find("changed on disk"), std::string::npos);

    // Only touched, with its bytes the same: not a change.
    timespec touched[2] = {{0, UTIME_OMIT}, {2100000000, 0}};
    ::utimensat(AT_FDCWD, root.storePath().c_str(), touched, 0);
    Save(fourth.get(), CFSTR("Model"), CFSTR("fourth"));
}

TEST_F(SCPreferencesTest, OnlyASaveThatWritesClearsCrashedSavesLeftoversAndNothingElse) {
    root.installStore("imac-ethernet-pac.plist");
    const char* leftovers[] = {".preferences.plist.a1B2c3", ".preferences.plist.XXXXXX"};
    // Five characters, seven, not a letter or digit, not hidden, another
    // store's, and a folder and a link of a leftover's name.
    const char* others[] = {".preferences.plist.a1B2c", ".preferences.plist.a1B2c3d", ".preferences.plist.a1-2c3", "preferences.plist.a1B2c3",
                            ".other.plist.a1B2c3", ".preferences.plist.lock00", ".preferences.plist.link00"};
    for (const char* name : leftovers) root.write("/Library/Preferences/SystemConfiguration/" + std::string(name), "x");
    for (const std::string name : others) {
        if (name.ends_with("lock00")) fs::create_directory(folder() / name);
        else if (name.ends_with("link00")) fs::create_symlink(folder() / leftovers[0], folder() / name);
        else root.write("/Library/Preferences/SystemConfiguration/" + name, "x");
    }
    auto before = Stat(root.storePath());
    Prefs prefs = Open();
    ASSERT_TRUE(prefs);
    // A commit with nothing to write (writing back what is already there is
    // no change) takes no lock and leaves all alone.
    auto same = CFRef<CFDictionaryRef>::Retain(SCPreferencesPathGetValue(prefs.get(), CFSTR("/NetworkServices")));
    ASSERT_TRUE(SCPreferencesPathSetValue(prefs.get(), CFSTR("/NetworkServices"), same.get()));
    ASSERT_TRUE(SCPreferencesCommitChanges(prefs.get()));
    auto after = Stat(root.storePath());
    EXPECT_TRUE(after.st_ino == before.st_ino && after.st_mtim.tv_nsec == before.st_mtim.tv_nsec);
    EXPECT_FALSE(fs::exists(root.storePath().string() + ".lock"));
    for (const char* name : leftovers) EXPECT_TRUE(fs::exists(folder() / name)) << name;

    Save(prefs.get(), CFSTR("Model"), CFSTR("x"));
    for (const char* name : leftovers) EXPECT_FALSE(fs::exists(folder() / name)) << name;
    for (const char* name : others) EXPECT_TRUE(fs::exists(fs::symlink_status(folder() / name))) << name;
}

}  // namespace
