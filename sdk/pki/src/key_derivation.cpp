#include "key_derivation.h"

#include <array>
#include <memory>

#include <openssl/core_names.h>
#include <openssl/kdf.h>
#include <openssl/params.h>

#include "keyed_hash.h"

namespace pki {
namespace {

using DerivationPtr = std::unique_ptr<EVP_KDF, Releaser<EVP_KDF_free>>;
using DerivationContextPtr = std::unique_ptr<EVP_KDF_CTX, Releaser<EVP_KDF_CTX_free>>;

OSSL_PARAM parameter(const char* name, UaByteView value) {
    return OSSL_PARAM_construct_octet_string(name, const_cast<OpcUa_Byte*>(value.data), value.size);
}

} // namespace

bool deriveBytes(UaPkiSecurityPolicy::Digest digest, UaByteView secret, UaByteView seed, Bytes& bytes) {
    const char* digestName = nameOf(digest);
    if (digestName == nullptr || secret.size == 0)
        return false;
    const ErrorQueueGuard guard;
    // With one digest, and the label as part of the seed, TLS's function is P_hash itself.
    const DerivationPtr derivation(EVP_KDF_fetch(nullptr, OSSL_KDF_NAME_TLS1_PRF, nullptr));
    const DerivationContextPtr context(derivation != nullptr ? EVP_KDF_CTX_new(derivation.get()) : nullptr);
    const std::array<OSSL_PARAM, 4> parameters{
        OSSL_PARAM_construct_utf8_string(OSSL_KDF_PARAM_DIGEST, const_cast<char*>(digestName), 0),
        parameter(OSSL_KDF_PARAM_SECRET, secret), parameter(OSSL_KDF_PARAM_SEED, seed),
        OSSL_PARAM_construct_end()};
    return context != nullptr &&
           EVP_KDF_derive(context.get(), bytes.data(), bytes.size(), parameters.data()) == 1;
}

} // namespace pki
