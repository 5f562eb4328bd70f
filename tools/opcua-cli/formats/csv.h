#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace opcua_cli {

struct CsvRow {
    std::size_t line; ///< where it begins; the first is 1
    std::vector<std::string> fields;
};

/// The rows of a text in the form of RFC 4180; a line feed alone ends a line, too. Empty lines are left out.
/// Throws FormatError.
std::vector<CsvRow> parseCsv(std::string_view text);

/// What separates the fields: a semicolon where the first line has more of these than commas, outside of
/// quotes, else a comma.
char csvSeparator(std::string_view text);

/// The fields as a line, with commas and a line feed; broken UTF-8 is made printable.
std::string csvLine(const std::vector<std::string>& fields);

/// Lines as they may go to standard output: where that is a terminal, what would steer it is made visible.
std::string forStandardOutput(const std::string& lines);

} // namespace opcua_cli
