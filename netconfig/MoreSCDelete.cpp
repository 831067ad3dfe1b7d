#include "netconfig/MoreSCDelete.h"

#include "netconfig/MoreSCDeleteInternal.h"
#include "netconfig/MoreSCEntities.h"
#include "netconfig/MoreSCEntitiesInternal.h"
#include "netconfig/MoreSCPathsInternal.h"
#include "netconfig/MoreSCServices.h"
#include "netconfig/MoreSCSession.h"
#include "netconfig/MoreSCSessionScope.h"
#include "netconfig/MoreSCSessionState.h"
#include "netconfig/MoreSCSets.h"
#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"
#include "platform/systemconfiguration/SCPreferences.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"
#include "plist/CFQTyped.h"
#include "plist/MoreCFQ.h"

// A service is stored once, under "NetworkServices", and sets link to it.
// Taking a set away, or a service out of a set, therefore ends with a
// collection of every service that no set links to any more, so the store
// never keeps an orphan once one of these operations has run.

namespace {

// The collection runs after every deletion, also after a failed step, as
// long as there is a store to collect in (a failed first open leaves none).
// Its own status counts only when nothing failed before it.
void CollectUnreferencedServices(OSStatus* err) {
    if (gPrefsRef == nil) return;
    OSStatus collectErr = DeleteUnreferencedServices();
    if (*err == noErr) *err = collectErr;
}

// Adds to referencedIDs the ID of every service each set links to: the IDs
// the links point at, which are the keys of "NetworkServices", whatever the
// set calls them locally.
OSStatus AddLinkedServiceIDs(CFArrayRef setIDs, CFMutableDictionaryRef referencedIDs) {
    OSStatus err = noErr;
    CFIndex setCount = CFArrayGetCount(setIDs);
    for (CFIndex setIndex = 0; err == noErr && setIndex < setCount; setIndex++) {
        CFRef<CFArrayRef> serviceIDs;
        err = MoreSCCopyServiceIDs(static_cast<CFStringRef>(CFArrayGetValueAtIndex(setIDs, setIndex)), nil,
                                   serviceIDs.out());
        CFIndex serviceCount = (err == noErr) ? CFArrayGetCount(serviceIDs.get()) : 0;
        for (CFIndex serviceIndex = 0; serviceIndex < serviceCount; serviceIndex++) {
            CFDictionarySetValue(referencedIDs, CFArrayGetValueAtIndex(serviceIDs.get(), serviceIndex), nil);
        }
    }
    return err;
}

// The keys of "NetworkServices". Only the keys are kept: the store copies a
// dictionary that someone else holds before changing it, so holding
// "NetworkServices" across the removals would copy it once per removal.
CFRef<CFArrayRef> CopyAllServiceIDs(OSStatus* status) {
    CFTypeRef allServicesDict = nil;
    CFRef<CFArrayRef> allServiceIDs;
    OSStatus err = GetRootValue(kSCPrefNetworkServices, &allServicesDict);
    MoreAssertQ((err != noErr) || (CFGetTypeID(allServicesDict) == CFDictionaryGetTypeID()));
    CFDictionaryRef allServices = CFQCast<CFDictionaryRef>(allServicesDict);
    if (err == noErr && allServices == nil) err = kSCStatusNoKey;
    if (err == noErr) err = CFQArrayCreateWithDictionaryKeys(allServices, allServiceIDs.out());
    *status = err;
    return allServiceIDs;
}

OSStatus RemoveService(CFStringRef serviceID) {
    CFRef<CFStringRef> servicePath;
    OSStatus err = CreateServicePathWithServiceID(serviceID, servicePath.out());
    if (err == noErr) err = RemovePathValue(servicePath.get());
    return err;
}

// Removes, in the order of allServiceIDs, each service not in referencedIDs.
OSStatus RemoveServicesNotIn(CFArrayRef allServiceIDs, CFDictionaryRef referencedIDs) {
    OSStatus err = noErr;
    CFIndex serviceCount = CFArrayGetCount(allServiceIDs);
    for (CFIndex serviceIndex = 0; err == noErr && serviceIndex < serviceCount; serviceIndex++) {
        CFStringRef serviceID = static_cast<CFStringRef>(CFArrayGetValueAtIndex(allServiceIDs, serviceIndex));
        if (!CFDictionaryContainsKey(referencedIDs, serviceID)) err = RemoveService(serviceID);
    }
    return err;
}

// Takes serviceID out of both halves of a set: its link and its place in
// the order. A service the order does not list leaves the order as it is.
void RemoveServiceFromSet(CFMutableDictionaryRef newServicesDict, CFMutableArrayRef newServiceOrder,
                          CFStringRef serviceID) {
    MoreAssertQ(CFDictionaryContainsKey(newServicesDict, serviceID));
    MoreAssertQ(CFArrayContainsValue(newServiceOrder, CFRangeMake(0, CFArrayGetCount(newServiceOrder)), serviceID));

    CFDictionaryRemoveValue(newServicesDict, serviceID);
    CFIndex serviceIndex =
        CFArrayGetFirstIndexOfValue(newServiceOrder, CFRangeMake(0, CFArrayGetCount(newServiceOrder)), serviceID);
    MoreAssertQ(serviceIndex != kCFNotFound);
    if (serviceIndex != kCFNotFound) CFArrayRemoveValueAtIndex(newServiceOrder, serviceIndex);
}

}  // namespace

