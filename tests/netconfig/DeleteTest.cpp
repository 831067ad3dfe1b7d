#include "netconfig/MoreSCDelete.h"

#include "netconfig/MoreSCServices.h"
#include "netconfig/MoreSCSession.h"
#include "netconfig/StoreFixture.h"

namespace {

using Delete = StoreTest;

TEST_F(Delete, CurrentSetIsNeverDeleted) {
    // Refused: the collection still runs in the session, but a failed
    // operation asks for no save, so the file stays as it was.
    const std::string before = FileText();
    EXPECT_EQ(MoreSCDeleteSet(CFSTR("0")), paramErr);
    EXPECT_EQ(FileText(), before);
}

TEST_F(Delete, DeletingASetKeepsServicesOtherSetsStillLink) {
    EXPECT_EQ(MoreSCDeleteSet(CFSTR("1")), noErr);
    EXPECT_FALSE(Saved("/Sets/1"));
    EXPECT_FALSE(Saved("/NetworkServices/5"));  // linked from no set even before
    EXPECT_FALSE(Saved("/NetworkServices/4"));  // only set 1 linked it
    EXPECT_TRUE(Saved("/NetworkServices/2"));   // set 0 still does
    EXPECT_TRUE(Saved("/NetworkServices/1"));
}

TEST_F(Delete, ServiceLeavesTheStoreWithItsLastLink) {
    EXPECT_EQ(MoreSCDeleteService(CFSTR("0"), CFSTR("2")), noErr);
    CFRef<CFArrayRef> ids;
    EXPECT_EQ(MoreSCCopyServiceIDs(CFSTR("0"), ids.out(), nullptr), noErr);
    EXPECT_EQ(Texts(ids.get()), (std::vector<std::string>{"3", "1"}));
    EXPECT_TRUE(Saved("/NetworkServices/2"));  // set 1 still links it

    EXPECT_EQ(MoreSCDeleteService(CFSTR("1"), CFSTR("2")), noErr);
    EXPECT_FALSE(Saved("/NetworkServices/2"));
}

TEST_F(Delete, ServiceActiveSwitchSavesOnlyChanges) {
    const std::string before = FileText();
    EXPECT_EQ(MoreSCSetServiceActive(nullptr, CFSTR("1"), true), noErr);
    EXPECT_EQ(FileText(), before);

    Boolean active = false;
    EXPECT_EQ(MoreSCSetServiceActive(nullptr, CFSTR("3"), true), noErr);
    EXPECT_EQ(MoreSCIsServiceActive(nullptr, CFSTR("3"), &active), noErr);
    EXPECT_TRUE(active);
    EXPECT_EQ(MoreSCSetServiceActive(CFSTR("1"), CFSTR("2"), false), noErr);
    EXPECT_EQ(MoreSCIsServiceActive(CFSTR("0"), CFSTR("2"), &active), noErr);
    EXPECT_FALSE(active);
}

TEST_F(Delete, RefusedSetDeletionStillCollectsOrphans) {
    ASSERT_EQ(MoreSCOpen(false, false), noErr);
    EXPECT_EQ(MoreSCDeleteSet(CFSTR("0")), paramErr);
    CFDictionaryRef services = static_cast<CFDictionaryRef>(
        SCPreferencesGetValue(MoreSCGetSCPreferencesRef(), CFSTR("NetworkServices")));
    ASSERT_NE(services, nullptr);
    EXPECT_FALSE(CFDictionaryContainsKey(services, CFSTR("5")));  // the orphan went in the session
    EXPECT_TRUE(CFDictionaryContainsKey(services, CFSTR("4")));
    CFRef<CFArrayRef> ids;
    EXPECT_EQ(MoreSCCopyServiceIDs(CFSTR("0"), ids.out(), nullptr), noErr);  // the set is still there
    OSStatus err = noErr;
    MoreSCClose(&err, false);
    EXPECT_TRUE(Saved("/NetworkServices/5"));  // nobody asked to save
}

TEST_F(Delete, ServiceTheSetDoesNotListLeavesTheOrderAlone) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(MoreSCDeleteService(CFSTR("0"), CFSTR("4")), noErr);
    std::string reports = testing::internal::GetCapturedStderr();
    EXPECT_NE(reports.find("MoreAssertQ failure: serviceIndex != kCFNotFound"), std::string::npos);
    CFRef<CFArrayRef> ids;
    EXPECT_EQ(MoreSCCopyServiceIDs(CFSTR("0"), ids.out(), nullptr), noErr);
    EXPECT_EQ(Texts(ids.get()), (std::vector<std::string>{"3", "1", "2"}));
    EXPECT_TRUE(Saved("/NetworkServices/4"));   // set 1 still links it
    EXPECT_FALSE(Saved("/NetworkServices/5"));  // the orphan went all the same
}

}  // namespace
