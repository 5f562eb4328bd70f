#pragma once

#include "../failure.h"

#include <cstddef>
#include <string>

namespace opcua_cli {

/// A file as users name it on the command line; "-" stands for standard input.
struct TextFile {
    std::string name; ///< for messages
    std::string text; ///< UTF-8, without a byte order mark
};

/// Throws Failure (Usage) when it cannot be read or is not UTF-8.
TextFile readTextFile(const std::string& path);

/// "plan.csv, line 3"
std::string placeIn(const TextFile& file, std::size_t line);

/// A failure that says where.
Failure failureAt(const std::string& place, const std::string& explanation, const std::string& advice = {});

/// Writes the file anew, or throws Failure (OutputFailed) and leaves an old one as it was.
void writeTextFile(const std::string& path, const std::string& text);

} // namespace opcua_cli
