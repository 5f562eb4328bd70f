#include "calls/pipe.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <utility>

#include "calls/call.h"
#include "calls/call_series.h"
#include "calls/reading_turn.h"
#include "uabase/date_time.h"
#include "uabase/trace.h"

namespace UaClientSdk {
namespace {

/// Beyond that many, answers that nobody asked for are dropped without a word.
constexpr unsigned int tracedUnexpected = 10;
/// There may be no end to what a server sends: what has arrived when other work is due is read for so long.
constexpr std::chrono::milliseconds longestTurn(100);

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

} // namespace

/// Reads, while it waits for room, if nobody else does.
class Pipe::Room : public RoomToSend {
public:
    Room(Pipe& pipe, const Deadline& deadline, ReadingTurn& turn)
        : m_pipe(pipe), m_deadline(deadline), m_turn(turn) {}

    UaStatus wait() override {
        if (m_pipe.m_ended) {
            return m_pipe.endReason();
        }
        if (m_deadline.expired()) {
            return UA_STATUSCODE_BADTIMEOUT;
        }
        m_turn.tryTake();
        const auto interest = m_turn.isHeld() ? TcpSocket::Interest::Both : TcpSocket::Interest::Send;
        const TcpSocket::Readiness ready = m_pipe.m_channel->socket().wait(interest, m_deadline);
        UaStatus status;
        if (m_turn.isHeld() && ready.readable) {
            status = m_pipe.receiveSome();
            if (!status.isBad()) {
                status = m_pipe.dispatchAll();
            }
        }
        return status;
    }

private:
    Pipe& m_pipe;
    const Deadline& m_deadline;
    ReadingTurn& m_turn;
};

// ---- Sending ----

UaStatus Pipe::takeSendingTurn(const Deadline& deadline, Pending* pending) {
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto isFree = [this] { return !m_sending || m_ended; };
    const bool mayWait = pending != nullptr && pending->call != nullptr;
    if (!mayWait && !isFree()) {
        m_sendingIsWanted = true;
        return UA_STATUSCODE_BADWOULDBLOCK;
    }
    if (!m_sendingFree.wait_until(lock, deadline.end(), isFree)) {
        return UA_STATUSCODE_BADTIMEOUT;
    }
    if (m_ended) {
        return m_endReason;
    }
    if (pending != nullptr) {
        m_lastRequestId = std::max(m_lastRequestId + 1, 1U);
        pending->requestId = m_lastRequestId;
        pending->sentAt = Clock::now();
        if (pending->call != nullptr) {
            pending->call->requestId = m_lastRequestId;
            pending->call->sentAt = pending->sentAt;
        }
        m_pending.push_back(*pending);
    }
    m_sending = true;
    return UaStatus();
}

void Pipe::releaseSendingTurn() {
    bool isWanted = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_sending = false;
        isWanted = std::exchange(m_sendingIsWanted, false);
        m_sendingFree.notify_one();
    }
    IdleReader* const idle = m_idleReader;
    if (isWanted && idle != nullptr) {
        idle->sendingIsFree();
    }
}

template <typename Send>
UaStatus Pipe::send(const Deadline& deadline, Pending* pending, ReadingTurn& turn, Send&& sendRequest) {
    UaStatus status = takeSendingTurn(deadline, pending);
    if (status.isBad()) {
        return status;
    }
    struct SendingTurn {
        Pipe& pipe;
        ~SendingTurn() { pipe.releaseSendingTurn(); }
    } const sending{*this};
    if (pending != nullptr && pending->call != nullptr) {
        turn.tryTake();
    }
    Room room(*this, deadline, turn);
    try {
        status = sendRequest(room);
    } catch (...) { // no memory; the call is about to leave its stack
        if (pending != nullptr) {
            take(pending->requestId);
        }
        if (m_channel->isHalfSent()) {
            fail(UA_STATUSCODE_BADOUTOFMEMORY);
        }
        throw;
    }
    if (status.isBad()) {
        if (pending != nullptr) {
            take(pending->requestId);
        }
        const bool broken = !leavesConnection(status);
        if (broken) {
            takeLeftovers(turn);
        }
        if (broken || m_channel->isHalfSent()) {
            fail(status);
        }
    }
    return status;
}

/// A server that hung up may have answered before.
void Pipe::takeLeftovers(ReadingTurn& turn) {
    turn.tryTake();
    if (turn.isHeld() && !dispatchAll().isBad()) {
        readWhile([] { return true; });
    }
}

UaStatus Pipe::call(void* request, const UA_DataType& type, const Deadline& deadline,
                    AnswerReceiver& receiver) {
    Call call(deadline);
    ReadingTurn turn(*this);
    const UaStatus status = sendCall(call, request, type, turn);
    if (status.isBad()) {
        return status;
    }
    try {
        return awaitAnswer(call, turn, receiver);
    } catch (...) { // no memory
        take(call.requestId);
        throw;
    }
}

