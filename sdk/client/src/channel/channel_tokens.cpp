#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include <open62541/types_generated_handling.h>

#include "channel/connection_trace.h"
#include "channel/refusal.h"
#include "channel/secure_channel.h"
#include "channel/sequence_number.h"
#include "encoding/answer_decoding.h"
#include "encoding/type_id.h"
#include "encoding/wire.h"
#include "uabase/date_time.h"
#include "uabase/trace.h"

namespace UaClientSdk {
namespace {

/// A lifetime of nothing would be renewed without end.
constexpr std::uint32_t shortestLifetime = 1000; // ms
/// For the answer to a renewal that was asked for late.
constexpr std::chrono::seconds renewalAnswerLimit(5);
/// Until a renewal that did not get onto the wire is tried again.
constexpr std::chrono::milliseconds retryPause(100);
/// Tokens that are kept for what the server still sends under them.
constexpr std::size_t mostTokens = 512;

/// Each costs a private key's operation.
constexpr unsigned int mostUnaskedOpens = 3;

/// Clears an answer when it is no more needed.
struct OpenAnswer : UA_OpenSecureChannelResponse {
    OpenAnswer() : UA_OpenSecureChannelResponse{} {}
    ~OpenAnswer() {
        UaPkiWipe(serverNonce.data, serverNonce.length);
        UA_OpenSecureChannelResponse_clear(this);
    }
    OpenAnswer(const OpenAnswer&) = delete;
    OpenAnswer& operator=(const OpenAnswer&) = delete;
};

} // namespace

UaStatus SecureChannel::sendOpen(std::uint32_t requestId, UA_SecurityTokenRequestType kind,
                                 RoomToSend& room) {
    std::vector<OpcUa_Byte> nonce(m_security.policy->nonceLength);
    if (!UaPkiRandomBytes(nonce.data(), nonce.size()))
        return giveUp(UA_STATUSCODE_BADINTERNALERROR, "the system yields no random numbers");
    UA_OpenSecureChannelRequest request{};
    request.requestHeader.timestamp = UaDateTime::now().ticks();
    request.requestHeader.requestHandle = requestId;
    request.requestType = kind;
    request.securityMode = m_security.mode;
    request.clientNonce = {nonce.size(), nonce.data()};
    request.requestedLifetime = m_requestedLifetime;
    const UA_DataType& type = UA_TYPES[UA_TYPES_OPENSECURECHANNELREQUEST];
    std::vector<OpcUa_Byte> body(typeIdLength + UA_calcSizeBinary(&request, &type));
    const UaStatus fits = checkRequestSize(body.size());
    if (fits.isBad())
        return fits;
    writeTypeId(body.data(), type);
    UA_ByteString target{body.size() - typeIdLength, body.data() + typeIdLength};
    const UaStatus encoded = UA_encodeBinary(&request, &type, &target);
    if (encoded.isBad())
        return encoded;
    const std::vector<OpcUa_Byte> chunk = m_openProtection.seal(
        m_channelId, nextSequenceNumber(m_sentSequenceNumber), requestId, {body.data(), body.size()});
    UaPkiWipe(body.data(), body.size());
    if (chunk.empty())
        return giveUp(UA_STATUSCODE_BADSECURITYCHECKSFAILED, "the request for a channel cannot be protected");
    if (chunk.size() > m_sendChunkSize) {
        return giveUp(UA_STATUSCODE_BADREQUESTTOOLARGE,
                      "this client's own certificate is too long for the server");
    }
    {
        // The answer may be read before this returns.
        const std::lock_guard<std::mutex> lock(m_renewalMutex);
        m_clientNonce.swap(nonce);
        m_openRequest = requestId;
        m_renewalDue = Clock::time_point::max();
    }
    UaPkiWipe(nonce.data(), nonce.size());
    const UaStatus status = transmit({chunk.data(), chunk.size()}, room);
    if (!status.isBad() || m_halfSent) {
        m_sentSequenceNumber = nextSequenceNumber(m_sentSequenceNumber);
        const std::lock_guard<std::mutex> lock(m_renewalMutex);
        if (m_openRequest == requestId)
            m_tokenExpiry = std::max(m_tokenExpiry, Clock::now() + renewalAnswerLimit);
    } else {
        const std::lock_guard<std::mutex> lock(m_renewalMutex);
        m_openRequest = 0;
        m_renewalDue = Clock::now() + retryPause;
    }
    return status;
}

UaStatus SecureChannel::sendRenewal(std::uint32_t requestId, RoomToSend& room) {
    return sendOpen(requestId, UA_SECURITYTOKENREQUESTTYPE_RENEW, room);
}

Clock::time_point SecureChannel::renewalDue() const {
    const std::lock_guard<std::mutex> lock(m_renewalMutex);
    return m_renewalDue;
}

Clock::time_point SecureChannel::tokenExpiry() const {
    const std::lock_guard<std::mutex> lock(m_renewalMutex);
    return m_openRequest != 0 ? m_tokenExpiry : Clock::time_point::max();
}

/// What is sent uses the new token as soon as there is one.
void SecureChannel::adoptSendToken(std::uint32_t requestId) {
    if (m_hasNextSendToken) {
        const std::lock_guard<std::mutex> lock(m_renewalMutex);
        m_tokens.front().isSentUnder = true;
        m_tokens.front().firstRequest = requestId;
        m_sendToken = std::move(*m_nextSendToken);
        m_nextSendToken.reset();
        m_hasNextSendToken = false;
    }
}

SecureChannel::Token* SecureChannel::findToken(std::uint32_t id) {
    const auto token =
        std::find_if(m_tokens.begin(), m_tokens.end(), [id](const Token& known) { return known.id == id; });
    return token != m_tokens.end() ? &*token : nullptr;
}

/// The newest token is the server's to end, older ones are over with their lifetime. But there are servers
/// that answer under the token that the request came with, and a Publish request may wait for longer than
/// that.
bool SecureChannel::maySpeakUnder(const Token& token, std::uint32_t requestId) const {
    if (&token == &m_tokens.front() || Clock::now() < token.expiry)
        return true;
    const std::lock_guard<std::mutex> lock(m_renewalMutex);
    const auto own = std::find_if(m_tokens.begin(), m_tokens.end(),
                                  [&token](const Token& known) { return &known == &token; });
    const auto next = std::find_if(std::make_reverse_iterator(own), m_tokens.rend(),
                                   [](const Token& newer) { return newer.isSentUnder; });
    return next == m_tokens.rend() || static_cast<std::int32_t>(requestId - next->firstRequest) < 0;
}

UaStatus SecureChannel::takeOpenAnswer(const Chunk& chunk) {
    std::vector<OpcUa_Byte> plain;
    UaByteView sequenced;
    bool isAwaited = false;
    {
        const std::lock_guard<std::mutex> lock(m_renewalMutex);
        isAwaited = m_openRequest != 0;
    }
    if (!isAwaited && ++m_unaskedOpens > mostUnaskedOpens) {
        return giveUp(UA_STATUSCODE_BADTCPMESSAGETYPEINVALID,
                      "the server opens the channel again and again unasked");
    }
    UaStatus status = m_openProtection.open(chunk, plain, sequenced);
    if (!status.isBad())
        status = takeSequenceNumber(readUInt32(sequenced.data));
    if (!status.isBad() && !isAwaited) {
        UaTrace::write(UaTrace::Warnings, "channel", "the server opens the channel unasked: dropped");
        return status;
    }
    OpenAnswer answer;
    if (!status.isBad())
        status = decodeOpenAnswer(sequenced, answer);
    UaPkiWipe(plain.data(), plain.size());
    if (status.isBad()) {
        return m_endedByServer ? status
                               : giveUp(status, "the server's answer that opens the channel does not hold");
    }
    return installToken(readUInt32(chunk.data + messageHeaderLength), answer);
}

UaStatus SecureChannel::decodeOpenAnswer(UaByteView sequenced, UA_OpenSecureChannelResponse& answer) {
    const std::uint32_t requestId = readUInt32(sequenced.data + 4);
    {
        const std::lock_guard<std::mutex> lock(m_renewalMutex);
        if (requestId != m_openRequest)
            return UA_STATUSCODE_BADUNKNOWNRESPONSE;
    }
    UaByteView body = sequenced.from(sequenceHeaderLength);
    const std::uint32_t typeId = readTypeId(body);
    if (isTypeId(typeId, UA_TYPES[UA_TYPES_SERVICEFAULT])) {
        UA_ServiceFault fault{};
        UaStatus status = decodeAnswer(body, UA_TYPES[UA_TYPES_SERVICEFAULT], anyNumber, &fault);
        if (!status.isBad())
            status = endedByServer(fault.responseHeader.serviceResult);
        UA_ServiceFault_clear(&fault);
        return status.isBad() ? status : UaStatus(UA_STATUSCODE_BADUNKNOWNRESPONSE);
    }
    if (!isTypeId(typeId, UA_TYPES[UA_TYPES_OPENSECURECHANNELRESPONSE]))
        return UA_STATUSCODE_BADUNKNOWNRESPONSE;
    const UaStatus status =
        decodeAnswer(body, UA_TYPES[UA_TYPES_OPENSECURECHANNELRESPONSE], anyNumber, &answer);
    if (!status.isBad() && UaStatus(answer.responseHeader.serviceResult).isBad())
        return endedByServer(answer.responseHeader.serviceResult);
    return status;
}

UaStatus SecureChannel::installToken(std::uint32_t channelId, const UA_OpenSecureChannelResponse& answer) {
    const bool isFirst = m_tokens.empty();
    if (answer.securityToken.channelId != channelId || (!isFirst && channelId != m_channelId))
        return giveUp(UA_STATUSCODE_BADTCPSECURECHANNELUNKNOWN, "the server changes the channel's id");
    const UaPkiSecurityPolicy& policy = *m_security.policy;
    const UaByteView serverNonce(answer.serverNonce);
    if (!policy.isNone() && serverNonce.size != policy.nonceLength) {
        return giveUp(UA_STATUSCODE_BADNONCEINVALID,
                      "the server's nonce has another length than the policy's");
    }
    const std::chrono::milliseconds lifetime(
        std::max(answer.securityToken.revisedLifetime, shortestLifetime));
    Token token;
    token.id = answer.securityToken.tokenId;
    token.expiry = Clock::now() + lifetime + lifetime / 4; // OPC UA Part 6, 6.7.4
    auto sendToken = std::make_unique<SendToken>();
    sendToken->id = token.id;

    const std::lock_guard<std::mutex> lock(m_renewalMutex);
    if (m_protection.needsKeys()) {
        const UaByteView clientNonce(m_clientNonce.data(), m_clientNonce.size());
        sendToken->keys = UaPkiSymmetricKeys(policy, serverNonce, clientNonce);
        token.receiveKeys = UaPkiSymmetricKeys(policy, clientNonce, serverNonce);
        if (!sendToken->keys.isValid() || !token.receiveKeys.isValid())
            return giveUp(UA_STATUSCODE_BADSECURITYCHECKSFAILED, "the channel's keys cannot be derived");
    }
    if (isFirst)
        m_channelId = channelId;
    m_openRequest = 0;
    UaPkiWipe(m_clientNonce.data(), m_clientNonce.size());
    m_tokens.erase(std::remove_if(m_tokens.begin(), m_tokens.end(),
                                  [&token](const Token& known) { return known.id == token.id; }),
                   m_tokens.end());
    m_tokens.push_front(std::move(token));
    m_tokens.resize(std::min(m_tokens.size(), mostTokens));
    m_nextSendToken = std::move(sendToken);
    m_hasNextSendToken = true;
    m_renewalDue = Clock::now() + lifetime * 3 / 4;
    m_tokenExpiry = m_tokens.front().expiry;
    traceChannel("channel %u %s: policy %s, mode %s, token %u for %lld ms", m_channelId,
                 isFirst ? "opened" : "renewed", policy.name, modeName(m_security.mode), m_tokens.front().id,
                 static_cast<long long>(lifetime.count()));
    return UaStatus();
}

} // namespace UaClientSdk
