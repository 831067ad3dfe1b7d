#include "netconfig/MoreSCPaths.h"

#include "netconfig/MoreSCSession.h"
#include "netconfig/MoreSCSessionState.h"
#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"
#include "platform/systemconfiguration/SCPreferences.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"

// The store's layout as the layer sees it:
//   /Sets/<set ID>                          a set
//   /Sets/<set ID>/Network/Global           the set's global entities
//   /Sets/<set ID>/Network/Service/<ID>     a link to /NetworkServices/<ID>
//   /NetworkServices/<service ID>           a service and its entities
//   /CurrentSet                             the current set's path
// A service is always reached through its set's link, never directly.

OSStatus CreateSetPathWithSetID(CFStringRef setID, CFStringRef* setPath) {
    MoreAssertQ(setID != nil);
    MoreAssertQ(setPath != nil);
    MoreAssertQ(*setPath == nil);

    OSStatus err = noErr;
    *setPath = CFStringCreateWithFormat(nil, nil, CFSTR("/%@/%@"), kSCPrefSets, setID);
    if (*setPath == nil) err = coreFoundationUnknownErr;

    MoreAssertQ((err == noErr) == (*setPath != nil));
    return err;
}

OSStatus CreateServicePathWithServiceID(CFStringRef serviceID, CFStringRef* servicePath) {
    MoreAssertQ(serviceID != nil);
    MoreAssertQ(servicePath != nil);
    MoreAssertQ(*servicePath == nil);

    OSStatus err = noErr;
    *servicePath = CFStringCreateWithFormat(nil, nil, CFSTR("/%@/%@"), kSCPrefNetworkServices, serviceID);
    if (*servicePath == nil) err = coreFoundationUnknownErr;

    MoreAssertQ((err == noErr) == (*servicePath != nil));
    return err;
}

OSStatus CopySeIDFromSePath(CFStringRef sePath, CFStringRef* seID) {
    MoreAssertQ(sePath != nil);
    MoreAssertQ(seID != nil);
    MoreAssertQ(*seID == nil);

    // "/Sets/0" splits into "", "Sets" and "0"; the ID is the third piece,
    // whatever the container, so sets and services share this code.
    OSStatus err = noErr;
    CFRef<CFArrayRef> components(CFStringCreateArrayBySeparatingStrings(nil, sePath, CFSTR("/")));
    CFArrayRef sePathComponents = components.get();
    if (sePathComponents == nil) err = coreFoundationUnknownErr;
    if (err == noErr) {
        MoreAssertQ(CFArrayGetCount(sePathComponents) == 3);
        // A path too short to hold an ID yields none.
        if (CFArrayGetCount(sePathComponents) < 3) err = coreFoundationUnknownErr;
    }
    if (err == noErr) {
        CFRef<CFStringRef> component = CFRef<CFStringRef>::Retain(
            static_cast<CFStringRef>(CFArrayGetValueAtIndex(sePathComponents, 2)));
        if (!component) err = coreFoundationUnknownErr;
        else *seID = component.release();
    }

    MoreAssertQ((err == noErr) == (*seID != nil));
    return err;
}

OSStatus CopySetPath(CFStringRef setID, CFStringRef* setPath) {
    MoreAssertQ(gPrefsOpenCount > 0 && gPrefsRef != nil);
    MoreAssertQ(setPath != nil);
    MoreAssertQ(*setPath == nil);

    OSStatus err = noErr;
    if (setID != nil) {
        // The set need not exist: callers build paths of sets they create.
        err = CreateSetPathWithSetID(setID, setPath);
    } else {
        // "CurrentSet" already holds a path, not an ID.
        CFRef<CFStringRef> current = CFRef<CFStringRef>::Retain(
            static_cast<CFStringRef>(SCPreferencesGetValue(MoreSCGetSCPreferencesRef(), kSCPrefCurrentSet)));
        err = MoreSCError(current.get());
        *setPath = current.release();
        MoreAssertQ((err != noErr) || (CFGetTypeID(*setPath) == CFStringGetTypeID()));
    }

    MoreAssertQ((err == noErr) == (*setPath != nil));
    return err;
}

