#pragma once

#include <cstddef>
#include <memory>

#include "uabase/byte_view.h"
#include "uapki/security_policy.h"
#include "uastack/export.h"

/// The keys of one direction of a secure channel, for one token (OPC UA Part 6, 6.7.5). Movable. Wiped when
/// they go. Only one thread at a time may use them.
class UASDK_EXPORT UaPkiSymmetricKeys {
public:
    UaPkiSymmetricKeys();
    /// Derives them from the nonces. What the client sends is protected with secret = server nonce and seed =
    /// client nonce, what the server sends with the two exchanged. Not valid when the cryptography fails, a
    /// nonce is empty, or the policy protects nothing.
    UaPkiSymmetricKeys(const UaPkiSecurityPolicy& policy, UaByteView secret, UaByteView seed);
    ~UaPkiSymmetricKeys();
    UaPkiSymmetricKeys(UaPkiSymmetricKeys&&) noexcept;
    UaPkiSymmetricKeys& operator=(UaPkiSymmetricKeys&&) noexcept;

    bool isValid() const { return m_keys != nullptr; }

    /// Writes policy.signatureLength bytes.
    bool sign(UaByteView data, OpcUa_Byte* signature);
    /// False for a signature of another length. Takes as long wherever the first wrong byte is.
    bool verify(UaByteView data, UaByteView signature);
    /// In place. False when `size` is no multiple of the block length. Every chunk begins with the derived
    /// vector.
    bool encrypt(OpcUa_Byte* data, std::size_t size);
    bool decrypt(OpcUa_Byte* data, std::size_t size);

private:
    struct Keys;
    std::unique_ptr<Keys> m_keys;
};
