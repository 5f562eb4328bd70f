#include "support/message_proxy.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <mutex>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace test_support {
namespace {

/// OPC UA Part 6, 7.1.2: three letters, the chunk type and the size of the whole chunk.
constexpr std::size_t headerSize = 8;

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

bool readAll(int socket, char* target, std::size_t count) {
    while (count > 0) {
        const ssize_t got = recv(socket, target, count, 0);
        if (got <= 0)
            return false;
        target += got;
        count -= static_cast<std::size_t>(got);
    }
    return true;
}

bool writeAll(int socket, const char* source, std::size_t count) {
    while (count > 0) {
        const ssize_t sent = send(socket, source, count, MSG_NOSIGNAL);
        if (sent <= 0)
            return false;
        source += sent;
        count -= static_cast<std::size_t>(sent);
    }
    return true;
}

void sendWithoutDelay(int socket) {
    const int on = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

} // namespace

MessageProxy::MessageProxy(std::uint16_t targetPort) : m_targetPort(targetPort) {
    m_listener = checked(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "socket");
    sockaddr_in address = loopback(0);
    socklen_t length = sizeof address;
    checked(bind(m_listener, reinterpret_cast<sockaddr*>(&address), sizeof address), "bind");
    checked(listen(m_listener, 16), "listen");
    checked(getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &length), "getsockname");
    checked(pipe(m_stopPipe), "pipe");
    m_port = ntohs(address.sin_port);
    m_threads.emplace_back([this] { acceptLoop(); });
}

MessageProxy::~MessageProxy() {
    m_stop = true;
    resume();
    close(m_stopPipe[1]); // every poll sees the end of this pipe
    for (std::size_t i = 0;; ++i) {
        std::thread thread;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (i == m_threads.size())
                break;
            thread = std::move(m_threads[i]);
        }
        thread.join();
    }
    close(m_listener);
    close(m_stopPipe[0]);
}

std::string MessageProxy::url() const {
    return "opc.tcp://127.0.0.1:" + std::to_string(m_port);
}

void MessageProxy::limitServerMessages(int count, Afterwards then) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_limit = count;
    m_afterwards = then;
    m_forwarded = 0;
}

void MessageProxy::unlimited() {
    limitServerMessages(-1, Afterwards::Forward);
}

void MessageProxy::pause() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_paused = true;
}

void MessageProxy::resume() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_paused = false;
    m_resumed.notify_all();
}

void MessageProxy::waitWhilePaused() {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_resumed.wait(lock, [this] { return !m_paused; });
}

void MessageProxy::changeServerMessages(std::function<void(std::vector<char>& body)> change) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_change = std::move(change);
}

void MessageProxy::watchClients(std::function<void(const char* bytes, std::size_t count)> watch) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_watch = std::move(watch);
}

void MessageProxy::closeAll() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const Link& link : m_links) {
        shutdown(link.client, SHUT_RDWR);
        shutdown(link.server, SHUT_RDWR);
    }
}

void MessageProxy::acceptLoop() {
    for (;;) {
        pollfd entries[2] = {{m_listener, POLLIN, 0}, {m_stopPipe[0], POLLIN, 0}};
        if (poll(entries, 2, -1) < 0 || m_stop)
            return;
        Link link;
        link.client = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        link.server = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const sockaddr_in address = loopback(m_targetPort);
        if (connect(link.server, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
            close(link.client);
            close(link.server);
            continue;
        }
        sendWithoutDelay(link.client);
        sendWithoutDelay(link.server);
        ++m_connections;
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_links.push_back(link);
        m_threads.emplace_back([this, link] { serve(link); });
    }
}

void MessageProxy::serve(Link link) {
    bool alive = true;
    while (alive && !m_stop) {
        pollfd entries[3] = {{link.client, POLLIN, 0}, {link.server, POLLIN, 0}, {m_stopPipe[0], POLLIN, 0}};
        if (poll(entries, 3, -1) < 0 || m_stop)
            break;
        waitWhilePaused();
        if (entries[0].revents != 0)
            alive = passClientBytes(link);
        if (alive && entries[1].revents != 0)
            alive = passServerMessage(link);
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (std::size_t i = 0; i < m_links.size(); ++i) {
        if (m_links[i].client == link.client) {
            m_links.erase(m_links.begin() + static_cast<std::ptrdiff_t>(i));
            break;
        }
    }
    close(link.client);
    close(link.server);
}

bool MessageProxy::passClientBytes(const Link& link) {
    char buffer[65536];
    const ssize_t got = recv(link.client, buffer, sizeof buffer, 0);
    if (got <= 0)
        return false;
    const auto count = static_cast<std::size_t>(got);
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_watch)
            m_watch(buffer, count);
    }
    return writeAll(link.server, buffer, count);
}

bool MessageProxy::passServerMessage(const Link& link) {
    char header[headerSize];
    if (!readAll(link.server, header, headerSize))
        return false;
    std::uint32_t size = 0;
    std::memcpy(&size, header + 4, sizeof size);
    if (size < headerSize)
        return false;
    std::vector<char> body(size - headerSize);
    if (!readAll(link.server, body.data(), body.size()))
        return false;
    if (mayPass()) {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (m_change)
                m_change(body);
        }
        return writeAll(link.client, header, headerSize) && writeAll(link.client, body.data(), body.size());
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_afterwards != Afterwards::Close; // a stalled message is swallowed
}

bool MessageProxy::mayPass() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_limit >= 0 && m_forwarded >= m_limit)
        return false;
    ++m_forwarded;
    return true;
}

} // namespace test_support
