#include "netconfig/MoreSCServices.h"

#include "netconfig/MoreSCEntities.h"
#include "netconfig/MoreSCPaths.h"
#include "netconfig/MoreSCSession.h"
#include "netconfig/MoreSCSets.h"
#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"
#include "platform/systemconfiguration/SCPreferences.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"
#include "plist/MoreCFQ.h"

// A set holds its services twice over: as links in <set>/Network/Service
// (local service ID -> {"__LINK__" = /NetworkServices/<ID>}) and as the
// ranking in the "ServiceOrder" array of its global IPv4 entity. The two
// must name the same IDs; the checks below report a mismatch but never
// repair it.

namespace {

// <set path>/Network/Global/IPv4: the entity that holds "ServiceOrder".
OSStatus CopyIPv4GlobalEntityPath(CFStringRef setID, CFStringRef* ipv4GlobalEntityPath) {
    CFRef<CFStringRef> setPath;
    OSStatus err = CopySetPath(setID, setPath.out());
    if (err == noErr) {
        *ipv4GlobalEntityPath = CFStringCreateWithFormat(nil, nil, CFSTR("%@/%@/%@/%@"), setPath.get(),
                                                         kSCCompNetwork, kSCCompGlobal, kSCEntNetIPv4);
        if (*ipv4GlobalEntityPath == nil) err = coreFoundationUnknownErr;
    }
    return err;
}

}  // namespace

OSStatus MoreSCCopyServicesDict(CFStringRef setID, CFDictionaryRef* servicesDict, CFArrayRef* serviceOrder) {
    MoreAssertQ((servicesDict != nil) || ( serviceOrder != nil));
    MoreAssertQ((servicesDict == nil) || (*servicesDict == nil));
    MoreAssertQ((serviceOrder == nil) || (*serviceOrder == nil));

    CFRef<CFDictionaryRef> services;
    CFRef<CFArrayRef> order;
    OSStatus err = MoreSCOpen(false, false);
    if (err == noErr && servicesDict != nil) {
        CFRef<CFStringRef> servicesPath;
        err = CopySetServicesPath(setID, servicesPath.out());
        if (err == noErr) {
            services = CFRef<CFDictionaryRef>::Retain(
                SCPreferencesPathGetValue(MoreSCGetSCPreferencesRef(), servicesPath.get()));
            err = MoreSCError(services.get());
        }
    }
    if (err == noErr && serviceOrder != nil) {
        CFRef<CFStringRef> ipv4GlobalEntityPath;
        err = CopyIPv4GlobalEntityPath(setID, ipv4GlobalEntityPath.out());
        if (err == noErr) {
            CFDictionaryRef ipv4GlobalEntityDict =
                SCPreferencesPathGetValue(MoreSCGetSCPreferencesRef(), ipv4GlobalEntityPath.get());
            err = MoreSCError(ipv4GlobalEntityDict);
            MoreAssertQ((err != noErr) || (CFGetTypeID(ipv4GlobalEntityDict) == CFDictionaryGetTypeID()));
            if (err == noErr) {
                order = CFRef<CFArrayRef>::Retain(
                    static_cast<CFArrayRef>(CFDictionaryGetValue(ipv4GlobalEntityDict, kSCPropNetServiceOrder)));
                // An order that is not an array is as good as none: every
                // reader of it takes it for one.
                if (!order || CFGetTypeID(order.get()) != CFArrayGetTypeID()) err = coreFoundationUnknownErr;
            }
        }
    }
    MoreSCClose(&err, false);

    if (err == noErr && servicesDict != nil) *servicesDict = services.release();
    if (err == noErr && serviceOrder != nil) *serviceOrder = order.release();
    if (servicesDict != nil) {
        MoreAssertQ((err != noErr) || (CFGetTypeID(*servicesDict) == CFDictionaryGetTypeID()));
    }
    MoreAssertQ((servicesDict == nil) || ((err == noErr) == (*servicesDict != nil)));
    MoreAssertQ((serviceOrder == nil) || ((err == noErr) == (*serviceOrder != nil)));
    if (serviceOrder != nil) {
        MoreAssertQ((err != noErr) || (servicesDict == nil) || (*serviceOrder == nil) || (CFDictionaryGetCount(*servicesDict) == CFArrayGetCount(*serviceOrder)));
    }
    return err;
}

