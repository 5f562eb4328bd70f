#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "channel/chunk_reader.h"
#include "channel/connection_trace.h"
#include "channel/refusal.h"
#include "channel/secure_channel.h"
#include "channel/sequence_number.h"
#include "encoding/type_id.h"
#include "encoding/wire.h"
#include "uabase/date_time.h"
#include "uabase/trace.h"

namespace UaClientSdk {
namespace {

class DoNotWait : public RoomToSend {
public:
    UaStatus wait() override { return UA_STATUSCODE_BADTIMEOUT; }
};

UaStatus encodeBody(const void* request, const UA_DataType& type, OpcUa_Byte* target, std::size_t size) {
    writeTypeId(target, type);
    UA_ByteString rest{size - typeIdLength, target + typeIdLength};
    return UA_encodeBinary(request, &type, &rest);
}

} // namespace

UaStatus SecureChannel::transmit(UaByteView bytes, RoomToSend& room) {
    const std::size_t all = bytes.size;
    UaStatus status = m_socket.sendSome(bytes);
    while (!status.isBad() && bytes.size > 0) {
        m_halfSent = m_halfSent || bytes.size < all;
        status = room.wait();
        if (!status.isBad())
            status = m_socket.sendSome(bytes);
    }
    m_halfSent = m_halfSent && status.isBad();
    return status;
}

UaStatus SecureChannel::checkRequestSize(std::size_t bodySize) const {
    const std::size_t chunks = (bodySize - 1) / m_protection.bodyRoom(m_sendChunkSize) + 1;
    const bool fits = (m_serverMessageLimit == 0 || bodySize <= m_serverMessageLimit) &&
                      (m_serverChunkLimit == 0 || chunks <= m_serverChunkLimit);
    if (fits)
        return UaStatus();
    UaTrace::write(
        UaTrace::Errors, "channel",
        "a request of %zu bytes in %zu chunks is not sent: the server takes %zu bytes, %zu chunks (0: any)",
        bodySize, chunks, m_serverMessageLimit, m_serverChunkLimit);
    return UA_STATUSCODE_BADREQUESTTOOLARGE;
}

UaStatus SecureChannel::send(std::uint32_t requestId, const void* request, const UA_DataType& type,
                             RoomToSend& room) {
    adoptSendToken(requestId);
    const std::size_t bodySize = typeIdLength + UA_calcSizeBinary(request, &type);
    UaStatus status = checkRequestSize(bodySize);
    if (status.isBad())
        return status;
    traceRequest(requestId, type, bodySize);
    if (bodySize <= m_protection.bodyRoom(m_sendChunkSize)) {
        status = encodeBody(request, type, m_sendBuffer.get() + bodyOffset, bodySize);
        return status.isBad() ? status : sendChunk("MSGF", requestId, bodySize, room);
    }
    std::vector<OpcUa_Byte> body(bodySize);
    status = encodeBody(request, type, body.data(), bodySize);
    if (!status.isBad())
        status = sendInPieces(requestId, {body.data(), bodySize}, room);
    UaPkiWipe(body.data(), bodySize);
    return status;
}

UaStatus SecureChannel::sendInPieces(std::uint32_t requestId, UaByteView body, RoomToSend& room) {
    const std::size_t bodyRoom = m_protection.bodyRoom(m_sendChunkSize);
    UaStatus status;
    bool begun = false;
    while (!status.isBad() && body.size > 0) {
        const std::size_t size = std::min(bodyRoom, body.size);
        writeBytes(m_sendBuffer.get() + symmetricHeaderLength + sequenceHeaderLength, body.data, size);
        body = body.from(size);
        m_halfSent = begun;
        status = sendChunk(body.size > 0 ? "MSGC" : "MSGF", requestId, size, room);
        begun = true;
    }
    return status;
}

UaStatus SecureChannel::sendChunk(const char* kind, std::uint32_t requestId, std::size_t bodySize,
                                  RoomToSend& room) {
    OpcUa_Byte* target = writeBytes(m_sendBuffer.get(), kind, 4) + 4; // sealing enters the size
    target = writeUInt32(target, m_channelId);
    target = writeUInt32(target, m_sendToken.id);
    target = writeUInt32(target, nextSequenceNumber(m_sentSequenceNumber));
    writeUInt32(target, requestId);
    const std::size_t size = m_protection.seal(m_sendBuffer.get(), bodySize, m_sendToken.keys);
    if (size == 0)
        return giveUp(UA_STATUSCODE_BADSECURITYCHECKSFAILED, "a request cannot be protected");
    const UaStatus status = transmit({m_sendBuffer.get(), size}, room);
    if (!status.isBad() || m_halfSent)
        m_sentSequenceNumber = nextSequenceNumber(m_sentSequenceNumber);
    return status;
}

void SecureChannel::wipeSent() {
    if (m_sendBuffer != nullptr)
        UaPkiWipe(m_sendBuffer.get(), m_sendChunkSize);
}

void SecureChannel::sendClose(std::uint32_t requestId) {
    if (m_sendBuffer == nullptr || m_halfSent)
        return;
    adoptSendToken(requestId);
    const UA_DataType& type = UA_TYPES[UA_TYPES_CLOSESECURECHANNELREQUEST];
    UA_CloseSecureChannelRequest request{};
    request.requestHeader.timestamp = UaDateTime::now().ticks();
    request.requestHeader.requestHandle = requestId;
    const std::size_t bodySize = typeIdLength + UA_calcSizeBinary(&request, &type);
    DoNotWait room;
    if (!checkRequestSize(bodySize).isBad() &&
        !encodeBody(&request, type, m_sendBuffer.get() + bodyOffset, bodySize).isBad()) {
        sendChunk("CLOF", requestId, bodySize, room);
        traceChannel("channel %u closed", m_channelId);
    }
}

} // namespace UaClientSdk
