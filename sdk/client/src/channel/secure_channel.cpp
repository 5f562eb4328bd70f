#include "channel/secure_channel.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "channel/refusal.h"
#include "encoding/wire.h"

namespace UaClientSdk {
namespace {

constexpr std::size_t protocolVersion = 0;
/// OPC UA Part 6, 7.1.2.3: no buffer may be smaller.
constexpr std::size_t smallestBuffer = 8192;

/// For what is sent before anybody else could read: waits for the socket alone.
class WaitForSocket : public RoomToSend {
public:
    WaitForSocket(const TcpSocket& socket, const Deadline& deadline)
        : m_socket(socket), m_deadline(deadline) {}
    UaStatus wait() override {
        return m_socket.wait(TcpSocket::Interest::Send, m_deadline).writable
                   ? UaStatus()
                   : UaStatus(UA_STATUSCODE_BADTIMEOUT);
    }

private:
    const TcpSocket& m_socket;
    const Deadline& m_deadline;
};

} // namespace

SecureChannel::SecureChannel(ChannelSecurity security, std::uint32_t requestedLifetime)
    : m_security(std::move(security)), m_requestedLifetime(requestedLifetime),
      m_protection(*m_security.policy, m_security.mode) {}

SecureChannel::~SecureChannel() {
    UaPkiWipe(m_clientNonce.data(), m_clientNonce.size());
    wipeSent(); // a call that threw has not
}

UaStatus SecureChannel::open(const UaString& url, const std::string& address, std::uint16_t port,
                             const Deadline& answerBy, const Deadline& deadline) {
    UaStatus status = m_openProtection.prepare(m_security);
    if (!status.isBad()) {
        status = m_socket.connect(address, port, answerBy);
        m_connected = !status.isBad();
    }
    if (!status.isBad())
        status = greet(url, answerBy);
    return status.isBad() ? status : openToken(deadline);
}

UaStatus SecureChannel::greet(const UaString& url, const Deadline& deadline) {
    const UaByteView urlBytes(url.view());
    std::vector<OpcUa_Byte> hello(messageHeaderLength + 6 * uint32Length + urlBytes.size);
    OpcUa_Byte* target = writeBytes(hello.data(), "HELF", 4);
    for (const std::size_t number : {hello.size(), std::size_t(protocolVersion), largestChunk, largestChunk,
                                     largestMessage, mostChunks, urlBytes.size}) {
        target = writeUInt32(target, static_cast<std::uint32_t>(number));
    }
    writeBytes(target, urlBytes.data, urlBytes.size);
    WaitForSocket room(m_socket, deadline);
    UaStatus status = transmit({hello.data(), hello.size()}, room);
    if (status.isBad())
        return notTaken(status);
    Chunk chunk;
    status = waitForChunk(chunk, deadline);
    return status.isBad() ? status : takeAcknowledge(chunk);
}

/// Who hangs up while he is spoken to may have said why.
UaStatus SecureChannel::notTaken(UaStatus status) {
    if (status.statusCode() != UA_STATUSCODE_BADCONNECTIONCLOSED)
        return status;
    m_endedByServer = true;
    Chunk chunk;
    bool found = false;
    std::size_t count = 0;
    do {
        count = 0;
        if (m_reader.next(chunk, found).isBad())
            return status;
    } while (!found && !receive(count).isBad() && count > 0);
    return found && chunk.kind == ChunkKind::Error ? takeError(chunk) : status;
}

UaStatus SecureChannel::takeAcknowledge(const Chunk& chunk) {
    if (chunk.kind == ChunkKind::Error)
        return takeError(chunk);
    if (chunk.kind != ChunkKind::Acknowledge) {
        return giveUp(UA_STATUSCODE_BADTCPMESSAGETYPEINVALID,
                      "the server answers the greeting with something else");
    }
    m_reached = true;
    const auto field = [&chunk](std::size_t index) -> std::size_t {
        return readUInt32(chunk.data + messageHeaderLength + index * uint32Length);
    };
    const std::size_t serverReceives = field(1);
    if (serverReceives < smallestBuffer)
        return giveUp(UA_STATUSCODE_BADCONNECTIONREJECTED, "the server announces a buffer that is too small");
    m_sendChunkSize = std::min(serverReceives, largestChunk);
    m_serverMessageLimit = field(3);
    m_serverChunkLimit = field(4);
    m_sendBuffer.reset(new OpcUa_Byte[m_sendChunkSize]);
    return UaStatus();
}

UaStatus SecureChannel::waitForChunk(Chunk& chunk, const Deadline& deadline) {
    for (;;) {
        bool found = false;
        const UaStatus status = m_reader.next(chunk, found);
        if (status.isBad())
            return giveUp(status, "what the server sends is no OPC UA");
        if (found)
            return status;
        if (deadline.expired())
            return UA_STATUSCODE_BADTIMEOUT;
        std::size_t count = 0;
        const UaStatus received = awaitSome(deadline, count);
        if (received.isBad())
            return received;
    }
}

UaStatus SecureChannel::openToken(const Deadline& deadline) {
    WaitForSocket room(m_socket, deadline);
    constexpr std::uint32_t firstRequest = 1;
    UaStatus status = sendOpen(firstRequest, UA_SECURITYTOKENREQUESTTYPE_ISSUE, room);
    if (status.isBad())
        return notTaken(status);
    Chunk chunk;
    status = waitForChunk(chunk, deadline);
    if (status.isBad())
        return status;
    if (chunk.kind == ChunkKind::Error)
        return takeError(chunk);
    if (chunk.kind != ChunkKind::OpenChannel) {
        return giveUp(UA_STATUSCODE_BADTCPMESSAGETYPEINVALID,
                      "the server sends a message before the channel is open");
    }
    status = takeOpenAnswer(chunk);
    adoptSendToken(firstRequest);
    return status;
}

} // namespace UaClientSdk
