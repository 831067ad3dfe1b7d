// This machine's network ports as registry entries, read from sysfs. Each
// port becomes three entries under the root, shaped as the platform's
// registry shapes them:
//
//   bus device (IOPCIDevice, IOUSBHostInterface or IOPlatformDevice)
//     controller (IOEthernetController / IO80211Controller, or the serial
//                 stream IOModemSerialStreamSync / IORS232SerialStreamSync)
//       port (IOEthernetInterface / IO80211Interface, or IOSerialBSDClient)
//
// Only interfaces and serial ports with a real device behind them count:
// loopback, bridges, veth, ifb, tun and the like have no "device" link,
// and a serial port whose "type" is 0 has no UART.
//
// Every attribute is read as a regular file of at most a few KB, opened
// without blocking: a FIFO, a device or a huge file in its place cannot
// hold the listing up. A port whose attribute cannot be read, or whose name
// is not UTF-8 text, is left out with a note naming the file.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <filesystem>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/iokit/IOKitKeys.h"
#include "platform/iokit/IORegistry.h"
#include "platform/posix/AtomicFile.h"

namespace fs = std::filesystem;

namespace {

// sysfs gives every attribute file the size of a page; its text is far
// shorter.
constexpr std::size_t kMaxAttributeSize = 8192;

// An attribute file's first line without trailing white space, in *text
// ("" when there is no such file). False, with a note naming the file and
// what is wrong, when the file is there but cannot be read.
bool ReadAttribute(const fs::path& file, std::string* text, const std::string& port, IORegistryNotes* notes) {
    text->clear();
    FileStamp stamp;
    int error = 0;
    const char* kind = "not a plain file";
    std::string problem;
    switch (ReadRegularFile(file.string(), kMaxAttributeSize, text, &stamp, &error, &kind)) {
        case FileReadResult::Read: {
            text->resize(std::min(text->size(), text->find('\n')));
            while (!text->empty() && std::isspace(static_cast<unsigned char>(text->back()))) text->pop_back();
            return true;
        }
        case FileReadResult::Missing: return true;
        case FileReadResult::Failed: problem = std::strerror(error); break;
        case FileReadResult::NotRegular: problem = std::string("it is ") + kind; break;
        case FileReadResult::TooLarge: problem = "larger than " + std::to_string(kMaxAttributeSize) + " bytes"; break;
    }
    text->clear();
    notes->push_back("left out " + port + ": cannot read " + file.string() + ": " + problem);
    return false;
}

// Whether a name can be a registry string; a note naming the path when not.
bool IsUTF8Name(const std::string& name, const fs::path& path, IORegistryNotes* notes) {
    CFRef<CFStringRef> text(CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>(name.data()),
                                                    static_cast<CFIndex>(name.size()), kCFStringEncodingUTF8, false));
    if (!text) notes->push_back("left out " + path.string() + ": its name is not UTF-8 text");
    return static_cast<bool>(text);
}

bool Exists(const fs::path& path) {
    std::error_code error;
    return fs::exists(path, error);
}

