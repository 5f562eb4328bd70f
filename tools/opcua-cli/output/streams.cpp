#include "output/streams.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <utility>

#include "interrupt.h"
#include "output/terminal.h"
#include "text/ascii.h"
#include "text/utf8.h"

namespace opcua_cli {
namespace {

constexpr const char* programName = "opcua-cli";

std::string systemMessage() {
    return std::strerror(errno);
}

/// A signal may find it waiting for a reader that takes nothing.
bool writeAll(int descriptor, const std::string& text, void (*onSignal)()) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = ::write(descriptor, text.data() + done, text.size() - done);
        if (count < 0 && errno != EINTR)
            return false;
        done += count < 0 ? 0 : static_cast<std::size_t>(count);
        if (done < text.size())
            onSignal();
    }
    return true;
}

void endOutputIfInterrupted() {
    try {
        throwIfInterrupted();
    } catch (Failure& failure) {
        failure.setOutputOver();
        throw;
    }
}

} // namespace

void secureStandardStreams() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(descriptor, F_GETFD) < 0)
            // Opened the wrong way round, so that reading or writing fails as on a closed descriptor.
            open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    std::signal(SIGPIPE, SIG_IGN);
}

bool writeAll(int descriptor, const std::string& text) {
    return writeAll(descriptor, text, [] {});
}

void writeOutput(const std::string& text) {
    const bool isWritten = terminalOn(STDOUT_FILENO).utf8
                               ? writeAll(STDOUT_FILENO, text, endOutputIfInterrupted)
                               : writeAll(STDOUT_FILENO, withoutControlBytes(text), endOutputIfInterrupted);
    if (isWritten)
        return;
    if (errno == EPIPE)
        throw Failure(ExitCode::OutputClosed, {});
    throw Failure(ExitCode::OutputFailed, {"cannot write the result: " + systemMessage(), {}});
}

void reportProblem(const Problem& problem) {
    const Terminal terminal = terminalOn(STDERR_FILENO);
    std::string text = terminal.paint(std::string(programName) + ":", Tone::Bad) + " " +
                       printable(problem.explanation) + "\n";
    if (problem.resultCode != 0)
        text += "  library: result " + std::to_string(problem.resultCode) +
                (problem.storedMessage.empty() ? "" : ", " + printable(problem.storedMessage)) + "\n";
    if (!problem.advice.empty())
        text += "  try: " + printable(problem.advice) + "\n";
    std::fputs(terminal.shown(std::move(text)).c_str(), stderr);
}

void reportNote(const std::string& text) {
    std::fprintf(stderr, "%s: %s\n", programName, shownOn(STDERR_FILENO, printable(text)).c_str());
}

std::string readInput() {
    return readAll(STDIN_FILENO, "standard input");
}

std::string readAll(int descriptor, const std::string& name) {
    std::string text;
    std::array<char, 65536> block{};
    for (;;) {
        const ssize_t count = ::read(descriptor, block.data(), block.size());
        if (count > 0)
            text.append(block.data(), static_cast<std::size_t>(count));
        else if (count == 0)
            return text;
        else if (errno == EINTR)
            throwIfInterrupted();
        else
            throw usageFailure("cannot read " + name + ": " + systemMessage());
    }
}

} // namespace opcua_cli
