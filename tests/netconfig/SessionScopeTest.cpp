// The session scope: it closes what it opened on every path, failed opens
// included unless asked to leave them, with the caller's running status
// (first error winning) and its commit flag, and it passes the lock request
// on. The session's own checks hold throughout, and a store that is not
// saved is left as it was.
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
const char kCorrupt[] = "not a property list";

// The store, the running status when the scope opens, the commit flag it
// ends with, the lock request, what it does after a failed open, the
// status after it, whether it saved and whether the session stays open.
struct Row {
    const char* name;
    const char* store;
    OSStatus errBefore;
    bool commit, lock;
    MoreSCSessionScope::FailedOpen failedOpen;
    OSStatus errAfter;
    bool saved, leftOpen;
};
void PrintTo(const Row& row, std::ostream* out) { *out << row.name; }

using enum MoreSCSessionScope::FailedOpen;
const Row kRows[] = {
    {"Saves", kStore, noErr, true, false, kCloseFailedOpen, noErr, true, false},
    {"LockedSaves", kStore, noErr, true, true, kCloseFailedOpen, noErr, true, false},
    {"CommitTurnedOff", kStore, noErr, false, false, kCloseFailedOpen, noErr, false, false},
    {"EarlierErrorWinsAndNothingIsSaved", kStore, paramErr, true, false, kCloseFailedOpen, paramErr, false, false},
    {"FailedOpenIsClosed", kCorrupt, noErr, true, true, kCloseFailedOpen, kSCStatusFailed, false, false},
    {"EarlierErrorWinsOverAFailedOpen", kCorrupt, paramErr, true, false, kCloseFailedOpen, paramErr, false, false},
    {"FailedOpenIsLeftOpenWhenAsked", kCorrupt, noErr, true, false, kLeaveFailedOpen, kSCStatusFailed, false, true},
    {"OpenedSessionIsClosedAlways", kStore, noErr, true, false, kLeaveFailedOpen, noErr, true, false},
};

class SessionScope : public testing::TestWithParam<Row> {};

TEST_P(SessionScope, ClosesWithTheRunningStatusAndCommitFlag) {
    const Row& row = GetParam();
    TempRoot root;
    root.writeStore(row.store);
    OSStatus err = row.errBefore;
    bool locked = false;
    StderrCapture reports;
    {
        MoreSCSessionScope session(&err, true, row.lock, row.lock, row.failedOpen);
        locked = gPrefsLocked;
        EXPECT_TRUE(err != noErr || SCPreferencesSetValue(session.Prefs(), CFSTR("Marker"), CFSTR("changed")));
        session.SetCommit(row.commit);
    }
    EXPECT_EQ(reports.text().find("MoreAssert"), std::string::npos) << reports.text();
    EXPECT_EQ(err, row.errAfter);
    const std::string file = TempRoot::ReadFile(root.storePath());
    EXPECT_TRUE(row.saved ? file.find("Marker") != std::string::npos : file == row.store) << file;
    EXPECT_EQ(locked, row.lock && row.errAfter == noErr);
    EXPECT_EQ(gPrefsOpenCount, row.leftOpen ? 1 : 0);
    EXPECT_EQ(gPrefsRef, nullptr);
    EXPECT_FALSE(gPrefsLocked);
    if (row.leftOpen) MoreSCClose(&err, false);
}

INSTANTIATE_TEST_SUITE_P(Rows, SessionScope, testing::ValuesIn(kRows),
                         [](const testing::TestParamInfo<Row>& info) { return std::string(info.param.name); });

}  // namespace
