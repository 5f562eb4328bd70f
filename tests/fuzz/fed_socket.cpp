#include "fed_socket.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "socket/tcp_socket.h"

FedSocket& FedSocket::instance() {
    static FedSocket socket;
    return socket;
}

void FedSocket::reset(std::size_t mostAtOnce, std::function<void()> more) {
    m_arrived.clear();
    m_begin = 0;
    m_mostAtOnce = mostAtOnce;
    m_more = std::move(more);
    m_sent.clear();
}

void FedSocket::arrive(UaByteView bytes) {
    m_arrived.erase(m_arrived.begin(), m_arrived.begin() + static_cast<std::ptrdiff_t>(m_begin));
    m_begin = 0;
    m_arrived.insert(m_arrived.end(), bytes.data, bytes.data + bytes.size);
}

std::vector<OpcUa_Byte> FedSocket::takeSent() {
    return std::exchange(m_sent, {});
}

bool FedSocket::wait() {
    if (!hasArrived() && m_more)
        m_more();
    return hasArrived();
}

std::size_t FedSocket::give(OpcUa_Byte* target, std::size_t room) {
    std::size_t count = std::min(room, m_arrived.size() - m_begin);
    count = m_mostAtOnce > 0 ? std::min(count, m_mostAtOnce) : count;
    std::copy_n(m_arrived.begin() + static_cast<std::ptrdiff_t>(m_begin), count, target);
    m_begin += count;
    return count;
}

void FedSocket::put(UaByteView bytes) {
    m_sent.insert(m_sent.end(), bytes.data, bytes.data + bytes.size);
}

namespace UaClientSdk {

UaStatus TcpSocket::connect(const std::string&, std::uint16_t, const Deadline&) {
    return UaStatus();
}

UaStatus TcpSocket::sendSome(UaByteView& bytes) {
    FedSocket::instance().put(bytes);
    bytes = bytes.from(bytes.size);
    return UaStatus();
}

UaStatus TcpSocket::receiveSome(OpcUa_Byte* buffer, std::size_t room, std::size_t& count) {
    count = FedSocket::instance().give(buffer, room);
    return count > 0 ? UaStatus() : UaStatus(UA_STATUSCODE_BADCONNECTIONCLOSED);
}

UaStatus TcpSocket::awaitSome(OpcUa_Byte* buffer, std::size_t room, const Deadline&, std::size_t& count) {
    count = 0;
    return FedSocket::instance().wait() ? receiveSome(buffer, room, count)
                                        : UaStatus(UA_STATUSCODE_BADTIMEOUT);
}

TcpSocket::Readiness TcpSocket::wait(Interest, const Deadline&) const {
    return {FedSocket::instance().wait(), true};
}

std::size_t TcpSocket::unconfirmed() const {
    return 0;
}

void TcpSocket::shutDown() {}
void TcpSocket::abort() {}

} // namespace UaClientSdk
