#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "socket/deadline.h"
#include "uabase/byte_view.h"
#include "uabase/file_descriptor.h"
#include "uabase/status.h"

namespace UaClientSdk {

/// A TCP connection. Nothing here waits but connect(), wait() and awaitSome(), and these no longer than they
/// are told.
///
/// One thread may send while another receives.
class TcpSocket {
public:
    /// `address` is numeric. BadConnectionRejected when nobody listens, BadTimeout when nobody answered.
    UaStatus connect(const std::string& address, std::uint16_t port, const Deadline& deadline);

    /// Sends what the system takes at once and drops it from the front of `bytes`.
    UaStatus sendSome(UaByteView& bytes);
    /// Receives what has arrived, at most `room` bytes; `count` is 0 when there is nothing.
    /// BadConnectionClosed when the peer has closed its end or the connection broke.
    UaStatus receiveSome(OpcUa_Byte* buffer, std::size_t room, std::size_t& count);

    /// The same, but waits for something to arrive: not beyond `deadline`, and for a moment only, so that who
    /// calls it can look about. One system call where waiting and receiving would be two.
    UaStatus awaitSome(OpcUa_Byte* buffer, std::size_t room, const Deadline& deadline, std::size_t& count);

    enum class Interest { Receive, Send, Both };
    struct Readiness {
        bool readable = false; ///< also when the connection has ended, like the next
        bool writable = false;
    };
    /// Waits until there is something to receive, or room to send.
    Readiness wait(Interest interest, const Deadline& deadline) const;
    bool isReadable() const { return wait(Interest::Receive, Deadline(Clock::now())).readable; }

    /// Bytes that were sent and the peer's system has not confirmed.
    std::size_t unconfirmed() const;

    int descriptor() const { return m_socket.get(); }
    /// Both ends see the end of the connection; the descriptor stays until this object goes. What was sent
    /// still goes out.
    void shutDown();
    /// The same at once, whatever the peer does: it is told with a reset.
    void abort();

private:
    UaStatus receive(OpcUa_Byte* buffer, std::size_t room, int flags, std::size_t& count);
    UaStatus start(const std::string& address, std::uint16_t port);
    UaStatus finish(const Deadline& deadline);

    UaFileDescriptor m_socket;
};

} // namespace UaClientSdk
