#include "output/progress.h"

#include "text/utf8.h"

#include <chrono>
#include <cstdio>
#include <string>
#include <unistd.h>
#include <utility>

namespace opcua_cli {
namespace {

constexpr std::chrono::milliseconds pause{100};

} // namespace

// What is done at once shows nothing.
Progress::Progress(std::string label)
    : m_label(std::move(label)), m_terminal(terminalOn(STDERR_FILENO)), m_nextShow(Clock::now() + pause) {}

Progress::~Progress() {
    if (m_shown)
        std::fputs("\r\x1b[K", stderr);
}

void Progress::show(std::size_t count) {
    if (!m_terminal.interactive || Clock::now() < m_nextShow)
        return;
    m_nextShow = Clock::now() + pause;
    m_shown = true;
    const std::string line = m_label + ": " + std::to_string(count) + " nodes";
    const std::size_t room = m_terminal.width.value_or(1) - 1;
    std::fprintf(stderr, "\r\x1b[K%s", cutToWidth(line, room).c_str());
}

} // namespace opcua_cli
