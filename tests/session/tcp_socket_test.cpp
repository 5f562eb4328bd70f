#include <cstdint>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "socket/tcp_socket.h"
#include "support/next_definition.h"

using UaClientSdk::Deadline;
using UaClientSdk::TcpSocket;

namespace {

bool fromItsOwnPort = false;

} // namespace

// A system that gives a client the port that it connects to, when the test says so.
extern "C" __attribute__((visibility("default"))) int connect(int socket, const sockaddr* address,
                                                              socklen_t size) {
    static const auto next = nextDefinition<int (*)(int, const sockaddr*, socklen_t)>("connect");
    if (fromItsOwnPort && address->sa_family != AF_UNSPEC)
        EXPECT_EQ(bind(socket, address, size), 0);
    return next(socket, address, size);
}

namespace {

/// A loopback port, which it holds without listening until it is told to.
class Port {
public:
    explicit Port(std::uint16_t number = 0) : m_socket(::socket(AF_INET6, SOCK_STREAM, 0)) {
        m_address.sin6_family = AF_INET6;
        m_address.sin6_addr = in6addr_loopback;
        m_address.sin6_port = htons(number);
        socklen_t size = sizeof m_address;
        auto* const plain = reinterpret_cast<sockaddr*>(&m_address);
        m_isHeld = ::bind(m_socket, plain, size) == 0 && ::getsockname(m_socket, plain, &size) == 0;
    }
    ~Port() { ::close(m_socket); }
    Port(const Port&) = delete;
    Port& operator=(const Port&) = delete;

    bool isHeld() const { return m_isHeld; }
    bool listen() const { return ::listen(m_socket, 1) == 0; }
    std::uint16_t number() const { return ntohs(m_address.sin6_port); }

private:
    int m_socket;
    sockaddr_in6 m_address{};
    bool m_isHeld = false;
};

class TcpConnection : public testing::Test {
protected:
    ~TcpConnection() override { fromItsOwnPort = false; }

    static OpcUa_StatusCode connectTo(const std::string& address, std::uint16_t port) {
        TcpSocket socket;
        return socket.connect(address, port, Deadline(10000)).statusCode();
    }
};

TEST_F(TcpConnection, ToAListenerIsOne) {
    const Port port;
    ASSERT_TRUE(port.isHeld() && port.listen());
    EXPECT_EQ(connectTo("::1", port.number()), OpcUa_Good);
}

TEST_F(TcpConnection, ToItselfIsARefusedOneThatLeavesThePortToTheServer) {
    const std::uint16_t free = Port().number();
    fromItsOwnPort = true;
    for (const char* address : {"127.0.0.1", "::1"})
        EXPECT_EQ(connectTo(address, free), UA_STATUSCODE_BADCONNECTIONREJECTED) << address;
    fromItsOwnPort = false;
    EXPECT_TRUE(Port(free).isHeld());
}

} // namespace
