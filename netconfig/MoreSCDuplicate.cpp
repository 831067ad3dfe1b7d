#include "netconfig/MoreSCCreate.h"
#include "netconfig/MoreSCCreateInternal.h"
#include "netconfig/MoreSCDelete.h"
#include "netconfig/MoreSCDeleteInternal.h"
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
#include "plist/MoreCFQ.h"

// Copies are deep: every container and every leaf of a copied set or
// service is a new object, so that changing the copy can never change the
// original. A copied set gets copies of its services too, so it shares no
// service with the set it came from.

namespace {

// Stores at toPath a deep, mutable copy of the dictionary at fromPath.
OSStatus CopyStoreDictionary(CFStringRef fromPath, CFStringRef toPath) {
    SCPreferencesRef prefs = MoreSCGetSCPreferencesRef();
    CFDictionaryRef original = SCPreferencesPathGetValue(prefs, fromPath);
    OSStatus err = MoreSCError(original);
    MoreAssertQ((err != noErr) || (CFGetTypeID(original) == CFDictionaryGetTypeID()));
    if (err == noErr && CFGetTypeID(original) != CFDictionaryGetTypeID()) err = kSCStatusNoKey;

    CFRef<CFPropertyListRef> copy;
    if (err == noErr) {
        copy.reset(CFPropertyListCreateDeepCopy(nil, original, kCFPropertyListMutableContainersAndLeaves));
        if (!copy) err = coreFoundationUnknownErr;
    }
    if (err == noErr) {
        err = MoreSCErrorBoolean(SCPreferencesPathSetValue(prefs, toPath, static_cast<CFDictionaryRef>(copy.get())));
    }
    return err;
}

// Gives the new set copies of the original set's services, in the
// original's order, in place of the links to the originals.
OSStatus CopySetServices(CFStringRef setID, CFStringRef newSetID) {
    CFRef<CFArrayRef> serviceIDs;
    CFRef<CFMutableDictionaryRef> newServicesDict;
    CFRef<CFMutableArrayRef> newServiceOrder;
    OSStatus err = MoreSCCopyServiceIDs(setID, nil, serviceIDs.out());
    if (err == noErr) err = CFQDictionaryCreateMutable(newServicesDict.out());
    if (err == noErr) err = CFQArrayCreateMutable(newServiceOrder.out());

    // One scan of "NetworkServices" serves every copy: nothing else adds
    // services while they are made.
    SeIDAllocator allocator(kSCPrefNetworkServices);
    CFIndex serviceCount = (err == noErr) ? CFArrayGetCount(serviceIDs.get()) : 0;
    for (CFIndex serviceIndex = 0; err == noErr && serviceIndex < serviceCount; serviceIndex++) {
        CFStringRef serviceID = static_cast<CFStringRef>(CFArrayGetValueAtIndex(serviceIDs.get(), serviceIndex));
        CFRef<CFStringRef> newServiceID;
        err = DuplicateService(serviceID, &allocator, newServiceID.out());
        if (err == noErr) err = AddServiceLinkToDict(newServiceID.get(), newServicesDict.get());
        if (err == noErr) CFArrayAppendValue(newServiceOrder.get(), newServiceID.get());
    }
    if (err == noErr) {
        MoreAssertQ(CFDictionaryGetCount(newServicesDict.get()) == serviceCount);
        MoreAssertQ(CFArrayGetCount(newServiceOrder.get()) == serviceCount);
        err = MoreSCSetServicesDict(newSetID, newServicesDict.get(), newServiceOrder.get());
    }
    return err;
}

}  // namespace

OSStatus DuplicateService(CFStringRef serviceID, CFStringRef* newServiceID) {
    SeIDAllocator allocator(kSCPrefNetworkServices);
    return DuplicateService(serviceID, &allocator, newServiceID);
}

OSStatus DuplicateService(CFStringRef serviceID, SeIDAllocator* allocator, CFStringRef* newServiceID) {
    MoreAssertQ(gPrefsOpenCount > 0 && gPrefsRef != nil);
    MoreAssertQ(serviceID != nil);
    MoreAssertQ(newServiceID != nil);
    MoreAssertQ(*newServiceID == nil);

    // The ID is reserved first; if the copy then fails, the empty node
    // stays behind for the collection of unreferenced services.
    CFRef<CFStringRef> newID;
    CFRef<CFStringRef> newPath;
    CFRef<CFStringRef> servicePath;
    OSStatus err = allocator->Allocate(newID.out(), newPath.out());
    if (err == noErr) err = CreateServicePathWithServiceID(serviceID, servicePath.out());
    if (err == noErr) err = CopyStoreDictionary(servicePath.get(), newPath.get());

    if (err == noErr) *newServiceID = newID.release();
    return err;
}

OSStatus MoreSCDuplicateService(CFStringRef setID, CFStringRef serviceID, CFStringRef newName,
                                CFStringRef* newServiceID) {
    MoreAssertQ(serviceID != nil);
    MoreAssertQ(newServiceID == nil || *newServiceID == nil);

    CFRef<CFStringRef> copyID;
    OSStatus err = noErr;
    {
        MoreSCSessionScope session(&err, true);
        if (err == noErr) err = DuplicateService(serviceID, copyID.out());
        if (err == noErr) err = AddServiceToSet(setID, copyID.get());
        if (err == noErr && newName != nil) err = MoreSCRenameService(setID, copyID.get(), newName);

        // A copy that no set links to, or a reserved ID that never got its
        // copy, goes again. There is nothing to collect in without a store.
        if (err != noErr) {
            copyID.reset();
            if (gPrefsRef != nil) (void) DeleteUnreferencedServices();
        }
    }

    if (err == noErr && newServiceID != nil) *newServiceID = copyID.release();
    MoreAssertQ((newServiceID == nil) || ( (err == noErr) == (*newServiceID != nil)));
    return err;
}

OSStatus MoreSCDuplicateSet(CFStringRef setID, CFStringRef newName, CFStringRef* newSetID) {
    MoreAssertQ(setID != nil);
    MoreAssertQ(newSetID == nil || *newSetID == nil);

    CFRef<CFStringRef> newSetIDLocal;
    OSStatus err = noErr;
    {
        MoreSCSessionScope session(&err, true);
        CFRef<CFStringRef> setPath;
        CFRef<CFStringRef> newSetPath;
        if (err == noErr) err = CreateSetPathWithSetID(setID, setPath.out());
        if (err == noErr) err = MakeNewSeAndCopyIDAndPath(kSCPrefSets, newSetIDLocal.out(), newSetPath.out());
        if (err == noErr) {
            // The copy first links to the original's services, until it
            // gets services of its own.
            err = CopyStoreDictionary(setPath.get(), newSetPath.get());
            if (err == noErr) err = CopySetServices(setID, newSetIDLocal.get());
            if (err == noErr && newName != nil) err = MoreSCRenameSet(newSetIDLocal.get(), newName);

            // Deleting the half-made set also collects the service copies
            // already made.
            if (err != noErr) {
                (void) MoreSCDeleteSet(newSetIDLocal.get());
                newSetIDLocal.reset();
            }
        }
    }

    if (err == noErr && newSetID != nil) *newSetID = newSetIDLocal.release();
    MoreAssertQ((newSetID == nil) || ( (err == noErr) == (*newSetID != nil)));
    return err;
}
