#include "monitor/screen_thread.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <exception>
#include <poll.h>
#include <string_view>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace opcua_cli {
namespace {

constexpr std::chrono::milliseconds betweenDrawings{200};
/// So long a terminal may take from one byte of a sequence to the next.
constexpr std::chrono::milliseconds betweenBytes{50};

} // namespace

ScreenThread::ScreenThread(Frame frame, KeyHandler press)
    : m_frame(std::move(frame)), m_press(std::move(press)), m_end(eventfd(0, EFD_CLOEXEC)),
      m_thread([this] { run(); }) {}

ScreenThread::~ScreenThread() {
    m_isEnded = true;
    eventfd_write(m_end.number(), 1);
    m_thread.join();
}

void ScreenThread::throwIfFailed() const {
    if (m_hasFailed)
        std::rethrow_exception(m_failure);
}

void ScreenThread::run() {
    try {
        LiveScreen screen(m_press != nullptr);
        while (!m_isEnded) {
            screen.draw(m_frame());
            await(screen);
        }
    } catch (...) {
        m_failure = std::current_exception();
        m_hasFailed = true;
    }
}

void ScreenThread::await(LiveScreen& screen) {
    std::array<pollfd, 3> watched{{{m_press ? STDIN_FILENO : -1, POLLIN, 0},
                                   {screen.descriptor(), POLLIN, 0},
                                   {m_end.number(), POLLIN, 0}}};
    const auto limit = m_decoder.isOpen() ? betweenBytes : betweenDrawings;
    if (poll(watched.data(), watched.size(), static_cast<int>(limit.count())) == 0 && m_decoder.isOpen())
        press(m_decoder.close());
    if (watched[1].revents != 0)
        screen.follow();
    if (watched[0].revents != 0)
        readKeys();
}

void ScreenThread::readKeys() {
    std::array<char, 256> bytes{};
    const ssize_t count = ::read(STDIN_FILENO, bytes.data(), bytes.size());
    if (count > 0)
        press(m_decoder.decode(std::string_view(bytes.data(), static_cast<std::size_t>(count))));
    else if (count == 0 || errno != EINTR)
        m_press = nullptr; // the keyboard is gone
}

void ScreenThread::press(const std::vector<int>& keys) {
    // What was typed last may be told from a sequence only after the keyboard is gone.
    for (const int key : keys)
        if (m_press)
            m_press(key);
}

} // namespace opcua_cli
