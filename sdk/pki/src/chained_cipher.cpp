#include "chained_cipher.h"

#include <algorithm>
#include <climits>
#include <cstddef>

#include <openssl/crypto.h>

namespace pki {
namespace {

CipherContextPtr prepared(const EVP_CIPHER* cipher, const OpcUa_Byte* key, bool encrypting) {
    CipherContextPtr context(EVP_CIPHER_CTX_new());
    if (context == nullptr ||
        EVP_CipherInit_ex2(context.get(), cipher, key, nullptr, encrypting ? 1 : 0, nullptr) != 1 ||
        EVP_CIPHER_CTX_set_padding(context.get(), 0) != 1) {
        return nullptr;
    }
    return context;
}

} // namespace

ChainedCipher::~ChainedCipher() {
    OPENSSL_cleanse(m_vector.data(), m_vector.size());
}

bool ChainedCipher::setKey(UaByteView key, UaByteView vector) {
    if ((key.size != 16 && key.size != 32) || vector.size != blockLength)
        return false;
    const EVP_CIPHER* cipher = key.size == 16 ? EVP_aes_128_cbc() : EVP_aes_256_cbc();
    m_encryption = prepared(cipher, key.data, true);
    m_decryption = prepared(cipher, key.data, false);
    std::copy_n(vector.data, blockLength, m_vector.begin());
    return m_encryption != nullptr && m_decryption != nullptr;
}

bool ChainedCipher::run(EVP_CIPHER_CTX* context, OpcUa_Byte* data, std::size_t size) {
    if (size % blockLength != 0 || size > INT_MAX)
        return false;
    constexpr int sameDirection = -1;
    const int length = static_cast<int>(size);
    int written = 0;
    return EVP_CipherInit_ex2(context, nullptr, nullptr, m_vector.data(), sameDirection, nullptr) == 1 &&
           EVP_CipherUpdate(context, data, &written, data, length) == 1 && written == length;
}

} // namespace pki
