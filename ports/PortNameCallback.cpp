// The application's port name callback, which translates the English name
// templates, and what happens without one.
#include <cstdio>

#include "platform/coreservices/MoreAssert.h"
#include "ports/PortKeys.h"
#include "ports/PortNames.h"

MoreSCFPortNameCallback gPortNameCallback = nil;
Boolean gHavePrinted = false;

void MoreSCFSetPortNameCallback(MoreSCFPortNameCallback callback) { gPortNameCallback = callback; }

OSStatus CopyPortNameTemplate(io_object_t interface, CFDictionaryRef interfaceInfo, CFStringRef englishName,
                              CFStringRef* nameTemplate) {
    MoreAssertQ(nameTemplate != nil);
    MoreAssertQ(*nameTemplate == nil);

    OSStatus err = noErr;
    if (gPortNameCallback == nil) {
        // Names stay English; say once per process how to change that.
        if (!gHavePrinted) {
            std::fprintf(stderr, "MoreSCFPortScanner: You should install a port name callback.\n");
            gHavePrinted = true;
        }
        if (englishName != nil) *nameTemplate = CFStringCreateCopy(kCFAllocatorDefault, englishName);
        if (*nameTemplate == nil) err = kPortScannerErr;
    } else {
        err = gPortNameCallback(interface, interfaceInfo, englishName, nameTemplate);
    }
    return err;
}