OSStatus MoreSCCopyServicesDictMutable(CFStringRef setID, CFMutableDictionaryRef* servicesDict,
                                       CFMutableArrayRef* serviceOrder) {
    MoreAssertQ((servicesDict != nil) || (serviceOrder != nil));
    MoreAssertQ((servicesDict == nil) || (*servicesDict == nil));
    MoreAssertQ((serviceOrder == nil) || (*serviceOrder == nil));

    // Both halves are always read, so a set without "ServiceOrder" fails
    // even for a caller that wants only the dictionary: the halves are
    // meant to be edited together.
    CFRef<CFDictionaryRef> immutableDict;
    CFRef<CFArrayRef> immutableOrder;
    OSStatus err = MoreSCCopyServicesDict(setID, immutableDict.out(), immutableOrder.out());
    CFRef<CFMutableDictionaryRef> mutableDict;
    CFRef<CFMutableArrayRef> mutableOrder;
    if (err == noErr && servicesDict != nil) {
        mutableDict.reset(CFDictionaryCreateMutableCopy(nil, 0, immutableDict.get()));
        if (!mutableDict) err = coreFoundationUnknownErr;
    }
    if (err == noErr && serviceOrder != nil) {
        mutableOrder.reset(CFArrayCreateMutableCopy(nil, 0, immutableOrder.get()));
        if (!mutableOrder) err = coreFoundationUnknownErr;
    }

    if (err == noErr && servicesDict != nil) *servicesDict = mutableDict.release();
    if (err == noErr && serviceOrder != nil) *serviceOrder = mutableOrder.release();
    MoreAssertQ((servicesDict == nil) || ((err == noErr) == (*servicesDict != nil)));
    MoreAssertQ((serviceOrder == nil) || ((err == noErr) == (*serviceOrder != nil)));
    return err;
}

OSStatus MoreSCSetServicesDict(CFStringRef setID, CFDictionaryRef servicesDict, CFArrayRef serviceOrder) {
    MoreAssertQ((servicesDict != nil) || (serviceOrder != nil));
    if (servicesDict != nil && serviceOrder != nil) {
        MoreAssertQ(CFDictionaryGetCount(servicesDict) == CFArrayGetCount(serviceOrder));
    }

    // The dictionary is written first; if the order's write then fails the
    // new dictionary stays written in the session.
    OSStatus err = MoreSCOpen(false, false);
    if (err == noErr && servicesDict != nil) {
        CFRef<CFStringRef> servicesPath;
        err = CopySetServicesPath(setID, servicesPath.out());
        if (err == noErr) {
            err = MoreSCErrorBoolean(
                SCPreferencesPathSetValue(MoreSCGetSCPreferencesRef(), servicesPath.get(), servicesDict));
        }
    }
    // The order goes into the existing IPv4 global entity; a set without
    // one fails here and gets none.
    if (err == noErr && serviceOrder != nil) {
        CFRef<CFStringRef> ipv4GlobalEntityPath;
        err = CopyIPv4GlobalEntityPath(setID, ipv4GlobalEntityPath.out());
        if (err == noErr) err = PreferencesPathSetProperty(ipv4GlobalEntityPath.get(), kSCPropNetServiceOrder, serviceOrder);
    }
    MoreSCClose(&err, true);
    return err;
}

OSStatus MoreSCCopyServiceIDs(CFStringRef setID, CFArrayRef* localServiceIDs, CFArrayRef* resolvedServiceIDs) {
    MoreAssertQ((localServiceIDs != nil) || (resolvedServiceIDs != nil));
    MoreAssertQ((localServiceIDs == nil) || ((*localServiceIDs == nil)));
    MoreAssertQ((resolvedServiceIDs == nil) || ((*resolvedServiceIDs == nil)));

    CFRef<CFArrayRef> order;
    CFRef<CFMutableArrayRef> localIDs;
    CFRef<CFMutableArrayRef> resolvedIDs;

    // Only the order is read: the IDs come in "ServiceOrder" order, one per
    // entry, active and inactive alike. Links are looked up only when the
    // resolved IDs are asked for.
    OSStatus err = MoreSCOpen(false, false);
    if (err == noErr) err = MoreSCCopyServicesDict(setID, nil, order.out());
    if (err == noErr && localServiceIDs != nil) err = CFQArrayCreateMutable(localIDs.out());
    if (err == noErr && resolvedServiceIDs != nil) err = CFQArrayCreateMutable(resolvedIDs.out());
    if (err == noErr) {
        CFIndex serviceCount = CFArrayGetCount(order.get());
        for (CFIndex serviceIndex = 0; err == noErr && serviceIndex < serviceCount; serviceIndex++) {
            CFStringRef serviceID = static_cast<CFStringRef>(CFArrayGetValueAtIndex(order.get(), serviceIndex));
            if (serviceID == nil) err = coreFoundationUnknownErr;
            if (err == noErr && localIDs) CFArrayAppendValue(localIDs.get(), serviceID);
            if (err == noErr && resolvedIDs) {
                CFRef<CFStringRef> servicePath;
                CFRef<CFStringRef> resolvedID;
                err = CopyResolvedServicePath(setID, serviceID, servicePath.out());
                if (err == noErr) err = CopySeIDFromSePath(servicePath.get(), resolvedID.out());
                if (err == noErr) CFArrayAppendValue(resolvedIDs.get(), resolvedID.get());
            }
        }
    }
    MoreSCClose(&err, false);

    if (err == noErr) {
        if (localServiceIDs != nil) *localServiceIDs = localIDs.release();
        if (resolvedServiceIDs != nil) *resolvedServiceIDs = resolvedIDs.release();
    }
    MoreAssertQ((err == noErr) == ((localServiceIDs == nil) || (*localServiceIDs != nil)));
    MoreAssertQ((err == noErr) == ((resolvedServiceIDs == nil) || (*resolvedServiceIDs != nil)));
    MoreAssertQ((err != noErr) || (localServiceIDs == nil) || (resolvedServiceIDs == nil) || (CFArrayGetCount(*localServiceIDs) == CFArrayGetCount(*resolvedServiceIDs)));
    return err;
}

