#pragma once

#include <optional>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include "failure.h"

namespace opcua_cli {

/// Keys keep the order in which they were set.
using Json = nlohmann::ordered_json;

/// {"code", "message", "explanation", "advice"}; code and message are null when the library didn't refuse.
Json toJson(const Problem& problem);

/// The same, or null.
Json toJson(const std::optional<Problem>& problem);

/// The document as text. Bytes that are no UTF-8 become U+FFFD.
std::string document(const Json& json);

/// The same without any blanks or line ends.
std::string compactJson(const Json& json);

/// The same on one line, for streams of documents.
std::string documentLine(const Json& json);

} // namespace opcua_cli
