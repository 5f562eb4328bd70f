#include "support/scripted/connection.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <optional>
#include <string>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

#include "support/scripted/server.h"

namespace scripted {
namespace {

constexpr std::size_t headerLength = 8;
constexpr std::size_t mostOfAChunk = 64 << 20;
/// Header, channel, token and sequence header of a chunk without security.
constexpr std::size_t plainOverhead = 24;
/// Signature and padding behind it.
constexpr std::size_t protectionOverhead = 64;
constexpr const char* policyNone = "http://opcfoundation.org/UA/SecurityPolicy#None";

} // namespace

Bytes transportMessage(const std::string& kindAndType, const Bytes& content) {
    return kindAndType + u32(static_cast<std::uint32_t>(headerLength + content.size())) + content;
}

Bytes acknowledgeMessage(const TransportLimits& limits) {
    return transportMessage("ACKF", u32(limits.protocolVersion) + u32(limits.receiveBufferSize) +
                                        u32(limits.sendBufferSize) + u32(limits.maxMessageSize) +
                                        u32(limits.maxChunkCount));
}

Bytes errorMessage(std::uint32_t status, const Bytes& reason) {
    return transportMessage("ERRF", u32(status) + lengthAnd(reason));
}

Connection::Connection(Server& server, int socket) : m_server(server), m_socket(socket) {}

Connection::~Connection() {
    ::close(m_socket);
}

void Connection::close() {
    m_open = false;
    shutdown(m_socket, SHUT_RDWR);
}

void Connection::finish() {
    shutdown(m_socket, SHUT_WR);
}

/// Dissolving the association is what sends a reset at once, and drops what waits to be sent with more.
void Connection::reset() {
    const int yes = 1;
    setsockopt(m_socket, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
    sockaddr nobody{};
    nobody.sa_family = AF_UNSPEC;
    connect(m_socket, &nobody, sizeof nobody);
    m_open = false;
}

std::size_t Connection::unread() const {
    int count = 0;
    return ioctl(m_socket, FIONREAD, &count) == 0 ? static_cast<std::size_t>(count) : 0;
}

void Connection::adopt(std::uint32_t channelId, std::uint32_t tokenId, const Bytes& clientNonce,
                       const Bytes& serverNonce, bool encrypting) {
    const std::lock_guard<std::mutex> lock(m_sending);
    if (m_protection) {
        m_protection->setEncrypting(encrypting);
        m_protection->addToken(tokenId, clientNonce, serverNonce);
    }
    m_channelId = channelId;
    m_grantedTokenId = tokenId;
}

bool Connection::send(const Bytes& bytes) {
    const std::lock_guard<std::mutex> lock(m_sending);
    return sendLocked(bytes);
}

bool Connection::send(const Chunk& chunk) {
    const std::lock_guard<std::mutex> lock(m_sending);
    return sendLocked(makeLocked(chunk));
}

Bytes Connection::bytesOf(const Chunk& chunk) {
    const std::lock_guard<std::mutex> lock(m_sending);
    return makeLocked(chunk);
}

bool Connection::sendLocked(const Bytes& bytes) const {
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t count = ::send(m_socket, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (count <= 0)
            return false;
        sent += static_cast<std::size_t>(count);
    }
    return true;
}

Bytes Connection::headerOf(const Chunk& chunk) const {
    const Bytes channel = u32(chunk.channelId.value_or(m_channelId));
    if (chunk.kind == "OPN") {
        return channel + (m_protection ? m_protection->asymmetricHeader()
                                       : lengthAnd(policyNone) + nullText() + nullText());
    }
    return channel + u32(chunk.tokenId.value_or(m_tokenId));
}

Bytes Connection::makeLocked(const Chunk& chunk) {
    const Bytes clear = chunk.kind + chunk.type + u32(0) + headerOf(chunk);
    if (!chunk.sequenceNumber)
        ++m_sentSequenceNumber;
    if (chunk.kind == "OPN" && m_grantedTokenId != m_tokenId) {
        m_previousTokenId = m_tokenId.load();
        m_tokenId = m_grantedTokenId; // nothing goes out under it before this
    }
    const Bytes plain =
        u32(chunk.sequenceNumber.value_or(m_sentSequenceNumber)) + u32(chunk.requestId) + chunk.body;
    Bytes whole = clear + plain;
    if (m_protection) {
        const std::uint32_t keysOf =
            chunk.newestKeys ? m_tokenId.load() : chunk.keysOf.value_or(chunk.tokenId.value_or(m_tokenId));
        whole = chunk.kind == "OPN" ? m_protection->sealAsymmetric(clear, plain)
                                    : m_protection->sealSymmetric(keysOf, clear, plain);
    }
    const std::uint32_t size = chunk.size.value_or(static_cast<std::uint32_t>(whole.size()));
    return whole.replace(4, 4, u32(size));
}

void Connection::goOnAfter(std::uint32_t sequenceNumber) {
    const std::lock_guard<std::mutex> lock(m_sending);
    m_sentSequenceNumber = sequenceNumber;
}

bool Connection::sendMessage(std::uint32_t requestId, const Bytes& body, const std::string& kind,
                             std::optional<std::uint32_t> tokenId) {
    const std::size_t piece =
        m_clientLimits.receiveBufferSize - plainOverhead - (m_protection ? protectionOverhead : 0);
    std::size_t position = 0;
    do {
        Chunk chunk;
        chunk.kind = kind;
        chunk.requestId = requestId;
        chunk.tokenId = tokenId;
        chunk.body = body.substr(position, kind == "OPN" ? Bytes::npos : piece);
        position += chunk.body.size();
        chunk.type = position < body.size() ? 'C' : 'F';
        if (!send(chunk))
            return false;
    } while (position < body.size());
    return true;
}

bool Connection::receive(Bytes& received, std::size_t count) {
    while (received.size() < count) {
        const std::size_t most = std::min(m_server.mayRead(), count - received.size());
        const std::size_t before = received.size();
        received.resize(before + most);
        const ssize_t got = most == 0 ? 0 : recv(m_socket, received.data() + before, most, 0);
        if (got <= 0)
            return false;
        received.resize(before + static_cast<std::size_t>(got));
    }
    return true;
}

bool Connection::receiveChunk(Bytes& chunk) {
    chunk.clear();
    if (!receive(chunk, headerLength))
        return false;
    Reader header(chunk);
    header.take(4);
    const std::size_t size = header.u32();
    if (size < headerLength || size > mostOfAChunk) {
        m_server.report("a chunk of " + std::to_string(size) + " bytes");
        return false;
    }
    return receive(chunk, size);
}

void Connection::serve() {
    Bytes chunk;
    while (receiveChunk(chunk) && takeChunk(chunk)) {
    }
    close();
}

bool Connection::takeChunk(const Bytes& chunk) {
    const std::string kind = chunk.substr(0, 3);
    if (kind == "HEL")
        return takeHello(chunk);
    if (kind != "OPN" && kind != "MSG" && kind != "CLO") {
        // ERR, among others: the client gives up.
        return false;
    }
    return takeSecureChunk(chunk);
}

bool Connection::takeHello(const Bytes& chunk) {
    Reader reader(chunk);
    reader.take(headerLength);
    m_clientLimits.protocolVersion = reader.u32();
    m_clientLimits.receiveBufferSize = std::max<std::uint32_t>(reader.u32(), 8192);
    m_clientLimits.sendBufferSize = reader.u32();
    m_clientLimits.maxMessageSize = reader.u32();
    m_clientLimits.maxChunkCount = reader.u32();
    m_server.sayHello(*this);
    return true;
}

bool Connection::takePolicy(const std::string& policyUri, const Bytes& clientCertificate) {
    if (policyUri == policyNone || m_protection)
        return true;
    const auto identity = m_server.identity();
    auto protection = std::make_unique<Protection>(*identity, policyUri, clientCertificate);
    if (!protection->isValid()) {
        m_server.report("no channel with " + policyUri);
        return false;
    }
    const std::lock_guard<std::mutex> lock(m_sending);
    m_protection = std::move(protection);
    return true;
}

std::optional<Bytes> Connection::open(const std::string& kind, std::uint32_t tokenId, const Bytes& chunk,
                                      std::size_t clearLength) const {
    if (!m_protection)
        return chunk.substr(clearLength);
    return kind == "OPN" ? m_protection->openAsymmetric(chunk, clearLength)
                         : m_protection->openSymmetric(tokenId, chunk, clearLength);
}

bool Connection::takeSecureChunk(const Bytes& chunk) {
    const std::string kind = chunk.substr(0, 3);
    Reader reader(chunk);
    reader.take(headerLength);
    const std::uint32_t channelId = reader.u32();
    std::uint32_t tokenId = 0;
    if (kind == "OPN") {
        const std::string policyUri = reader.text();
        const Bytes clientCertificate = reader.text();
        reader.text();
        if (!takePolicy(policyUri, clientCertificate))
            return false;
    } else {
        tokenId = reader.u32();
    }
    if (!reader.ok()) {
        m_server.report("a chunk that is shorter than its header");
        return false;
    }
    const std::optional<Bytes> content = open(kind, tokenId, chunk, reader.position());
    if (!content) {
        m_server.report("a chunk that is not protected as it should be");
        return false;
    }
    Reader inside(*content);
    const std::uint32_t sequenceNumber = inside.u32();
    const std::uint32_t requestId = inside.u32();
    Message& message = m_unfinished[requestId];
    message.body += inside.rest();
    ++message.chunks;
    checkNumbers(kind, channelId, tokenId, sequenceNumber);
    checkSizes(message, chunk.size());
    const char type = chunk[3];
    if (type == 'C')
        return true;
    const Bytes body = std::move(message.body);
    m_unfinished.erase(requestId);
    return type == 'A' || takeMessage(kind, requestId, tokenId, body);
}

bool Connection::takeMessage(const std::string& kind, std::uint32_t requestId, std::uint32_t tokenId,
                             const Bytes& body) {
    Reader reader(body);
    const UA_DataType* type = typeWithEncoding(takeTypeId(reader));
    if (type == nullptr) {
        m_server.report("a message that is no request");
        return false;
    }
    const Bytes content = reader.rest();
    m_server.take(Call(m_server, shared_from_this(), {kind, requestId, tokenId}, *type, content), content);
    return m_open;
}

void Connection::checkNumbers(const std::string& kind, std::uint32_t channelId, std::uint32_t tokenId,
                              std::uint32_t sequenceNumber) {
    const bool first = m_receivedSequenceNumber == 0;
    if (!first && sequenceNumber != m_receivedSequenceNumber + 1) {
        m_server.report("sequence number " + std::to_string(sequenceNumber) + " after " +
                        std::to_string(m_receivedSequenceNumber));
    }
    m_receivedSequenceNumber = sequenceNumber;
    if (channelId != m_channelId)
        m_server.report(kind + " for channel " + std::to_string(channelId));
    if (kind != "OPN" && tokenId != m_tokenId && tokenId != m_previousTokenId)
        m_server.report(kind + " with token " + std::to_string(tokenId));
}

void Connection::checkSizes(const Message& message, std::size_t chunkSize) {
    const TransportLimits limits = m_server.announcedLimits();
    if (chunkSize > limits.receiveBufferSize)
        m_server.report("a chunk of " + std::to_string(chunkSize) + " bytes");
    if (limits.maxMessageSize != 0 && message.body.size() > limits.maxMessageSize)
        m_server.report("a message of " + std::to_string(message.body.size()) + " bytes");
    if (limits.maxChunkCount != 0 && message.chunks > limits.maxChunkCount)
        m_server.report("a message of " + std::to_string(message.chunks) + " chunks");
}

} // namespace scripted
