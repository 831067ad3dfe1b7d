#include <sys/stat.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>

#include "ports/MoreSCFPortScanner.h"
#include "ports/PortNames.h"
#include "support/FakeSysfs.h"
#include "support/RegistrySnapshot.h"
#include "support/StderrCapture.h"

namespace {

using Texts = std::vector<std::string>;
using Machine = std::function<void(RegistrySnapshot&)>;

std::string Text(CFTypeRef value) {
    if (value == nullptr) return "-";
    CFRef<CFStringRef> description(CFCopyDescription(value));
    char text[256] = "";
    CFStringGetCString(description.get(), text, sizeof(text), kCFStringEncodingUTF8);
    return text;
}

std::string Value(CFDictionaryRef port, const char* key) {
    CFRef<CFStringRef> keyString(CFStringCreateWithCString(nullptr, key, kCFStringEncodingUTF8));
    return Text(CFDictionaryGetValue(port, keyString.get()));
}

struct Listing {
    OSStatus err;
    CFRef<CFArrayRef> ports;
    std::string errors;  // standard error

    std::vector<CFDictionaryRef> all() const {
        std::vector<CFDictionaryRef> list(ports ? CFArrayGetCount(ports.get()) : 0);
        if (ports) CFArrayGetValues(ports.get(), CFRangeMake(0, CFIndex(list.size())), reinterpret_cast<const void**>(list.data()));
        return list;
    }
    // Per port, the values of keys it has, joined by spaces.
    Texts Column(std::initializer_list<const char*> keys) const {
        Texts rows;
        for (CFDictionaryRef port : all()) {
            std::string row;
            for (const char* key : keys)
                if (std::string value = Value(port, key); value != "-") row += (row.empty() ? "" : " ") + value;
            rows.push_back(row);
        }
        return rows;
    }
};

Listing ListPorts() {
    Listing listing;
    StderrCapture reports;
    listing.err = MoreSCCreatePortArray(listing.ports.out());
    listing.errors = reports.text();
    EXPECT_EQ(listing.err == noErr, listing.ports.get() != nullptr);
    return listing;
}

Listing ListMachine(const Machine& build) {
    TempRoot root;
    RegistrySnapshot registry;
    build(registry);
    registry.Install(root);
    return ListPorts();
}

RegistrySnapshot::Entry& AddUSBAdaptor(RegistrySnapshot& r, const std::string& bsdName,
                                       const RegistrySnapshot::Bytes& mac) {
    return r.AddEthernet("IOUSBHostInterface", "usb-ethernet", "USBEthernet", "IOEthernetInterface", bsdName, mac);
}

}  // namespace

// Without a callback the names stay English, and the warning about it is
// written once per process.
TEST(PortArray, EthernetAirPortAndInternalModemGiveTheirDictionariesInKindOrder) {
    MoreSCFSetPortNameCallback(nullptr);
    gHavePrinted = false;
    Machine machine = [](auto& r) { r.AddAirPort("en1"), r.AddBuiltInEthernet("en0"), r.AddInternalModem(); };
    Listing listing = ListMachine(machine);
    ASSERT_EQ(noErr, listing.err) << listing.errors;
    EXPECT_EQ("MoreSCFPortScanner: You should install a port name callback.\n", listing.errors);
    EXPECT_EQ("", ListMachine(machine).errors);
    Texts expected = {"Internal Modem Modem PPP PPPSerial modem 0",
                      "Built-in Ethernet Ethernet Ethernet en0 00:0a:95:9d:68:16 5",
                      "AirPort AirPort Ethernet en1 00:30:65:01:02:03 7"};
    EXPECT_EQ(expected, listing.Column({"UserDefinedName", "Hardware", "Type", "SubType", "DeviceName", "MACAddress",
                                        "HardwareVariant", "SortOrder"}));
    for (CFDictionaryRef port : listing.all()) EXPECT_EQ(6, CFDictionaryGetCount(port));  // nothing else
}

