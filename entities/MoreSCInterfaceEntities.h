// Builders of the interface and hardware entities of a service: Interface,
// Ethernet, AirPort and Modem.
//
// Every builder takes its digest and an out-slot that must hold nil. On
// success the slot holds a new mutable dictionary that the caller owns; on
// failure it holds nil and nothing is left over.
#pragma once

#include "entities/MoreSCDigests.h"

OSStatus MoreSCCreateInterfaceEntity(const MoreSCInterfaceDigest* digest, CFDictionaryRef* entity);
OSStatus MoreSCCreateEthernetEntity(const MoreSCEthernetDigest* digest, CFDictionaryRef* entity);
OSStatus MoreSCCreateAirPortEntity(const MoreSCAirPortDigest* digest, CFDictionaryRef* entity);
OSStatus MoreSCCreateModemEntity(const MoreSCModemDigest* digest, CFDictionaryRef* entity);
