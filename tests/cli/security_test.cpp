#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "own_program.h"
#include "support/child_process.h"
#include "support/server_process.h"

using namespace cli_test;
using nlohmann::json;
using test_support::ChildProcess;
using test_support::PlantServer;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

namespace fs = std::filesystem;

const std::string latest = "ns=3;s=TestRack.Diagnostics.Latest";

void makeWithOpenssl(const std::vector<std::string>& arguments) {
    const auto result = test_support::runProgram("openssl", arguments);
    ASSERT_EQ(result.end.exitCode, 0) << result.standardError;
}

/// A plant with secure endpoints, and a program that has met no server yet.
class SecurePlant : public testing::Test {
protected:
    explicit SecurePlant(const std::vector<std::string>& options = {"--security"}) : m_server(options) {}

    Arguments call(const std::string& command, const Arguments& rest) const {
        Arguments all{command, m_server.url()};
        all.insert(all.end(), rest.begin(), rest.end());
        return all;
    }
    CliResult cli(const std::string& command, const Arguments& rest = {}) const {
        return m_program.run(call(command, rest));
    }
    /// Who the server took the program for.
    std::vector<std::string> seenByTheServer(Arguments options) const {
        options.insert(options.begin(), {latest + "SecurityPolicy", latest + "SecurityMode",
                                         latest + "UserType", latest + "User", "--json"});
        const CliResult result = cli("read", options);
        EXPECT_EQ(result.exitCode, 0) << result.error;
        std::vector<std::string> seen;
        const json document = result.json();
        for (const json& node : document["nodes"])
            seen.push_back(node["value"]);
        return seen;
    }
    std::string path(const std::string& name) const { return (m_program.directory() / name).string(); }
    /// A user's certificate and key as user.der and user.pem.
    void makeUser(const std::string& name) const {
        makeWithOpenssl({"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", path("user.pem"), "-out",
                         path("user.der"), "-outform", "der", "-days", "30", "-subj", "/CN=" + name});
    }

    PlantServer m_server;
    OwnProgram m_program;
};

class LegacyPlant : public SecurePlant {
protected:
    LegacyPlant() : SecurePlant({"--legacy"}) {}
};

/// The program with a person at its terminal.
class AtTheTerminal : public SecurePlant {
protected:
    void start(const Arguments& arguments, const std::string& environment = {}) {
        const std::string tty = m_terminal.path();
        Arguments all{"-c", environment + " exec \"$0\" \"$@\" <" + tty + " 2>" + tty, m_program.path()};
        all.insert(all.end(), arguments.begin(), arguments.end());
        m_child = std::make_unique<ChildProcess>("sh", all);
    }
    void answer(const std::string& question, const std::string& keys) {
        m_shown += m_terminal.awaitText(question);
        m_terminal.text(); // what was seen is not seen again
        m_terminal.type(keys);
    }
    int exitCode() {
        const auto end = m_child->wait(std::chrono::minutes(1));
        m_shown += m_terminal.text();
        return end && end->exitCode ? *end->exitCode : -1;
    }

    PseudoTerminal m_terminal{120};
    std::string m_shown;
    std::unique_ptr<ChildProcess> m_child;
};

constexpr const char* trustQuestion = "Trust it?";

} // namespace

