#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "channel/channel_security.h"
#include "channel/chunk_protection.h"
#include "channel/chunk_reader.h"
#include "channel/open_protection.h"
#include "socket/deadline.h"
#include "socket/tcp_socket.h"
#include "uabase/string.h"

namespace UaClientSdk {

/// Waits, for a sender, until the socket has room again.
class RoomToSend {
public:
    virtual ~RoomToSend() = default;
    /// BadTimeout when the sender's time is over.
    virtual UaStatus wait() = 0;
};

/// One answer as the channel received it.
struct IncomingMessage {
    std::uint32_t requestId = 0;
    /// Bad when the server broke the answer off.
    UaStatus status;
    /// Type id and body. Valid until the channel is asked for the next message.
    UaByteView body;
};

/// A secure channel on a TCP connection of its own (OPC UA Part 6, 6.7 and 7.1).
///
/// One thread may send while another receives; who does which is the caller's to see to. Whatever the server
/// sends that a server may not send makes the channel unusable: a bad status then, with a line in the trace.
class SecureChannel {
public:
    /// What is received in one message at the most.
    static constexpr std::size_t largestMessage = 16U << 20U;
    static constexpr std::size_t mostChunks = 256;

    SecureChannel(ChannelSecurity security, std::uint32_t requestedLifetime);
    ~SecureChannel();

    /// Connects, greets and opens. `address` is numeric, `url` what the server is told. Until `answerBy` the
    /// greeting must be answered; who has done so has time until `deadline`. On failure the object is of no
    /// more use.
    UaStatus open(const UaString& url, const std::string& address, std::uint16_t port,
                  const Deadline& answerBy, const Deadline& deadline);
    /// Whether a peer answered the TCP connect.
    bool wasConnected() const { return m_connected; }
    /// Whether it answered the greeting as a server does, be it with an error.
    bool wasReached() const { return m_reached; }
    /// Whether it was the server that ended or refused the channel, and not this side.
    bool wasEndedByServer() const { return m_endedByServer; }
    /// The status that the server gave when it ended or refused the channel; good when it gave none.
    OpcUa_StatusCode serversWord() const { return m_serversWord; }
    TcpSocket& socket() { return m_socket; }
    /// A session may have a lower limit than the connection; 0 is no limit.
    void limitRequests(std::size_t size) {
        if (size != 0 && (m_serverMessageLimit == 0 || size < m_serverMessageLimit))
            m_serverMessageLimit = size;
    }

    // Sending.

    /// Encodes and sends a request. BadRequestTooLarge when it is beyond the server's limits,
    /// BadEncodingError when it cannot be encoded: nothing was sent then. `isHalfSent()` tells after any
    /// other failure whether the connection can still be used.
    UaStatus send(std::uint32_t requestId, const void* request, const UA_DataType& type, RoomToSend& room);
    bool isHalfSent() const { return m_halfSent; }
    /// Overwrites what was sent last: it held a secret.
    void wipeSent();
    /// Asks for a new token (OPC UA Part 4, 5.5.2). The answer is dealt with inside next().
    UaStatus sendRenewal(std::uint32_t requestId, RoomToSend& room);
    /// When that is to be done; the end of time while an answer is being waited for.
    Clock::time_point renewalDue() const;
    /// When the newest token has been valid for as long as it may be, and the server had time to renew it;
    /// the end of time while it was not asked to.
    Clock::time_point tokenExpiry() const;
    /// Tells the server that the channel is given up, as far as the system takes it at once.
    void sendClose(std::uint32_t requestId);

    // Receiving.

    /// Takes what has arrived off the socket, without waiting; `count` bytes.
    UaStatus receive(std::size_t& count);
    /// The same, waiting as TcpSocket::awaitSome() does.
    UaStatus awaitSome(const Deadline& deadline, std::size_t& count);
    /// The next message among what was received: `found` tells whether there is one.
    UaStatus next(IncomingMessage& message, bool& found);

private:
    struct Token {
        std::uint32_t id = 0;
        Clock::time_point expiry;
        UaPkiSymmetricKeys receiveKeys;
        bool isSentUnder = false;       ///< guarded by m_renewalMutex, as is the next
        std::uint32_t firstRequest = 0; ///< that was sent under it
    };
    struct SendToken {
        std::uint32_t id = 0;
        UaPkiSymmetricKeys keys;
    };

