#include "entities/MoreSCPPPEntity.h"

#include <cstdlib>
#include <initializer_list>
#include <memory>

#include "platform/corefoundation/CFRef.h"
#include "platform/coreservices/Gestalt.h"
#include "platform/coreservices/MoreAssert.h"
#include "platform/systemconfiguration/SCSchemaDefinitions.h"
#include "plist/MoreCFQ.h"

const MoreSCPPPOptions kMoreSCPPPOptionsDefaultTenOne = {
    0,     // dialOnDemand
    0,     // idleReminder
    1800,  // idleReminderTimer
    1,     // disconnectOnIdle
    900,   // disconnectOnIdleTimer
    1,     // disconnectOnLogout
    1,     // commRedialEnabled
    1,     // commRedialCount
    30,    // commRedialInterval
    1,     // lcpEchoEnabled
    1,     // ipcpCompressionVJ
    0,     // commDisplayTerminalWindow
    0,     // verboseLogging
};

const MoreSCPPPOptions kMoreSCPPPOptionsDefaultTenTwoAndLater = {
    0,     // dialOnDemand
    0,     // idleReminder
    1800,  // idleReminderTimer
    1,     // disconnectOnIdle
    600,   // disconnectOnIdleTimer
    1,     // disconnectOnLogout
    1,     // commRedialEnabled
    1,     // commRedialCount
    5,     // commRedialInterval
    1,     // lcpEchoEnabled
    1,     // ipcpCompressionVJ
    0,     // commDisplayTerminalWindow
    0,     // verboseLogging
};

const MoreSCPPPOptions kMoreSCPPPoEOptionsDefaultTenTwoAndLater = {
    0,     // dialOnDemand
    0,     // idleReminder
    1800,  // idleReminderTimer
    0,     // disconnectOnIdle
    1800,  // disconnectOnIdleTimer
    1,     // disconnectOnLogout
    1,     // commRedialEnabled
    1,     // commRedialCount
    5,     // commRedialInterval
    1,     // lcpEchoEnabled
    1,     // ipcpCompressionVJ
    0,     // commDisplayTerminalWindow
    0,     // verboseLogging
};

namespace {

struct FreeDeleter {
    void operator()(void* block) const { std::free(block); }
};

// Whether this system is Mac OS X 10.2 or later; asked again on every call
// that depends on it, as the system under the root may change.
Boolean gTenTwoOrLater = false;

void UpdateTenTwoOrLater() {
    SInt32 systemVersion = 0;
    gTenTwoOrLater = (Gestalt(gestaltSystemVersion, &systemVersion) == noErr) && (systemVersion >= 0x1020);
}

}  // namespace

const MoreSCPPPOptions* MoreSCGetDefaultPPPOptions(Boolean forPPPoE) {
    UpdateTenTwoOrLater();
    if (!gTenTwoOrLater) return &kMoreSCPPPOptionsDefaultTenOne;
    return forPPPoE ? &kMoreSCPPPoEOptionsDefaultTenTwoAndLater : &kMoreSCPPPOptionsDefaultTenTwoAndLater;
}

OSStatus MoreSCFCopyEncodedPPPPassword(CFStringRef password, CFDataRef* encodedPassword) {
    MoreAssertQ(password != nil);
    MoreAssertQ(encodedPassword != nil);
    MoreAssertQ(*encodedPassword == nil);

    // Big-endian on every host, so that a store written here reads the
    // same on the machines that consume it.
    CFIndex length = CFStringGetLength(password);
    size_t byteCount = static_cast<size_t>(length) * sizeof(UniChar);
    std::unique_ptr<UniChar, FreeDeleter> units(static_cast<UniChar*>(std::malloc(byteCount + 1)));

    OSStatus err = noErr;
    if (units == nullptr) err = memFullErr;
    if (err == noErr) {
        CFStringGetCharacters(password, CFRangeMake(0, length), units.get());
        // Rewrite each unit in place as its high byte, then its low byte.
        UInt8* bytes = reinterpret_cast<UInt8*>(units.get());
        for (CFIndex i = 0; i < length; i++) {
            UniChar unit = units.get()[i];
            bytes[2 * i] = static_cast<UInt8>(unit >> 8);
            bytes[2 * i + 1] = static_cast<UInt8>(unit & 0xFF);
        }
        *encodedPassword = CFDataCreate(kCFAllocatorDefault, bytes, static_cast<CFIndex>(byteCount));
        if (*encodedPassword == nil) err = coreFoundationUnknownErr;
    }

    MoreAssertQ((err == noErr) == (*encodedPassword != nil));
    return err;
}

