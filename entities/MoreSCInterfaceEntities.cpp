#include "entities/MoreSCInterfaceEntities.h"

#include "entities/MoreSCAddresses.h"
#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/MoreAssert.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"
#include "plist/MoreCFQ.h"

const MoreSCModemDigest kMoreSCModemDigestDefault = {
    nil,  // connectionScript
    1,    // dataCompression
    1,    // speaker
    0,    // pulseDial
    1,    // waitForDialTone
};

namespace {

void AssertBuilderArguments(const void* digest, CFDictionaryRef* entity) {
    MoreAssertQ(digest != nil);
    MoreAssertQ(entity != nil);
    MoreAssertQ(*entity == nil);
}

// Ethernet and AirPort entities both start with the port's MAC address.
// The text is stored before its status is looked at.
OSStatus AddMACAddress(CFMutableDictionaryRef dict, const UInt8 macAddress[6]) {
    CFRef<CFStringRef> text;
    OSStatus err = MoreSCFCreateStringWithMacAddress(macAddress, text.out());
    if (text) CFDictionarySetValue(dict, kSCPropMACAddress, text.get());
    return err;
}

}  // namespace

OSStatus MoreSCCreateInterfaceEntity(const MoreSCInterfaceDigest* digest, CFDictionaryRef* entity) {
    AssertBuilderArguments(digest, entity);

    CFRef<CFMutableDictionaryRef> dict;
    OSStatus err = CFQDictionaryCreateMutable(dict.out());
    if (err == noErr) {
        MoreAssertQ(digest->deviceName != nil);
        MoreAssertQ(digest->userDefinedName != nil);
        CFDictionarySetValue(dict.get(), kSCPropNetInterfaceDeviceName, digest->deviceName);
        CFDictionarySetValue(dict.get(), kSCPropUserDefinedName, digest->userDefinedName);

        MoreAssertQ(CFEqual(digest->hardware, kSCEntNetAirPort) || CFEqual(digest->hardware, kSCEntNetEthernet) ||
                    CFEqual(digest->hardware, kSCEntNetModem));
        CFDictionarySetValue(dict.get(), kSCPropNetInterfaceHardware, digest->hardware);

        MoreAssertQ(CFEqual(digest->type, kSCValNetInterfaceTypeEthernet) ||
                    CFEqual(digest->type, kSCValNetInterfaceTypePPP));
        CFDictionarySetValue(dict.get(), kSCPropNetInterfaceType, digest->type);

        if (digest->subType != nil) {
            MoreAssertQ(CFEqual(digest->type, kSCValNetInterfaceTypePPP));
            MoreAssertQ(CFEqual(digest->subType, kSCValNetInterfaceSubTypePPPSerial) ||
                        CFEqual(digest->subType, kSCValNetInterfaceSubTypePPPoE));
            CFDictionarySetValue(dict.get(), kSCPropNetInterfaceSubType, digest->subType);
        }
        if (digest->hardwareVariant != nil) {
            MoreAssertQ(CFEqual(digest->hardware, kSCEntNetModem));
            CFDictionarySetValue(dict.get(), kSCPropNetInterfaceHardwareVariant, digest->hardwareVariant);
        }
    }
    if (err == noErr) *entity = dict.release();
    return err;
}

OSStatus MoreSCCreateEthernetEntity(const MoreSCEthernetDigest* digest, CFDictionaryRef* entity) {
    AssertBuilderArguments(digest, entity);

    CFRef<CFMutableDictionaryRef> dict;
    OSStatus err = CFQDictionaryCreateMutable(dict.out());
    if (err == noErr) err = AddMACAddress(dict.get(), digest->macAddress);
    if (err == noErr) *entity = dict.release();
    return err;
}

OSStatus MoreSCCreateAirPortEntity(const MoreSCAirPortDigest* digest, CFDictionaryRef* entity) {
    AssertBuilderArguments(digest, entity);

    CFRef<CFMutableDictionaryRef> dict;
    OSStatus err = CFQDictionaryCreateMutable(dict.out());
    if (err == noErr) err = AddMACAddress(dict.get(), digest->macAddress);
    if (err == noErr && digest->preferredNetwork != nil) {
        CFDictionarySetValue(dict.get(), kSCPropNetAirPortPreferredNetwork, digest->preferredNetwork);
    }
    if (err == noErr) *entity = dict.release();
    return err;
}

OSStatus MoreSCCreateModemEntity(const MoreSCModemDigest* digest, CFDictionaryRef* entity) {
    AssertBuilderArguments(digest, entity);

    // A modem entity without its script cannot be stored: reported, then
    // refused rather than stored with a hole.
    MoreAssertQ(digest->connectionScript != nil);
    CFRef<CFMutableDictionaryRef> dict;
    OSStatus err = (digest->connectionScript != nil) ? noErr : paramErr;
    if (err == noErr) err = CFQDictionaryCreateMutable(dict.out());
    if (err == noErr) {
        CFDictionarySetValue(dict.get(), kSCPropNetModemConnectionScript, digest->connectionScript);
        err = CFQDictionarySetNumber(dict.get(), kSCPropNetModemDataCompression, digest->dataCompression);
    }
    if (err == noErr) {
        CFDictionarySetValue(dict.get(), kSCPropNetModemDialMode,
                             digest->waitForDialTone ? kSCValNetModemDialModeWaitForDialTone
                                                     : kSCValNetModemDialModeIgnoreDialTone);
        // Error correction follows the compression choice: the digest has
        // one switch for both.
        err = CFQDictionarySetNumber(dict.get(), kSCPropNetModemErrorCorrection, digest->dataCompression);
    }
    if (err == noErr) err = CFQDictionarySetNumber(dict.get(), kSCPropNetModemPulseDial, digest->pulseDial);
    if (err == noErr) err = CFQDictionarySetNumber(dict.get(), kSCPropNetModemSpeaker, digest->speaker);
    if (err == noErr) *entity = dict.release();
    return err;
}
