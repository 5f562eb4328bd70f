#include "calls/reading_turn.h"

#include <mutex>

#include "calls/call.h"

namespace UaClientSdk {

void Pipe::ReadingTurn::release() {
    if (!m_held)
        return;
    m_held = false;
    // What came along with the last answer would announce itself to nobody.
    const UaStatus status = m_pipe.dispatchAll();
    if (status.isBad())
        m_pipe.fail(status);
    if (passOn())
        return;
    IdleReader* const idle = m_pipe.m_idleReader;
    if (idle != nullptr && !m_pipe.m_ended)
        idle->watchSocket();
}

bool Pipe::ReadingTurn::passOn() {
    const std::lock_guard<std::mutex> lock(m_pipe.m_mutex);
    if (Call* const call = m_pipe.m_pending.waitingCall()) {
        call->mayRead = true;
        call->waits = false;
        call->wakeUp.notify_one();
        return true;
    }
    m_pipe.m_reading = false;
    return false;
}

} // namespace UaClientSdk
