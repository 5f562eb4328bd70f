#pragma once

#include <mutex>

#include "calls/pipe.h"

namespace UaClientSdk {

/// The right to read. Whoever has had it passes it on in the end.
class Pipe::ReadingTurn {
public:
    explicit ReadingTurn(Pipe& pipe) : m_pipe(pipe) {}
    ~ReadingTurn() { release(); }
    ReadingTurn(const ReadingTurn&) = delete;
    ReadingTurn& operator=(const ReadingTurn&) = delete;

    bool isHeld() const { return m_held; }
    /// Whether a call waits for it.
    bool isWanted() const {
        const std::lock_guard<std::mutex> lock(m_pipe.m_mutex);
        return m_pipe.m_pending.waitingCall() != nullptr;
    }
    /// Takes it if nobody has it. The pipe is locked.
    void tryTakeLocked() {
        m_held = m_held || !m_pipe.m_reading;
        m_pipe.m_reading = true;
    }
    /// Takes what another thread has passed on. The pipe is locked.
    void inherit() { m_held = true; }
    /// Without the pipe's lock, after a take: the idle reader would wake for an answer that is not for it.
    void keepIdleReaderOut() {
        IdleReader* const idle = m_pipe.m_idleReader;
        if (m_held && idle != nullptr)
            idle->leaveSocket();
    }
    void tryTake() {
        {
            const std::lock_guard<std::mutex> lock(m_pipe.m_mutex);
            tryTakeLocked();
        }
        keepIdleReaderOut();
    }
    void release();

private:
    bool passOn();

    Pipe& m_pipe;
    bool m_held = false;
};

} // namespace UaClientSdk
