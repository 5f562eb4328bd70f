#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "output/json.h"

namespace opcua_cli {

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

/// Throws FormatError.
JsonList parseJsonList(const std::string& text);

/// A text that an object may have, else empty; null is as good as none. Throws Failure (Usage).
std::string textField(const Json& object, const char* key);

/// The "value" that an object must have. Throws Failure (Usage).
std::shared_ptr<const Json> valueIn(const Json& object);

} // namespace opcua_cli