namespace {

struct NumberKey {
    CFStringRef key;
    SInt32 value;
};

// Writes the numbers in order, stopping at the first failure.
OSStatus SetNumbers(CFMutableDictionaryRef dict, std::initializer_list<NumberKey> numbers) {
    OSStatus err = noErr;
    for (const NumberKey& number : numbers) {
        err = CFQDictionarySetNumber(dict, number.key, number.value);
        if (err != noErr) break;
    }
    return err;
}

void SetIfNotNil(CFMutableDictionaryRef dict, CFStringRef key, CFStringRef value) {
    if (value != nil) CFDictionarySetValue(dict, key, value);
}

}  // namespace

OSStatus MoreSCCreatePPPEntity(const MoreSCPPPDigest* digest, CFDictionaryRef* entity) {
    MoreAssertQ(digest != nil);
    MoreAssertQ(entity != nil);
    MoreAssertQ(*entity == nil);

    // PPPoE callers pass their table in the digest: only the dial-up
    // defaults are chosen here.
    UpdateTenTwoOrLater();
    const MoreSCPPPOptions* options = digest->options;
    if (options == nil) {
        options = gTenTwoOrLater ? &kMoreSCPPPOptionsDefaultTenTwoAndLater : &kMoreSCPPPOptionsDefaultTenOne;
    }

    CFRef<CFMutableDictionaryRef> dict;
    OSStatus err = CFQDictionaryCreateMutable(dict.out());
    if (err == noErr) {
        SetIfNotNil(dict.get(), kSCPropUserDefinedName, digest->userDefinedName);
        if (!digest->active) err = CFQDictionarySetNumber(dict.get(), kSCResvInactive, 1);
    }
    if (err == noErr) {
        err = SetNumbers(dict.get(), {
                                         {kSCPropNetPPPDialOnDemand, options->dialOnDemand},
                                         {kSCPropNetPPPDisconnectOnIdle, options->disconnectOnIdle},
                                         {kSCPropNetPPPDisconnectOnIdleTimer, options->disconnectOnIdleTimer},
                                         {kSCPropNetPPPDisconnectOnLogout, options->disconnectOnLogout},
                                         {kSCPropNetPPPIdleReminder, options->idleReminder},
                                         {kSCPropNetPPPIdleReminderTimer, options->idleReminderTimer},
                                     });
    }
    if (err == noErr) {
        CFDictionarySetValue(dict.get(), kSCPropNetPPPLogfile, CFSTR("/tmp/ppp.log"));
        err = CFQDictionarySetNumber(dict.get(), kSCPropNetPPPVerboseLogging, options->verboseLogging);
    }
    if (err == noErr) {
        SetIfNotNil(dict.get(), kSCPropNetPPPAuthName, digest->authName);
        if (digest->authPassword != nil) {
            CFRef<CFDataRef> encoded;
            err = MoreSCFCopyEncodedPPPPassword(digest->authPassword, encoded.out());
            if (err == noErr) CFDictionarySetValue(dict.get(), kSCPropNetPPPAuthPassword, encoded.get());
        }
    }
    if (err == noErr) {
        SetIfNotNil(dict.get(), kSCPropNetPPPCommAlternateRemoteAddress, digest->commAlternateRemoteAddress);
        err = SetNumbers(dict.get(), {
                                         {kSCPropNetPPPCommDisplayTerminalWindow, options->commDisplayTerminalWindow},
                                         {kSCPropNetPPPCommRedialCount, options->commRedialCount},
                                         {kSCPropNetPPPCommRedialEnabled, options->commRedialEnabled},
                                         {kSCPropNetPPPCommRedialInterval, options->commRedialInterval},
                                     });
    }
    if (err == noErr) {
        SetIfNotNil(dict.get(), kSCPropNetPPPCommRemoteAddress, digest->commRemoteAddress);
        if (gTenTwoOrLater) err = CFQDictionarySetNumber(dict.get(), kSCPropNetPPPCommUseTerminalScript, 0);
    }
    if (err == noErr) {
        // The echo failure count and interval are fixed, not options.
        err = SetNumbers(dict.get(), {
                                         {kSCPropNetPPPIPCPCompressionVJ, options->ipcpCompressionVJ},
                                         {kSCPropNetPPPLCPEchoEnabled, options->lcpEchoEnabled},
                                         {kSCPropNetPPPLCPEchoFailure, gTenTwoOrLater ? 4 : 3},
                                         {kSCPropNetPPPLCPEchoInterval, 10},
                                     });
    }
    if (err == noErr) *entity = dict.release();
    return err;
}
