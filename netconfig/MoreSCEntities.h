// Entities of a service (or, with a nil service ID, the set's global
// entities): single entities, whole entities dictionaries, lists of
// entities and the per-entity active flag.
//
// A nil setID means the current set; serviceID is the set's local ID of
// the service, reached through the set's link, or nil for the set's
// "Network"/"Global" dictionary. An entity is a dictionary stored under its
// protocol name ("IPv4", "Proxies", ...) in the service's own dictionary,
// its entities dictionary, beside "UserDefinedName" and "__INACTIVE__".
//
// Every operation opens the preferences session on entry and closes it on
// exit (see MoreSCSession.h); the writers ask the outermost close to save.
// Out-parameters must hold nil on entry; on success they receive a
// reference the caller owns and releases, on failure they stay nil. A
// service the set does not link, a missing service dictionary or a missing
// entity gives the store's status (1004 for a missing path, or 1001); -4960
// when an object cannot be made. Failed checks of the arguments are
// reported on standard error and the call goes on.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

// The entity stored under protocol (not nil). An absent entity is an error,
// never success with nil.
OSStatus MoreSCCopyEntity(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol, CFDictionaryRef* entity);
// As above, as a mutable copy.
OSStatus MoreSCCopyEntityMutable(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol,
                                 CFMutableDictionaryRef* entity);
// Stores entity (not nil) under protocol, adding it or replacing the old
// one whole.
OSStatus MoreSCSetEntity(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol, CFDictionaryRef entity);
// Whether the entity has no "__INACTIVE__" marker. *active is written only
// on success.
OSStatus MoreSCIsEntityActive(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol, Boolean* active);
// Adds or removes the entity's "__INACTIVE__" marker. An entity already in
// the wanted state is not written and asks for no save.
OSStatus MoreSCSetEntityActive(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol, Boolean active);
// The service's whole dictionary: the store's own, not to be changed.
OSStatus MoreSCCopyEntitiesDict(CFStringRef setID, CFStringRef serviceID, CFDictionaryRef* entitiesDict);
// As above, as a mutable copy.
OSStatus MoreSCCopyEntitiesDictMutable(CFStringRef setID, CFStringRef serviceID,
                                       CFMutableDictionaryRef* entitiesDict);
// Replaces the service's whole dictionary: entities, name and marker.
OSStatus MoreSCSetEntitiesDict(CFStringRef setID, CFStringRef serviceID, CFDictionaryRef entitiesDict);
// The service's entities as two parallel arrays, protocol names and entity
// dictionaries, in the dictionary's order; either or both.
OSStatus MoreSCCopyEntities(CFStringRef setID, CFStringRef serviceID, CFArrayRef* entityProtocols,
                            CFArrayRef* entityValues);
// Adds entity under protocol; -50, writing nothing, when it is already
// there.
OSStatus MoreSCNewEntity(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol, CFDictionaryRef entity);
// Removes the entity under protocol. An absent one is reported but is no
// error; the dictionary is written back either way.
OSStatus MoreSCDeleteEntity(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol);
// Replaces all the service's entities with entityValues[i] under
// entityProtocols[i] (arrays of equal length), keeping its name and marker.
OSStatus MoreSCSetEntities(CFStringRef setID, CFStringRef serviceID, CFArrayRef entityProtocols,
                           CFArrayRef entityValues);