OSStatus MoreSCIsServiceActive(CFStringRef setID, CFStringRef serviceID, Boolean* active) {
    MoreAssertQ(serviceID != nil);
    MoreAssertQ(active != nil);

    // Only the marker's presence counts, not its value.
    CFRef<CFDictionaryRef> entitiesDict;
    Boolean serviceActive = false;
    OSStatus err = MoreSCOpen(false, false);
    if (err == noErr) err = MoreSCCopyEntitiesDict(setID, serviceID, entitiesDict.out());
    if (err == noErr) serviceActive = !CFDictionaryContainsKey(entitiesDict.get(), kSCResvInactive);
    MoreSCClose(&err, false);

    // On failure the caller's boolean keeps whatever it held.
    if (err == noErr) *active = serviceActive;
    return err;
}

OSStatus MoreSCCopyBSDNameOfService(CFStringRef setID, CFStringRef serviceID, CFStringRef* bsdName) {
    MoreAssertQ(serviceID != nil);
    MoreAssertQ(bsdName != nil);
    MoreAssertQ(*bsdName == nil);

    // The BSD name is the "DeviceName" of the service's "Interface" entity.
    CFRef<CFDictionaryRef> interfaceEntity;
    OSStatus err = MoreSCOpen(false, false);
    if (err == noErr) err = MoreSCCopyEntity(setID, serviceID, kSCEntNetInterface, interfaceEntity.out());
    CFRef<CFStringRef> name;
    if (err == noErr) {
        name = CFRef<CFStringRef>::Retain(
            static_cast<CFStringRef>(CFDictionaryGetValue(interfaceEntity.get(), kSCPropNetInterfaceDeviceName)));
        if (!name) err = coreFoundationUnknownErr;
    }
    MoreSCClose(&err, false);

    if (err == noErr) *bsdName = name.release();
    MoreAssertQ((err == noErr) == (*bsdName != nil));
    return err;
}

OSStatus MoreSCCopyUserVisibleNameOfService(CFStringRef setID, CFStringRef serviceID, CFStringRef* userVisibleName) {
    MoreAssertQ(serviceID != nil);
    MoreAssertQ(userVisibleName != nil);
    MoreAssertQ(*userVisibleName == nil);

    // The name belongs to the service dictionary itself, not to an entity.
    CFRef<CFDictionaryRef> entitiesDict;
    OSStatus err = MoreSCOpen(false, false);
    if (err == noErr) err = MoreSCCopyEntitiesDict(setID, serviceID, entitiesDict.out());
    CFRef<CFStringRef> name;
    if (err == noErr) {
        name = CFRef<CFStringRef>::Retain(
            static_cast<CFStringRef>(CFDictionaryGetValue(entitiesDict.get(), kSCPropUserDefinedName)));
        if (!name) err = coreFoundationUnknownErr;
    }
    MoreSCClose(&err, false);

    if (err == noErr) *userVisibleName = name.release();
    MoreAssertQ((err == noErr) == (*userVisibleName != nil));
    return err;
}

OSStatus MoreSCRenameService(CFStringRef setID, CFStringRef serviceID, CFStringRef newServiceUserVisibleName) {
    MoreAssertQ(serviceID != nil);
    MoreAssertQ(newServiceUserVisibleName != nil);

    // The service is shared through links, so every set that links it sees
    // the new name.
    CFRef<CFMutableDictionaryRef> entitiesDict;
    OSStatus err = MoreSCOpen(false, false);
    if (err == noErr) err = MoreSCCopyEntitiesDictMutable(setID, serviceID, entitiesDict.out());
    if (err == noErr) {
        CFDictionarySetValue(entitiesDict.get(), kSCPropUserDefinedName, newServiceUserVisibleName);
        err = MoreSCSetEntitiesDict(setID, serviceID, entitiesDict.get());
    }
    MoreSCClose(&err, true);
    return err;
}
