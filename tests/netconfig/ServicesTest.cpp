#include "netconfig/MoreSCServices.h"

#include "netconfig/StoreFixture.h"

namespace {

using Services = StoreTest;

TEST_F(Services, IDsComeInServiceOrderWhateverTheirState) {
    CFRef<CFArrayRef> local;
    CFRef<CFArrayRef> resolved;
    EXPECT_EQ(MoreSCCopyServiceIDs(nullptr, local.out(), resolved.out()), noErr);
    EXPECT_EQ(Texts(local.get()), (std::vector<std::string>{"3", "1", "2"}));
    EXPECT_EQ(Texts(resolved.get()), Texts(local.get()));

    local.reset();
    EXPECT_EQ(MoreSCCopyServiceIDs(CFSTR("1"), local.out(), nullptr), noErr);
    EXPECT_EQ(Texts(local.get()), (std::vector<std::string>{"2", "4"}));
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
    CFRef<CFStringRef> text;
    EXPECT_EQ(MoreSCCopyBSDNameOfService(nullptr, CFSTR("1"), text.out()), noErr);
    EXPECT_EQ(Text(text.get()), "en0");
    text.reset();
    EXPECT_EQ(MoreSCCopyBSDNameOfService(nullptr, CFSTR("2"), text.out()), coreFoundationUnknownErr);
    EXPECT_EQ(text.get(), nullptr);
    EXPECT_EQ(MoreSCCopyBSDNameOfService(nullptr, CFSTR("3"), text.out()), kSCStatusNoKey);

    // A service is shared: renamed through set 1, seen through set 0.
    EXPECT_EQ(MoreSCRenameService(CFSTR("1"), CFSTR("2"), CFSTR("Office Wi-Fi")), noErr);
    EXPECT_EQ(MoreSCCopyUserVisibleNameOfService(CFSTR("0"), CFSTR("2"), text.out()), noErr);
    EXPECT_EQ(Text(text.get()), "Office Wi-Fi");
}

TEST_F(Services, SetWithoutGlobalIPv4Entity) {
    std::string text = kTwoSetStore;
    const std::string order = "<key>IPv4</key><dict><key>ServiceOrder</key>\n"
                              "      <array><string>2</string><string>4</string></array></dict>";
    ASSERT_NE(text.find(order), std::string::npos);
    text.erase(text.find(order), order.size());
    root_.writeStore(text);
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
    CFRef<CFArrayRef> order2;
    EXPECT_EQ(MoreSCCopyServiceIDs(CFSTR("0"), order2.out(), nullptr), noErr);
    EXPECT_EQ(MoreSCSetServicesDict(CFSTR("1"), nullptr, order2.get()), kSCStatusNoKey);
    EXPECT_EQ(FileText(), before);
}

TEST_F(Services, EmptyOrMalformedServiceOrder) {
    const std::string order = "<array><string>2</string><string>4</string></array>";
    for (const char* replacement : {"<array/>", "<string>2</string>"}) {
        SCOPED_TRACE(replacement);
        std::string text = kTwoSetStore;
        ASSERT_NE(text.find(order), std::string::npos);
        text.replace(text.find(order), order.size(), replacement);
        root_.writeStore(text);

        CFRef<CFArrayRef> local;
        CFRef<CFArrayRef> resolved;
        OSStatus err = MoreSCCopyServiceIDs(CFSTR("1"), local.out(), resolved.out());
        if (std::string(replacement) == "<array/>") {
            EXPECT_EQ(err, noErr);
            EXPECT_EQ(CFArrayGetCount(local.get()), 0);
            EXPECT_EQ(CFArrayGetCount(resolved.get()), 0);
        } else {
            // An order that is not an array counts as none.
            EXPECT_EQ(err, coreFoundationUnknownErr);
            EXPECT_FALSE(local);
            CFRef<CFMutableDictionaryRef> services;
            EXPECT_EQ(MoreSCCopyServicesDictMutable(CFSTR("1"), services.out(), nullptr), coreFoundationUnknownErr);
        }
    }
}

TEST_F(Services, RealStoreOrderAndNames) {
    root_.installStore("macbook-air-http-proxy-ppp.plist");
    CFRef<CFArrayRef> local;
    CFRef<CFArrayRef> resolved;
    ASSERT_EQ(MoreSCCopyServiceIDs(nullptr, local.out(), resolved.out()), noErr);
    EXPECT_EQ(Texts(local.get()), (std::vector<std::string>{"4A73E068-DCE3-46C3-98EE-991526FF151A",
                                                            "622D9F75-98F0-4AF1-8FFC-C5A27462B0B6",
                                                            "3896F922-5883-4D53-AC38-CEDEC0DAAAF3"}));
    EXPECT_EQ(Texts(resolved.get()), Texts(local.get()));
    for (CFIndex i = 0; i < CFArrayGetCount(local.get()); i++) {
        auto serviceID = static_cast<CFStringRef>(CFArrayGetValueAtIndex(local.get(), i));
        Boolean active = 7;
        CFRef<CFStringRef> name;
        EXPECT_EQ(MoreSCIsServiceActive(nullptr, serviceID, &active), noErr);
        EXPECT_NE(active, 7);
        EXPECT_EQ(MoreSCCopyUserVisibleNameOfService(nullptr, serviceID, name.out()), noErr);
    }
}

}  // namespace
