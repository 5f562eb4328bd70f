// A server that isn't there yet, and one that does not answer.
#include <chrono>
#include <csignal>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli_program.h"
#include "loopback_port.h"
#include "support/child_process.h"
#include "support/server_process.h"
#include "support/temporary_directory.h"

using namespace cli_test;
using test_support::ChildProcess;
using test_support::PlantServer;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr std::chrono::minutes safetyNet{1};

void awaitError(ChildProcess& child, const std::string& text) {
    const auto end = std::chrono::steady_clock::now() + safetyNet;
    while (child.standardError().find(text) == std::string::npos)
        if (std::chrono::steady_clock::now() > end || !child.running())
            throw std::runtime_error(child.describe("\"" + text + "\" did not come"));
}

int exitCodeOf(ChildProcess& child) {
    const auto end = child.wait(safetyNet);
    return end && end->exitCode ? *end->exitCode : -1;
}

} // namespace

TEST(Wait, ConnectsOnceTheServerIsThere) {
    for (const std::string command : {"info", "discover"}) {
        LoopbackPort port;
        ChildProcess client(program(), {command, port.url(), "--wait", "--json"});
        awaitError(client, "waiting for the server: nothing listens on port " + port.number());
        port.release();
        const PlantServer server({"--port", port.number()});
        EXPECT_EQ(exitCodeOf(client), 0) << client.standardError();
        EXPECT_EQ(nlohmann::json::parse(client.standardOutput())["url"], port.url());
    }
}

TEST(Wait, SaysEachReasonOnce) {
    const LoopbackPort port;
    const CliResult result = run({"read", port.url(), "i=2261", "--wait=2"});
    EXPECT_EQ(result.exitCode, 3);
    const std::string note = "waiting for the server: ";
    const std::size_t first = result.error.find(note);
    ASSERT_NE(first, std::string::npos);
    EXPECT_EQ(result.error.find(note, first + 1), std::string::npos);
    EXPECT_THAT(result.error, HasSubstr("opcua-cli: nothing listens on port " + port.number()));
}

TEST(Wait, IsForWhatCanPass) {
    const LoopbackPort silent;
    silent.takeConnections();
    for (const std::string& url : {silent.url(), std::string("opc.tcp://no-such-host.invalid:4840")}) {
        const CliResult result = run({"info", url, "--wait=1", "--timeout", "300"});
        EXPECT_EQ(result.exitCode, 3);
        EXPECT_THAT(result.error, HasSubstr("waiting for the server: "));
    }
}

TEST(Wait, IsNotForARefusal) {
    const PlantServer server({"--security", "--no-anonymous"});
    const test_support::TemporaryDirectory files;
    for (const std::string options : {"", "--user operator --password wrong --policy None --trust once",
                                      "--policy aes128 --trust never"}) {
        const CliResult result = runInShell("OPCUACLIENT_DIRECTORY=" + files.path().string() +
                                                " exec \"$0\" \"$@\" --wait " + options,
                                            {"info", server.url()});
        EXPECT_EQ(result.exitCode, 3);
        EXPECT_THAT(result.error, Not(HasSubstr("waiting")));
    }
}

TEST(Wait, EndsWithCtrlC) {
    const LoopbackPort port;
    ChildProcess client(program(), {"monitor", port.url(), "/Plant", "--wait", "--json"});
    awaitError(client, "waiting for the server");
    client.signal(SIGINT);
    EXPECT_EQ(exitCodeOf(client), 130);
    EXPECT_THAT(client.standardError(), HasSubstr("opcua-cli: interrupted"));
    EXPECT_TRUE(nlohmann::json::parse(client.standardOutput()).contains("error"));
}

TEST(Wait, TakesNoWordForItsSeconds) {
    const LoopbackPort port;
    const CliResult result = run({"read", "--wait=1", port.url(), "i=2261"});
    EXPECT_EQ(result.exitCode, 3) << result.error;
    for (const std::string wrong : {"soon", "-1", "0", "1e9", "99999999999999999999"}) {
        const CliResult refused = run({"read", port.url(), "i=2261", "--wait=" + wrong});
        EXPECT_EQ(refused.exitCode, 2) << wrong;
        EXPECT_THAT(refused.error, HasSubstr("--wait")) << wrong;
    }
    const PlantServer server;
    EXPECT_EQ(run({"read", "--wait", server.url(), "i=2261"}).exitCode, 0);
}

TEST(FrozenServer, CtrlCEndsEveryCommandThatConnects) {
    const test_support::TemporaryDirectory directory;
    const std::string snapshot = (directory.path() / "snapshot.json").string();
    {
        const PlantServer server;
        ASSERT_EQ(run({"snapshot", server.url(), "/Plant/Line1", "--output", snapshot}).exitCode, 0);
    }
    const std::vector<Arguments> commands{{"discover"},           {"browse"},
                                          {"read", "i=2261"},     {"write", "i=1", "1"},
                                          {"snapshot", "/Plant"}, {"restore", snapshot},
                                          {"monitor", "/Plant"},  {"info"}};
    for (const Arguments& command : commands) {
        const LoopbackPort frozen;
        frozen.takeConnections();
        Arguments arguments{command.front(), frozen.url()};
        arguments.insert(arguments.end(), command.begin() + 1, command.end());
        arguments.insert(arguments.end(), {"--json"});
        if (command.front() != "discover")
            arguments.insert(arguments.end(), {"--timeout", "3600000"});
        ChildProcess client(program(), arguments);
        frozen.awaitConnection();
        client.signal(SIGINT);
        EXPECT_EQ(exitCodeOf(client), 130) << command.front();
        EXPECT_THAT(client.standardError(), HasSubstr("interrupted")) << command.front();
        EXPECT_TRUE(nlohmann::json::parse(client.standardOutput()).contains("error")) << command.front();
    }
}

TEST(FrozenServer, CtrlCEndsACommandThatIsAtWork) {
    for (const std::string command : {"browse", "snapshot", "monitor"}) {
        PlantServer server({"--delay", "20"});
        const test_support::TemporaryDirectory files;
        Arguments arguments{"OPCUACLIENT_DIRECTORY=" + files.path().string(),
                            program(),
                            command,
                            server.url(),
                            "/TestRack",
                            "-v",
                            "--trace",
                            "everything"};
        if (command == "browse")
            arguments.insert(arguments.end(), {"--depth", "9"});
        ChildProcess client("env", arguments);
        awaitError(client, "BrowseRequest");
        server.freeze();
        client.signal(SIGTERM);
        EXPECT_EQ(exitCodeOf(client), 143) << client.standardError();
        EXPECT_THAT(client.standardError(), HasSubstr("asked to end; the server has not answered in time"));
        server.resume();
    }
}

TEST(FrozenServer, CtrlCEndsAMonitor) {
    PlantServer server;
    ChildProcess client(program(), {"monitor", server.url(), "/Plant/Line1", "--json"});
    client.waitForLine(safetyNet);
    server.freeze();
    client.signal(SIGINT);
    EXPECT_EQ(exitCodeOf(client), 130);
    EXPECT_THAT(client.standardError(), HasSubstr("interrupted"));
    server.resume();
}
