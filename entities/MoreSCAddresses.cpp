#include "entities/MoreSCAddresses.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <cstdio>

#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"
#include "plist/MoreCFQ.h"

OSStatus MoreSCFCreateStringWithMacAddress(const UInt8 macAddr[6], CFStringRef* result) {
    MoreAssertQ(macAddr != nil);
    MoreAssertQ(result != nil);
    MoreAssertQ(*result == nil);

    // Each byte leaves "xx:"; ending the text after 17 characters drops the
    // last colon.
    char text[6 * 3 + 1];
    for (int i = 0; i < 6; i++) std::snprintf(&text[i * 3], 4, "%2.2x:", macAddr[i]);
    text[17] = 0;

    OSStatus err = noErr;
    *result = CFStringCreateWithCString(kCFAllocatorDefault, text, kCFStringEncodingASCII);
    if (*result == nil) err = coreFoundationUnknownErr;
    return err;
}

OSStatus MoreSCFStringToMacAddress(CFStringRef cfStr, UInt8 macAddr[6]) {
    MoreAssertQ(cfStr != nil);
    MoreAssertQ(macAddr != nil);

    char text[18];
    if (!CFStringGetCString(cfStr, text, sizeof(text), kCFStringEncodingASCII)) return coreFoundationUnknownErr;

    unsigned int fields[6];
    if (std::sscanf(text, "%02x:%02x:%02x:%02x:%02x:%02x", &fields[0], &fields[1], &fields[2], &fields[3],
                    &fields[4], &fields[5]) != 6) {
        return -1;
    }
    for (int i = 0; i < 6; i++) macAddr[i] = static_cast<UInt8>(fields[i] & 0xFF);
    return noErr;
}

OSStatus MoreSCFCreateStringWithInetAddress(MoreSCInetAddress addr, CFStringRef* result) {
    MoreAssertQ(result != nil);
    MoreAssertQ(*result == nil);

    in_addr inetAddr{};
    inetAddr.s_addr = addr;
    OSStatus err = noErr;
    *result = CFStringCreateWithCString(kCFAllocatorDefault, inet_ntoa(inetAddr), kCFStringEncodingASCII);
    if (*result == nil) err = coreFoundationUnknownErr;
    return err;
}

OSStatus MoreSCFCreateArrayWithInetAddresses(UInt32 addrCount, const MoreSCInetAddress* addresses,
                                             CFArrayRef* result) {
    MoreAssertQ((addrCount == 0) || (addresses != nil));
    MoreAssertQ(result != nil);
    MoreAssertQ(*result == nil);

    CFRef<CFMutableArrayRef> array;
    OSStatus err = CFQArrayCreateMutable(array.out());
    for (UInt32 i = 0; err == noErr && i < addrCount; i++) {
        CFRef<CFStringRef> text;
        err = MoreSCFCreateStringWithInetAddress(addresses[i], text.out());
        if (err == noErr) CFArrayAppendValue(array.get(), text.get());
    }
    if (err == noErr) *result = array.release();

    MoreAssertQ((err == noErr) == (*result != nil));
    return err;
}
