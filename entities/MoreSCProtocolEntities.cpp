#include "entities/MoreSCProtocolEntities.h"

#include <cstdio>

#include "entities/MoreSCAddresses.h"
#include "entities/MoreSCProtocolEntitiesInternal.h"
#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"
#include "plist/MoreCFQ.h"

namespace {

// The configuration methods as four-character codes.
constexpr OSType FourCharCodeOf(const char (&text)[5]) {
    return (OSType(UInt8(text[0])) << 24) | (OSType(UInt8(text[1])) << 16) | (OSType(UInt8(text[2])) << 8) |
           OSType(UInt8(text[3]));
}
constexpr OSType kMethodBOOTP = FourCharCodeOf("boot");
constexpr OSType kMethodDHCP = FourCharCodeOf("dhcp");
constexpr OSType kMethodINFORM = FourCharCodeOf("info");
constexpr OSType kMethodManual = FourCharCodeOf("manu");
constexpr OSType kMethodPPP = FourCharCodeOf("ppp ");
constexpr OSType kMethodUnknown = FourCharCodeOf("bad!");

void AssertBuilderArguments(const void* digest, CFDictionaryRef* entity) {
    MoreAssertQ(digest != nil);
    MoreAssertQ(entity != nil);
    MoreAssertQ(*entity == nil);
}

OSType IPv4MethodCode(CFStringRef configMethod) {
    OSType method;
    if (CFEqual(configMethod, kSCValNetIPv4ConfigMethodBOOTP)) {
        method = kMethodBOOTP;
    } else if (CFEqual(configMethod, kSCValNetIPv4ConfigMethodDHCP)) {
        method = kMethodDHCP;
    } else if (CFEqual(configMethod, kSCValNetIPv4ConfigMethodINFORM)) {
        method = kMethodINFORM;
    } else if (CFEqual(configMethod, kSCValNetIPv4ConfigMethodManual)) {
        method = kMethodManual;
    } else if (CFEqual(configMethod, kSCValNetIPv4ConfigMethodPPP)) {
        method = kMethodPPP;
    } else {
        method = kMethodUnknown;
    }
    // The compiler rejects four-character literals, so these two checks
    // spell out their report, which names the codes as the literals.
    if (method == kMethodUnknown) MoreAssertReport("MoreAssertQ failure: method != 'bad!'");
    return method;
}

// Addresses that do not suit the method are worth a warning, not a
// failure: the caller may know better. The texts are the ones users of
// this library have always seen.
void WarnAboutIPv4Addresses(OSType method, const MoreSCIPv4Digest* digest) {
    bool addressExpected = (method == kMethodINFORM) || (method == kMethodManual);
    bool manual = (method == kMethodManual);
    if ((digest->address != 0) != addressExpected) {
        std::fprintf(stderr,
                     "MoreSCCreateIPv4Entity: IP address zero makes sense for BOOTP, DHCP, and PPP config "
                     "methods only\n");
    }
    if ((digest->subnetMask != 0) != manual) {
        std::fprintf(stderr, "MoreSCCreateIPv4Entity: Subnet mask zero makes sense for Manual config method only\n");
    }
    if ((digest->router != 0) != manual) {
        std::fprintf(stderr,
                     "MoreSCCreateIPv4Entity: Router address zero makes sense for Manual config method only\n");
    }
}

// Stores a one-element array with the text of address; the value is
// stored before the status is looked at.
OSStatus AddAddressArray(CFMutableDictionaryRef dict, CFStringRef key, MoreSCInetAddress address) {
    CFRef<CFArrayRef> array;
    OSStatus err = MoreSCFCreateArrayWithInetAddresses(1, &address, array.out());
    if (array) CFDictionarySetValue(dict, key, array.get());
    return err;
}

}  // namespace

OSStatus MoreSCCreateIPv4Entity(const MoreSCIPv4Digest* digest, CFDictionaryRef* entity) {
    AssertBuilderArguments(digest, entity);

    OSType method = IPv4MethodCode(digest->configMethod);
    WarnAboutIPv4Addresses(method, digest);
    if (!((digest->clientID == nil) || (method == kMethodDHCP))) {
        MoreAssertReport("MoreAssertQ failure: (digest->clientID == nil) || (method == 'dhcp')");
    }

    CFRef<CFMutableDictionaryRef> dict;
    OSStatus err = CFQDictionaryCreateMutable(dict.out());
    if (err == noErr) {
        CFDictionarySetValue(dict.get(), kSCPropNetIPv4ConfigMethod, digest->configMethod);
        if (digest->clientID != nil) {
            CFDictionarySetValue(dict.get(), kSCPropNetIPv4DHCPClientID, digest->clientID);
        }
    }
    if (err == noErr && digest->address != 0) {
        err = AddAddressArray(dict.get(), kSCPropNetIPv4Addresses, digest->address);
    }
    if (err == noErr && digest->subnetMask != 0) {
        err = AddAddressArray(dict.get(), kSCPropNetIPv4SubnetMasks, digest->subnetMask);
    }
    if (err == noErr && digest->router != 0) {
        CFRef<CFStringRef> router;
        err = MoreSCFCreateStringWithInetAddress(digest->router, router.out());
        if (router) CFDictionarySetValue(dict.get(), kSCPropNetIPv4Router, router.get());
    }
    if (err == noErr) *entity = dict.release();
    return err;
}

