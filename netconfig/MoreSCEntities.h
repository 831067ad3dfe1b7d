// Entities of a service (or, with a nil service ID, the set's global
// entities): single entities, whole entities dictionaries, lists of
// entities and the per-entity active flag.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

OSStatus MoreSCCopyEntity(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol, CFDictionaryRef* entity);
OSStatus MoreSCCopyEntityMutable(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol,
                                 CFMutableDictionaryRef* entity);
OSStatus MoreSCSetEntity(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol, CFDictionaryRef entity);
OSStatus MoreSCIsEntityActive(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol, Boolean* active);
OSStatus MoreSCSetEntityActive(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol, Boolean active);
OSStatus MoreSCCopyEntitiesDict(CFStringRef setID, CFStringRef serviceID, CFDictionaryRef* entitiesDict);
OSStatus MoreSCCopyEntitiesDictMutable(CFStringRef setID, CFStringRef serviceID,
                                       CFMutableDictionaryRef* entitiesDict);
OSStatus MoreSCSetEntitiesDict(CFStringRef setID, CFStringRef serviceID, CFDictionaryRef entitiesDict);
OSStatus MoreSCCopyEntities(CFStringRef setID, CFStringRef serviceID, CFArrayRef* entityProtocols,
                            CFArrayRef* entityValues);
OSStatus MoreSCNewEntity(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol, CFDictionaryRef entity);
OSStatus MoreSCDeleteEntity(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol);
OSStatus MoreSCSetEntities(CFStringRef setID, CFStringRef serviceID, CFArrayRef entityProtocols,
                           CFArrayRef entityValues);

// Adds ("__INACTIVE__" = 1) or removes the inactive marker of dict; sets
// *changed (when given) to true only if dict changed. Needs no session.
OSStatus SetDictionaryActive(CFMutableDictionaryRef dict, Boolean active, Boolean* changed);
