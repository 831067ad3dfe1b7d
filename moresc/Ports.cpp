#include "moresc/Ports.h"

#include "moresc/Text.h"

namespace {

// The scanner's status for a port it cannot name.
const OSStatus kPortNotNamedErr = -1;

// "en4 (IOEthernetInterface)": the port's BSD or tty name and its class.
std::string DescribePort(io_object_t interface, CFDictionaryRef interfaceInfo) {
    io_name_t className = "";
    IOObjectGetClass(interface, className);
    std::string device = PortText(interfaceInfo, kSCPropNetInterfaceDeviceName);
    return (device.empty() ? std::string("without a device name") : device) + " (" + className + ")";
}

// moresc speaks English: the template stays the scanner's own. An Ethernet
// interface that no rule could name (its controller's provider has no
// "name", as on every Mac with Thunderbolt, or it has no provider at all)
// is an adaptor named by its BSD name, as the last rule would name it; the
// name goes in as it is, with no placeholder left to fill. Any other port
// without a name fails the listing, and says which port it is.
OSStatus CopyEnglishPortName(io_object_t interface, CFDictionaryRef interfaceInfo, CFStringRef englishName,
                             CFStringRef* nameTemplate) {
    if (englishName != nil) {
        *nameTemplate = CFStringCreateCopy(kCFAllocatorDefault, englishName);
        return *nameTemplate != nil ? noErr : coreFoundationUnknownErr;
    }
    const void* device = CFDictionaryGetValue(interfaceInfo, kSCPropNetInterfaceDeviceName);
    if (IOObjectConformsTo(interface, kIOEthernetInterfaceClass) && device != nil &&
        CFGetTypeID(device) == CFStringGetTypeID()) {
        *nameTemplate = CFStringCreateWithFormat(kCFAllocatorDefault, nil, CFSTR("Ethernet Adaptor (%@)"), device);
        return *nameTemplate != nil ? noErr : coreFoundationUnknownErr;
    }
    ReportError("port " + DescribePort(interface, interfaceInfo),
                "no naming rule fits it, and it is no Ethernet interface with a BSD name to name it by");
    return kPortNotNamedErr;
}

CFDictionaryRef PortAt(CFArrayRef ports, CFIndex index) {
    return static_cast<CFDictionaryRef>(CFArrayGetValueAtIndex(ports, index));
}

}  // namespace

void InstallPortNameCallback() { MoreSCFSetPortNameCallback(CopyEnglishPortName); }

CFRef<CFArrayRef> CopyPorts(Outcome* outcome) {
    CFRef<CFArrayRef> ports;
    outcome->Check("MoreSCCreatePortArray", MoreSCCreatePortArray(ports.out()));
    return ports;
}

std::string PortText(CFDictionaryRef port, CFStringRef key) { return TextOf(CFDictionaryGetValue(port, key)); }

CFDictionaryRef FindPortByDevice(CFArrayRef ports, const std::string& device) {
    // A port without a device name is not one that "" names.
    if (device.empty()) return nil;
    CFIndex count = CFArrayGetCount(ports);
    for (CFIndex index = 0; index < count; ++index) {
        CFDictionaryRef port = PortAt(ports, index);
        if (PortText(port, kSCPropNetInterfaceDeviceName) == device) return port;
    }
    return nil;
}

bool IsModemPort(CFDictionaryRef port) {
    CFTypeRef hardware = CFDictionaryGetValue(port, kSCPropNetInterfaceHardware);
    return hardware != nil && CFEqual(hardware, kSCEntNetModem);
}

CFDictionaryRef FindFirstModemPort(CFArrayRef ports) {
    CFIndex count = CFArrayGetCount(ports);
    for (CFIndex index = 0; index < count; ++index) {
        if (IsModemPort(PortAt(ports, index))) return PortAt(ports, index);
    }
    return nil;
}
