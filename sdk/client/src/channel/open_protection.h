#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "channel/channel_security.h"
#include "channel/chunk_reader.h"
#include "uabase/byte_view.h"
#include "uabase/status.h"
#include "uapki/asymmetric_keys.h"

namespace UaClientSdk {

/// How the messages that open and renew a channel are protected: signed and encrypted with the keys of the
/// two certificates (OPC UA Part 6, 6.7.2.3 and 6.7.4). Each is one chunk.
class OpenProtection {
public:
    /// Bad when a key cannot be used. Nothing has been sent then.
    UaStatus prepare(const ChannelSecurity& security);

    /// Makes the chunk that carries `body`. Empty when the cryptography fails.
    std::vector<OpcUa_Byte> seal(std::uint32_t channelId, std::uint32_t sequenceNumber,
                                 std::uint32_t requestId, UaByteView body) const;

    /// Checks that the chunk has the channel's policy and comes from the server that was decided on. On
    /// success `sequenced` is sequence header and body, in `plain` if the channel is secured.
    UaStatus open(const Chunk& chunk, std::vector<OpcUa_Byte>& plain, UaByteView& sequenced) const;

private:
    bool isSecured() const { return m_peer.isValid(); }
    UaStatus checkHeader(UaByteView policy, UaByteView sender, UaByteView receiver) const;
    std::size_t paddingFor(std::size_t unpadded) const;

    UaByteView m_policyUri;
    UaByteString m_ownCertificate;
    UaByteString m_serverCertificate;
    std::vector<OpcUa_Byte> m_ownThumbprint;
    std::vector<OpcUa_Byte> m_serverThumbprint;
    UaPkiOwnKey m_own;
    UaPkiPeerKey m_peer;
};

} // namespace UaClientSdk
