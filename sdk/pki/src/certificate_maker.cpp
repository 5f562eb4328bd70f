#include <cerrno>
#include <ctime>
#include <memory>
#include <string>
#include <utility>

#include "distinguished_name.h"
#include "openssl_handles.h"
#include "openssl_use.h"
#include "uabase/trace.h"
#include "uapki/certificate.h"

using pki::GeneralNamePtr;
using pki::GeneralNamesPtr;
using pki::X509Ptr;

namespace {

constexpr int x509Version3 = 2; // the encoding counts from 0
constexpr int serialNumberBits = 127;
constexpr OpcUa_Int64 secondsPerDay = 86400;

bool isAscii(const UaString& text) {
    for (const char character : text.text())
        if (character <= 0x20 || character == 0x7F)
            return false;
    return true;
}

/// What the certificate is to be. References live in the constructor's arguments.
struct Request {
    const UaPkiCertificateInfo& info;
    EVP_PKEY* subjectKey;
    EVP_PKEY* issuerKey;
    bool selfSigned;
    bool certificateAuthority;
};

bool setSerialNumber(X509* certificate) {
    // Random as the CA/Browser Forum's rules ask it; the top bit is clear, so the number is positive.
    const pki::BignumPtr number(BN_new());
    return number != nullptr &&
           BN_rand(number.get(), serialNumberBits, BN_RAND_TOP_ONE, BN_RAND_BOTTOM_ANY) == 1 &&
           BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(certificate)) != nullptr;
}

bool setValidity(X509* certificate, const UaPkiCertificateInfo& info) {
    std::time_t start = std::time(nullptr) - static_cast<std::time_t>(info.backdateTime);
    auto days = info.validTime / secondsPerDay;
    constexpr OpcUa_Int64 mostDays = 366L * 8000; // to year 9999 and not beyond: days must fit an int
    return info.validTime > 0 && days < mostDays &&
           X509_time_adj_ex(X509_getm_notBefore(certificate), 0, 0, &start) != nullptr &&
           X509_time_adj_ex(X509_getm_notAfter(certificate), static_cast<int>(days),
                            static_cast<long>(info.validTime % secondsPerDay), &start) != nullptr;
}

bool addExtension(X509* certificate, X509* issuer, int nid, const std::string& value) {
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    const pki::X509ExtensionPtr extension(X509V3_EXT_conf_nid(nullptr, &context, nid, value.c_str()));
    return extension != nullptr && X509_add_ext(certificate, extension.get(), -1) == 1;
}

bool addName(GENERAL_NAMES* names, GeneralNamePtr name) {
    if (name == nullptr || sk_GENERAL_NAME_push(names, name.get()) == 0)
        return false;
    static_cast<void>(name.release()); // the list owns it now
    return true;
}

bool addTextName(GENERAL_NAMES* names, int kind, const UaString& text) {
    pki::GeneralNamePtr name(GENERAL_NAME_new());
    ASN1_IA5STRING* value = ASN1_IA5STRING_new();
    if (name == nullptr || value == nullptr || !isAscii(text) ||
        ASN1_STRING_set(value, text.toUtf8(), text.size()) != 1) {
        ASN1_IA5STRING_free(value);
        return false;
    }
    GENERAL_NAME_set0_value(name.get(), kind, value);
    return addName(names, std::move(name));
}

bool addAddress(GENERAL_NAMES* names, const UaString& text) {
    pki::GeneralNamePtr name(GENERAL_NAME_new());
    ASN1_OCTET_STRING* address = a2i_IPADDRESS(text.toUtf8());
    if (name == nullptr || address == nullptr) {
        ASN1_OCTET_STRING_free(address);
        return false;
    }
    GENERAL_NAME_set0_value(name.get(), GEN_IPADD, address);
    return addName(names, std::move(name));
}

bool addAlternativeName(X509* certificate, const UaPkiCertificateInfo& info) {
    const GeneralNamesPtr names(sk_GENERAL_NAME_new_null());
    bool complete = names != nullptr && (info.uri.isEmpty() || addTextName(names.get(), GEN_URI, info.uri));
    for (const UaString& dnsName : info.dnsNames)
        complete = complete && addTextName(names.get(), GEN_DNS, dnsName);
    for (const UaString& address : info.ipAddresses)
        complete = complete && addAddress(names.get(), address);
    complete = complete && (info.email.isEmpty() || addTextName(names.get(), GEN_EMAIL, info.email));
    return complete && (sk_GENERAL_NAME_num(names.get()) == 0 ||
                        X509_add1_ext_i2d(certificate, NID_subject_alt_name, names.get(), 0, 0) == 1);
}

