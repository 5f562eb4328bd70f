// Stands in for the RSA keys of the two sides, which take longer than all the rest of a channel. Whoever has
// a key signs and decrypts alike; blocks and padding are as with RSA, of 72 bytes or, where the policy is one
// with SHA-256, of 512.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "uapki/asymmetric_keys.h"

namespace {

using Bytes = std::vector<OpcUa_Byte>;

constexpr std::size_t overhead = 11;
constexpr OpcUa_Byte mask = 0xa5;

std::size_t blockLengthOf(const UaPkiSecurityPolicy& policy) {
    return policy.digest == UaPkiSecurityPolicy::Digest::Sha256 ? 512 : 72;
}

/// Tells only that there is a key.
std::shared_ptr<evp_pkey_st> anyKey() {
    static OpcUa_Byte key = 0;
    return {std::shared_ptr<void>(), reinterpret_cast<evp_pkey_st*>(&key)};
}

Bytes signatureOf(UaByteView data, std::size_t length) {
    std::uint64_t hash = 0xcbf29ce484222325;
    for (std::size_t i = 0; i < data.size; ++i)
        hash = (hash ^ data.data[i]) * 0x100000001b3;
    Bytes signature(length);
    for (OpcUa_Byte& byte : signature) {
        hash = (hash ^ length) * 0x100000001b3;
        byte = static_cast<OpcUa_Byte>(hash >> 32U);
    }
    return signature;
}

void flip(Bytes& block) {
    for (OpcUa_Byte& byte : block)
        byte ^= mask;
}

} // namespace

UaStatus UaPkiOwnKey::open(const UaPkiSecurityPolicy& policy, const OpcUa_Key&, UaPkiOwnKey& key) {
    key.m_policy = &policy;
    key.m_key = anyKey();
    key.m_blockLength = blockLengthOf(policy);
    return OpcUa_Good;
}

Bytes UaPkiOwnKey::sign(UaByteView data) const {
    return signatureOf(data, m_blockLength);
}

Bytes UaPkiOwnKey::decrypt(UaByteView cipher) const {
    if (cipher.size == 0 || cipher.size % m_blockLength != 0 || cipher.size / m_blockLength > mostBlocks)
        return {};
    Bytes plain;
    for (UaByteView rest = cipher; rest.size > 0; rest = rest.from(m_blockLength)) {
        Bytes block(rest.data, rest.data + m_blockLength);
        flip(block);
        const std::size_t unused = block[0] + std::size_t{256} * block[1];
        const std::size_t full = m_blockLength - overhead;
        if (unused > full || (unused > 0 && rest.size > m_blockLength))
            return {};
        const auto begin = block.begin() + overhead;
        const auto end = block.end() - static_cast<std::ptrdiff_t>(unused);
        const auto isZero = [](OpcUa_Byte byte) { return byte == 0; };
        if (!std::all_of(block.begin() + 2, begin, isZero) || !std::all_of(end, block.end(), isZero))
            return {};
        plain.insert(plain.end(), begin, end);
    }
    return plain;
}

UaStatus UaPkiPeerKey::open(const UaPkiSecurityPolicy& policy, const UaByteString&, Limits,
                            UaPkiPeerKey& key) {
    key.m_policy = &policy;
    key.m_key = anyKey();
    key.m_blockLength = blockLengthOf(policy);
    key.m_plainBlockLength = key.m_blockLength - overhead;
    return OpcUa_Good;
}

bool UaPkiPeerKey::verify(UaByteView data, UaByteView signature) const {
    const Bytes expected = signatureOf(data, m_blockLength);
    return std::equal(expected.begin(), expected.end(), signature.data, signature.data + signature.size);
}

Bytes UaPkiPeerKey::encrypt(UaByteView plain) const {
    Bytes cipher;
    while (plain.size > 0) {
        const UaByteView part = plain.first(std::min(plain.size, m_plainBlockLength));
        const std::size_t unused = m_plainBlockLength - part.size;
        Bytes block{static_cast<OpcUa_Byte>(unused), static_cast<OpcUa_Byte>(unused >> 8U)};
        block.resize(overhead);
        block.insert(block.end(), part.data, part.data + part.size);
        block.resize(m_blockLength);
        flip(block);
        cipher.insert(cipher.end(), block.begin(), block.end());
        plain = plain.from(part.size);
    }
    return cipher;
}
