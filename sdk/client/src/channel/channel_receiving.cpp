#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "channel/connection_trace.h"
#include "channel/refusal.h"
#include "channel/secure_channel.h"
#include "channel/sequence_number.h"
#include "encoding/wire.h"
#include "uabase/trace.h"

namespace UaClientSdk {
UaStatus SecureChannel::receive(std::size_t& count) {
    std::size_t room = 0;
    OpcUa_Byte* const target = m_reader.room(room);
    const UaStatus status = m_socket.receiveSome(target, room, count);
    return arrived(status, count);
}

UaStatus SecureChannel::awaitSome(const Deadline& deadline, std::size_t& count) {
    std::size_t room = 0;
    OpcUa_Byte* const target = m_reader.room(room);
    const UaStatus status = m_socket.awaitSome(target, room, deadline, count);
    return arrived(status, count);
}

UaStatus SecureChannel::arrived(UaStatus status, std::size_t count) {
    m_reader.arrived(count);
    if (status.isBad())
        m_endedByServer = true;
    return status;
}

UaStatus SecureChannel::next(IncomingMessage& message, bool& found) {
    found = false;
    if (m_assembledGivenOut) {
        m_assembledGivenOut = false;
        std::vector<OpcUa_Byte>().swap(m_assembled);
    }
    while (!found) {
        Chunk chunk;
        bool whole = false;
        UaStatus status = m_reader.next(chunk, whole);
        if (status.isBad())
            return giveUp(status, "what the server sends is no OPC UA");
        if (!whole)
            return status;
        if (chunk.kind == ChunkKind::Message) {
            UaByteView sequenced = chunk.view();
            status = openChunk(chunk, sequenced);
            if (!status.isBad())
                status = assemble(chunk, sequenced, message, found);
        } else if (chunk.kind == ChunkKind::OpenChannel) {
            status = takeOpenAnswer(chunk);
        } else if (chunk.kind == ChunkKind::Error) {
            status = takeError(chunk);
        } else {
            status = giveUp(UA_STATUSCODE_BADTCPMESSAGETYPEINVALID, "the server answers a greeting twice");
        }
        if (status.isBad())
            return status;
    }
    traceAnswer(message.requestId, message.body.size);
    return UaStatus();
}

UaStatus SecureChannel::takeError(const Chunk& chunk) {
    m_reached = true;
    WireReader body(chunk.view().from(messageHeaderLength));
    std::uint32_t code = 0;
    UaByteView reason;
    body.readUInt32(code);
    body.readString(reason);
    constexpr std::size_t longestReason = 4096; // OPC UA Part 6, 7.1.2.5
    const UaStatus status = UaStatus(code).isBad() ? code : UA_STATUSCODE_BADTCPINTERNALERROR;
    UaTrace::write(UaTrace::Errors, "channel", "the server ended the connection: %s \"%.*s\"", status.name(),
                   static_cast<int>(std::min(reason.size, longestReason)),
                   reason.data != nullptr ? reinterpret_cast<const char*>(reason.data) : "");
    return endedByServer(status);
}

UaStatus SecureChannel::endedByServer(UaStatus word) {
    m_serversWord = word.statusCode();
    m_endedByServer = true;
    return word;
}

UaStatus SecureChannel::openChunk(const Chunk& chunk, UaByteView& sequenced) {
    if (readUInt32(chunk.data + messageHeaderLength) != m_channelId)
        return giveUp(UA_STATUSCODE_BADTCPSECURECHANNELUNKNOWN, "a message of another channel");
    Token* const token = findToken(readUInt32(chunk.data + channelHeaderLength));
    if (token == nullptr)
        return giveUp(UA_STATUSCODE_BADSECURECHANNELTOKENUNKNOWN, "a message under a token that is unknown");
    const UaStatus status = token == &m_tokens.front()
                                ? m_protection.open(chunk.data, chunk.size, token->receiveKeys, sequenced)
                                : openUnderOldToken(chunk, *token, sequenced);
    if (status.isBad())
        return giveUp(status, "a message whose protection does not hold");
    if (!maySpeakUnder(*token, readUInt32(sequenced.data + 4))) {
        return giveUp(UA_STATUSCODE_BADSECURECHANNELTOKENUNKNOWN,
                      "a message under a token that is no more valid");
    }
    return takeSequenceNumber(readUInt32(sequenced.data));
}

/// There are servers that name the request's token to the end, and take the newest one's keys once its own
/// are over by their clock.
UaStatus SecureChannel::openUnderOldToken(const Chunk& chunk, Token& token, UaByteView& sequenced) {
    const std::vector<OpcUa_Byte> received(chunk.data, chunk.data + chunk.size); // it is decrypted in place
    const UaStatus status = m_protection.open(chunk.data, chunk.size, token.receiveKeys, sequenced);
    if (!status.isBad())
        return status;
    std::copy(received.begin(), received.end(), chunk.data);
    return m_protection.open(chunk.data, chunk.size, m_tokens.front().receiveKeys, sequenced);
}

UaStatus SecureChannel::takeSequenceNumber(std::uint32_t number) {
    if (m_hasReceived && !maySequenceNumberFollow(m_receivedSequenceNumber, number))
        return giveUp(UA_STATUSCODE_BADSEQUENCENUMBERINVALID, "messages were left out or repeated");
    m_hasReceived = true;
    m_receivedSequenceNumber = number;
    return UaStatus();
}

UaStatus SecureChannel::assemble(const Chunk& chunk, UaByteView sequenced, IncomingMessage& message,
                                 bool& found) {
    const std::uint32_t requestId = readUInt32(sequenced.data + 4);
    const UaByteView body = sequenced.from(sequenceHeaderLength);
    if (m_assembledChunks > 0 && requestId != m_assembledRequest)
        return giveUp(UA_STATUSCODE_BADDECODINGERROR, "pieces of two messages are mixed");
    const bool isLast = chunk.position != ChunkPosition::Intermediate;
    message = {requestId, UaStatus(), body};
    if (chunk.position == ChunkPosition::Abort) {
        WireReader reader(body);
        std::uint32_t code = 0;
        reader.readUInt32(code);
        message.status = UaStatus(code).isBad() ? code : UA_STATUSCODE_BADCOMMUNICATIONERROR;
        message.body = UaByteView();
        m_assembledGivenOut = true;
        m_assembledChunks = 0;
        found = true;
        return UaStatus();
    }
    if (isLast && m_assembledChunks == 0) {
        found = true;
        return UaStatus();
    }
    if (!isLast && body.size == 0)
        return giveUp(UA_STATUSCODE_BADDECODINGERROR, "a piece of a message without content");
    if (++m_assembledChunks > mostChunks || m_assembled.size() + body.size > largestMessage)
        return giveUp(UA_STATUSCODE_BADTCPMESSAGETOOLARGE, "a message that is too long");
    m_assembledRequest = requestId;
    m_assembled.insert(m_assembled.end(), body.data, body.data + body.size);
    if (isLast) {
        message.body = {m_assembled.data(), m_assembled.size()};
        m_assembledGivenOut = true;
        m_assembledChunks = 0;
        found = true;
    }
    return UaStatus();
}

} // namespace UaClientSdk
