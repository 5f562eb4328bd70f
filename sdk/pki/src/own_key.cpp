#include <cstddef>
#include <utility>
#include <vector>

#include "key_record.h"
#include "openssl_use.h"
#include "rsa.h"
#include "uapki/asymmetric_keys.h"

UaStatus UaPkiOwnKey::open(const UaPkiSecurityPolicy& policy, const OpcUa_Key& record, UaPkiOwnKey& key) {
    key = UaPkiOwnKey();
    if (policy.isNone())
        return OpcUa_BadInvalidArgument;
    const pki::OpenSslUse use;
    if (!use.isPossible())
        return OpcUa_BadSecurityChecksFailed;
    pki::KeyPtr privateKey = pki::readRsaPrivateKey(record);
    if (!pki::isUsableRsaKey(privateKey.get()))
        return OpcUa_BadSecurityChecksFailed;
    key.m_policy = &policy;
    key.m_blockLength = pki::modulusLength(privateKey.get());
    key.m_key = std::move(privateKey);
    return OpcUa_Good;
}

std::vector<OpcUa_Byte> UaPkiOwnKey::sign(UaByteView data) const {
    const pki::OpenSslUse use;
    if (!isValid() || !use.isPossible())
        return {};
    const pki::DigestContextPtr context(EVP_MD_CTX_new());
    EVP_PKEY_CTX* keyContext = nullptr; // the digest context's
    std::vector<OpcUa_Byte> signature(m_blockLength);
    std::size_t length = signature.size();
    const bool good =
        context != nullptr &&
        EVP_DigestSignInit(context.get(), &keyContext, pki::digestOf(m_policy->asymmetricSignature), nullptr,
                           m_key.get()) == 1 &&
        pki::setPadding(keyContext, m_policy->asymmetricSignature) &&
        EVP_DigestSign(context.get(), signature.data(), &length, data.data, data.size) == 1;
    return good && length == m_blockLength ? signature : std::vector<OpcUa_Byte>();
}

std::vector<OpcUa_Byte> UaPkiOwnKey::decrypt(UaByteView cipher) const {
    if (!isValid() || cipher.size == 0 || cipher.size % m_blockLength != 0 ||
        cipher.size / m_blockLength > mostBlocks) {
        return {};
    }
    const pki::OpenSslUse use;
    if (!use.isPossible())
        return {};
    const pki::KeyContextPtr context(EVP_PKEY_CTX_new_from_pkey(nullptr, m_key.get(), nullptr));
    if (context == nullptr || EVP_PKEY_decrypt_init(context.get()) != 1 ||
        !pki::setPadding(context.get(), m_policy->asymmetricEncryption)) {
        return {};
    }
    const std::size_t fullBlock = m_blockLength - pki::overheadOf(m_policy->asymmetricEncryption);
    std::vector<OpcUa_Byte> plain(cipher.size);
    std::size_t written = 0;
    bool good = true;
    // To the end also when a block is wrong: how long it takes says nothing about which one was.
    for (UaByteView rest = cipher; rest.size != 0; rest = rest.from(m_blockLength)) {
        std::size_t length = plain.size() - written;
        const bool decrypted =
            EVP_PKEY_decrypt(context.get(), plain.data() + written, &length, rest.data, m_blockLength) == 1;
        // OpenSSL from 3.2 on gives any number of bytes for a block whose PKCS #1 padding is wrong.
        const bool whole = length == fullBlock || rest.size == m_blockLength;
        good = good && decrypted && whole;
        written += decrypted ? length : 0;
    }
    const std::size_t kept = good ? written : 0;
    UaPkiWipe(plain.data() + kept, plain.size() - kept);
    plain.resize(kept);
    return plain;
}
