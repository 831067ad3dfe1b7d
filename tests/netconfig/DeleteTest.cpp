#include "netconfig/MoreSCDelete.h"

#include <functional>

#include "netconfig/MoreSCServices.h"
#include "netconfig/MoreSCSession.h"
#include "netconfig/StoreFixture.h"

namespace {

using Delete = StoreTest;
using Strings = std::vector<std::string>;

// The IDs under "NetworkServices", sorted.
Strings ServiceIDs(CFDictionaryRef services) {
    Strings ids = Keys(services);
    std::sort(ids.begin(), ids.end());
    return ids;
}

// Each deletion ends with a collection of the services no set links to any
// more, following the links (set 1 links service 4 as "L4"). Service 5 is
// linked from nowhere from the start.
TEST_F(Delete, DeletionsCollectTheServicesNoSetLinks) {
    // What is deleted, the status, the services left, set 0's service order
    // afterwards, the number of sets left, part of what is reported.
    const struct { const char* what; std::function<OSStatus()> deletion; OSStatus status; Strings services, setZero;
                   CFIndex sets; const char* report; } rows[] = {
        {"set 1", [] { return MoreSCDeleteSet(CFSTR("1")); }, noErr, {"1", "2", "3"}, {"3", "1", "2"}, 1, ""},
        {"service 2 from set 0", [] { return MoreSCDeleteService(CFSTR("0"), CFSTR("2")); }, noErr,
         {"1", "2", "3", "4"}, {"3", "1"}, 2, ""},
        {"L4 from set 1", [] { return MoreSCDeleteService(CFSTR("1"), CFSTR("L4")); }, noErr, {"1", "2", "3"},
         {"3", "1", "2"}, 2, ""},
        {"service 4, which set 0 does not list", [] { return MoreSCDeleteService(CFSTR("0"), CFSTR("4")); }, noErr,
         {"1", "2", "3", "4"}, {"3", "1", "2"}, 2, "MoreAssertQ failure: serviceIndex != kCFNotFound\n"},
        // Refused: nothing is saved, the orphan included.
        {"the current set", [] { return MoreSCDeleteSet(CFSTR("0")); }, paramErr, {"1", "2", "3", "4", "5"},
         {"3", "1", "2"}, 2, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        root_.writeStore(kTwoSetStore);
        StderrCapture reports;
        EXPECT_EQ(row.deletion(), row.status);
        EXPECT_NE(reports.text().find(row.report), std::string::npos) << reports.text();
        EXPECT_EQ(ServiceIDs(Saved("/NetworkServices").get()), row.services);
        CFRef<CFArrayRef> order;
        EXPECT_EQ(MoreSCCopyServiceIDs(CFSTR("0"), order.out(), nullptr), noErr);
        EXPECT_EQ(Texts(order.get()), row.setZero);
        EXPECT_EQ(CFDictionaryGetCount(Saved("/Sets").get()), row.sets);
    }
}

TEST_F(Delete, RefusedSetDeletionStillCollectsInTheSession) {
    ASSERT_EQ(MoreSCOpen(false, false), noErr);
    EXPECT_EQ(MoreSCDeleteSet(CFSTR("0")), paramErr);
    auto services = static_cast<CFDictionaryRef>(
        SCPreferencesGetValue(MoreSCGetSCPreferencesRef(), CFSTR("NetworkServices")));
    EXPECT_EQ(ServiceIDs(services), (Strings{"1", "2", "3", "4"}));
    OSStatus err = noErr;
    MoreSCClose(&err, false);
    EXPECT_TRUE(Saved("/NetworkServices/5"));  // nobody asked to save
}

}  // namespace
