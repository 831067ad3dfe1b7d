// Names of planes, classes and properties of the I/O registry, as C string
// literals (use CFSTR(kIOBSDNameKey) for a string key).
#pragma once

// The plane of services, the only one this registry holds.
#define kIOServicePlane "IOService"

// Matching dictionaries and drivers
#define kIOProviderClassKey "IOProviderClass"
#define kIOPropertyMatchKey "IOPropertyMatch"
#define kIOClassKey "IOClass"

// Network interfaces and controllers
#define kIOEthernetInterfaceClass "IOEthernetInterface"
#define kIOBSDNameKey "BSD Name"
#define kIOMACAddress "IOMACAddress"

// Serial ports
#define kIOSerialBSDServiceValue "IOSerialBSDClient"
#define kIOSerialBSDTypeKey "IOSerialBSDClientType"
#define kIOSerialBSDModemType "IOModemSerialStream"
#define kIOSerialBSDRS232Type "IORS232SerialStream"
#define kIOTTYDeviceKey "IOTTYDevice"
#define kIOTTYBaseNameKey "IOTTYBaseName"
#define kIOTTYSuffixKey "IOTTYSuffix"
#define kIOCalloutDeviceKey "IOCalloutDevice"
#define kIODialinDeviceKey "IODialinDevice"
