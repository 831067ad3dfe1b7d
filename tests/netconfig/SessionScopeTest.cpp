// The session scope: it closes what it opened on every path, failed opens
// included, with the caller's running status (first error winning) and
// its commit flag, and it passes the lock request on. The session's own
// checks hold throughout, and a store that is not saved is left as it was.
#include <gtest/gtest.h>

#include <string>

#include "netconfig/MoreSCSessionScope.h"
#include "netconfig/MoreSCSessionState.h"
#include "support/StderrCapture.h"
#include "support/TempRoot.h"

namespace {

const char kStore[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict><key>CurrentSet</key><string>/Sets/0</string></dict></plist>
)";

TEST(SessionScope, ClosesWithTheRunningStatusAndCommitFlag) {
    const char* const kCorrupt = "not a property list";
    // The store, the running status when the scope opens, the commit flag
    // it ends with, the lock request, the status after it and whether it saved.
    const struct { const char* name; const char* store; OSStatus errBefore; bool commit, lock; OSStatus errAfter;
                   bool saved; } cases[] = {
        {"Saves", kStore, noErr, true, false, noErr, true},
        {"LockedSaves", kStore, noErr, true, true, noErr, true},
        {"CommitTurnedOff", kStore, noErr, false, false, noErr, false},
        {"EarlierErrorWinsAndNothingIsSaved", kStore, paramErr, true, false, paramErr, false},
        {"FailedOpenIsClosed", kCorrupt, noErr, true, true, kSCStatusFailed, false},
        {"EarlierErrorWinsOverAFailedOpen", kCorrupt, paramErr, true, false, paramErr, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        TempRoot root;
        root.writeStore(c.store);
        OSStatus err = c.errBefore;
        bool locked = false;
        StderrCapture reports;
        {
            MoreSCSessionScope session(&err, true, c.lock, c.lock);
            locked = gPrefsLocked;
            EXPECT_TRUE(err != noErr || SCPreferencesSetValue(session.Prefs(), CFSTR("Marker"), CFSTR("changed")));
            session.SetCommit(c.commit);
        }
        EXPECT_EQ(reports.text().find("MoreAssert"), std::string::npos) << reports.text();
        EXPECT_EQ(err, c.errAfter);
        const std::string file = TempRoot::ReadFile(root.storePath());
        EXPECT_TRUE(c.saved ? file.find("Marker") != std::string::npos : file == c.store) << file;
        EXPECT_EQ(locked, c.lock && c.errAfter == noErr);
        EXPECT_EQ(gPrefsOpenCount, 0);
        EXPECT_EQ(gPrefsRef, nullptr);
        EXPECT_FALSE(gPrefsLocked);
    }
}

}  // namespace