namespace {

// <set path>/Network/<component>, for the set's globals or services.
OSStatus CopySetNetworkPath(CFStringRef setID, CFStringRef component, CFStringRef* result) {
    CFRef<CFStringRef> setPath;
    OSStatus err = CopySetPath(setID, setPath.out());
    if (err == noErr) {
        *result = CFStringCreateWithFormat(nil, nil, CFSTR("%@/%@/%@"), setPath.get(), kSCCompNetwork, component);
        if (*result == nil) err = coreFoundationUnknownErr;
    }
    return err;
}

}  // namespace

OSStatus CopySetGlobalsPath(CFStringRef setID, CFStringRef* setGlobalsPath) {
    MoreAssertQ(setGlobalsPath != nil);
    MoreAssertQ(*setGlobalsPath == nil);

    OSStatus err = CopySetNetworkPath(setID, kSCCompGlobal, setGlobalsPath);

    MoreAssert((err == noErr) == (*setGlobalsPath != nil));
    return err;
}

OSStatus CopySetServicesPath(CFStringRef setID, CFStringRef* setServicesPath) {
    MoreAssertQ(gPrefsOpenCount > 0 && gPrefsRef != nil);
    MoreAssertQ(setServicesPath != nil);
    MoreAssertQ(*setServicesPath == nil);

    OSStatus err = CopySetNetworkPath(setID, kSCCompService, setServicesPath);

    MoreAssert((err == noErr) == (*setServicesPath != nil));
    return err;
}

OSStatus CopyResolvedServicePath(CFStringRef setID, CFStringRef serviceID, CFStringRef* servicePath) {
    MoreAssertQ(gPrefsOpenCount > 0 && gPrefsRef != nil);
    MoreAssertQ(servicePath != nil);
    MoreAssertQ(*servicePath == nil);

    // No service: the set's global entities, reached without the store.
    if (serviceID == nil) return CopySetGlobalsPath(setID, servicePath);

    CFRef<CFStringRef> servicesPath;
    CFRef<CFStringRef> linkPath;
    OSStatus err = CopySetServicesPath(setID, servicesPath.out());
    if (err == noErr) {
        linkPath.reset(CFStringCreateWithFormat(nil, nil, CFSTR("%@/%@"), servicesPath.get(), serviceID));
        if (!linkPath) err = coreFoundationUnknownErr;
    }
    if (err == noErr) {
        // A service the set does not link to, or an entry that is not a
        // link, cannot be reached through this set.
        CFRef<CFStringRef> target =
            CFRef<CFStringRef>::Retain(SCPreferencesPathGetLink(MoreSCGetSCPreferencesRef(), linkPath.get()));
        err = MoreSCError(target.get());
        *servicePath = target.release();
        MoreAssertQ((err != noErr) || (CFGetTypeID(*servicePath) == CFStringGetTypeID()));
    }

    MoreAssertQ((err == noErr) == (*servicePath != nil));
    return err;
}

OSStatus CopyEntityPath(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol, CFStringRef* entityPath) {
    MoreAssertQ(protocol != nil);
    MoreAssertQ(entityPath != nil);
    MoreAssertQ(*entityPath == nil);

    // The entity need not exist yet: writers use this path to create it.
    CFRef<CFStringRef> servicePath;
    OSStatus err = CopyResolvedServicePath(setID, serviceID, servicePath.out());
    if (err == noErr) {
        *entityPath = CFStringCreateWithFormat(nil, nil, CFSTR("%@/%@"), servicePath.get(), protocol);
        if (*entityPath == nil) err = coreFoundationUnknownErr;
    }

    MoreAssertQ((err == noErr) == (*entityPath != nil));
    return err;
}
