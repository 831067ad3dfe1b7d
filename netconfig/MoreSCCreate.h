// Creating and duplicating sets and services.
//
// Every operation here is one unit of work on the preferences session: it
// opens the session on entry and closes it on exit asking to save, so it
// can be called inside or outside an enclosing session; the outermost close
// saves and applies. New IDs are decimal numerals, one more than the
// largest numeric ID already under "Sets" or "NetworkServices".
//
// A set ID of nil means the current set. An out-slot for a new ID may be
// nil (the ID is not wanted); given, it must hold nil on entry, and on
// success it receives the new ID, which the caller owns and releases. On
// failure it stays nil, and whatever the operation had half made is
// deleted again before the session closes (that deletion, like every
// deletion, also collects services that no set links to).
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

// Creates a set named userVisibleName (required) holding one service for
// every network port of the machine, in the order of the port array
// (MoreSCCreatePortArray), with the global entities IPv4 and NetInfo. The
// new set does not become the current set. Fails with the port scanner's
// status when the ports cannot be listed, or the first failing step's
// status; the half-made set is then deleted.
OSStatus MoreSCNewSet(CFStringRef userVisibleName, CFStringRef* newSetID);

// Creates a service for one network port and adds it to the end of the
// set's service order. portInfo holds the strings "UserDefinedName",
// "Hardware" ("Ethernet", "AirPort" or "Modem"), "Type" ("Ethernet" or
// "PPP") and "DeviceName", and optionally "SubType" (with "PPP" only:
// "PPPSerial" or "PPPoE"), "MACAddress" (every port but a modem) and
// "HardwareVariant" (modems only). The service is named after the port
// and gets the entities Interface, Proxies, AppleTalk (inactive; ports
// with a MAC address only), DNS, IPv4, PPP (active for modems only) and
// AirPort, Ethernet or Modem. A port without one of the four required
// strings, or with a value that is not a string, is reported and refused
// with -50 before anything is made; other inconsistencies are reported and
// the service is made all the same.
OSStatus MoreSCNewService(CFStringRef setID, CFDictionaryRef portInfo, CFStringRef* newServiceID);

// Copies the set and every service it lists in its service order. The copy
// gets fresh copies of those services (it shares none with the original),
// linked and ordered as in the original, and every other key of the set as
// it was. newName (or nil: keep the original's name) names the copy. The
// copy does not become the current set.
OSStatus MoreSCDuplicateSet(CFStringRef setID, CFStringRef newName, CFStringRef* newSetID);

// Copies the service stored under serviceID, which need not belong to the
// set, with all its entities, its name and its active state, and adds the
// copy to the end of the set's service order. newName (or nil: keep the
// original's name) renames the copy only.
OSStatus MoreSCDuplicateService(CFStringRef setID, CFStringRef serviceID, CFStringRef newName,
                                CFStringRef* newServiceID);
