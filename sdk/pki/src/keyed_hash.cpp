#include "keyed_hash.h"

#include <array>
#include <cstddef>

#include <openssl/core_names.h>
#include <openssl/crypto.h>
#include <openssl/params.h>

namespace pki {

const char* nameOf(UaPkiSecurityPolicy::Digest digest) {
    switch (digest) {
    case UaPkiSecurityPolicy::Digest::Sha1:
        return OSSL_DIGEST_NAME_SHA1;
    case UaPkiSecurityPolicy::Digest::Sha256:
        return OSSL_DIGEST_NAME_SHA2_256;
    case UaPkiSecurityPolicy::Digest::None:
        break;
    }
    return nullptr;
}

bool KeyedHash::setKey(UaPkiSecurityPolicy::Digest digest, UaByteView key) {
    const char* digestName = nameOf(digest);
    const MacPtr hmac(EVP_MAC_fetch(nullptr, OSSL_MAC_NAME_HMAC, nullptr));
    m_context.reset(hmac != nullptr && digestName != nullptr ? EVP_MAC_CTX_new(hmac.get()) : nullptr);
    const std::array<OSSL_PARAM, 2> parameters{
        OSSL_PARAM_construct_utf8_string(OSSL_MAC_PARAM_DIGEST, const_cast<char*>(digestName), 0),
        OSSL_PARAM_construct_end()};
    if (m_context == nullptr || EVP_MAC_init(m_context.get(), key.data, key.size, parameters.data()) != 1)
        return false;
    m_length = EVP_MAC_CTX_get_mac_size(m_context.get());
    return m_length != 0 && m_length <= mostBytes;
}

bool KeyedHash::calculate(UaByteView data, OpcUa_Byte* result) {
    std::size_t written = 0;
    return EVP_MAC_init(m_context.get(), nullptr, 0, nullptr) == 1 && // with the key it has
           EVP_MAC_update(m_context.get(), data.data, data.size) == 1 &&
           EVP_MAC_final(m_context.get(), result, &written, m_length) == 1 && written == m_length;
}

bool KeyedHash::matches(UaByteView data, UaByteView expected) {
    std::array<OpcUa_Byte, mostBytes> calculated{};
    return expected.size == m_length && calculate(data, calculated.data()) &&
           CRYPTO_memcmp(calculated.data(), expected.data, m_length) == 0;
}

} // namespace pki
