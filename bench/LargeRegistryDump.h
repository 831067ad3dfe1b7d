// Writes a large registry dump in the text of "ioreg -lw0", shaped like a
// real Mac's: a tree of devices and drivers about ten levels deep, each
// entry with some twenty properties of every kind ioreg prints (strings,
// numbers, Yes/No, data, arrays, dictionaries), in the proportions real
// dumps have them, and among them the network ports of a recent Mac.
#pragma once

#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/PropertyListFile.h"
#include "platform/iokit/IORegistry.h"

namespace large_registry_dump {

// The six ports, each with its controller and the controller's provider:
// built-in Ethernet en0 (a driver's own interface class), Wi-Fi en1 in a
// PCI slot, two Thunderbolt bridges whose provider has no "name", and two
// Bluetooth serial ports.
inline const char* PortSubtrees() {
    return R"(  +-o GIGE@0  <class IOPCIDevice, id 0x10000016a, registered, matched, active, busy 0 (0 ms), retain 12>
  | | {
  | |   "name" = <"ethernet">
  | |   "IOChildIndex" = 1
  | | }
  | | 
  | +-o BCM5701Enet  <class BCM5701Enet, id 0x100000273, registered, matched, active, busy 0 (0 ms), retain 10>
  |   | {
  |   |   "IOClass" = "BCM5701Enet"
  |   |   "IOProviderClass" = "IOPCIDevice"
  |   |   "IOMACAddress" = <10ddb1ea91fa>
  |   | }
  |   | 
  |   +-o en0@0  <class IOEthernetAVBInterface, id 0x100000279, registered, matched, active, busy 0 (0 ms), retain 9>
  |       {
  |         "BSD Name" = "en0"
  |         "IOInterfaceType" = 6
  |         "IOMediaAddressLength" = 6
  |       }
  |       
  +-o ARPT@0  <class IOPCIDevice, id 0x10000016b, registered, matched, active, busy 0 (0 ms), retain 12>
  | | {
  | |   "name" = <"pci14e4,43a0">
  | |   "AAPL,slot-name" = <"AirPort">
  | | }
  | | 
  | +-o AirPort_Brcm4360  <class AirPort_Brcm4360, id 0x100000280, registered, matched, active, busy 0 (0 ms), retain 10>
  |   | {
  |   |   "IOClass" = "AirPort_Brcm4360"
  |   |   "IOProviderClass" = "IOPCIDevice"
  |   |   "IOMACAddress" = <c8e0eb2c72fd>
  |   | }
  |   | 
  |   +-o en1  <class AirPort_Brcm4360_Interface, id 0x100000281, registered, matched, active, busy 0 (0 ms), retain 9>
  |       {
  |         "BSD Name" = "en1"
  |         "IOInterfaceType" = 6
  |         "IOMediaAddressLength" = 6
  |       }
  |       
  +-o AppleThunderboltIPService  <class AppleThunderboltIPService, id 0x100000290, registered, matched, active, busy 0 (0 ms), retain 8>
  | | {
  | |   "IOClass" = "AppleThunderboltIPService"
  | | }
  | | 
  | +-o AppleThunderboltIPPort  <class AppleThunderboltIPPort, id 0x100000291, registered, matched, active, busy 0 (0 ms), retain 8>
  | | | {
  | | |   "IOMACAddress" = <32001b9d6000>
  | | | }
  | | | 
  | | +-o en4  <class IOEthernetInterface, id 0x100000292, registered, matched, active, busy 0 (0 ms), retain 8>
  | |     {
  | |       "BSD Name" = "en4"
  | |       "IOInterfaceType" = 6
  | |       "IOMediaAddressLength" = 6
  | |     }
  | |     
  | +-o AppleThunderboltIPPort  <class AppleThunderboltIPPort, id 0x100000293, registered, matched, active, busy 0 (0 ms), retain 8>
  |   | {
  |   |   "IOMACAddress" = <32001b9d6001>
  |   | }
  |   | 
  |   +-o en3  <class IOEthernetInterface, id 0x100000294, registered, matched, active, busy 0 (0 ms), retain 8>
  |       {
  |         "BSD Name" = "en3"
  |         "IOInterfaceType" = 6
  |         "IOMediaAddressLength" = 6
  |       }
  |       
  +-o IOSerialBSDClient  <class IOSerialBSDClient, id 0x100000377, registered, matched, active, busy 0 (0 ms), retain 5>
  | {
  |   "IOTTYDevice" = "Bluetooth-Modem"
  |   "IOTTYBaseName" = "Bluetooth-Modem"
  |   "IOSerialBSDClientType" = "IOModemSerialStream"
  | }
  | 
  +-o IOSerialBSDClient  <class IOSerialBSDClient, id 0x100000378, registered, matched, active, busy 0 (0 ms), retain 5>
  | {
  |   "IOTTYDevice" = "Bluetooth-Incoming-Port"
  |   "IOTTYBaseName" = "Bluetooth-Incoming-Port"
  |   "IOSerialBSDClientType" = "IORS232SerialStream"
  | }
  | 
)";
}
constexpr long kPorts = 6;

