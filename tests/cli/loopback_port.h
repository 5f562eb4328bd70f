#pragma once

#include <cerrno>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>

namespace cli_test {

/// A loopback port that is taken, so that nothing else listens there: it refuses connections. Throws where
/// the system does not do as it is told.
class LoopbackPort {
public:
    LoopbackPort() : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        throwUnless(bind(m_socket, reinterpret_cast<sockaddr*>(&address), size) == 0);
        throwUnless(getsockname(m_socket, reinterpret_cast<sockaddr*>(&address), &size) == 0);
        m_number = std::to_string(ntohs(address.sin_port));
    }
    ~LoopbackPort() { release(); }
    LoopbackPort(const LoopbackPort&) = delete;
    LoopbackPort& operator=(const LoopbackPort&) = delete;

    const std::string& number() const { return m_number; }
    std::string url() const { return "opc.tcp://127.0.0.1:" + m_number; }

    /// Takes connections up, as a frozen server's system does; nobody ever answers.
    void takeConnections() const { throwUnless(listen(m_socket, 5) == 0); }
    void awaitConnection() const {
        constexpr int limitMilliseconds = 60000;
        pollfd watched{m_socket, POLLIN, 0};
        throwUnless(poll(&watched, 1, limitMilliseconds) == 1);
    }
    /// Leaves the port to somebody else.
    void release() {
        if (m_socket >= 0)
            close(m_socket);
        m_socket = -1;
    }

private:
    static void throwUnless(bool done) {
        if (!done)
            throw std::system_error(errno, std::generic_category(), "a port of the test");
    }

    int m_socket;
    std::string m_number;
};

} // namespace cli_test
