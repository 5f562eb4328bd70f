#pragma once

#include <atomic>
#include <mutex>
#include <thread>

#include "calls/pipe.h"
#include "uabase/file_descriptor.h"

namespace UaClientSdk {

/// What is to be done from time to time on a connection.
class Housekeeping {
public:
    virtual ~Housekeeping() = default;
    /// Does what is due, and tells when it wants to be asked next.
    virtual Clock::time_point keepHouse() = 0;
};

/// A session's own thread: waits for the socket, always, unless a call reads, and keeps house. It runs
/// nothing of the application's, and waits for nothing else.
class NetworkThread : public IdleReader {
public:
    NetworkThread(Pipe& pipe, Housekeeping& housekeeping) : m_pipe(pipe), m_housekeeping(housekeeping) {}
    ~NetworkThread() override;
    NetworkThread(const NetworkThread&) = delete;
    NetworkThread& operator=(const NetworkThread&) = delete;

    /// BadResourceUnavailable when the system has no thread or descriptor left.
    UaStatus start();
    /// Returns when the thread has ended; the pipe is closed before, so that this is at once.
    void stop();
    /// There may be something to keep house about.
    void wake();

    void leaveSocket() override;
    void watchSocket() override;
    void sendingIsFree() override { wake(); }

private:
    void run();
    void waitFor(Clock::time_point end);
    void watchHasEnded();

    Pipe& m_pipe;
    Housekeeping& m_housekeeping;
    std::thread m_thread;
    std::atomic<std::thread::id> m_self{}; ///< of the thread, once it runs
    std::atomic<bool> m_stop{false};
    UaFileDescriptor m_epoll;
    UaFileDescriptor m_event;
    std::mutex m_watchMutex; ///< what the kernel knows is what the flag says
    bool m_watching = false;
};

} // namespace UaClientSdk
