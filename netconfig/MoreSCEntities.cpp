#include "netconfig/MoreSCEntities.h"

#include <vector>

#include "netconfig/MoreSCEntitiesInternal.h"
#include "netconfig/MoreSCPathsInternal.h"
#include "netconfig/MoreSCSession.h"
#include "netconfig/MoreSCSessionScope.h"
#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"
#include "plist/CFQTyped.h"
#include "plist/MoreCFQ.h"
#include "plist/MoreCFQInternal.h"

// A service's own dictionary (its entities dictionary) holds one entity per
// protocol name ("IPv4", "Proxies", ...) beside the service's
// "UserDefinedName" and "__INACTIVE__" marker; an entity is any value in it
// that is itself a dictionary. The service is always reached through the
// set's link. A nil service ID names the set's Network/Global dictionary
// instead, so the same operations edit the set's global entities.

namespace {

// Calls visit(protocol, entity) for each entity of entitiesDict, in the
// dictionary's order. It works from a snapshot of the entries, so visit may
// remove the entry it is given: the dictionary retains its own keys, so a
// key stays valid until it is removed.
template <class Visit>
void ForEachEntity(CFDictionaryRef entitiesDict, Visit visit) {
    CFIndex dictCount = CFDictionaryGetCount(entitiesDict);
    std::vector<const void*> keys(dictCount);
    std::vector<const void*> values(dictCount);
    CFDictionaryGetKeysAndValues(entitiesDict, keys.data(), values.data());
    for (CFIndex entryIndex = 0; entryIndex < dictCount; entryIndex++) {
        CFDictionaryRef entity = CFQCast<CFDictionaryRef>(values[entryIndex]);
        if (entity != nil) visit(keys[entryIndex], entity);
    }
}

// Appends each entity's protocol to protocols and the entity to values,
// for the arrays that are given.
void AppendEntities(CFDictionaryRef entitiesDict, CFMutableArrayRef protocols, CFMutableArrayRef values) {
    ForEachEntity(entitiesDict, [&](const void* protocol, CFDictionaryRef entity) {
        if (protocols != nil) CFArrayAppendValue(protocols, protocol);
        if (values != nil) CFArrayAppendValue(values, entity);
    });
}

void RemoveEntity(CFMutableDictionaryRef entitiesDict, CFStringRef protocol) {
    CFIndex dictCount = CFDictionaryGetCount(entitiesDict);
    CFDictionaryRemoveValue(entitiesDict, protocol);
    MoreAssertQ(CFDictionaryGetCount(entitiesDict) == (dictCount - 1));
}

// Removes every entity, keeping what is not one (the name and the inactive
// marker), then adds entityValues[i] under entityProtocols[i]. Adding never
// replaces a key that is still there ("UserDefinedName", say); the count
// check reports such input.
void ReplaceEntities(CFMutableDictionaryRef entitiesDict, CFArrayRef entityProtocols, CFArrayRef entityValues) {
    CFIndex dictCount = CFDictionaryGetCount(entitiesDict);
    CFIndex deletedCount = 0;
    ForEachEntity(entitiesDict, [&](const void* protocol, CFDictionaryRef) {
        CFDictionaryRemoveValue(entitiesDict, protocol);
        deletedCount += 1;
    });

    CFIndex entityCount = CFArrayGetCount(entityProtocols);
    CFIndex valueCount = CFArrayGetCount(entityValues);
    for (CFIndex entityIndex = 0; entityIndex < entityCount && entityIndex < valueCount; entityIndex++) {
        CFDictionaryAddValue(entitiesDict, CFArrayGetValueAtIndex(entityProtocols, entityIndex),
                             CFArrayGetValueAtIndex(entityValues, entityIndex));
    }
    MoreAssertQ(CFDictionaryGetCount(entitiesDict) == ((dictCount - deletedCount) + entityCount));
}

}  // namespace

