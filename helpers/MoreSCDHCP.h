// DHCP: which services the running system configures by DHCP, and making
// one service give up its lease and acquire a new one.
#pragma once

#include "platform/corefoundation/CoreFoundation.h"

// The service IDs whose configured IPv4 entity in the live state ("Setup:"
// keys of the dynamic store, so the configuration last applied) has the
// "ConfigMethod" "DHCP", in the order of their keys. Opens no preferences
// session. *activeDHCP must be nil on entry; on success it receives an
// array (empty when there are none) that the caller releases, on failure it
// stays nil. A configured IPv4 entity without "ConfigMethod" (or that is
// not a dictionary) fails the whole call with -2; a live state that cannot
// be read gives the platform's status. A nil activeDHCP is reported and
// refused with paramErr.
OSStatus MoreSCCreateActiveDHCPServicesArray(CFArrayRef* activeDHCP);

// Switches the IPv4 entity of the service (in the current set) off, saves
// and applies, then switches it on and saves and applies again, in two
// separate sessions: that makes the system release the lease and ask for a
// new one. The second step is not tried when the first fails; the first
// error is returned. Call it outside any open session, or both saves wait
// for the caller's outermost close and nothing is released. A nil serviceID
// is reported and refused with paramErr.
OSStatus MoreSCDHCPRelease(CFStringRef serviceID);
