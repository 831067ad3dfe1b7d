#include "netconfig/MoreSCSets.h"

#include "netconfig/MoreSCSession.h"
#include "netconfig/StoreFixture.h"

namespace {

using Sets = StoreTest;

// The current set, wherever "Sets" lists it, or a "CurrentSet" that names
// no set or is missing. The index is only written when a set matches.
TEST_F(Sets, CurrentSetAndItsIndex) {
    const std::string kCurrent = "<key>CurrentSet</key><string>/Sets/0</string>";
    // What replaces kCurrent, the status, the current set, its index.
    const struct { std::string currentSet; OSStatus status; const char* setID; CFIndex index; } rows[] = {
        {kCurrent, noErr, "0", 0},
        {"<key>CurrentSet</key><string>/Sets/1</string>", noErr, "1", 1},  // listed last
        {"<key>CurrentSet</key><string>/Sets/99</string>", noErr, "99", 42},
        {"", kSCStatusNoKey, "(nil)", 42},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.currentSet);
        root_.writeStore(Edited(kTwoSetStore, kCurrent, row.currentSet));
        CFRef<CFStringRef> current;
        EXPECT_EQ(MoreSCCopyCurrentSet(current.out()), row.status);
        EXPECT_EQ(Text(current.get()), row.setID);

        CFRef<CFArrayRef> setIDs;
        CFIndex index = 42;
        EXPECT_EQ(MoreSCCopySetIDs(setIDs.out(), &index), row.status);
        EXPECT_EQ(index, row.index);
        EXPECT_EQ(Texts(setIDs.get()).size(), row.status == noErr ? 2u : 0u);
        // Without the index the current set is not looked at.
        CFRef<CFArrayRef> all;
        EXPECT_EQ(MoreSCCopySetIDs(all.out(), nullptr), noErr);
    }
}

TEST_F(Sets, CurrentSetChangesWithinOneSessionAndIsSavedAtItsEnd) {
    const std::string before = FileText();
    ASSERT_EQ(MoreSCOpen(false, false), noErr);
    EXPECT_EQ(MoreSCSetCurrentSet(CFSTR("99")), noErr);  // no set 99: accepted all the same
    CFRef<CFStringRef> current;
    EXPECT_EQ(MoreSCCopyCurrentSet(current.out()), noErr);
    EXPECT_EQ(Text(current.get()), "99");
    EXPECT_EQ(FileText(), before);  // nothing saved before the outermost close
    OSStatus err = noErr;
    MoreSCClose(&err, false);
    EXPECT_EQ(err, noErr);
    EXPECT_NE(FileText().find("<string>/Sets/99</string>"), std::string::npos);
}

// The sets dictionary is the store's own; replacing it replaces every set
// at once, and is saved.
TEST_F(Sets, SetsAreReplacedWhole) {
    CFRef<CFDictionaryRef> sets;
    ASSERT_EQ(MoreSCCopySetsDict(sets.out()), noErr);
    CFRef<CFMutableDictionaryRef> fewer(CFDictionaryCreateMutableCopy(nullptr, 0, sets.get()));
    CFDictionaryRemoveValue(fewer.get(), CFSTR("1"));
    EXPECT_EQ(MoreSCSetSetsDict(fewer.get()), noErr);
    EXPECT_FALSE(Saved("/Sets/1"));
    EXPECT_TRUE(Saved("/Sets/0"));
    EXPECT_TRUE(Applied());
}

TEST_F(Sets, NamesTellAMissingNameFromAMissingSet) {
    CFRef<CFStringRef> name;
    EXPECT_EQ(MoreSCCopyUserVisibleNameOfSet(CFSTR("0"), name.out()), noErr);
    EXPECT_EQ(Text(name.get()), "Automatic");
    name.reset();
    EXPECT_EQ(MoreSCCopyUserVisibleNameOfSet(CFSTR("1"), name.out()), coreFoundationUnknownErr);
    EXPECT_EQ(name.get(), nullptr);
    EXPECT_EQ(MoreSCCopyUserVisibleNameOfSet(CFSTR("9"), name.out()), kSCStatusNoKey);

    // Renaming a missing set creates nothing and saves nothing.
    const std::string before = FileText();
    EXPECT_EQ(MoreSCRenameSet(CFSTR("9"), CFSTR("Nowhere")), kSCStatusNoKey);
    EXPECT_EQ(FileText(), before);

    EXPECT_EQ(MoreSCRenameSet(CFSTR("1"), CFSTR("Office")), noErr);
    EXPECT_EQ(MoreSCCopyUserVisibleNameOfSet(CFSTR("1"), name.out()), noErr);
    EXPECT_EQ(Text(name.get()), "Office");
}

}  // namespace
