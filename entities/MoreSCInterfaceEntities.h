// Builders of the interface and hardware entities of a service: Interface,
// Ethernet, AirPort and Modem.
//
// Every builder takes its digest (not nil) and an out-slot that must hold
// nil. On success the slot holds a new dictionary that the caller owns and
// releases; on failure it holds nil (-4960 when an object cannot be made)
// and nothing is left over. Failed checks of the digest are reported on
// standard error and the entity is built all the same.
#pragma once

#include "entities/MoreSCDigests.h"

OSStatus MoreSCCreateInterfaceEntity(const MoreSCInterfaceDigest* digest, CFDictionaryRef* entity);
OSStatus MoreSCCreateEthernetEntity(const MoreSCEthernetDigest* digest, CFDictionaryRef* entity);
OSStatus MoreSCCreateAirPortEntity(const MoreSCAirPortDigest* digest, CFDictionaryRef* entity);
// A modem digest without a connection script is reported and refused with
// paramErr (-50): the entity would have no value to store.
OSStatus MoreSCCreateModemEntity(const MoreSCModemDigest* digest, CFDictionaryRef* entity);
