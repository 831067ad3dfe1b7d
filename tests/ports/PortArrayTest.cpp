#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>

#include "ports/MoreSCFPortScanner.h"
#include "ports/PortNames.h"
#include "ports/PortSorter.h"
#include "support/FakeSysfs.h"
#include "support/RegistrySnapshot.h"

namespace {

std::string Text(CFTypeRef value) {
    if (value == nullptr) return "-";
    CFRef<CFStringRef> description(CFCopyDescription(value));
    char text[512];
    CFStringGetCString(description.get(), text, sizeof(text), kCFStringEncodingUTF8);
    return text;
}

std::string Value(CFDictionaryRef port, const char* key) {
    CFRef<CFStringRef> keyString(CFStringCreateWithCString(nullptr, key, kCFStringEncodingUTF8));
    return Text(CFDictionaryGetValue(port, keyString.get()));
}

CFDictionaryRef PortAt(CFArrayRef ports, CFIndex i) {
    return static_cast<CFDictionaryRef>(CFArrayGetValueAtIndex(ports, i));
}

// "<SortOrder> <UserDefinedName>" per port, with the "HardwareVariant" if any.
std::vector<std::string> Summaries(CFArrayRef ports) {
    std::vector<std::string> summaries;
    for (CFIndex i = 0; ports != nullptr && i < CFArrayGetCount(ports); ++i) {
        std::string variant = Value(PortAt(ports, i), "HardwareVariant");
        summaries.push_back(Value(PortAt(ports, i), "SortOrder") + " " + Value(PortAt(ports, i), "UserDefinedName") +
                            (variant == "-" ? "" : " " + variant));
    }
    return summaries;
}

struct Listing {
    OSStatus err;
    CFRef<CFArrayRef> ports;
    std::string errors;  // standard error
};

Listing ListPorts() {
    Listing listing;
    testing::internal::CaptureStderr();
    listing.err = MoreSCCreatePortArray(listing.ports.out());
    listing.errors = testing::internal::GetCapturedStderr();
    return listing;
}

using Texts = std::vector<std::string>;
const RegistrySnapshot::Bytes kLongMAC = {0, 0x0a, 0x95, 0x9d, 0x68, 0x16, 0, 1};

}  // namespace

TEST(PortArray, EthernetAirPortAndInternalModemGiveTheirDictionariesInKindOrder) {
    TempRoot root;
    RegistrySnapshot registry;
    registry.AddAirPort("en1");
    registry.AddBuiltInEthernet("en0");
    registry.AddInternalModem();
    registry.Install(root);

    Listing listing = ListPorts();
    ASSERT_EQ(noErr, listing.err) << listing.errors;
    const char* keys[] = {"UserDefinedName", "Hardware",        "Type",      "SubType",
                          "DeviceName",      "MACAddress",      "HardwareVariant", "SortOrder"};
    Texts expected = {
        "Internal Modem|Modem|PPP|PPPSerial|modem|-|-|0",
        "Built-in Ethernet|Ethernet|Ethernet|-|en0|00:0a:95:9d:68:16|-|5",
        "AirPort|AirPort|Ethernet|-|en1|00:30:65:01:02:03|-|7",
    };
    ASSERT_EQ(3, CFArrayGetCount(listing.ports.get()));
    for (CFIndex i = 0; i < 3; ++i) {
        std::string row;
        CFIndex present = 0;
        for (const char* key : keys) {
            std::string value = Value(PortAt(listing.ports.get(), i), key);
            row += (row.empty() ? "" : "|") + value;
            present += value != "-";
        }
        EXPECT_EQ(expected[static_cast<std::size_t>(i)], row);
        EXPECT_EQ(present, CFDictionaryGetCount(PortAt(listing.ports.get(), i))) << row;  // nothing else
    }
}

