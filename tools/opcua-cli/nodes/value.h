#pragma once

#include "../output/json.h"
#include "OpcUaTypes.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace opcua_cli {

/// One value of the twelve types that the library converts; the index is the number in _OpcUaDataType.
using Value =
    std::variant<std::monostate, bool, std::int8_t, std::uint8_t, std::int16_t, std::uint16_t, std::int32_t,
                 std::uint32_t, std::int64_t, std::uint64_t, float, double, std::string>;

/// "Double"; "other" for everything that the library does not convert.
std::string_view typeName(_OpcUaDataType type);

/// The type of that name, upper or lower case.
std::optional<_OpcUaDataType> typeFromName(std::string_view name);

/// The names of the twelve types.
std::vector<std::string> typeNames();

/// What to say to a name that no type has.
std::string unknownTypeText(const std::string& name);

/// True for the same letters, upper or lower case.
bool sameWord(std::string_view a, std::string_view b);

/// The value that the user wrote, for a node of that type. Throws Failure (Usage) with what would fit.
Value parseValue(_OpcUaDataType type, const std::string& text);

/// True for the same type and digits: NaN is the same as NaN, and -0 is not 0.
bool isSame(const Value& one, const Value& other);

/// As people read it: texts in quotes, the shortest digits that give the number back.
std::string toText(const Value& value);

/// As scripts read it. What JSON has no number for (NaN, infinity) is a text.
Json toJson(const Value& value);

} // namespace opcua_cli
