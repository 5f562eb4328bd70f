#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "plant_fixture.h"
#include "support/temporary_directory.h"

using namespace cli_test;
using testing::AllOf;
using testing::HasSubstr;

namespace {

/// The program with a file of profiles, and with variables of its own.
class Profile : public Plant {
protected:
    explicit Profile(const std::vector<std::string>& options = {}) : Plant(options) {
        std::filesystem::create_directory(m_directory.path() / "opcua-cli");
    }

    void write(const std::string& text) const {
        std::ofstream(m_directory.path() / "opcua-cli" / "profiles.ini") << text;
    }
    CliResult run(const Arguments& arguments, const std::string& variables = {}) const {
        return runInShell("XDG_CONFIG_HOME='" + m_directory.path().string() +
                              "' && export XDG_CONFIG_HOME && exec env -u OPCUA_CLI_URL " + variables +
                              " \"$0\" \"$@\"",
                          arguments);
    }

    test_support::TemporaryDirectory m_directory;
};

class SecuredProfile : public Profile {
protected:
    SecuredProfile() : Profile({"--security"}) {}
};

} // namespace

TEST_F(Profile, StandsForItsServer) {
    write("[plant]\nurl = " + m_server.url() + "\n");
    EXPECT_EQ(run({"read", "@plant", "i=2261", "--json"}).json()["url"], m_server.url());
    const CliResult found = run({"discover", "@plant", "--json"});
    EXPECT_EQ(found.exitCode, 0) << found.error;
    const std::string snapshot = (m_directory.path() / "line.json").string();
    EXPECT_EQ(run({"snapshot", "@plant", "/TestRack/Scalar", "--output", snapshot}).exitCode, 0);
    const CliResult compared = run({"compare", "@plant", snapshot});
    EXPECT_EQ(compared.exitCode, 0) << compared.error;
}

TEST_F(Profile, TheVariableStandsWhereTheUrlIsLeftOut) {
    write("[plant]\nurl = " + m_server.url() + "\n");
    for (const std::string& variable :
         {"OPCUA_CLI_URL=" + m_server.url(), std::string("OPCUA_CLI_URL=@plant")}) {
        EXPECT_EQ(run({"info", "--json"}, variable).json()["url"], m_server.url());
        EXPECT_EQ(run({"read", "i=2261", "--json"}, variable).json()["nodes"][0]["value"], "Plant server");
        EXPECT_EQ(run({"read", "/Plant/Line1/Speed", "i=2261"}, variable).exitCode, 0);
        EXPECT_EQ(run({"read", "@", "--json", "i=2261"}, variable).exitCode, 0);
        EXPECT_EQ(run({"read", m_server.url(), "i=2261"}, variable).exitCode, 0);
    }
    EXPECT_EQ(run({"info", m_server.url()}, "OPCUA_CLI_URL=127.0.0.1:1").exitCode, 0) << "it is a default";
    EXPECT_EQ(run({"info"}).exitCode, 2);
    EXPECT_THAT(run({"info", "@"}).error, HasSubstr("OPCUA_CLI_URL, which is not set"));
}

TEST_F(Profile, TheVariableLeavesFilesOfOtherCommandsAlone) {
    const std::string variable = "OPCUA_CLI_URL=" + m_server.url();
    const std::string snapshot = (m_directory.path() / "line.json").string();
    const std::string recording = (m_directory.path() / "line.sqlite").string();
    const auto exitCodeOf = [&](const Arguments& arguments) {
        const CliResult result = run(arguments, variable);
        EXPECT_EQ(result.exitCode, 0) << arguments[0] << ": " << result.error;
        return result.exitCode;
    };
    ASSERT_EQ(exitCodeOf({"snapshot", "/TestRack/Scalar", "--output", snapshot}), 0);
    exitCodeOf({"compare", snapshot, snapshot});
    exitCodeOf({"compare", snapshot, m_server.url()});
    exitCodeOf({"compare", "@", snapshot});
    exitCodeOf({"restore", snapshot, "--dry-run"});
    ASSERT_EQ(exitCodeOf({"record", recording, "i=2261", "--duration", "1"}), 0);
    exitCodeOf({"export", recording});
}

TEST_F(Profile, WhatIsWrongIsAWrongArgument) {
    CliResult result = run({"info", "@plant"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.error, AllOf(HasSubstr("cannot read"), HasSubstr("opcua-cli/profiles.ini")));
    write("[boiler]\nurl = h\n[line]\nurl = http://h\n");
    result = run({"info", "@plant"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.error, AllOf(HasSubstr("no profile plant"), HasSubstr("@boiler, @line")));
    result = run({"info", "@line"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.error, AllOf(HasSubstr("profiles.ini, line 4"), HasSubstr("only opc.tcp://")));
    write("[plant]\nurl = " + m_server.url() + "\npassword = plant\n");
    result = run({"info", "@plant", "--json"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.error, HasSubstr("profiles.ini, line 3: a password has no place"));
    EXPECT_TRUE(result.json().contains("error"));
}

TEST_F(SecuredProfile, SaysHowToConnectUnlessTheCommandLineDoes) {
    write("[plant]\nurl = " + m_server.url() + "\npolicy = Aes128\nmode = Sign\nuser = operator\n");
    const auto info = [&](Arguments options, const std::string& variables = "OPCUA_CLI_PASSWORD=plant") {
        options.insert(options.begin(), {"info", "@plant", "--json", "--trust", "once"});
        const CliResult result = run(options, variables);
        EXPECT_EQ(result.exitCode, 0) << result.error;
        const nlohmann::json json = result.json();
        return json["securityPolicy"].get<std::string>() + " " + json["securityMode"].get<std::string>() +
               " " + json["userIdentity"].get<std::string>();
    };
    EXPECT_EQ(info({}), "Aes128_Sha256_RsaOaep Sign UserName");
    EXPECT_EQ(info({"--mode", "SignAndEncrypt"}), "Aes128_Sha256_RsaOaep SignAndEncrypt UserName");
    EXPECT_EQ(info({"--policy", "Basic256Sha256"}), "Basic256Sha256 Sign UserName");
    EXPECT_EQ(info({"--policy", "None"}), "None None UserName");
    EXPECT_EQ(info({"--mode", "None"}), "None None UserName");
    EXPECT_EQ(
        run({"info", "@plant", "--trust", "once", "--user", "nobody"}, "OPCUA_CLI_PASSWORD=plant").exitCode,
        3)
        << "another user";
}
