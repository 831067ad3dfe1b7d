// Paths into the preferences store: the builders every set, service and
// entity operation uses to find its node, and the reads and writes of the
// nodes they name. Internal to the layer and its tests.
//
// The builders follow the layer's out-parameter rule: the slot must hold
// nil on entry and receives a string the caller owns on success; on
// failure it stays nil. -4960 when a string cannot be made; the store's
// status (1004 for a missing key) when a node the path depends on is
// missing. All but the two Create builders need an open session.
#pragma once

#include <cstdarg>

#include "platform/corefoundation/CFRef.h"
#include "platform/corefoundation/CoreFoundation.h"

// /Sets/<setID> and /NetworkServices/<serviceID>.
OSStatus CreateSetPathWithSetID(CFStringRef setID, CFStringRef* setPath);
OSStatus CreateServicePathWithServiceID(CFStringRef serviceID, CFStringRef* servicePath);
// The ID of a set or service from its path: the third "/"-separated piece.
OSStatus CopySeIDFromSePath(CFStringRef sePath, CFStringRef* seID);
// The path of the set, or of the current set when setID is nil.
OSStatus CopySetPath(CFStringRef setID, CFStringRef* setPath);
// <set path>/Network/Global and <set path>/Network/Service.
OSStatus CopySetGlobalsPath(CFStringRef setID, CFStringRef* setGlobalsPath);
OSStatus CopySetServicesPath(CFStringRef setID, CFStringRef* setServicesPath);
// The target of the set's link to the service, or the set's globals path
// when serviceID is nil.
OSStatus CopyResolvedServicePath(CFStringRef setID, CFStringRef serviceID, CFStringRef* servicePath);
// <resolved service path>/<protocol>.
OSStatus CopyEntityPath(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol, CFStringRef* entityPath);

// A new path made with the platform's string formatting ("%@" inserts a
// string's text). *err receives noErr, or -4960 when the string cannot be
// made; the result is then nil.
CFRef<CFStringRef> CreatePathWithFormat(OSStatus* err, CFStringRef format, ...);

// The value of a root key of the session's store, or the dictionary at a
// path, borrowed from the store. *value is nil and the result is the store's
// status (or 1001) when there is none. Need an open session.
OSStatus GetRootValue(CFStringRef key, CFTypeRef* value);
OSStatus GetPathValue(CFStringRef path, CFDictionaryRef* value);
// The dictionary at a path, retained for the caller; nil with the store's
// status in *err when there is none.
CFRef<CFDictionaryRef> CopyPathValue(CFStringRef path, OSStatus* err);

// Writes of the session's store: a root key's value, the dictionary at a
// path (adding or replacing it whole), the removal of the node at a path.
// noErr, or the store's status (or 1001). Need an open session.
OSStatus SetRootValue(CFStringRef key, CFPropertyListRef value);
OSStatus SetPathValue(CFStringRef path, CFDictionaryRef value);
OSStatus RemovePathValue(CFStringRef path);