/// Stands for the issuer where only its key is known: the authority key identifier is all that it is needed
/// for.
X509Ptr issuerWithKeyIdentifier(EVP_PKEY* key) {
    X509Ptr issuer(X509_new());
    if (issuer == nullptr || X509_set_pubkey(issuer.get(), key) != 1 ||
        !addExtension(issuer.get(), issuer.get(), NID_subject_key_identifier, "hash")) {
        return nullptr;
    }
    return issuer;
}

/// OPC UA Part 6, 6.2.2. The self-signed certificate has keyCertSign because it is its own issuer.
bool addUsage(X509* certificate, const Request& request) {
    if (request.certificateAuthority) {
        const std::string pathLength = std::to_string(request.info.pathLength);
        return addExtension(certificate, nullptr, NID_basic_constraints,
                            "critical,CA:TRUE,pathlen:" + pathLength) &&
               addExtension(certificate, nullptr, NID_key_usage,
                            "critical,digitalSignature,keyCertSign,cRLSign");
    }
    const std::string usage = "critical,digitalSignature,nonRepudiation,keyEncipherment,dataEncipherment";
    return addExtension(certificate, nullptr, NID_basic_constraints, "critical,CA:FALSE") &&
           addExtension(certificate, nullptr, NID_key_usage,
                        usage + (request.selfSigned ? ",keyCertSign" : "")) &&
           addExtension(certificate, nullptr, NID_ext_key_usage, "clientAuth,serverAuth");
}

bool addExtensions(X509* certificate, const Request& request) {
    const X509Ptr issuer = issuerWithKeyIdentifier(request.issuerKey);
    return issuer != nullptr && addUsage(certificate, request) &&
           addAlternativeName(certificate, request.info) &&
           addExtension(certificate, nullptr, NID_subject_key_identifier, "hash") &&
           addExtension(certificate, issuer.get(), NID_authority_key_identifier, "keyid:always");
}

} // namespace

UaPkiCertificate::UaPkiCertificate(const UaPkiCertificateInfo& info, const UaPkiIdentity& subject,
                                   const UaPkiPublicKey& subjectKey, const UaPkiIdentity& issuer,
                                   const UaPkiPrivateKey& issuerKey, bool certificateAuthority,
                                   SignatureAlgorithm algorithm) {
    const pki::OpenSslUse use;
    if (!use.isPossible() || !subjectKey.isValid() || !issuerKey.isValid() || algorithm != Sha256)
        return;
    EVP_PKEY* signer = issuerKey.m_key.get();
    const Request request{info, subjectKey.m_key.get(), signer,
                          EVP_PKEY_eq(subjectKey.m_key.get(), signer) == 1, certificateAuthority};
    X509Ptr certificate(X509_new());
    const pki::X509NamePtr subjectName = pki::makeName(subject);
    const pki::X509NamePtr issuerName = pki::makeName(issuer);
    const bool made =
        certificate != nullptr && subjectName != nullptr && issuerName != nullptr &&
        X509_set_version(certificate.get(), x509Version3) == 1 && setSerialNumber(certificate.get()) &&
        X509_set_subject_name(certificate.get(), subjectName.get()) == 1 &&
        X509_set_issuer_name(certificate.get(), issuerName.get()) == 1 &&
        setValidity(certificate.get(), info) && X509_set_pubkey(certificate.get(), request.subjectKey) == 1 &&
        addExtensions(certificate.get(), request) && X509_sign(certificate.get(), signer, EVP_sha256()) > 0;
    if (!made) {
        const char* reason = ERR_reason_error_string(ERR_peek_last_error());
        UaTrace::write(UaTrace::Errors, "pki", "cannot make a certificate for \"%s\": %s",
                       subject.commonName.toUtf8(),
                       reason != nullptr ? reason : "the information does not fit");
        return;
    }
    *this = UaPkiCertificate(std::shared_ptr<X509>(std::move(certificate)));
}
