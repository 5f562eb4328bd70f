#pragma once

#include <cstddef>

#include "socket/deadline.h"

namespace UaClientSdk {

/// How many requests of a series may be on their way at a time.
///
/// Two at first, and twice as many after each window full of answers, up to a ceiling. Half as many after an
/// answer that took more than four times as long as the first one, or more than a quarter of the time-out.
///
/// The time of an answer is that from its own request's sending to its arrival, so that it grows with the
/// line in front of a server that does one thing at a time: with a round trip R, the server's own time S, and
/// w requests on their way it is R + w S. That is more than 4 (R + S) when w is above 4 + 3 R/S; half of that
/// is 2 + 1.5 R/S, and 1 + R/S keep the server busy. So the line is kept short, and nothing is lost by it.
/// With twice as many on their way a request takes half its time-out at the most: where the server's own time
/// is less than half of it, no request is late because of those before it.
class Window {
public:
    static constexpr std::size_t most = 16;

    Window(std::size_t ceiling, Clock::duration timeOut);

    std::size_t size() const { return m_size; }
    /// What requests that failed because of others have left.
    std::size_t ceiling() const { return m_ceiling; }
    /// Requests that were answered well.
    std::size_t answers() const { return m_answers; }
    bool wasRefused() const { return m_refused; }
    bool wasUnanswered() const { return m_unanswered; }

    /// How a request went.
    struct Flight {
        std::size_t window = 0; ///< its size when the request went out
        Clock::duration took{0};
        std::size_t together = 1; ///< the most that were on their way with it, itself among them
        bool serverSpoke = false; ///< meanwhile, whatever it said
    };
    void answered(const Flight& flight);
    /// The answer was too late. Counts once for all requests that went out before the window was halved.
    void late(const Flight& flight);
    /// The server said no, and others may be the reason: so many are not sent again. That a lone request was
    /// refused tells nothing. True when the ceiling is lower now.
    bool refused(const Flight& flight);
    /// No answer came in time: the same, unless nothing at all came from the server.
    bool unanswered(const Flight& flight);

private:
    bool lowerCeiling(const Flight& flight);

    const Clock::duration m_longest; ///< that an answer may take
    std::size_t m_ceiling;
    std::size_t m_size;
    std::size_t m_round = 0; ///< answers since the size changed
    std::size_t m_answers = 0;
    Clock::duration m_first{0};
    bool m_refused = false;
    bool m_unanswered = false;
};

} // namespace UaClientSdk
