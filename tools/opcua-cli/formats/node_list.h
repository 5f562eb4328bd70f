#pragma once

#include "../nodes/node_reference.h"
#include "../nodes/node_value.h"

#include <optional>
#include <string>
#include <vector>

namespace opcua_cli {

/// A node as the user asked for it, on the command line or in a file.
struct NodeRequest {
    std::string place{}; ///< "plan.csv, line 3"; empty on the command line
    std::string given{}; ///< the node as it was written
    NodeReference reference{};
    std::optional<_OpcUaDataType> statedType{};
    std::optional<Index> index{};
    std::optional<GivenValue> value{}; ///< only where values were asked for
};

/// The nodes that a CSV or JSON file names ("-": standard input), at least one; README.md has the forms.
/// Throws Failure (Usage) that says which line is wrong.
std::vector<NodeRequest> readNodeList(const std::string& path, bool withValues);

} // namespace opcua_cli
