#include "calls/requests_ahead.h"

#include <algorithm>
#include <cstddef>
#include <mutex>

namespace UaClientSdk {
namespace {

constexpr unsigned int longestWait = 256;

} // namespace

void RequestsAhead::begin(std::size_t most) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_most = m_current = std::clamp<std::size_t>(most, 1, Window::most);
    m_wait = m_nextWait = 1;
    m_passed = 0;
}

std::size_t RequestsAhead::current() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_current;
}

void RequestsAhead::learnFrom(const Window& series) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (series.wasUnanswered() || series.wasRefused()) {
        m_current = std::min(m_current, series.ceiling());
        m_passed = 0;
    }
    if (series.wasUnanswered()) {
        m_most = m_current;
    } else if (series.wasRefused()) {
        m_wait = m_nextWait;
        m_nextWait = std::min(2 * m_nextWait, longestWait);
    } else if (series.answers() >= 2 * m_current && m_current < m_most && ++m_passed >= m_wait) {
        m_current = std::min(2 * m_current, m_most);
        m_passed = 0;
    }
}

} // namespace UaClientSdk
