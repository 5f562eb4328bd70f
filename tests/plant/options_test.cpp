#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "plant_fixture.h"

using namespace std::chrono_literals;
using test_support::PlantServer;
using test_support::ProgramResult;
using test_support::RawClient;
using test_support::runProgram;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

ProgramResult run(const std::vector<std::string>& options) {
    return runProgram(PlantServer::program(), options);
}

} // namespace

class PlantOptions : public PlantTest {};

TEST_F(PlantOptions, HelpNamesEveryOptionAndGivesExamples) {
    const ProgramResult help = run({"--help"});
    EXPECT_EQ(help.end.exitCode, 0);
    EXPECT_THAT(help.standardOutput, HasSubstr("Examples:"));
    for (const char* option : {"--port",
                               "--bind",
                               "--host",
                               "--page-size",
                               "--delay",
                               "--tags",
                               "--change-tags",
                               "--change-interval",
                               "--max-nodes-per-read",
                               "--max-nodes-per-write",
                               "--max-nodes-per-browse",
                               "--max-nodes-per-monitor",
                               "--max-items",
                               "--max-lifetime",
                               "--min-sampling",
                               "--max-sessions",
                               "--users",
                               "--insecure-passwords",
                               "--no-anonymous",
                               "--security",
                               "--legacy",
                               "--pki",
                               "--certificate",
                               "--private-key",
                               "--trusted-clients",
                               "--trusted-users",
                               "--seed",
                               "--interval",
                               "--die-with-parent",
                               "--verbose"})
        EXPECT_THAT(help.standardOutput, HasSubstr(option));
}

TEST_F(PlantOptions, BadOptionsAreExplained) {
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases{
        {{"--prot", "4840"}, "--prot"},
        {{"--port", "many"}, "--port"},
        {{"--port", "70000"}, "--port"},
        {{"--bind", "plant7"}, "plant7 is not an IPv4 address"},
        {{"--tags", "-1"}, "--tags"},
        {{"--max-sessions", "0"}, "--max-sessions"},
        {{"--interval", "0"}, "--interval"},
        {{"--users", "no-password"}, "--users"},
        {{"stray"}, "stray"}};
    for (const auto& [options, word] : cases) {
        const ProgramResult result = run(options);
        EXPECT_EQ(result.end.exitCode, 2) << options[0];
        EXPECT_THAT(result.standardError, HasSubstr(word));
        EXPECT_THAT(result.standardOutput, IsEmpty()) << options[0];
    }
}

TEST_F(PlantOptions, MessagesHoldNoPassword) {
    const ProgramResult result = run({"--users", "sesame"});
    EXPECT_EQ(result.end.exitCode, 2);
    EXPECT_EQ(result.standardError.find("sesame"), std::string::npos);
}

TEST_F(PlantOptions, ATakenPortIsExplained) {
    start();
    const ProgramResult second = run({"--port", std::to_string(server->port())});
    EXPECT_EQ(second.end.exitCode, 1);
    EXPECT_THAT(second.standardError, HasSubstr("Address already in use"));
    EXPECT_THAT(second.standardOutput, IsEmpty());
}

TEST_F(PlantOptions, ReadinessLineIsExact) {
    start();
    EXPECT_EQ(server->readinessLine(),
              "plant_server: ready at opc.tcp://127.0.0.1:" + std::to_string(server->port()));
    EXPECT_THAT(server->standardError(), IsEmpty());
}

TEST_F(PlantOptions, HostNameIsAnnounced) {
    start({"--host", "localhost"});
    EXPECT_EQ(server->url(), "opc.tcp://localhost:" + std::to_string(server->port()));
    EXPECT_EQ(client->read("i=2258").status(), UA_STATUSCODE_GOOD);
}

TEST_F(PlantOptions, LogComesOnRequest) {
    start({"--verbose"});
    EXPECT_THAT(server->standardError(), HasSubstr("info "));
}

TEST_F(PlantOptions, AnswersOfTheWholeConnectAreLate) {
    server.emplace(std::vector<std::string>{"--delay", "50"});
    const auto start = std::chrono::steady_clock::now();
    const RawClient slow(server->url());
    // Hello, channel, session, activation: four answers at the least.
    EXPECT_GE(std::chrono::steady_clock::now() - start, 200ms);
}

TEST_F(PlantOptions, OperationLimitsHold) {
    start({"--max-nodes-per-read", "2", "--max-nodes-per-write", "1", "--max-nodes-per-browse", "1",
           "--max-nodes-per-monitor", "3"});
    const std::string node = rack("Scalar.Int32");
    EXPECT_EQ(client->readAll({node, node})[1].status(), UA_STATUSCODE_GOOD);
    EXPECT_EQ(client->readAll({node, node, node})[0].status(), UA_STATUSCODE_BADTOOMANYOPERATIONS);
    EXPECT_EQ(client->value<UA_UInt32>("i=11705"), 2U);
    EXPECT_EQ(client->value<UA_UInt32>("i=11707"), 1U);
    EXPECT_EQ(client->value<UA_UInt32>("i=11710"), 1U);
    EXPECT_EQ(client->value<UA_UInt32>("i=11714"), 3U);
}
