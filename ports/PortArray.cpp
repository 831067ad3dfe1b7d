#include "ports/MoreSCFPortScanner.h"

#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"
#include "plist/MoreCFQ.h"
#include "ports/PortArray.h"
#include "ports/PortNames.h"
#include "ports/PortSorter.h"
#include "ports/RegistryObject.h"

namespace {

// A query for the serial ports of one client type; nil if it cannot be made.
CFMutableDictionaryRef CreateSerialMatching(CFStringRef clientType) {
    CFMutableDictionaryRef matching = IOServiceMatching(kIOSerialBSDServiceValue);
    if (matching != nil) CFDictionarySetValue(matching, CFSTR(kIOSerialBSDTypeKey), clientType);
    return matching;
}

// Adds the matches of one query, which it takes over; a query that could
// not be made fails as an object the platform could not make.
OSStatus AddQuery(mach_port_t masterPort, CFMutableDictionaryRef matching, DeviceToDictProc deviceToDict,
                  CFMutableArrayRef result) {
    if (matching == nil) return coreFoundationUnknownErr;
    return AddMatchingDevicesToArray(masterPort, matching, deviceToDict, nil, result);
}

}  // namespace

OSStatus MoreSCCreatePortArray(CFArrayRef* portArray) {
    MoreAssertQ(portArray != nil);
    MoreAssertQ(*portArray == nil);
    if (portArray == nil) return paramErr;

    CFRef<CFMutableArrayRef> result;
    mach_port_t masterPort = MACH_PORT_NULL;

    OSStatus err = CFQArrayCreateMutable(result.out());
    if (err == noErr) err = IOMasterPort(MACH_PORT_NULL, &masterPort);
    if (err == noErr) {
        err = AddQuery(masterPort, IOServiceMatching(kIOEthernetInterfaceClass), EthernetDeviceToDictProc,
                       result.get());
    }
    if (err == noErr) {
        err = AddQuery(masterPort, CreateSerialMatching(CFSTR(kIOSerialBSDModemType)), ModemOrSerialDeviceToDictProc,
                       result.get());
    }
    if (err == noErr) {
        err = AddQuery(masterPort, CreateSerialMatching(CFSTR(kIOSerialBSDRS232Type)), ModemOrSerialDeviceToDictProc,
                       result.get());
    }
    if (err == noErr) {
        CFArraySortValues(result.get(), CFRangeMake(0, CFArrayGetCount(result.get())), PortSorter, nil);
        *portArray = result.release();
    }

    MoreAssertQ((err == noErr) == (*portArray != nil));
    return err;
}

OSStatus AddMatchingDevicesToArray(mach_port_t masterPort, CFDictionaryRef deviceMatchDict,
                                   DeviceToDictProc deviceToDict, void* refCon, CFMutableArrayRef result) {
    MoreAssertQ(masterPort != 0);
    MoreAssertQ(deviceMatchDict != nil);
    MoreAssertQ(deviceToDict != nil);
    MoreAssertQ(result != nil);

    RegistryObject iterator;
    OSStatus err = IOServiceGetMatchingServices(masterPort, deviceMatchDict, iterator.out());
    while (err == noErr) {
        RegistryObject service(IOIteratorNext(iterator.get()));
        if (service.get() == IO_OBJECT_NULL) break;

        CFRef<CFMutableDictionaryRef> interfaceInfo;
        CFRef<CFStringRef> userVisibleName;
        err = CFQDictionaryCreateMutable(interfaceInfo.out());
        if (err == noErr) err = deviceToDict(refCon, service.get(), interfaceInfo.get());
        if (err == noErr && CFDictionaryGetCount(interfaceInfo.get()) != 0) {
            err = CopyUserVisiblePortName(service.get(), interfaceInfo.get(), userVisibleName.out());
            if (err == noErr) {
                CFDictionarySetValue(interfaceInfo.get(), kSCPropUserDefinedName, userVisibleName.get());
                CFArrayAppendValue(result, interfaceInfo.get());
            }
        }
    }
    return err;
}