OSStatus MoreSCCreateDNSEntity(const MoreSCDNSDigest* digest, CFDictionaryRef* entity) {
    AssertBuilderArguments(digest, entity);

    CFRef<CFMutableDictionaryRef> dict;
    OSStatus err = CFQDictionaryCreateMutable(dict.out());
    if (err == noErr && digest->serverAddressesCount != 0) {
        MoreAssertQ(digest->serverAddresses != nil);
        CFRef<CFArrayRef> servers;
        err = MoreSCFCreateArrayWithInetAddresses(digest->serverAddressesCount, digest->serverAddresses,
                                                  servers.out());
        if (err == noErr) CFDictionarySetValue(dict.get(), kSCPropNetDNSServerAddresses, servers.get());
    }
    if (err == noErr && digest->searchDomainsCount != 0) {
        MoreAssertQ(digest->searchDomains != nil);
        CFRef<CFMutableArrayRef> domains;
        err = CFQArrayCreateMutable(domains.out());
        if (err == noErr) {
            for (UInt32 index = 0; index < digest->searchDomainsCount; index++) {
                MoreAssertQ(digest->searchDomains[index] != nil);
                CFArrayAppendValue(domains.get(), digest->searchDomains[index]);
            }
            CFDictionarySetValue(dict.get(), kSCPropNetDNSSearchDomains, domains.get());
        }
    }
    if (err == noErr) *entity = dict.release();
    return err;
}

OSStatus AddProxy(CFMutableDictionaryRef dict, CFStringRef enableKey, CFStringRef proxyKey, CFStringRef portKey,
                  Boolean enable, CFStringRef proxy, UInt16 port) {
    MoreAssertQ(dict != nil);
    MoreAssertQ(enableKey != nil);

    OSStatus err = CFQDictionarySetNumber(dict, enableKey, enable);
    if (err == noErr && proxy != nil) CFDictionarySetValue(dict, proxyKey, proxy);
    if (err == noErr && port != 0) err = CFQDictionarySetNumber(dict, portKey, port);
    return err;
}

OSStatus MoreSCCreateProxiesEntity(const MoreSCProxiesDigest* digest, CFDictionaryRef* entity) {
    AssertBuilderArguments(digest, entity);

    CFRef<CFMutableDictionaryRef> dict;
    OSStatus err = CFQDictionaryCreateMutable(dict.out());
    if (err == noErr && digest->exceptionsList != nil) {
        CFDictionarySetValue(dict.get(), kSCPropNetProxiesExceptionsList, digest->exceptionsList);
    }
    if (err == noErr) err = CFQDictionarySetNumber(dict.get(), kSCPropNetProxiesFTPPassive, digest->FTPPassive);
    if (err == noErr) {
        err = AddProxy(dict.get(), kSCPropNetProxiesFTPEnable, kSCPropNetProxiesFTPProxy, kSCPropNetProxiesFTPPort,
                       digest->FTPEnable, digest->FTPProxy, digest->FTPPort);
    }
    if (err == noErr) {
        err = AddProxy(dict.get(), kSCPropNetProxiesGopherEnable, kSCPropNetProxiesGopherProxy,
                       kSCPropNetProxiesGopherPort, digest->GopherEnable, digest->GopherProxy, digest->GopherPort);
    }
    if (err == noErr) {
        err = AddProxy(dict.get(), kSCPropNetProxiesHTTPEnable, kSCPropNetProxiesHTTPProxy,
                       kSCPropNetProxiesHTTPPort, digest->HTTPEnable, digest->HTTPProxy, digest->HTTPPort);
    }
    if (err == noErr) {
        err = AddProxy(dict.get(), kSCPropNetProxiesHTTPSEnable, kSCPropNetProxiesHTTPSProxy,
                       kSCPropNetProxiesHTTPSPort, digest->HTTPSEnable, digest->HTTPSProxy, digest->HTTPSPort);
    }
    if (err == noErr) {
        err = AddProxy(dict.get(), kSCPropNetProxiesRTSPEnable, kSCPropNetProxiesRTSPProxy,
                       kSCPropNetProxiesRTSPPort, digest->RTSPEnable, digest->RTSPProxy, digest->RTSPPort);
    }
    if (err == noErr) {
        err = AddProxy(dict.get(), kSCPropNetProxiesSOCKSEnable, kSCPropNetProxiesSOCKSProxy,
                       kSCPropNetProxiesSOCKSPort, digest->SOCKSEnable, digest->SOCKSProxy, digest->SOCKSPort);
    }
    if (err == noErr) *entity = dict.release();
    return err;
}

OSStatus MoreSCCreateAppleTalkEntity(const MoreSCAppleTalkDigest* digest, CFDictionaryRef* entity) {
    AssertBuilderArguments(digest, entity);

    CFRef<CFMutableDictionaryRef> dict;
    OSStatus err = CFQDictionaryCreateMutable(dict.out());
    if (err == noErr) {
        MoreAssertQ(CFEqual(digest->configMethod, kSCValNetAppleTalkConfigMethodNode));
        CFDictionarySetValue(dict.get(), kSCPropNetAppleTalkConfigMethod, digest->configMethod);
        if (digest->defaultZone != nil) {
            CFDictionarySetValue(dict.get(), kSCPropNetAppleTalkDefaultZone, digest->defaultZone);
        }
    }
    if (err == noErr && digest->nodeAndNetworkValid) {
        err = CFQDictionarySetNumber(dict.get(), kSCPropNetAppleTalkNetworkID, digest->networkID);
        if (err == noErr) err = CFQDictionarySetNumber(dict.get(), kSCPropNetAppleTalkNodeID, digest->nodeID);
    }
    if (err == noErr && !digest->active) err = CFQDictionarySetNumber(dict.get(), kSCResvInactive, 1);
    if (err == noErr) *entity = dict.release();
    return err;
}
