#include "ports/PortDictionaries.h"

#include "entities/MoreSCAddresses.h"
#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"
#include "ports/PortKeys.h"
#include "ports/PortNames.h"
#include "ports/RegistryObject.h"

namespace {

// The controller's "IOMACAddress" as text, when it is 6 bytes of data.
OSStatus SetMACAddress(io_object_t controller, CFMutableDictionaryRef interfaceInfo) {
    CFRef<CFTypeRef> address(IORegistryEntryCreateCFProperty(controller, CFSTR(kIOMACAddress), kCFAllocatorDefault, 0));
    if (!address || CFGetTypeID(address.get()) != CFDataGetTypeID() ||
        CFDataGetLength(static_cast<CFDataRef>(address.get())) != 6) {
        return noErr;
    }
    CFRef<CFStringRef> text;
    OSStatus err = MoreSCFCreateStringWithMacAddress(CFDataGetBytePtr(static_cast<CFDataRef>(address.get())),
                                                     text.out());
    if (err == noErr) CFDictionarySetValue(interfaceInfo, kSCPropMACAddress, text.get());
    return err;
}

}  // namespace

OSStatus EthernetDeviceToDictProc(void* /*refCon*/, io_object_t interface, CFMutableDictionaryRef interfaceInfo) {
    MoreAssertQ(interface != 0);
    MoreAssertQ(interfaceInfo != nil);

    SetSortOrder(interfaceInfo, 9);
    CFRef<CFStringRef> bsdName(CopyStringProperty(interface, CFSTR(kIOBSDNameKey)));
    OSStatus err = noErr;
    if (bsdName) CFDictionarySetValue(interfaceInfo, kSCPropNetInterfaceDeviceName, bsdName.get());
    else err = kPortScannerErr;
    CFDictionarySetValue(interfaceInfo, kSCPropNetInterfaceHardware, kSCEntNetEthernet);
    CFDictionarySetValue(interfaceInfo, kSCPropNetInterfaceType, kSCValNetInterfaceTypeEthernet);

    RegistryObject controller;
    if (err == noErr) err = IORegistryEntryGetParentEntry(interface, kIOServicePlane, controller.out());
    if (err == noErr) err = SetMACAddress(controller.get(), interfaceInfo);
    return err;
}

OSStatus ModemOrSerialDeviceToDictProc(void* /*refCon*/, io_object_t interface, CFMutableDictionaryRef interfaceInfo) {
    MoreAssertQ(interface != 0);
    MoreAssertQ(interfaceInfo != nil);

    CFRef<CFMutableDictionaryRef> properties;
    OSStatus err = IORegistryEntryCreateCFProperties(interface, properties.out(), kCFAllocatorDefault, 0);
    if (err != noErr) return err;

    const void* baseName = CFDictionaryGetValue(properties.get(), CFSTR(kIOTTYBaseNameKey));
    if (baseName == nil || CFGetTypeID(baseName) != CFStringGetTypeID() ||
        CFStringCompare(static_cast<CFStringRef>(baseName), CFSTR("irda"), 0) == kCFCompareEqualTo) {
        return noErr;  // not a port: the dictionary stays empty
    }
    SetSortOrder(interfaceInfo, 4);
    const void* device = CFDictionaryGetValue(properties.get(), CFSTR(kIOTTYDeviceKey));
    if (device != nil) CFDictionarySetValue(interfaceInfo, kSCPropNetInterfaceDeviceName, device);
    CFDictionarySetValue(interfaceInfo, kSCPropNetInterfaceHardware, kSCEntNetModem);
    CFDictionarySetValue(interfaceInfo, kSCPropNetInterfaceType, kSCValNetInterfaceTypePPP);
    CFDictionarySetValue(interfaceInfo, kSCPropNetInterfaceSubType, kSCValNetInterfaceSubTypePPPSerial);
    if (CFStringHasPrefix(static_cast<CFStringRef>(baseName), CFSTR("IrDA-IrCOMM"))) {
        SetSortOrder(interfaceInfo, 3);
        CFDictionarySetValue(interfaceInfo, kSCPropNetInterfaceHardwareVariant, CFSTR("IrDA-IrCOMM"));
    }
    return noErr;
}