TEST(PortArray, EveryKindSortsInItsPlaceThenByLocalisedName) {
    TempRoot root;
    RegistrySnapshot registry;
    registry.AddEthernetAdaptor("en7");
    registry.AddWirelessAdaptor("en6");
    registry.AddAirPort("en1");
    registry.AddPCIEthernet("en4", "");
    registry.AddPCIEthernet("en3", "SLOT-Z\x8a");  // Mac Roman
    registry.AddPCIEthernet("en2", "SLOT-2", 0);
    registry.AddBuiltInEthernet("en0");
    registry.AddSerialPort("IORS232SerialStream", "modem-printer", "modem-printer");
    registry.AddSerialPort("IORS232SerialStream", "printer", "printer");
    registry.AddSerialPort("IORS232SerialStream", "modem", "modem");
    registry.AddSerialPort("IORS232SerialStream", "IrDA-IrCOMM", "irda-ircomm");
    registry.AddSerialPort("IOModemSerialStream", "Bluetooth-PDA", "Bluetooth-PDA-Sync");
    registry.AddSerialPort("IOModemSerialStream", "IrDA-IrCOMM0", "irda0");
    registry.AddUSBModem("");
    registry.AddUSBModem("acme 56K");
    registry.Install(root);

    Listing listing = ListPorts();
    ASSERT_EQ(noErr, listing.err) << listing.errors;
    EXPECT_EQ((Texts{"1 acme 56K", "1 USB Modem", "2 bluetooth-pda-port", "2 irda-ircomm0-port IrDA-IrCOMM",
                     "3 IrDA Modem Port IrDA-IrCOMM", "4 Modem Port", "4 Modem/Printer Port", "4 Printer Port",
                     "5 Built-in Ethernet", "6 PCI Ethernet Slot 2, Port 1", "6 PCI Ethernet Slot unknown",
                     "6 PCI Ethernet Slot Z\u00e4", "7 AirPort", "8 Wireless Network Adaptor",
                     "9 Ethernet Adaptor (en7)"}),
              Summaries(listing.ports.get()));
    // The BSD name's check is reported for the adaptor, whose name uses it.
    EXPECT_NE(std::string::npos,
              listing.errors.find("MoreAssertQ failure: CFDictionaryGetValue(interfaceInfo, "
                                  "CFSTR(\"kIOBSDNameKey\")) != nil\n"));
}

TEST(PortArray, PortsLeftOutAndPortsThatFailTheWholeArray) {
    struct Row {
        const char* machine;
        std::function<void(RegistrySnapshot&)> build;
        OSStatus err;
        Texts ports;
    } rows[] = {
        {"serial port without base name",
         [](RegistrySnapshot& r) { r.AddSerialPort("IORS232SerialStream", "x", "x").Remove("IOTTYBaseName"); }, noErr,
         {}},
        {"infrared controller port", [](RegistrySnapshot& r) { r.AddSerialPort("IORS232SerialStream", "irda", "irda"); },
         noErr, {}},
        {"8-byte MAC address", [](RegistrySnapshot& r) { r.AddEthernetAdaptor("en1", kLongMAC); }, noErr,
         {"en1 -"}},
        {"Ethernet without BSD name",
         [](RegistrySnapshot& r) {
             r.AddBuiltInEthernet("en0");
             r.AddEthernetAdaptor("en1").Remove("BSD Name");
         },
         -1, {}},
        {"provider without a name",
         [](RegistrySnapshot& r) {
             r.root().Add("IOPCIDevice").Add("Enet").String("IOProviderClass", "IOPCIDevice")
                 .Add("IOEthernetInterface").String("BSD Name", "en1");
         },
         -1, {}},
        {"interface under the root", [](RegistrySnapshot& r) { r.root().Add("IOEthernetInterface").String("BSD Name", "en1"); },
         -1, {}},
    };
    for (Row& row : rows) {
        TempRoot root;
        RegistrySnapshot registry;
        row.build(registry);
        registry.Install(root);
        Listing listing = ListPorts();
        EXPECT_EQ(row.err, listing.err) << row.machine;
        Texts ports;
        for (CFIndex i = 0; listing.ports && i < CFArrayGetCount(listing.ports.get()); ++i) {
            ports.push_back(Value(PortAt(listing.ports.get(), i), "DeviceName") + " " +
                            Value(PortAt(listing.ports.get(), i), "MACAddress"));
        }
        EXPECT_EQ(row.ports, ports) << row.machine;
        EXPECT_EQ(row.err == noErr, listing.ports.get() != nullptr) << row.machine;
    }
}

TEST(PortArray, WithoutACallbackTheWarningIsWrittenOncePerProcess) {
    TempRoot root;
    RegistrySnapshot registry;
    registry.AddBuiltInEthernet();
    registry.AddInternalModem();
    registry.Install(root);
    MoreSCFSetPortNameCallback(nullptr);
    gHavePrinted = false;

    const std::string warning = "MoreSCFPortScanner: You should install a port name callback.\n";
    EXPECT_EQ(warning, ListPorts().errors);
    EXPECT_EQ("", ListPorts().errors);
}

