#include "calls/network_thread.h"

#include <cstdint>
#include <mutex>
#include <new>
#include <pthread.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <thread>
#include <utility>

#include "own_thread.h"
#include "uabase/trace.h"

namespace UaClientSdk {
namespace {

enum Source : std::uint32_t { Socket, Event };

epoll_event eventOf(Source source, std::uint32_t events) {
    epoll_event event{};
    event.events = events;
    event.data.u32 = source;
    return event;
}

} // namespace

NetworkThread::~NetworkThread() {
    stop();
}

UaStatus NetworkThread::start() {
    m_epoll.reset(epoll_create1(EPOLL_CLOEXEC));
    m_event.reset(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    epoll_event event = eventOf(Event, EPOLLIN);
    epoll_event socket = eventOf(Socket, EPOLLONESHOT);
    if (!m_epoll.isOpen() || !m_event.isOpen() ||
        epoll_ctl(m_epoll.get(), EPOLL_CTL_ADD, m_event.get(), &event) != 0 ||
        epoll_ctl(m_epoll.get(), EPOLL_CTL_ADD, m_pipe.channel().socket().descriptor(), &socket) != 0) {
        UaTrace::write(UaTrace::Errors, "session", "the system has no descriptor left for the session");
        return UA_STATUSCODE_BADRESOURCEUNAVAILABLE;
    }
    UaStatus status;
    m_thread = startOwnThread([this] { run(); }, status);
    if (status.isBad())
        return status;
    m_pipe.setIdleReader(this);
    watchSocket();
    return UaStatus();
}

void NetworkThread::stop() {
    if (m_thread.joinable()) {
        m_stop = true;
        wake();
        m_thread.join();
        m_pipe.setIdleReader(nullptr);
    }
}

void NetworkThread::wake() {
    if (m_self.load() != std::this_thread::get_id())
        eventfd_write(m_event.get(), 1);
}

void NetworkThread::leaveSocket() {
    const std::lock_guard<std::mutex> lock(m_watchMutex);
    if (std::exchange(m_watching, false)) {
        // Its end is told all the same; but once.
        epoll_event nothing = eventOf(Socket, EPOLLONESHOT);
        epoll_ctl(m_epoll.get(), EPOLL_CTL_MOD, m_pipe.channel().socket().descriptor(), &nothing);
    }
}

void NetworkThread::watchSocket() {
    const std::lock_guard<std::mutex> lock(m_watchMutex);
    if (!std::exchange(m_watching, true)) {
        epoll_event once = eventOf(Socket, EPOLLIN | EPOLLONESHOT);
        epoll_ctl(m_epoll.get(), EPOLL_CTL_MOD, m_pipe.channel().socket().descriptor(), &once);
    }
}

/// The kernel has told once and will not again until it is asked to.
void NetworkThread::watchHasEnded() {
    const std::lock_guard<std::mutex> lock(m_watchMutex);
    m_watching = false;
}

void NetworkThread::run() {
    pthread_setname_np(pthread_self(), "opcua-network");
    m_self = std::this_thread::get_id();
    try {
        while (!m_stop)
            waitFor(m_housekeeping.keepHouse());
    } catch (const std::bad_alloc&) {
        m_pipe.fail(UA_STATUSCODE_BADOUTOFMEMORY);
    }
}

void NetworkThread::waitFor(Clock::time_point end) {
    epoll_event events[2];
    const int count = epoll_wait(m_epoll.get(), events, 2, Deadline(end).remaining());
    for (int i = 0; i < count; ++i) {
        if (events[i].data.u32 == Event) {
            eventfd_t value = 0;
            eventfd_read(m_event.get(), &value);
        } else {
            watchHasEnded();
            m_pipe.readArrived();
        }
    }
}

} // namespace UaClientSdk
