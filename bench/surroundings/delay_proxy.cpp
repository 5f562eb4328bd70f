#include "surroundings/delay_proxy.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <deque>
#include <list>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <string>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace bench {
namespace {

using Clock = std::chrono::steady_clock;

sockaddr_in loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

int checked(int result, const char* what) {
    if (result < 0)
        throw std::system_error(errno, std::generic_category(), what);
    return result;
}

int listenOnLoopback(std::uint16_t& port) {
    const int listener = checked(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket");
    sockaddr_in address = loopback(0);
    socklen_t length = sizeof address;
    auto* const plain = reinterpret_cast<sockaddr*>(&address);
    checked(bind(listener, plain, length), "bind");
    checked(listen(listener, 16), "listen");
    checked(getsockname(listener, plain, &length), "getsockname");
    port = ntohs(address.sin_port);
    return listener;
}

/// One direction of a connection.
class Lane {
public:
    Lane(int from, int to) : m_from(from), m_to(to) {}

    int source() const { return m_from; }
    bool isOpen() const { return m_open; }
    Clock::time_point due() const {
        return m_pieces.empty() ? Clock::time_point::max() : m_pieces.front().due;
    }
    void take(Clock::time_point due) {
        std::vector<char> bytes(65536);
        const ssize_t count = recv(m_from, bytes.data(), bytes.size(), 0);
        m_open = count > 0;
        if (m_open) {
            bytes.resize(static_cast<std::size_t>(count));
            m_pieces.push_back({due, std::move(bytes)});
        }
    }
    void give(Clock::time_point now) {
        while (m_open && due() <= now) {
            const std::vector<char>& bytes = m_pieces.front().bytes;
            m_open =
                send(m_to, bytes.data(), bytes.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(bytes.size());
            m_pieces.pop_front();
        }
    }

private:
    struct Piece {
        Clock::time_point due;
        std::vector<char> bytes;
    };

    int m_from;
    int m_to;
    bool m_open = true;
    std::deque<Piece> m_pieces;
};

/// A client's connection and the server's.
class Link {
public:
    Link(int client, int server) : m_client(client), m_server(server) {
        const int on = 1;
        for (const int end : {client, server})
            setsockopt(end, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    }
    ~Link() {
        close(m_client);
        close(m_server);
    }
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;

    bool isOpen() const { return lanes[0].isOpen() && lanes[1].isOpen(); }

private:
    int m_client;
    int m_server;

public:
    Lane lanes[2] = {{m_client, m_server}, {m_server, m_client}};
};

class Line {
public:
    Line(int listener, std::uint16_t port, std::chrono::microseconds delay)
        : m_listener(listener), m_port(port), m_delay(delay) {}

    [[noreturn]] void run() {
        for (;;) {
            wait();
            if ((m_ready.front().revents & POLLIN) != 0)
                accept();
            const Clock::time_point now = Clock::now();
            std::size_t entry = 1;
            for (Link& link : m_links) {
                for (Lane& lane : link.lanes) {
                    if (entry < m_ready.size() && m_ready[entry].revents != 0)
                        lane.take(now + m_delay);
                    ++entry;
                    lane.give(now);
                }
            }
            m_links.remove_if([](const Link& link) { return !link.isOpen(); });
        }
    }

private:
    void wait() {
        Clock::time_point due = Clock::time_point::max();
        m_ready.assign(1, {m_listener, POLLIN, 0});
        for (const Link& link : m_links) {
            for (const Lane& lane : link.lanes) {
                m_ready.push_back({lane.source(), POLLIN, 0});
                due = std::min(due, lane.due());
            }
        }
        const auto left = std::max(Clock::duration::zero(), due - std::min(due, Clock::now()));
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(left);
        const timespec time{static_cast<time_t>(seconds.count()),
                            static_cast<long>((left - seconds).count())};
        ppoll(m_ready.data(), m_ready.size(), due == Clock::time_point::max() ? nullptr : &time, nullptr);
    }
    void accept() {
        const int client = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        const int server = checked(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket");
        const sockaddr_in address = loopback(m_port);
        static_cast<void>(connect(server, reinterpret_cast<const sockaddr*>(&address), sizeof address));
        m_links.emplace_back(client, server);
    }

    int m_listener;
    std::uint16_t m_port;
    std::chrono::microseconds m_delay;
    std::list<Link> m_links;
    std::vector<pollfd> m_ready;
};

} // namespace

DelayProxy::DelayProxy(std::uint16_t port, std::chrono::microseconds eachWay) {
    std::uint16_t ownPort = 0;
    const int listener = listenOnLoopback(ownPort);
    m_url = "opc.tcp://127.0.0.1:" + std::to_string(ownPort);
    m_process = checked(fork(), "fork");
    if (m_process == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        prctl(PR_SET_TIMERSLACK, 1UL);
        Line(listener, port, eachWay).run();
    }
    close(listener);
}

DelayProxy::~DelayProxy() {
    kill(m_process, SIGKILL);
    waitpid(m_process, nullptr, 0);
}

} // namespace bench
