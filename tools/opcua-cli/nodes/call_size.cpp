#include "call_size.h"

#include <cstdint>
#include <variant>

namespace opcua_cli {
namespace {

constexpr std::size_t nodesPerRequest = 20;

/// OPC UA Part 5, 6.3.11.
const char* limitId(Limited limited) {
    switch (limited) {
    case Limited::Reads:
        return "i=11705";
    case Limited::Writes:
        return "i=11707";
    case Limited::MonitoredItems:
        break;
    }
    return "i=11714";
}

} // namespace

std::size_t callSize(Connection& connection, Limited limited, std::size_t count, std::size_t usual) {
    if (count < 2)
        return usual;
    const ReadResult result = connection.read(limitId(limited), OpcUaDataType_UInt32);
    const auto* limit = std::get_if<std::uint32_t>(&result.value);
    return limit != nullptr && *limit > 0 && *limit < nodesPerRequest ? *limit : usual;
}

} // namespace opcua_cli
