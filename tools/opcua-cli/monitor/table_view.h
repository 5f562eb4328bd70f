#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "monitor/output.h"
#include "monitor/row.h"

namespace opcua_cli {

/// Which rows of a live table are on the screen, in which order, and which one is selected. The selection
/// stays with its node, wherever filter and order take that, and is always on the screen.
class TableView {
public:
    explicit TableView(const Monitored& monitored) : m_monitored(monitored) {}

    /// Shows the nodes alone whose name or id has the text in it, upper or lower case (ASCII).
    void filterBy(std::string text) { m_filter = std::move(text); }
    const std::string& filter() const { return m_filter; }

    /// As given, by name, by value (numbers, then texts), by latest change.
    void sortByNext();
    /// "name"; empty for the order as given.
    const char* sortName() const;

    /// KeyUp to KeyEnd; other keys do nothing.
    void move(int key);

    /// The nodes in a window of so many lines, at least 1.
    std::vector<std::size_t> window(const Rows& rows, std::size_t lines);

    // As of the last window:
    std::optional<std::size_t> selected() const;
    std::size_t count() const { return m_nodes.size(); } ///< nodes that the filter leaves
    std::size_t first() const { return m_first; }        ///< how many of them are above the window

private:
    enum class Order { AsGiven, ByName, ByValue, ByLatestChange };

    bool passesFilter(std::size_t node) const;
    void arrange(const Rows& rows);
    void sortByValue(const Rows& rows);

    const Monitored& m_monitored;
    std::string m_filter;
    Order m_order = Order::AsGiven;
    std::vector<std::size_t> m_nodes; ///< those that the filter leaves, in order
    std::size_t m_position = 0;       ///< of the selection in the order
    std::size_t m_selected = 0;       ///< its node
    std::size_t m_first = 0;
    std::size_t m_lines = 1;
};

} // namespace opcua_cli
