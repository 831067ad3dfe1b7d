#include "helpers/MoreSCDHCP.h"

#include "netconfig/MoreSCEntities.h"
#include "netconfig/MoreSCSession.h"
#include "netconfig/MoreSCSessionScope.h"
#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"
#include "platform/systemconfiguration/SCDynamicStore.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"

namespace {

// The status of a configured IPv4 entity whose method is unknown.
const OSStatus kNoConfigMethodErr = -2;

// Whether the live IPv4 entity at key is configured by DHCP.
OSStatus IsDHCPEntity(SCDynamicStoreRef store, CFStringRef key, Boolean* isDHCP) {
    CFRef<CFPropertyListRef> value(SCDynamicStoreCopyValue(store, key));
    OSStatus err = MoreSCError(value.get());
    if (err == noErr) {
        // A value that is not a dictionary has no method either.
        MoreAssertQ(CFGetTypeID(value.get()) == CFDictionaryGetTypeID());
        CFTypeRef method = nil;
        if (CFGetTypeID(value.get()) == CFDictionaryGetTypeID()) {
            method = CFDictionaryGetValue(static_cast<CFDictionaryRef>(value.get()), kSCPropNetIPv4ConfigMethod);
        }
        if (method == nil) err = kNoConfigMethodErr;
        if (err == noErr) *isDHCP = CFEqual(method, kSCValNetIPv4ConfigMethodDHCP);
    }
    return err;
}

// Appends the service ID of a key "Setup:/Network/Service/<ID>/IPv4".
OSStatus AppendServiceID(CFMutableArrayRef serviceIDs, CFStringRef key) {
    CFRef<CFArrayRef> pieces(CFStringCreateArrayBySeparatingStrings(kCFAllocatorDefault, key, CFSTR("/")));
    CFArrayRef thisKeyExploded = pieces.get();
    OSStatus err = thisKeyExploded != nil ? noErr : coreFoundationUnknownErr;
    if (err == noErr) {
        MoreAssertQ(CFArrayGetCount(thisKeyExploded) == 5);
        if (CFArrayGetCount(thisKeyExploded) < 4) err = coreFoundationUnknownErr;
    }
    if (err == noErr) CFArrayAppendValue(serviceIDs, CFArrayGetValueAtIndex(thisKeyExploded, 3));
    return err;
}

}  // namespace

OSStatus MoreSCCreateActiveDHCPServicesArray(CFArrayRef* activeDHCP) {
    MoreAssertQ(activeDHCP != nil);
    if (activeDHCP == nil) return paramErr;
    MoreAssertQ(*activeDHCP == nil);

    CFRef<SCDynamicStoreRef> store(SCDynamicStoreCreate(kCFAllocatorDefault, MoreSCGetClient(), nil, nil));
    OSStatus err = MoreSCError(store.get());
    // Every service's configured IPv4 entity, whatever the service's ID.
    CFRef<CFStringRef> pattern;
    if (err == noErr) {
        pattern.reset(SCDynamicStoreKeyCreateNetworkServiceEntity(kCFAllocatorDefault, kSCDynamicStoreDomainSetup,
                                                                  CFSTR("[^/]+"), kSCEntNetIPv4));
        err = MoreSCError(pattern.get());
    }
    CFRef<CFArrayRef> keys;
    if (err == noErr) {
        keys.reset(SCDynamicStoreCopyKeyList(store.get(), pattern.get()));
        err = MoreSCError(keys.get());
    }
    CFRef<CFMutableArrayRef> result;
    if (err == noErr) {
        result.reset(CFArrayCreateMutable(kCFAllocatorDefault, CFArrayGetCount(keys.get()), &kCFTypeArrayCallBacks));
        if (!result) err = coreFoundationUnknownErr;
    }
    CFIndex keyCount = (err == noErr) ? CFArrayGetCount(keys.get()) : 0;
    for (CFIndex keyIndex = 0; err == noErr && keyIndex < keyCount; keyIndex++) {
        CFStringRef thisKey = static_cast<CFStringRef>(CFArrayGetValueAtIndex(keys.get(), keyIndex));
        if (thisKey == nil) err = coreFoundationUnknownErr;
        if (err == noErr) {
            MoreAssertQ(CFGetTypeID(thisKey) == CFStringGetTypeID());
            MoreAssertQ(CFStringHasPrefix(thisKey, CFSTR("Setup:/Network/Service/")));
            MoreAssertQ(CFStringHasSuffix(thisKey, CFSTR("/IPv4")));
        }
        Boolean isDHCP = false;
        if (err == noErr) err = IsDHCPEntity(store.get(), thisKey, &isDHCP);
        if (err == noErr && isDHCP) err = AppendServiceID(result.get(), thisKey);
    }

    if (err == noErr) *activeDHCP = result.release();
    MoreAssertQ((err == noErr) == (*activeDHCP != nil));
    return err;
}

OSStatus MoreSCDHCPRelease(CFStringRef serviceID) {
    MoreAssertQ(serviceID != nil);
    if (serviceID == nil) return paramErr;

    // Two complete sessions, each saved and applied on its own: one session
    // would save only the end state, which is where it started.
    OSStatus err = noErr;
    {
        MoreSCSessionScope session(&err, true);
        if (err == noErr) err = MoreSCSetEntityActive(nil, serviceID, kSCEntNetIPv4, false);
    }
    if (err == noErr) {
        MoreSCSessionScope session(&err, true);
        if (err == noErr) err = MoreSCSetEntityActive(nil, serviceID, kSCEntNetIPv4, true);
    }
    return err;
}