    UaStatus greet(const UaString& url, const Deadline& deadline);
    UaStatus takeAcknowledge(const Chunk& chunk);
    UaStatus waitForChunk(Chunk& chunk, const Deadline& deadline);
    UaStatus openToken(const Deadline& deadline);
    UaStatus notTaken(UaStatus status);
    UaStatus arrived(UaStatus status, std::size_t count);

    UaStatus sendOpen(std::uint32_t requestId, UA_SecurityTokenRequestType kind, RoomToSend& room);
    UaStatus transmit(UaByteView bytes, RoomToSend& room);
    UaStatus sendChunk(const char* kind, std::uint32_t requestId, std::size_t bodySize, RoomToSend& room);
    UaStatus sendInPieces(std::uint32_t requestId, UaByteView body, RoomToSend& room);
    UaStatus checkRequestSize(std::size_t bodySize) const;
    void adoptSendToken(std::uint32_t requestId);

    UaStatus takeOpenAnswer(const Chunk& chunk);
    UaStatus decodeOpenAnswer(UaByteView sequenced, UA_OpenSecureChannelResponse& answer);
    UaStatus installToken(std::uint32_t channelId, const UA_OpenSecureChannelResponse& answer);
    UaStatus openChunk(const Chunk& chunk, UaByteView& sequenced);
    UaStatus openUnderOldToken(const Chunk& chunk, Token& token, UaByteView& sequenced);
    UaStatus takeSequenceNumber(std::uint32_t number);
    UaStatus assemble(const Chunk& chunk, UaByteView sequenced, IncomingMessage& message, bool& found);
    UaStatus takeError(const Chunk& chunk);
    UaStatus endedByServer(UaStatus word);
    Token* findToken(std::uint32_t id);
    bool maySpeakUnder(const Token& token, std::uint32_t requestId) const;

    const ChannelSecurity m_security;
    const std::uint32_t m_requestedLifetime;
    const ChunkProtection m_protection;
    OpenProtection m_openProtection;
    TcpSocket m_socket;
    bool m_connected = false;
    bool m_reached = false;
    std::atomic<bool> m_endedByServer{false};
    std::atomic<OpcUa_StatusCode> m_serversWord{UA_STATUSCODE_GOOD};
    std::uint32_t m_channelId = 0;

    // What the server takes (OPC UA Part 6, 7.1.2.4); 0 is no limit.
    std::size_t m_sendChunkSize = largestChunk;
    std::size_t m_serverMessageLimit = 0;
    std::size_t m_serverChunkLimit = 0;

    // Sending.
    std::unique_ptr<OpcUa_Byte[]> m_sendBuffer;
    std::uint32_t m_sentSequenceNumber = 0;
    SendToken m_sendToken;
    bool m_halfSent = false;

    // Receiving.
    ChunkReader m_reader;
    std::deque<Token> m_tokens; ///< the newest first
    std::uint32_t m_receivedSequenceNumber = 0;
    unsigned int m_unaskedOpens = 0;
    bool m_hasReceived = false;
    std::vector<OpcUa_Byte> m_assembled;
    std::size_t m_assembledChunks = 0;
    std::uint32_t m_assembledRequest = 0;
    bool m_assembledGivenOut = false;

    // Between the two.
    mutable std::mutex m_renewalMutex;
    std::uint32_t m_openRequest = 0; ///< id of the request that is not answered yet, or 0
    std::vector<OpcUa_Byte> m_clientNonce;
    std::unique_ptr<SendToken> m_nextSendToken;
    std::atomic<bool> m_hasNextSendToken{false};
    Clock::time_point m_renewalDue = Clock::time_point::max();
    Clock::time_point m_tokenExpiry = Clock::time_point::max();
};

} // namespace UaClientSdk
