#include "netconfig/MoreSCServices.h"

#include "netconfig/StoreFixture.h"

namespace {

using Services = StoreTest;
using Strings = std::vector<std::string>;

// IDs come in "ServiceOrder" order, active or not; resolved IDs follow the
// links, which set 1 makes under a local ID of its own.
TEST_F(Services, LocalAndResolvedIDsInServiceOrder) {
    const std::tuple<CFStringRef, Strings, Strings> rows[] = {
        {nullptr, {"3", "1", "2"}, {"3", "1", "2"}},
        {CFSTR("1"), {"2", "L4"}, {"2", "4"}},
    };
    for (const auto& [setID, local, resolved] : rows) {
        CFRef<CFArrayRef> localIDs, resolvedIDs, resolvedOnly;
        EXPECT_EQ(MoreSCCopyServiceIDs(setID, localIDs.out(), resolvedIDs.out()), noErr);
        EXPECT_EQ(Texts(localIDs.get()), local);
        EXPECT_EQ(Texts(resolvedIDs.get()), resolved);
        EXPECT_EQ(MoreSCCopyServiceIDs(setID, nullptr, resolvedOnly.out()), noErr);
        EXPECT_EQ(Texts(resolvedOnly.get()), resolved);
    }
}

TEST_F(Services, ActiveMeansNoInactiveMarkerWhateverItsValue) {
    Boolean active = false;
    EXPECT_EQ(MoreSCIsServiceActive(nullptr, CFSTR("1"), &active), noErr);
    EXPECT_TRUE(active);
    EXPECT_EQ(MoreSCIsServiceActive(nullptr, CFSTR("3"), &active), noErr);
    EXPECT_FALSE(active);

    // Service 4 exists but set 0 does not link it: an error, the answer untouched.
    active = 7;
    EXPECT_NE(MoreSCIsServiceActive(nullptr, CFSTR("4"), &active), noErr);
    EXPECT_EQ(active, 7);
}

TEST_F(Services, NamesAndRenamingThroughAnotherSet) {
    const std::tuple<const char*, OSStatus, const char*> bsdNames[] = {
        {"1", noErr, "en0"}, {"2", coreFoundationUnknownErr, "(nil)"}, {"3", kSCStatusNoKey, "(nil)"}};
    for (const auto& [serviceID, status, name] : bsdNames) {
        CFRef<CFStringRef> id(CFStringCreateWithCString(nullptr, serviceID, kCFStringEncodingUTF8)), text;
        EXPECT_EQ(MoreSCCopyBSDNameOfService(nullptr, id.get(), text.out()), status);
        EXPECT_EQ(Text(text.get()), name);
    }

    // A service is shared: renamed through set 1, seen through set 0.
    CFRef<CFStringRef> text;
    EXPECT_EQ(MoreSCRenameService(CFSTR("1"), CFSTR("2"), CFSTR("Office Wi-Fi")), noErr);
    EXPECT_EQ(MoreSCCopyUserVisibleNameOfService(CFSTR("0"), CFSTR("2"), text.out()), noErr);
    EXPECT_EQ(Text(text.get()), "Office Wi-Fi");
}

TEST_F(Services, SetWithoutGlobalIPv4Entity) {
    root_.writeStore(Edited(kTwoSetStore, "<key>IPv4</key><dict><key>ServiceOrder</key>\n"
                                          "      <array><string>2</string><string>L4</string></array></dict>",
                            ""));
    const std::string before = FileText();

    CFRef<CFArrayRef> ids;
    EXPECT_EQ(MoreSCCopyServiceIDs(CFSTR("1"), ids.out(), nullptr), kSCStatusNoKey);
    CFRef<CFDictionaryRef> services;
    EXPECT_EQ(MoreSCCopyServicesDict(CFSTR("1"), services.out(), nullptr), noErr);
    EXPECT_EQ(CFDictionaryGetCount(services.get()), 2);
    CFRef<CFMutableDictionaryRef> mutableServices;
    EXPECT_EQ(MoreSCCopyServicesDictMutable(CFSTR("1"), mutableServices.out(), nullptr), kSCStatusNoKey);
    EXPECT_EQ(mutableServices.get(), nullptr);

    // Writing the order alone needs the entity; none is created.
    CFRef<CFArrayRef> order;
    EXPECT_EQ(MoreSCCopyServiceIDs(CFSTR("0"), order.out(), nullptr), noErr);
    EXPECT_EQ(MoreSCSetServicesDict(CFSTR("1"), nullptr, order.get()), kSCStatusNoKey);
    EXPECT_EQ(FileText(), before);
}

// An empty order lists nothing; an order that is not an array counts as none.
TEST_F(Services, EmptyOrMalformedServiceOrder) {
    const std::pair<const char*, OSStatus> rows[] = {{"<array/>", noErr}, {"<string>2</string>", coreFoundationUnknownErr}};
    for (const auto& [order, status] : rows) {
        SCOPED_TRACE(order);
        root_.writeStore(Edited(kTwoSetStore, "<array><string>2</string><string>L4</string></array>", order));
        CFRef<CFArrayRef> local, resolved;
        EXPECT_EQ(MoreSCCopyServiceIDs(CFSTR("1"), local.out(), resolved.out()), status);
        EXPECT_EQ(local.get() != nullptr && CFArrayGetCount(local.get()) == 0, status == noErr);
        EXPECT_EQ(resolved.get() != nullptr && CFArrayGetCount(resolved.get()) == 0, status == noErr);
        CFRef<CFMutableDictionaryRef> services;
        EXPECT_EQ(MoreSCCopyServicesDictMutable(CFSTR("1"), services.out(), nullptr), status);
    }
}

}  // namespace
