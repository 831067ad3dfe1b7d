#include "entities/MoreSCCreateEntity.h"

#include "entities/MoreSCInterfaceEntities.h"
#include "entities/MoreSCPPPEntity.h"
#include "entities/MoreSCProtocolEntities.h"
#include "platform/coreservices/MoreAssert.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"

OSStatus MoreSCCreateEntity(CFStringRef protocol, const void* digest, CFDictionaryRef* entity) {
    MoreAssertQ(protocol != nil);
    MoreAssertQ(digest != nil);
    MoreAssertQ(entity != nil);
    MoreAssertQ(*entity == nil);

    if (CFEqual(protocol, kSCEntNetInterface)) {
        return MoreSCCreateInterfaceEntity(static_cast<const MoreSCInterfaceDigest*>(digest), entity);
    }
    if (CFEqual(protocol, kSCEntNetProxies)) {
        return MoreSCCreateProxiesEntity(static_cast<const MoreSCProxiesDigest*>(digest), entity);
    }
    if (CFEqual(protocol, kSCEntNetAppleTalk)) {
        return MoreSCCreateAppleTalkEntity(static_cast<const MoreSCAppleTalkDigest*>(digest), entity);
    }
    if (CFEqual(protocol, kSCEntNetDNS)) {
        return MoreSCCreateDNSEntity(static_cast<const MoreSCDNSDigest*>(digest), entity);
    }
    if (CFEqual(protocol, kSCEntNetIPv4)) {
        return MoreSCCreateIPv4Entity(static_cast<const MoreSCIPv4Digest*>(digest), entity);
    }
    if (CFEqual(protocol, kSCEntNetPPP)) {
        return MoreSCCreatePPPEntity(static_cast<const MoreSCPPPDigest*>(digest), entity);
    }
    if (CFEqual(protocol, kSCEntNetAirPort)) {
        return MoreSCCreateAirPortEntity(static_cast<const MoreSCAirPortDigest*>(digest), entity);
    }
    if (CFEqual(protocol, kSCEntNetEthernet)) {
        return MoreSCCreateEthernetEntity(static_cast<const MoreSCEthernetDigest*>(digest), entity);
    }
    if (CFEqual(protocol, kSCEntNetModem)) {
        return MoreSCCreateModemEntity(static_cast<const MoreSCModemDigest*>(digest), entity);
    }
    MoreAssertQ(false);
    return -1;
}
