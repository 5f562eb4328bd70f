#include "calls/window.h"

#include <algorithm>

namespace UaClientSdk {
namespace {

constexpr std::size_t firstSize = 2;
constexpr std::size_t one = 1;
/// An answer is late when it takes so many times as long as the first.
constexpr int patience = 4;

} // namespace

Window::Window(std::size_t ceiling)
    : m_ceiling(std::clamp(ceiling, one, most)), m_size(std::min(firstSize, m_ceiling)) {}

void Window::answered(const Flight& flight) {
    if (m_first == Clock::duration::zero()) {
        m_first = flight.took;
    }
    if (flight.took > patience * m_first) {
        late(flight);
    } else if (++m_answers >= m_size) {
        m_size = std::min(2 * m_size, m_ceiling);
        m_answers = 0;
    }
}

void Window::refused(const Flight& flight) {
    late(flight);
    m_ceiling = std::min(m_ceiling, m_size);
}

void Window::late(const Flight& flight) {
    m_size = std::min(m_size, std::max(flight.window / 2, one));
    m_answers = 0;
}

} // namespace UaClientSdk
