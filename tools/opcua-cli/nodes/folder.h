#pragma once

#include "../connection.h"
#include "node_info.h"
#include "node_reference.h"

#include <cstddef>
#include <string>
#include <vector>

namespace opcua_cli {

struct UnbrowsedNode {
    NodeInfo node;
    Problem problem;
};

/// The variables at and below a node, each once.
struct Folder {
    std::string nodeId;
    std::vector<NodeInfo> variables{};
    std::vector<UnbrowsedNode> unbrowsed{}; ///< what lies below these is not known
    bool complete = true;                   ///< false when the bound on the number of nodes ended the walk
};

/// Walks through everything below the node. Throws Failure.
Folder exploreFolder(Connection& connection, const NodeReference& reference, std::size_t maxNodes);

} // namespace opcua_cli
