#include "netconfig/MoreSCSession.h"

#include "netconfig/MoreSCSessionState.h"
#include "netconfig/StoreFixture.h"
#include "support/StoreLockHolder.h"

namespace {

class Session : public StoreTest {
protected:
    void TearDown() override {
        // Every test must leave the process-wide session closed.
        EXPECT_EQ(gPrefsOpenCount, 0);
        EXPECT_EQ(gPrefsRef, nullptr);
        EXPECT_FALSE(gPrefsLocked);
        EXPECT_FALSE(gPrefsDirty);
    }

    // Changes the open session's store, so that a save has something to write.
    static void ChangeStore() {
        ASSERT_TRUE(SCPreferencesSetValue(MoreSCGetSCPreferencesRef(), CFSTR("Marker"), CFSTR("changed")));
    }
    static OSStatus Close(OSStatus err, Boolean commit) {
        MoreSCClose(&err, commit);
        return err;
    }
    bool Saved() const { return FileText().find("Marker") != std::string::npos; }

    Watchdog watchdog_{"a session test"};
};

// Only the outermost close saves and applies, once some close inside asked
// to save without an error; its own commit flag and error do not matter.
TEST_F(Session, OnlyTheOutermostCloseSavesAndApplies) {
    const struct { OSStatus innerErr, outerErr; Boolean outerCommit; bool saved; } rows[] = {
        {noErr, noErr, false, true}, {noErr, paramErr, true, true}, {paramErr, noErr, false, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.innerErr << " " << row.outerErr);
        root_.writeStore(kTwoSetStore);
        std::filesystem::remove_all(root_.path() / "var");
        ASSERT_EQ(MoreSCOpen(false, false), noErr);
        SCPreferencesRef outerStore = MoreSCGetSCPreferencesRef();
        ASSERT_EQ(MoreSCOpen(false, false), noErr);
        EXPECT_EQ(MoreSCGetSCPreferencesRef(), outerStore);  // nested opens share one store
        ChangeStore();
        EXPECT_EQ(Close(row.innerErr, true), row.innerErr);
        EXPECT_FALSE(Saved());
        EXPECT_EQ(Close(row.outerErr, row.outerCommit), row.outerErr);
        EXPECT_EQ(Saved(), row.saved);
        EXPECT_EQ(Applied(), row.saved);
    }
}

// The lock is taken once, by whichever open first asks for it, and held to
// the outermost close; another process is kept out meanwhile. A lock held
// by another process makes the open busy: counted, with the store open but
// unlocked, and the close keeps the error.
TEST_F(Session, LockIsTakenOnRequestAndHeldToTheOutermostClose) {
    auto otherCanLock = [] {
        StoreLockHolder other;
        return other.locked();
    };
    {
        StoreLockHolder holder;
        ASSERT_TRUE(holder.locked());
        EXPECT_EQ(MoreSCOpen(true, false), kSCStatusPrefsBusy);
        EXPECT_EQ(gPrefsOpenCount, 1);
        EXPECT_NE(gPrefsRef, nullptr);
        EXPECT_FALSE(gPrefsLocked);
        EXPECT_EQ(Close(kSCStatusPrefsBusy, true), kSCStatusPrefsBusy);
    }
    ASSERT_EQ(MoreSCOpen(false, false), noErr);  // an outer session without the lock
    EXPECT_TRUE(otherCanLock());
    EXPECT_EQ(MoreSCOpen(true, false), noErr);
    EXPECT_EQ(MoreSCOpen(true, true), noErr);  // already held: no second lock
    EXPECT_EQ(Close(noErr, false), noErr);
    EXPECT_EQ(Close(noErr, false), noErr);
    EXPECT_TRUE(gPrefsLocked);
    EXPECT_FALSE(otherCanLock());
    EXPECT_EQ(Close(noErr, false), noErr);
    EXPECT_TRUE(otherCanLock());
}

TEST_F(Session, PlatformFailuresAlwaysBecomeAStatus) {
    // The last call succeeded, yet the caller saw a failure: 1001.
    ASSERT_EQ(MoreSCOpen(false, false), noErr);
    ASSERT_EQ(SCError(), kSCStatusOK);
    EXPECT_EQ(MoreSCErrorBoolean(false), kSCStatusFailed);
    // Otherwise the platform's own status passes through unchanged.
    EXPECT_EQ(SCPreferencesGetValue(MoreSCGetSCPreferencesRef(), CFSTR("Missing")), nullptr);
    EXPECT_EQ(MoreSCErrorBoolean(false), kSCStatusNoKey);
    EXPECT_EQ(Close(noErr, false), noErr);
}

// The client name is the caller's string, retained while it is the name
// and let go when another replaces it.
TEST_F(Session, TheClientNameIsKeptUntilReplaced) {
    CFRef<CFStringRef> first(CFStringCreateWithCString(nullptr, "first", kCFStringEncodingUTF8));
    CFIndex count = CFGetRetainCount(first.get());
    EXPECT_EQ(MoreSCSetClient(first.get()), noErr);
    EXPECT_EQ(MoreSCGetClient(), first.get());
    EXPECT_EQ(CFGetRetainCount(first.get()), count + 1);
    EXPECT_EQ(MoreSCSetClient(nullptr), noErr);
    EXPECT_EQ(MoreSCGetClient(), nullptr);
    EXPECT_EQ(CFGetRetainCount(first.get()), count);
}

}  // namespace
