#pragma once

#include <cstddef>
#include <memory>

#include "openssl_handles.h"
#include "uapki/security_policy.h"

/// What a security policy's asymmetric algorithms are for OpenSSL.
namespace pki {

using KeyContextPtr = std::unique_ptr<EVP_PKEY_CTX, Releaser<EVP_PKEY_CTX_free>>;
using DigestContextPtr = std::unique_ptr<EVP_MD_CTX, Releaser<EVP_MD_CTX_free>>;

/// An RSA key that holds a signature and a secret of any policy and that OpenSSL calculates with: 529 to
/// 16384 bits.
bool isUsableRsaKey(const EVP_PKEY* key);
std::size_t modulusLength(const EVP_PKEY* key);

const EVP_MD* digestOf(UaPkiSecurityPolicy::Signature signature);
bool setPadding(EVP_PKEY_CTX* context, UaPkiSecurityPolicy::Signature signature);
bool setPadding(EVP_PKEY_CTX* context, UaPkiSecurityPolicy::Encryption encryption);
/// The bytes of an encrypted block that are not for the plain text.
std::size_t overheadOf(UaPkiSecurityPolicy::Encryption encryption);

} // namespace pki
