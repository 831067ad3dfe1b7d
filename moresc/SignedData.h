// Signed profiles: the CMS (PKCS #7) signed-data envelope that a device
// management server or Apple Configurator puts around a profile's XML.
#pragma once

#include <optional>
#include <string>
#include <vector>

// Whether bytes are a signed envelope rather than a property list: DER
// (an ASN.1 SEQUENCE, which no property list starts with) or PEM.
bool LooksSigned(const std::string& bytes);

// What an envelope held.
struct SignedContent {
    std::string content;               // the signed bytes: the profile itself
    std::vector<std::string> signers;  // the signers' certificate subjects, as RFC 2253 writes them
    bool verified = false;             // the signers' certificates chain up to a given CA
};

enum class Unwrapped {
    kOk,
    kMalformed,     // not a whole signed-data envelope with content in it
    kBadCAFile,     // the CA certificates could not be read
    kBadSignature,  // the signature does not match the content, or (with CAs) the signer is not trusted
};

// Takes the content out of a signed-data envelope and checks its
// signature: always against the signer's own certificate, so that
// content changed after signing is refused; with caCertificates (the
// bytes of a PEM file of one or more certificates, or of one DER
// certificate) also that each signer's certificate chains up to one of
// them, for any purpose, at the present time. On failure *fault says why.
Unwrapped UnwrapSignedData(const std::string& bytes, const std::optional<std::string>& caCertificates,
                           SignedContent* result, std::string* fault);
