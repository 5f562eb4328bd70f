#pragma once

#include <cstdint>
#include <vector>

#include "channel/channel_security.h"
#include "channel/chunk_protection.h"
#include "channel/open_protection.h"
#include "uapki/symmetric_keys.h"

using Bytes = std::vector<OpcUa_Byte>;

inline UaByteView viewOf(const Bytes& bytes) {
    return {bytes.data(), bytes.size()};
}

/// How the two sides of a channel are secured. The certificates are those of tests/fuzz/identities;
/// toy_keys.cpp stands in for their keys.
struct ChannelSides {
    /// The name of the policy is null for a channel without security.
    ChannelSides(const char* policy, OpcUa_MessageSecurityMode mode);

    UaClientSdk::ChannelSecurity client;
    UaClientSdk::ChannelSecurity server;
    UaClientSdk::OpenProtection serverOpens;
    UaPkiOwnKey serverKey;
    UaPkiPeerKey clientKey;
};

/// The server's side of a channel: makes the chunks that it may send, and others that are as well protected.
class ChannelPeer {
public:
    struct Token {
        std::uint32_t id = 0;
        UaPkiSymmetricKeys keys;
    };
    struct Place {
        std::uint32_t channelId = 0;
        std::uint32_t sequenceNumber = 0;
        std::uint32_t requestId = 0;
    };

    explicit ChannelPeer(const ChannelSides& sides)
        : m_sides(sides), m_protection(*sides.server.policy, sides.server.mode) {}

    bool isSecured() const { return !m_sides.server.isNone(); }
    /// Bytes of a nonce of this policy.
    Bytes nonce() const { return Bytes(m_sides.server.policy->nonceLength, 0x5e); }
    /// What the client's last nonce and nonce() give.
    Token token(std::uint32_t id) const;
    const UaByteString& certificate() const { return m_sides.server.ownCertificate; }

    static Bytes acknowledge();
    /// `position` is F, C or A.
    Bytes message(char position, Token& token, const Place& place, UaByteView content) const;
    /// As it is up to the signature: whoever calls sees to the padding, and may do so wrongly.
    Bytes bareMessage(char position, Token& token, const Place& place, UaByteView content) const;
    Bytes open(const Place& place, UaByteView body) const;
    /// As it is up to the signature, likewise.
    Bytes bareOpen(const Place& place, UaByteView content) const;
    /// Whether the count of padding at the content's end is no more than there is.
    bool isPadded(UaByteView content) const;
    /// From whoever these bytes call themselves.
    Bytes openFrom(UaByteView sender, const Place& place, UaByteView body) const;

private:
    const ChannelSides& m_sides;
    const UaClientSdk::ChunkProtection m_protection;
};
