// AppleTalk across a set: the query stops at the first active service with
// AppleTalk on and at the first unreadable entity; the switch passes over
// services without the entity and saves only what it changed.
#include "helpers/MoreSCAppleTalk.h"

#include "helpers/HelpersStore.h"

namespace {

using AppleTalk = HelpersTest;

TEST_F(AppleTalk, IsActiveLooksAtActiveServicesUntilTheFirstAnswerOrError) {
    const struct { CFStringRef setID; OSStatus err; Boolean active; } rows[] = {
        {nullptr, noErr, true},               // E answers before M, which has no AppleTalk, is reached
        {CFSTR("1"), kSCStatusNoKey, false},  // O is off, then M cannot be read
        {CFSTR("2"), noErr, false},           // no services
        {CFSTR("3"), noErr, false},           // X has it on but is itself inactive
    };
    for (const auto& row : rows) {
        Boolean active = 7;
        EXPECT_EQ(MoreSCIsAppleTalkActive(row.setID, &active), row.err) << Text(row.setID);
        EXPECT_EQ(active, row.active) << Text(row.setID);
    }
    StderrCapture reports;
    EXPECT_EQ(MoreSCIsAppleTalkActive(nullptr, nullptr), paramErr);
    EXPECT_EQ(reports.text(), "MoreAssertQ failure: active != nil\n");
}

TEST_F(AppleTalk, SetSavesOnlyWhenAnEntityChanged) {
    const std::string before = FileText();
    EXPECT_EQ(MoreSCSetAppleTalkActive(CFSTR("2"), true), noErr);   // no services
    EXPECT_EQ(MoreSCSetAppleTalkActive(CFSTR("1"), false), noErr);  // O already off, M has none
    EXPECT_EQ(FileText(), before);
    EXPECT_EQ(Generation(), 0);

    // E and X (an inactive service, switched all the same) go off in one
    // save; M and D, without AppleTalk, are passed over.
    EXPECT_EQ(MoreSCSetAppleTalkActive(nullptr, false), noErr);
    EXPECT_FALSE(SavedActive("/NetworkServices/E/AppleTalk"));
    EXPECT_FALSE(SavedActive("/NetworkServices/X/AppleTalk"));
    EXPECT_EQ(Generation(), 1);

    EXPECT_EQ(MoreSCSetAppleTalkActive(CFSTR("3"), true), noErr);
    EXPECT_TRUE(SavedActive("/NetworkServices/X/AppleTalk"));
    EXPECT_TRUE(SavedActive("/NetworkServices/W/AppleTalk"));
    EXPECT_FALSE(SavedActive("/NetworkServices/E/AppleTalk"));  // not in set 3
}

}  // namespace
