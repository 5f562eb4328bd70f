#include "channel_script.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <utility>

#include <open62541/types_generated_handling.h>

#include "channel/sequence_number.h"
#include "encoding/type_id.h"
#include "encoding/wire.h"
#include "fed_socket.h"
#include "fixed_nonces.h"
#include "fuzz_target.h"
#include "support/allocation_counter.h"

using namespace UaClientSdk;

namespace {

constexpr unsigned int ownGreeting = 1;
constexpr unsigned int ownOpening = 2;
constexpr std::size_t mostFed = std::size_t{256} << 10;
/// Each costs the reading of a certificate and the derivation of keys.
constexpr unsigned int mostOpens = 4;
constexpr std::size_t mostTokens = 8;
constexpr unsigned int mostUnaskedOpens = 3;
/// That single bytes may arrive is a matter for the target chunk_reader.
constexpr std::size_t fewestAtOnce = 6;
constexpr std::uint32_t anHour = 3600000;

constexpr char positions[] = {'F', 'C', 'A'};

class NoRoom : public RoomToSend {
public:
    UaStatus wait() override { return UA_STATUSCODE_BADTIMEOUT; }
};

/// The sequence number that a server may go on with after the last one, by its own choice.
bool mayStartAnew(std::uint32_t sequenceNumber) {
    return sequenceNumber >= lastBeforeNewStart;
}

std::uint32_t following(std::uint32_t sequenceNumber) {
    return mayStartAnew(sequenceNumber) ? 1 : sequenceNumber + 1;
}

Bytes openAnswer(std::uint32_t channelId, std::uint32_t tokenId, std::uint32_t lifetime, Bytes nonce) {
    const UA_DataType& type = UA_TYPES[UA_TYPES_OPENSECURECHANNELRESPONSE];
    UA_OpenSecureChannelResponse answer{};
    answer.securityToken.channelId = channelId;
    answer.securityToken.tokenId = tokenId;
    answer.securityToken.revisedLifetime = lifetime;
    answer.serverNonce = {nonce.size(), nonce.data()};
    Bytes body(typeIdLength + UA_calcSizeBinary(&answer, &type));
    writeTypeId(body.data(), type);
    UA_ByteString rest{body.size() - typeIdLength, body.data() + typeIdLength};
    require(UA_encodeBinary(&answer, &type, &rest) == UA_STATUSCODE_GOOD, "an answer can be encoded");
    return body;
}

bool beginsWith(UaByteView bytes, const UaByteString& front) {
    const auto length = static_cast<std::size_t>(front.length());
    return bytes.size >= length && std::equal(front.data(), front.data() + length, bytes.data);
}

} // namespace

const ChannelScript::Record ChannelScript::serverRecords[] = {
    &ChannelScript::sendRaw,         &ChannelScript::sendMessage,
    &ChannelScript::sendBareMessage, &ChannelScript::sendMisplacedMessage,
    &ChannelScript::sendOpen,        &ChannelScript::sendOpenBody,
    &ChannelScript::sendBareOpen,    &ChannelScript::sendOpenFrom,
    &ChannelScript::damageNext,
};
const ChannelScript::Record ChannelScript::clientRecords[] = {&ChannelScript::renew, &ChannelScript::request};

ChannelScript::ChannelScript(const ChannelSides& sides, Input input)
    : m_peer(sides), m_input(input), m_channel(sides.client, anHour),
      m_flags(m_input.number<std::uint8_t>()) {
    startNonces();
    const std::size_t mostAtOnce = m_input.number<std::uint8_t>();
    FedSocket::instance().reset(mostAtOnce > 0 ? mostAtOnce + fewestAtOnce : 0, [this] { answerOpening(); });
    const std::uint32_t start = m_input.number<std::uint8_t>();
    m_sequenceNumber = start == 0 ? 0 : lastBeforeNewStart - start / 2;
}

void ChannelScript::run() {
    openChannel();
    while (m_isOpen && !m_hasFailed) {
        readArrived();
        if (m_hasFailed || !step())
            break;
    }
    if (m_isOpen) {
        m_channel.sendClose(++m_requestId);
        checkSent();
    }
    require(m_memory <= 8 * m_fed + (std::size_t{16} << 20), "memory is bounded");
}