UaStatus Pipe::sendCall(Call& call, void* request, const UA_DataType& type, ReadingTurn& turn) {
    Pending pending;
    pending.call = &call;
    return send(call.deadline, &pending, turn, [&](Room& room) {
        auto& header = *static_cast<UA_RequestHeader*>(request);
        header.requestHandle = pending.requestId;
        header.timestamp = UaDateTime::now().ticks();
        header.timeoutHint = static_cast<UA_UInt32>(call.deadline.remaining(pending.sentAt));
        return m_channel->send(pending.requestId, request, type, room);
    });
}

UaStatus Pipe::post(void* request, const UA_DataType& type, const Deadline& deadline, Answered answered,
                    std::shared_ptr<AnswerReceiver> receiver) {
    Pending pending;
    pending.answered = answered;
    pending.receiver = std::move(receiver);
    ReadingTurn turn(*this);
    return send(deadline, &pending, turn, [&](Room& room) {
        auto& header = *static_cast<UA_RequestHeader*>(request);
        header.requestHandle = pending.requestId;
        header.timestamp = UaDateTime::now().ticks();
        return m_channel->send(pending.requestId, request, type, room);
    });
}

UaStatus Pipe::renew(const Deadline& deadline) {
    Pending pending;
    ReadingTurn turn(*this);
    return send(deadline, nullptr, turn, [&](Room& room) {
        std::uint32_t requestId = 0;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_lastRequestId = std::max(m_lastRequestId + 1, 1U);
            requestId = m_lastRequestId;
        }
        return m_channel->sendRenewal(requestId, room);
    });
}

// ---- Receiving ----

UaStatus Pipe::awaitAnswer(Call& call, ReadingTurn& turn, AnswerReceiver& receiver) {
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!call.answered) {
        if (call.mayRead) {
            turn.inherit();
        } else {
            turn.tryTakeLocked();
        }
        if (turn.isHeld()) {
            lock.unlock();
            turn.keepIdleReaderOut();
            return readFor(call, receiver);
        }
        call.waits = true;
        const bool late = call.wakeUp.wait_until(lock, call.deadline.end()) == std::cv_status::timeout;
        call.waits = false;
        if (late && !call.answered && !call.mayRead) {
            lock.unlock();
            take(call.requestId);
            return UA_STATUSCODE_BADTIMEOUT;
        }
    }
    if (call.mayRead) {
        turn.inherit();
    }
    lock.unlock();
    return receiver.answered(call.status, {call.body.data(), call.body.size()});
}

UaStatus Pipe::readFor(Call& call, AnswerReceiver& receiver) {
    bool late = false;
    Clock::time_point end = Clock::time_point::max(); // known when the deadline is over
    for (;;) {
        IncomingMessage message;
        bool found = false;
        UaStatus status = dispatchUntil(call.requestId, message, found);
        if (found) {
            take(call.requestId);
            if (call.kept != nullptr) {
                call.kept->largest = std::max(call.kept->largest, message.body.size);
            }
            return receiver.answered(message.status, message.body);
        }
        if (!status.isBad() && !m_ended) {
            if (late) {
                take(call.requestId);
                return UA_STATUSCODE_BADTIMEOUT;
            }
            std::size_t count = 0;
            status = m_channel->awaitSome(call.deadline, count);
            heard(count);
            // What has arrived is read first, but not without end where there is always more.
            const Clock::time_point now = count > 0 ? lastHeard() : Clock::now();
            if (now >= call.deadline.end()) {
                end = std::min(end, now + longestTurn);
                late = count == 0 || now >= end;
            }
        }
        if (status.isBad()) {
            fail(status);
        }
        if (m_ended) {
            return endReason();
        }
    }
}

/// A message for which there is no memory is lost, and all that follows is of no use without it.
UaStatus Pipe::dispatchUntil(std::uint32_t requestId, IncomingMessage& message, bool& found) {
    try {
        for (;;) {
            const UaStatus status = m_channel->next(message, found);
            if (status.isBad() || !found || message.requestId == requestId) {
                return status;
            }
            dispatch(message);
        }
    } catch (const std::bad_alloc&) {
        found = false;
        return UA_STATUSCODE_BADOUTOFMEMORY;
    }
}

UaStatus Pipe::dispatchAll() {
    if (m_ended) {
        return UaStatus();
    }
    IncomingMessage message;
    bool found = false;
    constexpr std::uint32_t none = 0;
    for (;;) {
        const UaStatus status = dispatchUntil(none, message, found);
        if (status.isBad() || !found) {
            return status;
        }
        dispatch(message); // request id 0 is nobody's
    }
}

