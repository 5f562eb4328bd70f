#pragma once

#include <cstddef>

#include "socket/deadline.h"

namespace UaClientSdk {

/// How many requests of a series may be on their way at a time.
///
/// Two at first, and twice as many after each window full of answers, up to a ceiling. Half as many after an
/// answer that took more than four times as long as the first one, or did not come.
///
/// The time of an answer is that from its own request's sending to its arrival, so that it grows with the
/// line in front of a server that does one thing at a time: with a round trip R, the server's own time S, and
/// w requests on their way it is R + w S. That is more than 4 (R + S) when w is above 4 + 3 R/S; half of that
/// is 2 + 1.5 R/S, and 1 + R/S keep the server busy. So the line is kept short, and nothing is lost by it.
class Window {
public:
    static constexpr std::size_t most = 16;

    explicit Window(std::size_t ceiling);

    std::size_t size() const { return m_size; }
    /// What refusals have left.
    std::size_t ceiling() const { return m_ceiling; }

    /// A request that was answered.
    struct Flight {
        std::size_t window = 0; ///< its size when the request went out
        Clock::duration took{0};
    };
    void answered(const Flight& flight);
    /// The answer was too late. Counts once for all requests that went out before the window was halved.
    void late(const Flight& flight);
    /// The server had too much to do: so many are not sent again.
    void refused(const Flight& flight);

private:
    std::size_t m_ceiling;
    std::size_t m_size;
    std::size_t m_answers = 0; ///< since the size changed
    Clock::duration m_first{0};
};

} // namespace UaClientSdk
