#include "helpers/SetupEntity.h"

#include <cstring>

#include "entities/MoreSCCreateEntity.h"
#include "netconfig/MoreSCEntities.h"
#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"

namespace {

// Room for a digest of any protocol, all zero: nil references, flags off,
// numbers 0.
union AnyDigest {
    MoreSCInterfaceDigest interface;
    MoreSCEthernetDigest ethernet;
    MoreSCAirPortDigest airPort;
    MoreSCModemDigest modem;
    MoreSCIPv4Digest ipv4;
    MoreSCDNSDigest dns;
    MoreSCProxiesDigest proxies;
    MoreSCAppleTalkDigest appleTalk;
    MoreSCPPPDigest ppp;
};

}  // namespace

OSStatus SetupEntity(CFStringRef setID, CFStringRef serviceID, CFStringRef protocol, const void* digest) {
    MoreAssertQ(setID != nil);
    MoreAssertQ(serviceID != nil);
    MoreAssertQ(protocol != nil);
    if (protocol == nil) return paramErr;

    AnyDigest zero;
    std::memset(&zero, 0, sizeof zero);
    if (digest == nil) digest = &zero;

    CFRef<CFDictionaryRef> entity;
    OSStatus err = MoreSCCreateEntity(protocol, digest, entity.out());
    if (err == noErr) err = MoreSCSetEntity(setID, serviceID, protocol, entity.get());
    return err;
}
