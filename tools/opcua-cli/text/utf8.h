#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace opcua_cli {

/// Strict: no overlong forms, surrogates or values above U+10FFFF.
bool isValidUtf8(std::string_view text);

/// True for a byte within a character, which is not its first.
constexpr bool isContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

/// The characters one by one; a broken byte becomes U+FFFD.
std::u32string charactersOf(std::string_view text);

/// True for the same letters, upper or lower case (ASCII).
bool sameWord(std::string_view one, std::string_view other);

/// The text without the beginning of a character that was cut off at its end.
std::string_view withoutCutCharacter(std::string_view text);

/// The text as a terminal may show it on one line. What a server or a user sends must not steer the terminal:
/// control and direction characters become visible (`\n`, `\x1b`, `\u{202e}`), broken bytes U+FFFD.
std::string printable(std::string_view text);

/// The same JSON with those characters as `\u009b`.
std::string printableJson(std::string_view json);

/// Terminal columns of a printable text: 2 for a wide character, 0 for a combining one.
std::size_t displayWidth(std::string_view text);

/// The text itself, or as much of its beginning as fits with dots behind it ("…").
std::string cutToWidth(std::string_view text, std::size_t width);

} // namespace opcua_cli
