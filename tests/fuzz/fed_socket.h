#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "uabase/byte_view.h"

/// The other end of the one connection in the program. fed_socket.cpp stands in for socket/tcp_socket.cpp: a
/// TcpSocket without a descriptor, that never waits, gives what arrived here and puts down what is sent.
class FedSocket {
public:
    static FedSocket& instance();

    /// A new connection. At most `mostAtOnce` bytes are given at a time, 0: any number. `more` is called when
    /// somebody waits and nothing is there; if it brings nothing the time is over, and who reads all the same
    /// finds that the connection has ended.
    void reset(std::size_t mostAtOnce, std::function<void()> more);

    void arrive(UaByteView bytes);
    bool hasArrived() const { return m_begin < m_arrived.size(); }
    /// What was sent since the last call.
    std::vector<OpcUa_Byte> takeSent();

    // For the socket.
    bool wait();
    std::size_t give(OpcUa_Byte* target, std::size_t room);
    void put(UaByteView bytes);

private:
    std::vector<OpcUa_Byte> m_arrived;
    std::size_t m_begin = 0;
    std::size_t m_mostAtOnce = 0;
    std::function<void()> m_more;
    std::vector<OpcUa_Byte> m_sent;
};
