#include "monitor/table_view.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "monitor/watched.h"
#include "output/keys.h"
#include "text/utf8.h"

namespace opcua_cli {
namespace {

bool holdsWord(std::string_view text, std::string_view part) {
    for (std::size_t at = 0; at + part.size() <= text.size(); ++at)
        if (sameWord(text.substr(at, part.size()), part))
            return true;
    return false;
}

/// What nothing is known of comes last.
struct ValueKey {
    int rank = 2;
    double number = 0;
    std::string text{};

    bool operator<(const ValueKey& other) const {
        if (rank != other.rank)
            return rank < other.rank;
        return rank == 0 ? number < other.number : text < other.text;
    }
};

ValueKey keyOf(const Row& row, const Job& watched) {
    if (!row.changed || !row.last.readable)
        return {};
    if (const std::optional<double> number = trendNumber(row.last.value))
        return {0, *number};
    return {1, 0, isWatchedWhole(watched) ? row.elements : toText(row.last.value)};
}

} // namespace

void TableView::sortByNext() {
    m_order =
        m_order == Order::ByLatestChange ? Order::AsGiven : static_cast<Order>(static_cast<int>(m_order) + 1);
}

const char* TableView::sortName() const {
    switch (m_order) {
    case Order::AsGiven:
        break;
    case Order::ByName:
        return "name";
    case Order::ByValue:
        return "value";
    case Order::ByLatestChange:
        return "latest change";
    }
    return "";
}

void TableView::move(int key) {
    if (m_nodes.empty())
        return;
    const std::size_t last = m_nodes.size() - 1;
    const auto up = [&](std::size_t lines) { m_position -= std::min(m_position, lines); };
    const auto down = [&](std::size_t lines) { m_position = std::min(m_position + lines, last); };
    switch (key) {
    case KeyUp:
        up(1);
        break;
    case KeyDown:
        down(1);
        break;
    case KeyPageUp:
        up(m_lines);
        break;
    case KeyPageDown:
        down(m_lines);
        break;
    case KeyHome:
        m_position = 0;
        break;
    case KeyEnd:
        m_position = last;
        break;
    default:
        break;
    }
    m_selected = m_nodes[m_position];
}

std::vector<std::size_t> TableView::window(const Rows& rows, std::size_t lines) {
    arrange(rows);
    m_lines = lines;
    if (m_nodes.empty())
        return {};
    const auto found = std::find(m_nodes.begin(), m_nodes.end(), m_selected);
    m_position = found != m_nodes.end() ? static_cast<std::size_t>(found - m_nodes.begin())
                                        : std::min(m_position, m_nodes.size() - 1);
    m_selected = m_nodes[m_position];
    m_first = std::min(m_first, m_position);
    m_first = std::max(m_first, m_position + 1 - std::min(m_position + 1, lines));
    m_first = std::min(m_first, m_nodes.size() - std::min(m_nodes.size(), lines));
    const auto begin = m_nodes.begin() + static_cast<std::ptrdiff_t>(m_first);
    return {begin, begin + static_cast<std::ptrdiff_t>(std::min(lines, m_nodes.size() - m_first))};
}

std::optional<std::size_t> TableView::selected() const {
    return m_nodes.empty() ? std::nullopt : std::optional(m_selected);
}

bool TableView::passesFilter(std::size_t node) const {
    const Job& watched = m_monitored.nodes[node];
    return holdsWord(watched.given, m_filter) || holdsWord(watchedId(watched), m_filter);
}

void TableView::arrange(const Rows& rows) {
    m_nodes.clear();
    for (std::size_t node = 0; node < rows.size(); ++node)
        if (m_filter.empty() || passesFilter(node))
            m_nodes.push_back(node);
    const auto sort = [&](const auto& isBefore) {
        std::stable_sort(m_nodes.begin(), m_nodes.end(), isBefore);
    };
    const Jobs& nodes = m_monitored.nodes;
    if (m_order == Order::ByName)
        sort([&](std::size_t a, std::size_t b) { return nodes[a].given < nodes[b].given; });
    else if (m_order == Order::ByLatestChange) // what never changed has the earliest time
        sort([&](std::size_t a, std::size_t b) { return rows[a].last.time > rows[b].last.time; });
    else if (m_order == Order::ByValue)
        sortByValue(rows);
}

void TableView::sortByValue(const Rows& rows) {
    std::vector<std::pair<ValueKey, std::size_t>> keyed;
    for (const std::size_t node : m_nodes)
        keyed.emplace_back(keyOf(rows[node], m_monitored.nodes[node]), node);
    std::stable_sort(keyed.begin(), keyed.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    std::transform(keyed.begin(), keyed.end(), m_nodes.begin(),
                   [](const auto& entry) { return entry.second; });
}

} // namespace opcua_cli
