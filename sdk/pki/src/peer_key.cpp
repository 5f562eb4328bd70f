#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "certificate_parser.h"
#include "openssl_use.h"
#include "rsa.h"
#include "uapki/asymmetric_keys.h"

namespace {

/// The first certificate's; null when there is none, or its key is none that can be used.
pki::KeyPtr publicKeyOf(const UaByteString& certificate) {
    const unsigned char* position = certificate.data();
    const pki::X509Ptr x509 = pki::parseCertificate(position, position + certificate.length());
    return pki::KeyPtr(x509 != nullptr ? X509_get_pubkey(x509.get()) : nullptr);
}

} // namespace

UaStatus UaPkiPeerKey::open(const UaPkiSecurityPolicy& policy, const UaByteString& certificate, Limits limits,
                            UaPkiPeerKey& key) {
    key = UaPkiPeerKey();
    if (policy.isNone())
        return OpcUa_BadInvalidArgument;
    const pki::OpenSslUse use;
    if (!use.isPossible())
        return OpcUa_BadSecurityChecksFailed;
    pki::KeyPtr publicKey = publicKeyOf(certificate);
    if (publicKey == nullptr || EVP_PKEY_is_a(publicKey.get(), "RSA") != 1)
        return OpcUa_BadCertificateInvalid;
    const int bits = EVP_PKEY_get_bits(publicKey.get());
    const bool withinLimits = bits >= policy.minimumKeyBits && bits <= policy.maximumKeyBits;
    if (!pki::isUsableRsaKey(publicKey.get()) || (limits == Limits::Enforced && !withinLimits))
        return OpcUa_BadCertificatePolicyCheckFailed;
    key.m_policy = &policy;
    key.m_blockLength = pki::modulusLength(publicKey.get());
    key.m_plainBlockLength = key.m_blockLength - pki::overheadOf(policy.asymmetricEncryption);
    key.m_key = std::move(publicKey);
    return OpcUa_Good;
}

bool UaPkiPeerKey::verify(UaByteView data, UaByteView signature) const {
    const pki::OpenSslUse use;
    if (!use.isPossible() || !isValid() || signature.size != m_blockLength)
        return false;
    const pki::DigestContextPtr context(EVP_MD_CTX_new());
    EVP_PKEY_CTX* keyContext = nullptr; // the digest context's
    return context != nullptr &&
           EVP_DigestVerifyInit(context.get(), &keyContext, pki::digestOf(m_policy->asymmetricSignature),
                                nullptr, m_key.get()) == 1 &&
           pki::setPadding(keyContext, m_policy->asymmetricSignature) &&
           EVP_DigestVerify(context.get(), signature.data, signature.size, data.data, data.size) == 1;
}

std::vector<OpcUa_Byte> UaPkiPeerKey::encrypt(UaByteView plain) const {
    const pki::OpenSslUse use;
    if (!isValid() || !use.isPossible())
        return {};
    const pki::KeyContextPtr context(EVP_PKEY_CTX_new_from_pkey(nullptr, m_key.get(), nullptr));
    if (context == nullptr || EVP_PKEY_encrypt_init(context.get()) != 1 ||
        !pki::setPadding(context.get(), m_policy->asymmetricEncryption)) {
        return {};
    }
    const std::size_t blocks = (plain.size + m_plainBlockLength - 1) / m_plainBlockLength;
    std::vector<OpcUa_Byte> cipher(blocks * m_blockLength);
    for (std::size_t i = 0; i < blocks; ++i) {
        const UaByteView rest = plain.from(i * m_plainBlockLength);
        std::size_t length = m_blockLength;
        if (EVP_PKEY_encrypt(context.get(), cipher.data() + i * m_blockLength, &length, rest.data,
                             std::min(rest.size, m_plainBlockLength)) != 1 ||
            length != m_blockLength) {
            return {};
        }
    }
    return cipher;
}
