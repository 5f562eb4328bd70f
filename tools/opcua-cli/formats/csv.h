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

} // namespace opcua_cli
