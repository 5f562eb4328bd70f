#include "socket/tcp_socket.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <linux/sockios.h>

namespace UaClientSdk {
namespace {

/// How long the kernel repeats what the peer does not acknowledge before it gives the connection up: an
/// outage of a switch or a cable shall cost no session.
constexpr unsigned int unacknowledgedLimit = 120000; // ms

/// How long awaitSome() waits at the most.
constexpr timeval moment{0, 500000};
constexpr int momentInMilliseconds = 500;

UaStatus statusOf(int error) {
    switch (error) {
    case ECONNREFUSED:
        return UA_STATUSCODE_BADCONNECTIONREJECTED;
    case ETIMEDOUT:
        return UA_STATUSCODE_BADTIMEOUT;
    case EMFILE:
    case ENFILE:
    case ENOBUFS:
    case ENOMEM:
        return UA_STATUSCODE_BADRESOURCEUNAVAILABLE;
    default:
        return UA_STATUSCODE_BADCONNECTIONCLOSED;
    }
}

bool isTemporary(int error) {
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

/// Where nobody listens on a local port that the system gives to clients, it may give it to this one, and the
/// two ends meet.
bool isConnectedToItself(int descriptor) {
    sockaddr_storage own{};
    sockaddr_storage peer{};
    socklen_t ownSize = sizeof own;
    socklen_t peerSize = sizeof peer;
    return getsockname(descriptor, reinterpret_cast<sockaddr*>(&own), &ownSize) == 0 &&
           getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &peerSize) == 0 &&
           ownSize == peerSize && std::memcmp(&own, &peer, ownSize) == 0;
}

void set(int descriptor, int level, int option, unsigned int value) {
    setsockopt(descriptor, level, option, &value, sizeof value);
}

} // namespace

UaStatus TcpSocket::connect(const std::string& address, std::uint16_t port, const Deadline& deadline) {
    const UaStatus status = start(address, port);
    return status.isBad() ? status : finish(deadline);
}

UaStatus TcpSocket::start(const std::string& address, std::uint16_t port) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV;
    addrinfo* found = nullptr;
    if (getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &found) != 0)
        return UA_STATUSCODE_BADNOTFOUND;
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> owner(found, &freeaddrinfo);
    m_socket.reset(socket(found->ai_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (!m_socket.isOpen())
        return statusOf(errno);
    set(descriptor(), IPPROTO_TCP, TCP_NODELAY, 1);
    set(descriptor(), IPPROTO_TCP, TCP_USER_TIMEOUT, unacknowledgedLimit);
    // After an outage the pauses between the kernel's attempts have not grown beyond what the outage was.
    set(descriptor(), IPPROTO_TCP, TCP_THIN_LINEAR_TIMEOUTS, 1);
    if (::connect(descriptor(), found->ai_addr, found->ai_addrlen) != 0 && errno != EINPROGRESS)
        return statusOf(errno);
    return UaStatus();
}

UaStatus TcpSocket::finish(const Deadline& deadline) {
    if (!wait(Interest::Send, deadline).writable)
        return UA_STATUSCODE_BADTIMEOUT;
    int error = 0;
    socklen_t size = sizeof error;
    getsockopt(descriptor(), SOL_SOCKET, SO_ERROR, &error, &size);
    if (error != 0)
        return statusOf(error);
    if (isConnectedToItself(descriptor())) {
        abort(); // an orderly end would keep the port from the server for a while
        return UA_STATUSCODE_BADCONNECTIONREJECTED;
    }
    // From here on each call says whether it waits.
    fcntl(descriptor(), F_SETFL, fcntl(descriptor(), F_GETFL) & ~O_NONBLOCK);
    setsockopt(descriptor(), SOL_SOCKET, SO_RCVTIMEO, &moment, sizeof moment);
    return UaStatus();
}

UaStatus TcpSocket::sendSome(UaByteView& bytes) {
    const ssize_t sent = send(descriptor(), bytes.data, bytes.size, MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent >= 0) {
        bytes = bytes.from(static_cast<std::size_t>(sent));
        return UaStatus();
    }
    return isTemporary(errno) ? UaStatus() : UaStatus(UA_STATUSCODE_BADCONNECTIONCLOSED);
}

UaStatus TcpSocket::receiveSome(OpcUa_Byte* buffer, std::size_t room, std::size_t& count) {
    return receive(buffer, room, MSG_DONTWAIT, count);
}

UaStatus TcpSocket::awaitSome(OpcUa_Byte* buffer, std::size_t room, const Deadline& deadline,
                              std::size_t& count) {
    count = 0;
    if (deadline.remaining() > momentInMilliseconds)
        return receive(buffer, room, 0, count);
    return wait(Interest::Receive, deadline).readable ? receiveSome(buffer, room, count) : UaStatus();
}

UaStatus TcpSocket::receive(OpcUa_Byte* buffer, std::size_t room, int flags, std::size_t& count) {
    count = 0;
    const ssize_t received = recv(descriptor(), buffer, room, flags);
    if (received > 0) {
        count = static_cast<std::size_t>(received);
        return UaStatus();
    }
    return received < 0 && isTemporary(errno) ? UaStatus() : UaStatus(UA_STATUSCODE_BADCONNECTIONCLOSED);
}

TcpSocket::Readiness TcpSocket::wait(Interest interest, const Deadline& deadline) const {
    pollfd entry{};
    entry.fd = descriptor();
    entry.events = interest == Interest::Receive ? POLLIN
                   : interest == Interest::Send  ? POLLOUT
                                                 : POLLIN | POLLOUT;
    int ready = 0;
    do {
        ready = poll(&entry, 1, deadline.remaining());
    } while (ready < 0 && errno == EINTR);
    const bool ended = ready > 0 && (entry.revents & (POLLERR | POLLHUP | POLLNVAL)) != 0;
    Readiness readiness;
    readiness.readable = ended || (ready > 0 && (entry.revents & POLLIN) != 0);
    readiness.writable = ended || (ready > 0 && (entry.revents & POLLOUT) != 0);
    return readiness;
}

std::size_t TcpSocket::unconfirmed() const {
    int bytes = 0;
    return ioctl(descriptor(), SIOCOUTQ, &bytes) == 0 && bytes > 0 ? static_cast<std::size_t>(bytes) : 0;
}

void TcpSocket::shutDown() {
    if (m_socket.isOpen())
        shutdown(descriptor(), SHUT_RDWR);
}

void TcpSocket::abort() {
    if (m_socket.isOpen()) {
        sockaddr nobody{};
        nobody.sa_family = AF_UNSPEC;
        if (::connect(descriptor(), &nobody, sizeof nobody) != 0) {
            // There are kernels that refuse while a thread waits to receive.
            const linger nothingIsDelivered{1, 0};
            setsockopt(descriptor(), SOL_SOCKET, SO_LINGER, &nothingIsDelivered, sizeof nothingIsDelivered);
            shutDown();
        }
    }
}

} // namespace UaClientSdk
