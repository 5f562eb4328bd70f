#include "output/dialogue.h"

#include <cerrno>
#include <cstdio>
#include <optional>
#include <poll.h>
#include <string>
#include <termios.h>
#include <unistd.h>

#include "interrupt.h"
#include "output/live_screen.h"
#include "output/terminal.h"
#include "text/utf8.h"

namespace opcua_cli {
namespace {

class SilentTerminal {
public:
    SilentTerminal() : m_changed(tcgetattr(STDIN_FILENO, &m_before) == 0) {
        termios silent = m_before;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        m_changed = m_changed && tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent) == 0;
    }
    ~SilentTerminal() {
        if (m_changed)
            tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_before);
    }
    SilentTerminal(const SilentTerminal&) = delete;
    SilentTerminal& operator=(const SilentTerminal&) = delete;

private:
    termios m_before{};
    bool m_changed;
};

void show(const std::string& question) {
    std::fputs(shownOn(STDERR_FILENO, printable(question)).c_str(), stderr);
    std::fflush(stderr);
}

} // namespace

bool canAsk() {
    return !LiveScreen::isOn() && isatty(STDIN_FILENO) == 1 && isatty(STDERR_FILENO) == 1;
}

/// The signal interrupts nothing here when another thread takes it.
bool awaitInput() {
    pollfd watched[] = {{STDIN_FILENO, POLLIN, 0}, {interruptDescriptor(), POLLIN, 0}};
    while (poll(watched, 2, -1) < 0 && errno == EINTR) {
    }
    return watched[1].revents == 0 && watched[0].revents != 0;
}

/// Byte by byte: what comes behind the line is the next reader's.
std::optional<std::string> readLine() {
    std::string line;
    for (char character = 0;;) {
        if (!awaitInput())
            return std::nullopt;
        if (::read(STDIN_FILENO, &character, 1) != 1)
            return line.empty() ? std::nullopt : std::optional(line);
        if (character == '\n')
            return line;
        line += character;
    }
}

std::optional<std::string> ask(const std::string& question) {
    show(question);
    return readLine();
}

std::optional<std::string> askSecret(const std::string& question) {
    const SilentTerminal silent;
    show(question);
    std::optional<std::string> line = readLine();
    std::fputs("\n", stderr);
    return line;
}

} // namespace opcua_cli
