#include "entities/MoreSCCreateEntity.h"
#include "entities/MoreSCGlobalEntities.h"
#include "netconfig/MoreSCCreateInternal.h"
#include "netconfig/MoreSCEntities.h"
#include "netconfig/MoreSCPathsInternal.h"
#include "netconfig/MoreSCServices.h"
#include "platform/corefoundation/CFRef.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"

// A set holds a service as a link in its "Service" dictionary and as an
// entry of its service order; a new service always goes under its own ID,
// so the set's local ID and the service's ID are the same.

OSStatus AddServiceLinkToDict(CFStringRef serviceID, CFMutableDictionaryRef servicesDict) {
    CFRef<CFStringRef> servicePath;
    OSStatus err = CreateServicePathWithServiceID(serviceID, servicePath.out());
    CFRef<CFDictionaryRef> link;
    if (err == noErr) {
        const void* keys[] = {kSCResvLink};
        const void* values[] = {servicePath.get()};
        link.reset(CFDictionaryCreate(nil, keys, values, 1, &kCFTypeDictionaryKeyCallBacks,
                                      &kCFTypeDictionaryValueCallBacks));
        if (!link) err = coreFoundationUnknownErr;
    }
    if (err == noErr) CFDictionaryAddValue(servicesDict, serviceID, link.get());
    return err;
}

OSStatus AddServiceToSet(CFStringRef setID, CFStringRef serviceID) {
    // Both halves are edited together and written back together.
    CFRef<CFMutableDictionaryRef> servicesDict;
    CFRef<CFMutableArrayRef> serviceOrder;
    OSStatus err = MoreSCCopyServicesDictMutable(setID, servicesDict.out(), serviceOrder.out());
    if (err == noErr) err = AddServiceLinkToDict(serviceID, servicesDict.get());
    if (err == noErr) {
        CFArrayAppendValue(serviceOrder.get(), serviceID);
        err = MoreSCSetServicesDict(setID, servicesDict.get(), serviceOrder.get());
    }
    return err;
}

OSStatus AddEntityToService(CFStringRef setID, CFStringRef serviceID, CFStringRef entityKey, const void* digest) {
    CFRef<CFDictionaryRef> entity;
    OSStatus err = MoreSCCreateEntity(entityKey, digest, entity.out());
    if (err == noErr) err = MoreSCNewEntity(setID, serviceID, entityKey, entity.get());
    return err;
}

OSStatus AddGlobalEntityToSet(CFStringRef setID, CFStringRef entityKey, const void* digest) {
    // With no service, the entity goes among the set's global entities.
    CFRef<CFDictionaryRef> entity;
    OSStatus err = MoreSCCreateGlobalEntity(entityKey, digest, entity.out());
    if (err == noErr) err = MoreSCNewEntity(setID, nil, entityKey, entity.get());
    return err;
}
