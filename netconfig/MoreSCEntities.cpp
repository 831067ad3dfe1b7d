#include "netconfig/MoreSCEntities.h"

#include <vector>

#include "netconfig/MoreSCPaths.h"
#include "netconfig/MoreSCSession.h"
#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"
#include "platform/systemconfiguration/SCPreferences.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"
#include "plist/MoreCFQ.h"

// A service's own dictionary (its entities dictionary) holds one entity per
// protocol name ("IPv4", "Proxies", ...) beside the service's
// "UserDefinedName" and "__INACTIVE__" marker; an entity is any value in it
// that is itself a dictionary. The service is always reached through the
// set's link. A nil service ID names the set's Network/Global dictionary
// instead, so the same operations edit the set's global entities.

OSStatus MoreSCCopyEntity(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol, CFDictionaryRef* entity) {
    MoreAssertQ(protocol != nil);
    MoreAssertQ(entity != nil);
    MoreAssertQ(*entity == nil);

    // An absent entity is an error (the store's status, 1004 for a missing
    // path), never success with nothing.
    CFRef<CFStringRef> entityPath;
    OSStatus err = MoreSCOpen(false, false);
    if (err == noErr) err = CopyEntityPath(setID, serviceID, protocol, entityPath.out());
    CFRef<CFDictionaryRef> found;
    if (err == noErr) {
        found = CFRef<CFDictionaryRef>::Retain(SCPreferencesPathGetValue(MoreSCGetSCPreferencesRef(), entityPath.get()));
        err = MoreSCError(found.get());
    }
    MoreSCClose(&err, false);

    if (err == noErr) *entity = found.release();
    MoreAssertQ((err != noErr) || (CFGetTypeID(*entity) == CFDictionaryGetTypeID()));
    MoreAssertQ((err == noErr) == (*entity != nil));
    return err;
}

OSStatus MoreSCCopyEntityMutable(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol,
                                 CFMutableDictionaryRef* entity) {
    MoreAssertQ(protocol != nil);
    MoreAssertQ(entity != nil);
    MoreAssertQ(*entity == nil);

    CFRef<CFDictionaryRef> immutableEntity;
    OSStatus err = MoreSCCopyEntity(setID, serviceID, protocol, immutableEntity.out());
    if (err == noErr) {
        *entity = CFDictionaryCreateMutableCopy(nil, 0, immutableEntity.get());
        if (*entity == nil) err = coreFoundationUnknownErr;
    }

    MoreAssertQ((err == noErr) == (*entity != nil));
    return err;
}

OSStatus MoreSCSetEntity(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol, CFDictionaryRef entity) {
    MoreAssertQ(protocol != nil);
    MoreAssertQ(entity != nil);

    // Adds the entity or replaces the old one whole. The service must be
    // linked from the set; the entity need not exist yet.
    CFRef<CFStringRef> entityPath;
    OSStatus err = MoreSCOpen(false, false);
    if (err == noErr) err = CopyEntityPath(setID, serviceID, protocol, entityPath.out());
    if (err == noErr) {
        err = MoreSCErrorBoolean(SCPreferencesPathSetValue(MoreSCGetSCPreferencesRef(), entityPath.get(), entity));
    }
    MoreSCClose(&err, true);
    return err;
}

OSStatus MoreSCIsEntityActive(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol, Boolean* active) {
    MoreAssertQ(protocol != nil);
    MoreAssertQ(active != nil);

    CFRef<CFDictionaryRef> entity;
    Boolean entityActive = false;
    OSStatus err = MoreSCOpen(false, false);
    if (err == noErr) err = MoreSCCopyEntity(setID, serviceID, protocol, entity.out());
    if (err == noErr) entityActive = !CFDictionaryContainsKey(entity.get(), kSCResvInactive);
    MoreSCClose(&err, false);

    // On failure, an absent entity included, the caller's boolean is kept.
    if (err == noErr) *active = entityActive;
    return err;
}

OSStatus MoreSCSetEntityActive(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol, Boolean active) {
    CFRef<CFMutableDictionaryRef> entity;
    Boolean changed = false;
    OSStatus err = MoreSCOpen(false, false);
    if (err == noErr) err = MoreSCCopyEntityMutable(setID, serviceID, protocol, entity.out());
    if (err == noErr) err = SetDictionaryActive(entity.get(), active, &changed);
    if (err == noErr && changed) err = MoreSCSetEntity(setID, serviceID, protocol, entity.get());
    // An entity already in the wanted state is not written and does not ask
    // for a save.
    MoreSCClose(&err, changed);
    return err;
}

