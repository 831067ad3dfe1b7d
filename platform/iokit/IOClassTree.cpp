#include <string_view>
#include <unordered_map>

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

}  // namespace

bool IOClassConformsTo(const std::string& className, const std::string& ancestor) {
    const auto& table = Superclasses();
    std::string_view current = className;
    while (!current.empty()) {
        if (current == ancestor) return true;
        auto found = table.find(current);
        current = (found != table.end()) ? found->second : std::string_view("IOService");
    }
    return false;
}
