#pragma once

#include "node_info.h"
#include "node_value.h"
#include "value_access.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace opcua_cli {

/// Default bound for whole arrays: every element costs a read of all of them.
constexpr std::size_t defaultMaxElements = 1000;

struct NodeToRead {
    NodeInfo node;
    std::optional<Index> index; ///< one element; nothing for the whole value
};

struct NodeReading {
    NodeValue value{}; ///< empty when there is a problem
    std::optional<Problem> problem{};
};

/// Reads single values many at a time, arrays and matrices element by element: while that goes on the array
/// may change. Results come in the order of the nodes. Throws as readMany().
std::vector<NodeReading> readNodes(Connection& connection, const std::vector<NodeToRead>& nodes,
                                   std::size_t maxElements);

struct NodeToWrite {
    NodeInfo node;
    std::optional<Index> index;
    NodeValue value;
    std::optional<NodeValue> present{}; ///< elements of an array that equal these are not written
};

/// Writes single values many at a time, arrays and matrices element by element; an array is given up at the
/// first element that is refused. A problem, or nothing, for each node in order. Throws as writeMany().
std::vector<std::optional<Problem>> writeNodes(Connection& connection, const std::vector<NodeToWrite>& nodes,
                                               std::size_t maxElements);

} // namespace opcua_cli
