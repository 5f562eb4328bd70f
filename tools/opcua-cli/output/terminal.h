#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace opcua_cli {

enum class Tone { Plain, Heading, Faint, Good, Bad };

/// What stands behind standard output or standard error.
struct Terminal {
    bool interactive = false;          ///< a person looks at it
    bool colours = false;              ///< never with NO_COLOR set, or when it is no terminal
    bool canRedraw = false;            ///< the cursor can be moved
    std::optional<std::size_t> width;  ///< columns; nothing when it is no terminal
    std::optional<std::size_t> height; ///< rows, likewise

    std::string paint(std::string_view text, Tone tone) const;
};

Terminal terminalOn(int descriptor);

} // namespace opcua_cli
