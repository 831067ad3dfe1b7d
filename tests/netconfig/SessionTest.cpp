#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "netconfig/MoreSCSession.h"
#include "netconfig/MoreSCSessionState.h"
#include "platform/corefoundation/CFRef.h"
#include "platform/systemconfiguration/SCPreferencesInternal.h"
#include "support/TempRoot.h"

namespace {

const char kStore[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict><key>CurrentSet</key><string>/Sets/0</string></dict></plist>
)";

class Session : public testing::Test {
protected:
    void SetUp() override { store_ = root_.writeStore(kStore); }

    void TearDown() override {
        // Every test must leave the process-wide session closed.
        EXPECT_EQ(gPrefsOpenCount, 0);
        EXPECT_EQ(gPrefsRef, nullptr);
        EXPECT_FALSE(gPrefsLocked);
        EXPECT_FALSE(gPrefsDirty);
        MoreSCSetClient(nil);
    }

    // Changes the open session's store, so that a save has something to write.
    static void ChangeStore() {
        ASSERT_TRUE(SCPreferencesSetValue(MoreSCGetSCPreferencesRef(), CFSTR("Marker"), CFSTR("changed")));
    }

    bool Saved() const { return TempRoot::ReadFile(store_).find("Marker") != std::string::npos; }
    bool Applied() const {
        return std::filesystem::exists(root_.path() / "var/run/SystemConfiguration/preferences.plist");
    }