// value in hexadecimal, digits long.
inline std::string Hex(unsigned long value, int digits) {
    char text[32];
    std::snprintf(text, sizeof text, "%0*lx", digits, value);
    return text;
}

// One entry that is no port, drawn at depth (the root's children are at 1),
// its properties varied by n.
inline void WriteEntry(std::ofstream& out, int depth, long n) {
    std::string indent;
    for (int level = 1; level < depth; ++level) indent += "| ";
    std::string lead = "  " + indent;
    out << lead << "+-o Device" << n << "@" << n % 8 << "  <class AppleDevice" << n % 97 << ", id 0x1" << Hex(n, 8)
        << ", registered, matched, active, busy 0 (0 ms), retain " << 5 + n % 9 << ">\n";
    std::string in = lead + "| ";
    out << in << "{\n";
    out << in << "  \"IOClass\" = \"AppleDevice" << n % 97 << "\"\n";
    out << in << "  \"CFBundleIdentifier\" = \"com.apple.driver.AppleDevice" << n % 97 << "\"\n";
    out << in << "  \"IOProviderClass\" = \"IOPCIDevice\"\n";
    out << in << "  \"IOMatchCategory\" = \"IODefaultMatchCategory\"\n";
    out << in << "  \"IOProbeScore\" = " << n % 5000 << "\n";
    out << in << "  \"IOPowerManagement\" = {\"DevicePowerState\"=2,\"CurrentPowerState\"=2,\"CapabilityFlags\"="
        << n % 4 << ",\"MaxPowerState\"=2,\"DriverPowerState\"=0}\n";
    out << in << "  \"IOGeneralInterest\" = \"IOCommand is not serializable\"\n";
    out << in << "  \"IOInterruptControllers\" = (\"io-apic-0\",\"io-apic-1\")\n";
    out << in << "  \"IOInterruptSpecifiers\" = (<" << Hex(0x1000000 + n, 8) << "00000000>,<0500000000000000>)\n";
    out << in << "  \"name\" = <\"pci8086," << n % 10000 << "\">\n";
    out << in << "  \"compatible\" = <\"pci106b,f0\",\"pci8086," << n % 10000 << "\",\"pciclass,0c0330\">\n";
    out << in << "  \"reg\" = <00" << Hex(n % 256, 2) << "0000000000000000000000000000000000000000000000000000>\n";
    out << in << "  \"assigned-addresses\" = <10" << Hex(n % 256, 2)
        << "00820000000000000000c0a0000000000000010000000000000000>\n";
    out << in << "  \"vendor-id\" = <86800000>\n";
    out << in << "  \"device-id\" = <" << Hex(0x1000 + n % 0xE000, 4) << "0000>\n";
    out << in << "  \"IOPCIExpressLinkStatus\" = " << 0x1000 + n % 4096 << "\n";
    out << in << "  \"IOPCIExpressLinkCapabilities\" = " << 0x20000 + n % 65536 << "\n";
    out << in << "  \"IOPCIResourced\" = Yes\n";
    out << in << "  \"IOPCIPauseCompatible\" = " << (n % 2 ? "Yes" : "No") << "\n";
    out << in << "  \"IODeviceMemory\" = (({\"address\"=" << 3221225472L + n * 4096
        << ",\"length\"=65536}),({\"address\"=" << 2684354560L + n * 256 << ",\"length\"=256}))\n";
    out << in << "  \"IOReportLegend\" = ({\"IOReportGroupName\"=\"Interrupt Statistics (by index)\","
        << "\"IOReportChannels\"=((5291294645182070784," << 4295098369L + n
        << ",\"               First Level Interrupt Handler Count\"),(5291294645182070785," << 4295098369L + n
        << ",\"              Second Level Interrupt Handler Count\"),(5291294645182070786," << 4295098369L + n
        << ",\"          First Level Interrupt Handler Time (MATUs)\")),\"IOReportChannelInfo\"={"
        << "\"IOReportChannelUnit\"=0}})\n";
    out << in << "  \"IOReportLegendPublic\" = Yes\n";
    out << in << "  \"acpi-path\" = \"IOACPIPlane:/_SB/PCI0@0/RP0" << n % 8 << "@1c000" << n % 8 << "/DEV" << n
        << "@0\"\n";
    out << in << "  \"AAPL,slot-name\" = <\"Built In\">\n";
    out << in << "  \"built-in\" = <00>\n";
    out << in << "}\n" << in << "\n";
}

