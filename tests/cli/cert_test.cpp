#include <cctype>
#include <filesystem>
#include <fstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "own_program.h"
#include "support/child_process.h"
#include "support/server_process.h"

using namespace cli_test;
using nlohmann::json;
using test_support::PlantServer;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

namespace fs = std::filesystem;

constexpr fs::perms forOthers = fs::perms::group_all | fs::perms::others_all;

std::string thumbprintByOpenssl(const std::string& file) {
    const auto result = test_support::runProgram(
        "openssl", {"x509", "-in", file, "-inform", "der", "-noout", "-fingerprint", "-sha1"});
    EXPECT_EQ(result.end.exitCode, 0) << result.standardError;
    std::string digits;
    for (const char character : result.standardOutput.substr(result.standardOutput.find('=') + 1))
        if (std::isxdigit(static_cast<unsigned char>(character)) != 0)
            digits += character;
    return digits;
}

} // namespace

TEST(Cert, SaysThatThereIsNoneYet) {
    const OwnProgram program;
    const CliResult table = program.run({"cert"});
    EXPECT_EQ(table.exitCode, 0) << table.error;
    EXPECT_THAT(table.output, AllOf(HasSubstr("none yet"), HasSubstr("--make"), HasSubstr("HMIClient.der")));
    const json store = program.run({"cert", "--json"}).json();
    EXPECT_EQ(store["client"]["file"], (program.directory() / "pkiclient/own/certs/HMIClient.der").string());
    EXPECT_TRUE(store["client"]["thumbprint"].is_null());
    EXPECT_EQ(store["client"]["hasKey"], false);
    EXPECT_EQ(store["trusted"], json::array());
    EXPECT_FALSE(fs::exists(program.directory() / "pkiclient")) << "looking makes nothing";
}

TEST(Cert, MakesItOnceAndShowsIt) {
    const OwnProgram program;
    const CliResult made = program.run({"cert", "--make", "--json"});
    ASSERT_EQ(made.exitCode, 0) << made.error;
    const json client = made.json()["client"];
    EXPECT_EQ(client["commonName"], "HMI_RK4400");
    EXPECT_EQ(client["issuerCommonName"], "HMI_RK4400");
    EXPECT_EQ(client["applicationUri"], "urn:HMI:Kestrova::RK4400");
    EXPECT_EQ(client["hostNames"], json::array({"HMI_Client"}));
    EXPECT_EQ(client["thumbprint"], thumbprintByOpenssl(client["file"]));
    EXPECT_EQ(client["hasKey"], true);
    EXPECT_EQ(fs::status(client["keyFile"].get<std::string>()).permissions() & forOthers, fs::perms::none);
    EXPECT_EQ(program.run({"cert", "--make", "--json"}).json()["client"], client) << "never made anew";
    EXPECT_THAT(program.run({"cert"}).output,
                AllOf(HasSubstr(client["thumbprint"]), HasSubstr("trusted client certificates")));
}

TEST(Cert, ShowsTheTrustList) {
    const PlantServer server({"--security"});
    const OwnProgram program;
    ASSERT_EQ(program.run({"info", server.url(), "--policy", "aes128", "--trust", "always"}).exitCode, 0);
    std::ofstream(program.directory() / "pkiclient/trusted/certs/notes.txt") << "call Otto";
    const json trusted = program.run({"cert", "--json"}).json()["trusted"];
    ASSERT_EQ(trusted.size(), 2u);
    EXPECT_EQ(trusted[0]["applicationUri"], "urn:kestrova:plant-server");
    EXPECT_EQ(trusted[0]["thumbprint"], thumbprintByOpenssl(trusted[0]["file"]));
    EXPECT_TRUE(trusted[0]["problem"].is_null());
    EXPECT_EQ(trusted[1]["problem"], "no certificate");
    EXPECT_THAT(program.run({"cert"}).output, AllOf(HasSubstr("Plant server"), HasSubstr("notes.txt"),
                                                    HasSubstr(trusted[0]["thumbprint"])));
}

TEST(Cert, AServerThatTrustsItLetsTheProgramIn) {
    const test_support::TemporaryDirectory trustedClients;
    const PlantServer server({"--trusted-clients", trustedClients.path().string()});
    const OwnProgram program;
    const Arguments call{"info", server.url(), "--policy", "Basic256Sha256", "--trust", "always"};
    const CliResult refused = program.run(call);
    EXPECT_EQ(refused.exitCode, 3);
    EXPECT_THAT(refused.error, HasSubstr("opcua-cli cert"));
    const std::string file = program.run({"cert", "--json"}).json()["client"]["file"];
    fs::copy(file, trustedClients.path());
    const CliResult welcome = program.run(call);
    EXPECT_EQ(welcome.exitCode, 0) << welcome.error;
}

TEST(Cert, FollowsTheConfiguration) {
    const OwnProgram program;
    std::ofstream(program.directory() / "OpcUaClientConfig.ini")
        << "[UaClientConfig]\nClientCertificate=[ConfigPath]/own/panel.der\n"
           "ClientPrivateKey=[ConfigPath]/own/panel.pem\n";
    const json client = program.run({"cert", "--make", "--json"}).json()["client"];
    EXPECT_EQ(client["file"], (program.directory() / "own/panel.der").string());
    EXPECT_EQ(client["thumbprint"], thumbprintByOpenssl(client["file"]));
    EXPECT_EQ(client["hasKey"], true);
}

TEST(Cert, AStoreThatCannotBeLookedIntoIsExplained) {
    for (const char* place : {"pkiclient/own/certs", "pkiclient/trusted/certs"}) {
        const OwnProgram program;
        const fs::path store = program.directory() / place;
        fs::create_directories(store.parent_path());
        fs::create_symlink(store, store); // for root, too, it leads nowhere
        const CliResult table = program.run({"cert"});
        EXPECT_EQ(table.exitCode, 1);
        EXPECT_EQ(table.output, "");
        EXPECT_THAT(table.error, HasSubstr("cannot look at " + store.string()));
        const CliResult result = program.run({"cert", "--json"});
        EXPECT_EQ(result.exitCode, 1);
        EXPECT_THAT(result.json()["error"]["explanation"], HasSubstr(store.string()));
    }
}

TEST(Cert, NamesOfFilesSteerNoTerminalThatReadsBytes) {
    const OwnProgram program;
    const fs::path trusted = program.directory() / "pkiclient/trusted/certs";
    fs::create_directories(trusted);
    std::ofstream(trusted / "\u00DB31m.txt") << "no certificate";
    for (const std::string command : {"\"$0\" cert", "\"$0\" cert --json"}) {
        PseudoTerminal terminal(200);
        program.runInShell("LC_ALL=C TERM=xterm " + command + " >" + terminal.path(), {});
        EXPECT_THAT(terminal.text(), AllOf(HasSubstr("?31m.txt"), Not(HasSubstr("\x9B"))));
        EXPECT_THAT(program.runInShell("LC_ALL=C " + command, {}).output, HasSubstr("\u00DB31m.txt"));
    }
}

TEST(Cert, AStoreThatCannotBeUsedIsExplained) {
    const OwnProgram program;
    std::ofstream(program.directory() / "pkiclient") << "in the way";
    const CliResult result = program.run({"cert", "--make", "--json"});
    EXPECT_EQ(result.exitCode, 1);
    const json error = result.json()["error"];
    EXPECT_EQ(error["code"], 21);
    EXPECT_EQ(error["message"], "加载客户端证书失败");
}
