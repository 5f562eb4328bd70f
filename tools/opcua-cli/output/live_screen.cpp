#include "output/live_screen.h"

#include "files/trace.h"
#include "interrupt.h"
#include "output/streams.h"

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <string>
#include <string_view>
#include <unistd.h>

namespace opcua_cli {
namespace {

// Alternate screen, no cursor, no line wrap; and back.
constexpr std::string_view enter = "\x1b[?1049h\x1b[?25l\x1b[?7l\x1b[2J";
constexpr const char* leave = "\x1b[?7h\x1b[?25h\x1b[?1049l";

/// Nothing more can be done about a terminal that takes no text.
void send(std::string_view sequence) {
    [[maybe_unused]] const ssize_t written = write(STDOUT_FILENO, sequence.data(), sequence.size());
}

/// Ctrl-Z: the shell that takes over needs the screen as it was.
void onSuspend(int) {
    const int savedError = errno;
    send(leave);
    raise(SIGSTOP);
    send(enter);
    errno = savedError;
}

void setSuspendHandler(void (*handler)(int)) {
    struct sigaction action{};
    action.sa_handler = handler;
    action.sa_flags = static_cast<int>(SA_RESTART);
    sigaction(SIGTSTP, &action, nullptr);
}

} // namespace

LiveScreen::LiveScreen() {
    holdTrace(true);
    writeOutput(std::string(enter));
    setLastWords(leave);
    setSuspendHandler(onSuspend);
}

LiveScreen::~LiveScreen() {
    setSuspendHandler(SIG_DFL);
    setLastWords(nullptr);
    send(leave);
    holdTrace(false);
}

void LiveScreen::draw(const std::string& lines) {
    std::string text = "\x1b[H";
    std::size_t begin = 0;
    for (std::size_t end = lines.find('\n'); end != std::string::npos; end = lines.find('\n', begin)) {
        if (begin != 0)
            text += "\r\n";
        text.append(lines, begin, end - begin).append("\x1b[K");
        begin = end + 1;
    }
    writeOutput(text + "\x1b[J");
}

} // namespace opcua_cli
