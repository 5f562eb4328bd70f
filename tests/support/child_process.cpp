#include "support/child_process.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <vector>

#include <linux/close_range.h>

// glibc 2.36 declares pidfd_open without C linkage.
extern "C" {
#include <sys/pidfd.h>
}

namespace test_support {
namespace {

[[noreturn]] void throwSystemError(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

std::string join(const std::vector<std::string>& words) {
    std::string line;
    for (const std::string& word : words)
        line += (line.empty() ? "" : " ") + word;
    return line;
}

/// Runs between fork and exec of a process that may have threads: only async-signal-safe calls.
[[noreturn]] void runChild(pid_t parent, char* const* arguments, int input, int output, int error,
                           int failure) {
    // Sockets of the parent that stay open in here would never be closed for their peers and for the parent's
    // epoll.
    close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
    // The parent may be gone before the request to die with it is made.
    const bool ready = prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && getppid() == parent &&
                       dup2(input, STDIN_FILENO) >= 0 && dup2(output, STDOUT_FILENO) >= 0 &&
                       dup2(error, STDERR_FILENO) >= 0;
    if (ready)
        execvp(arguments[0], arguments);
    const int reason = errno;
    [[maybe_unused]] const ssize_t written = write(failure, &reason, sizeof reason);
    _exit(127);
}

} // namespace

void Descriptor::reset(int descriptor) {
    if (m_descriptor >= 0)
        close(m_descriptor);
    m_descriptor = descriptor;
}

std::string ProcessEnd::text() const {
    return exitCode ? "exit code " + std::to_string(*exitCode)
                    : "signal " + std::to_string(signal.value_or(0));
}

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& arguments) {
    std::vector<std::string> command{program};
    command.insert(command.end(), arguments.begin(), arguments.end());
    m_commandLine = join(command);
    start(command);
}

ChildProcess::~ChildProcess() {
    signal(SIGKILL);
    if (!m_end) {
        int status = 0;
        while (waitpid(m_pid, &status, 0) < 0 && errno == EINTR) {
        }
    }
}

void ChildProcess::start(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    for (const std::string& word : command)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);

    std::array<int, 2> pipeEnds{};
    if (pipe2(pipeEnds.data(), O_CLOEXEC) != 0)
        throwSystemError("cannot make a pipe");
    m_output.reset(pipeEnds[0]);
    const Descriptor outputEnd(pipeEnds[1]);
    fcntl(m_output.get(), F_SETFL, O_NONBLOCK);

    if (pipe2(pipeEnds.data(), O_CLOEXEC) != 0)
        throwSystemError("cannot make a pipe");
    const Descriptor failure(pipeEnds[0]);
    Descriptor failureEnd(pipeEnds[1]);

    m_error.reset(memfd_create("standard-error", MFD_CLOEXEC));
    // O_APPEND keeps the lines of the child's own children apart.
    if (m_error.get() < 0 || fcntl(m_error.get(), F_SETFL, O_APPEND) != 0)
        throwSystemError("cannot capture standard error");
    const Descriptor input(open("/dev/null", O_RDONLY | O_CLOEXEC));

    const pid_t parent = getpid();
    m_pid = fork();
    if (m_pid < 0)
        throwSystemError("cannot start a process");
    if (m_pid == 0)
        runChild(parent, arguments.data(), input.get(), outputEnd.get(), m_error.get(), failureEnd.get());

    failureEnd.reset();
    m_process.reset(pidfd_open(m_pid, 0));
    int reason = 0;
    const bool failed = read(failure.get(), &reason, sizeof reason) == static_cast<ssize_t>(sizeof reason);
    if (failed || m_process.get() < 0) {
        if (!failed)
            reason = errno;
        ::kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
        throw std::system_error(reason, std::generic_category(), "cannot start " + m_commandLine);
    }
}

void ChildProcess::reap() {
    siginfo_t info{};
    if (m_end || waitid(P_PID, static_cast<id_t>(m_pid), &info, WEXITED | WNOHANG) != 0 ||
        info.si_pid != m_pid)
        return;
    m_end.emplace();
    (info.si_code == CLD_EXITED ? m_end->exitCode : m_end->signal) = info.si_status;
}

