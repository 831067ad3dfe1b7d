#include "netconfig/MoreSCEntities.h"

#include <functional>
#include <tuple>

#include "netconfig/MoreSCDelete.h"
#include "netconfig/MoreSCServices.h"
#include "netconfig/StoreFixture.h"
#include "plist/MoreCFQ.h"

namespace {

using Entities = StoreTest;

CFRef<CFMutableDictionaryRef> DictionaryWith(CFStringRef key, SInt32 value) {
    CFRef<CFMutableDictionaryRef> dict;
    EXPECT_EQ(CFQDictionaryCreateMutable(dict.out()), noErr);
    EXPECT_EQ(CFQDictionarySetNumber(dict.get(), key, value), noErr);
    return dict;
}

TEST_F(Entities, MissingEntityIsAnErrorAndSetReplacesWhole) {
    CFRef<CFDictionaryRef> proxies;
    EXPECT_EQ(MoreSCCopyEntity(nullptr, CFSTR("3"), CFSTR("Proxies"), proxies.out()), kSCStatusNoKey);
    EXPECT_EQ(proxies.get(), nullptr);

    auto first = DictionaryWith(CFSTR("HTTPEnable"), 1);
    CFDictionarySetValue(first.get(), CFSTR("HTTPProxy"), CFSTR("proxy"));
    EXPECT_EQ(MoreSCSetEntity(nullptr, CFSTR("3"), CFSTR("Proxies"), first.get()), noErr);
    auto second = DictionaryWith(CFSTR("ProxyAutoConfigEnable"), 1);
    EXPECT_EQ(MoreSCSetEntity(nullptr, CFSTR("3"), CFSTR("Proxies"), second.get()), noErr);
    EXPECT_TRUE(CFEqual(Saved("/NetworkServices/3/Proxies").get(), second.get()));  // the first one's keys are gone
}

// An entity or a service switched to the state it already has (any non-zero
// "active" meaning active): nothing is saved and nothing applied.
TEST_F(Entities, SwitchingToTheCurrentStateNeitherSavesNorApplies) {
    const std::function<OSStatus()> switches[] = {
        [] { return MoreSCSetEntityActive(nullptr, CFSTR("1"), CFSTR("Proxies"), 2); },
        [] { return MoreSCSetServiceActive(nullptr, CFSTR("1"), true); },
        [] { return MoreSCSetServiceActive(CFSTR("1"), CFSTR("2"), true); },
        [] { return MoreSCSetServiceActive(nullptr, CFSTR("3"), false); },  // its marker holds 0
    };
    const std::string before = FileText();
    for (const auto& sameState : switches) {
        EXPECT_EQ(sameState(), noErr);
        EXPECT_EQ(FileText(), before);
        EXPECT_FALSE(Applied());
    }
}

TEST_F(Entities, SwitchingActiveStatesSavesAndApplies) {
    EXPECT_EQ(MoreSCSetEntityActive(nullptr, CFSTR("1"), CFSTR("Proxies"), false), noErr);
    EXPECT_TRUE(Applied());
    Boolean active = true;
    EXPECT_EQ(MoreSCIsEntityActive(nullptr, CFSTR("1"), CFSTR("Proxies"), &active), noErr);
    EXPECT_FALSE(active);
    auto inactive = DictionaryWith(CFSTR("__INACTIVE__"), 1);  // the entity as it was, marked 1
    CFDictionarySetValue(inactive.get(), CFSTR("HTTPProxy"), CFSTR("proxy"));
    EXPECT_EQ(CFQDictionarySetNumber(inactive.get(), CFSTR("HTTPEnable"), 1), noErr);
    EXPECT_TRUE(CFEqual(Saved("/NetworkServices/1/Proxies").get(), inactive.get()));

    // A service shared by two sets, switched through one, seen through the
    // other; only the marker's presence counts (service 3's holds 0).
    EXPECT_EQ(MoreSCSetServiceActive(CFSTR("1"), CFSTR("2"), false), noErr);
    const std::tuple<CFStringRef, CFStringRef, bool> seen[] = {
        {CFSTR("0"), CFSTR("2"), false}, {nullptr, CFSTR("1"), true}, {nullptr, CFSTR("3"), false}};
    for (const auto& [setID, serviceID, expected] : seen) {
        EXPECT_EQ(MoreSCIsServiceActive(setID, serviceID, &active), noErr);
        EXPECT_EQ(active, expected) << Text(serviceID);
    }
    EXPECT_EQ(MoreSCSetServiceActive(nullptr, CFSTR("3"), 2), noErr);
    EXPECT_EQ(MoreSCIsServiceActive(nullptr, CFSTR("3"), &active), noErr);
    EXPECT_TRUE(active);

    // An absent entity, or a service the set does not link (4): an error,
    // the caller's answer untouched.
    EXPECT_EQ(MoreSCIsEntityActive(nullptr, CFSTR("1"), CFSTR("DNS"), &active), kSCStatusNoKey);
    EXPECT_NE(MoreSCIsServiceActive(nullptr, CFSTR("4"), &active), noErr);
    EXPECT_TRUE(active);
}

TEST_F(Entities, NewAndDeleteEntity) {
    auto dns = DictionaryWith(CFSTR("Order"), 1);
    EXPECT_EQ(MoreSCNewEntity(nullptr, CFSTR("1"), CFSTR("DNS"), dns.get()), noErr);
    auto other = DictionaryWith(CFSTR("Order"), 2);
    EXPECT_EQ(MoreSCNewEntity(nullptr, CFSTR("1"), CFSTR("DNS"), other.get()), paramErr);
    EXPECT_TRUE(CFEqual(Saved("/NetworkServices/1/DNS").get(), dns.get()));

    EXPECT_EQ(MoreSCDeleteEntity(nullptr, CFSTR("1"), CFSTR("DNS")), noErr);
    EXPECT_FALSE(Saved("/NetworkServices/1/DNS"));
}

TEST_F(Entities, ListAndReplaceAllEntitiesKeepingNameAndMarker) {
    CFRef<CFArrayRef> protocols, values;
    EXPECT_EQ(MoreSCCopyEntities(nullptr, CFSTR("1"), protocols.out(), values.out()), noErr);
    EXPECT_EQ(Texts(protocols.get()), (std::vector<std::string>{"Interface", "Proxies"}));
    ASSERT_EQ(CFArrayGetCount(values.get()), 2);
    EXPECT_TRUE(CFEqual(CFArrayGetValueAtIndex(values.get(), 1), Saved("/NetworkServices/1/Proxies").get()));

    auto ipv4 = DictionaryWith(CFSTR("Manual"), 1);
    const void* newProtocols[] = {CFSTR("IPv4")};
    const void* newValues[] = {ipv4.get()};
    CFRef<CFArrayRef> protocolArray(CFArrayCreate(nullptr, newProtocols, 1, &kCFTypeArrayCallBacks));
    CFRef<CFArrayRef> valueArray(CFArrayCreate(nullptr, newValues, 1, &kCFTypeArrayCallBacks));
    EXPECT_EQ(MoreSCSetEntities(nullptr, CFSTR("3"), protocolArray.get(), valueArray.get()), noErr);
    CFRef<CFDictionaryRef> service = Saved("/NetworkServices/3");
    EXPECT_EQ(Keys(service.get()).size(), 3u);  // name, marker, new IPv4
    EXPECT_TRUE(service && CFDictionaryContainsKey(service.get(), CFSTR("__INACTIVE__")));
    EXPECT_TRUE(service && CFEqual(CFDictionaryGetValue(service.get(), CFSTR("IPv4")), ipv4.get()));
}

}  // namespace
