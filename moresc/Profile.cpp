#include "moresc/Profile.h"

#include <algorithm>
#include <vector>

#include "moresc/SignedData.h"
#include "moresc/Text.h"
#include "moresc/Uuid.h"
#include "moresc/Values.h"

const char kSystemConfigurationPayloadType[] = "com.apple.SystemConfiguration";
const char kGlobalHTTPProxyPayloadType[] = "com.apple.proxy.http.global";

namespace {

#define kPayloadContent CFSTR("PayloadContent")
#define kPayloadDisplayName CFSTR("PayloadDisplayName")
#define kPayloadIdentifier CFSTR("PayloadIdentifier")
#define kPayloadType CFSTR("PayloadType")
#define kPayloadUUID CFSTR("PayloadUUID")
#define kPayloadVersion CFSTR("PayloadVersion")
#define kEncryptedPayloadContent CFSTR("EncryptedPayloadContent")
#define kProxies CFSTR("Proxies")

// The reverse-DNS prefix of the identifiers moresc gives profiles.
const char kIdentifierPrefix[] = "org.tarnwick.proxies.";

CFRef<CFMutableDictionaryRef> NewDictionary() {
    return CFRef<CFMutableDictionaryRef>(CFDictionaryCreateMutable(
        kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks));
}

// Sets key to the string of text; false when no string can be made of it.
bool SetText(CFMutableDictionaryRef dict, CFStringRef key, const std::string& text) {
    CFRef<CFStringRef> value(CreateStringFromText(text));
    if (value) CFDictionarySetValue(dict, key, value.get());
    return static_cast<bool>(value);
}

// Gives payload the identity every payload has: type, identifier, UUID,
// version 1 and a display name.
bool SetIdentity(CFMutableDictionaryRef payload, const std::string& type, const std::string& identifier,
                 const std::string& uuid, const std::string& displayName) {
    return SetText(payload, kPayloadType, type) && SetText(payload, kPayloadIdentifier, identifier) &&
           SetText(payload, kPayloadUUID, uuid) && SetText(payload, kPayloadDisplayName, displayName) &&
           CFQDictionarySetNumber(payload, kPayloadVersion, 1) == noErr;
}

// The names of a payload's keys besides its identity and the key used,
// for the note on what is left out.
std::string OtherKeys(CFDictionaryRef payload, CFStringRef used) {
    std::string keys;
    CFIndex count = CFDictionaryGetCount(payload);
    std::vector<const void*> names(static_cast<std::size_t>(count));
    CFDictionaryGetKeysAndValues(payload, names.data(), nullptr);
    std::vector<std::string> texts;
    for (const void* name : names) {
        std::string text = TextOf(name);
        if (!text.starts_with("Payload") && !CFEqual(name, used)) texts.push_back(Escaped(text));
    }
    std::sort(texts.begin(), texts.end());
    for (const std::string& text : texts) keys += (keys.empty() ? "" : ", ") + text;
    return keys;
}

// Takes the profile's property list out of its signed envelope into
// *content, when bytes are one; false, with the outcome's failure, when
// it cannot be had.
bool UnwrapIfSigned(Outcome* outcome, const std::string& bytes, const std::string& name, const CAFile* ca,
                    std::string* content, ReceivedProfile* profile) {
    if (!LooksSigned(bytes)) {
        if (ca != nullptr) outcome->Fail(name + " is not signed, so --verify has no signature to check");
        return outcome->ok();
    }
    SignedContent unwrapped;
    std::string fault;
    switch (UnwrapSignedData(bytes, ca ? std::optional<std::string>(ca->bytes) : std::nullopt, &unwrapped, &fault)) {
        case Unwrapped::kOk:
            break;
        case Unwrapped::kMalformed:
            outcome->FailUsage(name + " is not a whole signed profile: " + fault);
            return false;
        case Unwrapped::kBadCAFile:
            outcome->Fail("cannot verify against " + ca->name + ": " + fault);
            return false;
        case Unwrapped::kBadSignature:
            outcome->Fail("the signature of " + name + " does not check out: " + fault);
            return false;
    }
    profile->isSigned = true;
    profile->verified = unwrapped.verified;
    profile->signers = std::move(unwrapped.signers);
    *content = std::move(unwrapped.content);
    return true;
}

// Checks the top level of a profile and returns its payloads.
CFArrayRef PayloadsOf(Outcome* outcome, CFDictionaryRef root, const std::string& name) {
    CFTypeRef type = CFDictionaryGetValue(root, kPayloadType);
    CFTypeRef content = CFDictionaryGetValue(root, kPayloadContent);
    if (!IsType(type, CFStringGetTypeID()) || !CFEqual(type, CFSTR("Configuration"))) {
        outcome->FailUsage(name + " is not a configuration profile: " +
                           (IsType(type, CFStringGetTypeID())
                                ? "its PayloadType is " + Quoted(TextOf(type)) + ", not \"Configuration\""
                                : std::string("it has no PayloadType \"Configuration\"")));
    } else if (content == nil && CFDictionaryContainsKey(root, kEncryptedPayloadContent)) {
        outcome->FailUsage(name + " holds its payloads encrypted for one device (EncryptedPayloadContent); " +
                           "they cannot be read here");
    } else if (!IsType(content, CFArrayGetTypeID())) {
        outcome->FailUsage(name + "'s PayloadContent is " + TypeName(content) + ", not an array of payloads");
    }
    return outcome->ok() ? static_cast<CFArrayRef>(content) : nil;
}

// Reads one payload into the profile: a proxy payload, or another that is
// passed over.
void ReadPayload(Outcome* outcome, CFTypeRef value, CFIndex index, const std::string& name,
                 ReceivedProfile* profile) {
    const std::string number = std::to_string(index + 1);
    if (!IsType(value, CFDictionaryGetTypeID())) {
        outcome->FailUsage("payload " + number + " of " + name + " is " + TypeName(value) + ", not a dictionary");
        return;
    }
    CFDictionaryRef payload = static_cast<CFDictionaryRef>(value);
    CFTypeRef type = CFDictionaryGetValue(payload, kPayloadType);
    if (!IsType(type, CFStringGetTypeID())) {
        outcome->FailUsage("payload " + number + " of " + name + " has no PayloadType");
        return;
    }
    OtherPayload other{TextOf(type), TextOf(CFDictionaryGetValue(payload, kPayloadIdentifier))};
    const std::string description = "payload " + (other.identifier.empty() ? number : Quoted(other.identifier)) +
                                    " (" + Escaped(other.type) + ")";
    ProxyPayload proxy{description, nullptr, std::nullopt};
    std::string why;
    if (other.type == kSystemConfigurationPayloadType && CFDictionaryContainsKey(payload, kProxies)) {
        CFTypeRef proxies = CFDictionaryGetValue(payload, kProxies);
        if (!IsType(proxies, CFDictionaryGetTypeID())) {
            outcome->FailUsage(description + " has Proxies that are " + TypeName(proxies) + ", not a dictionary");
            return;
        }
        proxy.proxies = CFRef<CFDictionaryRef>::Retain(static_cast<CFDictionaryRef>(proxies));
        std::string left = OtherKeys(payload, kProxies);
        if (!left.empty()) profile->notes.push_back(description + ": only its Proxies are applied, not " + left);
    } else if (other.type == kGlobalHTTPProxyPayloadType) {
        proxy.global.emplace();
        if (!ReadGlobalProxy(payload, &*proxy.global, &why)) {
            outcome->FailUsage(description + " is not a global HTTP proxy: " + why);
            return;
        }
        std::string left;
        for (const std::string& key : proxy.global->unstored) left += (left.empty() ? "" : ", ") + key;
        if (!left.empty()) profile->notes.push_back(description + ": the store has no place for " + left);
    } else {
        profile->notes.push_back("passed over " + description + ": " +
                                 (other.type == kSystemConfigurationPayloadType ? "it holds no Proxies"
                                                                                : "not a proxy payload"));
        profile->others.push_back(std::move(other));
        return;
    }
    profile->proxyPayloads.push_back(std::move(proxy));
}

}  // namespace

