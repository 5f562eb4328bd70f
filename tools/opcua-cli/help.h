#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "command_line/command_line.h"

namespace opcua_cli {

/// Makes the help fit the terminal behind standard output; where there is none its lines stay long.
void fitHelp(Program& program);

/// Long lines broken between words. What goes on stands under the last column of its line, if that leaves it
/// room.
std::string wrapped(const std::string& text, std::size_t width);

/// The arguments, "help COMMAND" as "COMMAND --help". Throws Failure (Usage) for a command that there isn't,
/// and names one that is spelt alike.
std::vector<std::string> commandLine(const Program& program, int count, char** arguments);

} // namespace opcua_cli
