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
/// signed. Copies share the key; any number of threads may use it at a time.
class UASDK_EXPORT UaPkiPeerKey {
public:
    UaPkiPeerKey() = default;

    /// `certificate` is DER, possibly with its issuers behind it. BadCertificateInvalid when there is none,
    /// or its key is no RSA key; BadCertificatePolicyCheckFailed when the key's length is not within the
    /// policy's limits and `limits` is Enforced, and for a key below 529 or above 16384 bits in any case;
    /// BadInvalidArgument for the policy that protects nothing. `policy` is one of the table's.
    enum class Limits { Enforced, AlreadyDecidedOn };
    static UaStatus open(const UaPkiSecurityPolicy& policy, const UaByteString& certificate, Limits limits,
                         UaPkiPeerKey& key);

    bool isValid() const { return m_key != nullptr; }
    /// Bytes of a signature, and of an encrypted block: those of the modulus.
    std::size_t blockLength() const { return m_blockLength; }
    /// The most that one block encrypts.
    std::size_t plainBlockLength() const { return m_plainBlockLength; }

    /// False for a signature of another length.
    bool verify(UaByteView data, UaByteView signature) const;
    /// Encrypts block by block, the last one possibly shorter before; the result is empty when that fails,
    /// and for an empty text.
    std::vector<OpcUa_Byte> encrypt(UaByteView plain) const;

private:
    const UaPkiSecurityPolicy* m_policy = nullptr;
    std::shared_ptr<evp_pkey_st> m_key;
    std::size_t m_blockLength = 0;
    std::size_t m_plainBlockLength = 0;
};

/// A private key of this side, used as one policy demands: signs, and decrypts what was encrypted to it.
/// Copies share the key; any number of threads may use it at a time.
class UASDK_EXPORT UaPkiOwnKey {
public:
    UaPkiOwnKey() = default;

    /// No more are decrypted at once: each costs half a millisecond and more, and whoever answers
    /// OpenSecureChannel needs a few.
    static constexpr std::size_t mostBlocks = 64;

    /// BadSecurityChecksFailed when the record holds no RSA private key, or one below 529 or above 16384
    /// bits; BadInvalidArgument for the policy that protects nothing. `policy` is one of the table's.
    /// Decoding takes its time: keep the key rather than the record.
    static UaStatus open(const UaPkiSecurityPolicy& policy, const OpcUa_Key& record, UaPkiOwnKey& key);

    bool isValid() const { return m_key != nullptr; }
    /// Bytes of a signature, and of an encrypted block: those of the modulus.
    std::size_t blockLength() const { return m_blockLength; }

    /// Empty when it fails.
    std::vector<OpcUa_Byte> sign(UaByteView data) const;
    /// Decrypts block by block; what it holds is the caller's to wipe. Empty, whatever the reason, when the
    /// length is no multiple of the block length, there are more than mostBlocks, or a block's padding is
    /// wrong. All blocks but the last are full ones. The last may hold anything: a wrong padding according to
    /// PKCS #1 is not always seen, so that nobody can ask for it. Judge by the signature alone.
    std::vector<OpcUa_Byte> decrypt(UaByteView cipher) const;

private:
    const UaPkiSecurityPolicy* m_policy = nullptr;
    std::shared_ptr<evp_pkey_st> m_key;
    std::size_t m_blockLength = 0;
};

/// SHA-1 of a certificate's DER bytes (OPC UA Part 6, 6.7.2.3), without what follows it. Empty when
/// nothing begins like a certificate; what is in it is not looked at.
UASDK_EXPORT std::vector<OpcUa_Byte> UaPkiThumbprint(const UaByteString& certificate);

/// False when the system yields no random numbers.
UASDK_EXPORT bool UaPkiRandomBytes(OpcUa_Byte* bytes, std::size_t count);

/// Overwrites what the compiler might take for unused.
UASDK_EXPORT void UaPkiWipe(void* bytes, std::size_t count);
