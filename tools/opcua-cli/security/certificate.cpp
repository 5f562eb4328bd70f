#include "security/certificate.h"

#include <array>
#include <cstddef>
#include <ctime>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <openssl/asn1.h>
#include <openssl/bio.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/sha.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include "text/time_text.h"

namespace opcua_cli {
namespace {

struct Release {
    void operator()(X509* certificate) const { X509_free(certificate); }
    void operator()(GENERAL_NAMES* names) const { GENERAL_NAMES_free(names); }
    void operator()(BIO* bio) const { BIO_free(bio); }
    void operator()(unsigned char* bytes) const { OPENSSL_free(bytes); }
};

/// What OpenSSL notes of a failure is nobody else's: the library uses it on the same thread.
struct ForgottenErrors {
    ~ForgottenErrors() { ERR_clear_error(); }
};

/// Nobody is asked for the password of an encrypted text.
int noPassword(char*, int, int, void*) {
    return -1;
}

template <typename Type>
using Owned = std::unique_ptr<Type, Release>;

std::string hexadecimal(const unsigned char* bytes, std::size_t size) {
    std::vector<char> digits(2 * size + 1);
    OPENSSL_buf2hexstr_ex(digits.data(), digits.size(), nullptr, bytes, size, '\0');
    return digits.data();
}

std::string textOf(const ASN1_STRING* string) {
    unsigned char* bytes = nullptr;
    const int size = ASN1_STRING_to_UTF8(&bytes, string);
    const Owned<unsigned char> owner(bytes);
    return size < 0 ? std::string() : std::string(bytes, bytes + size);
}

/// The first attribute of that kind in a distinguished name.
std::string attributeOf(const X509_NAME* name, int kind) {
    const int place = X509_NAME_get_index_by_NID(name, kind, -1);
    return place < 0 ? std::string() : textOf(X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, place)));
}

std::string timeText(const ASN1_TIME* time) {
    std::tm parts{};
    if (ASN1_TIME_to_tm(time, &parts) != 1)
        throw std::invalid_argument("a time in an unusual form");
    return isoText(parts) + "Z";
}

std::string serialText(const ASN1_INTEGER* number) {
    const unsigned char* bytes = ASN1_STRING_get0_data(number);
    int size = ASN1_STRING_length(number);
    for (; size > 1 && *bytes == 0; --size)
        ++bytes;
    return hexadecimal(bytes, static_cast<std::size_t>(size));
}

void addAlternativeNames(const X509* source, Certificate& certificate) {
    const Owned<GENERAL_NAMES> names(
        static_cast<GENERAL_NAMES*>(X509_get_ext_d2i(source, NID_subject_alt_name, nullptr, nullptr)));
    for (int i = 0; i < sk_GENERAL_NAME_num(names.get()); ++i) {
        const GENERAL_NAME* name = sk_GENERAL_NAME_value(names.get(), i);
        if (name->type == GEN_URI && certificate.applicationUri.empty())
            certificate.applicationUri = textOf(name->d.uniformResourceIdentifier);
        else if (name->type == GEN_DNS)
            certificate.hostNames.push_back(textOf(name->d.dNSName));
    }
}

} // namespace

Certificate certificateFromDer(const std::string& der) {
    const ForgottenErrors errors{};
    const auto* const begin = reinterpret_cast<const unsigned char*>(der.data());
    const unsigned char* end = begin;
    const Owned<X509> source(d2i_X509(nullptr, &end, static_cast<long>(der.size())));
    if (!source)
        throw std::invalid_argument("no certificate");
    Certificate certificate;
    const X509_NAME* subject = X509_get_subject_name(source.get());
    certificate.commonName = attributeOf(subject, NID_commonName);
    certificate.organization = attributeOf(subject, NID_organizationName);
    certificate.issuerCommonName = attributeOf(X509_get_issuer_name(source.get()), NID_commonName);
    addAlternativeNames(source.get(), certificate);
    certificate.validFrom = timeText(X509_get0_notBefore(source.get()));
    certificate.validTo = timeText(X509_get0_notAfter(source.get()));
    certificate.serialNumber = serialText(X509_get0_serialNumber(source.get()));
    std::array<unsigned char, SHA_DIGEST_LENGTH> digest{};
    SHA1(begin, static_cast<std::size_t>(end - begin), digest.data());
    certificate.thumbprint = hexadecimal(digest.data(), digest.size());
    return certificate;
}

std::string derOf(const std::string& content) {
    if (content.find("-----BEGIN CERTIFICATE-----") == std::string::npos)
        return content;
    const ForgottenErrors errors{};
    const Owned<BIO> text(BIO_new_mem_buf(content.data(), static_cast<int>(content.size())));
    unsigned char* bytes = nullptr;
    long size = 0;
    if (PEM_bytes_read_bio(&bytes, &size, nullptr, PEM_STRING_X509, text.get(), noPassword, nullptr) != 1)
        throw std::invalid_argument("a damaged PEM text");
    const Owned<unsigned char> owner(bytes);
    return {bytes, bytes + size};
}

} // namespace opcua_cli
