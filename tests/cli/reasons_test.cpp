// Why something failed, as the program says it.
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "own_program.h"
#include "plant_fixture.h"
#include "support/server_process.h"
#include "support/text_file.h"

using namespace cli_test;
using test_support::PlantServer;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

/// A plant, and a program that has met no server yet.
struct Meeting {
    explicit Meeting(const std::vector<std::string>& options) : server(options) {}

    CliResult info(Arguments options) const {
        options.insert(options.begin(), {"info", server.url()});
        return program.run(options);
    }

    OwnProgram program;
    PlantServer server;
};

std::string reasonIn(const CliResult& result) {
    return result.json()["error"]["explanation"];
}

std::string reasonOf(const nlohmann::json& node) {
    return node["error"]["explanation"];
}

} // namespace

TEST(ConnectReason, IsAWrongPassword) {
    const Meeting plant({"--security"});
    const std::string secret = "not-the-password";
    for (const Arguments& options :
         {Arguments{"--user", "operator"}, Arguments{"--user", "operator", "--policy", "None"}}) {
        Arguments all{"--password", secret, "--trust", "once", "-v", "--trace", "everything", "--json"};
        all.insert(all.end(), options.begin(), options.end());
        const CliResult result = plant.info(all);
        EXPECT_EQ(result.exitCode, 3);
        EXPECT_THAT(result.error, HasSubstr("wrong user name or password"));
        EXPECT_THAT(result.error, HasSubstr("connect"));
        EXPECT_THAT(reasonIn(result), HasSubstr("wrong user name or password"));
        EXPECT_THAT(result.output + result.error, Not(HasSubstr(secret)));
    }
}

TEST(ConnectReason, IsThatAUserIsNeeded) {
    const Meeting plant({"--security", "--no-anonymous"});
    for (const Arguments& options : {Arguments{}, Arguments{"--policy", "aes128", "--trust", "once"}}) {
        const CliResult result = plant.info(options);
        EXPECT_EQ(result.exitCode, 3);
        EXPECT_THAT(result.error, AllOf(HasSubstr("nobody in without a user"), HasSubstr("--user NAME")));
    }
}

TEST(ConnectReason, IsThatTheServerDoesNotTrustThisClient) {
    const test_support::TemporaryDirectory trustedByTheServer;
    const Meeting plant({"--security", "--trusted-clients", trustedByTheServer.path().string()});
    const CliResult result = plant.info({"--policy", "aes128", "--trust", "once", "--wait", "--json"});
    EXPECT_EQ(result.exitCode, 3) << "nobody waits for that";
    EXPECT_THAT(reasonIn(result), HasSubstr("does not trust this client's certificate"));
    const std::string advice = result.json()["error"]["advice"];
    const auto certificate = plant.program.directory() / "pkiclient/own/certs/HMIClient.der";
    EXPECT_THAT(advice, HasSubstr("copy " + certificate.string() + " to the server"));
    EXPECT_TRUE(std::filesystem::is_regular_file(certificate));
}

