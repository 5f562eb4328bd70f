#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cli_program.h"
#include "support/child_process.h"
#include "support/server_process.h"
#include "support/temporary_directory.h"

using namespace cli_test;
using nlohmann::json;
using test_support::PlantServer;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

namespace fs = std::filesystem;

constexpr fs::perms forOthers = fs::perms::group_all | fs::perms::others_all;
constexpr uid_t nobody = 65534;

/// The program installed where its user cannot write, and that user's home.
class Installed : public testing::Test {
protected:
    Installed() {
        const auto installed = test_support::runProgram(
            CMAKE_PROGRAM, {"--install", BUILD_DIRECTORY, "--prefix", prefix().string()});
        EXPECT_EQ(installed.end.exitCode, 0) << installed.standardError;
        fs::create_directory(home());
        fs::permissions(m_directory.path(), fs::perms(0755));
        if (geteuid() == 0)
            EXPECT_EQ(chown(home().c_str(), nobody, nobody), 0);
        fs::permissions(binaries(), fs::perms(0555));
    }
    ~Installed() override { fs::permissions(binaries(), fs::perms(0755)); }

    fs::path prefix() const { return m_directory.path() / "installed"; }
    fs::path binaries() const { return prefix() / "bin"; }
    fs::path installedProgram() const { return binaries() / "opcua-cli"; }
    fs::path home() const { return m_directory.path() / "home"; }
    fs::path state() const { return home() / ".local/state/opcua-cli"; }

    /// Root may write everywhere: the program runs as somebody else, with the variables given.
    CliResult run(const Arguments& arguments, const Arguments& variables) const {
        Arguments command;
        if (geteuid() == 0)
            command = {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"};
        command.insert(command.end(),
                       {"env", "-u", "XDG_STATE_HOME", "-u", "HOME", "-u", "OPCUACLIENT_DIRECTORY"});
        command.insert(command.end(), variables.begin(), variables.end());
        command.push_back(installedProgram().string());
        command.insert(command.end(), arguments.begin(), arguments.end());
        const auto result = test_support::runProgram(command[0], {std::next(command.begin()), command.end()});
        return {result.end.exitCode.value_or(-1), result.standardOutput, result.standardError};
    }
    CliResult run(const Arguments& arguments) const { return run(arguments, {"HOME=" + home().string()}); }

    static std::vector<std::string> namesIn(const fs::path& directory) {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(directory))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

    test_support::TemporaryDirectory m_directory;
};

} // namespace

TEST_F(Installed, FilesGoToTheStateDirectoryOfTheUser) {
    const PlantServer server({"--security"});
    const auto before = namesIn(binaries());
    const Arguments call{"info", server.url(), "--policy", "Basic256Sha256", "--trace", "warnings", "--json"};
    Arguments trusting = call;
    trusting.insert(trusting.end(), {"--trust", "always"});

    const CliResult first = run(trusting);
    ASSERT_EQ(first.exitCode, 0) << first.error;
    const json files = first.json()["files"];
    EXPECT_EQ(files["trace"], (state() / "OpcUaClient.log").string());
    EXPECT_EQ(files["configuration"], (state() / "OpcUaClientConfig.ini").string());
    EXPECT_EQ(files["clientCertificate"], (state() / "pkiclient/own/certs/HMIClient.der").string());
    EXPECT_TRUE(fs::exists(files["trace"].get<std::string>()));
    EXPECT_TRUE(fs::exists(files["clientCertificate"].get<std::string>()));
    EXPECT_EQ(fs::status(state()).permissions() & forOthers, fs::perms::none);

    const CliResult next = run(call);
    EXPECT_EQ(next.exitCode, 0) << "trusted by the first run: " << next.error;
    EXPECT_EQ(namesIn(binaries()), before);
}

TEST_F(Installed, WhatNeedsNoFilesMakesNone) {
    const PlantServer server;
    const CliResult info = run({"info", server.url(), "--json"});
    ASSERT_EQ(info.exitCode, 0) << info.error;
    EXPECT_EQ(info.json()["files"]["trace"], (state() / "OpcUaClient.log").string());
    EXPECT_EQ(run({"read", server.url(), "i=2261"}, {}).exitCode, 0) << "not even a home";
    EXPECT_THAT(run({"--help"}).output, HasSubstr(state().string()));
    EXPECT_FALSE(fs::exists(home() / ".local"));
}

