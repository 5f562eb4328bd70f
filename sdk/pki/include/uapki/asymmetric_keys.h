#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "uabase/byte_string.h"
#include "uabase/byte_view.h"
#include "uabase/status.h"
#include "uapki/security_policy.h"
#include "uastack/export.h"
#include "uastack/key.h"

struct evp_pkey_st;

/// The public key of a peer's certificate, used as one policy demands: encrypts to the peer, verifies what it
/// signed.
class UASDK_EXPORT UaPkiPeerKey {
public:
    UaPkiPeerKey() = default;

    /// `certificate` is DER, possibly with its issuers behind it. BadCertificateInvalid when there is none,
    /// or its key is no RSA key; BadCertificatePolicyCheckFailed when the key's length is not within the
    /// policy's limits and `limits` is Enforced.
    enum class Limits { Enforced, AlreadyDecidedOn };
    static UaStatus open(const UaPkiSecurityPolicy& policy, const UaByteString& certificate, Limits limits,
                         UaPkiPeerKey& key);

    bool isValid() const { return m_key != nullptr; }
    /// Bytes of a signature, and of an encrypted block: those of the modulus.
    std::size_t blockLength() const { return m_blockLength; }
    /// The most that one block encrypts.
    std::size_t plainBlockLength() const { return m_plainBlockLength; }

    bool verify(UaByteView data, UaByteView signature) const;
    /// Encrypts block by block; the result is empty when that fails.
    std::vector<OpcUa_Byte> encrypt(UaByteView plain) const;

private:
    const UaPkiSecurityPolicy* m_policy = nullptr;
    std::shared_ptr<evp_pkey_st> m_key;
    std::size_t m_blockLength = 0;
    std::size_t m_plainBlockLength = 0;
};

/// A private key of this side, used as one policy demands: signs, and decrypts what was encrypted to it.
class UASDK_EXPORT UaPkiOwnKey {
public:
    UaPkiOwnKey() = default;

    /// BadSecurityChecksFailed when the record holds no RSA private key.
    static UaStatus open(const UaPkiSecurityPolicy& policy, const OpcUa_Key& record, UaPkiOwnKey& key);

    bool isValid() const { return m_key != nullptr; }
    std::size_t blockLength() const { return m_blockLength; }

    /// Empty when it fails.
    std::vector<OpcUa_Byte> sign(UaByteView data) const;
    /// Decrypts block by block; the result is empty when that fails. What it holds is the caller's to wipe.
    std::vector<OpcUa_Byte> decrypt(UaByteView cipher) const;

private:
    const UaPkiSecurityPolicy* m_policy = nullptr;
    std::shared_ptr<evp_pkey_st> m_key;
    std::size_t m_blockLength = 0;
};

/// SHA-1 of a certificate's DER bytes (OPC UA Part 6, 6.7.2.3), without what follows it.
UASDK_EXPORT std::vector<OpcUa_Byte> UaPkiThumbprint(const UaByteString& certificate);

/// False when the system yields no random numbers.
UASDK_EXPORT bool UaPkiRandomBytes(OpcUa_Byte* bytes, std::size_t count);

/// Overwrites what the compiler might take for unused.
UASDK_EXPORT void UaPkiWipe(void* bytes, std::size_t count);
