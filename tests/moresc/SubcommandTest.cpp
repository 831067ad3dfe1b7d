// Every subcommand end to end on a test root: its output, exit status and
// message, and the store's bytes afterwards (exactly the expected change,
// or untouched when it fails or has nothing to do).
#include <gtest/gtest.h>

#include <functional>

#include "platform/posix/FileLock.h"
#include "support/ProgramHarness.h"
#include "support/RegistrySnapshot.h"

namespace {

// Four sets: 1 "Home" (current: services 10, 11), 2 "Office" (12, 10),
// 3 "Office" (none) and 4, named "2" (none). Services 10 and 12 are both
// called "Ethernet"; 11 "Wi-Fi" is inactive; 12 has no "Interface".
// AppleTalk is inactive on 10 and active on 11.
const char kSets[] = "four-sets.plist";
const char kIMac[] = "imac-ethernet-pac.plist";  // one set, two services
const char kMacBook[] = "macbook-air-http-proxy-ppp.plist";
const char kBinary[] = "ios-binary.plist";
const char kCorrupt[] = "(corrupt)";
const char kNone[] = "(no store)";

const std::string kXMLHeader =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";
const std::string kProxyEntity = kXMLHeader +
                                 "<dict>\n\t<key>HTTPEnable</key>\n\t<integer>1</integer>\n"
                                 "\t<key>HTTPProxy</key>\n\t<string>proxy.example.com</string>\n</dict>\n</plist>\n";

std::string StoreText(const std::string& name) {
    if (name == kCorrupt) return "<?xml version=\"1.0\"?><plist><dict><key>Sets</key>";
    if (name == kSets) return TempRoot::ReadFile(std::string(MORESC_TEST_DATA_DIR) + "/" + name);
    return TempRoot::ReadFile(std::string(TARNWICK_STORES_DIR) + "/" + name);
}

using Root = const Value&;
using StoreEdit = std::function<void(Root root)>;

const std::vector<std::string> kOrder = {"Network", "Global", "IPv4", "ServiceOrder"};
std::vector<std::string> InSet(const std::string& setID, std::vector<std::string> path) {
    path.insert(path.begin(), {"Sets", setID});
    return path;
}

// Links a service into a set, last in its order.
void Link(Root root, const std::string& setID, const std::string& serviceID) {
    Put(root, InSet(setID, {"Network", "Service", serviceID}), Dict({{"__LINK__", Str("/NetworkServices/" + serviceID)}}));
    CFArrayAppendValue(ArrayAt(root, InSet(setID, kOrder)), Str(serviceID).get());
}

struct Case {
    const char* label;
    const char* store;
    std::vector<std::string> args;
    int exitStatus;
    std::string out;
    std::string message;     // moresc's one error line, after "moresc: "; "" for none
    StoreEdit edit;          // nullptr: the store stays as it was
    std::string input = "";  // standard input
    // New parts of the store, such as a new service: what the library puts
    // in them is its own affair, so they are taken as made, and a moresc
    // listing of them (the command and its output) is checked instead.
    std::vector<std::vector<std::string>> made = {};
    std::vector<std::string> listing = {};
    std::string listed = "";
    const char* registry = nullptr;  // the registry's text instead of the four ports; "": no ports
};

void PrintTo(const Case& row, std::ostream* os) { *os << row.label; }

const std::string kIMacSet = "6D42B046-97E7-49F6-88CF-2A2600BFB6E1";
const std::string kMacBookWiFi = "622D9F75-98F0-4AF1-8FFC-C5A27462B0B6";
const std::string kMacBookSet = "56D66480-1EAF-4104-9CDD-62959C438593";
// The first IDs made under a parent whose keys are not numbers.
const std::string kFirstID = "-2147483647", kSecondID = "-2147483646", kThirdID = "-2147483645",
                  kFourthID = "-2147483644";
// A new set in such a store, with a service for each of the four ports.
const std::vector<std::vector<std::string>> kNewSetParts = {{"Sets", kFirstID}, {"NetworkServices", kFirstID},
    {"NetworkServices", kSecondID}, {"NetworkServices", kThirdID}, {"NetworkServices", kFourthID}};

// The ports of the registry every case runs with (en0, AirPort, two modems).
const std::string kPorts =
    "name: Internal Modem\nhardware: Modem\ndevice: modem\nmac: -\n\n"
    "name: USB Modem\nhardware: Modem\ndevice: usbmodem1411\nmac: -\n\n"
    "name: Built-in Ethernet\nhardware: Ethernet\ndevice: en0\nmac: 00:0a:95:9d:68:16\n\n"
    "name: AirPort\nhardware: AirPort\ndevice: en1\nmac: 00:30:65:01:02:03\n\n";

const Case kCases[] = {
    // Sets.
    {"Sets", kSets, {"sets"}, 0, "1\tcurrent\tHome\n2\t-\tOffice\n3\t-\tOffice\n4\t-\t2\n", "", nullptr},
    {"SetsOfNoStore", kNone, {"sets"}, 0, "", "", nullptr},
    {"SetsOfCorruptStore", kCorrupt, {"sets"}, 1, "", "sets: MoreSCOpen failed with status 1001 (kSCStatusFailed)",
     nullptr},
    {"CurrentSet", kIMac, {"current-set"}, 0, kIMacSet + "\tAutomatic\n", "", nullptr},
    {"SwitchSetByID", kSets, {"switch-set", "3"}, 0, "", "",
     [](Root root) { Put(root, {"CurrentSet"}, Str("/Sets/3")); }},
    {"SwitchSetIDBeforeName", kSets, {"switch-set", "2"}, 0, "", "",
     [](Root root) { Put(root, {"CurrentSet"}, Str("/Sets/2")); }},
    {"SwitchSetAmbiguous", kSets, {"switch-set", "Office"}, 1, "",
     "switch-set: \"Office\" names 2 sets: 2, 3 (give one of these IDs)", nullptr},
    {"RenameSetByName", kIMac, {"rename-set", "Automatic", "Büro"}, 0, "", "",
     [](Root root) { Put(root, {"Sets", kIMacSet, "UserDefinedName"}, Str("Büro")); }},
    {"RenameSetToNothing", kSets, {"rename-set", "Home", ""}, 2, "", "rename-set: a name cannot be empty", nullptr},
    {"DeleteSetCollectsItsServices", kSets, {"delete-set", "2"}, 0, "", "",
     [](Root root) { Put(root, {"Sets", "2"}, nullptr), Put(root, {"NetworkServices", "12"}, nullptr); }},
    {"DuplicateSetWithItsServices", kSets, {"duplicate-set", "Home", "Copy"}, 0, "5\n", "", [](Root) {}, "",
     {{"Sets", "5"}, {"NetworkServices", "13"}, {"NetworkServices", "14"}}, {"services", "Copy"},
     "13\tactive\ten0\tEthernet\n14\tinactive\ten1\tWi-Fi\n"},
    {"NewSetInRealStore", kIMac, {"new-set", "Lab"}, 0, kFirstID + "\n", "", [](Root) {}, "", kNewSetParts,
     {"services", "Lab"},
     kFirstID + "\tactive\tmodem\tInternal Modem\n" + kSecondID + "\tactive\tusbmodem1411\tUSB Modem\n" + kThirdID +
         "\tactive\ten0\tBuilt-in Ethernet\n" + kFourthID + "\tactive\ten1\tAirPort\n"},
    {"NewDialupSetOnEthernet", kSets, {"new-dialup-set", "Dial", "en0"}, 1, "",
     "new-dialup-set: the network port of the device \"en0\" is not a modem", nullptr},

    // Services.
    {"Services", kSets, {"services"}, 0, "10\tactive\ten0\tEthernet\n11\tinactive\ten1\tWi-Fi\n", "", nullptr},
    {"ServicesOfSet", kSets, {"services", "2"}, 0, "12\tactive\t-\tEthernet\n10\tactive\ten0\tEthernet\n", "", nullptr},
    {"EnableService", kSets, {"enable-service", "Wi-Fi"}, 0, "", "",
     [](Root root) { Put(root, {"NetworkServices", "11", "__INACTIVE__"}, nullptr); }},
    {"DisableServiceWithSetOption", kSets, {"disable-service", "--set", "Home", "Ethernet"}, 0, "", "",
     [](Root root) { Put(root, {"NetworkServices", "10", "__INACTIVE__"}, Number(1)); }},
    {"RenameService", kMacBook, {"rename-service", "Wi-Fi", "WLAN"}, 0, "", "",
     [](Root root) { Put(root, {"NetworkServices", kMacBookWiFi, "UserDefinedName"}, Str("WLAN")); }},
    {"RenameServiceAmbiguous", kSets, {"rename-service", "--set=2", "Ethernet", "LAN"}, 1, "",
     "rename-service: \"Ethernet\" names 2 services of set 2: 12, 10 (give one of these IDs)", nullptr},
    {"RenameServiceOfOtherSet", kSets, {"rename-service", "12", "LAN"}, 1, "",
     "rename-service: no service of the current set has the ID or name \"12\"", nullptr},
    {"RenameServiceInUnknownSet", kSets, {"rename-service", "--set", "Lab", "10", "LAN"}, 1, "",
     "rename-service: no set has the ID or name \"Lab\"", nullptr},
    {"DeleteSharedServiceKeepsIt", kSets, {"delete-service", "Ethernet"}, 0, "", "",
     [](Root root) {
         Put(root, InSet("1", {"Network", "Service", "10"}), nullptr);
         CFArrayRemoveValueAtIndex(ArrayAt(root, InSet("1", kOrder)), 0);  // Home's order is 10, 11
     }},
    {"DuplicateServiceInRealStore", kMacBook, {"duplicate-service", "Wi-Fi", "WLAN"}, 0, kFirstID + "\n", "",
     [](Root root) {
         Put(root, {"NetworkServices", kFirstID}, CopyAt(root, {"NetworkServices", kMacBookWiFi}));
         Put(root, {"NetworkServices", kFirstID, "UserDefinedName"}, Str("WLAN"));
         Link(root, kMacBookSet, kFirstID);
     }},
    {"NewServiceInOtherSet", kSets, {"new-service", "--set=2", "en1"}, 0, "13\n", "",
     [](Root root) { Link(root, "2", "13"); }, "", {{"NetworkServices", "13"}}, {"services", "2"},
     "12\tactive\t-\tEthernet\n10\tactive\ten0\tEthernet\n13\tactive\ten1\tAirPort\n"},
    {"NewServiceForNoPort", kSets, {"new-service", "en7"}, 1, "",
     "new-service: no network port has the device \"en7\"", nullptr},

    // Entities.
    {"Entity", kSets, {"entity", "Ethernet", "Proxies"}, 0,
     kXMLHeader + "<dict>\n\t<key>HTTPEnable</key>\n\t<integer>0</integer>\n</dict>\n</plist>\n", "", nullptr},
    {"EntityMissing", kSets, {"entity", "Wi-Fi", "Proxies"}, 1, "",
     "entity: MoreSCCopyEntity failed with status 1004 (kSCStatusNoKey)", nullptr},
    {"EntityNotAProtocol", kSets, {"entity", "10", "UserDefinedName"}, 2, "",
     "entity: \"UserDefinedName\" is a key of the service, not a protocol", nullptr},
    {"SetEntityFromStandardInput", kSets, {"set-entity", "Wi-Fi", "Proxies", "-"}, 0, "", "",
     [](Root root) { Put(root, {"NetworkServices", "11", "Proxies"}, Parsed(kProxyEntity)); },
     kProxyEntity},
    {"SetEntityBinaryInput", kSets, {"set-entity", "10", "Proxies", "-"}, 2, "",
     "set-entity: standard input is a binary property list; give the entity as XML", nullptr,
     Encoded(Parsed(kProxyEntity), PropertyListFormat::Binary)},
    {"SetEntityArrayInput", kSets, {"set-entity", "10", "Proxies", "-"}, 2, "",
     "set-entity: standard input is not a property list whose root is a dictionary", nullptr,
     "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<array/>\n</plist>\n"},
    {"SetEntityMissingFile", kSets, {"set-entity", "10", "Proxies", "/nonexistent/proxies.plist"}, 1, "",
     "set-entity: cannot read /nonexistent/proxies.plist: No such file or directory", nullptr},
    {"SetEntityPathAsProtocol", kSets, {"set-entity", "10", "Proxies/HTTPProxy", "-"}, 2, "",
     "set-entity: \"Proxies/HTTPProxy\" is not a protocol name", nullptr, kProxyEntity},

    // Ports and helpers.
    {"Ports", kNone, {"ports"}, 0, kPorts, "", nullptr},
    {"AppleTalkOffWhereOnlyInactiveServiceHasIt", kSets, {"appletalk"}, 0, "off\n", "", nullptr},
    {"AppleTalkOn", kSets, {"appletalk", "on"}, 0, "", "",
     [](Root root) { Put(root, {"NetworkServices", "10", "AppleTalk", "__INACTIVE__"}, nullptr); }},
    {"AppleTalkBadState", kSets, {"appletalk", "yes"}, 2, "", "appletalk: \"yes\" is neither on nor off", nullptr},
    {"DHCPServices", kMacBook, {"dhcp-services"}, 0,
     "3896F922-5883-4D53-AC38-CEDEC0DAAAF3\tBluetooth PAN\n" + kMacBookWiFi + "\tWi-Fi\n", "", nullptr},
    {"NewDialupSetInBinaryStore", kBinary, {"new-dialup-set", "Dial", "usbmodem1411"}, 0, kFirstID + "\n", "",
     [](Root) {}, "", kNewSetParts, {"services", "Dial"},
     kFirstID + "\tinactive\tmodem\tInternal Modem\n" + kSecondID + "\tactive\tusbmodem1411\tUSB Modem\n" +
         kThirdID + "\tinactive\ten0\tBuilt-in Ethernet\n" + kFourthID + "\tinactive\ten1\tAirPort\n"},
    {"DHCPReleaseEndsAsItBegan", kIMac, {"dhcp-release", "Ethernet"}, 0, "", "", [](Root) {}},
    {"NewDialupSetWithoutModems", kSets, {"new-dialup-set", "Dial"}, 1, "",
     "new-dialup-set: no network port is a modem", nullptr, "", {}, {}, "", ""},
    {"PortsOfUnreadableRegistry", kSets, {"ports"}, 1, "",
     "ports: MoreSCCreatePortArray failed with status -536870212 (kIOReturnError)", nullptr, "", {}, {}, "",
     "not a registry"},
};

class MorescSubcommandTest : public testing::TestWithParam<Case> {};

TEST_P(MorescSubcommandTest, OutputStatusAndStore) {
    const Case& row = GetParam();
    TempRoot root;
    RegistrySnapshot registry;
    if (!row.registry)
        registry.AddBuiltInEthernet(), registry.AddAirPort(), registry.AddInternalModem(), registry.AddUSBModem("");
    registry.Install(root);
    if (row.registry && *row.registry) root.write("/registry.plist", row.registry);
    std::string before = row.store == std::string(kNone) ? "" : StoreText(row.store);
    if (row.store != std::string(kNone)) root.writeStore(before);

    ProgramRun run = RunMoresc(root, row.args, row.input);
    EXPECT_EQ(run.exitStatus, row.exitStatus);
    EXPECT_EQ(run.out, row.out);
    if (row.message.empty()) {
        EXPECT_EQ(run.err, "");
    } else {
        // One line of moresc's own, the last; the library may report before it.
        EXPECT_TRUE(run.err.ends_with("\n")) << run.err;
        std::string last = run.err.substr(run.err.rfind('\n', run.err.size() - 2) + 1);
        EXPECT_TRUE(last.starts_with("moresc: " + row.message)) << run.err;
        EXPECT_EQ(run.err.find("moresc: "), run.err.rfind("moresc: ")) << run.err;
    }
    if (row.store == std::string(kNone)) {
        EXPECT_FALSE(std::filesystem::exists(root.storePath()));
    } else if (std::string after = TempRoot::ReadFile(root.storePath()); !row.edit) {
        EXPECT_EQ(after, before);
    } else {
        // The store as read, edited, and written back in its own format.
        PropertyListFormat format;
        Value tree = Parsed(before, &format), made = Parsed(after);
        row.edit(tree);
        for (const auto& path : row.made) Put(tree, path, CopyAt(made, path));
        EXPECT_EQ(after, Encoded(tree, format));
    }
    EXPECT_EQ(row.listing.empty() ? "" : RunMoresc(root, row.listing).out, row.listed);
}

INSTANTIATE_TEST_SUITE_P(Stores, MorescSubcommandTest, testing::ValuesIn(kCases),
                         [](const testing::TestParamInfo<Case>& info) { return std::string(info.param.label); });

// A DHCP release hands the system two configurations, one after the other.
TEST(MorescDHCPTest, ReleaseAppliesTwice) {
    TempRoot root;
    root.installStore(kIMac);
    EXPECT_EQ(RunMoresc(root, {"dhcp-release", "Ethernet"}).exitStatus, 0);
    std::string applied = TempRoot::ReadFile(root.path() / "var/run/SystemConfiguration/preferences.plist");
    EXPECT_NE(applied.find("<!-- generation 2 -->"), std::string::npos) << applied.substr(0, 100);
}

// A change the running system cannot take is saved, and said to be so,
// with an exit status of its own.
TEST(MorescApplyTest, ASavedChangeTheSystemCannotTakeIsSavedButNotApplied) {
    TempRoot root;
    root.writeStore(StoreText(kSets));
    root.write("/var/run/SystemConfiguration/preferences.plist/in-the-way", "");
    ProgramRun run = RunMoresc(root, {"switch-set", "3"});
    EXPECT_EQ(run.exitStatus, 3);
    EXPECT_TRUE(run.err.starts_with("SCPreferences: " + root.storePath().string() + ": saved, but not applied: "))
        << run.err;
    EXPECT_NE(run.err.find("\nmoresc: switch-set: saved, but not applied: 2002 (kSCStatusNoStoreServer): "),
              std::string::npos) << run.err;
    EXPECT_EQ(RunMoresc(root, {"current-set"}).out, "3\tOffice\n");
}

// A store that another program holds locked can be read, but not changed.
TEST(MorescLockTest, LockedStoreIsReadButNotChanged) {
    TempRoot root;
    std::string before = StoreText(kSets);
    root.writeStore(before);
    FileLock lock;
    int error = 0;
    ASSERT_EQ(lock.lock(root.storePath().string() + ".lock", false, &error), FileLock::Result::Locked);

    ProgramRun read = RunMoresc(root, {"current-set"});
    EXPECT_EQ(read.exitStatus, 0);
    EXPECT_EQ(read.out, "1\tHome\n");

    ProgramRun change = RunMoresc(root, {"rename-set", "3", "Lab"});
    EXPECT_EQ(change.exitStatus, 1);
    EXPECT_TRUE(change.err.starts_with("moresc: rename-set: MoreSCOpen failed with status 3002")) << change.err;
    EXPECT_EQ(TempRoot::ReadFile(root.storePath()), before);
}

}  // namespace
