// Services of a set: the "Service" links and the "ServiceOrder" ranking,
// service IDs in order, and per-service questions and renaming.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

OSStatus MoreSCCopyServicesDict(CFStringRef setID, CFDictionaryRef* servicesDict, CFArrayRef* serviceOrder);
OSStatus MoreSCCopyServicesDictMutable(CFStringRef setID, CFMutableDictionaryRef* servicesDict,
                                       CFMutableArrayRef* serviceOrder);
OSStatus MoreSCSetServicesDict(CFStringRef setID, CFDictionaryRef servicesDict, CFArrayRef serviceOrder);
OSStatus MoreSCCopyServiceIDs(CFStringRef setID, CFArrayRef* localServiceIDs, CFArrayRef* resolvedServiceIDs);
OSStatus MoreSCIsServiceActive(CFStringRef setID, CFStringRef serviceID, Boolean* active);
OSStatus MoreSCCopyBSDNameOfService(CFStringRef setID, CFStringRef serviceID, CFStringRef* bsdName);
OSStatus MoreSCCopyUserVisibleNameOfService(CFStringRef setID, CFStringRef serviceID, CFStringRef* userVisibleName);
OSStatus MoreSCRenameService(CFStringRef setID, CFStringRef serviceID, CFStringRef newServiceUserVisibleName);
