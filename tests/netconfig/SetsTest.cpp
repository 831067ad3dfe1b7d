#include "netconfig/MoreSCSets.h"

#include "netconfig/MoreSCSession.h"
#include "netconfig/StoreFixture.h"

namespace {

using Sets = StoreTest;

TEST_F(Sets, CurrentSetAndSetIDs) {
    CFRef<CFStringRef> current;
    EXPECT_EQ(MoreSCCopyCurrentSet(current.out()), noErr);
    EXPECT_EQ(Text(current.get()), "0");

    CFRef<CFArrayRef> setIDs;
    CFIndex index = -7;
    EXPECT_EQ(MoreSCCopySetIDs(setIDs.out(), &index), noErr);
    EXPECT_EQ(Texts(setIDs.get()), (std::vector<std::string>{"0", "1"}));
    EXPECT_EQ(index, 0);
}

TEST_F(Sets, CurrentSetChangesWithinOneSessionAndIsSavedAtItsEnd) {
    const std::string before = FileText();
    ASSERT_EQ(MoreSCOpen(false, false), noErr);
    EXPECT_EQ(MoreSCSetCurrentSet(CFSTR("99")), noErr);  // no set 99: accepted all the same
    CFRef<CFStringRef> current;
    EXPECT_EQ(MoreSCCopyCurrentSet(current.out()), noErr);
    EXPECT_EQ(Text(current.get()), "99");
    EXPECT_EQ(FileText(), before);  // nothing saved before the outermost close

    // "CurrentSet" names no set in "Sets": the index is left as it was.
    CFRef<CFArrayRef> setIDs;
    CFIndex index = 42;
    EXPECT_EQ(MoreSCCopySetIDs(setIDs.out(), &index), noErr);
    EXPECT_EQ(index, 42);

    OSStatus err = noErr;
    MoreSCClose(&err, false);
    EXPECT_EQ(err, noErr);
    CFRef<SCPreferencesRef> saved(SCPreferencesCreate(nullptr, CFSTR("test"), nullptr));
    EXPECT_EQ(Text(SCPreferencesGetValue(saved.get(), CFSTR("CurrentSet"))), "/Sets/99");
}

TEST_F(Sets, SetIDsWithoutCurrentSetFailOnlyWhenTheIndexIsAsked) {
    std::string text = kTwoSetStore;
    text.erase(text.find("<key>CurrentSet</key><string>/Sets/0</string>"),
               std::string("<key>CurrentSet</key><string>/Sets/0</string>").size());
    root_.writeStore(text);

    CFRef<CFArrayRef> setIDs;
    EXPECT_EQ(MoreSCCopySetIDs(setIDs.out(), nullptr), noErr);
    EXPECT_EQ(setIDs.get() != nullptr, true);

    CFIndex index = 0;
    setIDs.reset();
    EXPECT_EQ(MoreSCCopySetIDs(setIDs.out(), &index), kSCStatusNoKey);
    EXPECT_EQ(setIDs.get(), nullptr);
    CFRef<CFStringRef> current;
    EXPECT_EQ(MoreSCCopyCurrentSet(current.out()), kSCStatusNoKey);
    EXPECT_EQ(current.get(), nullptr);
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
    EXPECT_NE(FileText(), before);
}

}  // namespace
