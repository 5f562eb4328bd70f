#pragma once

#include <string>
#include <string_view>

namespace opcua_cli {

/// True when the environment's locale has UTF-8, so that a terminal can be expected to show it.
bool localeHasUtf8();

/// The text for a terminal that shows ASCII alone, of the same width: all else becomes "?".
std::string asciiText(std::string_view text);

/// The text for a terminal that takes each byte for a character, of the same width: what holds a byte that it
/// would take for a control character (0x80 to 0x9f) becomes "?".
std::string withoutControlBytes(std::string_view text);

} // namespace opcua_cli