TEST(PortArray, EveryKindSortsInItsPlaceThenByLocalisedName) {
    Listing listing = ListMachine([](RegistrySnapshot& r) {
        AddUSBAdaptor(r, "en7", {2, 0, 0, 0, 0, 7});
        r.AddEthernet("IOPCIDevice", "radio", "IO80211Controller", "IO80211Interface", "en6", {2, 0, 0, 0, 0, 6});
        r.AddAirPort("en1");
        r.AddPCIEthernet("en4", "");
        r.AddPCIEthernet("en3", "SLOT-Z\x8a");  // Mac Roman
        r.AddPCIEthernet("en2", "SLOT-2", 0);
        r.AddBuiltInEthernet("en0");
        for (const char* baseName : {"modem-printer", "printer", "modem", "IrDA-IrCOMM"})
            r.AddSerialPort("IORS232SerialStream", baseName, baseName);
        r.AddSerialPort("IOModemSerialStream", "Bluetooth-PDA", "Bluetooth-PDA-Sync");
        r.AddSerialPort("IOModemSerialStream", "IrDA-IrCOMM0", "irda0");
        r.AddUSBModem("");
        r.AddUSBModem("acme 56K");
    });
    ASSERT_EQ(noErr, listing.err) << listing.errors;
    EXPECT_EQ((Texts{"1 acme 56K", "1 USB Modem", "2 bluetooth-pda-port", "2 irda-ircomm0-port IrDA-IrCOMM",
                     "3 IrDA Modem Port IrDA-IrCOMM", "4 Modem Port", "4 Modem/Printer Port", "4 Printer Port",
                     "5 Built-in Ethernet", "6 PCI Ethernet Slot 2, Port 1", "6 PCI Ethernet Slot unknown",
                     "6 PCI Ethernet Slot Z\u00e4", "7 AirPort", "8 Wireless Network Adaptor",
                     "9 Ethernet Adaptor (en7)"}),
              listing.Column({"SortOrder", "UserDefinedName", "HardwareVariant"}));
    // The BSD name's check looks under a key that is never there.
    EXPECT_NE(std::string::npos, listing.errors.find("MoreAssertQ failure: CFDictionaryGetValue(interfaceInfo, "
                                                     "CFSTR(\"kIOBSDNameKey\")) != nil\n"));
}

TEST(PortArray, PortsLeftOutAndPortsThatFailTheWholeArray) {
    struct Row {
        const char* machine;
        Machine build;
        OSStatus err;
        Texts ports;
    } rows[] = {
        {"no base name",
         [](auto& r) { r.AddSerialPort("IORS232SerialStream", "x", "x").Set("IOTTYBaseName", nullptr); }, noErr, {}},
        {"irda", [](auto& r) { r.AddSerialPort("IORS232SerialStream", "irda", "irda"); }, noErr, {}},
        {"8-byte MAC", [](auto& r) { AddUSBAdaptor(r, "en1", {0, 0x0a, 0x95, 0x9d, 0x68, 0x16, 0, 1}); }, noErr,
         {"en1"}},
        {"no BSD name",
         [](auto& r) { r.AddBuiltInEthernet(), AddUSBAdaptor(r, "en1", {2, 0, 0, 0, 0, 1}).Set("BSD Name", nullptr); },
         noErr, {"en0 00:0a:95:9d:68:16"}},
        {"unnamed provider", [](auto& r) { r.AddPCIEthernet("en1", ""); r.root().LastChild().Set("name", nullptr); },
         -1, {}},
        {"under the root", [](auto& r) { r.root().Add("IOEthernetInterface").String("BSD Name", "en1"); }, -1, {}},
    };
    for (Row& row : rows) {
        Listing listing = ListMachine(row.build);
        EXPECT_EQ(row.err, listing.err) << row.machine;
        EXPECT_EQ(row.ports, listing.Column({"DeviceName", "MACAddress"})) << row.machine;
    }
}

namespace {

// The callback of the test below: "[fr] " before the English template, or
// a fixed template, or a failure; it keeps the English templates it saw.
struct Translation {
    OSStatus status;
    const char* fixed;
    Texts seen;
} gTranslation;

OSStatus Translate(io_object_t interface, CFDictionaryRef interfaceInfo, CFStringRef englishName,
                   CFStringRef* nameTemplate) {
    EXPECT_NE(0u, interface);
    EXPECT_NE("-", Value(interfaceInfo, "SortOrder"));
    gTranslation.seen.push_back(Text(englishName));
    if (gTranslation.status != noErr) return gTranslation.status;
    *nameTemplate = gTranslation.fixed != nullptr
                        ? CFStringCreateWithCString(nullptr, gTranslation.fixed, kCFStringEncodingUTF8)
                        : CFStringCreateWithFormat(nullptr, nullptr, CFSTR("[fr] %@"), englishName);
    return noErr;
}

}  // namespace