OSStatus MoreSCCopyEntity(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol, CFDictionaryRef* entity) {
    MoreAssertQ(protocol != nil);
    MoreAssertQ(entity != nil);
    MoreAssertQ(*entity == nil);

    // An absent entity is an error (the store's status, 1004 for a missing
    // path), never success with nothing.
    OSStatus err = noErr;
    CFRef<CFDictionaryRef> found;
    {
        MoreSCSessionScope session(&err, false);
        CFRef<CFStringRef> entityPath;
        if (err == noErr) err = CopyEntityPath(setID, serviceID, protocol, entityPath.out());
        if (err == noErr) found = CopyPathValue(entityPath.get(), &err);
    }

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
    CFRef<CFMutableDictionaryRef> mutableEntity;
    OSStatus err = MoreSCCopyEntity(setID, serviceID, protocol, immutableEntity.out());
    if (err == noErr) mutableEntity = CFQDictionaryCreateMutableCopy(immutableEntity.get(), &err);
    if (err == noErr) *entity = mutableEntity.release();

    MoreAssertQ((err == noErr) == (*entity != nil));
    return err;
}

OSStatus MoreSCSetEntity(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol, CFDictionaryRef entity) {
    MoreAssertQ(protocol != nil);
    MoreAssertQ(entity != nil);

    // Adds the entity or replaces the old one whole. The service must be
    // linked from the set; the entity need not exist yet.
    OSStatus err = noErr;
    {
        MoreSCSessionScope session(&err, true);
        CFRef<CFStringRef> entityPath;
        if (err == noErr) err = CopyEntityPath(setID, serviceID, protocol, entityPath.out());
        if (err == noErr) err = SetPathValue(entityPath.get(), entity);
    }
    return err;
}

OSStatus MoreSCIsEntityActive(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol, Boolean* active) {
    MoreAssertQ(protocol != nil);
    MoreAssertQ(active != nil);

    OSStatus err = noErr;
    Boolean entityActive = false;
    {
        MoreSCSessionScope session(&err, false);
        CFRef<CFDictionaryRef> entity;
        if (err == noErr) err = MoreSCCopyEntity(setID, serviceID, protocol, entity.out());
        if (err == noErr) entityActive = !CFDictionaryContainsKey(entity.get(), kSCResvInactive);
    }

    // On failure, an absent entity included, the caller's boolean is kept.
    if (err == noErr) *active = entityActive;
    return err;
}

OSStatus MoreSCSetEntityActive(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol, Boolean active) {
    OSStatus err = noErr;
    {
        MoreSCSessionScope session(&err, false);
        CFRef<CFMutableDictionaryRef> entity;
        Boolean changed = false;
        if (err == noErr) err = MoreSCCopyEntityMutable(setID, serviceID, protocol, entity.out());
        if (err == noErr) err = SetDictionaryActive(entity.get(), active, &changed);
        if (err == noErr && changed) err = MoreSCSetEntity(setID, serviceID, protocol, entity.get());
        // An entity already in the wanted state is not written and does not
        // ask for a save.
        session.SetCommit(changed);
    }
    return err;
}

OSStatus MoreSCCopyEntitiesDict(CFStringRef setID, CFStringRef serviceID, CFDictionaryRef* entitiesDict) {
    MoreAssertQ(entitiesDict != nil);
    MoreAssertQ(*entitiesDict == nil);

    // The store's own dictionary: callers must not change it.
    OSStatus err = noErr;
    CFRef<CFDictionaryRef> found;
    {
        MoreSCSessionScope session(&err, false);
        CFRef<CFStringRef> servicePath;
        if (err == noErr) err = CopyResolvedServicePath(setID, serviceID, servicePath.out());
        if (err == noErr) found = CopyPathValue(servicePath.get(), &err);
    }

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
    CFRef<CFMutableDictionaryRef> mutableDict;
    OSStatus err = MoreSCCopyEntitiesDict(setID, serviceID, immutableDict.out());
    if (err == noErr) mutableDict = CFQDictionaryCreateMutableCopy(immutableDict.get(), &err);
    if (err == noErr) *entitiesDict = mutableDict.release();

    MoreAssertQ((err == noErr) == (*entitiesDict != nil));
    return err;
}

OSStatus MoreSCSetEntitiesDict(CFStringRef setID, CFStringRef serviceID, CFDictionaryRef entitiesDict) {
    MoreAssertQ(entitiesDict != nil);

    // Replaces the whole service dictionary: entities, name and marker.
    OSStatus err = noErr;
    {
        MoreSCSessionScope session(&err, true);
        CFRef<CFStringRef> servicePath;
        if (err == noErr) err = CopyResolvedServicePath(setID, serviceID, servicePath.out());
        if (err == noErr) err = SetPathValue(servicePath.get(), entitiesDict);
    }
    return err;
}

