#pragma once

#include <cstddef>
#include <cstdint>

#include "uabase/byte_view.h"
#include "uabase/status.h"
#include "uapki/security_policy.h"
#include "uapki/symmetric_keys.h"
#include "uastack/protocol_types.h"

namespace UaClientSdk {

/// How the chunks of messages are signed and encrypted under a policy and a mode (OPC UA Part 6, 6.7.2). The
/// keys are a token's.
class ChunkProtection {
public:
    ChunkProtection(const UaPkiSecurityPolicy& policy, OpcUa_MessageSecurityMode mode);

    bool needsKeys() const { return m_signs; }
    /// How much of a message's body fits into a chunk of this size.
    std::size_t bodyRoom(std::size_t chunkSize) const;

    /// Makes a chunk whose headers and `bodySize` bytes of body stand in `chunk` ready to be sent: adds
    /// padding and signature, sets the size in the header, encrypts. Returns its size, 0 when the
    /// cryptography fails.
    std::size_t seal(OpcUa_Byte* chunk, std::size_t bodySize, UaPkiSymmetricKeys& keys) const;

    /// Decrypts in place and verifies. On success `sequenced` is sequence header and body.
    UaStatus open(OpcUa_Byte* chunk, std::size_t size, UaPkiSymmetricKeys& keys, UaByteView& sequenced) const;

private:
    bool m_signs;
    bool m_encrypts;
    std::size_t m_signatureLength;
};

} // namespace UaClientSdk
