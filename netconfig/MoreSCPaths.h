// Paths into the preferences store: the builders every set, service and
// entity operation uses to find its node. Internal to the layer. All but
// the two Create builders need an open session. Out-slots must hold nil on
// entry and receive an owned string on success.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

OSStatus CreateSetPathWithSetID(CFStringRef setID, CFStringRef* setPath);
OSStatus CreateServicePathWithServiceID(CFStringRef serviceID, CFStringRef* servicePath);
OSStatus CopySeIDFromSePath(CFStringRef sePath, CFStringRef* seID);
OSStatus CopySetPath(CFStringRef setID, CFStringRef* setPath);
OSStatus CopySetGlobalsPath(CFStringRef setID, CFStringRef* setGlobalsPath);
OSStatus CopySetServicesPath(CFStringRef setID, CFStringRef* setServicesPath);
OSStatus CopyResolvedServicePath(CFStringRef setID, CFStringRef serviceID, CFStringRef* servicePath);
OSStatus CopyEntityPath(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol, CFStringRef* entityPath);
