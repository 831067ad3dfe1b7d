// Deleting sets and services, and switching a service on or off.
//
// A service is stored once and linked from sets, so both deletions end by
// removing every service that no set links to any more. A nil setID means
// the current set; serviceID is the set's local ID of the service. Every
// operation opens the preferences session on entry and closes it on exit
// (see MoreSCSession.h); changes reach the disk at the outermost close.
// Statuses: the store's (1004 for a missing key, or 1001) for a missing
// set, service or link; -4960 when an object cannot be made. Failed checks
// of the arguments are reported on standard error and the call goes on.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

// Removes the set (not nil) and then the services no remaining set links
// to. The current set is never deleted: -50, and only the collection runs.
OSStatus MoreSCDeleteSet(CFStringRef setID);
// Takes the service out of the set's "Service" dictionary and
// "ServiceOrder", then removes it if no other set links to it.
OSStatus MoreSCDeleteService(CFStringRef setID, CFStringRef serviceID);
// Adds or removes the service's "__INACTIVE__" marker. A service already in
// the wanted state is not written and asks for no save.
OSStatus MoreSCSetServiceActive(CFStringRef setID, CFStringRef serviceID, Boolean active);