void Pipe::dispatch(const IncomingMessage& message) {
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto entry = std::find_if(m_pending.begin(), m_pending.end(), [&message](const Pending& pending) {
        return pending.requestId == message.requestId;
    });
    if (entry == m_pending.end()) {
        lock.unlock();
        if (m_unexpected++ < tracedUnexpected) {
            UaTrace::write(UaTrace::Warnings, "channel",
                           "an answer that nobody waits for, or no longer, was dropped (request %u)",
                           message.requestId);
        }
        return;
    }
    if (Call* const call = entry->call) {
        call->answer(message);
        m_pending.erase(entry);
        call->wakeUp.notify_one();
        return;
    }
    const std::shared_ptr<AnswerReceiver> receiver = std::move(entry->receiver);
    m_pending.erase(entry);
    lock.unlock();
    receiver->answered(message.status, message.body);
}

Pipe::Call* Pipe::waitingCall() const {
    const auto waits = [](const Pending& pending) { return pending.call != nullptr && pending.call->waits; };
    const auto found = std::find_if(m_pending.begin(), m_pending.end(), waits);
    return found == m_pending.end() ? nullptr : found->call;
}

UaStatus Pipe::receiveSome() {
    std::size_t count = 0;
    const UaStatus status = m_channel->receive(count);
    heard(count);
    return status;
}

void Pipe::heard(std::size_t count) {
    if (count > 0) {
        m_lastHeard = Clock::now().time_since_epoch().count();
        if (ConnectionListener* const listener = m_listener) {
            listener->serverSpoke();
        }
    }
}

template <typename Condition>
UaStatus Pipe::readWhile(Condition condition) {
    const Clock::time_point end = Clock::now() + longestTurn;
    UaStatus status;
    while (!m_ended && !status.isBad() && lastHeard() < end && condition() &&
           m_channel->socket().isReadable()) {
        status = receiveSome();
        if (!status.isBad()) {
            status = dispatchAll();
        }
    }
    return status;
}

void Pipe::readArrived() {
    ReadingTurn turn(*this);
    turn.tryTake();
    if (!turn.isHeld()) {
        return;
    }
    const UaStatus status = readWhile([&turn] { return !turn.isWanted(); });
    if (status.isBad()) {
        fail(status);
    }
}

Pipe::Pending Pipe::take(std::uint32_t requestId) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto entry = std::find_if(m_pending.begin(), m_pending.end(), [requestId](const Pending& pending) {
        return pending.requestId == requestId;
    });
    Pending taken;
    if (entry != m_pending.end()) {
        taken = std::move(*entry);
        m_pending.erase(entry);
    }
    return taken;
}

Clock::time_point Pipe::oldestUnanswered() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    Clock::time_point oldest = Clock::time_point::max();
    for (const Pending& pending : m_pending) {
        if (pending.answered == Answered::Soon) {
            oldest = std::min(oldest, pending.sentAt);
        }
    }
    return oldest;
}

void Pipe::giveUpPosted(Clock::time_point limit) {
    std::vector<Pending> late;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto end = std::stable_partition(m_pending.begin(), m_pending.end(), [&](const Pending& one) {
            return one.call != nullptr || one.answered != Answered::Soon || one.sentAt >= limit;
        });
        late.assign(std::make_move_iterator(end), std::make_move_iterator(m_pending.end()));
        m_pending.erase(end, m_pending.end());
    }
    for (const Pending& one : late) {
        one.receiver->answered(UA_STATUSCODE_BADTIMEOUT, UaByteView());
    }
}

// ---- The end ----

void Pipe::close(UaStatus reason) {
    end(reason, true);
}

void Pipe::fail(UaStatus reason) {
    end(reason, false);
}

UaStatus Pipe::endReason() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_endReason;
}

void Pipe::end(UaStatus reason, bool byThisSide) {
    std::vector<Pending> pending;
    bool tellServer = false;
    std::size_t waiting = 0;
    std::uint32_t requestId = 0;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_ended) {
            return;
        }
        m_endReason = reason;
        m_ended = true;
        tellServer = byThisSide && !m_sending;
        requestId = m_lastRequestId + 1;
        pending.swap(m_pending);
        for (const Pending& one : pending) {
            if (one.call != nullptr) {
                one.call->end(reason);
                one.call->wakeUp.notify_one();
                waiting += one.call->kept != nullptr ? 1 : 0;
            }
        }
        m_sendingFree.notify_all();
    }
    if (tellServer) {
        m_channel->sendClose(requestId);
    }
    if (byThisSide) {
        m_channel->socket().shutDown();
    } else {
        m_channel->socket().abort();
    }
    for (const Pending& one : pending) {
        if (one.receiver != nullptr) {
            one.receiver->answered(reason, UaByteView());
        }
    }
    ConnectionListener* const listener = m_listener;
    if (!byThisSide && listener != nullptr) {
        listener->connectionEnded(reason, waiting);
    }
}

} // namespace UaClientSdk
