#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>

#include "calls/call.h"
#include "calls/pipe.h"
#include "calls/reading_turn.h"
#include "uabase/date_time.h"
#include "uaclient/service_settings.h"

namespace UaClientSdk {
namespace {

constexpr std::chrono::milliseconds betweenLooks(500);

/// Whether the connection can be used although a request did not get out.
bool leavesConnection(UaStatus status) {
    switch (status.statusCode()) {
    case UA_STATUSCODE_BADTIMEOUT:
    case UA_STATUSCODE_BADREQUESTTOOLARGE:
    case UA_STATUSCODE_BADENCODINGERROR:
    case UA_STATUSCODE_BADENCODINGLIMITSEXCEEDED:
        return true;
    default:
        return false;
    }
}

UA_RequestHeader& fillHeader(void* request, std::uint32_t requestId) {
    auto& header = *static_cast<UA_RequestHeader*>(request);
    header.requestHandle = requestId;
    header.timestamp = UaDateTime::now().ticks();
    return header;
}

} // namespace

/// Reads, while it waits for room, if nobody else does.
class Pipe::Room : public RoomToSend {
public:
    Room(Pipe& pipe, const Deadline& deadline, const Deadline& halfSentDeadline, ReadingTurn& turn)
        : m_pipe(pipe), m_deadline(deadline), m_halfSentDeadline(halfSentDeadline), m_turn(turn) {}

    UaStatus wait() override {
        noteStuck();
        if (m_pipe.m_ended)
            return m_pipe.endReason();
        const Deadline& deadline = m_pipe.m_channel->isHalfSent() ? m_halfSentDeadline : m_deadline;
        if (deadline.expired())
            return UA_STATUSCODE_BADTIMEOUT;
        m_turn.tryTake();
        const auto interest = m_turn.isHeld() ? TcpSocket::Interest::Both : TcpSocket::Interest::Send;
        const Deadline look(std::min(deadline.end(), Clock::now() + betweenLooks));
        const TcpSocket::Readiness ready = m_pipe.m_channel->socket().wait(interest, look);
        noteTaken();
        UaStatus status;
        if (m_turn.isHeld() && ready.readable) {
            status = m_pipe.receiveSome();
            if (!status.isBad())
                status = m_pipe.dispatchAll();
            if (status.isBad())
                m_pipe.fail(status);
        }
        return status;
    }

private:
    void noteStuck() {
        const std::lock_guard<std::mutex> lock(m_pipe.m_mutex);
        m_pipe.m_sendingIsStuck = true;
        m_pipe.m_sendingFree.notify_all(); // for who has something better to do than to wait
    }

    /// There may be room after a long time only, although bytes go all the time.
    void noteTaken() {
        const std::size_t unconfirmed = m_pipe.m_channel->socket().unconfirmed();
        if (unconfirmed < m_unconfirmed)
            m_pipe.m_lastTook = Clock::now().time_since_epoch().count();
        m_unconfirmed = unconfirmed;
    }

    Pipe& m_pipe;
    std::size_t m_unconfirmed = 0; ///< at the last look
    const Deadline& m_deadline;
    const Deadline& m_halfSentDeadline;
    ReadingTurn& m_turn;
};

/// Only a call waits for its turn, and lets others read meanwhile: what they read may be what is waited for.
UaStatus Pipe::takeSendingTurn(PendingRequest& request, const Deadline& deadline, ReadingTurn& turn) {
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto isFree = [this] { return !m_sending || m_ended; };
    if (request.call == nullptr && !isFree()) {
        m_sendingIsWanted = true;
        return UA_STATUSCODE_BADWOULDBLOCK;
    }
    if (turn.isHeld() && !isFree()) {
        lock.unlock();
        turn.release();
        lock.lock();
    }
    if (!m_sendingFree.wait_until(lock, deadline.end(), isFree))
        return UA_STATUSCODE_BADTIMEOUT;
    if (m_ended)
        return m_endReason;
    if (m_broken)
        return UA_STATUSCODE_BADCONNECTIONCLOSED;
    m_lastRequestId = std::max(m_lastRequestId + 1, 1U);
    request.id = m_lastRequestId;
    request.sentAt = Clock::now();
    if (request.call != nullptr) {
        request.call->requestId = request.id;
        request.call->sentAt = request.sentAt;
    }
    if (request.call != nullptr || request.receiver != nullptr)
        m_pending.add(request);
    m_sending = true;
    return UaStatus();
}

void Pipe::releaseSendingTurn() {
    bool isWanted = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_sending = m_sendingIsStuck = false;
        isWanted = std::exchange(m_sendingIsWanted, false);
        m_sendingFree.notify_all();
    }
    IdleReader* const idle = m_idleReader;
    if (isWanted && idle != nullptr)
        idle->sendingIsFree();
}