CFRef<CFDictionaryRef> ProxyPayload::CreateProxiesAfter(CFDictionaryRef before) const {
    if (!global) return CFRef<CFDictionaryRef>::Retain(proxies.get());
    CFRef<CFMutableDictionaryRef> after(before ? CFDictionaryCreateMutableCopy(kCFAllocatorDefault, 0, before)
                                               : NewDictionary().release());
    if (!after || ApplyGlobalProxy(*global, after.get()) != noErr) return nullptr;
    return after;
}

std::optional<ReceivedProfile> ReadProfile(Outcome* outcome, const std::string& bytes, const std::string& name,
                                           const CAFile* ca) {
    ReceivedProfile profile;
    std::string content;
    if (!UnwrapIfSigned(outcome, bytes, name, ca, &content, &profile)) return std::nullopt;
    PropertyListFormat format = PropertyListFormat::XML;
    std::string fault;
    CFRef<CFDictionaryRef> root(
        PropertyListCreateFromFileBytes(profile.isSigned ? content : bytes, &format, &fault));
    if (!root) {
        outcome->FailUsage(name + " is not a configuration profile: " + fault);
        return std::nullopt;
    }
    CFArrayRef payloads = PayloadsOf(outcome, root.get(), name);
    CFIndex count = outcome->ok() ? CFArrayGetCount(payloads) : 0;
    for (CFIndex i = 0; i < count && outcome->ok(); ++i) {
        ReadPayload(outcome, CFArrayGetValueAtIndex(payloads, i), i, name, &profile);
    }
    if (outcome->ok() && profile.proxyPayloads.empty()) {
        std::string types;
        for (const OtherPayload& other : profile.others) types += (types.empty() ? "" : ", ") + Escaped(other.type);
        outcome->FailUsage(name + " has no proxy payload (" + kSystemConfigurationPayloadType + " with Proxies, or " +
                           kGlobalHTTPProxyPayloadType + ")" + (types.empty() ? "" : "; it holds " + types));
    }
    if (!outcome->ok()) return std::nullopt;
    return profile;
}

