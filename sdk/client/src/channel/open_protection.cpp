#include "channel/open_protection.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "channel/refusal.h"
#include "encoding/wire.h"
#include "uapki/certificate.h"

namespace UaClientSdk {
namespace {

/// Keys of more than 2048 bits encrypt blocks whose padding one byte cannot count.
constexpr std::size_t longestBlockWithOneByte = 256;

bool areEqual(UaByteView a, UaByteView b) {
    return a.size == b.size && (a.size == 0 || std::memcmp(a.data, b.data, a.size) == 0);
}

UaByteView viewOf(const std::vector<OpcUa_Byte>& bytes) {
    return {bytes.data(), bytes.size()};
}

OpcUa_Byte* writeString(OpcUa_Byte* target, UaByteView bytes) {
    constexpr std::uint32_t null = UINT32_MAX;
    target = writeUInt32(target, bytes.size > 0 ? static_cast<std::uint32_t>(bytes.size) : null);
    return writeBytes(target, bytes.data, bytes.size);
}

std::size_t paddingSizeLengthOf(std::size_t blockLength) {
    return blockLength > longestBlockWithOneByte ? 2 : 1;
}

/// Padding, with the count of its bytes in front and the count's upper half behind where the key is long.
void appendPadding(std::vector<OpcUa_Byte>& plain, std::size_t padding, std::size_t blockLength) {
    plain.insert(plain.end(), padding + 1, static_cast<OpcUa_Byte>(padding));
    if (paddingSizeLengthOf(blockLength) == 2)
        plain.push_back(static_cast<OpcUa_Byte>(padding >> 8U));
}

/// Cuts padding and its count off. False when there is less than that.
bool dropPadding(std::size_t& size, const OpcUa_Byte* plain, std::size_t blockLength) {
    const std::size_t countLength = paddingSizeLengthOf(blockLength);
    if (size < sequenceHeaderLength + countLength)
        return false;
    std::size_t padding = plain[size - 1];
    if (countLength == 2)
        padding = padding << 8U | plain[size - 2];
    if (size < sequenceHeaderLength + countLength + padding)
        return false;
    size -= countLength + padding;
    return true;
}

} // namespace

UaStatus OpenProtection::prepare(const ChannelSecurity& security) {
    m_policyUri = {reinterpret_cast<const OpcUa_Byte*>(security.policy->uri),
                   std::strlen(security.policy->uri)};
    if (security.isNone())
        return UaStatus();
    m_ownCertificate = security.ownCertificate;
    m_serverCertificate = security.serverCertificate;
    m_ownThumbprint = UaPkiThumbprint(m_ownCertificate);
    m_serverThumbprint = UaPkiThumbprint(m_serverCertificate);
    const UaStatus status = UaPkiPeerKey::open(*security.policy, m_serverCertificate,
                                               UaPkiPeerKey::Limits::AlreadyDecidedOn, m_peer);
    if (status.isBad())
        return status;
    return security.ownKey != nullptr ? UaPkiOwnKey::open(*security.policy, *security.ownKey, m_own)
                                      : UaStatus(UA_STATUSCODE_BADSECURITYCHECKSFAILED);
}

std::size_t OpenProtection::paddingFor(std::size_t unpadded) const {
    const std::size_t block = m_peer.plainBlockLength();
    return (block - unpadded % block) % block;
}

std::vector<OpcUa_Byte> OpenProtection::seal(std::uint32_t channelId, std::uint32_t sequenceNumber,
                                             std::uint32_t requestId, UaByteView body) const {
    const UaByteView certificate(m_ownCertificate.view());
    const std::size_t headerLength = channelHeaderLength + 3 * uint32Length + m_policyUri.size +
                                     certificate.size + m_serverThumbprint.size();
    std::vector<OpcUa_Byte> chunk(headerLength + sequenceHeaderLength);
    // It holds the nonce until it is encrypted, and must not leave that behind by growing.
    chunk.reserve(chunk.size() + body.size + m_peer.plainBlockLength() + m_peer.blockLength() +
                  m_own.blockLength());
    OpcUa_Byte* target = writeBytes(chunk.data(), "OPNF", 4) + 4; // the size comes last
    target = writeUInt32(target, channelId);
    target = writeString(target, m_policyUri);
    target = writeString(target, certificate);
    target = writeString(target, viewOf(m_serverThumbprint));
    target = writeUInt32(target, sequenceNumber);
    writeUInt32(target, requestId);
    chunk.insert(chunk.end(), body.data, body.data + body.size);
    if (!isSecured()) {
        writeUInt32(chunk.data() + 4, static_cast<std::uint32_t>(chunk.size()));
        return chunk;
    }

    const std::size_t signatureLength = m_own.blockLength();
    const std::size_t unpadded =
        chunk.size() - headerLength + paddingSizeLengthOf(m_peer.blockLength()) + signatureLength;
    const std::size_t padding = paddingFor(unpadded);
    appendPadding(chunk, padding, m_peer.blockLength());
    // What is signed holds the size that the chunk will have.
    const std::size_t blocks = (unpadded + padding) / m_peer.plainBlockLength();
    writeUInt32(chunk.data() + 4, static_cast<std::uint32_t>(headerLength + blocks * m_peer.blockLength()));
    const std::vector<OpcUa_Byte> signature = m_own.sign(viewOf(chunk));
    if (signature.size() != signatureLength)
        return {};
    chunk.insert(chunk.end(), signature.begin(), signature.end());
    const std::vector<OpcUa_Byte> cipher = m_peer.encrypt(viewOf(chunk).from(headerLength));
    UaPkiWipe(chunk.data() + headerLength, chunk.size() - headerLength);
    if (cipher.size() != blocks * m_peer.blockLength())
        return {};
    chunk.resize(headerLength);
    chunk.insert(chunk.end(), cipher.begin(), cipher.end());
    return chunk;
}

UaStatus OpenProtection::checkHeader(UaByteView policy, UaByteView sender, UaByteView receiver) const {
    if (!areEqual(policy, m_policyUri))
        return UA_STATUSCODE_BADSECURITYPOLICYREJECTED;
    if (!isSecured())
        return UaStatus();
    // The server may send its issuers behind its own certificate.
    const UaPkiCertificate shown =
        UaPkiCertificate::fromDER(UaByteString(static_cast<int>(sender.size), sender.data));
    if (shown.toDER() != m_serverCertificate) {
        return refuse(UA_STATUSCODE_BADCERTIFICATEUNTRUSTED,
                      "the server shows another certificate than the one that was decided on: " +
                          shown.description().text());
    }
    return areEqual(receiver, viewOf(m_ownThumbprint)) ? UaStatus()
                                                       : UaStatus(UA_STATUSCODE_BADSECURITYCHECKSFAILED);
}

UaStatus OpenProtection::open(const Chunk& chunk, std::vector<OpcUa_Byte>& plain,
                              UaByteView& sequenced) const {
    WireReader header(chunk.view().from(channelHeaderLength));
    UaByteView policy;
    UaByteView sender;
    UaByteView receiver;
    if (!header.readString(policy) || !header.readString(sender) || !header.readString(receiver))
        return UA_STATUSCODE_BADDECODINGERROR;
    const UaStatus status = checkHeader(policy, sender, receiver);
    if (status.isBad())
        return status;
    if (!isSecured()) {
        sequenced = header.rest();
        return sequenced.size >= sequenceHeaderLength ? UaStatus() : UaStatus(UA_STATUSCODE_BADDECODINGERROR);
    }

    const UaStatus refused = UA_STATUSCODE_BADSECURITYCHECKSFAILED;
    std::vector<OpcUa_Byte> decrypted = m_own.decrypt(header.rest());
    const std::size_t signatureLength = m_peer.blockLength();
    if (decrypted.size() < sequenceHeaderLength + signatureLength) {
        UaPkiWipe(decrypted.data(), decrypted.size());
        return refused;
    }
    const std::size_t headerLength = chunk.size - header.rest().size;
    plain.reserve(headerLength + decrypted.size());
    plain.assign(chunk.data, chunk.data + headerLength);
    plain.insert(plain.end(), decrypted.begin(), decrypted.end());
    std::size_t size = decrypted.size() - signatureLength;
    UaPkiWipe(decrypted.data(), decrypted.size());
    const UaByteView whole = viewOf(plain);
    if (!m_peer.verify(whole.first(headerLength + size), whole.from(headerLength + size)) ||
        !dropPadding(size, plain.data() + headerLength, m_own.blockLength())) {
        return refused;
    }
    sequenced = whole.from(headerLength).first(size);
    return UaStatus();
}

} // namespace UaClientSdk
