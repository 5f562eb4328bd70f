#pragma once

#include <algorithm>
#include <chrono>

namespace window_panel {

/// How long to wait before the next try: longer each time, up to a few seconds.
class Backoff {
public:
    void restart() { m_next = shortest; }
    std::chrono::milliseconds next() {
        const std::chrono::milliseconds pause = m_next;
        m_next = std::min(2 * m_next, longest);
        return pause;
    }

private:
    static constexpr std::chrono::milliseconds shortest{250};
    static constexpr std::chrono::milliseconds longest{4000};
    std::chrono::milliseconds m_next = shortest;
};

} // namespace window_panel
