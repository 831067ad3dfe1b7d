// The store file as the store handle meets it: what is not a regular file
// or is too large is refused before it is read, a file this process saved
// is not parsed again while it stays as written (but a change by anyone
// else is still seen), and what crashed saves left behind is cleared under
// the lock, and nothing else.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <string>

#include "platform/corefoundation/CFRef.h"
#include "platform/systemconfiguration/SCPreferences.h"
#include "support/TempRoot.h"

namespace {

using Prefs = CFRef<SCPreferencesRef>;
namespace fs = std::filesystem;

Prefs Open() { return Prefs(SCPreferencesCreate(kCFAllocatorDefault, CFSTR("test"), nil)); }

class SCPreferencesFileTest : public ::testing::Test {
protected:
    TempRoot root;
    fs::path folder() const { return root.storePath().parent_path(); }
};

TEST_F(SCPreferencesFileTest, WhatIsNotARegularFileOfASaneSizeIsRefusedUnread) {
    struct Case {
        const char* what;
        void (*make)(const fs::path& store);
        const char* fault;
    } cases[] = {
        {"a FIFO", [](const fs::path& s) { ASSERT_EQ(::mkfifo(s.c_str(), 0644), 0); }, "not a regular file but a FIFO"},
        {"a link to /dev/zero", [](const fs::path& s) { fs::create_symlink("/dev/zero", s); }, "not a regular file but a device"},
        {"a folder", [](const fs::path& s) { fs::create_directory(s); }, "not a regular file but a folder"},
        {"a file one byte over the limit",
         [](const fs::path& s) {
             int fd = ::open(s.c_str(), O_WRONLY | O_CREAT, 0644);
             ASSERT_EQ(::ftruncate(fd, kSCPreferencesMaxFileSize + 1), 0);  // sparse: nothing to read
             ::close(fd);
         },
         "larger than the limit of 67108864 bytes"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        fs::create_directories(folder());
        c.make(root.storePath());
        testing::internal::CaptureStderr();
        auto started = std::chrono::steady_clock::now();
        Prefs prefs = Open();
        std::string said = testing::internal::GetCapturedStderr();
        EXPECT_FALSE(prefs);
        EXPECT_EQ(SCError(), kSCStatusFailed);
        EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(5));
        EXPECT_EQ(said, "SCPreferences: cannot read " + root.storePath().string() + ": " + c.fault + "\n");
        fs::remove(root.storePath());
    }
    // A file of exactly the limit is read (and here refused for its contents).
    int fd = ::open(root.storePath().c_str(), O_WRONLY | O_CREAT, 0644);
    ASSERT_EQ(::ftruncate(fd, kSCPreferencesMaxFileSize), 0);
    ::close(fd);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(Open());
    EXPECT_EQ(testing::internal::GetCapturedStderr().find("larger than"), std::string::npos);
}

TEST_F(SCPreferencesFileTest, TheLastSaveIsReusedOnlyWhileTheFileIsAsWritten) {
    root.installStore("imac-ethernet-pac.plist");
    Prefs first = Open();
    ASSERT_TRUE(first);
    ASSERT_TRUE(SCPreferencesSetValue(first.get(), CFSTR("Model"), CFSTR("saved")));
    ASSERT_TRUE(SCPreferencesCommitChanges(first.get()));
    CFTypeRef savedSets = SCPreferencesGetValue(first.get(), CFSTR("Sets"));
    first.reset();

    // Not read again: the very objects of the save come back.
    Prefs second = Open();
    ASSERT_TRUE(second);
    EXPECT_EQ(SCPreferencesGetValue(second.get(), CFSTR("Sets")), savedSets);
    // Changes through one handle never reach the tree another one holds.
    ASSERT_TRUE(SCPreferencesSetValue(second.get(), CFSTR("Model"), CFSTR("unsaved")));
    Prefs third = Open();
    EXPECT_TRUE(CFEqual(SCPreferencesGetValue(third.get(), CFSTR("Model")), CFSTR("saved")));

    // Another program rewrites the file with the same size in place: the
    // next handle reads the new contents, and the older ones are stale.
    std::string text = TempRoot::ReadFile(root.storePath());
    std::string changed = text;
    changed.replace(changed.find("<string>saved</string>"), 22, "<string>other</string>");
    {
        int fd = ::open(root.storePath().c_str(), O_WRONLY);
        ASSERT_EQ(::pwrite(fd, changed.data(), changed.size(), 0), static_cast<ssize_t>(changed.size()));
        timespec later[2] = {{0, UTIME_OMIT}, {2000000000, 0}};
        ::futimens(fd, later);
        ::close(fd);
    }
    Prefs fourth = Open();
    EXPECT_TRUE(CFEqual(SCPreferencesGetValue(fourth.get(), CFSTR("Model")), CFSTR("other")));
    testing::internal::CaptureStderr();
    EXPECT_FALSE(SCPreferencesCommitChanges(second.get()));
    EXPECT_EQ(SCError(), kSCStatusStale);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("changed on disk"), std::string::npos);

    // Only touched, with its bytes the same: not a change.
    timespec touched[2] = {{0, UTIME_OMIT}, {2100000000, 0}};
    ::utimensat(AT_FDCWD, root.storePath().c_str(), touched, 0);
    ASSERT_TRUE(SCPreferencesSetValue(fourth.get(), CFSTR("Model"), CFSTR("fourth")));
    EXPECT_TRUE(SCPreferencesCommitChanges(fourth.get()));
}