// Writes a dump of about targetBytes; returns its size.
inline long Write(const std::string& path, long targetBytes) {
    std::ofstream out(path, std::ios::binary);
    out << "+-o Root  <class IORegistryEntry, id 0x100000100, retain 12>\n"
           "  | {\n"
           "  |   \"IOKitBuildVersion\" = \"Darwin Kernel Version 13.2.0: Thu Apr 17 23:03:13 PDT 2014\"\n"
           "  |   \"IORegistryPlanes\" = {\"IOUSB\"=\"IOUSBPlane\",\"IOService\"=\"IOService\",\"IOPower\"=\"IOPower\"}\n"
           "  | }\n"
           "  | \n";
    out << PortSubtrees();
    // Entries in runs that go ten levels down and back: each deeper one is
    // the child of the one before.
    for (long n = 0; out.tellp() < targetBytes; ++n) WriteEntry(out, 1 + static_cast<int>(n % 10), n);
    return static_cast<long>(out.tellp());
}

// An entry of a registry and everything under it as "ioreg -a" writes
// them: its properties with its class, name and children.
inline CFRef<CFMutableDictionaryRef> AsPropertyList(const IORegistry& registry, std::size_t index) {
    const IORegistryEntry& entry = registry.entry(index);
    CFRef<CFMutableDictionaryRef> dict(CFDictionaryCreateMutableCopy(nullptr, 0, entry.properties.get()));
    CFRef<CFStringRef> className(CFStringCreateWithCString(nullptr, entry.className.c_str(), kCFStringEncodingUTF8));
    CFRef<CFStringRef> name(CFStringCreateWithCString(nullptr, entry.name.c_str(), kCFStringEncodingUTF8));
    CFDictionarySetValue(dict.get(), CFSTR("IOObjectClass"), className.get());
    CFDictionarySetValue(dict.get(), CFSTR("IORegistryEntryName"), name.get());
    if (!entry.children.empty()) {
        CFRef<CFMutableArrayRef> children(CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks));
        for (std::size_t child : entry.children) CFArrayAppendValue(children.get(), AsPropertyList(registry, child).get());
        CFDictionarySetValue(dict.get(), CFSTR("IORegistryEntryChildren"), children.get());
    }
    return dict;
}

// Writes the registry of the text dump at textPath as "ioreg -a" does (XML)
// to xmlPath; returns its size, or -1.
inline long WritePropertyListForm(const std::string& textPath, const std::string& xmlPath) {
    std::ifstream in(textPath, std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::string fault, xml;
    IORegistryNotes notes;
    std::shared_ptr<IORegistry> registry = IORegistryCreateFromText(text, &fault, &notes);
    if (!registry || !PropertyListEncodeFileBytes(AsPropertyList(*registry, 0).get(), PropertyListFormat::XML, &xml,
                                                  &fault)) {
        return -1;
    }
    std::ofstream(xmlPath, std::ios::binary) << xml;
    return static_cast<long>(xml.size());
}

}  // namespace large_registry_dump
