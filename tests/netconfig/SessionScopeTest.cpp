// The session scope: it closes what it opened on every path, failed opens
// included, with the caller's running status (first error winning) and
// its commit flag, and it passes the lock request on. The session's own
// checks hold throughout, and a store that is not saved is left as it was.
#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "netconfig/MoreSCSessionScope.h"
#include "netconfig/MoreSCSessionState.h"
#include "support/StderrCapture.h"
#include "support/TempRoot.h"

namespace {

const char kStore[] = R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict><key>CurrentSet</key><string>/Sets/0</string></dict></plist>
)";

struct ScopeCase {
    const char* name;
    const char* store;
    OSStatus errBefore;  // the running status when the scope opens
    bool commit;         // the flag the scope ends with
    bool lock;
    OSStatus errAfter;
    bool saved;
};

void PrintTo(const ScopeCase& c, std::ostream* os) { *os << c.name; }

class SessionScope : public testing::TestWithParam<ScopeCase> {};

TEST_P(SessionScope, ClosesWithTheRunningStatusAndCommitFlag) {
    const ScopeCase& c = GetParam();
    TempRoot root;
    root.writeStore(c.store);

    OSStatus err = c.errBefore;
    bool locked = false;
    StderrCapture reports;
    {
        MoreSCSessionScope session(&err, true, c.lock, c.lock);
        locked = gPrefsLocked;
        if (err == noErr) {
            EXPECT_TRUE(SCPreferencesSetValue(session.Prefs(), CFSTR("Marker"), CFSTR("changed")));
        }
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

INSTANTIATE_TEST_SUITE_P(
    Cases, SessionScope,
    testing::Values(ScopeCase{"Saves", kStore, noErr, true, false, noErr, true},
                    ScopeCase{"LockedSaves", kStore, noErr, true, true, noErr, true},
                    ScopeCase{"CommitTurnedOff", kStore, noErr, false, false, noErr, false},
                    ScopeCase{"EarlierErrorWinsAndNothingIsSaved", kStore, paramErr, true, false, paramErr, false},
                    ScopeCase{"FailedOpenIsClosed", "not a property list", noErr, true, true, kSCStatusFailed,
                              false},
                    ScopeCase{"EarlierErrorWinsOverAFailedOpen", "not a property list", paramErr, true, false,
                              paramErr, false}),
    [](const testing::TestParamInfo<ScopeCase>& info) { return std::string(info.param.name); });

}  // namespace