TEST(ConnectReason, IsThatTheServerDoesNotTrustTheUsersCertificate) {
    const test_support::TemporaryDirectory trustedByTheServer;
    const Meeting plant({"--security", "--trusted-users", trustedByTheServer.path().string()});
    const CliResult result = plant.info({"--user-cert", "default", "--user", "Nina", "--trust", "once"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.error, HasSubstr("does not accept this user's certificate"));
}

TEST(ConnectReason, IsAPolicyThatTheServerDoesNotOffer) {
    const Meeting plant({"--security"});
    const CliResult result = plant.info({"--policy", "Basic256", "--trust", "once"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.error,
                AllOf(HasSubstr("offers no endpoint with Basic256 with mode SignAndEncrypt; it offers None"),
                      HasSubstr("--policy and --mode")));
}

TEST(ConnectReason, IsTakenFromAKeptTraceToo) {
    const OwnProgram program;
    std::ofstream(program.directory() / "OpcUaClient.log")
        << "2026-03-01T12:30:00.123Z [1] ERROR connect | the host name \"yesterday\" does not resolve\n";
    const CliResult result = program.run({"info", "no-such-host.invalid", "--trace", "errors"});
    EXPECT_THAT(result.error,
                AllOf(HasSubstr("no-such-host.invalid does not resolve"), Not(HasSubstr("yesterday"))));
}

TEST(ConnectReason, LeavesNothingBehind) {
    const OwnProgram program;
    const test_support::TemporaryDirectory temporary;
    const CliResult result = program.runInShell("TMPDIR=" + temporary.path().string() + " exec \"$0\" \"$@\"",
                                                {"info", "no-such-host.invalid"});
    EXPECT_THAT(result.error, HasSubstr("does not resolve"));
    EXPECT_TRUE(std::filesystem::is_empty(temporary.path()));
    EXPECT_FALSE(std::filesystem::exists(program.directory() / "OpcUaClient.log"));
}

TEST(ConnectReason, NeedsNoAbsolutePathForTemporaryFiles) {
    const OwnProgram program;
    const CliResult result =
        program.runInShell("cd / && TMPDIR=tmp exec \"$0\" \"$@\"", {"info", "no-such-host.invalid"});
    EXPECT_THAT(result.error, HasSubstr("does not resolve"));
    EXPECT_FALSE(std::filesystem::exists(program.directory() / "OpcUaClient.log"));
}

TEST(ConnectReason, IsTheLibrarysWordAloneWithoutRoomForATrace) {
    const OwnProgram program;
    const CliResult result =
        program.runInShell("TMPDIR=/nonexistent exec \"$0\" \"$@\"", {"info", "no-such-host.invalid"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.error, StartsWith("opcua-cli: the server could not be connected"));
    EXPECT_EQ(std::filesystem::file_size(program.directory() / "OpcUaClient.log"), 0u);
}

TEST_F(Plant, ReadTellsTheReasonForEachNode) {
    const CliResult result =
        cli("read", {"ns=2;s=Nowhere", "i=85", rack + "Status.Bad", rack + "Access.WriteOnly", "--json"});
    EXPECT_EQ(result.exitCode, 1);
    const nlohmann::json nodes = result.json()["nodes"];
    EXPECT_EQ(reasonOf(nodes[0]), "there is no such node on the server (BadNodeIdUnknown)");
    EXPECT_EQ(reasonOf(nodes[1]), "the node has no value: it is no variable (BadAttributeIdInvalid)");
    EXPECT_EQ(reasonOf(nodes[2]), "the sensor has failed (BadSensorFailure)");
    EXPECT_EQ(reasonOf(nodes[3]), "the server lets nobody read this value (BadNotReadable)");
}

TEST_F(Plant, WriteTellsTheReason) {
    EXPECT_THAT(cli("write", {rack + "Access.ReadOnly", "1"}).error,
                StartsWith("opcua-cli: the value is read-only"));
    EXPECT_THAT(cli("write", {rack + "Scalar.Int32", "1", "--type", "Double"}).error,
                StartsWith("opcua-cli: the node takes another type (BadTypeMismatch)"));
    const CliResult unknown = cli("write", {"ns=2;s=Nowhere", "1"});
    EXPECT_THAT(unknown.error, AllOf(HasSubstr("there is no such node"), Not(HasSubstr("--type"))));
}

TEST_F(Plant, BrowseAndMonitorSayThatThereIsNoSuchNode) {
    const CliResult browse = cli("browse", {"ns=2;s=Nowhere", "--json"});
    EXPECT_EQ(reasonIn(browse), "there is no such node on the server (BadNodeIdUnknown): ns=2;s=Nowhere");
    const CliResult monitor = cli("monitor", {"ns=2;s=Nowhere", "--duration", "1"});
    EXPECT_THAT(monitor.error, HasSubstr("ns=2;s=Nowhere: there is no such node"));
}

TEST_F(Plant, VerboseShowsTheTraceAndKeepsNone) {
    const OwnProgram program;
    for (const Arguments& arguments : {call("info", {"-v"}), call("browse", {"--verbose"})}) {
        const CliResult result = program.run(arguments);
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_THAT(result.error, AllOf(HasSubstr("LIFECYCLE session | connected to " + m_server.url()),
                                        HasSubstr("LIFECYCLE session | disconnected")));
        EXPECT_THAT(result.output, Not(HasSubstr("LIFECYCLE")));
    }
    EXPECT_FALSE(std::filesystem::exists(program.directory() / "OpcUaClient.log"));
    EXPECT_EQ(cli("info").error, "");
}

TEST_F(Plant, VerboseShowsWhatIsKept) {
    const OwnProgram program;
    const CliResult result = program.run(call("read", {"ns=2;s=Nowhere", "-v", "--trace", "warnings"}));
    const std::string line = "ns=2;s=Nowhere is not read: BadNodeIdUnknown";
    EXPECT_THAT(result.error, AllOf(HasSubstr(line), Not(HasSubstr("LIFECYCLE"))));
    EXPECT_THAT(test_support::contentOf(program.directory() / "OpcUaClient.log"), HasSubstr(line));
}

TEST(Verbose, TellsHowDiscoverAndCertWork) {
    const OwnProgram program;
    const CliResult discover = program.run({"discover", "no-such-host.invalid", "-v"});
    EXPECT_THAT(discover.error, HasSubstr("ERROR connect | the host name \"no-such-host.invalid\""));
    const CliResult cert = program.run({"cert", "--make", "-v"});
    EXPECT_EQ(cert.exitCode, 0);
    EXPECT_THAT(cert.error, HasSubstr("made this client's own certificate"));
}
