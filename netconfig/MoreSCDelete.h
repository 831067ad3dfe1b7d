// Deleting sets and services, the collection of services no set links to,
// and switching a service on or off.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

OSStatus MoreSCDeleteSet(CFStringRef setID);
OSStatus MoreSCDeleteService(CFStringRef setID, CFStringRef serviceID);
OSStatus MoreSCSetServiceActive(CFStringRef setID, CFStringRef serviceID, Boolean active);

// Internal to the layer: removes every service under "NetworkServices" that
// no set links to. Needs an open session.
OSStatus DeleteUnreferencedServices(void);
