#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "support/scripted/bytes.h"
#include "support/scripted/protection.h"

namespace scripted {

class Server;

/// One chunk of a message (OPC UA Part 6, 6.7.2). Numbers that are left open are as they should be.
struct Chunk {
    std::string kind = "MSG";
    char type = 'F'; ///< F final, C intermediate, A abort
    std::uint32_t requestId = 0;
    Bytes body;
    std::optional<std::uint32_t> size;
    std::optional<std::uint32_t> channelId;
    std::optional<std::uint32_t> tokenId;
    std::optional<std::uint32_t> keysOf; ///< the token whose keys protect it; that of tokenId
    bool newestKeys = false;             ///< protected by the keys that are the newest when it goes out
    std::optional<std::uint32_t> sequenceNumber;
};

/// What HEL or ACK tells of a side's buffers and limits (OPC UA Part 6, 7.1.2.3 and 7.1.2.4).
struct TransportLimits {
    std::uint32_t protocolVersion = 0;
    std::uint32_t receiveBufferSize = 65535;
    std::uint32_t sendBufferSize = 65535;
    std::uint32_t maxMessageSize = 0;
    std::uint32_t maxChunkCount = 0;
};

/// "ACK" with these limits, or any other message of the transport: kind, size and content.
Bytes transportMessage(const std::string& kindAndType, const Bytes& content);
Bytes acknowledgeMessage(const TransportLimits& limits);
Bytes errorMessage(std::uint32_t status, const Bytes& reason);

/// One client at the server. May send on any thread.
class Connection : public std::enable_shared_from_this<Connection> {
public:
    Connection(Server& server, int socket);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// Sends bytes as they are. False when the client has hung up.
    bool send(const Bytes& bytes);
    bool send(const Chunk& chunk);
    /// Sends a whole message in as many chunks as the client's receive buffer asks for.
    bool sendMessage(std::uint32_t requestId, const Bytes& body, const std::string& kind = "MSG",
                     std::optional<std::uint32_t> tokenId = {});
    /// The next sequence number is the one after this.
    void goOnAfter(std::uint32_t sequenceNumber);
    /// A chunk's bytes, which take a sequence number.
    Bytes bytesOf(const Chunk& chunk);
    /// Hangs up. The client may still read what was sent, unless what it sends itself meets a reset.
    void close();
    /// Sends nothing any more, and goes on reading: all that was sent arrives, and then the end.
    void finish();
    /// Breaks the connection off: what was sent arrives, and what the client sends now finds it gone.
    void reset();
    bool isOpen() const { return m_open; }
    /// Bytes that have arrived and are not read yet.
    std::size_t unread() const;

    std::uint32_t channelId() const { return m_channelId; }
    /// The token that was issued last.
    std::uint32_t tokenId() const { return m_tokenId; }
    /// Gives the channel its numbers, which the next chunks carry, and the keys that come of the nonces.
    void adopt(std::uint32_t channelId, std::uint32_t tokenId, const Bytes& clientNonce,
               const Bytes& serverNonce, bool encrypting);
    /// Of a channel with a policy; else null.
    Protection* protection() const { return m_protection.get(); }
    /// The session's nonce that the client has to sign next.
    Bytes sessionNonce;
    const TransportLimits& clientLimits() const { return m_clientLimits; }

    /// Reads and answers until the connection ends.
    void serve();

private:
    struct Message {
        Bytes body;
        std::size_t chunks = 0;
    };

    bool receive(Bytes& received, std::size_t count);
    bool receiveChunk(Bytes& chunk);
    bool takeChunk(const Bytes& chunk);
    bool takeHello(const Bytes& chunk);
    bool takeSecureChunk(const Bytes& chunk);
    bool takePolicy(const std::string& policyUri, const Bytes& clientCertificate);
    void checkNumbers(const std::string& kind, std::uint32_t channelId, std::uint32_t tokenId,
                      std::uint32_t sequenceNumber);
    void checkSizes(const Message& message, std::size_t chunkSize);
    bool sendLocked(const Bytes& bytes) const;
    Bytes makeLocked(const Chunk& chunk);
    Bytes headerOf(const Chunk& chunk) const;
    std::optional<Bytes> open(const std::string& kind, std::uint32_t tokenId, const Bytes& chunk,
                              std::size_t clearLength) const;
    bool takeMessage(const std::string& kind, std::uint32_t requestId, std::uint32_t tokenId,
                     const Bytes& body);

    Server& m_server;
    int m_socket;
    std::atomic<bool> m_open{true};
    std::atomic<std::uint32_t> m_channelId{0};
    std::uint32_t m_grantedTokenId = 0; ///< in use as soon as the answer that tells of it goes out
    std::atomic<std::uint32_t> m_tokenId{0};
    std::atomic<std::uint32_t> m_previousTokenId{0};
    TransportLimits m_clientLimits;
    std::unique_ptr<Protection> m_protection;

    std::mutex m_sending;
    std::uint32_t m_sentSequenceNumber = 0;

    std::map<std::uint32_t, Message> m_unfinished;
    std::uint32_t m_receivedSequenceNumber = 0;
};

} // namespace scripted
