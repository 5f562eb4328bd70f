#include "calls/pipe.h"

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <new>
#include <vector>

#include "calls/call.h"
#include "calls/reading_turn.h"
#include "uabase/trace.h"

namespace UaClientSdk {
namespace {

/// That one of them has no memory is no reason for the others not to be told.
void tellEnd(AnswerReceiver& receiver, UaStatus reason) {
    try {
        receiver.answered(reason, UaByteView());
    } catch (const std::bad_alloc&) {
        UaTrace::write(UaTrace::Errors, "session", "no memory to end a request");
    }
}

} // namespace

UaStatus Pipe::call(void* request, const UA_DataType& type, const Deadline& deadline,
                    AnswerReceiver& receiver) {
    Call call(deadline);
    ReadingTurn turn(*this);
    const UaStatus status = sendCall(call, request, type, turn);
    if (status.isBad())
        return status;
    try {
        return awaitAnswer(call, turn, receiver);
    } catch (...) { // no memory
        giveUp(call);
        throw;
    }
}

bool Pipe::forget(std::uint32_t requestId) {
    PendingRequest forgotten; // goes when the lock is no longer held
    const std::lock_guard<std::mutex> lock(m_mutex);
    forgotten = m_pending.take(requestId);
    return forgotten.id != 0;
}

Clock::time_point Pipe::oldestUnanswered() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_pending.oldestUnanswered();
}

void Pipe::giveUpPosted(Clock::time_point limit) {
    std::vector<PendingRequest> late;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        late = m_pending.takePostedBefore(limit);
    }
    for (const PendingRequest& one : late)
        one.receiver->answered(UA_STATUSCODE_BADTIMEOUT, UaByteView());
}

void Pipe::giveUpOldestForData(unsigned int count) {
    for (; count > 0; --count) {
        PendingRequest lost;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            lost = m_pending.abandonOldestForData();
        }
        if (lost.receiver == nullptr)
            return;
        lost.receiver->answered(UA_STATUSCODE_BADTIMEOUT, UaByteView());
    }
}

void Pipe::close(UaStatus reason) {
    end(reason, Ending::InOrder);
}

void Pipe::abandon(UaStatus reason) {
    end(reason, Ending::WithoutAWord);
}

void Pipe::fail(UaStatus reason) {
    end(reason, Ending::Failed);
}

bool Pipe::hasUnansweredCall() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_lastGivenUp != 0 || m_pending.hasCall();
}

UaStatus Pipe::endReason() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_endReason;
}

void Pipe::end(UaStatus reason, Ending ending) {
    std::vector<PendingRequest> pending;
    bool tellServer = false;
    std::size_t waiting = 0;
    std::uint32_t requestId = 0;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_ended)
            return;
        m_endReason = reason;
        m_ended = true;
        tellServer = ending == Ending::InOrder && !m_sending;
        requestId = m_lastRequestId + 1;
        pending = m_pending.takeAll();
        for (const PendingRequest& one : pending) {
            if (one.call != nullptr) {
                one.call->end(reason);
                one.call->wakeUp.notify_one();
                waiting += one.call->kept != nullptr ? 1 : 0;
            }
        }
        m_sendingFree.notify_all();
    }
    if (tellServer)
        m_channel->sendClose(requestId);
    if (ending == Ending::InOrder)
        m_channel->socket().shutDown();
    else
        m_channel->socket().abort();
    for (const PendingRequest& one : pending)
        if (one.receiver != nullptr)
            tellEnd(*one.receiver, reason);
    ConnectionListener* const listener = m_listener;
    if (ending == Ending::Failed && listener != nullptr)
        listener->connectionEnded(reason, waiting);
}

} // namespace UaClientSdk
