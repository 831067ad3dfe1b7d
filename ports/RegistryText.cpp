#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"
#include "ports/PortNames.h"

CFStringRef CreateStringFromData(CFDataRef data) {
    MoreAssertQ(data != nil);
    if (data == nil) return nil;

    // Firmware properties end their text with zero bytes.
    const UInt8* bytes = CFDataGetBytePtr(data);
    CFIndex length = CFDataGetLength(data);
    while (length > 0 && bytes[length - 1] == 0) length--;
    return CFStringCreateWithBytes(kCFAllocatorDefault, bytes, length, kCFStringEncodingMacRoman, false);
}

CFStringRef CreateStringFromProperty(CFTypeRef value) {
    if (value == nil) return nil;
    if (CFGetTypeID(value) == CFStringGetTypeID()) return static_cast<CFStringRef>(CFRetain(value));
    if (CFGetTypeID(value) == CFDataGetTypeID()) return CreateStringFromData(static_cast<CFDataRef>(value));
    return nil;
}

CFStringRef CopyStringProperty(io_object_t entry, CFStringRef key) {
    CFRef<CFTypeRef> value(IORegistryEntryCreateCFProperty(entry, key, kCFAllocatorDefault, 0));
    if (!value || CFGetTypeID(value.get()) != CFStringGetTypeID()) return nil;
    return static_cast<CFStringRef>(value.release());
}
