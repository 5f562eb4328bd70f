#include "soak/gate.h"

#include <mutex>

namespace soak {

bool Gate::pass() {
    std::unique_lock<std::mutex> lock(m_mutex);
    ++m_waiting;
    m_changed.notify_all();
    m_changed.wait(lock, [this] { return !m_closed || m_ended; });
    --m_waiting;
    return !m_ended;
}

void Gate::leave() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++m_left;
    m_changed.notify_all();
}

void Gate::close() {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_closed = true;
    m_changed.wait(lock, [this] { return m_waiting + m_left == m_workers; });
}

void Gate::open() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_closed = false;
    m_changed.notify_all();
}

void Gate::end() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_ended = true;
    m_changed.notify_all();
}

} // namespace soak
