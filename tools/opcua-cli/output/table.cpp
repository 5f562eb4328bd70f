#include "output/table.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "text/utf8.h"

namespace opcua_cli {
namespace {

constexpr std::string_view gap = "  ";
constexpr std::size_t widestCell = 80;
constexpr std::size_t widestAligned = 60; // a longer cell that must not be cut pushes the rest of its own row
constexpr std::size_t narrowestCut = 8;

using Widths = std::vector<std::size_t>;

std::size_t lineWidth(const Widths& widths) {
    const auto shown = static_cast<std::size_t>(
        std::count_if(widths.begin(), widths.end(), [](std::size_t width) { return width > 0; }));
    return std::accumulate(widths.begin(), widths.end(), shown > 0 ? (shown - 1) * gap.size() : 0);
}

/// Takes columns away from the widest cell that may be cut until the line fits.
void shrinkToFit(Widths& widths, const std::vector<Column>& columns, std::size_t limit) {
    for (std::size_t total = lineWidth(widths); total > limit; --total) {
        std::size_t widest = columns.size();
        for (std::size_t i = 0; i < columns.size(); ++i)
            if (columns[i].mayBeCut && widths[i] > narrowestCut &&
                (widest == columns.size() || widths[i] > widths[widest]))
                widest = i;
        if (widest == columns.size())
            return;
        --widths[widest];
    }
}

/// Whether cutting would leave enough of every cell.
bool isReadable(Widths widths, const std::vector<Column>& columns, std::size_t limit) {
    constexpr std::size_t narrowTerminal = 60;
    constexpr std::size_t readable = 16;
    const Widths natural = widths;
    shrinkToFit(widths, columns, limit);
    if (lineWidth(widths) > limit)
        return false;
    for (std::size_t i = 0; i < widths.size(); ++i)
        if (limit < narrowTerminal && widths[i] < std::min(natural[i], readable))
            return false;
    return true;
}

/// The first cell on a line of its own, the others on as many as they need.
std::string folded(const std::vector<Cell>& cells, const Widths& widths, const std::vector<Column>& columns,
                   const Terminal& terminal) {
    const std::size_t limit = terminal.width.value_or(0);
    std::string result;
    std::size_t used = 0;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        if (widths[i] == 0 || cells[i].text.empty())
            continue;
        const std::string indent(result.empty() ? 0 : std::min<std::size_t>(4, limit), ' ');
        const std::string text =
            columns[i].mayBeCut ? cutToWidth(cells[i].text, limit - indent.size()) : cells[i].text;
        const std::size_t width = displayWidth(text);
        const bool fits = i > 0 && used + gap.size() + width <= limit;
        used = i == 0 ? limit : (fits ? used + gap.size() : indent.size()) + width;
        if (!result.empty())
            result += fits ? std::string(gap) : "\n" + indent;
        result.append(terminal.paint(text, cells[i].tone));
    }
    return result + "\n";
}

class LineWriter {
public:
    LineWriter(const Widths& widths, const std::vector<Column>& columns, const Terminal& terminal)
        : m_widths(widths), m_columns(columns), m_terminal(terminal) {}

    std::string line(const std::vector<Cell>& cells) const {
        std::string result;
        std::size_t pending = 0; // blanks that are written only when something follows
        for (std::size_t i = 0; i < cells.size(); ++i) {
            if (m_widths[i] == 0)
                continue;
            const std::string text =
                m_columns[i].mayBeCut ? cutToWidth(cells[i].text, m_widths[i]) : cells[i].text;
            const std::size_t rest = m_widths[i] - std::min(m_widths[i], displayWidth(text));
            const std::size_t before = m_columns[i].right ? rest : 0;
            if (!text.empty()) {
                result.append(pending + before, ' ').append(m_terminal.paint(text, cells[i].tone));
                pending = 0;
            }
            pending += (text.empty() ? m_widths[i] : rest - before) + gap.size();
        }
        return result + "\n";
    }

private:
    const Widths& m_widths;
    const std::vector<Column>& m_columns;
    const Terminal& m_terminal;
};

} // namespace

Table::Table(std::vector<Column> columns) : m_columns(std::move(columns)) {}

void Table::add(std::vector<Cell> row) {
    row.resize(m_columns.size(), Cell(""));
    for (Cell& cell : row)
        cell.text = printable(cell.text);
    m_rows.push_back(std::move(row));
}

Widths Table::naturalWidths() const {
    Widths widths(m_columns.size(), 0);
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        for (const std::vector<Cell>& row : m_rows)
            widths[i] = std::max(widths[i], displayWidth(row[i].text));
        if (widths[i] == 0)
            continue;
        widths[i] = std::max({widths[i], displayWidth(m_columns[i].title), m_columns[i].least});
        widths[i] = std::min(widths[i], m_columns[i].mayBeCut ? widestCell : widestAligned);
    }
    return widths;
}

std::vector<Cell> Table::titles() const {
    std::vector<Cell> cells;
    for (const Column& column : m_columns)
        cells.emplace_back(column.title, Tone::Heading);
    return cells;
}

std::string Table::render(const Terminal& terminal) const {
    Widths widths = naturalWidths();
    if (terminal.width)
        shrinkToFit(widths, m_columns, *terminal.width);
    const LineWriter writer(widths, m_columns, terminal);

    std::string result;
    if (std::any_of(m_columns.begin(), m_columns.end(), [](const Column& c) { return !c.title.empty(); }))
        result += writer.line(titles());
    for (const std::vector<Cell>& row : m_rows)
        result += writer.line(row);
    return terminal.shown(std::move(result));
}

std::string Table::renderFolded(const Terminal& terminal) const {
    const Widths widths = naturalWidths();
    if (!terminal.width || isReadable(widths, m_columns, *terminal.width))
        return render(terminal);
    std::string result = folded(titles(), widths, m_columns, terminal);
    for (const std::vector<Cell>& row : m_rows)
        result += folded(row, widths, m_columns, terminal);
    return terminal.shown(std::move(result));
}

} // namespace opcua_cli
