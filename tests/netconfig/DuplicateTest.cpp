#include "netconfig/CreateChecks.h"
#include "netconfig/MoreSCCreate.h"
#include "netconfig/MoreSCEntities.h"
#include "netconfig/MoreSCServices.h"
#include "netconfig/MoreSCSets.h"

namespace {

class Duplicate : public StoreTest {
protected:
    CFRef<CFDictionaryRef> SavedService(const std::string& serviceID) const {
        return Saved(("/NetworkServices/" + serviceID).c_str());
    }
    // The set's service IDs in order, local and resolved alike.
    static std::vector<std::string> Order(CFStringRef setID) {
        CFRef<CFArrayRef> local;
        CFRef<CFArrayRef> resolved;
        EXPECT_EQ(MoreSCCopyServiceIDs(setID, local.out(), resolved.out()), noErr);
        EXPECT_EQ(Texts(local.get()), Texts(resolved.get()));
        return Texts(local.get());
    }
};

// Changes the copy's Proxies entity; the original's must stay as it was.
void ExpectIndependent(CFStringRef copySetID, CFStringRef copyID, CFStringRef setID, CFStringRef serviceID) {
    CFRef<CFMutableDictionaryRef> proxies;
    ASSERT_EQ(MoreSCCopyEntityMutable(copySetID, copyID, CFSTR("Proxies"), proxies.out()), noErr);
    CFDictionarySetValue(proxies.get(), CFSTR("HTTPProxy"), CFSTR("copy.example"));
    EXPECT_EQ(MoreSCSetEntity(copySetID, copyID, CFSTR("Proxies"), proxies.get()), noErr);
    CFRef<CFDictionaryRef> original;
    EXPECT_EQ(MoreSCCopyEntity(setID, serviceID, CFSTR("Proxies"), original.out()), noErr);
    EXPECT_NE(StringAt(original.get(), "HTTPProxy"), "copy.example");
}

TEST_F(Duplicate, SetGetsCopiesOfItsServicesInOrder) {
    CFRef<CFDictionaryRef> sets = Saved("/Sets");
    CFRef<CFDictionaryRef> services = Saved("/NetworkServices");
    CFRef<CFStringRef> copyID;
    ASSERT_EQ(MoreSCDuplicateSet(CFSTR("0"), nullptr, copyID.out()), noErr);
    EXPECT_EQ(Text(copyID.get()), "2");
    EXPECT_EQ(Order(CFSTR("2")), (std::vector<std::string>{"6", "7", "8"}));  // copies of 3, 1, 2
    for (auto [from, to] : {std::pair{"3", "6"}, {"1", "7"}, {"2", "8"}}) {
        EXPECT_TRUE(CFEqual(SavedService(from).get(), SavedService(to).get())) << to;
    }
    EXPECT_EQ(StringAt(Saved("/Sets/2").get(), "UserDefinedName"), "Automatic");
    ExpectKept(sets.get(), Saved("/Sets").get());
    ExpectKept(services.get(), Saved("/NetworkServices").get());
    ExpectIndependent(CFSTR("2"), CFSTR("7"), CFSTR("0"), CFSTR("1"));

    // Service 2 was shared by both sets; the copy of set 1 shares nothing.
    CFRef<CFStringRef> namedID;
    ASSERT_EQ(MoreSCDuplicateSet(CFSTR("1"), CFSTR("Office"), namedID.out()), noErr);
    EXPECT_EQ(Order(namedID.get()), (std::vector<std::string>{"9", "10"}));
    EXPECT_EQ(StringAt(Saved("/Sets/3").get(), "UserDefinedName"), "Office");
    CFRef<CFStringRef> current;
    EXPECT_EQ(MoreSCCopyCurrentSet(current.out()), noErr);
    EXPECT_EQ(Text(current.get()), "0");
}

TEST_F(Duplicate, ServiceCopyJoinsTheEndOfTheSet) {
    CFRef<CFStringRef> copyID;
    ASSERT_EQ(MoreSCDuplicateService(CFSTR("1"), CFSTR("2"), CFSTR("Office Wi-Fi"), copyID.out()), noErr);
    EXPECT_EQ(Order(CFSTR("1")), (std::vector<std::string>{"2", "4", "6"}));
    EXPECT_EQ(StringAt(SavedService("6").get(), "UserDefinedName"), "Office Wi-Fi");
    EXPECT_EQ(StringAt(SavedService("2").get(), "UserDefinedName"), "Wi-Fi");

    // A service of another set, inactive: the copy keeps name and marker.
    CFRef<CFStringRef> otherID;
    ASSERT_EQ(MoreSCDuplicateService(CFSTR("1"), CFSTR("3"), nullptr, otherID.out()), noErr);
    EXPECT_EQ(Text(otherID.get()), "7");
    EXPECT_TRUE(CFEqual(SavedService("3").get(), SavedService("7").get()));
}

CFRef<CFStringRef> String(const std::string& text) {
    return CFRef<CFStringRef>(CFStringCreateWithCString(nullptr, text.c_str(), kCFStringEncodingUTF8));
}

TEST_F(Duplicate, RealStoresCopyDeeply) {
    for (const char* name : {"imac-ethernet-pac.plist", "macbook-air-http-proxy-ppp.plist", "ios-binary.plist"}) {
        SCOPED_TRACE(name);
        root_.installStore(name);
        CFRef<CFDictionaryRef> sets = Saved("/Sets");
        CFRef<CFDictionaryRef> services = Saved("/NetworkServices");
        CFRef<CFStringRef> current;
        ASSERT_EQ(MoreSCCopyCurrentSet(current.out()), noErr);
        const std::vector<std::string> order = Order(current.get());

        // No numeric IDs in these stores: the copies count up from -2147483647.
        CFRef<CFStringRef> setCopy;
        ASSERT_EQ(MoreSCDuplicateSet(current.get(), CFSTR("Copy"), setCopy.out()), noErr);
        const std::vector<std::string> copies = Order(setCopy.get());
        ASSERT_EQ(copies.size(), order.size());
        for (std::size_t i = 0; i < order.size(); i++) {
            EXPECT_EQ(copies[i], std::to_string(-2147483647 + static_cast<int>(i)));
            EXPECT_TRUE(CFEqual(SavedService(order[i]).get(), SavedService(copies[i]).get())) << order[i];
        }
        CFRef<CFStringRef> serviceCopy;
        ASSERT_EQ(MoreSCDuplicateService(setCopy.get(), String(order[0]).get(), nullptr, serviceCopy.out()), noErr);
        EXPECT_TRUE(CFEqual(SavedService(order[0]).get(), SavedService(Text(serviceCopy.get())).get()));

        ExpectKept(sets.get(), Saved("/Sets").get());
        ExpectKept(services.get(), Saved("/NetworkServices").get());
        ExpectIndependent(setCopy.get(), String(copies[0]).get(), current.get(), String(order[0]).get());
        ExpectIndependent(setCopy.get(), serviceCopy.get(), current.get(), String(order[0]).get());
    }
}

TEST_F(Duplicate, FailuresLeaveTheStoreAsItWas) {
    const std::string link2 = "<key>2</key><dict><key>__LINK__</key><string>/NetworkServices/2</string></dict>";
    const std::string dangling =
        Replaced(Replaced(kHomeStore, link2, link2 + "<key>3</key><dict><key>__LINK__</key><string>"
                                                     "/NetworkServices/7</string></dict>"),
                 "<string>2</string></array>", "<string>2</string><string>3</string></array>");
    const struct {
        std::string store;
        CFStringRef setID;
        CFStringRef serviceID;  // nullptr: duplicate the set
        OSStatus status;
    } rows[] = {
        {kHomeStore, CFSTR("9"), nullptr, kSCStatusNoKey},
        {Replaced(kHomeStore, "<key>ServiceOrder</key>", "<key>Order</key>"), CFSTR("0"), nullptr,
         coreFoundationUnknownErr},
        {dangling, CFSTR("0"), nullptr, kSCStatusNoKey},  // the third copy fails after two were made
        {Replaced(kHomeStore, "<key>Sets</key><dict>", "<key>Sets</key><dict><key>2147483647</key><dict/>"),
         CFSTR("0"), nullptr, kSCStatusFailed},
        {kHomeStore, CFSTR("0"), CFSTR("9"), kSCStatusNoKey},
        {kHomeStore, CFSTR("9"), CFSTR("1"), kSCStatusNoKey},  // copied, then no set to join
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        root_.writeStore(row.store);
        const std::string before = FileText();
        CFRef<CFStringRef> id;
        testing::internal::CaptureStderr();
        EXPECT_EQ(InSavingSession([&] {
                      return row.serviceID == nullptr
                                 ? MoreSCDuplicateSet(row.setID, CFSTR("Copy"), id.out())
                                 : MoreSCDuplicateService(row.setID, row.serviceID, CFSTR("Copy"), id.out());
                  }),
                  row.status);
        testing::internal::GetCapturedStderr();
        EXPECT_EQ(id.get(), nullptr);
        EXPECT_EQ(FileText(), before);
    }
}

}  // namespace
