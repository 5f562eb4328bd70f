#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace test_support {

/// Stands between a client and a server on loopback and can make the server look as if it fell silent, or
/// hung up, after any number of its messages. Bytes pass unchanged unless a test changes them.
class MessageProxy {
public:
    enum class Afterwards { Forward, Stall, Close };

    /// Forwards to `targetPort` on the loopback address.
    explicit MessageProxy(std::uint16_t targetPort);
    ~MessageProxy();
    MessageProxy(const MessageProxy&) = delete;
    MessageProxy& operator=(const MessageProxy&) = delete;

    std::string url() const;

    /// From now on lets `count` messages of the server through, over all connections, then does `then`.
    void limitServerMessages(int count, Afterwards then);
    /// Lets everything through again that comes from now on.
    void unlimited();
    /// Holds everything back, in both directions, until resume(): nothing is lost.
    void pause();
    void resume();
    /// Shows every message of the server, without its header of 8 bytes, to `change` before it goes on.
    void changeServerMessages(std::function<void(std::vector<char>& body)> change);
    /// Shows what clients send, in pieces of any length, before it goes on.
    void watchClients(std::function<void(const char* bytes, std::size_t count)> watch);
    /// Closes every connection.
    void closeAll();

    /// Messages of the server that went through since the last limitServerMessages() or unlimited().
    int forwardedMessages() const { return m_forwarded; }
    /// Connections that were accepted so far.
    int connections() const { return m_connections; }

private:
    struct Link {
        int client = -1;
        int server = -1;
    };

    void acceptLoop();
    void serve(Link link);
    bool passClientBytes(const Link& link);
    bool passServerMessage(const Link& link);
    bool mayPass();
    void waitWhilePaused();

    std::uint16_t m_targetPort;
    std::uint16_t m_port = 0;
    int m_listener = -1;
    int m_stopPipe[2] = {-1, -1};
    std::atomic<bool> m_stop{false};
    std::atomic<int> m_forwarded{0};
    std::atomic<int> m_connections{0};

    std::mutex m_mutex;
    int m_limit = -1;
    Afterwards m_afterwards = Afterwards::Forward;
    bool m_paused = false;
    std::condition_variable m_resumed;
    std::function<void(std::vector<char>&)> m_change;
    std::function<void(const char*, std::size_t)> m_watch;
    std::vector<Link> m_links;
    std::vector<std::thread> m_threads;
};

} // namespace test_support
