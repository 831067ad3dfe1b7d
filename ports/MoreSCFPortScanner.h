// The port scanner: the machine's network ports (Ethernet interfaces, wired
// and wireless, and the serial ports that can carry a modem) read from the
// I/O registry, named for the user and sorted.
//
// A port dictionary holds, for an Ethernet-class port: "UserDefinedName",
// "Hardware" ("Ethernet", or "AirPort" for an AirPort card), "Type"
// ("Ethernet"), "DeviceName" (the BSD name, such as en0), "MACAddress"
// (lower-case "xx:xx:xx:xx:xx:xx", only when the controller reports 6
// bytes) and "SortOrder"; for a serial port: "UserDefinedName", "Hardware"
// ("Modem"), "Type" ("PPP"), "SubType" ("PPPSerial"), "DeviceName" (the
// port's "IOTTYDevice"), "HardwareVariant" ("IrDA-IrCOMM" for infrared
// ports only) and "SortOrder". Naming may leave the values it put into the
// name beside them: "BSD Name", "AAPL,slot-name", "IOChildIndex",
// "IOTTYBaseName".
//
// "SortOrder", smaller first: 0 internal modem, 1 USB modem, 2 other modem,
// 3 infrared serial port, 4 other serial port, 5 built-in Ethernet (en0),
// 6 Ethernet card in a PCI slot, 7 AirPort, 8 other wireless adaptor,
// 9 other Ethernet-class interface.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"
#include "platform/iokit/IOKitLib.h"

// Turns the English name template of a port into the application's
// language. interface is the port's registry entry (borrowed),
// interfaceInfo its port dictionary so far (borrowed), englishName the
// template (nil when no rule could name the port). On success the callback
// stores in *nameTemplate (nil on entry) a new string the scanner releases,
// keeping the template's placeholders: "%1$@" the BSD name, "%2$@" the PCI
// slot, "%3$@" the port number on a PCI card, "%4$@" the serial base name.
// Its status becomes the naming's status; a failure fails the port array.
typedef OSStatus (*MoreSCFPortNameCallback)(io_object_t interface, CFDictionaryRef interfaceInfo,
                                            CFStringRef englishName, CFStringRef* nameTemplate);

// Installs the process-wide port name callback; nil removes it. Without
// one, ports get their English names, and the first naming in the process
// writes "MoreSCFPortScanner: You should install a port name callback." on
// standard error.
void MoreSCFSetPortNameCallback(MoreSCFPortNameCallback callback);

// A new array of the port dictionaries of this machine, owned by the
// caller, ordered by "SortOrder" and then by name; *portArray must be nil
// on entry and stays nil on failure. Fails as a whole (-1 or the registry's
// status) when any port cannot be described or named, such as an Ethernet
// interface without a BSD name; serial ports without a base name, or with
// the base name "irda", are left out.
OSStatus MoreSCCreatePortArray(CFArrayRef* portArray);