namespace {

// A translating callback: "[fr] " before the English template, or a fixed
// template, or a failure.
struct Translation {
    OSStatus status = noErr;
    const char* fixed = nullptr;
    Texts seen;  // the English templates, "-" for none
};
Translation* gTranslation = nullptr;

OSStatus Translate(io_object_t interface, CFDictionaryRef interfaceInfo, CFStringRef englishName,
                   CFStringRef* nameTemplate) {
    EXPECT_NE(0u, interface);
    EXPECT_NE("-", Value(interfaceInfo, "SortOrder"));
    gTranslation->seen.push_back(Text(englishName));
    if (gTranslation->status != noErr) return gTranslation->status;
    *nameTemplate = gTranslation->fixed != nullptr
                        ? CFStringCreateWithCString(nullptr, gTranslation->fixed, kCFStringEncodingUTF8)
                        : CFStringCreateWithFormat(nullptr, nullptr, CFSTR("[fr] %@"), englishName);
    return noErr;
}

}  // namespace

TEST(PortArray, TheCallbackTranslatesTemplatesAndDecidesTheOutcome) {
    struct Row {
        const char* machine;
        std::function<void(RegistrySnapshot&)> build;
        OSStatus status;  // of the callback
        const char* fixed;
        OSStatus err;
        Texts names;
        Texts seen;
    } rows[] = {
        {"translated",
         [](RegistrySnapshot& r) {
             r.AddPCIEthernet("en2", "SLOT-2", 0);
             r.AddSerialPort("IORS232SerialStream", "Bluetooth-PDA", "Bluetooth-PDA-Sync");
         },
         noErr, nullptr, noErr, {"4 [fr] bluetooth-pda-port", "6 [fr] PCI Ethernet Slot 2, Port 1"},
         {"PCI Ethernet Slot %2$@, Port %3$@", "%4$@-port"}},
        {"placeholder twice",
         [](RegistrySnapshot& r) { r.AddSerialPort("IORS232SerialStream", "Bluetooth-PDA", "Bluetooth-PDA-Sync"); },
         noErr, "%4$@ or %4$@", noErr, {"4 bluetooth-pda or %4$@"}, {"%4$@-port"}},
        {"callback fails",
         [](RegistrySnapshot& r) { r.AddBuiltInEthernet(); }, -3, nullptr, -3, {}, {"Built-in Ethernet"}},
        {"rules fail, callback names",
         [](RegistrySnapshot& r) { r.root().Add("IOEthernetInterface").String("BSD Name", "en1"); },
         noErr, "Rescued", noErr, {"9 Rescued"}, {"-"}},
    };
    for (Row& row : rows) {
        TempRoot root;
        RegistrySnapshot registry;
        row.build(registry);
        registry.Install(root);
        Translation translation{row.status, row.fixed, {}};
        gTranslation = &translation;
        MoreSCFSetPortNameCallback(Translate);
        gHavePrinted = false;
        Listing listing = ListPorts();
        MoreSCFSetPortNameCallback(nullptr);

        EXPECT_EQ(row.err, listing.err) << row.machine;
        EXPECT_EQ(row.names, Summaries(listing.ports.get())) << row.machine;
        EXPECT_EQ(row.seen, translation.seen) << row.machine;
        EXPECT_EQ(std::string::npos, listing.errors.find("port name callback")) << row.machine;
    }
}

