#pragma once

#include "../nodes/value.h"

#include <chrono>
#include <cstddef>

namespace opcua_cli {

/// What the library delivered.
struct Change {
    std::size_t node = 0; ///< index in the watch list
    Value value{};
    bool cut = false;                             ///< a text is longer than the library delivers
    bool readable = true;                         ///< false when the value had to be read and could not
    std::chrono::system_clock::time_point time{}; ///< of arrival: the library does not tell the server's
};

} // namespace opcua_cli
