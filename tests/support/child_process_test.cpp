#include <cerrno>
#include <csignal>
#include <cstddef>
#include <fcntl.h>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/child_process.h"

using namespace std::chrono_literals;
using namespace test_support;
using testing::HasSubstr;
using testing::ThrowsMessage;

namespace {

constexpr auto ample = 60s;
constexpr auto tooShort = 50ms;

std::vector<std::string> script(const std::string& text) {
    return {"-c", text};
}

} // namespace

TEST(RunProgram, GivesOutputErrorAndExitCode) {
    const ProgramResult result = runProgram("sh", script("echo out; echo err >&2; exit 3"));
    EXPECT_EQ(result.standardOutput, "out\n");
    EXPECT_EQ(result.standardError, "err\n");
    EXPECT_EQ(result.end.exitCode, 3);
    EXPECT_EQ(result.end.signal, std::nullopt);
    EXPECT_EQ(result.end.text(), "exit code 3");
}

TEST(RunProgram, TakesMoreOutputThanAPipeHolds) {
    const ProgramResult result = runProgram("head", {"-c", "1000000", "/dev/zero"});
    EXPECT_EQ(result.standardOutput.size(), 1000000u);
}

TEST(RunProgram, FailsWhenTheProgramTakesTooLong) {
    EXPECT_THAT([] { runProgram("sh", script("echo stuck >&2; read line < /dev/zero"), tooShort); },
                ThrowsMessage<std::runtime_error>(HasSubstr("did not end in time (still running)")));
}

TEST(ChildProcess, SaysThatAProgramCannotBeStarted) {
    EXPECT_THAT([] { const ChildProcess child("/nonexistent/program", {}); },
                ThrowsMessage<std::system_error>(HasSubstr("cannot start /nonexistent/program")));
}

TEST(ChildProcess, HasNothingOnStandardInput) {
    EXPECT_EQ(runProgram("cat", {}).standardOutput, "");
}

TEST(ChildProcess, InheritsNoDescriptors) {
    const int inheritable = open("/dev/null", O_RDONLY);
    ASSERT_GE(inheritable, 0);
    const std::string path = "/proc/self/fd/" + std::to_string(inheritable);
    EXPECT_EQ(runProgram("readlink", {path}).standardOutput, "");
    close(inheritable);
}

TEST(ChildProcess, GivesOneLineAfterTheOther) {
    ChildProcess child("sh", script("echo first; echo second; printf third"));
    EXPECT_EQ(child.waitForLine(ample), "first");
    EXPECT_EQ(child.waitForLine(ample), "second");
    EXPECT_THROW(child.waitForLine(ample), std::runtime_error);
    EXPECT_EQ(child.standardOutput(), "third");
}

TEST(ChildProcess, TellsTheSignalThatEndedIt) {
    ChildProcess child("sleep", {"600"});
    EXPECT_TRUE(child.running());
    EXPECT_EQ(child.wait(tooShort), std::nullopt);
    child.signal(SIGTERM);
    const std::optional<ProcessEnd> end = child.wait(ample);
    ASSERT_TRUE(end);
    EXPECT_EQ(end->signal, SIGTERM);
    EXPECT_EQ(end->text(), "signal 15");
    EXPECT_FALSE(child.running());
}

TEST(ChildProcess, StandsStillWhileFrozen) {
    ChildProcess child("sh", script("while sleep 0.001; do echo tick; done"));
    child.waitForLine(ample);
    child.freeze();
    const std::size_t received = child.standardOutput().size();
    EXPECT_EQ(child.wait(tooShort), std::nullopt);
    EXPECT_EQ(child.standardOutput().size(), received);
    child.resume();
    while (child.standardOutput().size() == received)
        ASSERT_FALSE(child.wait(1ms));
    child.resume();
}

TEST(ChildProcess, RefusesToFreezeWhatIsGone) {
    ChildProcess child("true", {});
    ASSERT_TRUE(child.wait(ample));
    EXPECT_THROW(child.freeze(), std::runtime_error);
}

TEST(ChildProcess, IsGoneWithItsOwner) {
    pid_t pid = 0;
    {
        ChildProcess child("sleep", {"600"});
        child.freeze();
        pid = child.pid();
    }
    EXPECT_EQ(kill(pid, 0), -1);
    EXPECT_EQ(errno, ESRCH);
}
