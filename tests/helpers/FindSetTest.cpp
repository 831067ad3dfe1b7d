// Finding a set by its user-visible name: first in the store's order,
// exact equality, no match is not an error, and an unreadable name before
// a match is.
#include "helpers/MoreSCFindSet.h"

#include "helpers/HelpersStore.h"

namespace {

using FindSet = HelpersTest;

TEST_F(FindSet, FirstSetWithExactlyThatNameInStoreOrder) {
    const struct {
        CFStringRef name;
        const char* setID;
    } rows[] = {
        {CFSTR("Home"), "0"},  // sets 0 and 2 share the name
        {CFSTR("Lab"), "3"},
        {CFSTR("home"), "(nil)"},
        {CFSTR("Lab "), "(nil)"},
    };
    for (const auto& row : rows) {
        CFRef<CFStringRef> setID;
        EXPECT_EQ(MoreSCFindSetByUserVisibleNameAndCopyID(row.name, setID.out()), noErr) << Text(row.name);
        EXPECT_EQ(Text(setID.get()), row.setID) << Text(row.name);
    }

    testing::internal::CaptureStderr();
    CFRef<CFStringRef> setID;
    EXPECT_EQ(MoreSCFindSetByUserVisibleNameAndCopyID(nullptr, setID.out()), paramErr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "MoreAssertQ failure: userVisibleName != nil\n");
}

TEST_F(FindSet, ANamelessSetEndsTheSearchOnlyBeforeAMatch) {
    std::string store = kHelpersStore;
    const std::string name = "<key>UserDefinedName</key><string>Office</string>";
    store.erase(store.find(name), name.size());
    root_.writeStore(store);

    CFRef<CFStringRef> setID;
    EXPECT_EQ(MoreSCFindSetByUserVisibleNameAndCopyID(CFSTR("Home"), setID.out()), noErr);
    EXPECT_EQ(Text(setID.get()), "0");
    EXPECT_EQ(MoreSCFindSetByUserVisibleNameAndCopyID(CFSTR("Lab"), setID.out()), coreFoundationUnknownErr);
    EXPECT_EQ(setID.get(), nullptr);
}

}  // namespace
