#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// Conversions between the two Unicode forms. What is malformed becomes U+FFFD, one for each byte or unit.
std::u16string utf16FromUtf8(std::string_view utf8);
std::string utf8FromUtf16(std::u16string_view utf16);

/// Number of characters, counting each malformed byte as one.
std::size_t utf8Length(std::string_view utf8);

/// Takes the first character off a text that is not empty; where it is malformed one byte goes, and nothing
/// is returned.
std::optional<char32_t> takeCharacter(std::string_view& utf8);
