// English names of Ethernet interfaces, chosen from the interface, its
// controller (the parent) and the device the controller drives (the
// grandparent): built-in Ethernet, AirPort, other wireless adaptors, cards
// in PCI slots, and any other adaptor by its BSD name.
#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"
#include "ports/PortKeys.h"
#include "ports/PortNames.h"
#include "ports/RegistryObject.h"

namespace {

CFStringRef Retained(CFStringRef text) { return static_cast<CFStringRef>(CFRetain(text)); }

bool StringEquals(CFTypeRef value, CFStringRef text) {
    return value != nil && CFGetTypeID(value) == CFStringGetTypeID() &&
           CFStringCompare(static_cast<CFStringRef>(value), text, 0) == kCFCompareEqualTo;
}

// The slot of a PCI card: the grandparent's "AAPL,slot-name" without a
// leading "SLOT-" (SLOT-A1 is A1), or "unknown".
CFStringRef CreateSlotName(CFDictionaryRef grandparentProperties) {
    CFRef<CFStringRef> slot(CreateStringFromProperty(CFDictionaryGetValue(grandparentProperties,
                                                                          CFSTR("AAPL,slot-name"))));
    if (!slot) return Retained(CFSTR("unknown"));
    if (CFStringHasPrefix(slot.get(), CFSTR("SLOT-"))) {
        CFIndex prefix = CFStringGetLength(CFSTR("SLOT-"));
        return CFStringCreateWithSubstring(kCFAllocatorDefault, slot.get(),
                                           CFRangeMake(prefix, CFStringGetLength(slot.get()) - prefix));
    }
    return slot.release();
}

// The number of a port on a multi-port card, counted from 1, or "unknown".
CFStringRef CreatePortNumber(CFNumberRef childIndex) {
    SInt32 index = 0;
    if (!CFNumberGetValue(childIndex, kCFNumberSInt32Type, &index)) return Retained(CFSTR("unknown"));
    return CFStringCreateWithFormat(kCFAllocatorDefault, nil, CFSTR("%ld"), static_cast<long>(index) + 1);
}

// The rules that look at the grandparent: a radio, or a card in a PCI slot
// (with a port number when the card has several), else an adaptor named by
// its BSD name.
OSStatus CopyNameFromProvider(io_object_t grandparent, CFDictionaryRef parentProperties, CFStringRef bsdName,
                              CFMutableDictionaryRef interfaceInfo, CFStringRef* englishName) {
    CFRef<CFMutableDictionaryRef> grandparentProperties;
    CFRef<CFStringRef> providerName;
    OSStatus err = IORegistryEntryCreateCFProperties(grandparent, grandparentProperties.out(), kCFAllocatorDefault, 0);
    if (err == noErr) {
        providerName.reset(CreateStringFromProperty(CFDictionaryGetValue(grandparentProperties.get(), CFSTR("name"))));
        if (!providerName) err = kPortScannerErr;
    }
    if (err != noErr) return err;

    const void* childIndex = CFDictionaryGetValue(grandparentProperties.get(), CFSTR("IOChildIndex"));
    if (CFStringCompare(providerName.get(), CFSTR("radio"), 0) == kCFCompareEqualTo) {
        SetSortOrder(interfaceInfo, 8);
        *englishName = CFSTR("Wireless Network Adaptor");
    } else if (StringEquals(CFDictionaryGetValue(parentProperties, CFSTR(kIOProviderClassKey)), CFSTR("IOPCIDevice"))) {
        SetSortOrder(interfaceInfo, 6);
        CFRef<CFStringRef> slot(CreateSlotName(grandparentProperties.get()));
        if (slot) CFDictionarySetValue(interfaceInfo, CFSTR("AAPL,slot-name"), slot.get());
        if (childIndex != nil && CFGetTypeID(childIndex) == CFNumberGetTypeID()) {
            CFRef<CFStringRef> port(CreatePortNumber(static_cast<CFNumberRef>(childIndex)));
            if (port) CFDictionarySetValue(interfaceInfo, CFSTR("IOChildIndex"), port.get());
            *englishName = CFSTR("PCI Ethernet Slot %2$@, Port %3$@");
        } else {
            *englishName = CFSTR("PCI Ethernet Slot %2$@");
        }
    } else {
        CFDictionarySetValue(interfaceInfo, CFSTR(kIOBSDNameKey), bsdName != nil ? bsdName : CFSTR("unknown"));
        *englishName = CFSTR("Ethernet Adaptor (%1$@)");
    }
    return noErr;
}

}  // namespace

OSStatus CopyUserVisibleNameForEthernetPort(io_object_t interface, CFMutableDictionaryRef interfaceInfo,
                                            CFStringRef* userVisibleName) {
    MoreAssertQ(interface != 0);
    MoreAssertQ(interfaceInfo != nil);
    MoreAssertQ(userVisibleName != nil);
    MoreAssertQ(*userVisibleName == nil);

    RegistryObject parent;
    RegistryObject grandparent;
    CFRef<CFMutableDictionaryRef> parentProperties;
    CFRef<CFStringRef> bsdName;
    CFStringRef englishName = nil;  // a constant template

    OSStatus err = IORegistryEntryGetParentEntry(interface, kIOServicePlane, parent.out());
    if (err == noErr) err = IORegistryEntryGetParentEntry(parent.get(), kIOServicePlane, grandparent.out());
    if (err == noErr) {
        err = IORegistryEntryCreateCFProperties(parent.get(), parentProperties.out(), kCFAllocatorDefault, 0);
    }
    if (err == noErr) {
        bsdName.reset(CopyStringProperty(interface, CFSTR(kIOBSDNameKey)));
        if (!bsdName) err = kPortScannerErr;
    }
    if (err == noErr) {
        if (CFStringCompare(bsdName.get(), CFSTR("en0"), 0) == kCFCompareEqualTo) {
            SetSortOrder(interfaceInfo, 5);
            englishName = CFSTR("Built-in Ethernet");
        } else if (StringEquals(CFDictionaryGetValue(parentProperties.get(), CFSTR(kIOClassKey)),
                                CFSTR("AirPortDriver"))) {
            SetSortOrder(interfaceInfo, 7);
            CFDictionarySetValue(interfaceInfo, kSCPropNetInterfaceHardware, kSCEntNetAirPort);
            englishName = CFSTR("AirPort");
        } else {
            err = CopyNameFromProvider(grandparent.get(), parentProperties.get(), bsdName.get(), interfaceInfo,
                                       &englishName);
        }
    }
    if (err == noErr) *userVisibleName = Retained(englishName);

    MoreAssertQ((err == 0) == (*userVisibleName != nil));
    return err;
}
