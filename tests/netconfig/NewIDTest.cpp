#include "netconfig/MoreSCCreateInternal.h"

#include "netconfig/MoreSCSession.h"
#include "netconfig/StoreFixture.h"

namespace {

using NewID = StoreTest;

// A store whose "Sets" holds the given keys (each an empty set), and whose
// "NetworkServices" has no numeric key; no "Sets" at all for no keys.
std::string StoreWithSets(const std::vector<std::string>& keys) {
    std::string text = R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0"><dict>)"
                       "<key>NetworkServices</key><dict><key>Foo</key><dict/></dict>";
    if (!keys.empty()) text += "<key>Sets</key><dict>";
    for (const std::string& key : keys) text += "<key>" + key + "</key><dict/>";
    if (!keys.empty()) text += "</dict>";
    return text + "</dict></plist>";
}

TEST_F(NewID, OneMoreThanTheLargestNumericKey) {
    const struct {
        std::vector<std::string> keys;
        std::string id;
    } rows[] = {
        {{"0", "1", "7", "Foo"}, "8"},
        {{"007", "5"}, "8"},
        {{"5", "12abc", "99999999999"}, "6"},           // trailing text, beyond 32 bits
        {{"000000000000005", "0000000000000009"}, "6"},  // 15 characters count, 16 do not
        {{"-5", "+6", " 7", "Foo"}, "-2147483647"},      // no leading digit: nothing counts
        {{}, "-2147483647"},                             // no parent yet
        {{"2147483646"}, "2147483647"},
        {{"-2147483647", "-2147483646"}, "-2147483645"},  // taken IDs are stepped over
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.id);
        root_.writeStore(StoreWithSets(row.keys));
        ASSERT_EQ(MoreSCOpen(false, false), noErr);
        CFRef<CFStringRef> id;
        CFRef<CFStringRef> path;
        EXPECT_EQ(MakeNewSeAndCopyIDAndPath(CFSTR("Sets"), id.out(), path.out()), noErr);
        EXPECT_EQ(Text(id.get()), row.id);
        EXPECT_EQ(Text(path.get()), "/Sets/" + row.id);
        EXPECT_NE(SCPreferencesPathGetValue(MoreSCGetSCPreferencesRef(), path.get()), nullptr);  // reserved
        OSStatus err = noErr;
        MoreSCClose(&err, false);
    }
}

TEST_F(NewID, RepeatedAllocationsNeverCollide) {
    root_.writeStore(StoreWithSets({"3"}));
    ASSERT_EQ(MoreSCOpen(false, false), noErr);
    std::vector<std::string> ids;
    SeIDAllocator sets(CFSTR("Sets"));
    SeIDAllocator services(CFSTR("NetworkServices"));
    for (int i = 0; i < 2; i++) {
        CFRef<CFStringRef> setID, setPath, serviceID, servicePath, otherID, otherPath;
        EXPECT_EQ(MakeNewSeAndCopyIDAndPath(CFSTR("NetworkServices"), serviceID.out(), servicePath.out()), noErr);
        EXPECT_EQ(sets.Allocate(setID.out(), setPath.out()), noErr);
        EXPECT_EQ(services.Allocate(otherID.out(), otherPath.out()), noErr);
        for (CFStringRef id : {serviceID.get(), setID.get(), otherID.get()}) ids.push_back(Text(id));
    }
    EXPECT_EQ(ids, (std::vector<std::string>{"-2147483647", "4", "-2147483646", "-2147483645", "5",
                                             "-2147483644"}));
    OSStatus err = noErr;
    MoreSCClose(&err, false);
}

}  // namespace
