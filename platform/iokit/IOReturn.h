// Result codes of the I/O registry calls, with the platform's names and
// values.
#pragma once

typedef int kern_return_t;
typedef kern_return_t IOReturn;

#define KERN_SUCCESS 0

enum : kern_return_t {
    kIOReturnSuccess = 0,
    kIOReturnError = static_cast<kern_return_t>(0xE00002BC),        // general error
    kIOReturnNoMemory = static_cast<kern_return_t>(0xE00002BD),     // cannot allocate memory
    kIOReturnNoDevice = static_cast<kern_return_t>(0xE00002C0),     // no such device (the root's parent)
    kIOReturnBadArgument = static_cast<kern_return_t>(0xE00002C2),  // invalid argument or object
    kIOReturnNotReadable = static_cast<kern_return_t>(0xE00002CE),  // the registry source cannot be read
    kIOReturnNotFound = static_cast<kern_return_t>(0xE00002F0),     // data was not found
};
