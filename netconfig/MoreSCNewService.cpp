#include "entities/MoreSCAddresses.h"
#include "entities/MoreSCDigests.h"
#include "entities/MoreSCModemScripts.h"
#include "entities/MoreSCPPPEntity.h"
#include "netconfig/MoreSCCreate.h"
#include "netconfig/MoreSCCreateInternal.h"
#include "netconfig/MoreSCDelete.h"
#include "netconfig/MoreSCServices.h"
#include "netconfig/MoreSCSessionScope.h"
#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/Gestalt.h"
#include "platform/coreservices/MoreAssert.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"

// A new service is made for one network port: a reserved ID, a link at the
// end of the set's order, the port's name, then the entities, each built
// from a cleared digest. Ports with a MAC address (Ethernet, AirPort) get
// DHCP or manual IPv4 and an inactive PPP-over-Ethernet entity; modems get
// IPv4 over PPP, an active PPP entity and the default modem script.

namespace {

// The strings of a port dictionary; nil where the port has none.
struct PortInfo {
    CFStringRef userDefinedName;
    CFStringRef hardware;
    CFStringRef type;
    CFStringRef subType;
    CFStringRef deviceName;
    CFStringRef mac;
    CFStringRef hardwareVariant;
};

// What the system version decides: the FTP passive default (10.2 on) and
// manual rather than DHCP configuration for ports with a MAC address
// (10.1.3 on).
struct SystemVersionFlags {
    Boolean atLeastTenTwo;
    Boolean atLeastTenOneThree;
};

// The string under key, or nil; a value that is not a string makes the
// port unusable.
CFStringRef PortString(CFDictionaryRef portDict, CFStringRef key, Boolean* usable) {
    CFTypeRef value = CFDictionaryGetValue(portDict, key);
    if (value == nil || CFGetTypeID(value) == CFStringGetTypeID()) return static_cast<CFStringRef>(value);
    *usable = false;
    return nil;
}

// Reports what the port dictionary breaks. Missing required strings, or
// values that are not strings, make the port unusable (-50): the builders
// need them. The other checks only report.
OSStatus ReadPort(CFDictionaryRef portDict, PortInfo* port) {
    MoreAssertQ(portDict != nil);
    *port = PortInfo{};
    if (portDict == nil || CFGetTypeID(portDict) != CFDictionaryGetTypeID()) return paramErr;

    Boolean usable = true;
    CFStringRef userDefinedName = PortString(portDict, kSCPropUserDefinedName, &usable);
    CFStringRef hardware = PortString(portDict, kSCPropNetInterfaceHardware, &usable);
    CFStringRef type = PortString(portDict, kSCPropNetInterfaceType, &usable);
    CFStringRef subType = PortString(portDict, kSCPropNetInterfaceSubType, &usable);
    CFStringRef deviceName = PortString(portDict, kSCPropNetInterfaceDeviceName, &usable);
    CFStringRef mac = PortString(portDict, kSCPropMACAddress, &usable);
    CFStringRef hardwareVariant = PortString(portDict, kSCPropNetInterfaceHardwareVariant, &usable);
    MoreAssertQ(userDefinedName != nil);
    MoreAssertQ(hardware != nil);
    MoreAssertQ(type != nil);
    MoreAssertQ(deviceName != nil);
    if (!usable || userDefinedName == nil || hardware == nil || type == nil || deviceName == nil) return paramErr;

    MoreAssertQ(CFEqual(hardware, kSCEntNetEthernet) || CFEqual(hardware, kSCEntNetAirPort) || CFEqual(hardware, kSCEntNetModem));
    MoreAssertQ(CFEqual(type, kSCValNetInterfaceTypeEthernet) || CFEqual(type, kSCValNetInterfaceTypePPP));
    MoreAssertQ((subType != nil) == CFEqual(type, kSCValNetInterfaceTypePPP));
    MoreAssertQ((subType == nil) || CFEqual(subType, kSCValNetInterfaceSubTypePPPSerial) || CFEqual(subType, kSCValNetInterfaceSubTypePPPoE));
    MoreAssertQ(CFEqual(hardware, kSCEntNetModem) == (mac == nil));
    MoreAssertQ((hardwareVariant == nil) || CFEqual(hardware, kSCEntNetModem));
    *port = PortInfo{userDefinedName, hardware, type, subType, deviceName, mac, hardwareVariant};
    return noErr;
}

SystemVersionFlags ReadSystemVersion() {
    SInt32 version = 0;
    Boolean known = Gestalt(gestaltSystemVersion, &version) == noErr;
    return SystemVersionFlags{known && version >= 0x1020, known && version >= 0x1013};
}

// The default modem script: the one the installed scripts name as the
// default, or an empty name when no script is installed.
OSStatus CopyDefaultModemScript(CFStringRef* name) {
    MoreAssertQ(*name == nil);

    CFRef<CFArrayRef> scripts;
    SInt32 indexOfDefault = 0;
    OSStatus err = MoreSCCreateCCLArray(scripts.out(), &indexOfDefault);
    if (err == noErr) {
        CFIndex count = CFArrayGetCount(scripts.get());
        if (indexOfDefault < 0 || indexOfDefault >= count) indexOfDefault = 0;
        CFTypeRef script = count > 0 ? CFArrayGetValueAtIndex(scripts.get(), indexOfDefault) : CFSTR("");
        *name = static_cast<CFStringRef>(script != nil ? CFRetain(script) : nil);
        if (*name == nil) err = coreFoundationUnknownErr;
    }
    MoreAssertQ((err == noErr) == (*name != nil));
    return err;
}

// The port's hardware entity: AirPort or Ethernet with the port's MAC
// address, or Modem with the default script.
OSStatus AddHardwareEntity(CFStringRef setID, CFStringRef serviceID, const PortInfo& port) {
    OSStatus err = noErr;
    if (port.mac != nil && CFEqual(port.hardware, kSCEntNetAirPort)) {
        MoreSCAirPortDigest airPort{};
        err = MoreSCFStringToMacAddress(port.mac, airPort.macAddress);
        if (err == noErr) err = AddEntityToService(setID, serviceID, kSCEntNetAirPort, &airPort);
    } else if (port.mac != nil) {
        MoreSCEthernetDigest ethernet{};
        err = MoreSCFStringToMacAddress(port.mac, ethernet.macAddress);
        if (err == noErr) err = AddEntityToService(setID, serviceID, kSCEntNetEthernet, &ethernet);
    } else {
        MoreSCModemDigest modem = kMoreSCModemDigestDefault;
        modem.dataCompression = 1;
        modem.speaker = 1;
        modem.waitForDialTone = 1;
        err = CopyDefaultModemScript(&modem.connectionScript);
        CFRef<CFStringRef> script(modem.connectionScript);
        if (err == noErr) err = AddEntityToService(setID, serviceID, kSCEntNetModem, &modem);
    }
    return err;
}

// The entities of a new service, in this order: Interface, Proxies,
// AppleTalk (ports with a MAC address only), DNS, IPv4, PPP, hardware.
OSStatus AddPortEntities(CFStringRef setID, CFStringRef serviceID, const PortInfo& port,
                         SystemVersionFlags system) {
    const Boolean hasMAC = port.mac != nil;

    MoreSCInterfaceDigest interface{};
    interface.deviceName = port.deviceName;
    interface.hardware = port.hardware;
    interface.hardwareVariant = port.hardwareVariant;
    interface.type = port.type;
    if (!hasMAC) interface.subType = port.subType;
    interface.userDefinedName = port.userDefinedName;
    OSStatus err = AddEntityToService(setID, serviceID, kSCEntNetInterface, &interface);

    if (err == noErr) {
        MoreSCProxiesDigest proxies{};
        proxies.FTPPassive = system.atLeastTenTwo;
        err = AddEntityToService(setID, serviceID, kSCEntNetProxies, &proxies);
    }
    if (err == noErr && hasMAC) {
        // Left inactive: AppleTalk is there to be switched on.
        MoreSCAppleTalkDigest appleTalk{};
        appleTalk.configMethod = kSCValNetAppleTalkConfigMethodNode;
        err = AddEntityToService(setID, serviceID, kSCEntNetAppleTalk, &appleTalk);
    }
    if (err == noErr) {
        MoreSCDNSDigest dns{};
        err = AddEntityToService(setID, serviceID, kSCEntNetDNS, &dns);
    }
    if (err == noErr) {
        MoreSCIPv4Digest ipv4{};
        if (!hasMAC) {
            ipv4.configMethod = kSCValNetIPv4ConfigMethodPPP;
        } else if (system.atLeastTenOneThree) {
            ipv4.configMethod = kSCValNetIPv4ConfigMethodManual;
        } else {
            ipv4.configMethod = kSCValNetIPv4ConfigMethodDHCP;
        }
        err = AddEntityToService(setID, serviceID, kSCEntNetIPv4, &ipv4);
    }
    if (err == noErr) {
        // Dial-up for modems; PPP over Ethernet, inactive, for the others.
        MoreSCPPPDigest ppp{};
        ppp.active = !hasMAC;
        ppp.options = MoreSCGetDefaultPPPOptions(hasMAC);
        err = AddEntityToService(setID, serviceID, kSCEntNetPPP, &ppp);
    }
    if (err == noErr) err = AddHardwareEntity(setID, serviceID, port);
    return err;
}

}  // namespace

