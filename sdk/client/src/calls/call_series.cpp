#include "calls/call_series.h"

#include <algorithm>
#include <cstddef>
#include <mutex>

namespace UaClientSdk {
namespace {

/// What answers like the longest until now may add up to.
constexpr std::size_t bytesAhead = 4U << 20U;

} // namespace

Pipe::Series::~Series() {
    const std::lock_guard<std::mutex> lock(m_pipe.m_mutex);
    for (const Sent& sent : m_sent)
        m_pipe.m_pending.abandon(sent.call.requestId);
}

bool Pipe::Series::hasRoom() const {
    if (m_sent.empty())
        return true;
    std::unique_lock<std::mutex> lock(m_pipe.m_mutex);
    if (m_pipe.m_broken || m_sent.size() >= m_window.size() ||
        m_kept.largest * (m_sent.size() + 1) > bytesAhead) {
        return false;
    }
    // Another thread's sending is over in a moment, or it waits itself.
    m_pipe.m_sendingFree.wait(
        lock, [this] { return !m_pipe.m_sending || m_pipe.m_sendingIsStuck || m_pipe.m_ended; });
    return !m_pipe.m_sendingIsStuck;
}

void Pipe::Series::send(void* request, const UA_DataType& type, const Deadline& deadline,
                        std::size_t expectedResults) {
    m_sent.emplace_back(deadline, &m_kept, m_window.size(), expectedResults);
    for (Sent& sent : m_sent)
        sent.together = std::max(sent.together, m_sent.size());
    const UaStatus status = m_pipe.sendCall(m_sent.back().call, request, type, m_turn);
    if (status.isBad())
        end(m_sent.back().call, status);
}

void Pipe::Series::refuse(UaStatus status, std::size_t expectedResults) {
    m_sent.emplace_back(Deadline(0), &m_kept, m_window.size(), expectedResults);
    end(m_sent.back().call, status);
}

void Pipe::Series::end(Call& call, UaStatus reason) {
    const std::lock_guard<std::mutex> lock(m_pipe.m_mutex);
    call.end(reason);
}

UaStatus Pipe::Series::await(AnswerReceiver& receiver) {
    Call& call = m_sent.front().call;
    const UaStatus status = m_pipe.awaitAnswer(call, m_turn, receiver);
    m_lastFlight = flightOf(m_sent.front());
    {
        const std::lock_guard<std::mutex> lock(m_pipe.m_mutex);
        m_kept.bytes -= call.body.size();
    }
    m_sent.pop_front();
    return status;
}

Window::Flight Pipe::Series::flightOf(const Sent& sent) const {
    const bool came = sent.call.answeredAt != Clock::time_point();
    const Clock::time_point end = came ? sent.call.answeredAt : Clock::now();
    return {sent.windowSize, end - sent.call.sentAt, sent.together, m_pipe.lastHeard() > sent.call.sentAt};
}

} // namespace UaClientSdk
