#include "channel_peer.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <ios>
#include <iterator>
#include <string>

#include "encoding/wire.h"
#include "fixed_nonces.h"
#include "fuzz_target.h"

using namespace UaClientSdk;

namespace {

constexpr std::size_t block = UaPkiSecurityPolicy::encryptionBlockLength;

UaByteString contentOf(const std::string& name) {
    std::ifstream file(FUZZ_IDENTITIES "/" + name, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    require(!content.empty(), "the fixed identities can be read");
    return {static_cast<int>(content.size()), reinterpret_cast<const OpcUa_Byte*>(content.data())};
}

void append(Bytes& bytes, UaByteView more) {
    bytes.insert(bytes.end(), more.data, more.data + more.size);
}

void appendNumber(Bytes& bytes, std::size_t number) {
    std::array<OpcUa_Byte, 4> encoded{};
    writeUInt32(encoded.data(), static_cast<std::uint32_t>(number));
    append(bytes, {encoded.data(), encoded.size()});
}

void appendString(Bytes& bytes, UaByteView text) {
    appendNumber(bytes, text.size);
    append(bytes, text);
}

Bytes headerOf(const char* kind, char position, std::uint32_t channelId) {
    Bytes bytes(kind, kind + 3);
    bytes.push_back(static_cast<OpcUa_Byte>(position));
    appendNumber(bytes, 0); // the size comes last
    appendNumber(bytes, channelId);
    return bytes;
}

void appendSequenceHeader(Bytes& bytes, const ChannelPeer::Place& place) {
    appendNumber(bytes, place.sequenceNumber);
    appendNumber(bytes, place.requestId);
}

void setSize(Bytes& bytes, std::size_t size) {
    writeUInt32(bytes.data() + 4, static_cast<std::uint32_t>(size));
}

} // namespace

ChannelSides::ChannelSides(const char* policy, OpcUa_MessageSecurityMode mode) {
    if (policy == nullptr) {
        require(serverOpens.prepare(server).isGood(), "nothing can be wrong without security");
        return;
    }
    const std::string uri = std::string("http://opcfoundation.org/UA/SecurityPolicy#") + policy;
    client.policy = server.policy = UaPkiSecurityPolicy::find(uri);
    client.mode = server.mode = mode;
    client.ownCertificate = server.serverCertificate = contentOf("client.der");
    server.ownCertificate = client.serverCertificate = contentOf("server.der");
    static const OpcUa_Key key{};
    client.ownKey = server.ownKey = &key;
    require(serverOpens.prepare(server).isGood() &&
                UaPkiOwnKey::open(*server.policy, *server.ownKey, serverKey).isGood() &&
                UaPkiPeerKey::open(*server.policy, client.ownCertificate,
                                   UaPkiPeerKey::Limits::AlreadyDecidedOn, clientKey)
                    .isGood(),
            "the fixed identities can be used");
}

ChannelPeer::Token ChannelPeer::token(std::uint32_t id) const {
    Token token;
    token.id = id;
    if (isSecured())
        token.keys = UaPkiSymmetricKeys(*m_sides.server.policy, lastNonce(), viewOf(nonce()));
    return token;
}

Bytes ChannelPeer::acknowledge() {
    Bytes bytes = headerOf("ACK", 'F', 0); // the version has the channel's place
    for (const std::size_t limit : {largestChunk, largestChunk, std::size_t(0), std::size_t(0)})
        appendNumber(bytes, limit);
    setSize(bytes, bytes.size());
    return bytes;
}

Bytes ChannelPeer::message(char position, Token& token, const Place& place, UaByteView content) const {
    Bytes bytes = headerOf("MSG", position, place.channelId);
    appendNumber(bytes, token.id);
    appendSequenceHeader(bytes, place);
    append(bytes, content);
    bytes.resize(bytes.size() + block + m_sides.server.policy->signatureLength);
    bytes.resize(m_protection.seal(bytes.data(), content.size, token.keys));
    require(!bytes.empty(), "a message can be protected");
    return bytes;
}

Bytes ChannelPeer::bareMessage(char position, Token& token, const Place& place, UaByteView content) const {
    Bytes bytes = headerOf("MSG", position, place.channelId);
    appendNumber(bytes, token.id);
    appendSequenceHeader(bytes, place);
    append(bytes, content);
    if (!isSecured()) {
        setSize(bytes, bytes.size());
        return bytes;
    }
    const bool encrypts = m_sides.server.mode == OpcUa_MessageSecurityMode_SignAndEncrypt;
    const std::size_t signatureLength = m_sides.server.policy->signatureLength;
    while (encrypts && (bytes.size() - symmetricHeaderLength + signatureLength) % block != 0)
        bytes.insert(bytes.begin() + symmetricHeaderLength + sequenceHeaderLength, 0);
    const std::size_t signedSize = bytes.size();
    bytes.resize(signedSize + signatureLength);
    setSize(bytes, bytes.size());
    require(token.keys.sign({bytes.data(), signedSize}, bytes.data() + signedSize),
            "a message can be signed");
    require(!encrypts || token.keys.encrypt(bytes.data() + symmetricHeaderLength,
                                            bytes.size() - symmetricHeaderLength),
            "a message can be encrypted");
    return bytes;
}

Bytes ChannelPeer::open(const Place& place, UaByteView body) const {
    return m_sides.serverOpens.seal(place.channelId, place.sequenceNumber, place.requestId, body);
}

Bytes ChannelPeer::bareOpen(const Place& place, UaByteView content) const {
    Bytes bytes = headerOf("OPN", 'F', place.channelId);
    const char* const uri = m_sides.server.policy->uri;
    appendString(bytes, {reinterpret_cast<const OpcUa_Byte*>(uri), std::strlen(uri)});
    appendString(bytes, m_sides.server.ownCertificate.view());
    appendString(bytes, viewOf(UaPkiThumbprint(m_sides.client.ownCertificate)));
    const std::size_t headerLength = bytes.size();
    appendSequenceHeader(bytes, place);
    append(bytes, content);
    setSize(bytes, bytes.size());
    if (!isSecured())
        return bytes;
    const UaPkiPeerKey& key = m_sides.clientKey;
    const std::size_t plain = bytes.size() - headerLength + m_sides.serverKey.blockLength();
    const std::size_t blocks = (plain + key.plainBlockLength() - 1) / key.plainBlockLength();
    setSize(bytes, headerLength + blocks * key.blockLength());
    append(bytes, viewOf(m_sides.serverKey.sign(viewOf(bytes))));
    const Bytes cipher = key.encrypt(viewOf(bytes).from(headerLength));
    bytes.resize(headerLength);
    append(bytes, viewOf(cipher));
    return bytes;
}

bool ChannelPeer::isPadded(UaByteView content) const {
    constexpr std::size_t longestBlockWithOneByte = 256;
    const std::size_t countLength = m_sides.clientKey.blockLength() > longestBlockWithOneByte ? 2 : 1;
    if (!isSecured() || content.size < countLength)
        return !isSecured();
    const OpcUa_Byte* const end = content.data + content.size;
    const std::size_t padding = countLength == 1 ? end[-1] : end[-1] * std::size_t{256} + end[-2];
    return content.size >= countLength + padding;
}

Bytes ChannelPeer::openFrom(UaByteView sender, const Place& place, UaByteView body) const {
    ChannelSecurity security = m_sides.server;
    security.ownCertificate = UaByteString(static_cast<int>(sender.size), sender.data);
    OpenProtection protection;
    require(protection.prepare(security).isGood(), "a certificate of one's own is only sent");
    return protection.seal(place.channelId, place.sequenceNumber, place.requestId, body);
}
