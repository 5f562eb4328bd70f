#pragma once

#include "../connection.h"

#include <cstddef>

namespace opcua_cli {

/// What a server limits in one request.
enum class Limited { Reads, Writes, MonitoredItems };

/// How many of `count` nodes to hand to the library in one call: `usual`, or as many as the server takes in
/// one request when that is fewer than the 20 that the library puts into one. It would refuse them all. Asks
/// the server for its limit.
std::size_t callSize(Connection& connection, Limited limited, std::size_t count, std::size_t usual);

} // namespace opcua_cli