TEST(PortArray, TheCallbackTranslatesTemplatesAndDecidesTheOutcome) {
    Machine pciAndSerial = [](RegistrySnapshot& r) {
        r.AddPCIEthernet("en2", "SLOT-2", 0);
        r.AddSerialPort("IORS232SerialStream", "Bluetooth-PDA", "Bluetooth-PDA-Sync");
    };
    struct Row {
        Machine build;
        OSStatus status;
        const char* fixed;
        OSStatus err;
        Texts names;
        Texts seen;
    } rows[] = {
        {pciAndSerial, noErr, nullptr, noErr, {"4 [fr] bluetooth-pda-port", "6 [fr] PCI Ethernet Slot 2, Port 1"},
         {"PCI Ethernet Slot %2$@, Port %3$@", "%4$@-port"}},
        {pciAndSerial, noErr, "%4$@ or %4$@ %3$@", noErr, {"4 bluetooth-pda or %4$@ %3$@", "6 %4$@ or %4$@ 1"},
         {"PCI Ethernet Slot %2$@, Port %3$@", "%4$@-port"}},
        {pciAndSerial, -3, nullptr, -3, {}, {"PCI Ethernet Slot %2$@, Port %3$@"}},
        // No rule can name an interface without a grandparent; the callback can.
        {[](auto& r) { r.root().Add("IOEthernetInterface").String("BSD Name", "en1"); }, noErr, "Rescued", noErr,
         {"9 Rescued"}, {"-"}},
    };
    for (Row& row : rows) {
        gTranslation = {row.status, row.fixed, {}};
        MoreSCFSetPortNameCallback(Translate);
        gHavePrinted = false;
        Listing listing = ListMachine(row.build);
        MoreSCFSetPortNameCallback(nullptr);

        EXPECT_EQ(row.err, listing.err) << row.seen[0];
        EXPECT_EQ(row.names, listing.Column({"SortOrder", "UserDefinedName"}));
        EXPECT_EQ(row.seen, gTranslation.seen);
        EXPECT_EQ(std::string::npos, listing.errors.find("callback")) << listing.errors;
    }
}

TEST(PortArray, ThisMachinesSysfsGivesItsEthernetAndSerialPorts) {
    TempRoot root;
    FakeSysfs sys(root);
    const std::string pci = "pci0000:00/0000:", usb = pci + "00:14.0/usb1/";
    // An on-board controller (1f.6) beside a chipset bridge, a virtio card, a two-port card in slot 3, two Wi-Fi
    // cards; USB network, modem and serial devices; a PnP serial port.
    for (const char* function : {"00:1f.0", "00:1f.6", "00:03.0", "02:00.0", "02:00.1", "04:00.0", "05:00.0"})
        sys.Device(pci + function, "pci");
    for (const char* device : {"1-2/1-2:1.0", "1-1", "1-1/1-1:1.0", "1-3/1-3:1.0"}) sys.Device(usb + device, "usb");
    sys.Device(pci + "00:03.0/virtio2", "virtio");
    sys.Device(usb + "1-3/1-3:1.0/ttyUSB0", "usb-serial");
    sys.Device("pnp0/00:00", "pnp");
    sys.NetInterface("eno1", pci + "00:1f.6", "00:1B:21:3a:4f:02");
    sys.NetInterface("eth0", pci + "00:03.0/virtio2", "02:fc:00:00:00:01");
    sys.PCISlot("3", "0000:02:00");
    sys.NetInterface("enp2s0f1", pci + "02:00.1", "a0:36:9f:00:00:02");
    sys.NetInterface("enp2s0f0", pci + "02:00.0", "a0:36:9f:00:00:01");
    sys.NetInterface("usb0", usb + "1-2/1-2:1.0", "not-an-address");
    sys.NetInterface("wlan0", pci + "04:00.0", "5c:e0:c5:00:00:07", "1", true);
    sys.NetInterface("wlp5s0", pci + "05:00.0", "5c:e0:c5:00:00:08");  // Wi-Fi by its phy80211 link alone
    std::filesystem::create_directories(root.path() / "sys/devices" / (pci + "05:00.0/net/wlp5s0/phy80211"));
    sys.NetInterface("lo", "", "00:00:00:00:00:00", "772");  // not ports: virtual, or not Ethernet
    sys.NetInterface("br0", "", "4a:09:db:48:bd:28");
    sys.NetInterface("ib0", pci + "04:00.0", "80:00:00:48:fe:80", "32");
    sys.Attribute(usb + "1-1", "product", "U.S.Robotics USB Modem");
    sys.Tty("ttyACM0", usb + "1-1/1-1:1.0");
    sys.Tty("ttyS0", "pnp0/00:00", "4");
    sys.Tty("ttyS1", "pnp0/00:00", "0");  // no UART there
    sys.Tty("ttyUSB0", usb + "1-3/1-3:1.0/ttyUSB0");
    sys.Tty("console", "");

    Listing listing = ListPorts();
    ASSERT_EQ(noErr, listing.err) << listing.errors;
    EXPECT_EQ((Texts{"1 U.S.Robotics USB Modem ttyACM0", "4 ttys-port ttyS0", "4 ttyusb-port ttyUSB0",
                     "6 PCI Ethernet Slot 3, Port 1 enp2s0f0 a0:36:9f:00:00:01",
                     "6 PCI Ethernet Slot 3, Port 2 enp2s0f1 a0:36:9f:00:00:02",
                     "6 PCI Ethernet Slot unknown eno1 00:1b:21:3a:4f:02",
                     "6 PCI Ethernet Slot unknown eth0 02:fc:00:00:00:01",
                     "8 Wireless Network Adaptor wlan0 5c:e0:c5:00:00:07",
                     "8 Wireless Network Adaptor wlp5s0 5c:e0:c5:00:00:08",
                     "9 Ethernet Adaptor (usb0) usb0"}),
              listing.Column({"SortOrder", "UserDefinedName", "DeviceName", "MACAddress"}));
}

