#include <filesystem>

#include "netconfig/CreateChecks.h"
#include "netconfig/MoreSCCreate.h"
#include "netconfig/MoreSCServices.h"
#include "netconfig/MoreSCSets.h"
#include "support/SystemVersion.h"

namespace {

using NewService = StoreTest;

TEST_F(NewService, EntitiesFollowThePortAndTheSystemVersion) {
    PortEntries pppoePort = kEthernetPort;
    pppoePort[2].second = "PPP";
    pppoePort.insert(pppoePort.begin() + 3, {"SubType", "PPPoE"});
    const struct {
        const char* version;  // nullptr: the system cannot tell
        PortEntries port;
        const char* hardwareKey;
        const char* configMethod;
        long ftpPassive;
        const char* script;  // the default script installed, or nullptr for none
    } rows[] = {
        {"10.2", kEthernetPort, "Ethernet", "Manual", 1, nullptr},
        {"10.1.3", pppoePort, "Ethernet", "Manual", 0, nullptr},  // the subtype is not kept
        {"10.1.2", kAirPortPort, "AirPort", "DHCP", 0, nullptr},
        {nullptr, kAirPortPort, "AirPort", "DHCP", 0, nullptr},
        {"10.4.11", kModemPort, "Modem", "PPP", 1, "Apple Internal 56K Modem (v.90)"},
        {"10.4.11", kModemPort, "Modem", "PPP", 1, nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.hardwareKey) + " " + (row.version ? row.version : "unknown"));
        root_.writeStore(kTwoSetStore);
        std::filesystem::remove_all(root_.path() / "System");
        if (row.version != nullptr) InstallSystemVersion(root_, row.version);
        if (row.script != nullptr) {
            root_.write(std::string("/System/Library/Modem Scripts/") + row.script, "");
            root_.write("/System/Library/Modem Scripts/Zoom V.92", "");
        }
        const bool hasMAC = std::string(row.hardwareKey) != "Modem";

        CFRef<CFStringRef> id;
        ASSERT_EQ(MoreSCNewService(nullptr, Port(row.port).get(), id.out()), noErr);
        EXPECT_EQ(Text(id.get()), "6");
        CFRef<CFArrayRef> order;
        EXPECT_EQ(MoreSCCopyServiceIDs(CFSTR("0"), order.out(), nullptr), noErr);
        EXPECT_EQ(Texts(order.get()), (std::vector<std::string>{"3", "1", "2", "6"}));

        CFRef<CFDictionaryRef> service = Saved("/NetworkServices/6");
        ASSERT_TRUE(service);
        std::vector<std::string> expected = {"DNS", "IPv4", "Interface", "PPP", "Proxies", "UserDefinedName",
                                              row.hardwareKey};
        if (hasMAC) expected.push_back("AppleTalk");
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(SortedKeys(service.get()), expected);
        EXPECT_EQ(StringAt(service.get(), "UserDefinedName"), row.port.front().second);

        auto entity = [&](const char* key) { return static_cast<CFDictionaryRef>(ValueAt(service.get(), key)); };
        EXPECT_EQ(StringAt(entity("IPv4"), "ConfigMethod"), row.configMethod);
        EXPECT_EQ(NumberAt(entity("Proxies"), "FTPPassive"), row.ftpPassive);
        EXPECT_EQ(ValueAt(entity("PPP"), "__INACTIVE__") != nullptr, hasMAC);
        EXPECT_EQ(ValueAt(entity("AppleTalk"), "__INACTIVE__") != nullptr, hasMAC);
        EXPECT_EQ(ValueAt(entity("Interface"), "SubType") != nullptr, !hasMAC);
        EXPECT_EQ(ValueAt(entity("Interface"), "HardwareVariant") != nullptr, !hasMAC);
        const char* hardwareText = hasMAC ? "MACAddress" : "ConnectionScript";
        const std::string expectedText = hasMAC ? row.port.back().second : (row.script ? row.script : "");
        EXPECT_EQ(StringAt(entity(row.hardwareKey), hardwareText), expectedText);
    }
}

