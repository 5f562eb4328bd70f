#include "monitor/trend.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>
#include <string>
#include <variant>

#include "text/drawing.h"

namespace opcua_cli {
namespace {

/// `share` from 0 to 1.
const char* barFor(double share) {
    const auto& bars = drawing().bars;
    const auto height = static_cast<std::size_t>(share * static_cast<double>(bars.size()));
    return bars[std::min(height, bars.size() - 1)];
}

struct NumberMaker {
    std::optional<double> operator()(std::monostate) const { return std::nullopt; }
    std::optional<double> operator()(const std::string&) const { return std::nullopt; }
    template <typename Number>
    std::optional<double> operator()(Number value) const {
        const auto number = static_cast<double>(value);
        return std::isfinite(number) ? std::optional<double>(number) : std::nullopt;
    }
};

} // namespace

std::optional<double> trendNumber(const Value& value) {
    return std::visit(NumberMaker{}, value);
}

void Trend::add(const Value& value) {
    m_values.push_back(trendNumber(value));
    if (m_values.size() > mostValues)
        m_values.pop_front();
}

std::string Trend::draw(std::size_t width) const {
    const auto begin = m_values.end() - static_cast<std::ptrdiff_t>(std::min(width, m_values.size()));
    // Halves, so that the distance of the greatest numbers is finite, too.
    std::optional<double> least;
    std::optional<double> most;
    std::for_each(begin, m_values.end(), [&](const std::optional<double>& value) {
        if (!value)
            return;
        least = std::min(least.value_or(*value / 2), *value / 2);
        most = std::max(most.value_or(*value / 2), *value / 2);
    });
    if (!least)
        return "";
    std::string text;
    std::for_each(begin, m_values.end(), [&](const std::optional<double>& value) {
        if (!value)
            text += " ";
        else
            text += *most > *least ? barFor((*value / 2 - *least) / (*most - *least)) : drawing().bars[3];
    });
    return text;
}

} // namespace opcua_cli