// sysfs files that cannot be read (a FIFO, a device, a huge file where an
// attribute should be) and names that are not text cost their one port and
// a line naming the file, never the listing.
TEST(PortArray, UnreadableSysfsFilesLeaveOutTheirPortInOneLine) {
    TempRoot root;
    FakeSysfs sys(root);
    std::filesystem::path devices = root.path() / "sys/devices";
    auto replace = [](const std::filesystem::path& file, const std::function<void(const char*)>& make) {
        std::filesystem::remove(file);
        make(file.c_str());
    };
    auto fifo = [](const char* path) { ::mkfifo(path, 0644); };
    const std::string usb = "pci0000:00/0000:00:14.0/usb1/1-1", card = "pci0000:00/0000:00:1a.0";
    sys.Device("pci0000:00/0000:00:19.0", "pci"), sys.Device(card, "pci"), sys.Device("pnp0/00:00", "pnp");
    sys.Device(usb, "usb"), sys.Device(usb + "/1-1:1.0", "usb");
    sys.NetInterface("eno1", "pci0000:00/0000:00:19.0", "00:1b:21:3a:4f:02");
    sys.NetInterface("eth1", card, "00:1b:21:3a:4f:03");
    replace(devices / card / "net/eth1/type", fifo);
    sys.NetInterface("eth2", card, "00:1b:21:3a:4f:04");
    replace(devices / card / "net/eth2/address",
            [](const char* path) { std::filesystem::create_symlink("/dev/zero", path); });
    sys.NetInterface("eth3", card, "00:1b:21:3a:4f:05");
    std::filesystem::resize_file(devices / card / "net/eth3/address", 1 << 20);
    sys.NetInterface("eth\xff", card, "00:1b:21:3a:4f:06");
    sys.PCISlot("7", "0000:00:19");
    replace(root.path() / "sys/bus/pci/slots/7/address", fifo);
    sys.Attribute(usb, "product", "Modem");
    replace(devices / usb / "product", fifo);
    sys.Tty("ttyACM0", usb + "/1-1:1.0");
    sys.Tty("ttyS0", "pnp0/00:00", "4");
    replace(devices / "pnp0/00:00/tty/ttyS0/type", fifo);

    gHavePrinted = true;  // the advice to install a callback is no line of this test
    Listing listing = ListPorts();
    ASSERT_EQ(noErr, listing.err) << listing.errors;
    EXPECT_EQ((Texts{"6 PCI Ethernet Slot unknown eno1"}), listing.Column({"SortOrder", "UserDefinedName", "DeviceName"}));
    const std::string sysfs = "IOKit: sysfs: left out ";
    for (const std::string& line :
         {sysfs + "PCI slot 7: cannot read " + (root.path() / "sys/bus/pci/slots/7/address").string() + ": it is a FIFO",
          sysfs + "eth1: cannot read " + (root.path() / "sys/class/net/eth1/type").string() + ": it is a FIFO",
          sysfs + "eth2: cannot read " + (root.path() / "sys/class/net/eth2/address").string() + ": it is a device",
          sysfs + "eth3: cannot read " + (root.path() / "sys/class/net/eth3/address").string() + ": larger than 8192 bytes",
          sysfs + (root.path() / "sys/class/net/eth\xff").string() + ": its name is not UTF-8 text",
          sysfs + "ttyACM0: cannot read " + (devices / usb / "product").string() + ": it is a FIFO",
          sysfs + "ttyS0: cannot read " + (root.path() / "sys/class/tty/ttyS0/type").string() + ": it is a FIFO"}) {
        EXPECT_NE(std::string::npos, listing.errors.find(line + "\n")) << line << "\n" << listing.errors;
    }
    EXPECT_EQ(7, std::count(listing.errors.begin(), listing.errors.end(), '\n')) << listing.errors;
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
    for (const std::string& row : listing.Column({"Type", "DeviceName", "MACAddress"})) {
        if (row.rfind("Ethernet ", 0) == 0) found.push_back(row.substr(9));
    }
    std::sort(expected.begin(), expected.end());
    std::sort(found.begin(), found.end());
    EXPECT_EQ(expected, found);
}
