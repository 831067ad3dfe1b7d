#include "moresc/Ports.h"

#include "moresc/Text.h"

namespace {

// The scanner's status for a port it cannot name.
const OSStatus kPortNotNamedErr = -1;

// moresc speaks English: the template stays the scanner's own. A port that
// no rule could name (englishName nil) stays unnamed, which fails the
// listing as it would without a callback.
OSStatus CopyEnglishPortName(io_object_t interface, CFDictionaryRef interfaceInfo, CFStringRef englishName,
                             CFStringRef* nameTemplate) {
    (void) interface;
    (void) interfaceInfo;
    if (englishName == nil) return kPortNotNamedErr;
    *nameTemplate = CFStringCreateCopy(kCFAllocatorDefault, englishName);
    return *nameTemplate != nil ? noErr : coreFoundationUnknownErr;
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
