#pragma once

#include <string>
#include <string_view>

namespace opcua_cli {

/// True when the environment's locale has UTF-8, so that a terminal can be expected to show it.
bool localeHasUtf8();

/// The text for a terminal that shows ASCII alone, of the same width: all else becomes "?".
std::string asciiText(std::string_view text);

} // namespace opcua_cli
