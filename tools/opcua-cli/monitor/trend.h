#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <string>

#include "values/value.h"

namespace opcua_cli {

/// The number that a trend shows for a value; nothing for a text and for what is not finite.
std::optional<double> trendNumber(const Value& value);

/// The last values of one node as a small drawing.
class Trend {
public:
    static constexpr std::size_t mostValues = 40;

    void add(const Value& value);

    /// The last `width` values, the newest on the right: the lowest as "▁", the highest as "█". A value that
    /// is no number leaves a gap; empty when there is no number at all.
    std::string draw(std::size_t width) const;

private:
    std::deque<std::optional<double>> m_values;
};

} // namespace opcua_cli
