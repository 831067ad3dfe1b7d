#include <algorithm>
#include <climits>
#include <filesystem>
#include <map>
#include <numeric>

#include "netconfig/MoreSCCreate.h"
#include "netconfig/MoreSCCreateInternal.h"
#include "netconfig/MoreSCEntities.h"
#include "netconfig/MoreSCServices.h"
#include "netconfig/MoreSCSession.h"
#include "netconfig/MoreSCSets.h"
#include "netconfig/StoreFixture.h"
#include "platform/iokit/IOReturn.h"
#include "platform/systemconfiguration/SCDynamicStoreTesting.h"
#include "support/RegistrySnapshot.h"
#include "support/SystemVersion.h"

namespace {

using Create = StoreTest;
using PortEntries = std::vector<std::pair<std::string, std::string>>;

const PortEntries kEthernetPort = {{"UserDefinedName", "Built-in Ethernet"}, {"Hardware", "Ethernet"},
                                   {"Type", "Ethernet"}, {"DeviceName", "en0"}, {"MACAddress", "00:0a:95:9d:68:16"}};

// A port dictionary as the port scanner describes a port.
CFRef<CFDictionaryRef> Port(const PortEntries& entries) {
    CFRef<CFMutableDictionaryRef> port(
        CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
    for (const auto& [key, value] : entries) CFDictionarySetValue(port.get(), String(key).get(), String(value).get());
    return CFRef<CFDictionaryRef>(port.release());
}

std::string RealStore(const char* name) { return TempRoot::ReadFile(std::filesystem::path(TARNWICK_STORES_DIR) / name); }

// The two-set store without the service no set links to, so that a
// rolled-back change leaves nothing else to collect.
const std::string kLinkedStore =
    Edited(kTwoSetStore, "<key>5</key><dict><key>UserDefinedName</key><string>Orphan</string></dict>", "");

// The service's keys, sorted; an entity is marked "-" when inactive and
// followed by the value it is checked for, any other value follows its key.
std::string Describe(CFDictionaryRef service) {
    const std::map<std::string, const char*> checked = {
        {"IPv4", "ConfigMethod"}, {"Proxies", "FTPPassive"},   {"Interface", "SubType"},
        {"AirPort", "MACAddress"}, {"Ethernet", "MACAddress"}, {"Modem", "ConnectionScript"}};
    std::vector<std::string> parts;
    for (const std::string& key : Keys(service)) {
        std::string part = key;
        CFTypeRef value = CFDictionaryGetValue(service, String(key).get());
        if (CFGetTypeID(value) == CFDictionaryGetTypeID()) {
            auto entity = static_cast<CFDictionaryRef>(value);
            if (CFDictionaryContainsKey(entity, CFSTR("__INACTIVE__"))) part += "-";
            auto check = checked.find(key);
            value = check == checked.end() ? nullptr : CFDictionaryGetValue(entity, String(check->second).get());
        }
        if (value != nullptr) part += "=" + Text(CFRef<CFStringRef>(CFCopyDescription(value)).get());
        parts.push_back(part);
    }
    std::sort(parts.begin(), parts.end());
    return std::accumulate(parts.begin(), parts.end(), std::string(), [](auto a, auto b) { return a + b + " "; });
}

// The set's service IDs in order; every service is linked under its own ID.
std::vector<std::string> Order(CFStringRef setID) {
    CFRef<CFArrayRef> local;
    CFRef<CFArrayRef> resolved;
    EXPECT_EQ(MoreSCCopyServiceIDs(setID, local.out(), resolved.out()), noErr);
    EXPECT_EQ(Texts(local.get()), Texts(resolved.get()));
    return Texts(local.get());
}

TEST_F(Create, NewIDIsOneMoreThanTheLargestNumericKey) {
    const std::pair<std::vector<std::string>, std::string> rows[] = {  // the keys under "Sets", the new ID
        {{"0", "1", "7", "Foo"}, "8"},
        {{"007", "5"}, "8"},
        {{"5", "12abc", "99999999999"}, "6"},           // trailing text, beyond 32 bits
        {{"000000000000005", "0000000000000009"}, "6"},  // 15 characters count, 16 do not
        {{"-5", "+6", " 7", "Foo"}, "-2147483647"},      // no leading digit: nothing counts
        {{}, "-2147483647"},                             // no "Sets" yet
        {{"2147483646"}, "2147483647"},
        {{"-2147483647", "-2147483646"}, "-2147483645"},  // taken IDs are stepped over
    };
    for (const auto& [keys, expected] : rows) {
        std::string sets = keys.empty() ? "" : "<key>Sets</key><dict>";
        for (const std::string& key : keys) sets += "<key>" + key + "</key><dict/>";
        root_.writeStore(R"(<?xml version="1.0" encoding="UTF-8"?><plist version="1.0"><dict>)" + sets +
                         (keys.empty() ? "" : "</dict>") + "</dict></plist>");
        OSStatus err = MoreSCOpen(false, false);
        CFRef<CFStringRef> id, path;
        EXPECT_EQ(MakeNewSeAndCopyIDAndPath(CFSTR("Sets"), id.out(), path.out()), noErr);
        EXPECT_EQ(Text(id.get()), expected);
        MoreSCClose(&err, false);
    }
}

TEST_F(Create, NewServiceEntitiesFollowThePortAndTheSystemVersion) {
    const PortEntries airPort = {{"UserDefinedName", "AirPort"}, {"Hardware", "AirPort"}, {"Type", "Ethernet"},
                                 {"DeviceName", "en1"}, {"MACAddress", "00:0d:93:4e:5f:60"}};
    const PortEntries modem = {{"UserDefinedName", "Modem"}, {"Hardware", "Modem"}, {"Type", "PPP"},
                               {"SubType", "PPPSerial"}, {"DeviceName", "modem"}, {"HardwareVariant", "Internal"}};
    PortEntries pppoe = kEthernetPort;
    pppoe[2].second = "PPP";
    pppoe.emplace_back("SubType", "PPPoE");  // not kept for a port with a MAC address
    const std::string ethernet = "AppleTalk- DNS Ethernet=00:0a:95:9d:68:16 IPv4=Manual Interface PPP- Proxies=";
    const std::string wireless = "AirPort=00:0d:93:4e:5f:60 AppleTalk- DNS IPv4=DHCP Interface PPP- Proxies=0 ";
    const std::string dialUp = "DNS IPv4=PPP Interface=PPPSerial Modem=";
    // The system version (nullptr: unknown), the port, the service. Two modem scripts are installed,
    // the default sorting second; a machine without scripts is the new set's case.
    const struct { const char* version; PortEntries port; std::string expected; } rows[] = {
        {"10.2", kEthernetPort, ethernet + "1 UserDefinedName=Built-in Ethernet "},
        {"10.1.3", pppoe, ethernet + "0 UserDefinedName=Built-in Ethernet "},
        {nullptr, airPort, wireless + "UserDefinedName=AirPort "},
        {"10.4.11", modem, dialUp + "Apple Internal 56K Modem (v.90) PPP Proxies=1 UserDefinedName=Modem "},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.expected);
        root_.writeStore(kTwoSetStore);
        std::filesystem::remove_all(root_.path() / "System");
        if (row.version != nullptr) InstallSystemVersion(root_, row.version);
        for (const char* script : {"Apple Internal 56K Modem (v.90)", "56K Generic Modem"}) {
            root_.write(std::string("/System/Library/Modem Scripts/") + script, "");
        }
        CFRef<CFStringRef> id;
        StderrCapture warnings;  // the IPv4 builder warns about manual addresses of zero
        EXPECT_EQ(MoreSCNewService(nullptr, Port(row.port).get(), id.out()), noErr);
        EXPECT_EQ(Text(id.get()), "6");
        EXPECT_EQ(Order(CFSTR("0")), (std::vector<std::string>{"3", "1", "2", "6"}));
        EXPECT_EQ(Describe(Saved("/NetworkServices/6").get()), row.expected);
    }
}

// Expects every entry of before in after, unchanged, except under skipKey.
void ExpectKept(CFDictionaryRef before, CFDictionaryRef after, const std::string& skipKey = "") {
    for (const std::string& key : Keys(before)) {
        const void* kept = CFDictionaryGetValue(after, String(key).get());
        EXPECT_TRUE(key == skipKey || (kept && CFEqual(CFDictionaryGetValue(before, String(key).get()), kept))) << key;
    }
}

// On a machine with en0, an AirPort card and an internal modem, a new set
// holds their services in port order (modem, en0, AirPort), saved and
// applied once; then a new service and copies of the current set and of a
// service. Each leaves the other sets and services, and the current set's
// place, alone.
TEST_F(Create, NewSetsServicesAndDeepCopiesKeepWhatStoresHeld) {
    const struct { std::string store; int firstServiceID; std::string setCopyID; } rows[] = {
        {kLinkedStore, 8, "3"},
        {RealStore("imac-ethernet-pac.plist"), INT_MIN + 4, "-2147483646"},  // no numeric IDs
        {RealStore("macbook-air-http-proxy-ppp.plist"), INT_MIN + 4, "-2147483646"},
        {RealStore("ios-binary.plist"), INT_MIN + 4, "-2147483646"},
    };
    const std::vector<std::string> newSetServices = {
        "DNS IPv4=PPP Interface=PPPSerial Modem= PPP Proxies=1 UserDefinedName=Internal Modem ",
        "AppleTalk- DNS Ethernet=00:0a:95:9d:68:16 IPv4=Manual Interface PPP- Proxies=1 "
        "UserDefinedName=Built-in Ethernet ",
        "AirPort=00:30:65:01:02:03 AppleTalk- DNS IPv4=Manual Interface PPP- Proxies=1 UserDefinedName=AirPort "};
    RegistrySnapshot registry;
    registry.AddBuiltInEthernet(), registry.AddAirPort(), registry.AddInternalModem();
    registry.Install(root_);
    InstallSystemVersion(root_, "10.4.11");
    static int applies;
    SCDynamicStoreSetPublishObserverForTesting([](void*) { applies++; }, nullptr);
    auto name = [&](const std::string& path) {
        return Text(CFDictionaryGetValue(Saved(path).get(), CFSTR("UserDefinedName")));
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        root_.writeStore(row.store);
        CFRef<CFDictionaryRef> sets = Saved("/Sets"), services = Saved("/NetworkServices");
        CFRef<CFStringRef> current, newSet, added, setCopy, serviceCopy, currentAfter;
        ASSERT_EQ(MoreSCCopyCurrentSet(current.out()), noErr);
        std::vector<std::string> order = Order(current.get());

        applies = 0;
        StderrCapture warnings;  // the port name callback and the IPv4 builder warn
        ASSERT_EQ(MoreSCNewSet(CFSTR("Dial-up"), newSet.out()), noErr);
        EXPECT_EQ(applies, 1);
        const std::string setPath = "/Sets/" + Text(newSet.get());
        EXPECT_EQ(name(setPath), "Dial-up");
        EXPECT_EQ(Keys(Saved(setPath + "/Network/Global").get()), (std::vector<std::string>{"IPv4", "NetInfo"}));
        std::vector<std::string> described;
        for (const std::string& id : Order(newSet.get())) described.push_back(Describe(Saved("/NetworkServices/" + id).get()));
        EXPECT_EQ(described, newSetServices);
        ASSERT_EQ(MoreSCCopyCurrentSet(currentAfter.out()), noErr);
        EXPECT_TRUE(CFEqual(current.get(), currentAfter.get()));

        ASSERT_EQ(MoreSCNewService(current.get(), Port(kEthernetPort).get(), added.out()), noErr);
        ASSERT_EQ(MoreSCDuplicateSet(current.get(), CFSTR("Copy"), setCopy.out()), noErr);
        ASSERT_EQ(MoreSCDuplicateService(setCopy.get(), String(order[0]).get(), CFSTR("Renamed"), serviceCopy.out()),
                  noErr);

        // Each new service ID is one more than the one before.
        order.push_back(std::to_string(row.firstServiceID));
        EXPECT_EQ(Text(added.get()), order.back());
        EXPECT_EQ(Order(current.get()), order);
        EXPECT_EQ(Text(setCopy.get()), row.setCopyID);
        const std::vector<std::string> copies = Order(setCopy.get());
        ASSERT_EQ(copies.size(), order.size() + 1);
        for (std::size_t i = 0; i < order.size(); i++) {
            EXPECT_EQ(copies[i], std::to_string(row.firstServiceID + 1 + static_cast<int>(i)));
            EXPECT_TRUE(
                CFEqual(Saved("/NetworkServices/" + order[i]).get(), Saved("/NetworkServices/" + copies[i]).get()));
        }
        EXPECT_EQ(copies.back(), Text(serviceCopy.get()));
        EXPECT_EQ(name("/NetworkServices/" + copies.back()), "Renamed");
        EXPECT_EQ(name("/Sets/" + row.setCopyID), "Copy");

        // Changing a copy (to no entities) leaves its original as it was.
        EXPECT_EQ(MoreSCSetEntitiesDict(setCopy.get(), String(copies[0]).get(), Port({}).get()), noErr);
        ExpectKept(services.get(), Saved("/NetworkServices").get());
        ExpectKept(sets.get(), Saved("/Sets").get(), Text(current.get()));
    }
    SCDynamicStoreSetPublishObserverForTesting(nullptr, nullptr);
}

TEST_F(Create, FailuresLeaveTheStoreAsItWas) {
    // "NetworkServices" holds value; the services move aside.
    auto services = [](const std::string& value) {
        return Edited(kLinkedStore, "<key>NetworkServices</key><dict>",
                        "<key>NetworkServices</key>" + value + "<key>Aside</key><dict>");
    };
    // Set 0 also lists service 7, whose link points at nothing.
    const std::string dangling =
        Edited(kLinkedStore, SetXML("Automatic", {"3", "1", "2"}), SetXML("Automatic", {"3", "1", "2", "7=9"}));
    PortEntries badMAC = kEthernetPort, noDevice = kEthernetPort;
    badMAC.back().second = "00:0a:95";
    noDevice.erase(noDevice.begin() + 3);
    // The store, the operation ('n': new service, 's': duplicate set, 'v': duplicate service, 'S': new set, 'R':
    // new set with an unreadable registry), its status, its arguments (the port Ethernet's unless given). The registry's second port, an Ethernet interface with
    // no provider above its controller, cannot be named, so the new set is undone.
    const struct { std::string store; char operation; OSStatus status; CFStringRef setID = nullptr, serviceID = nullptr;
                   PortEntries port = kEthernetPort; } rows[] = {
        {kLinkedStore, 'n', kSCStatusNoKey, CFSTR("9")},
        {kLinkedStore, 'n', -1, CFSTR("0"), nullptr, badMAC},  // after every other entity was added
        {kLinkedStore, 'n', paramErr, CFSTR("0"), nullptr, noDevice},
        {services("<dict><key>2147483647</key><dict/></dict>"), 'n', kSCStatusFailed},
        {services("<string>x</string>"), 'n', kSCStatusFailed},
        {services("<dict><key>__LINK__</key><integer>5</integer></dict>"), 'n', kSCStatusFailed},
        {services("<dict><key>__LINK__</key><string>/NetworkServices</string></dict>"), 'n', kSCStatusMaxLink},
        {kLinkedStore, 's', kSCStatusNoKey, CFSTR("9")},
        {Edited(kLinkedStore, "ServiceOrder", "Order"), 's', coreFoundationUnknownErr, CFSTR("0")},
        {dangling, 's', kSCStatusNoKey, CFSTR("0")},  // after three copies were made
        {Edited(kLinkedStore, "<key>Sets</key><dict>", "<key>Sets</key><dict><key>2147483647</key><dict/>"), 's',
         kSCStatusFailed, CFSTR("0")},
        {kLinkedStore, 'v', kSCStatusNoKey, CFSTR("0"), CFSTR("9")},
        {kLinkedStore, 'v', kSCStatusNoKey, CFSTR("9"), CFSTR("1")},  // copied, then no set to join
        {kLinkedStore, 'S', -1},
        {kLinkedStore, 'R', kIOReturnError},
    };
    RegistrySnapshot registry;
    registry.AddInternalModem();
    registry.root().Add("IOEthernetInterface").String("BSD Name", "en1");
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        root_.writeStore(row.store);
        registry.Install(root_);
        if (row.operation == 'R') root_.write("/registry.plist", "<plist><dict>");
        const std::string before = FileText();
        CFRef<CFStringRef> id;
        // Inside a session that asks to save, whatever the failed operation
        // left behind would reach the file.
        StderrCapture reports;
        OSStatus outer = MoreSCOpen(false, false);
        EXPECT_EQ(row.operation == 'n'   ? MoreSCNewService(row.setID, Port(row.port).get(), id.out())
                  : row.operation == 's' ? MoreSCDuplicateSet(row.setID, CFSTR("Copy"), id.out())
                  : row.operation == 'v' ? MoreSCDuplicateService(row.setID, row.serviceID, CFSTR("Copy"), id.out())
                                         : MoreSCNewSet(CFSTR("Dial-up"), id.out()),
                  row.status);
        MoreSCClose(&outer, true);
        EXPECT_EQ(id.get(), nullptr);
        EXPECT_EQ(FileText(), before);
    }
}

}  // namespace
