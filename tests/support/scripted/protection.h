#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "support/scripted/bytes.h"
#include "support/scripted/identity.h"
#include "uapki/asymmetric_keys.h"
#include "uapki/symmetric_keys.h"

namespace scripted {

/// The server's side of one channel's security (OPC UA Part 6, 6.7).
class Protection {
public:
    /// For the policy and the certificate that the client's first message names.
    Protection(const Identity& own, const std::string& policyUri, const Bytes& clientCertificate);

    bool isValid() const { return m_own.isValid() && m_peer.isValid(); }
    const UaPkiSecurityPolicy& policy() const { return *m_policy; }
    void setEncrypting(bool encrypting) { m_encrypting = encrypting; }
    /// Derives the keys of a token.
    void addToken(std::uint32_t tokenId, const Bytes& clientNonce, const Bytes& serverNonce);

    /// What follows the channel's number in an OPN of the server.
    Bytes asymmetricHeader() const;

    /// A whole chunk, of what stands in the clear and what is to be protected. The size in the header is set.
    Bytes sealAsymmetric(const Bytes& clear, const Bytes& plain) const;
    Bytes sealSymmetric(std::uint32_t tokenId, const Bytes& clear, const Bytes& plain);
    /// The content of a chunk behind its clear part; nothing when it is not what the client protected.
    std::optional<Bytes> openAsymmetric(const Bytes& chunk, std::size_t clearLength) const;
    std::optional<Bytes> openSymmetric(std::uint32_t tokenId, const Bytes& chunk, std::size_t clearLength);

    /// What CreateSession's answer is signed with.
    Bytes sign(const Bytes& data) const;
    bool verify(const Bytes& data, const Bytes& signature) const;
    /// What the client encrypted to this server.
    Bytes decrypt(const Bytes& cipher) const;
    const Bytes& clientCertificate() const { return m_clientCertificate; }

private:
    struct Keys {
        UaPkiSymmetricKeys fromClient;
        UaPkiSymmetricKeys toClient;
    };

    Identity m_identity;
    const UaPkiSecurityPolicy* m_policy;
    Bytes m_clientCertificate;
    UaPkiOwnKey m_own;
    UaPkiPeerKey m_peer;
    bool m_encrypting = false;
    std::map<std::uint32_t, Keys> m_tokens;
};

/// Opens a server's key for a policy; not valid when that fails.
UaPkiOwnKey openKey(const Identity& identity, const UaPkiSecurityPolicy& policy);

} // namespace scripted
