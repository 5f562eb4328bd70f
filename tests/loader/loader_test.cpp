#include <chrono>
#include <csignal>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "support/child_process.h"
#include "support/scripted/server.h"
#include "support/server_process.h"
#include "support/temporary_directory.h"

using namespace test_support;

namespace {

/// A probe in a directory of its own.
class Copy {
public:
    explicit Copy(const std::filesystem::path& probe) : m_file(m_directory.path() / probe.filename()) {
        std::filesystem::copy_file(probe, m_file);
    }
    std::string path() const { return m_file.string(); }

private:
    const TemporaryDirectory m_directory;
    const std::filesystem::path m_file;
};

// All that matters is that a probe ends well and has nothing to complain about.
void endsWell(const std::filesystem::path& probe, const std::vector<std::string>& arguments) {
    const Copy copy(probe);
    const ProgramResult result = runProgram(copy.path(), arguments);
    EXPECT_EQ(result.end.text(), "exit code 0");
    EXPECT_EQ(result.standardOutput, "done\n");
    EXPECT_EQ(result.standardError, "");
}

void loaderProbeEndsWell(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), CLIENT_LIBRARY);
    endsWell(LOADER_PROBE, arguments);
}

TEST(Loader, LoadsAndExits) {
    loaderProbeEndsWell({"load"});
}

TEST(Loader, LoadsAndUnloads) {
    loaderProbeEndsWell({"unload"});
}

TEST(Loader, LoadsAndUnloadsAgainAndAgain) {
    loaderProbeEndsWell({"cycles"});
}

TEST(Loader, ExitsWithAClientLeftBehind) {
    loaderProbeEndsWell({"leave-client"});
}

TEST(Loader, ExitsWhileConnected) {
    PlantServer server;
    loaderProbeEndsWell({"leave-connected", server.url()});
    EXPECT_EQ(server.stop().text(), "exit code 0");
}

TEST(Loader, UnloadsAfterEachConnection) {
    const PlantServer server;
    loaderProbeEndsWell({"connected-cycles", server.url()});
}

// The callback's thread returns through the library.
TEST(Loader, UnloadsInsideACallback) {
    const scripted::Server server;
    loaderProbeEndsWell({"unload-in-callback", server.url()});
}

TEST(Loader, ConnectionOutlivesTheStartOfAnotherProgram) {
    const PlantServer server;
    loaderProbeEndsWell({"fork-exec", server.url()});
}

class StaticClient : public testing::TestWithParam<const char*> {};

TEST_P(StaticClient, IsDestroyedAtExit) {
    endsWell(GetParam(), {});
}

TEST_P(StaticClient, IsDestroyedAtExitWhileConnected) {
    const PlantServer server;
    endsWell(GetParam(), {server.url()});
}

INSTANTIATE_TEST_SUITE_P(LinkOrder, StaticClient,
                         testing::Values(STATIC_CLIENT_PROBE, STATIC_CLIENT_PROBE_SDK_FIRST),
                         [](const auto& probe) {
                             const bool sdkFirst = std::string(probe.param) == STATIC_CLIENT_PROBE_SDK_FIRST;
                             return sdkFirst ? "SdkFirst" : "ClientAlone";
                         });

/// An application whose teardown takes as long as the case wants, with a server whose tokens are short.
class LateTeardown : public testing::Test {
protected:
    LateTeardown() {
        const std::string policy = "http://opcfoundation.org/UA/SecurityPolicy#Basic256Sha256";
        m_server.offer({scripted::Offer(), {policy, UA_MESSAGESECURITYMODE_SIGNANDENCRYPT}},
                       scripted::usualIdentity());
        m_server.edit<UA_OpenSecureChannelResponse>(
            [](auto& response) { response.securityToken.revisedLifetime = 1000; });
    }

    void begin(const std::string& security, const std::string& client, const std::string& cryptography) {
        m_application.emplace(m_probe.path(),
                              std::vector<std::string>{m_server.url(), security, client, cryptography});
        ASSERT_EQ(m_application->waitForLine(patience), "tearing down");
    }
    /// Channels are opened, or renewed, some more times.
    void channelsGoOn() {
        const int before = m_server.count<UA_OpenSecureChannelRequest>();
        EXPECT_TRUE(m_server.waitForCount<UA_OpenSecureChannelRequest>(before + 3));
    }
    void endsWell() {
        m_application->signal(SIGUSR1);
        const std::optional<ProcessEnd> end = m_application->wait(patience);
        ASSERT_TRUE(end.has_value());
        EXPECT_EQ(end->text(), "exit code 0");
        EXPECT_EQ(m_application->standardError(), "");
    }

    void keepsItsConnection(const std::string& security, const std::string& cryptography) {
        begin(security, "connected", cryptography);
        channelsGoOn();
        endsWell();
        EXPECT_EQ(m_server.count<UA_CloseSessionRequest>(), 1);
    }

    static constexpr std::chrono::seconds patience{60};

    scripted::Server m_server;
    const Copy m_probe{LATE_TEARDOWN_PROBE};
    std::optional<ChildProcess> m_application;
};

TEST_F(LateTeardown, KeepsTheConnection) {
    keepsItsConnection("unsecured", "first-used-here");
}

TEST_F(LateTeardown, KeepsASecuredConnection) {
    keepsItsConnection("secured", "first-used-here");
}

TEST_F(LateTeardown, LetsOtherThreadsConnect) {
    begin("secured", "connecting", "first-used-here");
    channelsGoOn();
    endsWell();
}

// The application's cryptography is cleaned up before its teardown begins.
TEST_F(LateTeardown, KeepsAConnectionThatNeedsNoCryptography) {
    keepsItsConnection("unsecured", "used-before");
}

TEST_F(LateTeardown, GivesASecuredConnectionUpOnceThereIsNoCryptographyAnyMore) {
    begin("secured", "connected", "used-before");
    EXPECT_TRUE(m_server.waitForOpenConnections(0));
    endsWell();
}

TEST_F(LateTeardown, RefusesToConnectOnceThereIsNoCryptographyAnyMore) {
    for (const char* const security : {"unsecured", "secured"}) {
        begin(security, "connecting", "used-before");
        EXPECT_EQ(m_application->waitForLine(patience), "refused");
        endsWell();
    }
}

} // namespace
