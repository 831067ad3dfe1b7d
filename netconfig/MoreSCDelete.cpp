#include "netconfig/MoreSCDelete.h"

#include "netconfig/MoreSCEntities.h"
#include "netconfig/MoreSCPaths.h"
#include "netconfig/MoreSCServices.h"
#include "netconfig/MoreSCSession.h"
#include "netconfig/MoreSCSessionState.h"
#include "netconfig/MoreSCSets.h"
#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"
#include "platform/systemconfiguration/SCPreferences.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"
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

}  // namespace

OSStatus MoreSCSetServiceActive(CFStringRef setID, CFStringRef serviceID, Boolean active) {
    MoreAssertQ(serviceID != nil);

    CFRef<CFMutableDictionaryRef> entitiesDict;
    Boolean changed = false;
    OSStatus err = MoreSCOpen(false, false);
    if (err == noErr) err = MoreSCCopyEntitiesDictMutable(setID, serviceID, entitiesDict.out());
    if (err == noErr) err = SetDictionaryActive(entitiesDict.get(), active, &changed);
    if (err == noErr && changed) err = MoreSCSetEntitiesDict(setID, serviceID, entitiesDict.get());
    // A service already in the wanted state asks for no save.
    MoreSCClose(&err, changed);
    return err;
}

OSStatus DeleteUnreferencedServices(void) {
    MoreAssertQ(gPrefsOpenCount > 0 && gPrefsRef != nil);

    // The IDs of every service some set links to, as a hashed set: keys
    // retained and compared by value, values null.
    CFRef<CFMutableDictionaryRef> referencedIDs(
        CFDictionaryCreateMutable(nil, 0, &kCFTypeDictionaryKeyCallBacks, nil));
    OSStatus err = referencedIDs ? noErr : coreFoundationUnknownErr;

    CFRef<CFArrayRef> setIDs;
    if (err == noErr) err = MoreSCCopySetIDs(setIDs.out(), nil);
    if (err == noErr) {
        CFIndex setCount = CFArrayGetCount(setIDs.get());
        for (CFIndex setIndex = 0; err == noErr && setIndex < setCount; setIndex++) {
            // The IDs the links point at, which are the keys of
            // "NetworkServices", whatever the set calls them locally.
            CFRef<CFArrayRef> serviceIDs;
            err = MoreSCCopyServiceIDs(static_cast<CFStringRef>(CFArrayGetValueAtIndex(setIDs.get(), setIndex)),
                                       nil, serviceIDs.out());
            if (err == noErr) {
                CFIndex serviceCount = CFArrayGetCount(serviceIDs.get());
                for (CFIndex serviceIndex = 0; serviceIndex < serviceCount; serviceIndex++) {
                    CFDictionarySetValue(referencedIDs.get(), CFArrayGetValueAtIndex(serviceIDs.get(), serviceIndex),
                                         nil);
                }
            }
        }
    }

    // Only the keys are kept: the store copies a dictionary that someone
    // else holds before changing it, so holding "NetworkServices" across the
    // removals below would copy it once per removal.
    CFRef<CFArrayRef> allServiceIDs;
    if (err == noErr) {
        CFDictionaryRef allServicesDict = static_cast<CFDictionaryRef>(
            SCPreferencesGetValue(MoreSCGetSCPreferencesRef(), kSCPrefNetworkServices));
        err = MoreSCError(allServicesDict);
        MoreAssertQ((err != noErr) || (CFGetTypeID(allServicesDict) == CFDictionaryGetTypeID()));
        if (err == noErr && CFGetTypeID(allServicesDict) != CFDictionaryGetTypeID()) err = kSCStatusNoKey;
        if (err == noErr) err = CFQArrayCreateWithDictionaryKeys(allServicesDict, allServiceIDs.out());
    }
    if (err == noErr) {
        CFIndex serviceCount = CFArrayGetCount(allServiceIDs.get());
        for (CFIndex serviceIndex = 0; err == noErr && serviceIndex < serviceCount; serviceIndex++) {
            CFStringRef serviceID = static_cast<CFStringRef>(CFArrayGetValueAtIndex(allServiceIDs.get(), serviceIndex));
            if (CFDictionaryContainsKey(referencedIDs.get(), serviceID)) continue;

            CFRef<CFStringRef> servicePath;
            err = CreateServicePathWithServiceID(serviceID, servicePath.out());
            if (err == noErr) {
                err = MoreSCErrorBoolean(SCPreferencesPathRemoveValue(MoreSCGetSCPreferencesRef(), servicePath.get()));
            }
        }
    }
    return err;
}

OSStatus MoreSCDeleteService(CFStringRef setID, CFStringRef serviceID) {
    MoreAssertQ(serviceID != nil);

    // Takes the service out of both halves of the set, its link and its
    // place in the order, then collects it if no other set links to it.
    CFRef<CFMutableDictionaryRef> servicesDictHolder;
    CFRef<CFMutableArrayRef> serviceOrderHolder;
    OSStatus err = MoreSCOpen(false, false);
    if (err == noErr) err = MoreSCCopyServicesDictMutable(setID, servicesDictHolder.out(), serviceOrderHolder.out());
    if (err == noErr) {
        CFMutableDictionaryRef newServicesDict = servicesDictHolder.get();
        CFMutableArrayRef newServiceOrder = serviceOrderHolder.get();
        MoreAssertQ(CFDictionaryContainsKey(newServicesDict, serviceID));
        MoreAssertQ(CFArrayContainsValue(newServiceOrder, CFRangeMake(0, CFArrayGetCount(newServiceOrder)), serviceID));

        CFDictionaryRemoveValue(newServicesDict, serviceID);
        CFIndex serviceIndex =
            CFArrayGetFirstIndexOfValue(newServiceOrder, CFRangeMake(0, CFArrayGetCount(newServiceOrder)), serviceID);
        MoreAssertQ(serviceIndex != kCFNotFound);
        // A service the order does not list leaves the order as it is.
        if (serviceIndex != kCFNotFound) CFArrayRemoveValueAtIndex(newServiceOrder, serviceIndex);

        err = MoreSCSetServicesDict(setID, newServicesDict, newServiceOrder);
    }
    CollectUnreferencedServices(&err);
    MoreSCClose(&err, true);
    return err;
}

OSStatus MoreSCDeleteSet(CFStringRef setID) {
    MoreAssertQ(setID != nil);

    CFRef<CFStringRef> currentSetID;
    CFRef<CFStringRef> setPath;
    OSStatus err = MoreSCOpen(false, false);
    if (err == noErr) err = MoreSCCopyCurrentSet(currentSetID.out());
    // The current set is never deleted.
    if (err == noErr && CFEqual(setID, currentSetID.get())) err = paramErr;
    if (err == noErr) err = CreateSetPathWithSetID(setID, setPath.out());
    if (err == noErr) {
        err = MoreSCErrorBoolean(SCPreferencesPathRemoveValue(MoreSCGetSCPreferencesRef(), setPath.get()));
    }
    // The set's services that no remaining set links to go with it.
    CollectUnreferencedServices(&err);
    MoreSCClose(&err, true);
    return err;
}
