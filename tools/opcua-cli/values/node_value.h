#pragma once

#include <memory>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "addressing/shape.h"
#include "values/value.h"

namespace opcua_cli {

/// What a variable holds: a single value, or the elements of an array or matrix, row by row.
struct NodeValue {
    Shape shape{}; ///< empty for a single value
    std::vector<Value> elements{};

    NodeValue() = default;
    explicit NodeValue(Value single) : elements{std::move(single)} {}
    NodeValue(Shape lengths, std::vector<Value> all) : shape(std::move(lengths)), elements(std::move(all)) {}
};

/// A value as a user wrote it: text on the command line and in CSV, JSON (never null) in a JSON file.
using GivenValue = std::variant<std::string, std::shared_ptr<const Json>>;

/// True for what can only be the value of an array or matrix.
bool isWholeArray(const GivenValue& given);

/// The value for a node of that type and shape; an array as JSON, also in a text: "[[1, 2], [3, 4]]". Throws
/// Failure (Usage) with what would fit.
NodeValue parseNodeValue(_OpcUaDataType type, const Shape& shape, const GivenValue& given);

/// True for the same shape and elements.
bool isSame(const NodeValue& one, const NodeValue& other);

/// "12.5"; "[[1, 2], [3, 4]]".
std::string toText(const NodeValue& value);

/// Arrays as nested arrays; null for no value.
Json toJson(const NodeValue& value);

} // namespace opcua_cli
