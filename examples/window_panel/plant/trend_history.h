#pragma once

#include <array>
#include <chrono>
#include <deque>

#include "plant/tags.h"

namespace window_panel {

/// The values of the last quarter of an hour, for the trend.
class TrendHistory {
public:
    using Clock = std::chrono::steady_clock;

    struct Point {
        Clock::time_point time;
        double value;   ///< holds until the next point
        bool isPresent; ///< false where the connection was silent or lost: nobody knows what it was
    };
    static constexpr std::chrono::minutes kept{15};
    static constexpr std::array<Tag, 4> tags{Tag::DrumLevel, Tag::DrumPressure, Tag::DrumTemperature,
                                             Tag::LineSpeed};

    /// Tags that the trend does not show are passed over.
    void add(Tag tag, Clock::time_point time, double value);
    /// Nothing is known from now on, until the next value.
    void interrupt(Clock::time_point time);

    const std::deque<Point>& pointsOf(Tag tag) const;

private:
    std::array<std::deque<Point>, tags.size()> m_points;
};

} // namespace window_panel
