#include "network_thread.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <system_error>
#include <utility>

namespace UaClientSdk {
namespace {

/// While a caller is in the loop it serves socket and timers itself; this is how soon the thread looks again.
constexpr int retryInterval = 20;

/// Calls are a burst when so many have ended within so short a time of each other. While it lasts the thread
/// serves the engine every now and then.
constexpr int callsOfABurst = 8;
constexpr std::chrono::milliseconds timeThatEndsABurst(1);
constexpr int lookInterval = 2;

} // namespace

epoll_event NetworkThread::eventFor(int socket, Interest interest) {
    // One event a time: the socket stays ready until a thread gets into the loop to serve it.
    epoll_event event{};
    event.events = EPOLLONESHOT;
    if (interest != Interest::Nothing) {
        event.events |= EPOLLRDHUP;
    }
    if (interest == Interest::EndAndData) {
        event.events |= EPOLLIN;
    }
    event.data.fd = socket;
    return event;
}

NetworkThread::NetworkThread(EngineClient& engine, std::function<void()> atRest)
    : m_engine(engine), m_atRest(std::move(atRest)) {
    m_epoll = epoll_create1(EPOLL_CLOEXEC);
    m_event = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = m_event;
    if (m_epoll < 0 || m_event < 0 || epoll_ctl(m_epoll, EPOLL_CTL_ADD, m_event, &event) != 0) {
        const int error = errno;
        close(m_epoll);
        close(m_event);
        throw std::system_error(error, std::generic_category(), "epoll");
    }
}

NetworkThread::~NetworkThread() {
    stop();
    close(m_epoll);
    close(m_event);
}

void NetworkThread::start() {
    // What the thread reports may lead to stop() at once, on another thread: it begins when this is complete.
    const std::lock_guard<std::mutex> owner(m_loop);
    watch(m_engine.socket());
    m_thread = std::thread([this] { run(); });
}

void NetworkThread::stop() {
    if (m_thread.joinable()) {
        m_stop = true;
        wake();
        m_thread.join();
    }
}

void NetworkThread::watch(int socket) {
    m_watched = socket;
    if (socket >= 0) {
        epoll_event event = eventFor(socket, Interest::End);
        epoll_ctl(m_epoll, EPOLL_CTL_ADD, socket, &event);
    }
}

void NetworkThread::expectNotifications(bool expected) {
    m_expectNotifications = expected;
    if (!expected) {
        m_burst = false;
        setInterest(Interest::End);
    }
}

void NetworkThread::setInterest(Interest interest) {
    if (m_watched >= 0) {
        epoll_event event = eventFor(m_watched, interest);
        epoll_ctl(m_epoll, EPOLL_CTL_MOD, m_watched, &event);
    }
}

void NetworkThread::wake() {
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(m_event, &one, sizeof one);
}

void NetworkThread::run() {
    int timeout = 0;
    while (!m_stop) {
        wait(timeout);
        const std::unique_lock<std::mutex> owner(m_loop, std::try_to_lock);
        timeout = owner.owns_lock() ? serveEngine() : m_burst ? lookInterval : retryInterval;
    }
}

void NetworkThread::wait(int timeout) {
    epoll_event events[2];
    const int count = epoll_wait(m_epoll, events, 2, timeout);
    for (int i = 0; i < count; ++i) {
        if (events[i].data.fd == m_event) {
            std::uint64_t value = 0;
            // NOLINTNEXTLINE(clang-analyzer-unix.BlockInCriticalSection): run() gave its lock back before
            [[maybe_unused]] const ssize_t got = read(m_event, &value, sizeof value);
        }
    }
}

/// Returns the milliseconds until the engine needs this thread again, -1 when the connection is gone.
int NetworkThread::serveEngine() {
    const bool isBurst = m_burst && std::chrono::steady_clock::now() - m_lastCall < timeThatEndsABurst;
    do {
        m_engine.iterate();
    } while (m_engine.hasDelayedWork());
    m_atRest();
    if (m_watched < 0) {
        return -1;
    }
    m_burst = isBurst;
    if (isBurst) {
        return lookInterval;
    }
    setInterest(m_expectNotifications ? Interest::EndAndData : Interest::End);
    return m_engine.untilNextTimer();
}

/// Counts the call that is ending.
bool NetworkThread::isInBurst() {
    const auto now = std::chrono::steady_clock::now();
    const bool follows = now - m_lastCall < timeThatEndsABurst;
    m_callsInARow = follows ? std::min(m_callsInARow + 1, callsOfABurst) : 0;
    m_lastCall = now;
    return m_callsInARow == callsOfABurst;
}

NetworkThread::LoopOwner::LoopOwner(NetworkThread& thread) : m_thread(thread) {
    m_thread.m_loop.lock();
    if (m_thread.m_expectNotifications && !m_thread.m_burst) {
        m_thread.setInterest(Interest::Nothing);
    }
}

NetworkThread::LoopOwner::~LoopOwner() {
    m_thread.m_atRest();
    bool needsThread = m_thread.m_engine.hasDelayedWork();
    if (m_thread.m_expectNotifications) {
        const bool wasBurst = m_thread.m_burst;
        m_thread.m_burst = m_thread.isInBurst();
        if (!m_thread.m_burst) {
            m_thread.setInterest(Interest::EndAndData);
        } else if (!wasBurst) {
            needsThread = true; // it must wait by the clock from now on
        }
    }
    m_thread.m_loop.unlock();
    if (needsThread) {
        m_thread.wake();
    }
}

} // namespace UaClientSdk
