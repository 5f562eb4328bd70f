#include <csignal>
#include <filesystem>
#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "OpcUaClientInterface.h"
#include "OpcUaHelpers.h"
#include "examples/running_panel.h"
#include "support/server_process.h"
#include "support/temporary_directory.h"

using test_support::PlantServer;
using test_support::ServerProcess;

namespace {

const std::string line1 = "ns=2;s=Line1";
const std::string setPoint = "ns=2;s=Line1.SpeedSetpoint";
const std::string question = "trust it?";

/// Somebody else's connection, without security.
class Onlooker {
public:
    explicit Onlooker(const std::string& url) {
        _OpcUaClientConfig config{};
        OpcUaSetField(config.endpointUrl, url);
        EXPECT_EQ(m_client.OpcUaConnect(config), 0);
    }
    unsigned long diagnostics(const std::string& name) {
        unsigned long count = 0;
        int size = sizeof count;
        OpcUaNode node = OpcUaMakeNode("ns=3;s=TestRack.Diagnostics." + name, OpcUaDataType_UInt64);
        EXPECT_EQ(m_client.OpcUaGetValue(&node, &count, size), 0) << name;
        return count;
    }
    void setStatus(unsigned int code) {
        int size = sizeof code;
        OpcUaNode node = OpcUaMakeNode("ns=3;s=TestRack.Control.StatusCode", OpcUaDataType_UInt32);
        EXPECT_EQ(m_client.OpcUaSetValue(&node, &code, size), 0);
    }

    void setText(const std::string& id, const std::string& text) {
        int size = 0;
        OpcUaNode node = OpcUaMakeNode(id, OpcUaDataType_String);
        EXPECT_EQ(m_client.OpcUaSetValue(&node, text.c_str(), size), 0);
    }

private:
    COpcUaClientInterface m_client;
};

void trustAlways(RunningPanel& panel) {
    panel.await(question);
    panel.type("always");
    panel.await("connected");
}

/// A server that keeps its certificate over restarts.
class PlantWithCertificate {
public:
    PlantWithCertificate() { m_server.emplace(PlantServer::program(), arguments(0)); }

    const ServerProcess& server() const { return *m_server; }
    void kill() { m_server->kill(SIGKILL); }
    void startAgain() {
        const int port = m_server->port();
        m_server.emplace(PlantServer::program(), arguments(port));
    }

private:
    std::vector<std::string> arguments(int port) const {
        return {"--port", std::to_string(port), "--security",
                "--pki",  m_directory.path(),   "--die-with-parent"};
    }

    test_support::TemporaryDirectory m_directory;
    std::optional<ServerProcess> m_server;
};

} // namespace

TEST(Panel, GoesOnAfterARestartOfTheServer) {
    PlantWithCertificate plant;
    RunningPanel panel(plant.server().url(), line1, setPoint);
    trustAlways(panel);
    panel.await(setPoint + " = 1.5");
    panel.type("2.25");
    panel.await(setPoint + " = 2.25");

    plant.kill();
    panel.await("the connection is lost");
    panel.type("3");
    panel.await("not written: not connected");

    plant.startAgain();
    panel.await("connected");
    panel.await(setPoint + " = 1.5");
    panel.type("2.5");
    panel.await(setPoint + " = 2.5");

    EXPECT_EQ(panel.endOfInput().text(), "exit code 0");
    EXPECT_EQ(Onlooker(plant.server().url()).diagnostics("CurrentSessions"), 1U) << "the one that asks";
}

TEST(Panel, WaitsForAServerThatIsNotThereYet) {
    std::optional<PlantServer> server(std::in_place);
    const std::string port = std::to_string(server->port());
    const std::string url = server->url();
    server->stop();
    RunningPanel panel(url, line1, setPoint);
    panel.await("no connection: ");
    const ServerProcess late(PlantServer::program(), {"--port", port, "--security", "--die-with-parent"});
    trustAlways(panel);
    for (const char* typed : {"fast", "1e999", "-inf", "nan"}) {
        panel.type(typed);
        panel.await("a number, please");
    }
    EXPECT_EQ(panel.endOfInput().text(), "exit code 0");
}

TEST(Panel, AsksAgainAfterNoAndAfterOnce) {
    PlantWithCertificate plant;
    RunningPanel panel(plant.server().url(), line1, setPoint);
    const std::string shown = panel.await("  thumbprint  ");
    panel.type("no");
    panel.await("not connected");
    EXPECT_EQ(Onlooker(plant.server().url()).diagnostics("CreatedSessions"), 1U) << "the one that asks";

    panel.type("");
    EXPECT_EQ(panel.await("  thumbprint  "), shown);
    panel.await(question);
    panel.type("once");
    panel.await("connected");
    EXPECT_TRUE(std::filesystem::is_empty(panel.trustList()));

    plant.kill();
    plant.startAgain();
    trustAlways(panel);
    panel.await(setPoint);
    const std::filesystem::directory_iterator trusted(panel.trustList());
    EXPECT_EQ(std::distance(begin(trusted), end(trusted)), 1);

    plant.kill();
    plant.startAgain();
    panel.await("the connection is lost");
    std::string line = panel.nextLine();
    while (line != "connected" && line.compare(0, question.size(), question) != 0)
        line = panel.nextLine();
    EXPECT_EQ(line, "connected") << "without a question";
    EXPECT_EQ(panel.endOfInput().text(), "exit code 0");
}

TEST(Panel, EndsWhileItAsks) {
    const PlantServer server({"--security"});
    RunningPanel panel(server.url(), line1, setPoint);
    panel.await(question);
    EXPECT_EQ(panel.endOfInput().text(), "exit code 0");
}

TEST(Panel, NoticesASensorThatFails) {
    const PlantServer server({"--security"});
    const std::string sensor = "ns=3;s=TestRack.Changing.Status";
    RunningPanel panel(server.url(), "ns=3;s=TestRack.Changing", setPoint);
    trustAlways(panel);
    panel.await(sensor + " = 42");
    Onlooker onlooker(server.url());
    onlooker.setStatus(0x808C0000); // BadSensorFailure
    panel.await(sensor + " has failed");
    onlooker.setStatus(0);
    panel.await(sensor + " is good again");
    EXPECT_EQ(panel.endOfInput().text(), "exit code 0");
}

TEST(Panel, IsNotSteeredByWhatAServerSends) {
    const PlantServer server({"--security"});
    RunningPanel panel(server.url(), "ns=3;s=TestRack.Scalar", setPoint);
    trustAlways(panel);
    Onlooker(server.url())
        .setText("ns=3;s=TestRack.Scalar.String", "red\x1b[31m\xC2\x9B"
                                                  "1mtrust it?\n");
    panel.await("ns=3;s=TestRack.Scalar.String = red?[31m\xC2?1mtrust it??");
    EXPECT_EQ(panel.endOfInput().text(), "exit code 0");
}

TEST(Panel, SitsOutAnOutageInItsSession) {
    PlantServer server({"--security"});
    RunningPanel panel(server.url(), line1, setPoint);
    trustAlways(panel);
    panel.await(setPoint);
    const unsigned long created = Onlooker(server.url()).diagnostics("CreatedSessions");

    server.freeze();
    panel.await("the server is silent");
    panel.type("9.5");
    panel.await("not written: the server is silent");
    server.resume();
    panel.await("connected");
    panel.type("2.75");
    panel.await(setPoint + " = 2.75");

    EXPECT_EQ(Onlooker(server.url()).diagnostics("CreatedSessions"), created + 1) << "the one that asks";
    EXPECT_EQ(panel.endOfInput().text(), "exit code 0");
}
