// A port's user-visible name: the English template of the rule that fits
// the port's class, translated by the application, with its placeholders
// filled in from the port dictionary.
#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"
#include "ports/PortKeys.h"
#include "ports/PortNames.h"

namespace {

// The English template: Ethernet interfaces and serial ports by their
// rules, any other port by its BSD name.
OSStatus CopyEnglishPortName(io_object_t interface, CFMutableDictionaryRef interfaceInfo, CFStringRef* englishName) {
    if (IOObjectConformsTo(interface, kIOEthernetInterfaceClass)) {
        return CopyUserVisibleNameForEthernetPort(interface, interfaceInfo, englishName);
    }
    if (IOObjectConformsTo(interface, kIOSerialBSDServiceValue)) {
        return CopyUserVisibleNameForModemOrSerialPort(interface, interfaceInfo, englishName);
    }
    *englishName = CopyStringProperty(interface, CFSTR(kIOBSDNameKey));
    return (*englishName != nil) ? noErr : kPortScannerErr;
}

// Replaces the first occurrence of placeholder, if any, with value. A
// missing value leaves the placeholder as it is.
void ReplaceFirst(CFMutableStringRef name, CFStringRef placeholder, const void* value) {
    CFRange found = CFStringFind(name, placeholder, 0);
    if (found.location == kCFNotFound || value == nil || CFGetTypeID(value) != CFStringGetTypeID()) return;
    CFStringReplace(name, found, static_cast<CFStringRef>(value));
}

bool Contains(CFStringRef name, CFStringRef placeholder) {
    return CFStringFind(name, placeholder, 0).location != kCFNotFound;
}

}  // namespace

OSStatus CopyPortNameBySubstitution(CFStringRef nameTemplate, CFDictionaryRef interfaceInfo,
                                    CFStringRef* userVisibleName) {
    MoreAssertQ(nameTemplate != nil);
    MoreAssertQ(userVisibleName != nil);
    MoreAssertQ(*userVisibleName == nil);

    CFRef<CFMutableStringRef> name;
    if (nameTemplate != nil) name.reset(CFStringCreateMutableCopy(kCFAllocatorDefault, 0, nameTemplate));
    OSStatus err = name ? noErr : kPortScannerErr;
    if (err == noErr) {
        // The BSD name's check looks under a key no port dictionary has, so
        // it is reported whenever "%1$@" is used; the value comes from
        // "BSD Name" all the same.
        if (Contains(name.get(), CFSTR("%1$@"))) {
            MoreAssertQ(CFDictionaryGetValue(interfaceInfo, CFSTR("kIOBSDNameKey")) != nil);
            ReplaceFirst(name.get(), CFSTR("%1$@"), CFDictionaryGetValue(interfaceInfo, CFSTR(kIOBSDNameKey)));
        }
        if (Contains(name.get(), CFSTR("%2$@"))) {
            MoreAssertQ(CFDictionaryGetValue(interfaceInfo, CFSTR("AAPL,slot-name")) != nil);
            ReplaceFirst(name.get(), CFSTR("%2$@"), CFDictionaryGetValue(interfaceInfo, CFSTR("AAPL,slot-name")));
        }
        if (Contains(name.get(), CFSTR("%3$@"))) {
            MoreAssertQ(CFDictionaryGetValue(interfaceInfo, CFSTR("IOChildIndex")) != nil);
            ReplaceFirst(name.get(), CFSTR("%3$@"), CFDictionaryGetValue(interfaceInfo, CFSTR("IOChildIndex")));
        }
        if (Contains(name.get(), CFSTR("%4$@"))) {
            MoreAssertQ(CFDictionaryGetValue(interfaceInfo, CFSTR(kIOTTYBaseNameKey)) != nil);
            ReplaceFirst(name.get(), CFSTR("%4$@"), CFDictionaryGetValue(interfaceInfo, CFSTR(kIOTTYBaseNameKey)));
        }
        *userVisibleName = name.release();
    }

    MoreAssertQ((err == 0) == (*userVisibleName != nil));
    return err;
}

OSStatus CopyUserVisiblePortName(io_object_t interface, CFMutableDictionaryRef interfaceInfo,
                                 CFStringRef* userVisibleName) {
    MoreAssertQ(interface != 0);
    MoreAssertQ(interfaceInfo != nil);
    MoreAssertQ(userVisibleName != nil);
    MoreAssertQ(*userVisibleName == nil);
    if (interfaceInfo == nil || userVisibleName == nil) return paramErr;

    CFRef<CFStringRef> englishName;
    CFRef<CFStringRef> nameTemplate;

    // The rules' status is not looked at: a port no rule could name reaches
    // the callback with no English name, and the callback may still name it.
    (void) CopyEnglishPortName(interface, interfaceInfo, englishName.out());
    OSStatus err = CopyPortNameTemplate(interface, interfaceInfo, englishName.get(), nameTemplate.out());
    if (err == noErr) err = CopyPortNameBySubstitution(nameTemplate.get(), interfaceInfo, userVisibleName);

    MoreAssertQ((err == 0) == (*userVisibleName != nil));
    return err;
}
