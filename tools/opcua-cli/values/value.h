#pragma once

#include <cstdint>
#include <string>
#include <variant>

#include "OpcUaTypes.h"
#include "output/json.h"

namespace opcua_cli {

/// One value of the twelve types that the library converts; the index is the number in _OpcUaDataType.
using Value =
    std::variant<std::monostate, bool, std::int8_t, std::uint8_t, std::int16_t, std::uint16_t, std::int32_t,
                 std::uint32_t, std::int64_t, std::uint64_t, float, double, std::string>;

/// 0, false or "" in that type; empty for everything that the library does not convert.
Value zeroOf(_OpcUaDataType type);

/// The value that the user wrote, for a node of that type. Throws Failure (Usage) with what would fit.
Value parseValue(_OpcUaDataType type, const std::string& text);

/// True for the same type and digits: NaN is the same as NaN, and -0 is not 0.
bool isSame(const Value& one, const Value& other);

/// As people read it: texts in quotes, the shortest digits that give the number back.
std::string toText(const Value& value);

/// As scripts read it. What JSON has no number for (NaN, infinity) is a text.
Json toJson(const Value& value);

} // namespace opcua_cli