OSStatus MoreSCCopyEntitiesDict(CFStringRef setID, CFStringRef serviceID, CFDictionaryRef* entitiesDict) {
    MoreAssertQ(entitiesDict != nil);
    MoreAssertQ(*entitiesDict == nil);

    // The store's own dictionary: callers must not change it.
    CFRef<CFStringRef> servicePath;
    OSStatus err = MoreSCOpen(false, false);
    if (err == noErr) err = CopyResolvedServicePath(setID, serviceID, servicePath.out());
    CFRef<CFDictionaryRef> found;
    if (err == noErr) {
        found = CFRef<CFDictionaryRef>::Retain(SCPreferencesPathGetValue(MoreSCGetSCPreferencesRef(), servicePath.get()));
        err = MoreSCError(found.get());
    }
    MoreSCClose(&err, false);

    if (err == noErr) *entitiesDict = found.release();
    MoreAssertQ((err != noErr) || (CFGetTypeID(*entitiesDict) == CFDictionaryGetTypeID()));
    MoreAssertQ((err == noErr) == (*entitiesDict != nil));
    return err;
}

OSStatus MoreSCCopyEntitiesDictMutable(CFStringRef setID, CFStringRef serviceID,
                                       CFMutableDictionaryRef* entitiesDict) {
    MoreAssertQ(entitiesDict != nil);
    MoreAssertQ(*entitiesDict == nil);

    CFRef<CFDictionaryRef> immutableDict;
    OSStatus err = MoreSCCopyEntitiesDict(setID, serviceID, immutableDict.out());
    if (err == noErr) {
        *entitiesDict = CFDictionaryCreateMutableCopy(nil, 0, immutableDict.get());
        if (*entitiesDict == nil) err = coreFoundationUnknownErr;
    }

    MoreAssertQ((err == noErr) == (*entitiesDict != nil));
    return err;
}

OSStatus MoreSCSetEntitiesDict(CFStringRef setID, CFStringRef serviceID, CFDictionaryRef entitiesDict) {
    MoreAssertQ(entitiesDict != nil);

    // Replaces the whole service dictionary: entities, name and marker.
    CFRef<CFStringRef> servicePath;
    OSStatus err = MoreSCOpen(false, false);
    if (err == noErr) err = CopyResolvedServicePath(setID, serviceID, servicePath.out());
    if (err == noErr) {
        err = MoreSCErrorBoolean(
            SCPreferencesPathSetValue(MoreSCGetSCPreferencesRef(), servicePath.get(), entitiesDict));
    }
    MoreSCClose(&err, true);
    return err;
}

OSStatus MoreSCCopyEntities(CFStringRef setID, CFStringRef serviceID, CFArrayRef* entityProtocols,
                            CFArrayRef* entityValues) {
    MoreAssertQ((entityProtocols != nil) || (entityValues != nil));
    MoreAssertQ((entityProtocols == nil) || (*entityProtocols == nil));
    MoreAssertQ((entityValues == nil) || (*entityValues == nil));

    CFRef<CFDictionaryRef> entitiesDict;
    CFRef<CFMutableArrayRef> protocols;
    CFRef<CFMutableArrayRef> values;

    // A service that cannot be read fails the call with the read's status;
    // each array is made when the caller asks for it, so the values can be
    // had on their own.
    OSStatus err = MoreSCOpen(false, false);
    if (err == noErr) err = MoreSCCopyEntitiesDict(setID, serviceID, entitiesDict.out());
    if (err == noErr && entityProtocols != nil) err = CFQArrayCreateMutable(protocols.out());
    if (err == noErr && entityValues != nil) err = CFQArrayCreateMutable(values.out());
    if (err == noErr) {
        // The entities are the values that are dictionaries, in the
        // dictionary's own order; protocol i names value i.
        CFIndex dictCount = CFDictionaryGetCount(entitiesDict.get());
        std::vector<const void*> keys(dictCount);
        std::vector<const void*> dictValues(dictCount);
        CFDictionaryGetKeysAndValues(entitiesDict.get(), keys.data(), dictValues.data());
        for (CFIndex entryIndex = 0; entryIndex < dictCount; entryIndex++) {
            if (CFGetTypeID(dictValues[entryIndex]) != CFDictionaryGetTypeID()) continue;
            if (protocols) CFArrayAppendValue(protocols.get(), keys[entryIndex]);
            if (values) CFArrayAppendValue(values.get(), dictValues[entryIndex]);
        }
    }
    MoreSCClose(&err, false);

    if (err == noErr) {
        if (entityProtocols != nil) *entityProtocols = protocols.release();
        if (entityValues != nil) *entityValues = values.release();
    }
    MoreAssertQ((err == noErr) == (entityProtocols == nil || *entityProtocols != nil));
    MoreAssertQ((err == noErr) == (entityValues == nil || *entityValues != nil));
    MoreAssertQ((err != noErr) || (entityProtocols == nil) || (entityValues == nil) || (CFArrayGetCount(*entityProtocols) == CFArrayGetCount(*entityValues)));
    return err;
}

