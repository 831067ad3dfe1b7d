#include "netconfig/MoreSCServices.h"

#include "netconfig/MoreSCEntities.h"
#include "netconfig/MoreSCPathsInternal.h"
#include "netconfig/MoreSCSession.h"
#include "netconfig/MoreSCSessionScope.h"
#include "netconfig/MoreSCSetsInternal.h"
#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"
#include "plist/CFQTyped.h"
#include "plist/MoreCFQ.h"
#include "plist/MoreCFQInternal.h"

// A set holds its services twice over: as links in <set>/Network/Service
// (local service ID -> {"__LINK__" = /NetworkServices/<ID>}) and as the
// ranking in the "ServiceOrder" array of its global IPv4 entity. The two
// must name the same IDs; the checks below report a mismatch but never
// repair it.

namespace {

// <set path>/Network/Global/IPv4: the entity that holds "ServiceOrder".
CFRef<CFStringRef> CopyIPv4GlobalEntityPath(CFStringRef setID, OSStatus* err) {
    CFRef<CFStringRef> setPath;
    *err = CopySetPath(setID, setPath.out());
    if (*err != noErr) return nil;
    return CreatePathWithFormat(err, CFSTR("%@/%@/%@/%@"), setPath.get(), kSCCompNetwork, kSCCompGlobal,
                                kSCEntNetIPv4);
}

// The set's "Service" dictionary, retained.
CFRef<CFDictionaryRef> CopyServicesNode(CFStringRef setID, OSStatus* err) {
    CFRef<CFStringRef> servicesPath;
    *err = CopySetServicesPath(setID, servicesPath.out());
    if (*err != noErr) return nil;
    return CopyPathValue(servicesPath.get(), err);
}

// The set's "ServiceOrder", retained. An order that is not an array is as
// good as none: every reader of it takes it for one.
CFRef<CFArrayRef> CopyServiceOrderNode(CFStringRef setID, OSStatus* status) {
    CFDictionaryRef ipv4GlobalEntityDict = nil;
    CFArrayRef order = nil;
    OSStatus err = noErr;
    CFRef<CFStringRef> ipv4GlobalEntityPath = CopyIPv4GlobalEntityPath(setID, &err);
    if (err == noErr) err = GetPathValue(ipv4GlobalEntityPath.get(), &ipv4GlobalEntityDict);
    MoreAssertQ((err != noErr) || (CFGetTypeID(ipv4GlobalEntityDict) == CFDictionaryGetTypeID()));
    if (err == noErr) order = CFQGetTyped<CFArrayRef>(ipv4GlobalEntityDict, kSCPropNetServiceOrder);
    if (err == noErr && order == nil) err = coreFoundationUnknownErr;
    *status = err;
    return CFRef<CFArrayRef>::Retain(order);
}

// Replaces the set's "Service" dictionary whole.
OSStatus WriteServicesNode(CFStringRef setID, CFDictionaryRef servicesDict) {
    CFRef<CFStringRef> servicesPath;
    OSStatus err = CopySetServicesPath(setID, servicesPath.out());
    if (err == noErr) err = SetPathValue(servicesPath.get(), servicesDict);
    return err;
}

// Sets "ServiceOrder" in the set's existing IPv4 global entity; a set
// without one fails here and gets none.
OSStatus WriteServiceOrderNode(CFStringRef setID, CFArrayRef serviceOrder) {
    OSStatus err = noErr;
    CFRef<CFStringRef> ipv4GlobalEntityPath = CopyIPv4GlobalEntityPath(setID, &err);
    if (err == noErr) {
        err = PreferencesPathSetProperty(ipv4GlobalEntityPath.get(), kSCPropNetServiceOrder, serviceOrder);
    }
    return err;
}

// Appends one entry of the order to the lists asked for (nil: not asked):
// the entry as it is to localIDs, the ID its link points at to resolvedIDs.
OSStatus AppendServiceID(CFStringRef setID, CFStringRef serviceID, CFMutableArrayRef localIDs,
                         CFMutableArrayRef resolvedIDs) {
    CFRef<CFStringRef> servicePath;
    CFRef<CFStringRef> resolvedID;
    OSStatus err = (serviceID != nil) ? noErr : coreFoundationUnknownErr;
    if (err == noErr && localIDs != nil) CFArrayAppendValue(localIDs, serviceID);
    if (err == noErr && resolvedIDs != nil) err = CopyResolvedServicePath(setID, serviceID, servicePath.out());
    if (err == noErr && resolvedIDs != nil) err = CopySeIDFromSePath(servicePath.get(), resolvedID.out());
    if (err == noErr && resolvedIDs != nil) CFArrayAppendValue(resolvedIDs, resolvedID.get());
    return err;
}

}  // namespace

