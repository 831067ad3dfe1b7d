// The inactive marker shared by entities and services: any non-zero
// "active" means active, and a dictionary already in the wanted state is
// left alone and not reported as changed.
#include <gtest/gtest.h>

#include "netconfig/MoreSCEntitiesInternal.h"
#include "platform/corefoundation/CFRef.h"
#include "plist/MoreCFQ.h"

namespace {

TEST(ActiveFlag, AnyNonZeroMeansActive) {
    struct Row {
        bool markedBefore;
        Boolean active;
        bool markedAfter;
        bool changed;
    } rows[] = {
        {false, 2, false, false}, {false, 1, false, false}, {false, 0, true, true},
        {true, 2, false, true},   {true, 0, true, false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.markedBefore << " " << int(row.active));
        CFRef<CFMutableDictionaryRef> dict;
        ASSERT_EQ(CFQDictionaryCreateMutable(dict.out()), noErr);
        if (row.markedBefore) {
            ASSERT_EQ(CFQDictionarySetNumber(dict.get(), CFSTR("__INACTIVE__"), 1), noErr);
        }
        Boolean changed = false;
        EXPECT_EQ(SetDictionaryActive(dict.get(), row.active, &changed), noErr);
        EXPECT_EQ(CFDictionaryContainsKey(dict.get(), CFSTR("__INACTIVE__")), row.markedAfter);
        EXPECT_EQ(changed, row.changed);
    }
}

}  // namespace
