#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

#include "uabase/string.h"
#include "uastack/protocol_types.h"

// Public records keep texts in fixed fields that a long text fills without a terminator.

/// The text in a field, bounded by the field.
template <std::size_t Size>
std::string_view fieldText(const char (&field)[Size]) {
    return {field, strnlen(field, Size)};
}

/// Replaces a field's content; what does not fit is cut.
template <std::size_t Size>
void setField(char (&field)[Size], std::string_view text) {
    const std::size_t length = std::min(text.size(), Size);
    std::copy_n(text.data(), length, field);
    std::fill(field + length, field + Size, '\0');
}

inline std::string_view viewOf(const OpcUa_String& text) {
    return {reinterpret_cast<const char*>(text.data), text.length};
}

inline std::string_view viewOf(const UaString& text) {
    return text.text();
}

inline UaString toUaString(std::string_view text) {
    return UaString(std::string(text));
}
