// Services of a set: the "Service" links and the "ServiceOrder" ranking,
// service IDs in order, and per-service questions and renaming.
//
// A nil setID means the current set. A serviceID is the set's local ID of
// the service, looked up in the set's "Service" dictionary and followed
// through its link; a service the set does not link cannot be reached. Every
// operation opens the preferences session on entry and closes it on exit
// (see MoreSCSession.h). Out-parameters must hold nil on entry; on success
// they receive a reference the caller owns and releases, on failure they
// stay nil. A missing set, "Service" node or IPv4 global entity gives the
// store's status (1004 for a missing key, or 1001); -4960 when a value the
// operation needs is missing or an object cannot be made. Failed checks of
// the arguments are reported on standard error and the call goes on.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

// The set's "Service" dictionary (local ID -> link) and its "ServiceOrder"
// (local IDs in order of preference), either or both; the store's own
// values, not to be changed. A set without "ServiceOrder" gives -4960.
OSStatus MoreSCCopyServicesDict(CFStringRef setID, CFDictionaryRef* servicesDict, CFArrayRef* serviceOrder);
// As above, as mutable copies. Both halves are always read, so a set
// without "ServiceOrder" fails even when only the dictionary is asked for.
// Opens no session of its own: it runs in the one MoreSCCopyServicesDict
// opens.
OSStatus MoreSCCopyServicesDictMutable(CFStringRef setID, CFMutableDictionaryRef* servicesDict,
                                       CFMutableArrayRef* serviceOrder);
// Writes the dictionary, then the order, either or both (they should list
// the same IDs). The order goes into the set's existing IPv4 global entity;
// none is created.
OSStatus MoreSCSetServicesDict(CFStringRef setID, CFDictionaryRef servicesDict, CFArrayRef serviceOrder);
// The set's service IDs in "ServiceOrder" order, active and inactive alike:
// as the set names them (local), and as the IDs their links point at
// (resolved), either or both; the two lists run in parallel. An entry
// without a link fails the call when resolved IDs are asked for.
OSStatus MoreSCCopyServiceIDs(CFStringRef setID, CFArrayRef* localServiceIDs, CFArrayRef* resolvedServiceIDs);
// Whether the service has no "__INACTIVE__" marker. *active is written only
// on success.
OSStatus MoreSCIsServiceActive(CFStringRef setID, CFStringRef serviceID, Boolean* active);
// The "DeviceName" of the service's "Interface" entity.
OSStatus MoreSCCopyBSDNameOfService(CFStringRef setID, CFStringRef serviceID, CFStringRef* bsdName);
// The service's own "UserDefinedName".
OSStatus MoreSCCopyUserVisibleNameOfService(CFStringRef setID, CFStringRef serviceID, CFStringRef* userVisibleName);
// Sets the service's "UserDefinedName"; every set that links it sees it.
OSStatus MoreSCRenameService(CFStringRef setID, CFStringRef serviceID, CFStringRef newServiceUserVisibleName);
