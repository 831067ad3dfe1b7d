#include "moresc/SignedData.h"

// pem.h first: cms.h declares its PEM readers only when pem.h came before.
#include <openssl/pem.h>
#include <openssl/bio.h>
#include <openssl/cms.h>
#include <openssl/err.h>
#include <openssl/objects.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

#include <memory>

namespace {

// Owners of OpenSSL objects, freed on every path.
struct OpenSSLFree {
    void operator()(BIO* bio) const { BIO_free(bio); }
    void operator()(CMS_ContentInfo* cms) const { CMS_ContentInfo_free(cms); }
    void operator()(X509_STORE* store) const { X509_STORE_free(store); }
    void operator()(X509* certificate) const { X509_free(certificate); }
    // The signers' stack holds the envelope's own certificates: only the
    // stack is freed.
    void operator()(STACK_OF(X509) * certificates) const { sk_X509_free(certificates); }
};
template <class T>
using OpenSSLPtr = std::unique_ptr<T, OpenSSLFree>;

const char kPEMStart[] = "-----BEGIN";

// The reason of OpenSSL's latest error, with its detail when it has one
// ("certificate verify error: Verify error:unable to get local issuer
// certificate"); the queue is emptied.
std::string TakeOpenSSLError(const char* otherwise) {
    std::string reason;
    const char* data = nullptr;
    int flags = 0;
    unsigned long code = 0;
    unsigned long last = 0;
    std::string detail;
    while ((code = ERR_get_error_all(nullptr, nullptr, nullptr, &data, &flags)) != 0) {
        last = code;
        detail = (data != nullptr && (flags & ERR_TXT_STRING) != 0) ? data : "";
    }
    if (last == 0) return otherwise;
    const char* text = ERR_reason_error_string(last);
    reason = text != nullptr ? text : otherwise;
    return detail.empty() ? reason : reason + ": " + detail;
}

OpenSSLPtr<BIO> MemoryReader(const std::string& bytes) {
    return OpenSSLPtr<BIO>(BIO_new_mem_buf(bytes.data(), static_cast<int>(bytes.size())));
}

// A store of the CA certificates in bytes; nil with *fault set when there
// is none to be read.
OpenSSLPtr<X509_STORE> LoadCertificates(const std::string& bytes, std::string* fault) {
    OpenSSLPtr<X509_STORE> store(X509_STORE_new());
    OpenSSLPtr<BIO> in = MemoryReader(bytes);
    if (!store || !in) {
        *fault = TakeOpenSSLError("out of memory");
        return nullptr;
    }
    int count = 0;
    if (bytes.find(kPEMStart) != std::string::npos) {
        while (OpenSSLPtr<X509> certificate{PEM_read_bio_X509(in.get(), nullptr, nullptr, nullptr)}) {
            if (X509_STORE_add_cert(store.get(), certificate.get()) == 1) ++count;
        }
    } else if (OpenSSLPtr<X509> certificate{d2i_X509_bio(in.get(), nullptr)}) {
        if (X509_STORE_add_cert(store.get(), certificate.get()) == 1) ++count;
    }
    ERR_clear_error();  // the end of the PEM certificates reads as an error
    if (count == 0) {
        *fault = "it holds no certificate (PEM or DER)";
        return nullptr;
    }
    // Profile signers are often TLS or code-signing certificates: any
    // purpose will do, as long as the chain leads to a given CA.
    X509_STORE_set_purpose(store.get(), X509_PURPOSE_ANY);
    return store;
}

std::string SubjectOf(X509* certificate) {
    OpenSSLPtr<BIO> out(BIO_new(BIO_s_mem()));
    if (!out || X509_NAME_print_ex(out.get(), X509_get_subject_name(certificate), 0, XN_FLAG_RFC2253) < 0) {
        return "(a subject that cannot be printed)";
    }
    char* data = nullptr;
    long length = BIO_get_mem_data(out.get(), &data);
    return std::string(data, static_cast<std::size_t>(length));
}

}  // namespace

bool LooksSigned(const std::string& bytes) {
    return (!bytes.empty() && static_cast<unsigned char>(bytes[0]) == 0x30) || bytes.starts_with(kPEMStart);
}

Unwrapped UnwrapSignedData(const std::string& bytes, const std::optional<std::string>& caCertificates,
                           SignedContent* result, std::string* fault) {
    ERR_clear_error();
    OpenSSLPtr<BIO> in = MemoryReader(bytes);
    OpenSSLPtr<CMS_ContentInfo> cms;
    if (in) {
        cms.reset(bytes.starts_with(kPEMStart) ? PEM_read_bio_CMS(in.get(), nullptr, nullptr, nullptr)
                                               : d2i_CMS_bio(in.get(), nullptr));
    }
    if (!cms) {
        *fault = TakeOpenSSLError("not a CMS envelope");
        return Unwrapped::kMalformed;
    }
    if (OBJ_obj2nid(CMS_get0_type(cms.get())) != NID_pkcs7_signed) {
        *fault = "the envelope is not signed data";
        return Unwrapped::kMalformed;
    }
    ASN1_OCTET_STRING** content = CMS_get0_content(cms.get());
    if (content == nullptr || *content == nullptr) {
        *fault = "the signature is detached: the envelope holds no content";
        return Unwrapped::kMalformed;
    }
    OpenSSLPtr<X509_STORE> store;
    if (caCertificates) {
        store = LoadCertificates(*caCertificates, fault);
        if (!store) return Unwrapped::kBadCAFile;
    }
    OpenSSLPtr<BIO> out(BIO_new(BIO_s_mem()));
    unsigned int flags = CMS_BINARY | (store ? 0 : CMS_NO_SIGNER_CERT_VERIFY);
    if (!out || CMS_verify(cms.get(), nullptr, store.get(), nullptr, out.get(), flags) != 1) {
        *fault = TakeOpenSSLError("the signature cannot be checked");
        return Unwrapped::kBadSignature;
    }
    char* data = nullptr;
    long length = BIO_get_mem_data(out.get(), &data);
    result->content.assign(data, static_cast<std::size_t>(length));
    result->verified = static_cast<bool>(store);
    result->signers.clear();
    OpenSSLPtr<STACK_OF(X509)> signers(CMS_get0_signers(cms.get()));
    for (int i = 0; signers && i < sk_X509_num(signers.get()); ++i) {
        result->signers.push_back(SubjectOf(sk_X509_value(signers.get(), i)));
    }
    ERR_clear_error();
    return Unwrapped::kOk;
}
