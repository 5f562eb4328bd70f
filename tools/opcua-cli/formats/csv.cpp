#include "formats/csv.h"

#include <algorithm>
#include <cstddef>
#include <sstream>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

#include "formats/text_file.h"
#include "text/utf8.h"

namespace opcua_cli {
namespace {

class CsvParser {
public:
    explicit CsvParser(std::string_view text) : m_text(text), m_separator(1, csvSeparator(text)) {}

    std::vector<CsvRow> parse() {
        std::vector<CsvRow> rows;
        while (!m_text.empty())
            if (skip("\n") || skip("\r\n"))
                ++m_line;
            else
                rows.push_back(row());
        return rows;
    }

private:
    bool begins(std::string_view with) const { return m_text.substr(0, with.size()) == with; }
    bool skip(std::string_view text) {
        const bool found = begins(text);
        if (found)
            m_text.remove_prefix(text.size());
        return found;
    }

    CsvRow row() {
        CsvRow row{m_line, {field()}};
        while (skip(m_separator))
            row.fields.push_back(field());
        if (skip("\n") || skip("\r\n"))
            ++m_line;
        return row;
    }

    std::string field() {
        std::string field = skip("\"") ? quoted() : plain();
        if (!m_text.empty() && !begins(m_separator) && !begins("\n") && !begins("\r\n"))
            throw FormatError(m_line, begins("\r") ? "a carriage return without a line feed"
                                                   : "something follows the quote that ends a field");
        return field;
    }

    std::string plain() {
        const std::string field(m_text.substr(0, m_text.find_first_of(m_separator + "\n\r")));
        if (field.find('"') != std::string::npos)
            throw FormatError(m_line,
                              "a quote inside a field that does not begin with one; put the whole field "
                              "in quotes and double those in it");
        m_text.remove_prefix(field.size());
        return field;
    }

    /// The field behind its first quote.
    std::string quoted() {
        const std::size_t begin = m_line;
        std::string field;
        while (!m_text.empty()) {
            if (skip("\"") && !begins("\""))
                return field;
            m_line += begins("\n") ? 1 : 0;
            field += m_text.front();
            m_text.remove_prefix(1);
        }
        throw FormatError(begin, "a quote is not closed");
    }

    std::string_view m_text; ///< what is not read yet
    std::string m_separator;
    std::size_t m_line = 1;
};

std::string csvField(const std::string& text) {
    if (text.find_first_of("\",\n\r") == std::string::npos)
        return text;
    std::string quoted = "\"";
    for (const char character : text)
        quoted.append(character == '"' ? 2 : 1, character);
    return quoted + "\"";
}

} // namespace

char csvSeparator(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of("\r\n"), text.size()));
    std::ptrdiff_t semicolons = 0; // more than commas
    bool inQuotes = false;
    for (const char character : text)
        if (character == '"')
            inQuotes = !inQuotes;
        else if (!inQuotes && (character == '\n' || character == '\r'))
            break;
        else if (!inQuotes)
            semicolons += character == ';' ? 1 : character == ',' ? -1 : 0;
    return semicolons > 0 ? ';' : ',';
}

std::string csvLine(const std::vector<std::string>& fields) {
    std::string line;
    for (const std::string& field : fields)
        line += csvField(isValidUtf8(field) ? field : printable(field)) + ",";
    line.back() = '\n';
    return line;
}

std::string forStandardOutput(const std::string& lines) {
    if (isatty(STDOUT_FILENO) == 0)
        return lines;
    std::string harmless;
    std::istringstream stream(lines);
    for (std::string line; std::getline(stream, line);)
        harmless += printable(line) + "\n";
    return harmless;
}

std::vector<CsvRow> parseCsv(std::string_view text) {
    return CsvParser(text).parse();
}

} // namespace opcua_cli