// The names in a directory, sorted; none when it cannot be read.
std::vector<std::string> ListNames(const fs::path& dir) {
    std::vector<std::string> names;
    std::error_code error;
    for (fs::directory_iterator it(dir, error), end; !error && it != end; it.increment(error)) {
        names.push_back(it->path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

// The bus of a device: the last component of its "subsystem" link.
std::string SubsystemOf(const fs::path& device) {
    std::error_code error;
    fs::path target = fs::read_symlink(device / "subsystem", error);
    return error ? std::string() : target.filename().string();
}

enum class Bus { PCI, USB, Other };

struct BusDevice {
    Bus bus;
    fs::path path;
};

// The device on a bus that carries a port. Transport layers between the two
// (virtio, USB serial converters) are passed through.
BusDevice FindBusDevice(fs::path device) {
    for (int hops = 0; hops < 8; ++hops) {
        std::string subsystem = SubsystemOf(device);
        if (subsystem == "pci") return {Bus::PCI, device};
        if (subsystem == "usb") return {Bus::USB, device};
        if (subsystem != "virtio" && subsystem != "usb-serial") break;
        device = device.parent_path();
    }
    return {Bus::Other, device};
}

const char* BusDeviceClass(Bus bus) {
    switch (bus) {
    case Bus::PCI: return "IOPCIDevice";
    case Bus::USB: return "IOUSBHostInterface";
    case Bus::Other: break;
    }
    return "IOPlatformDevice";
}

CFRef<CFMutableDictionaryRef> NewProperties() {
    return CFRef<CFMutableDictionaryRef>(
        CFDictionaryCreateMutable(nullptr, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
}

void SetString(CFMutableDictionaryRef dict, CFStringRef key, const std::string& text) {
    CFRef<CFStringRef> value(CFStringCreateWithCString(nullptr, text.c_str(), kCFStringEncodingUTF8));
    if (value) CFDictionarySetValue(dict, key, value.get());
}

// Text as firmware properties hold it: bytes ending in a zero byte.
void SetFirmwareText(CFMutableDictionaryRef dict, CFStringRef key, const std::string& text) {
    CFRef<CFDataRef> value(CFDataCreate(nullptr, reinterpret_cast<const UInt8*>(text.c_str()),
                                        static_cast<CFIndex>(text.size() + 1)));
    CFDictionarySetValue(dict, key, value.get());
}

void SetNumber(CFMutableDictionaryRef dict, CFStringRef key, SInt32 number) {
    CFRef<CFNumberRef> value(CFNumberCreate(nullptr, kCFNumberSInt32Type, &number));
    CFDictionarySetValue(dict, key, value.get());
}

// "00:1b:21:3a:4f:02" as bytes; false unless every field is one or two
// hexadecimal digits.
bool ParseHardwareAddress(const std::string& text, std::vector<UInt8>* bytes) {
    std::size_t start = 0;
    while (start <= text.size()) {
        std::size_t end = std::min(text.find(':', start), text.size());
        std::size_t length = end - start;
        if (length == 0 || length > 2) return false;
        unsigned value = 0;
        for (std::size_t i = start; i < end; ++i) {
            char c = text[i];
            if (!std::isxdigit(static_cast<unsigned char>(c))) return false;
            value = value * 16 + static_cast<unsigned>(std::isdigit(static_cast<unsigned char>(c))
                                                           ? c - '0'
                                                           : std::tolower(static_cast<unsigned char>(c)) - 'a' + 10);
        }
        bytes->push_back(static_cast<UInt8>(value));
        start = end + 1;
    }
    return !bytes->empty();
}

// What sysfs says about PCI slots and cards, read once per registry.
struct PCILayout {
    // The slot name for each slot address ("0000:02:00").
    std::unordered_map<std::string, std::string> slots;
    // The functions with network interfaces for each device address, in
    // order ("0000:02:00" -> 0000:02:00.0, 0000:02:00.1).
    std::unordered_map<std::string, std::vector<std::string>> networkFunctions;
};

// A PCI function's device address: "0000:02:00.1" -> "0000:02:00".
std::string DeviceAddress(const std::string& function) { return function.substr(0, function.rfind('.')); }

PCILayout ReadPCILayout(const fs::path& sysDir, IORegistryNotes* notes) {
    PCILayout layout;
    fs::path slots = sysDir / "bus/pci/slots";
    for (const std::string& slot : ListNames(slots)) {
        std::string address;
        if (ReadAttribute(slots / slot / "address", &address, "PCI slot " + slot, notes)) {
            layout.slots.emplace(address, slot);
        }
    }
    fs::path devices = sysDir / "bus/pci/devices";
    for (const std::string& function : ListNames(devices)) {
        if (Exists(devices / function / "net")) layout.networkFunctions[DeviceAddress(function)].push_back(function);
    }
    return layout;
}

// The slot holding a PCI function; empty when no slot names it.
std::string PCISlotName(const PCILayout& layout, const std::string& function) {
    auto found = layout.slots.find(DeviceAddress(function));
    return found != layout.slots.end() ? found->second : std::string();
}

// The index of a network function among the network functions of its PCI
// device, when there are several (a card with more than one port); -1
// otherwise. Functions without network interfaces (a chipset's audio or
// bridge beside an on-board controller) do not count.
int PCIPortIndex(const PCILayout& layout, const std::string& function) {
    auto found = layout.networkFunctions.find(DeviceAddress(function));
    if (found == layout.networkFunctions.end() || found->second.size() < 2) return -1;
    const std::vector<std::string>& functions = found->second;
    auto position = std::find(functions.begin(), functions.end(), function);
    return position != functions.end() ? static_cast<int>(position - functions.begin()) : -1;
}

// The bus device entry for a port, under the root.
std::size_t AddBusDevice(IORegistry* registry, const PCILayout& layout, const BusDevice& bus, bool wireless) {
    CFRef<CFMutableDictionaryRef> properties = NewProperties();
    SetFirmwareText(properties.get(), CFSTR("name"), wireless ? "radio" : "ethernet");
    if (bus.bus == Bus::PCI) {
        std::string function = bus.path.filename().string();
        std::string slot = PCISlotName(layout, function);
        if (!slot.empty()) SetFirmwareText(properties.get(), CFSTR("AAPL,slot-name"), "SLOT-" + slot);
        int portIndex = PCIPortIndex(layout, function);
        if (portIndex >= 0) SetNumber(properties.get(), CFSTR("IOChildIndex"), portIndex);
    }
    return registry->AddEntry(0, BusDeviceClass(bus.bus), std::move(properties));
}

void AddNetworkInterfaces(IORegistry* registry, const fs::path& sysDir, IORegistryNotes* notes) {
    PCILayout layout = ReadPCILayout(sysDir, notes);
    fs::path netDir = sysDir / "class/net";
    for (const std::string& name : ListNames(netDir)) {
        fs::path interfaceDir = netDir / name;
        std::string type, hardwareAddress;
        if (!ReadAttribute(interfaceDir / "type", &type, name, notes) || type != "1") continue;  // not Ethernet
        std::error_code error;
        fs::path device = fs::canonical(interfaceDir / "device", error);
        if (error) continue;  // virtual
        if (!IsUTF8Name(name, interfaceDir, notes) ||
            !ReadAttribute(interfaceDir / "address", &hardwareAddress, name, notes)) {
            continue;
        }
        bool wireless = Exists(interfaceDir / "wireless") || Exists(interfaceDir / "phy80211");
        BusDevice bus = FindBusDevice(device);
        std::size_t busEntry = AddBusDevice(registry, layout, bus, wireless);

        const char* controllerClass = wireless ? "IO80211Controller" : "IOEthernetController";
        CFRef<CFMutableDictionaryRef> controller = NewProperties();
        SetString(controller.get(), CFSTR(kIOClassKey), controllerClass);
        SetString(controller.get(), CFSTR(kIOProviderClassKey), BusDeviceClass(bus.bus));
        std::vector<UInt8> address;
        if (ParseHardwareAddress(hardwareAddress, &address)) {
            CFRef<CFDataRef> data(CFDataCreate(nullptr, address.data(), static_cast<CFIndex>(address.size())));
            CFDictionarySetValue(controller.get(), CFSTR(kIOMACAddress), data.get());
        }
        std::size_t controllerEntry = registry->AddEntry(busEntry, controllerClass, std::move(controller));

        CFRef<CFMutableDictionaryRef> interface = NewProperties();
        SetString(interface.get(), CFSTR(kIOBSDNameKey), name);
        registry->AddEntry(controllerEntry, wireless ? "IO80211Interface" : "IOEthernetInterface",
                           std::move(interface));
    }
}

// The product string of the USB device a port belongs to, in *product
// ("" if none); false when it cannot be read.
bool ReadUSBProductName(fs::path device, std::string* product, const std::string& port, IORegistryNotes* notes) {
    product->clear();
    for (int hops = 0; hops < 4 && SubsystemOf(device) == "usb"; ++hops) {
        if (Exists(device / "product")) return ReadAttribute(device / "product", product, port, notes);
        device = device.parent_path();
    }
    return true;
}

void AddSerialPorts(IORegistry* registry, const fs::path& sysDir, IORegistryNotes* notes) {
    fs::path ttyDir = sysDir / "class/tty";
    for (const std::string& name : ListNames(ttyDir)) {
        std::error_code error;
        fs::path device = fs::canonical(ttyDir / name / "device", error);
        if (error) continue;  // a console, pseudo-terminal or other virtual terminal
        bool modem = name.compare(0, 6, "ttyACM") == 0;
        std::string uart, product;
        if (!modem && (!ReadAttribute(ttyDir / name / "type", &uart, name, notes) || uart == "0")) continue;
        if (!IsUTF8Name(name, ttyDir / name, notes)) continue;
        if (modem && !ReadUSBProductName(device, &product, name, notes)) continue;

        std::size_t digits = name.size();
        while (digits > 0 && std::isdigit(static_cast<unsigned char>(name[digits - 1]))) --digits;
        std::string baseName = modem ? "usbmodem" : name.substr(0, digits);
        std::string suffix = name.substr(digits);
        BusDevice bus = FindBusDevice(device);
        std::size_t busEntry = registry->AddEntry(0, BusDeviceClass(bus.bus), NewProperties());

        const char* streamClass = modem ? "IOModemSerialStreamSync" : "IORS232SerialStreamSync";
        CFRef<CFMutableDictionaryRef> stream = NewProperties();
        SetString(stream.get(), CFSTR(kIOClassKey), streamClass);
        SetString(stream.get(), CFSTR(kIOProviderClassKey), BusDeviceClass(bus.bus));
        if (!product.empty()) SetString(stream.get(), CFSTR("Product Name"), product);
        std::size_t streamEntry = registry->AddEntry(busEntry, streamClass, std::move(stream));

        CFRef<CFMutableDictionaryRef> client = NewProperties();
        SetString(client.get(), CFSTR(kIOSerialBSDTypeKey), modem ? kIOSerialBSDModemType : kIOSerialBSDRS232Type);
        SetString(client.get(), CFSTR(kIOTTYBaseNameKey), baseName);
        SetString(client.get(), CFSTR(kIOTTYSuffixKey), suffix);
        SetString(client.get(), CFSTR(kIOTTYDeviceKey), name);
        SetString(client.get(), CFSTR(kIOCalloutDeviceKey), "/dev/" + name);
        SetString(client.get(), CFSTR(kIODialinDeviceKey), "/dev/" + name);
        registry->AddEntry(streamEntry, kIOSerialBSDServiceValue, std::move(client));
    }
}

}  // namespace

std::shared_ptr<IORegistry> IORegistryReadSysfs(const std::string& sysDir, IORegistryNotes* notes) {
    auto registry = std::make_shared<IORegistry>();
    registry->AddEntry(IORegistry::kNoParent, "IORegistryEntry", NewProperties());
    AddNetworkInterfaces(registry.get(), sysDir, notes);
    AddSerialPorts(registry.get(), sysDir, notes);
    return registry;
}
