#include "rsa.h"

#include <cstddef>

#include <openssl/rsa.h>

namespace pki {
namespace {

using Signature = UaPkiSecurityPolicy::Signature;
using Encryption = UaPkiSecurityPolicy::Encryption;

/// OAEP with SHA-256 has room for a byte then (RFC 8017, 7.1.1), and PSS with SHA-256 for its salt (9.1.1).
constexpr int fewestBits = 8 * (2 * 32 + 2) + 1;
constexpr int mostBits = OPENSSL_RSA_MAX_MODULUS_BITS;

bool setOaep(EVP_PKEY_CTX* context, const EVP_MD* digest) {
    return EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_OAEP_PADDING) == 1 &&
           EVP_PKEY_CTX_set_rsa_oaep_md(context, digest) == 1 &&
           EVP_PKEY_CTX_set_rsa_mgf1_md(context, digest) == 1;
}

} // namespace

bool isUsableRsaKey(const EVP_PKEY* key) {
    if (key == nullptr || EVP_PKEY_is_a(key, "RSA") != 1)
        return false;
    const int bits = EVP_PKEY_get_bits(key);
    return bits >= fewestBits && bits <= mostBits;
}

std::size_t modulusLength(const EVP_PKEY* key) {
    return static_cast<std::size_t>(EVP_PKEY_get_size(key));
}

const EVP_MD* digestOf(Signature signature) {
    return signature == Signature::RsaPkcs15Sha1 ? EVP_sha1() : EVP_sha256();
}

bool setPadding(EVP_PKEY_CTX* context, Signature signature) {
    if (signature != Signature::RsaPssSha256)
        return EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_PADDING) == 1;
    return EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_PSS_PADDING) == 1 &&
           EVP_PKEY_CTX_set_rsa_pss_saltlen(context, RSA_PSS_SALTLEN_DIGEST) == 1;
}

bool setPadding(EVP_PKEY_CTX* context, Encryption encryption) {
    switch (encryption) {
    case Encryption::RsaPkcs15:
        return EVP_PKEY_CTX_set_rsa_padding(context, RSA_PKCS1_PADDING) == 1;
    case Encryption::RsaOaepSha1:
        return setOaep(context, EVP_sha1());
    case Encryption::RsaOaepSha256:
        return setOaep(context, EVP_sha256());
    case Encryption::None:
        break;
    }
    return false;
}

std::size_t overheadOf(Encryption encryption) {
    switch (encryption) { // RFC 8017, 7.2.1 and 7.1.1
    case Encryption::RsaPkcs15:
        return 11;
    case Encryption::RsaOaepSha1:
        return 2 * 20 + 2;
    case Encryption::RsaOaepSha256:
        return 2 * 32 + 2;
    case Encryption::None:
        break;
    }
    return 0;
}

} // namespace pki
