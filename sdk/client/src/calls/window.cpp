#include "calls/window.h"

#include <algorithm>
#include <cstddef>

namespace UaClientSdk {
namespace {

constexpr std::size_t firstSize = 2;
constexpr std::size_t one = 1;
/// An answer is late when it takes so many times as long as the first, or when the time-out has not room for
/// so many.
constexpr int patience = 4;

} // namespace

Window::Window(std::size_t ceiling, Clock::duration timeOut)
    : m_longest(timeOut / patience), m_ceiling(std::clamp(ceiling, one, most)),
      m_size(std::min(firstSize, m_ceiling)) {}

void Window::answered(const Flight& flight) {
    ++m_answers;
    if (m_first == Clock::duration::zero())
        m_first = flight.took;
    if (flight.took > std::min(patience * m_first, m_longest)) {
        late(flight);
    } else if (++m_round >= m_size) {
        m_size = std::min(2 * m_size, m_ceiling);
        m_round = 0;
    }
}

void Window::late(const Flight& flight) {
    m_size = std::min(m_size, std::max(flight.window / 2, one));
    m_round = 0;
}

bool Window::refused(const Flight& flight) {
    m_refused = m_refused || flight.together > one;
    return lowerCeiling(flight);
}

bool Window::unanswered(const Flight& flight) {
    late(flight);
    if (!flight.serverSpoke)
        return false;
    m_unanswered = m_unanswered || flight.together > one;
    return lowerCeiling(flight);
}

bool Window::lowerCeiling(const Flight& flight) {
    const std::size_t left = std::max(flight.together / 2, one);
    if (flight.together <= one || left >= m_ceiling)
        return false;
    m_ceiling = left;
    m_size = std::min(m_size, m_ceiling);
    m_round = 0;
    return true;
}

} // namespace UaClientSdk
