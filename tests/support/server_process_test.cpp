#include <chrono>
#include <csignal>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/server_process.h"

using namespace std::chrono_literals;
using test_support::ServerProcess;
using testing::AllOf;
using testing::HasSubstr;
using testing::ThrowsMessage;

namespace {

/// A shell script that stands for a server.
struct ScriptedServer : ServerProcess {
    explicit ScriptedServer(const std::string& text, std::chrono::milliseconds limit = startLimit)
        : ServerProcess("sh", {"-c", text}, limit) {}
};

const std::string announce = "echo 'some_server: ready at opc.tcp://127.0.0.1:40123'; ";

} // namespace

TEST(ServerProcess, TakesTheUrlFromTheReadinessLine) {
    ScriptedServer server(announce + "exec sleep 600");
    EXPECT_EQ(server.readinessLine(), "some_server: ready at opc.tcp://127.0.0.1:40123");
    EXPECT_EQ(server.url(), "opc.tcp://127.0.0.1:40123");
    EXPECT_EQ(server.port(), 40123);
    EXPECT_TRUE(server.running());
    EXPECT_EQ(server.stop().signal, SIGTERM);
    EXPECT_FALSE(server.running());
}

TEST(ServerProcess, FailsWithTheReasonWhenTheServerDiesEarly) {
    EXPECT_THAT([] { const ScriptedServer server("echo 'port taken' >&2; exit 7"); },
                ThrowsMessage<std::runtime_error>(AllOf(HasSubstr("exit code 7"), HasSubstr("port taken"))));
}

TEST(ServerProcess, FailsWhenTheServerIsNeverReady) {
    EXPECT_THAT([] { const ScriptedServer server("exec sleep 600", 50ms); },
                ThrowsMessage<std::runtime_error>(HasSubstr("in time (still running)")));
}

TEST(ServerProcess, FailsWhenTheFirstLineHoldsNoUrl) {
    EXPECT_THAT([] { const ScriptedServer server("echo hello; exec sleep 600"); },
                ThrowsMessage<std::runtime_error>(HasSubstr("but: hello")));
}

TEST(ServerProcess, CanBeKilledWhileFrozen) {
    ScriptedServer server(announce + "exec sleep 600");
    server.freeze();
    EXPECT_EQ(server.kill(SIGKILL).signal, SIGKILL);
}

TEST(ServerProcess, EndsAFrozenServerWithItsOwner) {
    pid_t pid = 0;
    {
        ScriptedServer server(announce + "exec sleep 600");
        server.freeze();
        pid = server.pid();
    }
    EXPECT_EQ(kill(pid, 0), -1);
}