TEST_F(SecurePlant, IsRefusedWithoutATerminalToAskOn) {
    const CliResult result = cli("info", {"--policy", "Basic256Sha256", "--json"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.error,
                AllOf(HasSubstr("Common name"), HasSubstr("Plant server"), HasSubstr("Organization unit"),
                      HasSubstr("Locality"), HasSubstr("State"), HasSubstr("Country"),
                      HasSubstr("Domain component"), HasSubstr("Valid from"), HasSubstr("Valid to"),
                      HasSubstr("urn:kestrova:plant-server"), HasSubstr("Serial number"),
                      HasSubstr("Thumbprint"), HasSubstr("--trust always")));
    EXPECT_EQ(result.json()["error"]["code"], 23);
    EXPECT_EQ(m_program.trusted(), 0u);
}

TEST_F(SecurePlant, TrustedAlwaysIsTrustedTheNextTime) {
    EXPECT_EQ(cli("info", {"--policy", "aes128", "--trust", "always"}).exitCode, 0);
    EXPECT_EQ(m_program.trusted(), 1u);
    const CliResult next = cli("info", {"--mode", "sign", "--trust", "never", "--json"});
    EXPECT_EQ(next.exitCode, 0) << next.error;
    EXPECT_EQ(next.error, "");
    const json info = next.json();
    EXPECT_EQ(info["securityPolicy"], "Basic256Sha256");
    EXPECT_EQ(info["securityMode"], "Sign");
    EXPECT_EQ(info["userIdentity"], "Anonymous");
    EXPECT_EQ(info["files"]["trustList"], path("pkiclient/trusted/certs/"));
}

TEST_F(SecurePlant, TrustedOnceIsForgotten) {
    EXPECT_EQ(cli("info", {"--policy", "aes256", "--trust", "once"}).exitCode, 0);
    EXPECT_EQ(m_program.trusted(), 0u);
    EXPECT_EQ(cli("info", {"--policy", "aes256", "--trust", "never"}).exitCode, 3);
}

TEST_F(LegacyPlant, EveryPolicyAndModeIsTheOneThatIsUsed) {
    for (const std::string policy :
         {"Basic128Rsa15", "Basic256", "Basic256Sha256", "Aes128_Sha256_RsaOaep", "Aes256_Sha256_RsaPss"}) {
        for (const std::string mode : {"Sign", "SignAndEncrypt"}) {
            const auto seen = seenByTheServer({"--policy", policy, "--mode", mode, "--trust", "always"});
            EXPECT_EQ(seen[0], "http://opcfoundation.org/UA/SecurityPolicy#" + policy);
            EXPECT_EQ(seen[1], mode);
        }
    }
}

TEST_F(SecurePlant, WhatTheServerDoesNotOfferFails) {
    const CliResult result = cli("info", {"--policy", "Basic256", "--trust", "once"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.error, HasSubstr("offers no endpoint with Basic256"));
}

TEST_F(SecurePlant, AUserLogsInSecurelyWithoutAskingForIt) {
    const auto seen = seenByTheServer({"--user", "operator", "--password", "plant", "--trust", "once"});
    EXPECT_THAT(seen,
                testing::ElementsAre(HasSubstr("#Basic256Sha256"), "SignAndEncrypt", "UserName", "operator"));
}

TEST_F(SecurePlant, ThePasswordComesFromTheEnvironment) {
    const Arguments arguments =
        call("read", {"i=2261", "--user", "operator", "--policy", "None", "--trust", "once"});
    const auto withPassword = [&](const std::string& password) {
        return m_program.runInShell("OPCUA_CLI_PASSWORD=" + password + " exec \"$0\" \"$@\"", arguments);
    };
    EXPECT_EQ(withPassword("plant").exitCode, 0);
    EXPECT_EQ(withPassword("wrong").exitCode, 3);
    const CliResult without = m_program.run(arguments);
    EXPECT_EQ(without.exitCode, 2);
    EXPECT_THAT(without.error, AllOf(HasSubstr("no password"), HasSubstr("OPCUA_CLI_PASSWORD")));
}

TEST_F(SecurePlant, AUserCertificateLogsIn) {
    makeUser("Otto Operator");
    const Arguments options{"--user-cert",    path("user.der"), "--user-key",
                            path("user.pem"), "--trust",        "once"};
    const auto seen = seenByTheServer(options);
    EXPECT_EQ(seen[2], "Certificate");
    EXPECT_THAT(seen[3], HasSubstr("Otto Operator"));
    EXPECT_TRUE(fs::is_empty(m_program.directory() / "pkiuser/own/certs")) << "nothing stays";
    EXPECT_TRUE(fs::is_empty(m_program.directory() / "pkiuser/own/private"));
}

TEST_F(SecurePlant, TheLibraryMakesAUserCertificate) {
    const auto seen = seenByTheServer({"--user-cert", "default", "--user", "Nina Night", "--trust", "once"});
    EXPECT_EQ(seen[2], "Certificate");
    EXPECT_THAT(seen[3], HasSubstr("Nina Night"));
    EXPECT_TRUE(fs::is_regular_file(m_program.directory() / "pkiuser/own/certs/user.der"));

    makeUser("Otto Operator");
    const CliResult other =
        cli("info", {"--user-cert", path("user.der"), "--user-key", path("user.pem"), "--trust", "once"});
    EXPECT_EQ(other.exitCode, 2);
    EXPECT_THAT(other.error, AllOf(HasSubstr("of its own"), HasSubstr("--user-cert default")));
    EXPECT_EQ(seenByTheServer({"--user-cert", "default", "--trust", "once"})[3], seen[3]);
}

TEST_F(SecurePlant, FilesThatAreNoUserCertificateAreRefusedBeforeAnythingIsSent) {
    makeUser("Otto Operator");
    const auto refusal = [&](const std::string& certificate, const std::string& key) {
        const CliResult result = cli("info", {"--user-cert", path(certificate), "--user-key", path(key)});
        EXPECT_EQ(result.exitCode, 2);
        return result.error;
    };
    EXPECT_THAT(refusal("user.pem", "user.pem"), HasSubstr("no certificate in DER form"));
    EXPECT_THAT(refusal("user.der", "user.der"), HasSubstr("no private key in PEM form"));
    EXPECT_THAT(refusal("user.der", "missing.pem"), HasSubstr("cannot read"));
    EXPECT_FALSE(fs::exists(m_program.directory() / "pkiclient"));
}

TEST_F(AtTheTerminal, YesIsForThisTime) {
    start(call("info", {"--policy", "Basic256Sha256"}));
    answer(trustQuestion, "maybe\n");
    answer(trustQuestion, "YES\n");
    EXPECT_EQ(exitCode(), 0);
    EXPECT_THAT(m_shown, AllOf(HasSubstr("Plant server"), HasSubstr("Thumbprint")));
    EXPECT_EQ(m_program.trusted(), 0u);
}

TEST_F(AtTheTerminal, AlwaysIsKept) {
    start(call("info", {"--policy", "Basic256Sha256"}));
    answer(trustQuestion, "a\n");
    EXPECT_EQ(exitCode(), 0);
    EXPECT_EQ(m_program.trusted(), 1u);
    start(call("info", {"--policy", "Basic256Sha256"}));
    EXPECT_EQ(exitCode(), 0) << "without a question";
}

TEST_F(AtTheTerminal, NoAndNothingRefuse) {
    for (const char* keys : {"n\n", "\n", "\x04"}) {
        start(call("info", {"--policy", "Basic256Sha256"}));
        answer(trustQuestion, keys);
        EXPECT_EQ(exitCode(), 3);
        EXPECT_THAT(m_shown, HasSubstr("certificate was refused"));
        m_shown.clear();
    }
    EXPECT_EQ(m_program.trusted(), 0u);
}

TEST_F(AtTheTerminal, TheRuleAnswersInsteadOfThePerson) {
    start(call("info", {"--policy", "Basic256Sha256", "--trust", "never"}));
    EXPECT_EQ(exitCode(), 3);
    EXPECT_THAT(m_shown, Not(HasSubstr(trustQuestion)));
}

TEST_F(AtTheTerminal, CtrlCAtTheQuestionEndsTheProgram) {
    start(call("info", {"--policy", "Basic256Sha256"}));
    m_terminal.awaitText(trustQuestion);
    m_child->signal(SIGINT);
    EXPECT_EQ(exitCode(), 130);
}

TEST_F(AtTheTerminal, ThePasswordIsAskedForAndDoesNotShow) {
    start(call("read", {latest + "User", "--user", "operator", "--trust", "once"}),
          "unset OPCUA_CLI_PASSWORD;");
    m_shown += m_terminal.awaitText("Password of operator: ");
    EXPECT_FALSE(m_terminal.echoes());
    m_terminal.type("plant\n");
    EXPECT_EQ(exitCode(), 0);
    EXPECT_TRUE(m_terminal.echoes());
    EXPECT_THAT(m_shown, Not(HasSubstr("plant\n")));
    EXPECT_THAT(m_shown, Not(HasSubstr("plant\r")));
    EXPECT_THAT(m_child->standardOutput(), HasSubstr("operator"));
}

TEST_F(AtTheTerminal, CtrlCAtThePasswordLeavesTheTerminalAsItWas) {
    start(call("info", {"--user", "operator"}), "unset OPCUA_CLI_PASSWORD;");
    m_terminal.awaitText("Password of operator: ");
    m_child->signal(SIGINT);
    EXPECT_EQ(exitCode(), 130);
    EXPECT_TRUE(m_terminal.echoes());
}

TEST(DefectiveCertificate, IsNotMendedByTrustingIt) {
    const OwnProgram program;
    const auto file = [&](const char* name) { return (program.directory() / name).string(); };
    makeWithOpenssl({"req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", file("key.pem"), "-out",
                     file("cert.pem"), "-days", "30", "-subj", "/CN=Press 4", "-addext",
                     "subjectAltName=URI:urn:somebody:else,DNS:localhost"});
    const PlantServer server({"--certificate", file("cert.pem"), "--private-key", file("key.pem")});
    const auto connect = [&](const std::string& trust) {
        return program.run({"info", server.url(), "--policy", "aes128", "--trust", trust});
    };
    EXPECT_EQ(connect("always").exitCode, 3);
    EXPECT_EQ(program.trusted(), 1u);
    const CliResult again = connect("always");
    EXPECT_EQ(again.exitCode, 3);
    EXPECT_THAT(again.error, AllOf(HasSubstr("not in order"), HasSubstr("urn:somebody:else"),
                                   HasSubstr("for another application); ")));
    EXPECT_EQ(connect("once").exitCode, 0);
}