/// False at the script's end.
bool ChannelScript::step() {
    if (m_input.isEmpty())
        return false;
    const std::size_t which =
        m_input.number<std::uint8_t>() % (std::size(serverRecords) + std::size(clientRecords));
    if (which >= std::size(serverRecords)) {
        if (m_isOpen)
            (this->*clientRecords[which - std::size(serverRecords)])();
    } else if (m_fed < mostFed) {
        (this->*serverRecords[which])();
    }
    return true;
}

// ---- What the channel makes of it

/// The channel waits for an answer to its greeting, or to its request to be opened.
void ChannelScript::answerOpening() {
    if (!m_isGreeted) {
        m_isGreeted = true;
        if ((m_flags & ownGreeting) == 0) {
            send(ChannelPeer::acknowledge());
            return;
        }
        expect(Outlook::Unknown);
    }
    if ((m_flags & ownOpening) == 0 && m_tokens.empty()) {
        sendOpenAnswer(1, 0);
        return;
    }
    while (!FedSocket::instance().hasArrived() && step()) {
    }
}

void ChannelScript::openChannel() {
    UaStatus status;
    m_memory += test_support::bytesAllocatedDuring([&] {
        const Deadline deadline(anHour);
        status = m_channel.open(UaString("opc.tcp://plant"), "192.0.2.7", 4840, deadline, deadline);
    });
    m_isOpen = status.isGood();
    checkSent();
    require(m_outlook == Outlook::Unknown || m_isOpen == (m_outlook == Outlook::Certain && !m_tokens.empty()),
            "a channel is open exactly when the server has opened it");
}

void ChannelScript::readArrived() {
    FedSocket& socket = FedSocket::instance();
    m_memory += test_support::bytesAllocatedDuring([&] {
        readMessages();
        while (!m_hasFailed && socket.hasArrived()) {
            std::size_t count = 0;
            require(m_channel.receive(count).isGood() && count > 0, "what has arrived is received");
            readMessages();
        }
    });
    compare();
}

void ChannelScript::readMessages() {
    for (bool found = true; found;) {
        IncomingMessage message;
        m_hasFailed = m_channel.next(message, found).isBad();
        require(!m_hasFailed || !found, "a channel that is of no use gives out nothing");
        if (found) {
            const UaByteView& body = message.body;
            m_received.push_back(
                {message.requestId, message.status.isBad(), Bytes(body.data, body.data + body.size)});
        }
    }
}

void ChannelScript::compare() {
    require(m_outlook == Outlook::Unknown || m_received == m_expected, "what was sent is given out");
    require(m_outlook != Outlook::Certain || !m_hasFailed, "nothing is wrong with the channel");
    require(m_outlook != Outlook::Ended || m_hasFailed, "the channel is of no more use");
    m_received.clear();
    m_expected.clear();
}

void ChannelScript::checkSent() const {
    const Bytes sent = FedSocket::instance().takeSent();
    std::size_t position = 0;
    while (position < sent.size()) {
        require(sent.size() - position >= messageHeaderLength, "what is sent are chunks");
        const std::size_t size = readUInt32(sent.data() + position + 4);
        require(size > messageHeaderLength && size <= largestChunk, "a chunk is no larger than said");
        position += size;
    }
    require(position == sent.size(), "chunks are sent whole");
}

void ChannelScript::expect(Outlook outlook) {
    if (m_outlook == Outlook::Certain)
        m_outlook = outlook;
}

void ChannelScript::expectMessage(char position, std::uint32_t requestId, UaByteView content) {
    if (m_outlook != Outlook::Certain)
        return;
    const bool isMixed = m_pieceCount > 0 && requestId != m_pieces.requestId;
    if (isMixed || (position == 'C' && content.size == 0) ||
        (position != 'A' && m_pieceCount == SecureChannel::mostChunks)) {
        expect(Outlook::Ended);
        return;
    }
    m_pieces.requestId = requestId;
    m_pieces.body.insert(m_pieces.body.end(), content.data, content.data + content.size);
    ++m_pieceCount;
    if (position == 'C')
        return;
    if (position == 'A')
        m_pieces = {requestId, true, {}};
    m_expected.push_back(m_pieces);
    m_pieces = {};
    m_pieceCount = 0;
}

