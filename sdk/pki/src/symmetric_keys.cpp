#include "uapki/symmetric_keys.h"

#include <cstddef>
#include <memory>

#include "chained_cipher.h"
#include "key_derivation.h"
#include "keyed_hash.h"
#include "openssl_use.h"
#include "secret_bytes.h"

// No OpenSslUse where messages pass: prepared contexts have all they need, also once OpenSSL has been cleaned
// up, and with them it has nothing to report but lack of memory.

struct UaPkiSymmetricKeys::Keys {
    pki::KeyedHash hash;
    pki::ChainedCipher cipher;

    bool derive(const UaPkiSecurityPolicy& policy, UaByteView secret, UaByteView seed);
};

bool UaPkiSymmetricKeys::Keys::derive(const UaPkiSecurityPolicy& policy, UaByteView secret, UaByteView seed) {
    const pki::OpenSslUse use;
    if (!use.isPossible())
        return false;
    const std::size_t hashKeyLength = policy.signatureKeyLength;
    const std::size_t cipherKeyLength = policy.encryptionKeyLength;
    pki::SecretBytes derived(hashKeyLength + cipherKeyLength + UaPkiSecurityPolicy::encryptionBlockLength);
    if (!pki::deriveBytes(policy.digest, secret, seed, derived.bytes))
        return false;
    const UaByteView keys(derived.bytes.data(), derived.bytes.size());
    const UaByteView cipherKeys = keys.from(hashKeyLength);
    return hash.setKey(policy.digest, keys.first(hashKeyLength)) && hash.length() == policy.signatureLength &&
           cipher.setKey(cipherKeys.first(cipherKeyLength), cipherKeys.from(cipherKeyLength));
}

UaPkiSymmetricKeys::UaPkiSymmetricKeys() = default;

UaPkiSymmetricKeys::UaPkiSymmetricKeys(const UaPkiSecurityPolicy& policy, UaByteView secret, UaByteView seed)
    : m_keys(std::make_unique<Keys>()) {
    if (!m_keys->derive(policy, secret, seed))
        m_keys.reset();
}

UaPkiSymmetricKeys::~UaPkiSymmetricKeys() = default;
UaPkiSymmetricKeys::UaPkiSymmetricKeys(UaPkiSymmetricKeys&&) noexcept = default;
UaPkiSymmetricKeys& UaPkiSymmetricKeys::operator=(UaPkiSymmetricKeys&&) noexcept = default;

bool UaPkiSymmetricKeys::sign(UaByteView data, OpcUa_Byte* signature) {
    return isValid() && m_keys->hash.calculate(data, signature);
}

bool UaPkiSymmetricKeys::verify(UaByteView data, UaByteView signature) {
    return isValid() && m_keys->hash.matches(data, signature);
}

bool UaPkiSymmetricKeys::encrypt(OpcUa_Byte* data, std::size_t size) {
    return isValid() && m_keys->cipher.encrypt(data, size);
}

bool UaPkiSymmetricKeys::decrypt(OpcUa_Byte* data, std::size_t size) {
    return isValid() && m_keys->cipher.decrypt(data, size);
}
