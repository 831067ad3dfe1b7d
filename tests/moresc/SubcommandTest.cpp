// Every subcommand end to end on a test root: its output, exit status and
// message, and the store's bytes afterwards (exactly the expected change,
// or untouched when it fails or has nothing to do).
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <thread>
#include <set>

#include "platform/posix/FileLock.h"
#include "platform/systemconfiguration/SCPreferences.h"
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
// The four sets with more: set -2147483646 "Spare" and set 5 "Home copy"
// (both without services); service 11 has a manual IPv4 entity with a
// client ID and a key "Extra", service 10 a DNS entity with a server and a
// search domain.
const char kOdd[] = "(more sets and settings)";
// The four sets, binary, with set 3 called "Lab<tab>A<newline>B<escape>".
const char kControlNames[] = "(control characters in a name)";
const char kNoCurrentSet[] = "(no current set)";
const char kUnlinked[] = "(set 2 lists an unlinked service)";

const std::string kXMLHeader =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";
const std::string kProxyEntity = kXMLHeader +
                                 "<dict>\n\t<key>HTTPEnable</key>\n\t<integer>1</integer>\n"
                                 "\t<key>HTTPProxy</key>\n\t<string>proxy.example.com</string>\n</dict>\n</plist>\n";

using Root = const Value&;
using StoreEdit = std::function<void(Root root)>;

const std::vector<std::string> kOrder = {"Network", "Global", "IPv4", "ServiceOrder"};
std::vector<std::string> InSet(const std::string& setID, std::vector<std::string> path) {
    path.insert(path.begin(), {"Sets", setID});
    return path;
}
std::vector<std::string> InService(const std::string& serviceID, std::vector<std::string> path) {
    path.insert(path.begin(), {"NetworkServices", serviceID});
    return path;
}
Value Strings(const std::vector<std::string>& texts) {
    std::vector<Value> values;
    for (const std::string& text : texts) values.push_back(Str(text));
    return Array(values);
}

std::string StoreText(const std::string& name) {
    if (name == kCorrupt) return "<?xml version=\"1.0\"?><plist><dict><key>Sets</key>";
    if (name == kSets) return TempRoot::ReadFile(std::string(MORESC_TEST_DATA_DIR) + "/" + name);
    if (name != kOdd && name != kControlNames && name != kNoCurrentSet && name != kUnlinked) {
        return TempRoot::ReadFile(std::string(TARNWICK_STORES_DIR) + "/" + name);
    }
    Value store = Parsed(StoreText(kSets));
    if (name == kNoCurrentSet) Put(store, {"CurrentSet"}, nullptr);
    if (name == kUnlinked) CFArrayAppendValue(ArrayAt(store, InSet("2", kOrder)), Str("77").get());
    if (name == kControlNames) {
        // Binary: an XML property list cannot carry the escape character.
        Put(store, {"Sets", "3", "UserDefinedName"}, Str("Lab\tA\nB\x1b"));
        return Encoded(store, PropertyListFormat::Binary);
    }
    if (name == kOdd) {
        for (const auto& [id, setName] : {std::pair{"-2147483646", "Spare"}, {"5", "Home copy"}}) {
            Put(store, {"Sets", id}, CopyAt(store, {"Sets", "4"}));
            Put(store, {"Sets", id, "UserDefinedName"}, Str(setName));
        }
        Put(store, InService("11", {"IPv4"}),
            Dict({{"ConfigMethod", Str("Manual")}, {"Addresses", Strings({"10.0.0.2"})},
                  {"SubnetMasks", Strings({"255.0.0.0"})}, {"Router", Str("10.0.0.1")},
                  {"DHCPClientID", Str("client")}, {"Extra", Str("kept")}}));
        Put(store, InService("10", {"DNS"}),
            Dict({{"ServerAddresses", Strings({"9.9.9.9"})}, {"SearchDomains", Strings({"old.example"})}}));
    }
    return Encoded(store);
}

// An edit that puts value at path; nil removes what is there.
StoreEdit At(const std::vector<std::string>& path, const Value& value) {
    return [=](Root root) { Put(root, path, value); };
}
// An edit that sets keys of a service's entity to their values.
StoreEdit EntityKeys(const std::string& service, const std::string& entity,
                     const std::vector<std::pair<std::string, Value>>& keys) {
    return [=](Root root) {
        for (const auto& [key, value] : keys) Put(root, InService(service, {entity, key}), value);
    };
}

