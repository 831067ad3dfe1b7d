// Configuration profiles, as device management (MDM) servers hand them to
// Macs: a property list (XML, or inside a signed envelope) whose top level
// says "PayloadType" "Configuration" and holds the payloads in the array
// "PayloadContent", each a dictionary with its own "PayloadType",
// "PayloadIdentifier", "PayloadUUID" and "PayloadVersion".
//
// Two payload types carry proxy settings: "com.apple.SystemConfiguration",
// whose "Proxies" dictionary holds a "Proxies" entity as the store keeps
// it, and "com.apple.proxy.http.global", the global HTTP proxy (see
// GlobalProxy.h).
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "MoreSC.h"
#include "moresc/GlobalProxy.h"
#include "moresc/Outcome.h"

extern const char kSystemConfigurationPayloadType[];  // "com.apple.SystemConfiguration"
extern const char kGlobalHTTPProxyPayloadType[];      // "com.apple.proxy.http.global"

// A proxy payload of a profile.
struct ProxyPayload {
    std::string description;            // for messages: payload "<identifier>" (<type>)
    CFRef<CFDictionaryRef> proxies;     // SystemConfiguration: the entity that replaces the service's whole
    std::optional<GlobalProxy> global;  // global HTTP proxy: the keys it changes

    // The "Proxies" entity of a service after this payload, from the one
    // before (nil: the service has none). Nil when a value cannot be made.
    CFRef<CFDictionaryRef> CreateProxiesAfter(CFDictionaryRef before) const;
};

// A payload that carries no proxy settings, which is passed over.
struct OtherPayload {
    std::string type;
    std::string identifier;  // "" when it has none
};

// A profile as read from a file.
struct ReceivedProfile {
    std::vector<ProxyPayload> proxyPayloads;  // in the profile's order; at least one
    std::vector<OtherPayload> others;
    // What the profile holds that is not applied, one line each (a payload
    // of another type, a key the store has no place for).
    std::vector<std::string> notes;
    bool isSigned = false;
    bool verified = false;               // the signers chain up to the given CA certificates
    std::vector<std::string> signers;    // the signers' certificate subjects
};

// The certificates of the CAs a signed profile is verified against.
struct CAFile {
    std::string name;   // for messages
    std::string bytes;  // one or more PEM certificates, or one DER certificate
};

// Reads the profile in bytes: an XML or binary property list, or one in a
// signed envelope, whose signature is checked (with ca, also that the
// signers chain up to its certificates: see UnwrapSignedData); with ca, a
// profile that is not signed is refused. name names
// the input in messages. Bytes that are not a profile, a profile without a
// proxy payload or with a malformed one, and an envelope that is not whole
// are input the subcommand does not take; a signature that does not check
// out, or a CA file without certificates, is a failure. Either is recorded
// in the outcome, and gives nothing.
std::optional<ReceivedProfile> ReadProfile(Outcome* outcome, const std::string& bytes, const std::string& name,
                                           const CAFile* ca);

// The names of a profile that moresc writes: its identifier and its name
// as the user sees it ("PayloadDisplayName"). Without an identifier, the
// profile's is a reverse-DNS name holding its UUID, and the payload's is
// the profile's followed by the payload's UUID.
struct ProfileNames {
    std::optional<std::string> identifier;
    std::optional<std::string> displayName;
};

// A profile of one payload of payloadType, with payloadKeys (its own keys
// besides the "Payload..." identity) and payloadName as its display name.
// UUIDs are fresh random ones. Nil, with the outcome's failure, when the
// random source fails.
CFRef<CFDictionaryRef> CreateProfile(Outcome* outcome, const char* payloadType, CFDictionaryRef payloadKeys,
                                     const char* payloadName, const ProfileNames& names);
