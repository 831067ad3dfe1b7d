#include <string_view>
#include <unordered_map>

#include "platform/iokit/IOKitKeys.h"
#include "platform/iokit/IORegistry.h"

namespace {

// Each class of the tree with its superclass. The lineages are those the
// network ports involve: interfaces, controllers, serial streams and the
// bus devices they sit on.
const std::unordered_map<std::string_view, std::string_view>& Superclasses() {
    static const std::unordered_map<std::string_view, std::string_view> table = {
        {"OSObject", ""},
        {"IORegistryEntry", "OSObject"},
        {"IOService", "IORegistryEntry"},
        {"IONetworkInterface", "IOService"},
        {"IOEthernetInterface", "IONetworkInterface"},
        {"IO80211Interface", "IOEthernetInterface"},
        {"IONetworkController", "IOService"},
        {"IOEthernetController", "IONetworkController"},
        {"IO80211Controller", "IOEthernetController"},
        {"IOSerialBSDClient", "IOService"},
        {"IOSerialStreamSync", "IOService"},
        {"IOModemSerialStreamSync", "IOSerialStreamSync"},
        {"IORS232SerialStreamSync", "IOSerialStreamSync"},
        {"IOPCIDevice", "IOService"},
        {"IOUSBHostDevice", "IOService"},
        {"IOUSBHostInterface", "IOService"},
        {"IOPlatformDevice", "IOService"},
    };
    return table;
}

// The network interface types and address lengths the networking family
// publishes for Ethernet ("IOInterfaceType" 6 is Ethernet; FireWire is 144
// with 8-byte addresses).
constexpr SInt64 kEthernetInterfaceType = 6;
constexpr SInt64 kEthernetAddressLength = 6;

bool HasNumber(CFDictionaryRef properties, CFStringRef key, SInt64 wanted) {
    const void* value = CFDictionaryGetValue(properties, key);
    SInt64 number = 0;
    return value != nullptr && CFGetTypeID(value) == CFNumberGetTypeID() &&
           CFNumberGetValue(static_cast<CFNumberRef>(value), kCFNumberSInt64Type, &number) && number == wanted;
}

bool HasString(CFDictionaryRef properties, CFStringRef key) {
    const void* value = CFDictionaryGetValue(properties, key);
    return value != nullptr && CFGetTypeID(value) == CFStringGetTypeID();
}

}  // namespace

bool IOClassConformsTo(std::string_view className, std::string_view ancestor) {
    const auto& table = Superclasses();
    std::string_view current = className;
    while (!current.empty()) {
        if (current == ancestor) return true;
        auto found = table.find(current);
        current = (found != table.end()) ? found->second : std::string_view("IOService");
    }
    return false;
}

std::string_view IOClassInTree(const std::string& className, CFDictionaryRef properties) {
    const auto& table = Superclasses();
    auto known = table.find(className);
    if (known != table.end()) return known->first;
    // Drivers publish their interfaces and serial ports under classes of
    // their own (IOEthernetAVBInterface, AirPort_Brcm4360_Interface, ...),
    // with the properties their family gives every one of its kind.
    if (properties != nullptr) {
        if (HasNumber(properties, CFSTR("IOInterfaceType"), kEthernetInterfaceType) &&
            HasNumber(properties, CFSTR("IOMediaAddressLength"), kEthernetAddressLength) &&
            HasString(properties, CFSTR(kIOBSDNameKey))) {
            return "IOEthernetInterface";
        }
        if (HasString(properties, CFSTR(kIOSerialBSDTypeKey)) && HasString(properties, CFSTR(kIOTTYBaseNameKey))) {
            return kIOSerialBSDServiceValue;
        }
    }
    return "IOService";
}

bool IORegistry::ConformsTo(std::size_t index, std::string_view ancestor) const {
    const IORegistryEntry& entry = entries_[index];
    if (entry.className == ancestor) return true;
    if (!entry.superclasses.empty()) {
        for (const std::string& superclass : entry.superclasses) {
            if (superclass == ancestor) return true;
        }
        return false;
    }
    return IOClassConformsTo(entry.treeClass.empty() ? std::string_view(entry.className) : entry.treeClass, ancestor);
}