OSStatus MoreSCNewService(CFStringRef setID, CFDictionaryRef portInfo, CFStringRef* newServiceID) {
    MoreAssertQ(newServiceID == nil || *newServiceID == nil);

    PortInfo port;
    OSStatus err = ReadPort(portInfo, &port);
    const SystemVersionFlags system = ReadSystemVersion();

    CFRef<CFStringRef> serviceID;
    {
        MoreSCSessionScope session(&err, true);
        CFRef<CFStringRef> servicePath;
        if (err == noErr) err = MakeNewSeAndCopyIDAndPath(kSCPrefNetworkServices, serviceID.out(), servicePath.out());
        if (err == noErr) {
            err = AddServiceToSet(setID, serviceID.get());
            if (err == noErr) err = MoreSCRenameService(setID, serviceID.get(), port.userDefinedName);
            if (err == noErr) err = AddPortEntities(setID, serviceID.get(), port, system);

            // Whatever was made goes again; the deletion's own status does
            // not replace the one that made it necessary.
            if (err != noErr) {
                (void) MoreSCDeleteService(setID, serviceID.get());
                serviceID.reset();
            }
        }
    }

    if (err == noErr && newServiceID != nil) *newServiceID = serviceID.release();
    MoreAssertQ((newServiceID == nil) || ( (err == noErr) == (*newServiceID != nil)));
    return err;
}
