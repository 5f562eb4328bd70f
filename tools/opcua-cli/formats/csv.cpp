#include "formats/csv.h"

#include "formats/text_file.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace opcua_cli {
namespace {

class CsvParser {
public:
    explicit CsvParser(std::string_view text) : m_text(text) {}

    std::vector<CsvRow> parse() {
        std::vector<CsvRow> rows;
        while (!atEnd()) {
            if (atLineEnd())
                takeLineEnd();
            else
                rows.push_back(takeRow());
        }
        return rows;
    }

private:
    bool atEnd() const { return m_next == m_text.size(); }
    bool at(char character) const { return !atEnd() && m_text[m_next] == character; }
    bool atLineEnd() const { return at('\n') || m_text.substr(m_next, 2) == "\r\n"; }

    void takeLineEnd() {
        m_next += at('\n') ? 1 : 2;
        ++m_line;
    }

    CsvRow takeRow() {
        CsvRow row{m_line, {takeField()}};
        while (at(',')) {
            ++m_next;
            row.fields.push_back(takeField());
        }
        if (!atEnd())
            takeLineEnd();
        return row;
    }

    std::string takeField() {
        std::string field = at('"') ? takeQuoted() : takePlain();
        if (!atEnd() && !at(',') && !atLineEnd())
            throw FormatError(m_line, at('\r') ? "a carriage return without a line feed"
                                               : "something follows the quote that ends a field");
        return field;
    }

    std::string takePlain() {
        const std::size_t first = m_next;
        while (!atEnd() && !at(',') && !at('\n') && !at('\r')) {
            if (at('"'))
                throw FormatError(m_line,
                                  "a quote inside a field that does not begin with one; put the whole "
                                  "field in quotes and double those in it");
            ++m_next;
        }
        return std::string(m_text.substr(first, m_next - first));
    }

    std::string takeQuoted() {
        const std::size_t begin = m_line;
        std::string field;
        ++m_next;
        for (; !atEnd(); ++m_next) {
            if (at('"')) {
                ++m_next;
                if (!at('"'))
                    return field;
            } else if (at('\n')) {
                ++m_line;
            }
            field += m_text[m_next];
        }
        throw FormatError(begin, "a quote is not closed");
    }

    std::string_view m_text;
    std::size_t m_next = 0;
    std::size_t m_line = 1;
};

} // namespace

std::vector<CsvRow> parseCsv(std::string_view text) {
    return CsvParser(text).parse();
}

} // namespace opcua_cli