TEST_F(SCPreferencesFileTest, ASaveClearsCrashedSavesLeftoversAndNothingElse) {
    root.installStore("imac-ethernet-pac.plist");
    const char* leftovers[] = {".preferences.plist.a1B2c3", ".preferences.plist.XXXXXX"};
    const char* others[] = {
        ".preferences.plist.a1B2c",   // five characters
        ".preferences.plist.a1B2c3d",  // seven
        ".preferences.plist.a1-2c3",  // not a letter or digit
        "preferences.plist.a1B2c3",   // not hidden
        ".other.plist.a1B2c3",        // another store's
        ".preferences.plist.lock00",  // a folder of that name, below
        ".preferences.plist.link00",  // a link of that name, below
    };
    for (const char* name : leftovers) root.write("/Library/Preferences/SystemConfiguration/" + std::string(name), "x");
    for (const char* name : others) {
        std::string path = (folder() / name).string();
        if (std::string(name).ends_with("lock00")) fs::create_directory(path);
        else if (std::string(name).ends_with("link00")) fs::create_symlink(folder() / leftovers[0], path);
        else root.write("/Library/Preferences/SystemConfiguration/" + std::string(name), "x");
    }
    Prefs prefs = Open();
    ASSERT_TRUE(prefs);
    // A commit with nothing to write takes no lock and leaves all alone.
    ASSERT_TRUE(SCPreferencesCommitChanges(prefs.get()));
    for (const char* name : leftovers) EXPECT_TRUE(fs::exists(folder() / name)) << name;

    ASSERT_TRUE(SCPreferencesSetValue(prefs.get(), CFSTR("Model"), CFSTR("x")));
    ASSERT_TRUE(SCPreferencesCommitChanges(prefs.get()));
    for (const char* name : leftovers) EXPECT_FALSE(fs::exists(folder() / name)) << name;
    for (const char* name : others) EXPECT_TRUE(fs::exists(fs::symlink_status(folder() / name))) << name;
}

}  // namespace

namespace {

// Paths of one-byte text are walked without making strings; others by
// the general walk. Both must agree: the same store is built twice, once
// with plain keys and once with every key ending in "€", and every lookup
// gives the same status and node in both.
TEST_F(SCPreferencesFileTest, OneByteAndWidePathsWalkAlike) {
    for (const char* suffix : {"", "\xE2\x82\xAC"}) {
        SCOPED_TRACE(*suffix ? "wide" : "one-byte");
        auto path = [&](const std::string& plain) {
            std::string text;
            for (std::size_t i = 0; i < plain.size(); ++i) {
                text += plain[i];
                bool endOfKey = plain[i] != '/' && (i + 1 == plain.size() || plain[i + 1] == '/');
                if (endOfKey) text += suffix;
            }
            return CFRef<CFStringRef>(CFStringCreateWithCString(nullptr, text.c_str(), kCFStringEncodingUTF8));
        };
        Prefs prefs = Open();
        ASSERT_TRUE(prefs);
        CFRef<CFMutableDictionaryRef> entity(CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                                                       &kCFTypeDictionaryValueCallBacks));
        CFDictionarySetValue(entity.get(), path("k").get(), path("v").get());
        ASSERT_TRUE(SCPreferencesPathSetValue(prefs.get(), path("/S/7/P").get(), entity.get()));
        ASSERT_TRUE(SCPreferencesPathSetLink(prefs.get(), path("/L/7").get(), path("/S/7").get()));
        ASSERT_TRUE(SCPreferencesPathSetLink(prefs.get(), path("/LL").get(), path("/L/7").get()));
        ASSERT_TRUE(SCPreferencesPathSetLink(prefs.get(), path("/A").get(), path("/B").get()));
        ASSERT_TRUE(SCPreferencesPathSetLink(prefs.get(), path("/B").get(), path("/A").get()));
        CFRef<CFMutableDictionaryRef> relative(CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                                                         &kCFTypeDictionaryValueCallBacks));
        CFDictionarySetValue(relative.get(), CFSTR("__LINK__"), path("S/7").get());
        ASSERT_TRUE(SCPreferencesPathSetValue(prefs.get(), path("/R").get(), relative.get()));

        struct Lookup {
            const char* path;
            int value;  // status of SCPreferencesPathGetValue
            int link;   // status of SCPreferencesPathGetLink
        } lookups[] = {
            {"/S/7/P", kSCStatusOK, kSCStatusNoKey},
            {"//L///7/P/", kSCStatusOK, kSCStatusNoKey},
            {"/LL/P", kSCStatusOK, kSCStatusNoKey},
            {"/L/7", kSCStatusOK, kSCStatusOK},
            {"/LL", kSCStatusOK, kSCStatusOK},
            {"/S/7/P/k", kSCStatusNoKey, kSCStatusNoKey},
            {"/S/8", kSCStatusNoKey, kSCStatusNoKey},
            {"/A/x", kSCStatusMaxLink, kSCStatusMaxLink},
            {"/R/P", kSCStatusNoKey, kSCStatusNoKey},
            {"S/7", kSCStatusInvalidArgument, kSCStatusInvalidArgument},
        };
        for (const Lookup& l : lookups) {
            SCOPED_TRACE(l.path);
            CFDictionaryRef value = SCPreferencesPathGetValue(prefs.get(), path(l.path).get());
            EXPECT_EQ(SCError(), l.value);
            EXPECT_EQ(value != nullptr, l.value == kSCStatusOK);
            CFStringRef link = SCPreferencesPathGetLink(prefs.get(), path(l.path).get());
            EXPECT_EQ(SCError(), l.link);
            EXPECT_EQ(link != nullptr, l.link == kSCStatusOK);
        }
        EXPECT_TRUE(CFEqual(SCPreferencesPathGetValue(prefs.get(), path("/LL/P").get()), entity.get()));
        EXPECT_TRUE(CFEqual(SCPreferencesPathGetLink(prefs.get(), path("/LL").get()), path("/L/7").get()));
    }
}

}  // namespace
