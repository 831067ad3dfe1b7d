// Naming of ports, internal to the port scanner. A port's user-visible name
// is made in three stages: an English name template chosen by rules from
// the registry (the Ethernet, serial and BSD-name rules), its translation by
// the application's port name callback, and the substitution of the
// template's placeholders with values the rules left in the port
// dictionary.
//
// Every Copy function takes an out-slot that must hold nil on entry and
// holds a string owned by the caller exactly when the status is noErr.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"
#include "platform/iokit/IOKitLib.h"
#include "ports/MoreSCFPortScanner.h"

// The callback installed by MoreSCFSetPortNameCallback (nil: none), and
// whether the missing-callback warning has been written in this process.
extern MoreSCFPortNameCallback gPortNameCallback;
extern Boolean gHavePrinted;

// The user-visible name of a port; interfaceInfo receives the "SortOrder"
// and the other values the rules set.
OSStatus CopyUserVisiblePortName(io_object_t interface, CFMutableDictionaryRef interfaceInfo,
                                 CFStringRef* userVisibleName);

// The English template of an Ethernet interface, from the interface, its
// controller (parent) and the controller's provider (grandparent). -1 for a
// missing BSD name or a provider "name" that is not text; the registry's
// status when a parent or its properties cannot be had.
OSStatus CopyUserVisibleNameForEthernetPort(io_object_t interface, CFMutableDictionaryRef interfaceInfo,
                                            CFStringRef* userVisibleName);

// The English template of a serial port, from its client type and base
// name (-1 when either is missing).
OSStatus CopyUserVisibleNameForModemOrSerialPort(io_object_t interface, CFMutableDictionaryRef interfaceInfo,
                                                 CFStringRef* userVisibleName);

// The template to fill in: the callback's translation of englishName, or
// without a callback a copy of englishName (-1 when it is nil).
OSStatus CopyPortNameTemplate(io_object_t interface, CFDictionaryRef interfaceInfo, CFStringRef englishName,
                              CFStringRef* nameTemplate);

// The template with the first occurrence of each placeholder replaced:
// "%1$@" by "BSD Name", "%2$@" by "AAPL,slot-name", "%3$@" by
// "IOChildIndex", "%4$@" by "IOTTYBaseName" of interfaceInfo.
OSStatus CopyPortNameBySubstitution(CFStringRef nameTemplate, CFDictionaryRef interfaceInfo,
                                    CFStringRef* userVisibleName);

// Registry data as text: trailing zero bytes dropped, the rest read as Mac
// Roman. Owned by the caller; nil for nil data.
CFStringRef CreateStringFromData(CFDataRef data);

// A registry value as text: a string as it is, data through
// CreateStringFromData; nil for anything else.
CFStringRef CreateStringFromProperty(CFTypeRef value);

// An entry's property if it is a string, owned by the caller; else nil.
CFStringRef CopyStringProperty(io_object_t entry, CFStringRef key);
