#include "helpers/MoreSCDialup.h"

#include "helpers/SetupEntity.h"
#include "netconfig/MoreSCCreate.h"
#include "netconfig/MoreSCDelete.h"
#include "netconfig/MoreSCServices.h"
#include "netconfig/MoreSCSessionScope.h"
#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"
#include "platform/systemconfiguration/SCPreferences.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"
#include "ports/MoreSCFPortScanner.h"

// A dial-up set is an ordinary new set (one service per port) in which
// every service but the modem's is switched off, and the modem's service
// gets the caller's PPP settings and, where given, its modem, IPv4 and DNS
// settings. The whole operation is one session, saved and applied once.

namespace {

// The device of the first port whose hardware is a modem. No modem port
// at all is kSCStatusNoKey: there is nothing to dial out with.
OSStatus CopyFirstModemDevice(CFStringRef* bsdName) {
    CFRef<CFArrayRef> ports;
    OSStatus err = MoreSCCreatePortArray(ports.out());
    const CFIndex portCount = (err == noErr) ? CFArrayGetCount(ports.get()) : 0;
    CFRef<CFStringRef> found;
    for (CFIndex portIndex = 0; err == noErr && !found && portIndex < portCount; portIndex++) {
        CFDictionaryRef port = static_cast<CFDictionaryRef>(CFArrayGetValueAtIndex(ports.get(), portIndex));
        CFTypeRef hardware = CFDictionaryGetValue(port, kSCPropNetInterfaceHardware);
        CFTypeRef device = CFDictionaryGetValue(port, kSCPropNetInterfaceDeviceName);
        if (hardware != nil && CFEqual(hardware, kSCEntNetModem) && device != nil &&
            CFGetTypeID(device) == CFStringGetTypeID()) {
            found = CFRef<CFStringRef>::Retain(static_cast<CFStringRef>(device));
        }
    }
    if (err == noErr && !found) err = kSCStatusNoKey;
    *bsdName = found.release();
    return err;
}

// The modem's settings: PPP always, then each other digest that is given.
OSStatus SetUpModemService(CFStringRef setID, CFStringRef serviceID, const MoreSCModemDigest* modemSettings,
                           const MoreSCPPPDigest* pppSettings, const MoreSCIPv4Digest* ipv4Settings,
                           const MoreSCDNSDigest* dnsSettings) {
    OSStatus err = SetupEntity(setID, serviceID, kSCEntNetPPP, pppSettings);
    if (err == noErr && modemSettings != nil) err = SetupEntity(setID, serviceID, kSCEntNetModem, modemSettings);
    if (err == noErr && ipv4Settings != nil) err = SetupEntity(setID, serviceID, kSCEntNetIPv4, ipv4Settings);
    if (err == noErr && dnsSettings != nil) err = SetupEntity(setID, serviceID, kSCEntNetDNS, dnsSettings);
    return err;
}

// Gives the services on the device the settings and switches every other
// service of the set off.
OSStatus ConfigureServices(CFStringRef setID, CFStringRef bsdName, const MoreSCModemDigest* modemSettings,
                           const MoreSCPPPDigest* pppSettings, const MoreSCIPv4Digest* ipv4Settings,
                           const MoreSCDNSDigest* dnsSettings) {
    CFRef<CFArrayRef> serviceIDs;
    OSStatus err = MoreSCCopyServiceIDs(setID, serviceIDs.out(), nil);
    const CFIndex serviceCount = (err == noErr) ? CFArrayGetCount(serviceIDs.get()) : 0;
    for (CFIndex serviceIndex = 0; err == noErr && serviceIndex < serviceCount; serviceIndex++) {
        CFStringRef serviceID = static_cast<CFStringRef>(CFArrayGetValueAtIndex(serviceIDs.get(), serviceIndex));
        CFRef<CFStringRef> serviceBSDName;
        err = MoreSCCopyBSDNameOfService(setID, serviceID, serviceBSDName.out());
        if (err == noErr && CFEqual(serviceBSDName.get(), bsdName)) {
            err = SetUpModemService(setID, serviceID, modemSettings, pppSettings, ipv4Settings, dnsSettings);
        } else if (err == noErr) {
            err = MoreSCSetServiceActive(setID, serviceID, false);
        }
    }
    return err;
}

}  // namespace

OSStatus MoreSCMakeNewDialupSet(CFStringRef userVisibleName, CFStringRef bsdName, const MoreSCModemDigest* modemSettings,
                                const MoreSCPPPDigest* pppSettings, const MoreSCIPv4Digest* ipv4Settings,
                                const MoreSCDNSDigest* dnsSettings, CFStringRef* newSetID) {
    MoreAssertQ(userVisibleName != nil);
    MoreAssertQ(pppSettings != nil);
    // A nil digest has been reported above; it has no flag to check.
    if (pppSettings != nil) MoreAssertQ(pppSettings->active);
    MoreAssertQ(newSetID == nil || *newSetID == nil);

    CFRef<CFStringRef> newSet;
    OSStatus err = (userVisibleName != nil && pppSettings != nil) ? noErr : paramErr;
    {
        MoreSCSessionScope session(&err, true);
        // The caller's device, or the first modem port's, held until the end.
        CFRef<CFStringRef> firstModem;
        if (err == noErr && bsdName == nil) {
            err = CopyFirstModemDevice(firstModem.out());
            bsdName = firstModem.get();
        }
        MoreAssertQ((err == noErr) == (bsdName != nil));

        if (err == noErr) err = MoreSCNewSet(userVisibleName, newSet.out());
        if (err == noErr) {
            err = ConfigureServices(newSet.get(), bsdName, modemSettings, pppSettings, ipv4Settings, dnsSettings);
            // No half-built set remains; the deletion's own status does not
            // replace the one that made it necessary.
            if (err != noErr) {
                (void) MoreSCDeleteSet(newSet.get());
                newSet.reset();
            }
        }
    }

    if (err == noErr && newSetID != nil) *newSetID = newSet.release();
    MoreAssertQ((err == noErr) == ( (newSetID == nil) || (*newSetID != nil) ));
    return err;
}
