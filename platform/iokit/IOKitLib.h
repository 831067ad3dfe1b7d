// The I/O registry with the names and semantics of the platform's IOKit
// user library: a tree of registry entries in the "IOService" plane, each
// of a class and with a dictionary of properties, found through matching
// dictionaries and walked through iterators.
//
// The registry is read from one of two sources, anew for every matching
// query:
// - a registry snapshot, when the environment variable TARNWICK_IOREG names
//   a file: the property list (XML or binary) that "ioreg -a -l" writes,
//   the text that "ioreg -l" writes, or a save file of IORegistryExplorer;
// - otherwise the devices of this machine, read from sysfs under
//   $TARNWICK_ROOT/sys (network interfaces and serial ports only).
// Either way an Ethernet interface without a "BSD Name" string, or a serial
// port without an "IOTTYDevice" string, matches no query; each such entry,
// and each port whose sysfs files cannot be read, is reported in one line
// on standard error.
//
// Objects (entries and iterators) are handles with a reference count: every
// object handed out (by IOIteratorNext, IORegistryEntryGetParentEntry or
// IOServiceGetMatchingServices) belongs to the caller, who releases it with
// IOObjectRelease. An object keeps the registry it came from alive.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"
#include "platform/iokit/IOKitKeys.h"
#include "platform/iokit/IOReturn.h"

typedef unsigned int mach_port_t;
typedef mach_port_t io_object_t;
typedef io_object_t io_registry_entry_t;
typedef io_object_t io_service_t;
typedef io_object_t io_iterator_t;
typedef int boolean_t;
typedef UInt32 IOOptionBits;
typedef char io_name_t[128];

#define MACH_PORT_NULL ((mach_port_t) 0)
#define IO_OBJECT_NULL ((io_object_t) 0)

// Stands for the master port in the calls that take one.
#define kIOMasterPortDefault MACH_PORT_NULL

// The master port through which the registry is reached; never 0.
// kIOReturnBadArgument when masterPort is nil.
kern_return_t IOMasterPort(mach_port_t bootstrapPort, mach_port_t* masterPort);

// A new matching dictionary { "IOProviderClass": name }, owned by the
// caller; nil when name is nil.
CFMutableDictionaryRef IOServiceMatching(const char* name);

// Finds the services (entries of classes conforming to IOService) that
// match, in registry order: depth first, parents before children. A match
// conforms to the class named by "IOProviderClass" (any service when absent),
// has every property of an "IOPropertyMatch" dictionary, and has a property
// equal to the value of every other key of the matching dictionary.
//
// Consumes one reference to matching, also on failure. On success
// *existing is a new iterator owned by the caller. masterPort is
// kIOMasterPortDefault or the port from IOMasterPort (kIOReturnBadArgument
// otherwise). A registry snapshot that cannot be read (kIOReturnNotReadable:
// missing, not a regular file, larger than 64 MiB) or is not a registry
// (kIOReturnError) is reported in one line on standard error.
kern_return_t IOServiceGetMatchingServices(mach_port_t masterPort, CFDictionaryRef matching, io_iterator_t* existing);

// The next object of the iteration, owned by the caller; 0 at the end (and
// for anything that is not an iterator).
io_object_t IOIteratorNext(io_iterator_t iterator);

// Gives back one reference to an object. kIOReturnBadArgument for a value
// that is not a live object.
kern_return_t IOObjectRelease(io_object_t object);

// Whether the object's class is className or derives from it. A save file
// gives each entry's classes; otherwise the class tree is the platform's
// for the classes the network ports involve, and another class is what its
// properties show: an Ethernet interface ("IOInterfaceType" 6,
// "IOMediaAddressLength" 6 and a "BSD Name"), whose provider is then an
// Ethernet controller, or a serial port ("IOSerialBSDClientType" and
// "IOTTYBaseName"); else it derives directly from IOService.
boolean_t IOObjectConformsTo(io_object_t object, const io_name_t className);

// Copies the class name of an object into className.
kern_return_t IOObjectGetClass(io_object_t object, io_name_t className);

// A copy of one property of an entry, owned by the caller; nil when the
// entry has no such property or is not an entry.
CFTypeRef IORegistryEntryCreateCFProperty(io_registry_entry_t entry, CFStringRef key, CFAllocatorRef allocator,
                                          IOOptionBits options);

// A mutable copy of all properties of an entry, owned by the caller.
// *properties must be a slot; kIOReturnBadArgument when the entry is not
// an entry.
kern_return_t IORegistryEntryCreateCFProperties(io_registry_entry_t entry, CFMutableDictionaryRef* properties,
                                                CFAllocatorRef allocator, IOOptionBits options);

// The entry's parent in the plane, owned by the caller (release it).
// Only the "IOService" plane exists (kIOReturnBadArgument for others); the
// root has no parent (kIOReturnNoDevice).
kern_return_t IORegistryEntryGetParentEntry(io_registry_entry_t entry, const io_name_t plane,
                                            io_registry_entry_t* parent);
