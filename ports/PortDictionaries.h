// The procedures that describe one registry entry as a port dictionary,
// internal to the port scanner. Each fills interfaceInfo (empty on entry);
// a dictionary left empty means the entry is not a port.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"
#include "platform/iokit/IOKitLib.h"

typedef OSStatus (*DeviceToDictProc)(void* refCon, io_object_t interface, CFMutableDictionaryRef interfaceInfo);

// An Ethernet interface: "SortOrder" 9, "DeviceName" (its BSD name),
// "Hardware" and "Type" "Ethernet", and "MACAddress" when its controller
// reports a 6-byte address. -1 when it has no BSD name; the registry's
// status when its controller cannot be had.
OSStatus EthernetDeviceToDictProc(void* refCon, io_object_t interface, CFMutableDictionaryRef interfaceInfo);

// A serial port with a base name other than "irda": "SortOrder" 4 (3 for
// an infrared port, with "HardwareVariant"), "DeviceName" (its
// "IOTTYDevice"), "Hardware" "Modem", "Type" "PPP", "SubType" "PPPSerial".
// Any other serial port leaves the dictionary empty. The registry's status
// when its properties cannot be read.
OSStatus ModemOrSerialDeviceToDictProc(void* refCon, io_object_t interface, CFMutableDictionaryRef interfaceInfo);
