#include "cli_program.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/ioctl.h>
#include <system_error>
#include <termios.h>
#include <unistd.h>
#include <utility>

#include "support/child_process.h"

namespace cli_test {
namespace {

CliResult finished(const test_support::ProgramResult& result) {
    if (!result.end.exitCode)
        throw std::runtime_error("ended by " + result.end.text() + ": " + result.standardError);
    return {*result.end.exitCode, result.standardOutput, result.standardError};
}

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

} // namespace

std::string program() {
    return OPCUA_CLI_PROGRAM;
}

CliResult run(const Arguments& arguments) {
    return finished(test_support::runProgram(program(), arguments));
}

CliResult runInShell(const std::string& script, const Arguments& arguments, const std::string& path) {
    Arguments all{"-c", script, path};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return finished(test_support::runProgram("sh", all));
}

PseudoTerminal::PseudoTerminal(unsigned short columns) {
    m_master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
    if (m_master < 0 || grantpt(m_master) != 0 || unlockpt(m_master) != 0)
        fail("cannot make a pseudo-terminal");
    std::array<char, 64> name{};
    if (ptsname_r(m_master, name.data(), name.size()) != 0)
        fail("cannot name a pseudo-terminal");
    m_path = name.data();
    // Kept open: what a program wrote would be lost with the last descriptor on that side.
    m_slave = open(m_path.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (m_slave < 0)
        fail("cannot set up a pseudo-terminal");
    resize(columns, 24);
}

PseudoTerminal::~PseudoTerminal() {
    close(m_slave);
    close(m_master);
}

void PseudoTerminal::resize(unsigned short columns, unsigned short rows) {
    const winsize size{rows, columns, 0, 0};
    if (ioctl(m_slave, TIOCSWINSZ, &size) != 0)
        fail("cannot resize a pseudo-terminal");
}

std::string PseudoTerminal::awaitText(const std::string& wanted) {
    constexpr int limitMilliseconds = 60000;
    pollfd watched{m_master, POLLIN, 0};
    for (m_seen = text(); m_seen.find(wanted) == std::string::npos; m_seen += text())
        if (poll(&watched, 1, limitMilliseconds) != 1)
            throw std::runtime_error("\"" + wanted + "\" did not come; there is: " + m_seen);
    return m_seen;
}

void PseudoTerminal::type(const std::string& keys) {
    if (write(m_master, keys.data(), keys.size()) != static_cast<ssize_t>(keys.size()))
        fail("cannot type on a pseudo-terminal");
}

bool PseudoTerminal::echoes() const {
    termios settings{};
    if (tcgetattr(m_slave, &settings) != 0)
        fail("cannot look at a pseudo-terminal");
    return (settings.c_lflag & ECHO) != 0;
}

std::string PseudoTerminal::text() {
    std::string result = std::exchange(m_seen, {});
    std::array<char, 4096> block{};
    for (;;) {
        const ssize_t count = read(m_master, block.data(), block.size());
        if (count <= 0)
            return result;
        result.append(block.data(), static_cast<std::size_t>(count));
    }
}

} // namespace cli_test
