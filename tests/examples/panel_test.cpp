#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "OpcUaClientInterface.h"
#include "support/server_process.h"
#include "support/temporary_directory.h"

using test_support::ChildProcess;
using test_support::PlantServer;
using test_support::ServerProcess;

namespace {

constexpr std::chrono::seconds limit(60);
const std::string setPoint = "ns=2;s=Line1.SpeedSetpoint";

/// The panel with a keyboard. It runs as a copy: its trace file goes with the directory.
class RunningPanel {
public:
    explicit RunningPanel(const std::string& url) {
        const std::string program = m_directory.path() / "panel";
        const std::string keyboard = m_directory.path() / "keyboard";
        std::filesystem::copy_file(PANEL, program);
        if (mkfifo(keyboard.c_str(), 0600) != 0) {
            throw std::runtime_error("cannot make a FIFO");
        }
        // Opened both ways, so that nobody has to wait for the other end.
        m_keyboard.reset(open(keyboard.c_str(), O_RDWR | O_CLOEXEC));
        m_process.emplace("sh", std::vector<std::string>{"-c", R"(exec "$0" "$@" <)" + keyboard, program, url,
                                                         "ns=2;s=Line1", setPoint});
    }

    void type(const std::string& line) {
        const std::string text = line + "\n";
        ASSERT_EQ(write(m_keyboard.get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }

    /// The first line that begins so.
    std::string await(const std::string& beginning) {
        for (;;) {
            const std::string line = m_process->waitForLine(limit);
            if (line.compare(0, beginning.size(), beginning) == 0) {
                return line;
            }
        }
    }

    test_support::ProcessEnd endOfInput() {
        m_keyboard.reset();
        const auto end = m_process->wait(limit);
        return end ? *end : throw std::runtime_error(m_process->describe("did not end with its input"));
    }

private:
    test_support::TemporaryDirectory m_directory;
    test_support::Descriptor m_keyboard;
    std::optional<ChildProcess> m_process;
};

unsigned long sessions(const std::string& url) {
    COpcUaClientInterface client;
    _OpcUaClientConfig config{};
    url.copy(config.endpointUrl, sizeof config.endpointUrl - 1);
    EXPECT_EQ(client.OpcUaConnect(config), 0);
    unsigned long count = 0;
    int size = sizeof count;
    OpcUaNode* const node =
        client.OpcUaGetUaNode("ns=3;s=TestRack.Diagnostics.CurrentSessions", OpcUaDataType_UInt64);
    EXPECT_EQ(client.OpcUaGetValue(node, &count, size), 0);
    return count;
}

} // namespace

TEST(Panel, GoesOnAfterARestartOfTheServer) {
    PlantServer server;
    RunningPanel panel(server.url());
    panel.await("connected, ");
    panel.await(setPoint + " = 1.5");
    panel.type("2.25");
    panel.await(setPoint + " = 2.25");

    server.kill(SIGKILL);
    panel.await("connection lost");
    panel.type("3");
    panel.await("not written, result 3");

    const ServerProcess again(PlantServer::program(),
                              {"--port", std::to_string(server.port()), "--die-with-parent"});
    panel.await("connected, ");
    panel.await(setPoint + " = 1.5");
    panel.type("2.5");
    panel.await(setPoint + " = 2.5");

    EXPECT_EQ(panel.endOfInput().text(), "exit code 0");
    EXPECT_EQ(sessions(again.url()), 1U) << "the one that asks";
}

TEST(Panel, WaitsForAServerThatIsNotThereYet) {
    std::optional<PlantServer> server(std::in_place);
    const std::string port = std::to_string(server->port());
    const std::string url = server->url();
    server->stop();
    RunningPanel panel(url);
    panel.await("no connection, result 1");
    const ServerProcess late(PlantServer::program(), {"--port", port, "--die-with-parent"});
    panel.await("connected, ");
    panel.type("fast");
    panel.await("a number, please");
    EXPECT_EQ(panel.endOfInput().text(), "exit code 0");
}
