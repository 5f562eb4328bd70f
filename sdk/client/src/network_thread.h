#pragma once

#include <sys/epoll.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <thread>

#include "engine_client.h"

namespace UaClientSdk {

/// Who may run the engine's loop: one owner at a time.
///
/// Service calls run the loop on their caller's thread. In between, a thread of this object waits outside the
/// loop for the socket and the engine's timers, and enters the loop only while no caller is in it: the engine
/// refuses a call while another thread sits in its loop, and nothing can wake a thread that does.
///
/// Waking two threads for one answer would cost a caller more than the call itself. So the waiting thread
/// does not look at incoming data at all while nothing but answers can come (only at the connection's end;
/// whatever else arrives waits for the next timer, a second at most), and otherwise not while a caller is in
/// the loop. Telling the kernel so costs each call a little; in a burst of calls the thread therefore does
/// not wait for the socket from one call to the next either, and sees by the clock when the burst is over.
class NetworkThread {
public:
    /// `atRest` runs inside the loop whenever an owner is about to leave it.
    NetworkThread(EngineClient& engine, std::function<void()> atRest);
    ~NetworkThread();
    NetworkThread(const NetworkThread&) = delete;
    NetworkThread& operator=(const NetworkThread&) = delete;

    void start();
    /// Ends the thread; the loop may still be owned by callers.
    void stop();
    /// Watches another socket from now on, or none (-1). Called from inside the loop.
    void watch(int socket);
    /// Whether data may come that nobody has asked for.
    void expectNotifications(bool expected);

    /// Ownership of the loop for one service call.
    class LoopOwner {
    public:
        explicit LoopOwner(NetworkThread& thread);
        ~LoopOwner();
        LoopOwner(const LoopOwner&) = delete;
        LoopOwner& operator=(const LoopOwner&) = delete;

    private:
        NetworkThread& m_thread;
    };

private:
    enum class Interest { End, EndAndData, Nothing };

    void run();
    void wait(int timeout);
    int serveEngine();
    static epoll_event eventFor(int socket, Interest interest);
    void setInterest(Interest interest);
    bool isInBurst();
    void wake();

    EngineClient& m_engine;
    std::function<void()> m_atRest;
    std::mutex m_loop;
    std::thread m_thread;
    std::atomic<bool> m_stop{false};
    std::atomic<bool> m_burst{false}; ///< callers leave the socket to this thread
    int m_epoll = -1;
    int m_event = -1;

    // Guarded by m_loop.
    int m_watched = -1;
    bool m_expectNotifications = false;
    int m_callsInARow = 0;
    std::chrono::steady_clock::time_point m_lastCall;
};

} // namespace UaClientSdk
