#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "output/terminal.h"

namespace opcua_cli {

struct Column {
    std::string title;
    bool mayBeCut = true;  ///< false for what people copy, such as node ids
    bool right = false;    ///< numbers
    std::size_t least = 0; ///< columns of the terminal that it takes even when its texts are shorter
};

struct Cell {
    std::string text;
    Tone tone = Tone::Plain;

    Cell(std::string content, Tone cellTone = Tone::Plain) : text(std::move(content)), tone(cellTone) {}
    Cell(const char* content) : text(content) {}
};

/// Rows under headings, aligned by what the texts take on a terminal. Every text is made printable. Long
/// cells are cut so that lines fit the terminal; where there is none, a cell takes 80 columns at most. A very
/// long cell that must not be cut moves what stands behind it.
class Table {
public:
    explicit Table(std::vector<Column> columns);

    /// A row with fewer cells than columns ends with empty ones.
    void add(std::vector<Cell> row);
    bool empty() const { return m_rows.empty(); }

    /// Lines that end with a line feed, without trailing blanks. A column without any text is left out, and
    /// so are the headings when none has a title.
    std::string render(const Terminal& terminal) const;

    /// The same but where a narrow terminal would leave nothing to read: there each row takes lines of its
    /// own, the first cell, and below it, indented, the others.
    std::string renderFolded(const Terminal& terminal) const;

private:
    std::vector<Cell> titles() const;
    std::vector<std::size_t> naturalWidths() const;

    std::vector<Column> m_columns;
    std::vector<std::vector<Cell>> m_rows;
};

} // namespace opcua_cli