TEST(PortSorter, OrdersByKindThenByNameWithUnsortedPortsLast) {
    auto port = [](long order, CFStringRef name) {  // order < 0: no "SortOrder"
        CFRef<CFMutableDictionaryRef> dict(
            CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
        CFRef<CFNumberRef> number(CFNumberCreate(nullptr, kCFNumberLongType, &order));
        if (order >= 0) CFDictionarySetValue(dict.get(), CFSTR("SortOrder"), number.get());
        if (name != nullptr) CFDictionarySetValue(dict.get(), CFSTR("UserDefinedName"), name);
        return dict;
    };
    struct Row {
        long lhsOrder;
        CFStringRef lhsName;
        long rhsOrder;
        CFStringRef rhsName;
        CFComparisonResult expected;
    } rows[] = {
        {9, CFSTR("b"), -1, CFSTR("a"), kCFCompareLessThan},     // no "SortOrder" counts as 100
        {101, CFSTR("a"), -1, CFSTR("b"), kCFCompareGreaterThan},
        {6, CFSTR("pci b"), 6, CFSTR("PCI A"), kCFCompareGreaterThan},  // by name, ignoring case
        {6, CFSTR("PCI A"), 6, CFSTR("PCI A"), kCFCompareEqualTo},
        {0, nullptr, 0, CFSTR("x"), kCFCompareGreaterThan},
    };
    for (const Row& row : rows) {
        CFRef<CFMutableDictionaryRef> lhs = port(row.lhsOrder, row.lhsName);
        CFRef<CFMutableDictionaryRef> rhs = port(row.rhsOrder, row.rhsName);
        EXPECT_EQ(row.expected, PortSorter(lhs.get(), rhs.get(), nullptr)) << row.lhsOrder << " " << row.rhsOrder;
        EXPECT_EQ(-row.expected, PortSorter(rhs.get(), lhs.get(), nullptr)) << row.lhsOrder << " " << row.rhsOrder;
    }
}

TEST(PortArray, ThisMachinesSysfsGivesItsPorts) {
    TempRoot root;
    FakeSysfs sys(root);
    sys.Device("pci0000:00/0000:00:03.0", "pci");
    sys.Device("pci0000:00/0000:00:03.0/virtio2", "virtio");
    sys.NetInterface("eth0", "pci0000:00/0000:00:03.0/virtio2", "02:fc:00:00:00:01");
    sys.Device("pci0000:00/0000:02:00.0", "pci");
    sys.PCISlot("3", "0000:02:00");
    sys.NetInterface("eth1", "pci0000:00/0000:02:00.0", "00:1b:21:3a:4f:02");
    sys.Device("pci0000:00/0000:00:14.0/usb1/1-1", "usb");
    sys.Attribute("pci0000:00/0000:00:14.0/usb1/1-1", "product", "U.S.Robotics USB Modem");
    sys.Device("pci0000:00/0000:00:14.0/usb1/1-1/1-1:1.0", "usb");
    sys.Tty("ttyACM0", "pci0000:00/0000:00:14.0/usb1/1-1/1-1:1.0");
    sys.Device("pnp0/00:00", "pnp");
    sys.Tty("ttyS0", "pnp0/00:00", "4");

    Listing listing = ListPorts();
    ASSERT_EQ(noErr, listing.err) << listing.errors;
    EXPECT_EQ((Texts{"1 U.S.Robotics USB Modem", "4 ttys-port", "6 PCI Ethernet Slot 3", "6 PCI Ethernet Slot unknown"}),
              Summaries(listing.ports.get()));
    Texts devices;
    for (CFIndex i = 0; i < CFArrayGetCount(listing.ports.get()); ++i) {
        devices.push_back(Value(PortAt(listing.ports.get(), i), "DeviceName") + " " +
                          Value(PortAt(listing.ports.get(), i), "MACAddress"));
    }
    EXPECT_EQ((Texts{"ttyACM0 -", "ttyS0 -", "eth1 00:1b:21:3a:4f:02", "eth0 02:fc:00:00:00:01"}), devices);
}

// On the machine running the tests, only this is certain: every Ethernet
// interface with a device behind it is a port, with its MAC address.
TEST(PortArray, TheRealMachineListsItsEthernetInterfaces) {
    TempRoot root;  // restores TARNWICK_ROOT afterwards
    ::setenv("TARNWICK_ROOT", "/", 1);
    Listing listing = ListPorts();
    ASSERT_EQ(noErr, listing.err) << listing.errors;

    Texts expected, found;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/sys/class/net", error)) {
        std::string type, address;
        std::ifstream(entry.path() / "type") >> type;
        std::ifstream(entry.path() / "address") >> address;
        if (type == "1" && std::filesystem::exists(entry.path() / "device")) {
            expected.push_back(entry.path().filename().string() + " " + address);
        }
    }
    for (CFIndex i = 0; i < CFArrayGetCount(listing.ports.get()); ++i) {
        std::string device = Value(PortAt(listing.ports.get(), i), "DeviceName");
        if (Value(PortAt(listing.ports.get(), i), "Type") == "Ethernet") {
            found.push_back(device + " " + Value(PortAt(listing.ports.get(), i), "MACAddress"));
        }
    }
    std::sort(expected.begin(), expected.end());
    std::sort(found.begin(), found.end());
    EXPECT_EQ(expected, found);
}
