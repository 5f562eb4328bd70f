#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <new>

#include "calls/call.h"
#include "calls/pipe.h"
#include "calls/reading_turn.h"
#include "uabase/trace.h"

namespace UaClientSdk {
namespace {

/// Beyond that many, answers that nobody asked for are dropped without a word.
constexpr unsigned int tracedUnexpected = 10;
/// There may be no end to what a server sends: what has arrived when other work is due is read for so long.
constexpr std::chrono::milliseconds longestTurn(100);

} // namespace

UaStatus Pipe::awaitAnswer(Call& call, ReadingTurn& turn, AnswerReceiver& receiver) {
    std::unique_lock<std::mutex> lock(m_mutex);
    Clock::time_point limit = call.deadline.end();
    while (!call.answered) {
        if (call.mayRead)
            turn.inherit();
        else
            turn.tryTakeLocked();
        if (turn.isHeld()) {
            lock.unlock();
            turn.keepIdleReaderOut();
            return readFor(call, receiver);
        }
        call.waits = true;
        const bool late = call.wakeUp.wait_until(lock, limit) == std::cv_status::timeout;
        call.waits = false;
        if (late && !call.answered && !call.mayRead) {
            // This process may have stood still: whoever reads comes to the answer now.
            const Clock::time_point now = Clock::now();
            if (now > limit + longestTurn) {
                limit = now + longestTurn;
                continue;
            }
            lock.unlock();
            return giveUp(call);
        }
    }
    if (call.mayRead)
        turn.inherit();
    lock.unlock();
    return call.hasMessage ? receiver.answered(call.status, {call.body.data(), call.body.size()})
                           : call.status;
}

UaStatus Pipe::readFor(Call& call, AnswerReceiver& receiver) {
    bool late = false;
    Clock::time_point end = Clock::time_point::max(); // known when the deadline is over
    for (;;) {
        IncomingMessage message;
        bool found = false;
        UaStatus status = dispatchUntil(call.requestId, message, found);
        if (found) {
            takeOwnAnswer(call, message);
            return receiver.answered(message.status, message.body);
        }
        if (!status.isBad() && !m_ended) {
            if (late)
                return giveUp(call);
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
        if (status.isBad())
            fail(status);
        if (m_ended)
            return endReason();
    }
}

UaStatus Pipe::giveUp(const Call& call) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_pending.take(call.requestId).call != nullptr)
        m_lastGivenUp = call.requestId;
    return UA_STATUSCODE_BADTIMEOUT;
}

void Pipe::takeOwnAnswer(Call& call, const IncomingMessage& message) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_pending.take(call.requestId);
    noteReached(call.requestId);
    call.noteAnswer(message, lastHeard());
}

/// What was sent before a request that the server has answered has reached it, too.
void Pipe::noteReached(std::uint32_t requestId) {
    if (static_cast<std::int32_t>(requestId - m_lastGivenUp) > 0)
        m_lastGivenUp = 0;
}

/// A message for which there is no memory is lost, and all that follows is of no use without it.
UaStatus Pipe::dispatchUntil(std::uint32_t requestId, IncomingMessage& message, bool& found) {
    try {
        for (;;) {
            const UaStatus status = m_channel->next(message, found);
            if (status.isBad() || !found || message.requestId == requestId)
                return status;
            dispatch(message);
        }
    } catch (const std::bad_alloc&) {
        found = false;
        return UA_STATUSCODE_BADOUTOFMEMORY;
    }
}

UaStatus Pipe::dispatchAll() {
    if (m_ended)
        return UaStatus();
    IncomingMessage message;
    bool found = false;
    constexpr std::uint32_t none = 0;
    for (;;) {
        const UaStatus status = dispatchUntil(none, message, found);
        if (status.isBad() || !found)
            return status;
        dispatch(message); // request id 0 is nobody's
    }
}

void Pipe::dispatch(const IncomingMessage& message) {
    std::unique_lock<std::mutex> lock(m_mutex);
    const PendingRequest* const found = m_pending.find(message.requestId);
    if (found == nullptr) {
        const bool wasAbandoned = m_pending.takeAbandoned(message.requestId);
        lock.unlock();
        if (!wasAbandoned && m_unexpected++ < tracedUnexpected) {
            UaTrace::write(UaTrace::Warnings, "channel",
                           "an answer that nobody waits for, or no longer, was dropped (request %u)",
                           message.requestId);
        }
        return;
    }
    noteReached(message.requestId);
    if (Call* const call = found->call) {
        call->answer(message, lastHeard());
        m_pending.take(message.requestId);
        call->wakeUp.notify_one();
        return;
    }
    const PendingRequest request = m_pending.take(message.requestId);
    lock.unlock();
    request.receiver->answered(message.status, message.body);
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
        if (ConnectionListener* const listener = m_listener)
            listener->serverSpoke();
    }
}

void Pipe::readArrived() {
    ReadingTurn turn(*this);
    turn.tryTake();
    if (!turn.isHeld())
        return;
    const Clock::time_point end = Clock::now() + longestTurn;
    UaStatus status;
    while (!m_ended && !status.isBad() && lastHeard() < end && !turn.isWanted() &&
           m_channel->socket().isReadable()) {
        status = receiveSome();
        if (!status.isBad())
            status = dispatchAll();
    }
    if (status.isBad())
        fail(status);
}

} // namespace UaClientSdk