bool ChildProcess::running() {
    reap();
    return !m_end;
}

void ChildProcess::drainOutput() {
    std::array<char, 4096> block{};
    while (m_outputOpen) {
        const ssize_t count = read(m_output.get(), block.data(), block.size());
        if (count > 0)
            m_received.append(block.data(), static_cast<std::size_t>(count));
        else if (count == 0)
            m_outputOpen = false;
        else if (errno != EINTR)
            break;
    }
}

/// False when the time is over.
bool ChildProcess::awaitActivity(Clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    std::array<pollfd, 2> watched{
        {{m_process.get(), POLLIN, 0}, {m_outputOpen ? m_output.get() : -1, POLLIN, 0}}};
    const int ready = poll(watched.data(), watched.size(), static_cast<int>(std::max(left.count(), 0L)));
    return ready > 0 || (ready < 0 && errno == EINTR);
}

std::optional<ProcessEnd> ChildProcess::wait(std::chrono::milliseconds limit) {
    const Clock::time_point deadline = Clock::now() + limit;
    while (running() && awaitActivity(deadline))
        drainOutput();
    drainOutput();
    return m_end;
}

std::string ChildProcess::waitForLine(std::chrono::milliseconds limit) {
    const Clock::time_point deadline = Clock::now() + limit;
    for (;;) {
        // The state is taken before the output: what an ended process wrote is all there.
        const bool ended = !running();
        drainOutput();
        const std::size_t lineEnd = m_received.find('\n');
        if (lineEnd != std::string::npos) {
            std::string line = m_received.substr(0, lineEnd);
            m_received.erase(0, lineEnd + 1);
            return line;
        }
        if (ended)
            throw std::runtime_error(describe("ended before it wrote the line that was waited for"));
        if (!awaitActivity(deadline))
            throw std::runtime_error(describe("did not write the line that was waited for in time"));
    }
}

void ChildProcess::signal(int number) {
    if (running())
        ::kill(m_pid, number);
}

void ChildProcess::freeze() {
    signal(SIGSTOP);
    awaitStopState(WSTOPPED);
    m_frozen = true;
}

void ChildProcess::resume() {
    if (!m_frozen)
        return;
    signal(SIGCONT);
    awaitStopState(WCONTINUED);
    m_frozen = false;
}

void ChildProcess::awaitStopState(int options) {
    siginfo_t info{};
    while (waitid(P_PID, static_cast<id_t>(m_pid), &info, options | WEXITED | WNOWAIT) != 0)
        if (errno != EINTR)
            throw std::runtime_error(describe("cannot be frozen or resumed, it is gone"));
    if (info.si_code != CLD_STOPPED && info.si_code != CLD_CONTINUED)
        throw std::runtime_error(describe("ended when it was to be frozen or resumed"));
    waitid(P_PID, static_cast<id_t>(m_pid), &info, options);
}

std::string ChildProcess::standardOutput() {
    drainOutput();
    return m_received;
}

std::string ChildProcess::standardError() const {
    struct stat state{};
    if (fstat(m_error.get(), &state) != 0)
        throwSystemError("cannot read captured standard error");
    std::string text(static_cast<std::size_t>(state.st_size), '\0');
    const ssize_t count = pread(m_error.get(), text.data(), text.size(), 0);
    text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return text;
}

std::string ChildProcess::describe(const std::string& problem) {
    const std::string state = running() ? "still running" : m_end->text();
    return m_commandLine + ": " + problem + " (" + state + "). Its standard error:\n" + standardError();
}

ProgramResult runProgram(const std::string& program, const std::vector<std::string>& arguments,
                         std::chrono::milliseconds limit) {
    ChildProcess child(program, arguments);
    const std::optional<ProcessEnd> end = child.wait(limit);
    if (!end)
        throw std::runtime_error(child.describe("did not end in time"));
    return {*end, child.standardOutput(), child.standardError()};
}

} // namespace test_support
