// Finding a set by its name: first in the store's order, exact equality, no
// match is no error, a nameless set before a match is.
#include "helpers/MoreSCFindSet.h"

#include "helpers/HelpersStore.h"

namespace {

using FindSet = HelpersTest;

TEST_F(FindSet, FirstSetWithExactlyThatNameInStoreOrder) {
    const std::pair<CFStringRef, const char*> rows[] = {
        {CFSTR("Home"), "0"}, {CFSTR("Lab"), "3"}, {CFSTR("home"), "(nil)"}, {CFSTR("Lab "), "(nil)"}};
    for (const auto& [name, expected] : rows) {
        CFRef<CFStringRef> setID;
        EXPECT_EQ(MoreSCFindSetByUserVisibleNameAndCopyID(name, setID.out()), noErr) << Text(name);
        EXPECT_EQ(Text(setID.get()), expected) << Text(name);
    }

    root_.writeStore(HelpersStoreXML(""));  // set 1 has no name
    CFRef<CFStringRef> setID;
    EXPECT_EQ(MoreSCFindSetByUserVisibleNameAndCopyID(CFSTR("Home"), setID.out()), noErr);
    EXPECT_EQ(Text(setID.get()), "0");
    setID.reset();
    EXPECT_EQ(MoreSCFindSetByUserVisibleNameAndCopyID(CFSTR("Lab"), setID.out()), coreFoundationUnknownErr);
    EXPECT_EQ(setID.get(), nullptr);
}

}  // namespace
