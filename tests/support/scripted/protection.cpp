#include "support/scripted/protection.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "uastack/key.h"

namespace scripted {
namespace {

UaByteView view(const Bytes& bytes) {
    return {reinterpret_cast<const OpcUa_Byte*>(bytes.data()), bytes.size()};
}

Bytes bytesOf(const std::vector<OpcUa_Byte>& bytes) {
    return Bytes(bytes.begin(), bytes.end());
}

UaByteString ownedOf(const Bytes& bytes) {
    return UaByteString(static_cast<int>(bytes.size()), view(bytes).data);
}

/// Sets the size in a chunk's header.
Bytes withSize(Bytes clear, std::size_t size) {
    return clear.replace(4, 4, u32(static_cast<std::uint32_t>(size)));
}

std::size_t roundedUp(std::size_t size, std::size_t block) {
    return (size + block - 1) / block * block;
}

/// Makes `plain` and what will follow it a multiple of the block: padding, and how long it is in one byte or
/// two (OPC UA Part 6, 6.7.2.5).
Bytes padded(const Bytes& plain, std::size_t signatureLength, std::size_t block, bool twoBytes) {
    const std::size_t fixed = plain.size() + (twoBytes ? 2 : 1) + signatureLength;
    const std::size_t padding = roundedUp(fixed, block) - fixed;
    Bytes result = plain + Bytes(padding + 1, static_cast<char>(padding & 0xFF));
    if (twoBytes)
        result += static_cast<char>(padding >> 8);
    return result;
}

std::optional<Bytes> unpadded(const Bytes& content, bool twoBytes) {
    const std::size_t sizes = twoBytes ? 2 : 1;
    if (content.size() < sizes)
        return std::nullopt;
    std::size_t padding = static_cast<unsigned char>(content[content.size() - sizes]);
    if (twoBytes)
        padding += static_cast<std::size_t>(static_cast<unsigned char>(content.back())) << 8;
    if (padding + sizes > content.size())
        return std::nullopt;
    return content.substr(0, content.size() - sizes - padding);
}

constexpr std::size_t longKey = 256;

} // namespace

UaPkiOwnKey openKey(const Identity& identity, const UaPkiSecurityPolicy& policy) {
    OpcUa_Key record;
    OpcUa_Key_Initialize(&record);
    OpcUa_Key_Assign(&record, OpcUa_KeyType_RsaPrivate, view(identity.privateKey).data,
                     identity.privateKey.size());
    UaPkiOwnKey key;
    UaPkiOwnKey::open(policy, record, key);
    OpcUa_Key_Clear(&record);
    return key;
}

Protection::Protection(const Identity& own, const std::string& policyUri, const Bytes& clientCertificate)
    : m_identity(own), m_policy(UaPkiSecurityPolicy::find(UaString(policyUri))),
      m_clientCertificate(clientCertificate) {
    if (m_policy == nullptr) {
        m_policy = &UaPkiSecurityPolicy::none();
        return;
    }
    m_own = openKey(own, *m_policy);
    UaPkiPeerKey::open(*m_policy, ownedOf(clientCertificate), UaPkiPeerKey::Limits::AlreadyDecidedOn, m_peer);
}

void Protection::addToken(std::uint32_t tokenId, const Bytes& clientNonce, const Bytes& serverNonce) {
    m_tokens[tokenId] = {UaPkiSymmetricKeys(*m_policy, view(serverNonce), view(clientNonce)),
                         UaPkiSymmetricKeys(*m_policy, view(clientNonce), view(serverNonce))};
}

Bytes Protection::asymmetricHeader() const {
    return lengthAnd(m_policy->uri) + lengthAnd(m_identity.certificate) +
           lengthAnd(bytesOf(UaPkiThumbprint(ownedOf(m_clientCertificate))));
}

Bytes Protection::sealAsymmetric(const Bytes& clear, const Bytes& plain) const {
    const Bytes content =
        padded(plain, m_own.blockLength(), m_peer.plainBlockLength(), m_peer.blockLength() > longKey);
    const std::size_t blocks = (content.size() + m_own.blockLength()) / m_peer.plainBlockLength();
    const Bytes header = withSize(clear, clear.size() + blocks * m_peer.blockLength());
    const Bytes signature = bytesOf(m_own.sign(view(header + content)));
    return header + bytesOf(m_peer.encrypt(view(content + signature)));
}

Bytes Protection::sealSymmetric(std::uint32_t tokenId, const Bytes& clear, const Bytes& plain) {
    const auto token = m_tokens.find(tokenId);
    if (token == m_tokens.end())
        return withSize(clear, clear.size() + plain.size()) + plain;
    const std::size_t signatureLength = m_policy->signatureLength;
    const Bytes content =
        m_encrypting ? padded(plain, signatureLength, UaPkiSecurityPolicy::encryptionBlockLength, false)
                     : plain;
    const Bytes header = withSize(clear, clear.size() + content.size() + signatureLength);
    Bytes signature(signatureLength, '\0');
    token->second.toClient.sign(view(header + content), reinterpret_cast<OpcUa_Byte*>(signature.data()));
    Bytes body = content + signature;
    if (m_encrypting)
        token->second.toClient.encrypt(reinterpret_cast<OpcUa_Byte*>(body.data()), body.size());
    return header + body;
}

std::optional<Bytes> Protection::openAsymmetric(const Bytes& chunk, std::size_t clearLength) const {
    const Bytes clear = chunk.substr(0, clearLength);
    const Bytes plain = bytesOf(m_own.decrypt(view(chunk.substr(clearLength))));
    if (plain.size() < m_peer.blockLength())
        return std::nullopt;
    const Bytes content = plain.substr(0, plain.size() - m_peer.blockLength());
    if (!m_peer.verify(view(clear + content), view(plain.substr(content.size()))))
        return std::nullopt;
    return unpadded(content, m_own.blockLength() > longKey);
}

std::optional<Bytes> Protection::openSymmetric(std::uint32_t tokenId, const Bytes& chunk,
                                               std::size_t clearLength) {
    const auto token = m_tokens.find(tokenId);
    Bytes body = chunk.substr(clearLength);
    if (token == m_tokens.end() ||
        (m_encrypting &&
         !token->second.fromClient.decrypt(reinterpret_cast<OpcUa_Byte*>(body.data()), body.size())) ||
        body.size() < m_policy->signatureLength) {
        return std::nullopt;
    }
    const Bytes content = body.substr(0, body.size() - m_policy->signatureLength);
    if (!token->second.fromClient.verify(view(chunk.substr(0, clearLength) + content),
                                         view(body.substr(content.size())))) {
        return std::nullopt;
    }
    return m_encrypting ? unpadded(content, false) : content;
}

Bytes Protection::sign(const Bytes& data) const {
    return bytesOf(m_own.sign(view(data)));
}

bool Protection::verify(const Bytes& data, const Bytes& signature) const {
    return m_peer.verify(view(data), view(signature));
}

Bytes Protection::decrypt(const Bytes& cipher) const {
    return bytesOf(m_own.decrypt(view(cipher)));
}

} // namespace scripted
