#pragma once

#include <array>
#include <cstddef>
#include <memory>

#include "openssl_handles.h"
#include "uabase/byte_view.h"
#include "uapki/security_policy.h"

namespace pki {

using CipherContextPtr = std::unique_ptr<EVP_CIPHER_CTX, Releaser<EVP_CIPHER_CTX_free>>;

/// AES-CBC without padding, with a key of 16 or 32 bytes that is prepared once; every run begins with the
/// same vector.
class ChainedCipher {
public:
    static constexpr std::size_t blockLength = UaPkiSecurityPolicy::encryptionBlockLength;

    ChainedCipher() = default;
    ~ChainedCipher();
    ChainedCipher(const ChainedCipher&) = delete;
    ChainedCipher& operator=(const ChainedCipher&) = delete;

    /// `vector` is of one block. False for a key of any other length and when the cryptography fails.
    bool setKey(UaByteView key, UaByteView vector);
    /// In place. False when `size` is no multiple of the block length.
    bool encrypt(OpcUa_Byte* data, std::size_t size) { return run(m_encryption.get(), data, size); }
    bool decrypt(OpcUa_Byte* data, std::size_t size) { return run(m_decryption.get(), data, size); }

private:
    bool run(EVP_CIPHER_CTX* context, OpcUa_Byte* data, std::size_t size);

    CipherContextPtr m_encryption;
    CipherContextPtr m_decryption;
    std::array<OpcUa_Byte, blockLength> m_vector{};
};

} // namespace pki
