#pragma once

#include <array>

namespace opcua_cli {

/// What the program draws with, in characters that the user's locale has: Unicode's where it is UTF-8, else
/// ASCII's. Each takes the same columns in both but the dots.
struct Drawing {
    const char* branch;              ///< to a node that others follow
    const char* lastBranch;          ///< to the last one
    const char* line;                ///< past what belongs to others
    const char* dots;                ///< for what is left out
    std::array<const char*, 8> bars; ///< from the lowest to the highest
};

const Drawing& drawing();

} // namespace opcua_cli
