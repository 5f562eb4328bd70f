#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "support/child_process.h"

namespace test_support {

/// An OPC UA server as a child process. It is ready when the constructor returns: it has written a line that
/// ends with its `opc.tcp://host:port` to standard output.
///
/// Everything fails loudly with a std::runtime_error that holds the server's standard error. As ChildProcess
/// has it, the server dies with the thread that started it: start it from the test's own thread.
class ServerProcess {
public:
    /// What a server may take to get ready, and to end. Generous: a loaded machine is no failure.
    static constexpr std::chrono::milliseconds startLimit = std::chrono::seconds(60);
    static constexpr std::chrono::milliseconds stopLimit = std::chrono::seconds(20);

    ServerProcess(const std::string& program, const std::vector<std::string>& arguments,
                  std::chrono::milliseconds limit = startLimit);
    /// Ends the server: asked to stop first, killed when it doesn't in time. Never throws.
    ~ServerProcess();

    /// "opc.tcp://127.0.0.1:40123", as the server announced it.
    const std::string& url() const { return m_url; }
    std::uint16_t port() const { return m_port; }
    const std::string& readinessLine() const { return m_readinessLine; }

    pid_t pid() const { return m_process.pid(); }
    bool running() { return m_process.running(); }
    std::string standardError() const { return m_process.standardError(); }

    /// Sends SIGTERM and waits for the end. Throws when it doesn't come in time.
    ProcessEnd stop();
    /// Sends the signal and waits for the end, which it must bring about.
    ProcessEnd kill(int signal);
    /// Waits for an end that was brought about otherwise.
    ProcessEnd waitForEnd(std::chrono::milliseconds limit = stopLimit);

    /// Stops the server where it is: connections stay open and nothing is answered (SIGSTOP).
    void freeze() { m_process.freeze(); }
    void resume() { m_process.resume(); }

private:
    ChildProcess m_process;
    std::string m_readinessLine;
    std::string m_url;
    std::uint16_t m_port = 0;
};

/// The project's plant server on a free loopback port, with further options of its own.
class PlantServer : public ServerProcess {
public:
    explicit PlantServer(const std::vector<std::string>& options = {});

    /// The path of the program.
    static std::string program();
};

} // namespace test_support