OSStatus MoreSCCopyEntities(CFStringRef setID, CFStringRef serviceID, CFArrayRef* entityProtocols,
                            CFArrayRef* entityValues) {
    MoreAssertQ((entityProtocols != nil) || (entityValues != nil));
    MoreAssertQ((entityProtocols == nil) || (*entityProtocols == nil));
    MoreAssertQ((entityValues == nil) || (*entityValues == nil));

    // A service that cannot be read fails the call with the read's status;
    // each array is made when the caller asks for it, so the values can be
    // had on their own. Protocol i names value i.
    OSStatus err = noErr;
    CFRef<CFMutableArrayRef> protocols;
    CFRef<CFMutableArrayRef> values;
    {
        MoreSCSessionScope session(&err, false);
        CFRef<CFDictionaryRef> entitiesDict;
        if (err == noErr) err = MoreSCCopyEntitiesDict(setID, serviceID, entitiesDict.out());
        if (err == noErr && entityProtocols != nil) err = CFQArrayCreateMutable(protocols.out());
        if (err == noErr && entityValues != nil) err = CFQArrayCreateMutable(values.out());
        if (err == noErr) AppendEntities(entitiesDict.get(), protocols.get(), values.get());
    }

    if (err == noErr && entityProtocols != nil) *entityProtocols = protocols.release();
    if (err == noErr && entityValues != nil) *entityValues = values.release();
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
    OSStatus err = noErr;
    {
        MoreSCSessionScope session(&err, true);
        CFRef<CFMutableDictionaryRef> entitiesDict;
        if (err == noErr) err = MoreSCCopyEntitiesDictMutable(setID, serviceID, entitiesDict.out());
        if (err == noErr && CFDictionaryContainsKey(entitiesDict.get(), protocol)) err = paramErr;
        if (err == noErr) CFDictionaryAddValue(entitiesDict.get(), protocol, entity);
        if (err == noErr) err = MoreSCSetEntitiesDict(setID, serviceID, entitiesDict.get());
    }
    return err;
}

OSStatus MoreSCDeleteEntity(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol) {
    MoreAssertQ(protocol != nil);

    // Deleting an entity that is not there is reported but is no error; the
    // unchanged dictionary is still written back.
    OSStatus err = noErr;
    {
        MoreSCSessionScope session(&err, true);
        CFRef<CFMutableDictionaryRef> entitiesDict;
        if (err == noErr) err = MoreSCCopyEntitiesDictMutable(setID, serviceID, entitiesDict.out());
        if (err == noErr) RemoveEntity(entitiesDict.get(), protocol);
        if (err == noErr) err = MoreSCSetEntitiesDict(setID, serviceID, entitiesDict.get());
    }
    return err;
}

OSStatus MoreSCSetEntities(CFStringRef setID, CFStringRef serviceID, CFArrayRef entityProtocols,
                           CFArrayRef entityValues) {
    MoreAssertQ(entityProtocols != nil);
    MoreAssertQ(entityValues != nil);
    MoreAssertQ(CFArrayGetCount(entityProtocols) == CFArrayGetCount(entityValues));

    // Replaces every entity of the service at once while keeping what is
    // not an entity: the name and the inactive marker.
    OSStatus err = noErr;
    {
        MoreSCSessionScope session(&err, true);
        CFRef<CFMutableDictionaryRef> entitiesDict;
        if (err == noErr) err = MoreSCCopyEntitiesDictMutable(setID, serviceID, entitiesDict.out());
        if (err == noErr) ReplaceEntities(entitiesDict.get(), entityProtocols, entityValues);
        if (err == noErr) err = MoreSCSetEntitiesDict(setID, serviceID, entitiesDict.get());
    }
    return err;
}

OSStatus SetDictionaryActive(CFMutableDictionaryRef dict, Boolean active, Boolean* changed) {
    MoreAssertQ(dict != nil);

    // Only the marker's presence counts; the number 1 is what is written.
    // Any non-zero active means active.
    Boolean wantActive = (active != 0);
    Boolean isActive = !CFDictionaryContainsKey(dict, kSCResvInactive);
    if (isActive == wantActive) return noErr;

    OSStatus err = noErr;
    if (wantActive) CFDictionaryRemoveValue(dict, kSCResvInactive);
    if (!wantActive) err = CFQDictionarySetNumber(dict, kSCResvInactive, 1);
    // Only ever set, never cleared: the caller starts it at false.
    if (err == noErr && changed != nil) *changed = true;
    return err;
}
