#include "support/outage_proxy.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <limits>
#include <memory>
#include <mutex>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

#include <linux/filter.h>

#include "support/request_counter.h"

namespace test_support {
namespace {

constexpr std::size_t noLimit = std::numeric_limits<std::size_t>::max();

int checked(int result, const char* what) {
    if (result < 0)
        throw std::system_error(errno, std::generic_category(), what);
    return result;
}

sockaddr_in loopback(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

/// Buffers of the usual size would take megabytes in before a sender is held up.
int makeSocket() {
    const int made = checked(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket");
    const int bufferSize = 65536;
    setsockopt(made, SOL_SOCKET, SO_RCVBUF, &bufferSize, sizeof bufferSize);
    return made;
}

void prepareForPassing(int socket) {
    const int on = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    fcntl(socket, F_SETFL, O_NONBLOCK);
}

/// The kernel drops every segment that arrives, acknowledgements included, as if it had never come.
void loseSegments(int socket) {
    sock_filter takeNothing[] = {BPF_STMT(BPF_RET | BPF_K, 0)};
    const sock_fprog program{1, takeNothing};
    checked(setsockopt(socket, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof program), "attach a filter");
}

void takeSegments(int socket) {
    const int unused = 0;
    setsockopt(socket, SOL_SOCKET, SO_DETACH_FILTER, &unused, sizeof unused); // there may be none
}

/// One direction of a connection.
class Flow {
public:
    Flow(int from, int to) : m_from(from), m_to(to) {}

    bool isOver() const { return m_over; }
    bool wantsToRead() const { return !m_over && m_count == 0; }
    bool wantsToWrite() const { return m_count > 0; }

    /// Takes what has come, at most `limit` bytes.
    std::size_t read(std::size_t limit) {
        const ssize_t got = recv(m_from, m_buffer.data(), std::min(limit, m_buffer.size()), 0);
        if (got > 0) {
            m_start = 0;
            m_count = static_cast<std::size_t>(got);
        } else if (got == 0 || errno != EAGAIN) {
            end();
        }
        return m_count;
    }
    const char* bytes() const { return m_buffer.data(); }

    /// Passes on what is there, as far as it is taken.
    void write() {
        const ssize_t sent = send(m_to, m_buffer.data() + m_start, m_count, MSG_NOSIGNAL);
        if (sent > 0) {
            m_start += static_cast<std::size_t>(sent);
            m_count -= static_cast<std::size_t>(sent);
        } else if (errno != EAGAIN) {
            end();
        }
    }

private:
    void end() {
        m_count = 0;
        m_over = true;
        shutdown(m_to, SHUT_WR);
    }

    int m_from;
    int m_to;
    bool m_over = false;
    std::size_t m_start = 0;
    std::size_t m_count = 0;
    std::array<char, 65536> m_buffer{};
};

} // namespace

struct OutageProxy::Link {
    Link(int clientSocket, int serverSocket)
        : client(clientSocket), server(serverSocket), up(client, server), down(server, client) {}
    ~Link() {
        close(client);
        close(server);
    }
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;

    const int client;
    const int server;
    Flow up;
    Flow down;
    RequestCounter requests;
};

OutageProxy::OutageProxy(std::uint16_t targetPort)
    : m_targetPort(targetPort), m_listener(makeSocket()), m_serverBytesLeft(noLimit) {
    sockaddr_in address = loopback(0);
    socklen_t length = sizeof address;
    checked(bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof address), "bind");
    checked(listen(m_listener, 16), "listen");
    checked(getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &length), "getsockname");
    checked(pipe2(m_wakePipe, O_CLOEXEC | O_NONBLOCK), "pipe");
    m_port = ntohs(address.sin_port);
    fcntl(m_listener, F_SETFL, O_NONBLOCK);
    m_thread = std::thread([this] { run(); });
}

OutageProxy::~OutageProxy() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stop = true;
    }
    wake();
    m_thread.join();
    close(m_listener);
    close(m_wakePipe[0]);
    close(m_wakePipe[1]);
}

