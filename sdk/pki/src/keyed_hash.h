#pragma once

#include <cstddef>
#include <memory>

#include "openssl_handles.h"
#include "uabase/byte_view.h"
#include "uapki/security_policy.h"

namespace pki {

using MacPtr = std::unique_ptr<EVP_MAC, Releaser<EVP_MAC_free>>;
using MacContextPtr = std::unique_ptr<EVP_MAC_CTX, Releaser<EVP_MAC_CTX_free>>;

/// The name by which OpenSSL knows it; null for none.
const char* nameOf(UaPkiSecurityPolicy::Digest digest);

/// HMAC (RFC 2104) with a key that is prepared once.
class KeyedHash {
public:
    static constexpr std::size_t mostBytes = 32;

    /// False when the cryptography fails.
    bool setKey(UaPkiSecurityPolicy::Digest digest, UaByteView key);
    /// Of a result.
    std::size_t length() const { return m_length; }
    /// Writes length() bytes.
    bool calculate(UaByteView data, OpcUa_Byte* result);
    /// Takes as long wherever the first difference is.
    bool matches(UaByteView data, UaByteView expected);

private:
    MacContextPtr m_context;
    std::size_t m_length = 0;
};

} // namespace pki
