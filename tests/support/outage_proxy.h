#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace test_support {

/// A network between clients and a server on loopback that can fail for a while. It passes bytes, knows
/// nothing of messages, and loses none of them.
class OutageProxy {
public:
    enum class Silence {
        Held, ///< nothing is taken from either side: who goes on sending is held up when the buffers are full
        Lost  ///< what arrives is not even acknowledged: the senders' kernels repeat it
    };

    /// Forwards to `targetPort` on the loopback address.
    explicit OutageProxy(std::uint16_t targetPort);
    ~OutageProxy();
    OutageProxy(const OutageProxy&) = delete;
    OutageProxy& operator=(const OutageProxy&) = delete;

    std::string url() const;

    /// When this returns nothing goes through any more, in any direction.
    void fallSilent(Silence kind = Silence::Held);
    /// Falls silent (Held) as soon as so many bytes more, at least one, have come from the server.
    void fallSilentAfter(std::size_t serverBytes);
    bool isSilent() const;
    void speak();

    /// Connections that were accepted so far.
    int connections() const;
    /// Requests of one type that all clients sent so far; the number is that of the type's binary encoding.
    /// Only for channels without encryption.
    int requests(std::uint16_t type) const;

private:
    struct Link;

    void run();
    void serveReady();
    void acceptClient();
    void pass(Link& link);
    void endLink(Link& link);
    void wake() const;

    std::uint16_t m_targetPort;
    std::uint16_t m_port = 0;
    int m_listener = -1;
    int m_wakePipe[2] = {-1, -1};

    mutable std::mutex m_mutex;
    bool m_stop = false;
    bool m_silent = false;
    std::size_t m_serverBytesLeft; ///< until it falls silent
    int m_connections = 0;
    std::map<std::uint16_t, int> m_requests; ///< of links that are gone
    std::vector<std::unique_ptr<Link>> m_links;
    std::thread m_thread;
};

} // namespace test_support