    TempRoot root_;
    std::filesystem::path store_;
};

TEST_F(Session, OnlyTheOutermostCloseSavesAndApplies) {
    ASSERT_EQ(MoreSCOpen(false, false), noErr);
    SCPreferencesRef outerStore = MoreSCGetSCPreferencesRef();
    ASSERT_EQ(MoreSCOpen(false, false), noErr);
    EXPECT_EQ(MoreSCGetSCPreferencesRef(), outerStore);  // nested opens share one store
    ChangeStore();

    OSStatus inner = noErr;
    MoreSCClose(&inner, true);
    EXPECT_EQ(inner, noErr);
    EXPECT_FALSE(Saved());
    EXPECT_FALSE(Applied());

    // The outer caller's own commit flag does not matter once an inner close
    // asked to save.
    OSStatus outer = noErr;
    MoreSCClose(&outer, false);
    EXPECT_EQ(outer, noErr);
    EXPECT_TRUE(Saved());
    EXPECT_TRUE(Applied());
}

TEST_F(Session, ErrorsDecideWhetherTheSessionSaves) {
    // A close that asks to save but carries an error saves nothing.
    ASSERT_EQ(MoreSCOpen(false, false), noErr);
    ChangeStore();
    OSStatus err = paramErr;
    MoreSCClose(&err, true);
    EXPECT_EQ(err, paramErr);
    EXPECT_FALSE(Saved());
    EXPECT_FALSE(Applied());

    // Once an inner close has marked the session dirty, the outermost close
    // saves even with an error of its own, and keeps that error.
    ASSERT_EQ(MoreSCOpen(false, false), noErr);
    ASSERT_EQ(MoreSCOpen(false, false), noErr);
    ChangeStore();
    OSStatus inner = noErr;
    MoreSCClose(&inner, true);
    err = paramErr;
    MoreSCClose(&err, true);
    EXPECT_EQ(err, paramErr);
    EXPECT_TRUE(Saved());
    EXPECT_TRUE(Applied());
}

TEST_F(Session, AFailedSaveReachesTheCallerAndIsNotApplied) {
    ASSERT_EQ(MoreSCOpen(false, false), noErr);
    ChangeStore();
    // Someone else saves the store meanwhile.
    root_.writeStore(std::string(kStore) + "\n");

    testing::internal::CaptureStderr();
    OSStatus err = noErr;
    MoreSCClose(&err, true);
    std::string report = testing::internal::GetCapturedStderr();
    EXPECT_EQ(err, kSCStatusStale);
    EXPECT_FALSE(Applied());
    EXPECT_EQ(report.find("MoreAssert"), std::string::npos);
}

TEST_F(Session, StoreIsOpenedUnderTheClientName) {
    CFRef<CFStringRef> name(CFStringCreateWithCString(nil, "Proxy switcher", kCFStringEncodingUTF8));
    MoreSCSetClient(name.get());
    name.reset();  // the session keeps its own reference

    ASSERT_EQ(MoreSCOpen(false, false), noErr);
    EXPECT_EQ(SCPreferencesInside(MoreSCGetSCPreferencesRef())->name, "Proxy switcher");
    // A new name waits for the next outermost open.
    MoreSCSetClient(nil);
    ASSERT_EQ(MoreSCOpen(false, false), noErr);
    EXPECT_EQ(SCPreferencesInside(MoreSCGetSCPreferencesRef())->name, "Proxy switcher");
    OSStatus err = noErr;
    MoreSCClose(&err, false);
    MoreSCClose(&err, false);

    EXPECT_EQ(MoreSCGetClient(), nullptr);
    ASSERT_EQ(MoreSCOpen(false, false), noErr);
    EXPECT_EQ(SCPreferencesInside(MoreSCGetSCPreferencesRef())->name, "MoreSCF");
    MoreSCClose(&err, false);
    EXPECT_EQ(err, noErr);
}

TEST_F(Session, LockIsTakenOnRequestAndHeldToTheOutermostClose) {
    CFRef<SCPreferencesRef> other(SCPreferencesCreate(nil, CFSTR("other"), nil));
    ASSERT_TRUE(other);

    // Waiting without locking makes no sense: reported, and no lock taken.
    testing::internal::CaptureStderr();
    EXPECT_EQ(MoreSCOpen(false, true), noErr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "MoreAssertQ failure: !waitForLock || lockThePrefs\n");
    EXPECT_FALSE(gPrefsLocked);
    ASSERT_TRUE(SCPreferencesLock(other.get(), false));
    ASSERT_TRUE(SCPreferencesUnlock(other.get()));

    // A nested open locks the session; its own close leaves the lock alone.
    ASSERT_EQ(MoreSCOpen(true, false), noErr);
    EXPECT_TRUE(gPrefsLocked);
    OSStatus err = noErr;
    MoreSCClose(&err, false);
    EXPECT_TRUE(gPrefsLocked);
    EXPECT_FALSE(SCPreferencesLock(other.get(), false));
    EXPECT_EQ(SCError(), kSCStatusPrefsBusy);

    MoreSCClose(&err, false);
    EXPECT_EQ(err, noErr);
    EXPECT_TRUE(SCPreferencesLock(other.get(), false));
    EXPECT_TRUE(SCPreferencesUnlock(other.get()));
}

// Another process that holds the store's lock until it is let go.
class LockHolder {
public:
    LockHolder() {
        int ready[2];
        if (pipe(ready) != 0 || pipe(release_) != 0) return;
        pid_ = fork();
        if (pid_ == 0) {
            close(ready[0]);
            close(release_[1]);
            SCPreferencesRef prefs = SCPreferencesCreate(nil, CFSTR("holder"), nil);
            char byte = (prefs != nil && SCPreferencesLock(prefs, false)) ? 'L' : 'F';
            if (write(ready[1], &byte, 1) != 1) _exit(2);
            // Holds the lock until the parent closes its end of the pipe.
            while (read(release_[0], &byte, 1) > 0) {
            }
            _exit(0);
        }
        close(ready[1]);
        close(release_[0]);
        char byte = 0;
        locked_ = pid_ > 0 && read(ready[0], &byte, 1) == 1 && byte == 'L';
        close(ready[0]);
    }
    ~LockHolder() {
        close(release_[1]);
        if (pid_ > 0) waitpid(pid_, nullptr, 0);
    }
    bool locked() const { return locked_; }

private:
    int release_[2] = {-1, -1};
    pid_t pid_ = -1;
    bool locked_ = false;
};

TEST_F(Session, LockHeldByAnotherProcessMakesTheOpenBusy) {
    LockHolder holder;
    ASSERT_TRUE(holder.locked());

    OSStatus err = MoreSCOpen(true, false);
    EXPECT_EQ(err, kSCStatusPrefsBusy);
    // Counted, with the store open but unlocked; the close keeps the error.
    EXPECT_EQ(gPrefsOpenCount, 1);
    EXPECT_NE(gPrefsRef, nullptr);
    EXPECT_FALSE(gPrefsLocked);
    MoreSCClose(&err, true);
    EXPECT_EQ(err, kSCStatusPrefsBusy);
}

TEST_F(Session, FailedFirstOpenIsCountedAndClosedQuietly) {
    root_.writeStore("this is not a property list");

    testing::internal::CaptureStderr();
    OSStatus err = MoreSCOpen(false, false);
    EXPECT_NE(err, noErr);
    EXPECT_EQ(gPrefsOpenCount, 1);
    EXPECT_EQ(gPrefsRef, nullptr);
    MoreSCClose(&err, true);
    std::string report = testing::internal::GetCapturedStderr();
    EXPECT_NE(err, noErr);
    // The store says why it failed; the session's own checks all hold.
    EXPECT_NE(report.find("SCPreferences: cannot read"), std::string::npos);
    EXPECT_EQ(report.find("MoreAssert"), std::string::npos);
    EXPECT_EQ(TempRoot::ReadFile(store_), "this is not a property list");
}

TEST_F(Session, PlatformFailuresAlwaysBecomeAStatus) {
    EXPECT_EQ(MoreSCErrorBoolean(true), noErr);

    // The last call succeeded, yet the caller saw a failure: 1001.
    ASSERT_EQ(MoreSCOpen(false, false), noErr);
    ASSERT_EQ(SCError(), kSCStatusOK);
    EXPECT_EQ(MoreSCErrorBoolean(false), kSCStatusFailed);

    // Otherwise the platform's own status passes through unchanged.
    EXPECT_EQ(SCPreferencesGetValue(MoreSCGetSCPreferencesRef(), CFSTR("Missing")), nullptr);
    EXPECT_EQ(MoreSCErrorBoolean(false), kSCStatusNoKey);

    OSStatus err = noErr;
    MoreSCClose(&err, false);

    // Outside a session there is no store to hand out.
    testing::internal::CaptureStderr();
    EXPECT_EQ(MoreSCGetSCPreferencesRef(), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "MoreAssertQ failure: gPrefsRef != nil\n");
}

}  // namespace