std::string OutageProxy::url() const {
    return "opc.tcp://127.0.0.1:" + std::to_string(m_port);
}

void OutageProxy::fallSilent(Silence kind) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_silent = true;
    if (kind == Silence::Lost) {
        loseSegments(m_listener);
        for (const auto& link : m_links) {
            loseSegments(link->client);
            loseSegments(link->server);
        }
    }
}

void OutageProxy::fallSilentAfter(std::size_t serverBytes) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_serverBytesLeft = serverBytes;
}

bool OutageProxy::isSilent() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_silent;
}

void OutageProxy::speak() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_silent = false;
        takeSegments(m_listener);
        for (const auto& link : m_links) {
            takeSegments(link->client);
            takeSegments(link->server);
        }
    }
    wake();
}

int OutageProxy::connections() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_connections;
}

int OutageProxy::requests(std::uint16_t type) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto ended = m_requests.find(type);
    int count = ended == m_requests.end() ? 0 : ended->second;
    for (const auto& link : m_links) {
        const auto& counts = link->requests.counts();
        const auto found = counts.find(type);
        count += found == counts.end() ? 0 : found->second;
    }
    return count;
}

void OutageProxy::wake() const {
    const char anything = 0;
    [[maybe_unused]] const ssize_t written = write(m_wakePipe[1], &anything, 1);
}

void OutageProxy::run() {
    std::vector<pollfd> entries;
    const auto watch = [&entries](int descriptor, bool read, bool write) {
        if (read || write) {
            entries.push_back(
                {descriptor, static_cast<short>((read ? POLLIN : 0) | (write ? POLLOUT : 0)), 0});
        }
    };
    for (;;) {
        entries.clear();
        watch(m_wakePipe[0], true, false);
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            watch(m_listener, !m_silent, false);
            for (const auto& link : m_links) {
                watch(link->client, !m_silent && link->up.wantsToRead(),
                      !m_silent && link->down.wantsToWrite());
                watch(link->server, !m_silent && link->down.wantsToRead(),
                      !m_silent && link->up.wantsToWrite());
            }
        }
        poll(entries.data(), entries.size(), -1);
        char taken[64];
        while (read(m_wakePipe[0], taken, sizeof taken) > 0) {
        }
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_stop) {
            m_links.clear();
            return;
        }
        serveReady();
    }
}

/// Tries everything: nothing here blocks, and who is not ready is not held up by it.
void OutageProxy::serveReady() {
    for (std::size_t i = 0; i < m_links.size() && !m_silent;) {
        Link& link = *m_links[i];
        pass(link);
        if (link.up.isOver() && link.down.isOver()) {
            endLink(link);
            m_links.erase(m_links.begin() + static_cast<std::ptrdiff_t>(i));
        } else {
            ++i;
        }
    }
    if (!m_silent)
        acceptClient();
}

void OutageProxy::acceptClient() {
    const int client = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
    if (client < 0)
        return;
    const int server = makeSocket();
    auto link = std::make_unique<Link>(client, server);
    const sockaddr_in address = loopback(m_targetPort);
    if (connect(server, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
        prepareForPassing(client);
        prepareForPassing(server);
        ++m_connections;
        m_links.push_back(std::move(link));
    }
}

void OutageProxy::pass(Link& link) {
    if (link.up.wantsToRead()) {
        const std::size_t count = link.up.read(noLimit);
        link.requests.read(link.up.bytes(), count);
    }
    if (link.up.wantsToWrite())
        link.up.write();
    if (link.down.wantsToRead()) {
        const std::size_t count = link.down.read(m_serverBytesLeft);
        m_serverBytesLeft -= m_serverBytesLeft == noLimit ? 0 : count;
    }
    if (link.down.wantsToWrite())
        link.down.write();
    if (m_serverBytesLeft == 0) {
        m_serverBytesLeft = noLimit;
        m_silent = true;
    }
}

void OutageProxy::endLink(Link& link) {
    for (const auto& [type, count] : link.requests.counts())
        m_requests[type] += count;
}

} // namespace test_support