void ChannelScript::expectOpen(Token token, bool isGood) {
    if (m_awaitedOpen == 0) {
        if (++m_unaskedOpens > mostUnaskedOpens)
            expect(Outlook::Ended);
        return;
    }
    if (!isGood) {
        expect(Outlook::Ended);
        return;
    }
    m_awaitedOpen = 0;
    m_tokens.erase(std::remove_if(m_tokens.begin(), m_tokens.end(),
                                  [&token](const Token& known) { return known.id == token.id; }),
                   m_tokens.end());
    m_tokens.push_front(std::move(token));
    m_tokens.resize(std::min(m_tokens.size(), mostTokens));
}

// ---- What the server does

void ChannelScript::send(Bytes chunk) {
    if (m_damage != 0) {
        chunk[m_damagedByte % chunk.size()] ^= m_damage;
        m_damage = 0;
        expect(m_peer.isSecured() ? Outlook::Silent : Outlook::Unknown);
    }
    m_fed += chunk.size();
    FedSocket::instance().arrive(viewOf(chunk));
}

ChannelPeer::Place ChannelScript::nextPlace(std::uint32_t requestId) {
    m_sequenceNumber = following(m_sequenceNumber);
    return {m_channelId, m_sequenceNumber, requestId};
}

bool ChannelScript::mayOpen() {
    return !m_peer.isSecured() || ++m_opens <= mostOpens;
}

/// Bytes as they are.
void ChannelScript::sendRaw() {
    const std::size_t length = m_input.number<std::uint16_t>();
    const UaByteView bytes = m_input.bytes(length);
    if (bytes.size > 0) {
        expect(Outlook::Unknown);
        send(Bytes(bytes.data, bytes.data + bytes.size));
    }
}

/// Position, token (0: the newest), request id, how often beside, and the content.
void ChannelScript::sendMessage() {
    const char position = positions[m_input.number<std::uint8_t>() % std::size(positions)];
    const std::size_t tokenIndex = m_input.number<std::uint8_t>();
    const std::uint32_t requestId = m_input.number<std::uint8_t>();
    const unsigned int more = m_input.number<std::uint8_t>();
    const UaByteView content = m_input.bytes(m_input.number<std::uint16_t>());
    if (m_tokens.empty())
        return;
    Token& token = m_tokens[tokenIndex % m_tokens.size()];
    if (token.isShortLived && &token != &m_tokens.front())
        expect(Outlook::Unknown); // time decides
    for (unsigned int i = 0; i <= more && m_fed < mostFed; ++i) {
        send(m_peer.message(position, token, nextPlace(requestId), content));
        expectMessage(position, requestId, content);
    }
}

/// Position, and all that is signed behind the sequence header.
void ChannelScript::sendBareMessage() {
    const char position = positions[m_input.number<std::uint8_t>() % std::size(positions)];
    const UaByteView content = m_input.bytes(m_input.number<std::uint16_t>());
    if (!m_tokens.empty()) {
        expect(Outlook::Unknown);
        send(m_peer.bareMessage(position, m_tokens.front(), nextPlace(1), content));
    }
}

/// What is wrong (sequence number, channel or token), and by how much.
void ChannelScript::sendMisplacedMessage() {
    const unsigned int what = m_input.number<std::uint8_t>() % 3;
    const std::uint32_t by = std::max(m_input.number<std::uint8_t>(), std::uint8_t{1});
    if (m_tokens.empty())
        return;
    Token& token = m_tokens.front();
    const std::uint32_t id = token.id;
    const std::uint32_t before = m_sequenceNumber;
    ChannelPeer::Place place = nextPlace(1);
    if (what == 0) {
        place.sequenceNumber += by;
    } else if (what == 1) {
        place.channelId += by;
    } else {
        constexpr std::uint32_t unknown = 1000; // others are of one byte
        token.id = unknown + by;
    }
    send(m_peer.message('F', token, place, {}));
    token.id = id;
    expect(what == 0 && mayStartAnew(before) ? Outlook::Unknown : Outlook::Ended);
}

/// The token's id, and what is wrong.
void ChannelScript::sendOpen() {
    const std::uint32_t tokenId = m_input.number<std::uint8_t>();
    const unsigned int faults = m_input.number<std::uint8_t>();
    if (mayOpen())
        sendOpenAnswer(tokenId, faults);
}