OSStatus MoreSCCopyServicesDict(CFStringRef setID, CFDictionaryRef* servicesDict, CFArrayRef* serviceOrder) {
    MoreAssertQ((servicesDict != nil) || ( serviceOrder != nil));
    MoreAssertQ((servicesDict == nil) || (*servicesDict == nil));
    MoreAssertQ((serviceOrder == nil) || (*serviceOrder == nil));

    OSStatus err = noErr;
    CFRef<CFDictionaryRef> services;
    CFRef<CFArrayRef> order;
    {
        MoreSCSessionScope session(&err, false);
        if (err == noErr && servicesDict != nil) services = CopyServicesNode(setID, &err);
        if (err == noErr && serviceOrder != nil) order = CopyServiceOrderNode(setID, &err);
    }

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
    CFRef<CFMutableDictionaryRef> mutableDict;
    CFRef<CFMutableArrayRef> mutableOrder;
    OSStatus err = MoreSCCopyServicesDict(setID, immutableDict.out(), immutableOrder.out());
    if (err == noErr && servicesDict != nil) mutableDict = CFQDictionaryCreateMutableCopy(immutableDict.get(), &err);
    if (err == noErr && serviceOrder != nil) mutableOrder = CFQArrayCreateMutableCopy(immutableOrder.get(), &err);

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
    OSStatus err = noErr;
    {
        MoreSCSessionScope session(&err, true);
        if (err == noErr && servicesDict != nil) err = WriteServicesNode(setID, servicesDict);
        if (err == noErr && serviceOrder != nil) err = WriteServiceOrderNode(setID, serviceOrder);
    }
    return err;
}

OSStatus MoreSCCopyServiceIDs(CFStringRef setID, CFArrayRef* localServiceIDs, CFArrayRef* resolvedServiceIDs) {
    MoreAssertQ((localServiceIDs != nil) || (resolvedServiceIDs != nil));
    MoreAssertQ((localServiceIDs == nil) || ((*localServiceIDs == nil)));
    MoreAssertQ((resolvedServiceIDs == nil) || ((*resolvedServiceIDs == nil)));

    // Only the order is read: the IDs come in "ServiceOrder" order, one per
    // entry, active and inactive alike. Links are looked up only when the
    // resolved IDs are asked for.
    OSStatus err = noErr;
    CFRef<CFMutableArrayRef> localIDs;
    CFRef<CFMutableArrayRef> resolvedIDs;
    {
        MoreSCSessionScope session(&err, false);
        CFRef<CFArrayRef> order;
        if (err == noErr) err = MoreSCCopyServicesDict(setID, nil, order.out());
        if (err == noErr && localServiceIDs != nil) err = CFQArrayCreateMutable(localIDs.out());
        if (err == noErr && resolvedServiceIDs != nil) err = CFQArrayCreateMutable(resolvedIDs.out());
        CFIndex serviceCount = (err == noErr) ? CFArrayGetCount(order.get()) : 0;
        for (CFIndex serviceIndex = 0; err == noErr && serviceIndex < serviceCount; serviceIndex++) {
            // Entries are passed on as the store holds them.
            CFStringRef serviceID = static_cast<CFStringRef>(CFArrayGetValueAtIndex(order.get(), serviceIndex));
            err = AppendServiceID(setID, serviceID, localIDs.get(), resolvedIDs.get());
        }
    }

    if (err == noErr && localServiceIDs != nil) *localServiceIDs = localIDs.release();
    if (err == noErr && resolvedServiceIDs != nil) *resolvedServiceIDs = resolvedIDs.release();
    MoreAssertQ((err == noErr) == ((localServiceIDs == nil) || (*localServiceIDs != nil)));
    MoreAssertQ((err == noErr) == ((resolvedServiceIDs == nil) || (*resolvedServiceIDs != nil)));
    MoreAssertQ((err != noErr) || (localServiceIDs == nil) || (resolvedServiceIDs == nil) || (CFArrayGetCount(*localServiceIDs) == CFArrayGetCount(*resolvedServiceIDs)));
    return err;
}

