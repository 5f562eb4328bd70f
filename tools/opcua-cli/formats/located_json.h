#pragma once

#include "../output/json.h"

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace opcua_cli {

struct JsonError : std::runtime_error {
    JsonError(std::size_t where, const std::string& reason) : std::runtime_error(reason), line(where) {}
    std::size_t line;
};

struct JsonEntry {
    std::size_t line; ///< where it begins; the first is 1
    Json value;
};

/// A document that is an array of entries, or an object that has such an array under "nodes".
// NOLINTNEXTLINE(bugprone-exception-escape): moving a Json asserts, and throws nothing
struct JsonList {
    Json document;
    std::vector<JsonEntry> entries;
};

/// Throws JsonError.
JsonList parseJsonList(std::string_view text);

} // namespace opcua_cli