CFRef<CFDictionaryRef> CreateProfile(Outcome* outcome, const char* payloadType, CFDictionaryRef payloadKeys,
                                     const char* payloadName, const ProfileNames& names) {
    std::optional<std::string> profileUUID = NewRandomUUID();
    std::optional<std::string> payloadUUID = NewRandomUUID();
    if (!profileUUID || !payloadUUID) {
        outcome->Fail("the system's random source failed, so no UUID could be made");
        return nullptr;
    }
    const std::string identifier = names.identifier.value_or(kIdentifierPrefix + *profileUUID);
    CFRef<CFMutableDictionaryRef> payload(CFDictionaryCreateMutableCopy(kCFAllocatorDefault, 0, payloadKeys));
    CFRef<CFMutableDictionaryRef> profile = NewDictionary();
    CFRef<CFMutableArrayRef> content(CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks));
    bool made = payload && profile && content &&
                SetIdentity(payload.get(), payloadType, identifier + "." + *payloadUUID, *payloadUUID, payloadName) &&
                SetIdentity(profile.get(), "Configuration", identifier, *profileUUID,
                            names.displayName.value_or("Proxy settings"));
    if (!made) {
        outcome->Check("CFDictionaryCreateMutable", coreFoundationUnknownErr);
        return nullptr;
    }
    CFArrayAppendValue(content.get(), payload.get());
    CFDictionarySetValue(profile.get(), kPayloadContent, content.get());
    return profile;
}
