#include "netconfig/MoreSCPathsInternal.h"

#include "netconfig/MoreSCSession.h"
#include "netconfig/MoreSCSessionState.h"
#include "platform/coreservices/MoreAssert.h"
#include "platform/systemconfiguration/SCPreferences.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"
#include "plist/CFQTyped.h"

// The store's layout as the layer sees it:
//   /Sets/<set ID>                          a set
//   /Sets/<set ID>/Network/Global           the set's global entities
//   /Sets/<set ID>/Network/Service/<ID>     a link to /NetworkServices/<ID>
//   /NetworkServices/<service ID>           a service and its entities
//   /CurrentSet                             the current set's path
// A service is always reached through its set's link, never directly.

CFRef<CFStringRef> CreatePathWithFormat(OSStatus* err, CFStringRef format, ...) {
    va_list arguments;
    va_start(arguments, format);
    CFRef<CFStringRef> path(CFStringCreateWithFormatAndArguments(nil, nil, format, arguments));
    va_end(arguments);
    *err = path ? noErr : coreFoundationUnknownErr;
    return path;
}

OSStatus GetRootValue(CFStringRef key, CFTypeRef* value) {
    *value = SCPreferencesGetValue(MoreSCGetSCPreferencesRef(), key);
    return MoreSCError(*value);
}

OSStatus GetPathValue(CFStringRef path, CFDictionaryRef* value) {
    *value = SCPreferencesPathGetValue(MoreSCGetSCPreferencesRef(), path);
    return MoreSCError(*value);
}

CFRef<CFDictionaryRef> CopyPathValue(CFStringRef path, OSStatus* err) {
    CFDictionaryRef value = nil;
    *err = GetPathValue(path, &value);
    return CFRef<CFDictionaryRef>::Retain(value);
}

OSStatus SetRootValue(CFStringRef key, CFPropertyListRef value) {
    return MoreSCErrorBoolean(SCPreferencesSetValue(MoreSCGetSCPreferencesRef(), key, value));
}

OSStatus SetPathValue(CFStringRef path, CFDictionaryRef value) {
    return MoreSCErrorBoolean(SCPreferencesPathSetValue(MoreSCGetSCPreferencesRef(), path, value));
}

OSStatus RemovePathValue(CFStringRef path) {
    return MoreSCErrorBoolean(SCPreferencesPathRemoveValue(MoreSCGetSCPreferencesRef(), path));
}

OSStatus CreateSetPathWithSetID(CFStringRef setID, CFStringRef* setPath) {
    MoreAssertQ(setID != nil);
    MoreAssertQ(setPath != nil);
    MoreAssertQ(*setPath == nil);

    OSStatus err = noErr;
    *setPath = CreatePathWithFormat(&err, CFSTR("/%@/%@"), kSCPrefSets, setID).release();

    MoreAssertQ((err == noErr) == (*setPath != nil));
    return err;
}

OSStatus CreateServicePathWithServiceID(CFStringRef serviceID, CFStringRef* servicePath) {
    MoreAssertQ(serviceID != nil);
    MoreAssertQ(servicePath != nil);
    MoreAssertQ(*servicePath == nil);

    OSStatus err = noErr;
    *servicePath = CreatePathWithFormat(&err, CFSTR("/%@/%@"), kSCPrefNetworkServices, serviceID).release();

    MoreAssertQ((err == noErr) == (*servicePath != nil));
    return err;
}

OSStatus CopySeIDFromSePath(CFStringRef sePath, CFStringRef* seID) {
    MoreAssertQ(sePath != nil);
    MoreAssertQ(seID != nil);
    MoreAssertQ(*seID == nil);

    // "/Sets/0" splits into "", "Sets" and "0"; the ID is the third piece,
    // whatever the container, so sets and services share this code.
    CFRef<CFArrayRef> components(CFStringCreateArrayBySeparatingStrings(nil, sePath, CFSTR("/")));
    CFArrayRef sePathComponents = components.get();
    OSStatus err = (sePathComponents != nil) ? noErr : coreFoundationUnknownErr;
    if (err == noErr) MoreAssertQ(CFArrayGetCount(sePathComponents) == 3);
    // A path too short to hold an ID yields none.
    if (err == noErr && CFArrayGetCount(sePathComponents) < 3) err = coreFoundationUnknownErr;
    CFStringRef component = nil;
    if (err == noErr) component = CFQCast<CFStringRef>(CFArrayGetValueAtIndex(sePathComponents, 2));
    if (err == noErr && component == nil) err = coreFoundationUnknownErr;
    if (err == noErr) *seID = CFRef<CFStringRef>::Retain(component).release();

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
        CFTypeRef currentSet = nil;
        err = GetRootValue(kSCPrefCurrentSet, &currentSet);
        *setPath = CFRef<CFStringRef>::Retain(static_cast<CFStringRef>(currentSet)).release();
        MoreAssertQ((err != noErr) || (CFGetTypeID(*setPath) == CFStringGetTypeID()));
    }

    MoreAssertQ((err == noErr) == (*setPath != nil));
    return err;
}

namespace {

// <set path>/Network/<component>, for the set's globals or services.
CFRef<CFStringRef> CopySetNetworkPath(CFStringRef setID, CFStringRef component, OSStatus* err) {
    CFRef<CFStringRef> setPath;
    *err = CopySetPath(setID, setPath.out());
    if (*err != noErr) return nil;
    return CreatePathWithFormat(err, CFSTR("%@/%@/%@"), setPath.get(), kSCCompNetwork, component);
}

}  // namespace

OSStatus CopySetGlobalsPath(CFStringRef setID, CFStringRef* setGlobalsPath) {
    MoreAssertQ(setGlobalsPath != nil);
    MoreAssertQ(*setGlobalsPath == nil);

    OSStatus err = noErr;
    *setGlobalsPath = CopySetNetworkPath(setID, kSCCompGlobal, &err).release();

    MoreAssert((err == noErr) == (*setGlobalsPath != nil));
    return err;
}

OSStatus CopySetServicesPath(CFStringRef setID, CFStringRef* setServicesPath) {
    MoreAssertQ(gPrefsOpenCount > 0 && gPrefsRef != nil);
    MoreAssertQ(setServicesPath != nil);
    MoreAssertQ(*setServicesPath == nil);

    OSStatus err = noErr;
    *setServicesPath = CopySetNetworkPath(setID, kSCCompService, &err).release();

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
    if (err == noErr) linkPath = CreatePathWithFormat(&err, CFSTR("%@/%@"), servicesPath.get(), serviceID);
    // A service the set does not link to, or an entry that is not a link,
    // cannot be reached through this set.
    CFStringRef target = nil;
    if (err == noErr) target = SCPreferencesPathGetLink(MoreSCGetSCPreferencesRef(), linkPath.get());
    if (err == noErr) err = MoreSCError(target);
    if (err == noErr) *servicePath = CFRef<CFStringRef>::Retain(target).release();
    MoreAssertQ((err != noErr) || (CFGetTypeID(*servicePath) == CFStringGetTypeID()));

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
    if (err == noErr) *entityPath = CreatePathWithFormat(&err, CFSTR("%@/%@"), servicePath.get(), protocol).release();

    MoreAssertQ((err == noErr) == (*entityPath != nil));
    return err;
}