OSStatus MoreSCNewEntity(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol, CFDictionaryRef entity) {
    MoreAssertQ(protocol != nil);
    MoreAssertQ(entity != nil);

    // Unlike MoreSCSetEntity, never replaces: a protocol already present is
    // a bad argument and nothing is written.
    CFRef<CFMutableDictionaryRef> entitiesDict;
    OSStatus err = MoreSCOpen(false, false);
    if (err == noErr) err = MoreSCCopyEntitiesDictMutable(setID, serviceID, entitiesDict.out());
    if (err == noErr && CFDictionaryContainsKey(entitiesDict.get(), protocol)) err = paramErr;
    if (err == noErr) {
        CFDictionaryAddValue(entitiesDict.get(), protocol, entity);
        err = MoreSCSetEntitiesDict(setID, serviceID, entitiesDict.get());
    }
    MoreSCClose(&err, true);
    return err;
}

OSStatus MoreSCDeleteEntity(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol) {
    MoreAssertQ(protocol != nil);

    // Deleting an entity that is not there is reported but is no error; the
    // unchanged dictionary is still written back.
    CFRef<CFMutableDictionaryRef> entitiesDictHolder;
    OSStatus err = MoreSCOpen(false, false);
    if (err == noErr) err = MoreSCCopyEntitiesDictMutable(setID, serviceID, entitiesDictHolder.out());
    if (err == noErr) {
        CFMutableDictionaryRef entitiesDict = entitiesDictHolder.get();
        CFIndex dictCount = CFDictionaryGetCount(entitiesDict);
        CFDictionaryRemoveValue(entitiesDict, protocol);
        MoreAssertQ(CFDictionaryGetCount(entitiesDict) == (dictCount - 1));
        err = MoreSCSetEntitiesDict(setID, serviceID, entitiesDict);
    }
    MoreSCClose(&err, true);
    return err;
}

OSStatus MoreSCSetEntities(CFStringRef setID, CFStringRef serviceID, CFArrayRef entityProtocols,
                           CFArrayRef entityValues) {
    MoreAssertQ(entityProtocols != nil);
    MoreAssertQ(entityValues != nil);
    MoreAssertQ(CFArrayGetCount(entityProtocols) == CFArrayGetCount(entityValues));

    // Replaces every entity of the service at once while keeping what is
    // not an entity: the name and the inactive marker.
    CFRef<CFMutableDictionaryRef> entitiesDictHolder;
    OSStatus err = MoreSCOpen(false, false);
    if (err == noErr) err = MoreSCCopyEntitiesDictMutable(setID, serviceID, entitiesDictHolder.out());
    if (err == noErr) {
        CFMutableDictionaryRef entitiesDict = entitiesDictHolder.get();
        CFIndex dictCount = CFDictionaryGetCount(entitiesDict);

        // Removing while enumerating is not allowed: work from a snapshot.
        // The dictionary retains its own keys, so the snapshot's keys stay
        // valid until they are removed, and each is used before that.
        std::vector<const void*> keys(dictCount);
        std::vector<const void*> values(dictCount);
        CFDictionaryGetKeysAndValues(entitiesDict, keys.data(), values.data());
        CFIndex deletedCount = 0;
        for (CFIndex entryIndex = 0; entryIndex < dictCount; entryIndex++) {
            if (CFGetTypeID(values[entryIndex]) == CFDictionaryGetTypeID()) {
                CFDictionaryRemoveValue(entitiesDict, keys[entryIndex]);
                deletedCount += 1;
            }
        }

        // Adding never replaces a key that is still there ("UserDefinedName",
        // say); the count check below reports such input.
        CFIndex entityCount = CFArrayGetCount(entityProtocols);
        CFIndex valueCount = CFArrayGetCount(entityValues);
        for (CFIndex entityIndex = 0; entityIndex < entityCount && entityIndex < valueCount; entityIndex++) {
            CFDictionaryAddValue(entitiesDict, CFArrayGetValueAtIndex(entityProtocols, entityIndex),
                                 CFArrayGetValueAtIndex(entityValues, entityIndex));
        }
        MoreAssertQ(CFDictionaryGetCount(entitiesDict) == ((dictCount - deletedCount) + entityCount));

        err = MoreSCSetEntitiesDict(setID, serviceID, entitiesDict);
    }
    MoreSCClose(&err, true);
    return err;
}

OSStatus SetDictionaryActive(CFMutableDictionaryRef dict, Boolean active, Boolean* changed) {
    MoreAssertQ(dict != nil);

    // Only the marker's presence counts; the number 1 is what is written.
    OSStatus err = noErr;
    Boolean isActive = !CFDictionaryContainsKey(dict, kSCResvInactive);
    if (isActive != active) {
        if (active) {
            CFDictionaryRemoveValue(dict, kSCResvInactive);
        } else {
            err = CFQDictionarySetNumber(dict, kSCResvInactive, 1);
        }
        // Only ever set, never cleared: the caller starts it at false.
        if (err == noErr && changed != nil) *changed = true;
    }
    return err;
}