void ChannelScript::sendOpenAnswer(std::uint32_t tokenId, unsigned int faults) {
    const auto has = [faults](unsigned int bit) { return (faults >> bit & 1U) != 0; };
    const std::uint32_t before = m_sequenceNumber;
    const bool isFirst = m_tokens.empty();
    ChannelPeer::Place place = nextPlace(m_awaitedOpen + (has(1) ? 1 : 0));
    place.channelId += has(0) ? 1 : 0;
    Bytes nonce = m_peer.nonce();
    nonce.resize(nonce.size() + (has(2) ? 1 : 0));
    const Bytes body = openAnswer(place.channelId + (has(3) ? 1 : 0), tokenId, has(4) ? 0 : anHour, nonce);
    place.sequenceNumber += has(5) ? 1 : 0;
    send(m_peer.open(place, viewOf(body)));
    if (isFirst)
        m_sequenceNumber = place.sequenceNumber; // where a server begins is its own choice
    else if (has(5))
        expect(mayStartAnew(before) ? Outlook::Unknown : Outlook::Ended);
    Token token;
    static_cast<ChannelPeer::Token&>(token) = m_peer.token(tokenId);
    token.isShortLived = has(4);
    m_channelId = isFirst ? place.channelId : m_channelId;
    expectOpen(std::move(token),
               !has(1) && !has(3) && (isFirst || !has(0)) && (!m_peer.isSecured() || !has(2)));
}

/// Its type id and all that follows.
void ChannelScript::sendOpenBody() {
    const UaByteView body = m_input.bytes(m_input.number<std::uint16_t>());
    if (mayOpen()) {
        expect(Outlook::Unknown);
        send(m_peer.open(nextPlace(m_awaitedOpen), body));
    }
}

/// All that is signed behind the sequence header.
void ChannelScript::sendBareOpen() {
    const UaByteView content = m_input.bytes(m_input.number<std::uint16_t>());
    if (mayOpen()) {
        send(m_peer.bareOpen(nextPlace(m_awaitedOpen), content));
        expect(m_peer.isPadded(content) ? Outlook::Unknown : Outlook::Ended);
    }
}

/// Whether the server's certificate comes first (1), the token's id, and the rest of the certificates.
void ChannelScript::sendOpenFrom() {
    const bool isGenuine = (m_input.number<std::uint8_t>() & 1U) != 0;
    const std::uint32_t tokenId = m_input.number<std::uint8_t>();
    const UaByteView rest = m_input.bytes(m_input.number<std::uint16_t>());
    if (!mayOpen())
        return;
    Bytes sender;
    if (isGenuine) {
        const UaByteView server(m_peer.certificate().view());
        sender.assign(server.data, server.data + server.size);
    }
    sender.insert(sender.end(), rest.data, rest.data + rest.size);
    send(m_peer.openFrom(viewOf(sender), nextPlace(m_awaitedOpen),
                         viewOf(openAnswer(m_channelId, tokenId, anHour, m_peer.nonce()))));
    if (m_peer.isSecured() && !beginsWith(viewOf(sender), m_peer.certificate()))
        expect(Outlook::Ended);
    Token token;
    static_cast<ChannelPeer::Token&>(token) = m_peer.token(tokenId);
    expectOpen(std::move(token), true);
}

/// Where, and which bits.
void ChannelScript::damageNext() {
    m_damagedByte = m_input.number<std::uint16_t>();
    m_damage = m_input.number<std::uint8_t>();
}

// ---- What the client does

void ChannelScript::renew() {
    if (!mayOpen())
        return;
    NoRoom room;
    const UaStatus status = m_channel.sendRenewal(++m_requestId, room);
    require(status.isGood() || m_outlook == Outlook::Unknown, "a renewal can be sent");
    if (status.isGood())
        m_awaitedOpen = m_requestId;
    checkSent();
}

/// How much is asked for.
void ChannelScript::request() {
    const std::size_t length = m_input.number<std::uint8_t>();
    const UaString name(std::string(length * length, 'n'));
    UA_ReadValueId node{};
    node.nodeId.identifierType = UA_NODEIDTYPE_STRING;
    node.nodeId.identifier.string = name.view();
    UA_ReadRequest read{};
    read.nodesToRead = &node;
    read.nodesToReadSize = 1;
    NoRoom room;
    const UaStatus status = m_channel.send(++m_requestId, &read, UA_TYPES[UA_TYPES_READREQUEST], room);
    require(status.isGood() ||
                (m_outlook == Outlook::Unknown && status.statusCode() == UA_STATUSCODE_BADREQUESTTOOLARGE),
            "a request is sent unless it is too large for the server");
    require(!m_channel.isHalfSent(), "a request is sent whole or not at all");
    checkSent();
}
