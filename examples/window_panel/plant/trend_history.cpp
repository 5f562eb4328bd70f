#include "trend_history.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <deque>

namespace window_panel {
namespace {

std::size_t laneOf(Tag tag) {
    const auto& tags = TrendHistory::tags;
    return static_cast<std::size_t>(std::find(tags.begin(), tags.end(), tag) - tags.begin());
}

} // namespace

void TrendHistory::add(Tag tag, Clock::time_point time, double value) {
    const std::size_t lane = laneOf(tag);
    if (lane == tags.size())
        return;
    std::deque<Point>& points = m_points[lane];
    points.push_back({time, value, std::isfinite(value)});
    // One point before the window stays: its value reaches into it.
    while (points.size() > 1 && points[1].time < time - kept)
        points.pop_front();
}

void TrendHistory::interrupt(Clock::time_point time) {
    for (std::deque<Point>& points : m_points)
        if (!points.empty() && points.back().isPresent)
            points.push_back({time, points.back().value, false});
}

const std::deque<TrendHistory::Point>& TrendHistory::pointsOf(Tag tag) const {
    return m_points.at(laneOf(tag));
}

} // namespace window_panel
