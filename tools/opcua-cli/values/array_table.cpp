#include "values/array_table.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "output/table.h"
#include "text/utf8.h"

namespace opcua_cli {
namespace {

constexpr std::size_t widestElement = 40;
constexpr unsigned long elementsPerLine = 10;

bool holdsTexts(const NodeValue& value) {
    return !value.elements.empty() && std::holds_alternative<std::string>(value.elements.front());
}

class ArrayTable {
public:
    ArrayTable(const NodeValue& value, const Terminal& terminal)
        : m_value(value), m_terminal(terminal), m_texts(holdsTexts(value)) {}

    std::string list() const {
        const unsigned long count = m_value.shape.back();
        const unsigned long columns = m_texts ? 1 : std::min(elementsPerLine, count);
        std::vector<std::string> titles;
        for (unsigned long i = 0; i < columns && columns > 1; ++i)
            titles.push_back("+" + std::to_string(i));
        titles.resize(columns);
        return rows(0, count, titles);
    }

    std::string matrices() const {
        const std::size_t dimensions = m_value.shape.size();
        const Shape outer(m_value.shape.begin(), m_value.shape.end() - 2);
        std::vector<std::string> titles;
        for (unsigned long i = 0; i < m_value.shape.back(); ++i)
            titles.push_back("[" + std::to_string(i) + "]");
        const std::size_t size = m_value.shape[dimensions - 2] * m_value.shape.back();
        std::string text;
        for (std::size_t first = 0; size != 0 && first < m_value.elements.size(); first += size) {
            if (!outer.empty())
                text += (first == 0 ? "" : "\n") +
                        m_terminal.paint(indexText(indexAt(first / size, outer)), Tone::Heading) + "\n";
            text += rows(first, size, titles);
        }
        return text;
    }

private:
    std::string rows(std::size_t first, std::size_t count, const std::vector<std::string>& titles) const {
        std::vector<Column> columns{{"", false, true}};
        for (const std::string& title : titles)
            columns.push_back({title, m_texts, !m_texts});
        Table table(std::move(columns));
        const bool isList = m_value.shape.size() == 1;
        for (std::size_t row = 0; row < count; row += titles.size()) {
            const std::size_t label = isList ? row : row / titles.size();
            std::vector<Cell> cells{{"[" + std::to_string(label) + "]", Tone::Faint}};
            for (std::size_t i = row; i < std::min(row + titles.size(), count); ++i)
                cells.emplace_back(toText(m_value.elements[first + i]));
            table.add(std::move(cells));
        }
        return table.render(m_terminal);
    }

    const NodeValue& m_value;
    const Terminal& m_terminal;
    bool m_texts;
};

} // namespace

bool needsTable(const NodeValue& value) {
    if (value.shape.empty() || value.elements.empty())
        return false;
    return value.shape.size() > 1 || displayWidth(printable(toText(value))) > widestElement;
}

std::string arrayTable(const NodeValue& value, const Terminal& terminal) {
    const ArrayTable table(value, terminal);
    return value.shape.size() == 1 ? table.list() : table.matrices();
}

} // namespace opcua_cli