// Links a service into a set, last in its order.
void Link(Root root, const std::string& setID, const std::string& serviceID) {
    Put(root, InSet(setID, {"Network", "Service", serviceID}),
        Dict({{"__LINK__", Str("/NetworkServices/" + serviceID)}}));
    CFArrayAppendValue(ArrayAt(root, InSet(setID, kOrder)), Str(serviceID).get());
}

struct Case {
    const char* label;
    const char* store;
    std::vector<std::string> args;
    int exitStatus;
    std::string message;       // moresc's one error line, after "moresc: SUBCOMMAND: "; "" for none
    std::string out = "";
    StoreEdit edit = nullptr;  // nullptr: the store stays as it was
    std::string input = "";    // standard input
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
const std::string kMacBookDUN = "4A73E068-DCE3-46C3-98EE-991526FF151A";
const std::string kMacBookPAN = "3896F922-5883-4D53-AC38-CEDEC0DAAAF3";
const std::string kIMacEthernet = "1838D499-D1F7-4102-909F-EDFB6C16897B";
const std::string kBinaryWiFi = "DB914B7E-ED15-483C-9FD8-82A614874711";
// The first IDs made under a parent whose keys are not numbers.
const std::string kFirstID = "-2147483647", kSecondID = "-2147483646", kThirdID = "-2147483645",
                  kFourthID = "-2147483644";
// A new set in such a store, with a service for each of the four ports.
const std::vector<std::vector<std::string>> kNewSetParts = {{"Sets", kFirstID}, {"NetworkServices", kFirstID},
    {"NetworkServices", kSecondID}, {"NetworkServices", kThirdID}, {"NetworkServices", kFourthID}};
// Its listing: every service active, or, in a dial-up set, the USB modem's
// alone.
std::string NewSetListing(bool dialup) {
    const std::string on = "\tactive\t", off = dialup ? "\tinactive\t" : on;
    return kFirstID + off + "modem\tInternal Modem\n" + kSecondID + on + "usbmodem1411\tUSB Modem\n" + kThirdID + off +
           "en0\tBuilt-in Ethernet\n" + kFourthID + off + "en1\tAirPort\n";
}

// The MacBook's Wi-Fi service copied under name, last in its set.
StoreEdit WiFiCopied(const std::string& name) {
    return [name](Root root) {
        Put(root, {"NetworkServices", kFirstID}, CopyAt(root, {"NetworkServices", kMacBookWiFi}));
        Put(root, {"NetworkServices", kFirstID, "UserDefinedName"}, Str(name));
        Link(root, kMacBookSet, kFirstID);
    };
}

// The ports of the registry every case runs with (en0, AirPort, two modems).
const std::string kPorts =
    "name: Internal Modem\nhardware: Modem\ndevice: modem\nmac: -\n\n"
    "name: USB Modem\nhardware: Modem\ndevice: usbmodem1411\nmac: -\n\n"
    "name: Built-in Ethernet\nhardware: Ethernet\ndevice: en0\nmac: 00:0a:95:9d:68:16\n\n"
    "name: AirPort\nhardware: AirPort\ndevice: en1\nmac: 00:30:65:01:02:03\n\n";

const Case kCases[] = {
    // Sets.
    {"SetsOfNoStore", kNone, {"sets"}, 1, "no preferences store at "},
    {"SwitchSetOfNoStoreMakesNothing", kNone, {"switch-set", "1"}, 1, "no preferences store at "},
    {"NewSetMakesTheStoreWithCreate", kNone, {"new-set", "--create", "Lab"}, 0, "", kFirstID + "\n", [](Root) {}, "",
     {{"Sets"}, {"NetworkServices"}}, {"services", "Lab"}, NewSetListing(false)},
    {"SetsJson", kSets, {"sets", "--json"}, 0, "",
     "[\n  {\n    \"current\": true,\n    \"id\": \"1\",\n    \"name\": \"Home\"\n  },\n  {\n    \"current\": false,\n"
     "    \"id\": \"2\",\n    \"name\": \"Office\"\n  },\n  {\n    \"current\": false,\n    \"id\": \"3\",\n"
     "    \"name\": \"Office\"\n  },\n  {\n    \"current\": false,\n    \"id\": \"4\",\n    \"name\": \"2\"\n  }\n]\n"},
    {"SetsWithControlCharactersEscaped", kControlNames, {"sets"}, 0, "",
     "1\tcurrent\tHome\n2\t-\tOffice\n3\t-\tLab\\tA\\nB\\x1b\n4\t-\t2\n"},
    {"ServicesWithoutCurrentSet", kNoCurrentSet, {"services"}, 1,
     "the store has no current set (\"moresc switch-set\" makes one current)"},
    {"SetsOfCorruptStore", kCorrupt, {"sets"}, 1, "MoreSCOpen failed with status 1001 (kSCStatusFailed)"},
    {"SwitchSetIDBeforeName", kSets, {"switch-set", "2"}, 0, "", "", At({"CurrentSet"}, Str("/Sets/2"))},
    {"SwitchSetAmbiguous", kSets, {"switch-set", "Office"}, 1, "\"Office\" names 2 sets: 2, 3 (give one of these IDs)"},
    {"RenameSetByName", kIMac, {"rename-set", "Automatic", "Büro"}, 0, "", "",
     At({"Sets", kIMacSet, "UserDefinedName"}, Str("Büro"))},
    {"RenameSetToNothing", kSets, {"rename-set", "Home", ""}, 2, "a name cannot be empty"},
    {"RenameSetOntoTakenName", kSets, {"rename-set", "3", "Home"}, 1,
     "a set is already called \"Home\" (ID 1); give another name, or --allow-duplicate"},
    {"RenameSetOntoTakenNameAllowed", kSets, {"rename-set", "--allow-duplicate", "3", "Home"}, 0, "", "",
     At({"Sets", "3", "UserDefinedName"}, Str("Home"))},
    {"RenameSetToItsOwnName", kSets, {"rename-set", "1", "Home"}, 0, ""},
    {"NewSetWithTakenName", kIMac, {"new-set", "Automatic"}, 1,
     "a set is already called \"Automatic\" (ID " + kIMacSet + ")"},
    {"DeleteCurrentSet", kSets, {"delete-set", "Home"}, 1, "set 1 is the current set; switch to another set first"},
    {"DeleteSetByNegativeID", kOdd, {"delete-set", "-2147483646"}, 0, "", "", At({"Sets", "-2147483646"}, nullptr)},
    {"DeleteSetWhereASetListsAnUnlinkedService", kUnlinked, {"delete-set", "3"}, 1,
     "set 2 lists \"77\" in its service order, but has no link to such a service"},
    {"DuplicateSetGetsAFreeName", kOdd, {"duplicate-set", "Home"}, 0, "", "6\n", [](Root) {}, "",
     {{"Sets", "6"}, {"NetworkServices", "13"}, {"NetworkServices", "14"}}, {"services", "Home copy 2"},
     "13\tactive\ten0\tEthernet\n14\tinactive\ten1\tWi-Fi\n"},
    {"DeleteSetCollectsItsServices", kSets, {"delete-set", "2"}, 0, "", "",
     [](Root root) { Put(root, {"Sets", "2"}, nullptr), Put(root, {"NetworkServices", "12"}, nullptr); }},
    {"DuplicateSetWithItsServices", kSets, {"duplicate-set", "Home", "Copy"}, 0, "", "5\n", [](Root) {}, "",
     {{"Sets", "5"}, {"NetworkServices", "13"}, {"NetworkServices", "14"}}, {"services", "Copy"},
     "13\tactive\ten0\tEthernet\n14\tinactive\ten1\tWi-Fi\n"},
    {"NewDialupSetOnEthernet", kSets, {"new-dialup-set", "Dial", "en0"}, 1,
     "the network port of the device \"en0\" is not a modem"},

    // Services.
    {"ServicesOfSet", kSets, {"services", "2"}, 0, "", "12\tactive\t-\tEthernet\n10\tactive\ten0\tEthernet\n"},
    {"EnableService", kSets, {"enable-service", "Wi-Fi"}, 0, "", "",
     At({"NetworkServices", "11", "__INACTIVE__"}, nullptr)},
    {"DisableServiceWithSetOption", kSets, {"disable-service", "--set", "Home", "Ethernet"}, 0, "", "",
     At({"NetworkServices", "10", "__INACTIVE__"}, Number(1))},
    {"RenameService", kMacBook, {"rename-service", "Wi-Fi", "WLAN"}, 0, "", "",
     At({"NetworkServices", kMacBookWiFi, "UserDefinedName"}, Str("WLAN"))},
    {"RenameServiceAmbiguous", kSets, {"rename-service", "--set=2", "Ethernet", "LAN"}, 1,
     "\"Ethernet\" names 2 services of set 2: 12, 10 (give one of these IDs)"},
    {"RenameServiceOntoTakenName", kMacBook, {"rename-service", "Wi-Fi", "Bluetooth PAN"}, 1,
     "a service of the current set is already called \"Bluetooth PAN\" (ID " + kMacBookPAN + ")"},
    {"DuplicateServiceGetsAFreeName", kMacBook, {"duplicate-service", "Wi-Fi"}, 0, "", kFirstID + "\n",
     WiFiCopied("Wi-Fi copy")},
    {"NewServiceWithTakenName", kSets, {"new-service", "en1", "Ethernet"}, 1,
     "a service of the current set is already called \"Ethernet\" (ID 10)"},
    {"OrderServices", kMacBook, {"order-services", "Wi-Fi", kMacBookPAN, "Bluetooth DUN"}, 0, "", "",
     At(InSet(kMacBookSet, kOrder), Strings({kMacBookWiFi, kMacBookPAN, kMacBookDUN}))},
    {"OrderServicesOfOtherSet", kSets, {"order-services", "--set", "2", "10", "12"}, 0, "", "",
     At(InSet("2", kOrder), Strings({"10", "12"}))},
    {"OrderServicesLeavingOneOut", kMacBook, {"order-services", "Wi-Fi", "Bluetooth DUN"}, 2,
     "the order leaves out service " + kMacBookPAN},
    {"OrderServicesNamingOneTwice", kSets, {"order-services", "10", "Ethernet", "11"}, 2,
     "\"Ethernet\" names service 10, which is already in the order"},
    {"OrderServicesNamingAnUnknownOne", kSets, {"order-services", "10", "11", "12"}, 1,
     "no service of the current set has the ID or name \"12\""},
    {"RenameServiceInUnknownSet", kSets, {"rename-service", "--set", "Lab", "10", "LAN"}, 1,
     "no set has the ID or name \"Lab\""},
    {"DeleteSharedServiceKeepsIt", kSets, {"delete-service", "Ethernet"}, 0, "", "", [](Root root) {
         Put(root, InSet("1", {"Network", "Service", "10"}), nullptr);
         CFArrayRemoveValueAtIndex(ArrayAt(root, InSet("1", kOrder)), 0);  // Home's order is 10, 11
     }},
    {"DuplicateServiceInRealStore", kMacBook, {"duplicate-service", "Wi-Fi", "WLAN"}, 0, "", kFirstID + "\n",
     WiFiCopied("WLAN")},
    {"NewServiceInOtherSet", kSets, {"new-service", "--set=2", "en1"}, 0, "", "13\n",
     [](Root root) { Link(root, "2", "13"); }, "", {{"NetworkServices", "13"}}, {"services", "2"},
     "12\tactive\t-\tEthernet\n10\tactive\ten0\tEthernet\n13\tactive\ten1\tAirPort\n"},
    {"NewServiceForNoPort", kSets, {"new-service", "en7"}, 1, "no network port has the device \"en7\""},

    // Entities.
    {"Entity", kSets, {"entity", "Ethernet", "Proxies"}, 0, "",
     kXMLHeader + "<dict>\n\t<key>HTTPEnable</key>\n\t<integer>0</integer>\n</dict>\n</plist>\n"},
    {"EntityMissing", kSets, {"entity", "Wi-Fi", "Proxies"}, 1, "service 11 has no \"Proxies\" entity"},
    {"EntityNotAProtocol", kSets, {"entity", "10", "UserDefinedName"}, 2,
     "\"UserDefinedName\" is a key of the service, not a protocol"},
    {"SetEntityFromStandardInput", kSets, {"set-entity", "Wi-Fi", "Proxies", "-"}, 0, "", "",
     At({"NetworkServices", "11", "Proxies"}, Parsed(kProxyEntity)), kProxyEntity},
    {"SetEntityBinaryInput", kSets, {"set-entity", "10", "Proxies", "-"}, 2,
     "standard input is a binary property list; give the entity as XML", "", nullptr,
     Encoded(Parsed(kProxyEntity), PropertyListFormat::Binary)},
    {"SetEntityArrayInput", kSets, {"set-entity", "10", "Proxies", "-"}, 2,
     "standard input is not a property list whose root is a dictionary", "", nullptr,
     "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n<array/>\n</plist>\n"},
    {"SetEntityMissingFile", kSets, {"set-entity", "10", "Proxies", "/nonexistent/proxies.plist"}, 1,
     "cannot read /nonexistent/proxies.plist: No such file or directory"},
    {"SetEntityPathAsProtocol", kSets, {"set-entity", "10", "Proxies/HTTPProxy", "-"}, 2,
     "\"Proxies/HTTPProxy\" is not a protocol name", "", nullptr, kProxyEntity},

    // Proxies, IPv4 and DNS.
    {"Proxies", kMacBook, {"proxies", "Wi-Fi"}, 0, "",
     "ExceptionsList\t*.local\t169.254/16\nFTPPassive\t1\nHTTPEnable\t1\nHTTPPort\t8080\nHTTPProxy\t127.0.0.1\n"},
    {"ProxiesOfServiceWithoutThem", kSets, {"proxies", "Wi-Fi"}, 0, ""},
    {"Info", kMacBook, {"info", "Wi-Fi"}, 0, "",
     "id\t" + kMacBookWiFi + "\nname\tWi-Fi\nactive\tyes\ndevice\ten0\nipv4\tDHCP\nweb-proxy\ton\t127.0.0.1\t8080\n"
     "bypass\t*.local\t169.254/16\n"},
    {"InfoOfManualService", kOdd, {"info", "Wi-Fi"}, 0, "",
     "id\t11\nname\tWi-Fi\nactive\tno\ndevice\ten1\nipv4\tManual\naddresses\t10.0.0.2\nsubnet-masks\t255.0.0.0\n"
     "router\t10.0.0.1\n"},
    {"SetWebProxyKeepsTheOtherKeys", kIMac, {"set-proxy", "Ethernet", "web", "proxy.example.com", "8080"}, 0, "", "",
     EntityKeys(kIMacEthernet, "Proxies",
                {{"HTTPEnable", Number(1)}, {"HTTPProxy", Str("proxy.example.com")}, {"HTTPPort", Number(8080)}})},
    {"SetSocksProxyInBinaryStore", kBinary, {"set-proxy", "--set", "Automatic", "Wi-Fi", "socks", "fd00::1", "1080"},
     0, "", "", EntityKeys(kBinaryWiFi, "Proxies",
                           {{"SOCKSEnable", Number(1)}, {"SOCKSProxy", Str("fd00::1")}, {"SOCKSPort", Number(1080)}})},
    {"SwitchWebProxyOffKeepsHostAndPort", kMacBook, {"set-proxy", "Wi-Fi", "web", "--off"}, 0, "", "",
     EntityKeys(kMacBookWiFi, "Proxies", {{"HTTPEnable", Number(0)}})},
    {"SetProxyBypassInBinaryStore", kBinary, {"set-proxy-bypass", "Wi-Fi", "*.local", "10/8"}, 0, "", "",
     EntityKeys(kBinaryWiFi, "Proxies", {{"ExceptionsList", Strings({"*.local", "10/8"})}})},
    {"RemoveProxyBypass", kIMac, {"set-proxy-bypass", "Ethernet"}, 0, "", "",
     EntityKeys(kIMacEthernet, "Proxies", {{"ExceptionsList", nullptr}})},
    {"SetPACWhereThereIsNoProxiesEntity", kSets, {"set-pac", "Wi-Fi", "http://wpad.example.com/proxy.pac"}, 0, "", "",
     At(InService("11", {"Proxies"}), Dict({{"ProxyAutoConfigEnable", Number(1)},
                                            {"ProxyAutoConfigURLString", Str("http://wpad.example.com/proxy.pac")}}))},
    {"SwitchPACOffKeepsTheURL", kIMac, {"set-pac", "Ethernet", "--off"}, 0, "", "",
     EntityKeys(kIMacEthernet, "Proxies", {{"ProxyAutoConfigEnable", Number(0)}})},
    {"SetIPv4ManualWithoutRouter", kMacBook, {"set-ipv4", "Wi-Fi", "manual", "192.168.1.10", "255.255.255.0"}, 0, "",
     "", At(InService(kMacBookWiFi, {"IPv4"}), Dict({{"ConfigMethod", Str("Manual")},
            {"Addresses", Strings({"192.168.1.10"})}, {"SubnetMasks", Strings({"255.255.255.0"})}}))},
    {"SetIPv4ManualWithRouter", kSets, {"set-ipv4", "Ethernet", "manual", "10.1.2.3", "255.255.0.0", "10.1.0.1"}, 0,
     "", "", At(InService("10", {"IPv4"}), Dict({{"ConfigMethod", Str("Manual")}, {"Addresses", Strings({"10.1.2.3"})},
            {"SubnetMasks", Strings({"255.255.0.0"})}, {"Router", Str("10.1.0.1")}}))},
    {"SetIPv4ToBOOTPDropsAddressesAndClientID", kOdd, {"set-ipv4", "11", "bootp"}, 0, "", "",
     At(InService("11", {"IPv4"}), Dict({{"ConfigMethod", Str("BOOTP")}, {"Extra", Str("kept")}}))},
    {"SetDNSInRealStore", kMacBook, {"set-dns", "Wi-Fi", "8.8.8.8", "1.1.1.1", "--search", "example.com"}, 0, "", "",
     At(InService(kMacBookWiFi, {"DNS"}),
        Dict({{"ServerAddresses", Strings({"8.8.8.8", "1.1.1.1"})}, {"SearchDomains", Strings({"example.com"})}}))},
    {"SetDNSSearchDomainsKeepsServers", kOdd, {"set-dns", "10", "--search", "a.example", "b.example"}, 0, "", "",
     EntityKeys("10", "DNS", {{"SearchDomains", Strings({"a.example", "b.example"})}})},
    {"SetDNSWithoutServersRemovesThem", kOdd, {"set-dns", "10"}, 0, "", "",
     EntityKeys("10", "DNS", {{"ServerAddresses", nullptr}})},

    // Ports and helpers.
    {"Ports", kNone, {"ports"}, 0, "", kPorts},
    {"AppleTalkOffWhereOnlyInactiveServiceHasIt", kSets, {"appletalk"}, 0, "", "off\n"},
    {"AppleTalkOn", kSets, {"appletalk", "on"}, 0, "", "",
     At({"NetworkServices", "10", "AppleTalk", "__INACTIVE__"}, nullptr)},
    {"AppleTalkBadState", kSets, {"appletalk", "yes"}, 2, "\"yes\" is neither on nor off"},
    {"DHCPServices", kMacBook, {"dhcp-services"}, 0, "",
     kMacBookPAN + "\tBluetooth PAN\n" + kMacBookWiFi + "\tWi-Fi\n"},
    {"NewDialupSetInBinaryStore", kBinary, {"new-dialup-set", "Dial", "usbmodem1411"}, 0, "", kFirstID + "\n",
     [](Root) {}, "", kNewSetParts, {"services", "Dial"}, NewSetListing(true)},
    {"DHCPReleaseEndsAsItBegan", kIMac, {"dhcp-release", "Ethernet"}, 0, "", "", [](Root) {}},
    {"NewDialupSetWithoutModems", kSets, {"new-dialup-set", "Dial"}, 1, "no network port is a modem", "", nullptr, "",
     {}, {}, "", ""},
    {"PortsOfUnreadableRegistry", kSets, {"ports"}, 1,
     "MoreSCCreatePortArray failed with status -536870212 (kIOReturnError)", "", nullptr, "", {}, {}, "",
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
    EXPECT_EQ(run.err.find("MoreAssertQ"), std::string::npos) << run.err;
    if (row.message.empty()) {
        EXPECT_EQ(run.err, "");
    } else {
        // One line of moresc's own, the last; the library may report before it.
        EXPECT_TRUE(run.err.ends_with("\n")) << run.err;
        std::string last = run.err.substr(run.err.rfind('\n', run.err.size() - 2) + 1);
        EXPECT_TRUE(last.starts_with("moresc: " + row.args[0] + ": " + row.message)) << run.err;
        EXPECT_EQ(run.err.find("moresc: "), run.err.rfind("moresc: ")) << run.err;
    }
    bool exists = std::filesystem::exists(root.storePath());
    if (!row.edit) {
        EXPECT_EQ(exists ? TempRoot::ReadFile(root.storePath()) : "(no store)", exists ? before : row.store);
    } else {
        // The store as read (none: empty), edited, and written back in its
        // own format.
        PropertyListFormat format = PropertyListFormat::XML;
        std::string after = TempRoot::ReadFile(root.storePath());
        Value tree = before.empty() ? Dict() : Parsed(before, &format), made = Parsed(after);
        row.edit(tree);
        for (const auto& path : row.made) Put(tree, path, CopyAt(made, path));
        EXPECT_EQ(after, Encoded(tree, format));
    }
    // A failure leaves no trace: no folder, temporary file or applied
    // configuration; at most the lock file beside an existing store.
    if (row.exitStatus != 0) {
        const std::string folder = "Library/Preferences/SystemConfiguration";
        std::set<std::string> store = {"Library", "Library/Preferences", folder, folder + "/preferences.plist",
                                       folder + "/preferences.plist.lock"};
        for (const auto& entry : std::filesystem::recursive_directory_iterator(root.path())) {
            std::string name = std::filesystem::relative(entry.path(), root.path()).string();
            bool expected = name.starts_with("program.") || name == "registry.plist" ||
                            (!before.empty() && store.count(name) != 0);
            EXPECT_TRUE(expected) << name;
        }
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

// A store that another program holds locked can be read at once. A change
// waits for the lock: in vain up to --wait, or until the lock is given back.
TEST(MorescLockTest, ChangeWaitsForTheLock) {
    TempRoot root;
    std::string before = StoreText(kSets);
    root.writeStore(before);
    FileLock lock;
    int error = 0;
    ASSERT_EQ(lock.lock(root.storePath().string() + ".lock", false, &error), FileLock::Result::Locked);

    ProgramRun read = RunMoresc(root, {"current-set"});
    EXPECT_EQ(read.exitStatus, 0);
    EXPECT_EQ(read.out, "1\tHome\n");

    auto start = std::chrono::steady_clock::now();
    ProgramRun change = RunMoresc(root, {"rename-set", "--wait", "1", "3", "Lab"});
    auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_EQ(change.exitStatus, 1);
    EXPECT_EQ(change.err, "moresc: rename-set: MoreSCOpen failed with status 3002 (kSCStatusPrefsBusy): another "
                          "program holds the lock of the store, try again later\n");
    EXPECT_GE(waited, std::chrono::seconds(1));
    EXPECT_LT(waited, std::chrono::seconds(8));
    EXPECT_EQ(TempRoot::ReadFile(root.storePath()), before);

    std::thread other([&lock] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        lock.unlock();
    });
    change = RunMoresc(root, {"rename-set", "3", "Lab"});
    other.join();
    EXPECT_EQ(change.exitStatus, 0) << change.err;
    EXPECT_EQ(RunMoresc(root, {"sets"}).out, "1\tcurrent\tHome\n2\t-\tOffice\n3\t-\tLab\n4\t-\t2\n");
}

// Every listing's --json output is one JSON document (python3's json.tool
// is the judge), on test roots and on the real stores; a name holding
// control characters comes back whole.
TEST(MorescJsonTest, EveryListingParses) {
    const std::pair<const char*, const char*> stores[] = {
        {kSets, "Ethernet"}, {kControlNames, "Ethernet"}, {kIMac, "Ethernet"}, {kMacBook, "Wi-Fi"}, {kBinary, "Wi-Fi"}};
    for (const auto& [store, service] : stores) {
        SCOPED_TRACE(store);
        TempRoot root;
        RegistrySnapshot registry;
        registry.AddBuiltInEthernet(), registry.AddAirPort(), registry.AddInternalModem();
        registry.Install(root);
        root.writeStore(StoreText(store));
        // AppleTalk is a question that stores of systems without it fail.
        bool appleTalk = store == std::string(kSets) || store == std::string(kControlNames);
        const std::vector<std::vector<std::string>> listings = {
            {"ports"}, {"sets"}, {"current-set"}, {"services"}, {"entity", service, "Interface"},
            {"proxies", service}, {"info", service}, {"dhcp-services"}, {"appletalk"}};
        std::string files;
        for (std::vector<std::string> args : listings) {
            if (args[0] == "appletalk" && !appleTalk) continue;
            args.push_back("--json");
            std::string out = (root.path() / (args[0] + ".json")).string();
            ProgramRun run = RunMoresc(root, args, "", out);
            EXPECT_EQ(run.exitStatus, 0) << args[0] << ": " << run.err;
            files += " " + out;
        }
        // Each file is one JSON document, or json.load fails; a name keeps its control characters.
        std::string check = "python3 -c 'import json, sys\nfor f in sys.argv[1:]: json.load(open(f))' " + files;
        EXPECT_EQ(std::system(check.c_str()), 0);
        const std::string sets = TempRoot::ReadFile(root.path() / "sets.json");
        EXPECT_TRUE(store != std::string(kControlNames) || sets.find(R"("name": "Lab\tA\nB\u001b")") != std::string::npos)
            << sets;
    }
}

// An administrator's script, on each real store: it lists the sets as
// JSON, switches to one by the ID it read, sets a web proxy and reads it
// back (tests/moresc/switch-web-proxy.sh).
TEST(MorescScriptTest, SwitchSetAndWebProxyOnRealStores) {
    for (const char* store : {kIMac, kMacBook, kBinary}) {
        SCOPED_TRACE(store);
        TempRoot root;
        root.installStore(store);
        ProgramRun run =
            RunProgram("/bin/bash", root, {MORESC_TEST_DATA_DIR "/../switch-web-proxy.sh", MORESC_EXECUTABLE});
        EXPECT_EQ(run.exitStatus, 0) << run.err;
        EXPECT_EQ(run.out, "web proxy proxy.example.com:3128 on\n") << run.err;
        // The store keeps its format: "bplist00" or "<?xml ve".
        EXPECT_EQ(TempRoot::ReadFile(root.storePath()).substr(0, 8), StoreText(store).substr(0, 8));
    }
}

// set-entity reads no more than a store may hold, whatever the input: a
// device without end, a sparse file past the limit (refused before it is
// read), a FIFO that no program writes to. An entity within the limit that
// would make the store too large is refused by the save.
TEST(MorescInputTest, InputIsBounded) {
    TempRoot root;
    const std::string big = root.write("/big.plist", "").string();
    std::filesystem::resize_file(big, kSCPreferencesMaxFileSize + 1);
    const std::string fifo = (root.path() / "fifo").string();
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    // A store of a little over 32 MiB, and an entity of as much.
    const std::string half(kSCPreferencesMaxFileSize / 2, 'x');
    Value store = Parsed(StoreText(kSets));
    Put(store, InService("12", {"Proxies"}), Dict({{"Filler", Str(half)}}));
    const std::string fits = root.write("/fits.plist", Encoded(Dict({{"Filler", Str(half)}}))).string();
    const std::string limit = std::to_string(kSCPreferencesMaxFileSize);
    const std::pair<std::string, std::string> rows[] = {
        {"/dev/zero", "moresc: set-entity: /dev/zero is larger than the limit of " + limit + " bytes\n"},
        {big, "moresc: set-entity: " + big + " is larger than the limit of " + limit + " bytes\n"},
        {fifo, "moresc: set-entity: " + fifo + " is not a property list whose root is a dictionary: empty file\n"},
        {fits, "the store would be larger than the limit of " + limit + " bytes"},
    };
    for (const auto& [path, message] : rows) {
        SCOPED_TRACE(path);
        std::string before = path == fits ? Encoded(store) : StoreText(kSets);
        root.writeStore(before);
        ProgramRun run = RunMoresc(root, {"set-entity", "10", "Proxies", path});
        EXPECT_EQ(run.exitStatus, path == fits ? 1 : 2);
        EXPECT_NE(run.err.find(message), std::string::npos) << run.err;
        EXPECT_TRUE(TempRoot::ReadFile(root.storePath()) == before);
    }
}

}  // namespace
