#pragma once

#include <memory>

#include <openssl/asn1.h>
#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

namespace pki {

template <auto Free>
struct Releaser {
    template <typename Object>
    void operator()(Object* object) const {
        Free(object);
    }
};

using X509Ptr = std::unique_ptr<X509, Releaser<X509_free>>;
using X509CrlPtr = std::unique_ptr<X509_CRL, Releaser<X509_CRL_free>>;
using X509NamePtr = std::unique_ptr<X509_NAME, Releaser<X509_NAME_free>>;
using X509ExtensionPtr = std::unique_ptr<X509_EXTENSION, Releaser<X509_EXTENSION_free>>;
using GeneralNamePtr = std::unique_ptr<GENERAL_NAME, Releaser<GENERAL_NAME_free>>;
using GeneralNamesPtr = std::unique_ptr<GENERAL_NAMES, Releaser<GENERAL_NAMES_free>>;
using AuthorityKeyIdPtr = std::unique_ptr<AUTHORITY_KEYID, Releaser<AUTHORITY_KEYID_free>>;
using NameConstraintsPtr = std::unique_ptr<NAME_CONSTRAINTS, Releaser<NAME_CONSTRAINTS_free>>;
using DistributionPointsPtr = std::unique_ptr<CRL_DIST_POINTS, Releaser<CRL_DIST_POINTS_free>>;
using IssuingDistributionPointPtr = std::unique_ptr<ISSUING_DIST_POINT, Releaser<ISSUING_DIST_POINT_free>>;
using StringPtr = std::unique_ptr<ASN1_STRING, Releaser<ASN1_STRING_free>>;
using IntegerPtr = std::unique_ptr<ASN1_INTEGER, Releaser<ASN1_INTEGER_free>>;
using KeyPtr = std::unique_ptr<EVP_PKEY, Releaser<EVP_PKEY_free>>;
using BioPtr = std::unique_ptr<BIO, Releaser<BIO_free_all>>;
using BignumPtr = std::unique_ptr<BIGNUM, Releaser<BN_free>>;

/// Keeps what our own failures leave in the thread's error queue from an application that uses OpenSSL too.
class ErrorQueueGuard {
public:
    ErrorQueueGuard() { ERR_set_mark(); }
    ~ErrorQueueGuard() { ERR_pop_to_mark(); }
    ErrorQueueGuard(const ErrorQueueGuard&) = delete;
    ErrorQueueGuard& operator=(const ErrorQueueGuard&) = delete;
};

} // namespace pki