TEST_F(Installed, TheStateDirectoryMayBeNamed) {
    const std::string named = (home() / "elsewhere").string();
    const CliResult made = run({"cert", "--make", "--json"}, {"XDG_STATE_HOME=" + named});
    ASSERT_EQ(made.exitCode, 0) << made.error;
    EXPECT_THAT(made.json()["client"]["file"], HasSubstr(named + "/opcua-cli/"));
    EXPECT_TRUE(fs::exists(made.json()["client"]["file"].get<std::string>()));
}

TEST_F(Installed, NoPartOfItIsCopied) {
    ASSERT_EQ(run({"cert", "--make"}).exitCode, 0);
    EXPECT_THAT(namesIn(state()), ElementsAre("pkiclient"));
}

TEST_F(Installed, TheLibrarysVariableNamesThePlaceForBoth) {
    const std::string named = (home() / "named").string();
    const Arguments variables{"HOME=" + home().string(), "OPCUACLIENT_DIRECTORY=" + named};
    fs::create_directory(named);
    if (geteuid() == 0)
        ASSERT_EQ(chown(named.c_str(), nobody, nobody), 0);
    const CliResult made = run({"cert", "--make", "--trace", "warnings", "--json"}, variables);
    ASSERT_EQ(made.exitCode, 0) << made.error;
    EXPECT_EQ(made.json()["client"]["file"], named + "/pkiclient/own/certs/HMIClient.der");
    EXPECT_THAT(namesIn(named), ElementsAre("OpcUaClient.log", "pkiclient"));
    EXPECT_THAT(run({"--help"}, variables).output, HasSubstr(named + "/OpcUaClient.log"));
    EXPECT_FALSE(fs::exists(state()));
}

TEST_F(Installed, ARelativePathInTheVariableNamesNothing) {
    const CliResult made =
        run({"cert", "--make", "--json"}, {"HOME=" + home().string(), "OPCUACLIENT_DIRECTORY=named"});
    ASSERT_EQ(made.exitCode, 0) << made.error;
    EXPECT_EQ(made.json()["client"]["file"], (state() / "pkiclient/own/certs/HMIClient.der").string());
    EXPECT_TRUE(fs::exists(state() / "pkiclient/own/certs/HMIClient.der"));
}

TEST_F(Installed, TheConfigurationBesideItHoldsForItsUsers) {
    fs::permissions(binaries(), fs::perms(0755));
    std::ofstream(binaries() / "OpcUaClientConfig.ini")
        << "[UaClientConfig]\nClientCertificate=" << (home() / "panel.der").string() << "\n";
    fs::permissions(binaries(), fs::perms(0555));
    const CliResult made = run({"cert", "--make", "--json"});
    ASSERT_EQ(made.exitCode, 0) << made.error;
    EXPECT_EQ(made.json()["client"]["file"], (home() / "panel.der").string());
    EXPECT_TRUE(fs::exists(home() / "panel.der"));
    EXPECT_EQ(made.json()["client"]["keyFile"], (state() / "pkiclient/own/private/HMIClient.pem").string());
}

TEST_F(Installed, AStateDirectoryOfOthersIsRefused) {
    const fs::path shared = m_directory.path() / "shared/opcua-cli";
    fs::create_directories(shared);
    fs::permissions(shared, fs::perms(0777));
    const CliResult result = run({"cert"}, {"XDG_STATE_HOME=" + shared.parent_path().string()});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.error, HasSubstr("can be written by others"));
    EXPECT_TRUE(fs::is_empty(shared));
}

TEST_F(Installed, WithoutAPlaceItSaysWhatToDo) {
    const CliResult result = run({"cert", "--json"}, {});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.error,
                AllOf(HasSubstr("not writable"), HasSubstr("HOME is not set"), HasSubstr("XDG_STATE_HOME")));
    EXPECT_EQ(result.json()["error"]["code"], nullptr);
}