template <typename Send>
UaStatus Pipe::send(PendingRequest& request, const Deadline& deadline, ReadingTurn& turn,
                    Send&& sendRequest) {
    UaStatus status = takeSendingTurn(request, deadline, turn);
    if (status.isBad())
        return status;
    struct SendingTurn {
        Pipe& pipe;
        ~SendingTurn() { pipe.releaseSendingTurn(); }
    } const sending{*this};
    if (request.call != nullptr)
        turn.tryTake();
    // The rest of a request that nobody waits for has a call's time: without it the connection is lost. One
    // that was not to wait at all is a farewell.
    const bool isOwnDeadline = request.call != nullptr || deadline.expired();
    const Deadline halfSentDeadline =
        isOwnDeadline ? deadline : Deadline(ServiceSettings::defaultCallTimeout);
    Room room(*this, deadline, halfSentDeadline, turn);
    try {
        status = sendRequest(room);
    } catch (...) { // no memory; the call is about to leave its stack
        forget(request.id);
        if (m_channel->isHalfSent())
            fail(UA_STATUSCODE_BADOUTOFMEMORY);
        throw;
    }
    return status.isBad() ? notSent(request, status) : status;
}

/// A call is on its way with the others until the connection has ended; whoever posted is told by the result,
/// unless the server was quicker and has answered what it can't have read.
UaStatus Pipe::notSent(const PendingRequest& request, UaStatus reason) {
    const bool isTold = request.receiver != nullptr && !forget(request.id);
    if (reason.statusCode() == UA_STATUSCODE_BADCONNECTIONCLOSED && !m_ended) {
        stopSending();
        return request.call == nullptr && !isTold ? reason : UaStatus();
    }
    if (!leavesConnection(reason) || m_channel->isHalfSent())
        fail(reason);
    forget(request.id);
    return isTold ? UaStatus() : reason;
}

/// A server that hung up may have answered before: whoever reads finds the end behind that.
void Pipe::stopSending() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_broken = true;
    }
    m_channel->socket().shutDown();
}

UaStatus Pipe::sendCall(Call& call, void* request, const UA_DataType& type, ReadingTurn& turn) {
    PendingRequest pending;
    pending.call = &call;
    return send(pending, call.deadline, turn, [&](Room& room) {
        UA_RequestHeader& header = fillHeader(request, pending.id);
        header.timeoutHint = static_cast<UA_UInt32>(call.deadline.remaining(pending.sentAt));
        return m_channel->send(pending.id, request, type, room);
    });
}

UaStatus Pipe::post(void* request, const UA_DataType& type, const Deadline& deadline, Answered answered,
                    std::shared_ptr<AnswerReceiver> receiver) {
    PendingRequest pending;
    pending.answered = answered;
    pending.receiver = std::move(receiver);
    ReadingTurn turn(*this);
    return send(pending, deadline, turn, [&](Room& room) {
        fillHeader(request, pending.id);
        return m_channel->send(pending.id, request, type, room);
    });
}

UaStatus Pipe::renew(const Deadline& deadline) {
    PendingRequest renewal; // the channel itself takes the answer
    ReadingTurn turn(*this);
    return send(renewal, deadline, turn,
                [&](Room& room) { return m_channel->sendRenewal(renewal.id, room); });
}

} // namespace UaClientSdk
