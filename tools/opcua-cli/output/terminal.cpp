#include "output/terminal.h"

#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

#include "text/ascii.h"
#include "text/drawing.h"
#include "text/utf8.h"

namespace opcua_cli {
namespace {

constexpr std::size_t usualWidth = 80;
constexpr std::size_t usualHeight = 24;
constexpr std::chrono::milliseconds timeBetweenShows{100};

bool isSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

bool isDumb() {
    const char* type = std::getenv("TERM");
    return type == nullptr || std::string_view(type) == "dumb";
}

/// What the environment says of terminals.
struct Environment {
    bool dumb = isDumb();
    bool colourless = isSet("NO_COLOR");
    bool utf8 = localeHasUtf8();
};

const Environment& environment() {
    static const Environment found;
    return found;
}

std::string_view colourSequence(Tone tone) {
    switch (tone) {
    case Tone::Heading:
        return "\x1b[1m";
    case Tone::Faint:
        return "\x1b[2m";
    case Tone::Good:
        return "\x1b[32m";
    case Tone::Bad:
        return "\x1b[31m";
    case Tone::Plain:
        break;
    }
    return {};
}

} // namespace

std::string Terminal::paint(std::string_view text, Tone tone) const {
    const std::string_view sequence = colours ? colourSequence(tone) : std::string_view{};
    if (sequence.empty() || text.empty())
        return std::string(text);
    return std::string(sequence).append(text).append("\x1b[0m");
}

std::string Terminal::shown(std::string text) const {
    return utf8 ? std::move(text) : withoutControlBytes(text);
}

void readEnvironment() {
    environment();
    drawing();
}

std::string shownOn(int descriptor, std::string text) {
    // Without a look at the descriptor where it does not matter.
    return environment().utf8 ? std::move(text) : terminalOn(descriptor).shown(std::move(text));
}

Terminal terminalOn(int descriptor) {
    Terminal terminal;
    terminal.interactive = isatty(descriptor) == 1;
    if (!terminal.interactive)
        return terminal;
    terminal.canRedraw = !environment().dumb;
    terminal.utf8 = environment().utf8;
    terminal.colours = !environment().colourless && !environment().dumb;
    winsize size{};
    const bool known = ioctl(descriptor, TIOCGWINSZ, &size) == 0;
    terminal.width = known && size.ws_col > 0 ? size.ws_col : usualWidth;
    terminal.height = known && size.ws_row > 0 ? size.ws_row : usualHeight;
    return terminal;
}

// What is done at once shows nothing.
Progress::Progress(std::string label)
    : m_label(std::move(label)), m_terminal(terminalOn(STDERR_FILENO)),
      m_nextShow(Clock::now() + timeBetweenShows) {}

Progress::~Progress() {
    clear();
}

void Progress::clear() {
    if (std::exchange(m_shown, false))
        std::fputs("\r\x1b[K", stderr);
}

void Progress::show(std::size_t count) {
    show([&] { return m_label + ": " + std::to_string(count) + " nodes"; });
}

void Progress::show(const std::function<std::string()>& words) {
    if (!m_terminal.canRedraw || Clock::now() < m_nextShow)
        return;
    m_nextShow = Clock::now() + timeBetweenShows;
    m_shown = true;
    const std::size_t room = m_terminal.width.value_or(1) - 1;
    std::fprintf(stderr, "\r\x1b[K%s", m_terminal.shown(cutToWidth(printable(words()), room)).c_str());
}

} // namespace opcua_cli