// A store whose "NetworkServices" is services, with set "0" linking none.
std::string EmptySetStore(const std::string& services) {
    return R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0"><dict>)"
           "<key>CurrentSet</key><string>/Sets/0</string><key>NetworkServices</key>" +
           services +
           "<key>Sets</key><dict><key>0</key><dict><key>Network</key><dict><key>Global</key><dict><key>IPv4</key>"
           "<dict><key>ServiceOrder</key><array/></dict></dict><key>Service</key><dict/></dict></dict></dict>"
           "</dict></plist>";
}

TEST_F(NewService, FailuresLeaveTheStoreAsItWas) {
    PortEntries badMAC = kEthernetPort;
    badMAC.back().second = "00:0a:95";
    PortEntries noDevice = kEthernetPort;
    noDevice.erase(noDevice.begin() + 3);
    const struct {
        std::string store;
        CFStringRef setID;
        PortEntries port;
        OSStatus status;
    } rows[] = {
        {kHomeStore, CFSTR("9"), kEthernetPort, kSCStatusNoKey},  // no such set
        {kHomeStore, CFSTR("0"), badMAC, -1},                     // fails after every other entity
        {kHomeStore, CFSTR("0"), noDevice, paramErr},
        {EmptySetStore("<dict><key>2147483647</key><dict/></dict>"), nullptr, kEthernetPort, kSCStatusFailed},
        {EmptySetStore("<string>services</string>"), nullptr, kEthernetPort, kSCStatusFailed},
        {EmptySetStore("<dict><key>__LINK__</key><integer>5</integer></dict>"), nullptr, kEthernetPort,
         kSCStatusFailed},
        {EmptySetStore("<dict><key>__LINK__</key><string>elsewhere</string></dict>"), nullptr, kEthernetPort,
         kSCStatusNoKey},
        {EmptySetStore("<dict><key>__LINK__</key><string>/NetworkServices</string></dict>"), nullptr,
         kEthernetPort, kSCStatusMaxLink},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        root_.writeStore(row.store);
        const std::string before = FileText();
        CFRef<CFStringRef> id;
        testing::internal::CaptureStderr();  // the broken port is reported
        EXPECT_EQ(InSavingSession([&] { return MoreSCNewService(row.setID, Port(row.port).get(), id.out()); }),
                  row.status);
        testing::internal::GetCapturedStderr();
        EXPECT_EQ(id.get(), nullptr);
        EXPECT_EQ(FileText(), before);
    }
}

TEST_F(NewService, RealStoresKeepWhatTheyHeld) {
    PortEntries badMAC = kEthernetPort;
    badMAC.back().second = "not a MAC address";
    for (const char* name : {"imac-ethernet-pac.plist", "macbook-air-http-proxy-ppp.plist", "ios-binary.plist"}) {
        SCOPED_TRACE(name);
        root_.installStore(name);
        const std::string before = FileText();
        CFRef<CFDictionaryRef> sets = Saved("/Sets");
        CFRef<CFDictionaryRef> services = Saved("/NetworkServices");
        CFRef<CFStringRef> currentSetID;
        CFRef<CFArrayRef> order;
        ASSERT_EQ(MoreSCCopyCurrentSet(currentSetID.out()), noErr);
        ASSERT_EQ(MoreSCCopyServiceIDs(nullptr, order.out(), nullptr), noErr);

        CFRef<CFStringRef> failed;
        EXPECT_EQ(MoreSCNewService(nullptr, Port(badMAC).get(), failed.out()), -1);
        EXPECT_EQ(FileText(), before);

        // No numeric IDs here: the first is -2147483647, the next one on.
        CFRef<CFStringRef> first, second;
        EXPECT_EQ(MoreSCNewService(nullptr, Port(kEthernetPort).get(), first.out()), noErr);
        EXPECT_EQ(MoreSCNewService(nullptr, Port(kModemPort).get(), second.out()), noErr);
        EXPECT_EQ(Text(first.get()), "-2147483647");
        EXPECT_EQ(Text(second.get()), "-2147483646");
        ExpectKept(services.get(), Saved("/NetworkServices").get());
        ExpectKept(sets.get(), Saved("/Sets").get(), currentSetID.get());
        std::vector<std::string> newOrder = Texts(order.get());
        newOrder.insert(newOrder.end(), {"-2147483647", "-2147483646"});
        CFRef<CFArrayRef> after;
        EXPECT_EQ(MoreSCCopyServiceIDs(nullptr, after.out(), nullptr), noErr);
        EXPECT_EQ(Texts(after.get()), newOrder);
    }
}

}  // namespace
