#include "output/live_screen.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <string>
#include <string_view>
#include <sys/eventfd.h>
#include <termios.h>
#include <unistd.h>

#include "files/trace.h"
#include "interrupt.h"
#include "output/streams.h"

namespace opcua_cli {
namespace {

// Alternate screen, no cursor, no line wrap; and back.
constexpr std::string_view enter = "\x1b[?1049h\x1b[?25l\x1b[?7l\x1b[2J";
constexpr std::string_view leave = "\x1b[?7h\x1b[?25h\x1b[?1049l";

constexpr std::array<int, 3> followedSignals{SIGTSTP, SIGCONT, SIGWINCH};

// What signal handlers touch.
std::atomic<bool> on{false};
std::atomic<bool> isToSuspend{false};
std::atomic<bool> isResumed{false};
std::atomic<bool> hasKeys{false};
int screenWakeUp = -1;   // made once, before there is a handler
termios usualSettings{}; // not written while hasKeys

/// Nothing more can be done about a terminal that takes no text.
void send(std::string_view sequence) {
    [[maybe_unused]] const ssize_t written = ::write(STDOUT_FILENO, sequence.data(), sequence.size());
}

void takeKeys() {
    if (!hasKeys)
        return;
    termios wanted = usualSettings;
    wanted.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    wanted.c_iflag &= ~static_cast<tcflag_t>(IXON);
    wanted.c_cc[VQUIT] = _POSIX_VDISABLE; // would leave the terminal as it is now
    wanted.c_cc[VMIN] = 1;
    wanted.c_cc[VTIME] = 0;
    tcsetattr(STDIN_FILENO, TCSANOW, &wanted);
}

/// Keys first: a program in the background is stopped there, before it draws on somebody else's screen.
void takeTerminal() {
    takeKeys();
    send(enter);
}

void giveTerminalBack() {
    send(leave);
    if (hasKeys)
        tcsetattr(STDIN_FILENO, TCSANOW, &usualSettings);
}

void onScreenSignal(int number) {
    const int savedError = errno;
    if (number == SIGTSTP)
        isToSuspend = true;
    if (number == SIGCONT)
        isResumed = true;
    eventfd_write(screenWakeUp, 1);
    errno = savedError;
}

void setHandlers(void (*handler)(int)) {
    struct sigaction action{};
    action.sa_handler = handler;
    action.sa_flags = static_cast<int>(SA_RESTART);
    for (const int number : followedSignals)
        sigaction(number, &action, nullptr);
}

} // namespace

LiveScreen::LiveScreen(bool withKeys) {
    if (screenWakeUp < 0)
        screenWakeUp = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    holdTrace(true);
    on = true;
    hasKeys = withKeys && tcgetattr(STDIN_FILENO, &usualSettings) == 0;
    setLastAct(giveTerminalBack);
    setHandlers(onScreenSignal);
    takeTerminal();
}

LiveScreen::~LiveScreen() {
    setHandlers(SIG_DFL);
    setLastAct(nullptr);
    giveTerminalBack();
    hasKeys = false;
    on = false;
    holdTrace(false);
}

bool LiveScreen::isOn() {
    return on;
}

int LiveScreen::descriptor() const {
    return screenWakeUp;
}

void LiveScreen::follow() {
    eventfd_t count = 0;
    eventfd_read(screenWakeUp, &count);
    if (isToSuspend.exchange(false)) {
        giveTerminalBack();
        raise(SIGSTOP);
        isResumed = true;
    }
    if (!isResumed.exchange(false))
        return;
    takeTerminal();
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
