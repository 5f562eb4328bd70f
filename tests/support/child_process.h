#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace test_support {

/// A file descriptor that is closed with its owner.
class Descriptor {
public:
    Descriptor() = default;
    explicit Descriptor(int descriptor) : m_descriptor(descriptor) {}
    ~Descriptor() { reset(); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int get() const { return m_descriptor; }
    void reset(int descriptor = -1);

private:
    int m_descriptor = -1;
};

/// How a process ended: with an exit code, or by a signal.
struct ProcessEnd {
    std::optional<int> exitCode;
    std::optional<int> signal;

    /// "exit code 2" or "signal 9".
    std::string text() const;
};

/// One program that runs as a child, with nothing on its standard input and its output captured.
///
/// Standard error may grow without limit. Standard output is taken while wait() or waitForLine() runs; in
/// between the child may write as much as a pipe holds. The child is killed when the thread that started it
/// ends, and at the latest with this object: a test that dies leaves nothing behind. Every failure is a
/// std::runtime_error whose text holds what the program wrote to standard error.
class ChildProcess {
public:
    using Clock = std::chrono::steady_clock;

    /// Starts `program` (found by PATH when it holds no slash). Throws when it cannot be started.
    ChildProcess(const std::string& program, const std::vector<std::string>& arguments);
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    pid_t pid() const { return m_pid; }

    /// False once the process has ended.
    bool running();

    /// Waits for the end. Nothing when the time is over first.
    std::optional<ProcessEnd> wait(std::chrono::milliseconds limit);

    /// Waits for the next complete line of standard output, returned without its line end. Throws when the
    /// time is over, or when the process ended without such a line.
    std::string waitForLine(std::chrono::milliseconds limit);

    /// Sends a signal. Nothing happens when the process has ended.
    void signal(int number);

    /// Stops the process where it is, as a machine that hangs; returns when it stands still.
    void freeze();
    void resume();

    /// What came on standard output and was not taken by waitForLine().
    std::string standardOutput();
    std::string standardError() const;

    /// `problem`, the command line, how the process stands and what it wrote to standard error.
    std::string describe(const std::string& problem);

private:
    void start(const std::vector<std::string>& command);
    void awaitStopState(int options);
    void drainOutput();
    bool awaitActivity(Clock::time_point deadline);
    void reap();

    std::string m_commandLine;
    pid_t m_pid = -1;
    Descriptor m_process;
    Descriptor m_output;
    Descriptor m_error;
    bool m_outputOpen = true;
    bool m_frozen = false;
    std::string m_received;
    std::optional<ProcessEnd> m_end;
};

/// What a program that ran to its end left.
struct ProgramResult {
    ProcessEnd end;
    std::string standardOutput;
    std::string standardError;
};

/// Runs a program to its end. Throws when it takes longer than `limit`.
ProgramResult runProgram(const std::string& program, const std::vector<std::string>& arguments,
                         std::chrono::milliseconds limit = std::chrono::seconds(60));

} // namespace test_support
