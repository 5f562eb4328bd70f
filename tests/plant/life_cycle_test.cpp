#include <arpa/inet.h>
#include <csignal>
#include <cstdint>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

#include "plant_fixture.h"

using test_support::PlantServer;
using test_support::RawClient;
using test_support::ServerProcess;
using test_support::waitUntil;

namespace {

bool listens(std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int probe = socket(AF_INET, SOCK_STREAM, 0);
    const bool connected = connect(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(probe);
    return connected;
}

} // namespace

class PlantLifeCycle : public PlantTest {};

TEST_F(PlantLifeCycle, StopsOnSignals) {
    for (const int signal : {SIGTERM, SIGINT}) {
        start();
        EXPECT_EQ(server->kill(signal).exitCode, 0);
        EXPECT_EQ(server->standardError(), "");
    }
}

TEST_F(PlantLifeCycle, StopsWithAnswersOutstanding) {
    start();
    ASSERT_EQ(client->write(rack("Control.AnswerDelay"), UA_UInt32{100}), UA_STATUSCODE_GOOD);
    const RawClient other(server->url());
    EXPECT_EQ(server->stop().exitCode, 0);
}

TEST_F(PlantLifeCycle, StopsDuringAnAnnouncedShutdown) {
    start();
    ASSERT_EQ(client->write(rack("Control.ShutDown"), UA_UInt32{600}), UA_STATUSCODE_GOOD);
    EXPECT_EQ(server->stop().exitCode, 0);
}

TEST_F(PlantLifeCycle, ComesBackOnTheSamePort) {
    start();
    const std::string port = std::to_string(server->port());
    server->stop();
    start({"--port", port});
    EXPECT_EQ(std::to_string(server->port()), port);
}

TEST_F(PlantLifeCycle, DiesWithItsParent) {
    ServerProcess shell("sh", {"-c", "\"$0\" --port 0 --die-with-parent & wait", PlantServer::program()});
    ASSERT_TRUE(listens(shell.port()));
    shell.kill(SIGKILL);
    EXPECT_TRUE(waitUntil([&] { return !listens(shell.port()); }));
}

TEST_F(PlantLifeCycle, ServesOnAfterItsFreeze) {
    start();
    server->freeze();
    server->resume();
    EXPECT_EQ(client->read("i=2258").status(), UA_STATUSCODE_GOOD);
}
