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

// Set 1 without its global IPv4 entity, with an empty order, or with an
// order that is not an array (which counts as none). The services can be
// had all the same; writing the order alone needs the entity, and none is
// created.
TEST_F(Services, MissingEmptyOrMalformedServiceOrder) {
    const std::string kOrder = "<array><string>2</string><string>L4</string></array>";
    const std::pair<std::string, OSStatus> rows[] = {
        {"", kSCStatusNoKey}, {"<array/>", noErr}, {"<string>2</string>", coreFoundationUnknownErr}};
    for (const auto& [order, status] : rows) {
        SCOPED_TRACE(order);
        root_.writeStore(order.empty() ? Edited(kTwoSetStore, "<key>IPv4</key><dict><key>ServiceOrder</key>" +
                                                                  kOrder + "</dict>", "")
                                       : Edited(kTwoSetStore, kOrder, order));
        const std::string before = FileText();
        CFRef<CFArrayRef> local, resolved, setZero;
        EXPECT_EQ(MoreSCCopyServiceIDs(CFSTR("1"), local.out(), resolved.out()), status);
        EXPECT_EQ(local.get() != nullptr && CFArrayGetCount(local.get()) == 0, status == noErr);
        EXPECT_EQ(resolved.get() != nullptr && CFArrayGetCount(resolved.get()) == 0, status == noErr);
        CFRef<CFMutableDictionaryRef> mutableServices;
        EXPECT_EQ(MoreSCCopyServicesDictMutable(CFSTR("1"), mutableServices.out(), nullptr), status);
        EXPECT_EQ(mutableServices.get() != nullptr, status == noErr);
        CFRef<CFDictionaryRef> services;
        EXPECT_EQ(MoreSCCopyServicesDict(CFSTR("1"), services.out(), nullptr), noErr);
        EXPECT_EQ(CFDictionaryGetCount(services.get()), 2);
        if (!order.empty()) continue;
        EXPECT_EQ(MoreSCCopyServiceIDs(CFSTR("0"), setZero.out(), nullptr), noErr);
        EXPECT_EQ(MoreSCSetServicesDict(CFSTR("1"), nullptr, setZero.get()), kSCStatusNoKey);
        EXPECT_EQ(FileText(), before);
    }
}

}  // namespace