OSStatus MoreSCIsServiceActive(CFStringRef setID, CFStringRef serviceID, Boolean* active) {
    MoreAssertQ(serviceID != nil);
    MoreAssertQ(active != nil);

    // Only the marker's presence counts, not its value.
    OSStatus err = noErr;
    Boolean serviceActive = false;
    {
        MoreSCSessionScope session(&err, false);
        CFRef<CFDictionaryRef> entitiesDict;
        if (err == noErr) err = MoreSCCopyEntitiesDict(setID, serviceID, entitiesDict.out());
        if (err == noErr) serviceActive = !CFDictionaryContainsKey(entitiesDict.get(), kSCResvInactive);
    }

    // On failure the caller's boolean keeps whatever it held.
    if (err == noErr) *active = serviceActive;
    return err;
}

OSStatus MoreSCCopyBSDNameOfService(CFStringRef setID, CFStringRef serviceID, CFStringRef* bsdName) {
    MoreAssertQ(serviceID != nil);
    MoreAssertQ(bsdName != nil);
    MoreAssertQ(*bsdName == nil);

    // The BSD name is the "DeviceName" of the service's "Interface" entity,
    // handed out as the store holds it.
    OSStatus err = noErr;
    CFRef<CFStringRef> name;
    {
        MoreSCSessionScope session(&err, false);
        CFRef<CFDictionaryRef> interfaceEntity;
        if (err == noErr) err = MoreSCCopyEntity(setID, serviceID, kSCEntNetInterface, interfaceEntity.out());
        if (err == noErr) {
            name = CFRef<CFStringRef>::Retain(
                static_cast<CFStringRef>(CFDictionaryGetValue(interfaceEntity.get(), kSCPropNetInterfaceDeviceName)));
        }
        if (err == noErr && !name) err = coreFoundationUnknownErr;
    }

    if (err == noErr) *bsdName = name.release();
    MoreAssertQ((err == noErr) == (*bsdName != nil));
    return err;
}

OSStatus MoreSCCopyUserVisibleNameOfService(CFStringRef setID, CFStringRef serviceID, CFStringRef* userVisibleName) {
    MoreAssertQ(serviceID != nil);
    MoreAssertQ(userVisibleName != nil);
    MoreAssertQ(*userVisibleName == nil);

    // The name belongs to the service dictionary itself, not to an entity.
    OSStatus err = noErr;
    CFRef<CFStringRef> name;
    {
        MoreSCSessionScope session(&err, false);
        CFRef<CFDictionaryRef> entitiesDict;
        if (err == noErr) err = MoreSCCopyEntitiesDict(setID, serviceID, entitiesDict.out());
        if (err == noErr) {
            name = CFRef<CFStringRef>::Retain(
                static_cast<CFStringRef>(CFDictionaryGetValue(entitiesDict.get(), kSCPropUserDefinedName)));
        }
        if (err == noErr && !name) err = coreFoundationUnknownErr;
    }

    if (err == noErr) *userVisibleName = name.release();
    MoreAssertQ((err == noErr) == (*userVisibleName != nil));
    return err;
}

OSStatus MoreSCRenameService(CFStringRef setID, CFStringRef serviceID, CFStringRef newServiceUserVisibleName) {
    MoreAssertQ(serviceID != nil);
    MoreAssertQ(newServiceUserVisibleName != nil);

    // The service is shared through links, so every set that links it sees
    // the new name.
    OSStatus err = noErr;
    {
        MoreSCSessionScope session(&err, true);
        CFRef<CFMutableDictionaryRef> entitiesDict;
        if (err == noErr) err = MoreSCCopyEntitiesDictMutable(setID, serviceID, entitiesDict.out());
        if (err == noErr) CFDictionarySetValue(entitiesDict.get(), kSCPropUserDefinedName, newServiceUserVisibleName);
        if (err == noErr) err = MoreSCSetEntitiesDict(setID, serviceID, entitiesDict.get());
    }
    return err;
}