OSStatus MoreSCSetServiceActive(CFStringRef setID, CFStringRef serviceID, Boolean active) {
    MoreAssertQ(serviceID != nil);

    OSStatus err = noErr;
    {
        MoreSCSessionScope session(&err, false);
        CFRef<CFMutableDictionaryRef> entitiesDict;
        Boolean changed = false;
        if (err == noErr) err = MoreSCCopyEntitiesDictMutable(setID, serviceID, entitiesDict.out());
        if (err == noErr) err = SetDictionaryActive(entitiesDict.get(), active, &changed);
        if (err == noErr && changed) err = MoreSCSetEntitiesDict(setID, serviceID, entitiesDict.get());
        // A service already in the wanted state asks for no save.
        session.SetCommit(changed);
    }
    return err;
}

OSStatus DeleteUnreferencedServices(void) {
    MoreAssertQ(gPrefsOpenCount > 0 && gPrefsRef != nil);

    // The IDs of every service some set links to, as a hashed set: keys
    // retained and compared by value, values null.
    CFRef<CFMutableDictionaryRef> referencedIDs(
        CFDictionaryCreateMutable(nil, 0, &kCFTypeDictionaryKeyCallBacks, nil));
    CFRef<CFArrayRef> setIDs;
    CFRef<CFArrayRef> allServiceIDs;
    OSStatus err = referencedIDs ? noErr : coreFoundationUnknownErr;
    if (err == noErr) err = MoreSCCopySetIDs(setIDs.out(), nil);
    if (err == noErr) err = AddLinkedServiceIDs(setIDs.get(), referencedIDs.get());
    if (err == noErr) allServiceIDs = CopyAllServiceIDs(&err);
    if (err == noErr) err = RemoveServicesNotIn(allServiceIDs.get(), referencedIDs.get());
    return err;
}

OSStatus MoreSCDeleteService(CFStringRef setID, CFStringRef serviceID) {
    MoreAssertQ(serviceID != nil);

    // Takes the service out of the set, then collects it if no other set
    // links to it.
    OSStatus err = noErr;
    {
        MoreSCSessionScope session(&err, true);
        CFRef<CFMutableDictionaryRef> newServicesDict;
        CFRef<CFMutableArrayRef> newServiceOrder;
        if (err == noErr) err = MoreSCCopyServicesDictMutable(setID, newServicesDict.out(), newServiceOrder.out());
        if (err == noErr) RemoveServiceFromSet(newServicesDict.get(), newServiceOrder.get(), serviceID);
        if (err == noErr) err = MoreSCSetServicesDict(setID, newServicesDict.get(), newServiceOrder.get());
        CollectUnreferencedServices(&err);
    }
    return err;
}

OSStatus MoreSCDeleteSet(CFStringRef setID) {
    MoreAssertQ(setID != nil);

    OSStatus err = noErr;
    {
        MoreSCSessionScope session(&err, true);
        CFRef<CFStringRef> currentSetID;
        CFRef<CFStringRef> setPath;
        if (err == noErr) err = MoreSCCopyCurrentSet(currentSetID.out());
        // The current set is never deleted.
        if (err == noErr && CFEqual(setID, currentSetID.get())) err = paramErr;
        if (err == noErr) err = CreateSetPathWithSetID(setID, setPath.out());
        if (err == noErr) err = RemovePathValue(setPath.get());
        // The set's services that no remaining set links to go with it.
        CollectUnreferencedServices(&err);
    }
    return err;
}
