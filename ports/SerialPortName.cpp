// English names of serial ports, chosen from the port's client type and
// its base name: the internal modem, the classic modem and printer ports,
// USB modems (by their product name), infrared ports, and any other port
// by its base name.
#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"
#include "ports/PortKeys.h"
#include "ports/PortNames.h"
#include "ports/RegistryObject.h"

namespace {

bool Is(CFStringRef text, CFStringRef other) { return CFStringCompare(text, other, 0) == kCFCompareEqualTo; }

// A USB modem's name: the product name its driver (the parent) reports,
// used as it is, else "USB Modem".
CFStringRef CopyUSBModemName(io_object_t interface) {
    RegistryObject parent;
    CFStringRef productName = nil;
    if (IORegistryEntryGetParentEntry(interface, kIOServicePlane, parent.out()) == noErr) {
        productName = CopyStringProperty(parent.get(), CFSTR("Product Name"));
    }
    return productName != nil ? productName : static_cast<CFStringRef>(CFRetain(CFSTR("USB Modem")));
}

// Any other port: "<base name>-port", with the base name stored in lower
// case for the substitution.
CFStringRef CopyGenericSerialName(CFStringRef baseName, CFMutableDictionaryRef interfaceInfo) {
    CFRef<CFMutableStringRef> lowerCase(CFStringCreateMutableCopy(kCFAllocatorDefault, 0, baseName));
    if (lowerCase) CFStringLowercase(lowerCase.get(), nil);
    CFDictionarySetValue(interfaceInfo, CFSTR(kIOTTYBaseNameKey),
                         lowerCase ? static_cast<CFStringRef>(lowerCase.get()) : CFSTR("unknown"));
    return static_cast<CFStringRef>(CFRetain(CFSTR("%4$@-port")));
}

}  // namespace

OSStatus CopyUserVisibleNameForModemOrSerialPort(io_object_t interface, CFMutableDictionaryRef interfaceInfo,
                                                 CFStringRef* userVisibleName) {
    MoreAssertQ(interface != 0);
    MoreAssertQ(interfaceInfo != nil);
    MoreAssertQ(userVisibleName != nil);
    MoreAssertQ(*userVisibleName == nil);

    CFRef<CFStringRef> clientType;
    CFRef<CFStringRef> baseName;
    bool modemStream = false;

    OSStatus err = noErr;
    clientType.reset(CopyStringProperty(interface, CFSTR(kIOSerialBSDTypeKey)));
    if (!clientType) err = kPortScannerErr;
    if (err == noErr && Is(clientType.get(), CFSTR(kIOSerialBSDModemType))) {
        modemStream = true;
        SetSortOrder(interfaceInfo, 2);
    }
    if (err == noErr) {
        baseName.reset(CopyStringProperty(interface, CFSTR(kIOTTYBaseNameKey)));
        if (!baseName) err = kPortScannerErr;
    }
    if (err == noErr) {
        CFStringRef englishName = nil;  // a constant template
        if (modemStream && Is(baseName.get(), CFSTR("modem"))) {
            SetSortOrder(interfaceInfo, 0);
            englishName = CFSTR("Internal Modem");
        } else if (Is(baseName.get(), CFSTR("modem"))) {
            englishName = CFSTR("Modem Port");
        } else if (Is(baseName.get(), CFSTR("printer"))) {
            englishName = CFSTR("Printer Port");
        } else if (Is(baseName.get(), CFSTR("modem-printer"))) {
            englishName = CFSTR("Modem/Printer Port");
        } else if (Is(baseName.get(), CFSTR("usbmodem"))) {
            SetSortOrder(interfaceInfo, 1);
            *userVisibleName = CopyUSBModemName(interface);
        } else if (Is(baseName.get(), CFSTR("IrDA-IrCOMM"))) {
            englishName = CFSTR("IrDA Modem Port");
        } else {
            *userVisibleName = CopyGenericSerialName(baseName.get(), interfaceInfo);
        }
        if (englishName != nil) *userVisibleName = static_cast<CFStringRef>(CFRetain(englishName));
    }

    MoreAssertQ((err == 0) == (*userVisibleName != nil));
    return err;
}
