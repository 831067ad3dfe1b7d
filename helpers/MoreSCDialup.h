// A ready-made set for dialling out over one modem.
#pragma once

#include "entities/MoreSCDigests.h"
#include "platform/corefoundation/CoreFoundation.h"

// Makes a new set named userVisibleName with one service per network port
// (as MoreSCNewSet does) and switches off every service of it but those on
// the modem bsdName, which receive the PPP entity built from pppSettings
// (required, and its `active` must be set) and, for each digest given, the
// Modem, IPv4 and DNS entities. A nil bsdName picks the first port whose
// "Hardware" is "Modem"; when there is none the call fails with
// kSCStatusNoKey (1004) and makes nothing. The whole operation is one
// session, saved and applied once. On failure the half-made set is deleted
// again and newSetID (optional; must hold nil on entry) stays nil; on
// success it receives the new set's ID, which the caller owns. The new set
// does not become the current set.
OSStatus MoreSCMakeNewDialupSet(CFStringRef userVisibleName, CFStringRef bsdName, const MoreSCModemDigest* modemSettings,
                                const MoreSCPPPDigest* pppSettings, const MoreSCIPv4Digest* ipv4Settings,
                                const MoreSCDNSDigest* dnsSettings, CFStringRef* newSetID);
