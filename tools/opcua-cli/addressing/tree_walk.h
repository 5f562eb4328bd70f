#pragma once

#include "addressing/browse_tree.h"
#include "addressing/node_info.h"
#include "output/progress.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace opcua_cli {

/// One node that a walk met.
struct WalkedNode {
    NodeInfo node;
    std::size_t parent = 0; ///< index in Walk::nodes
    int depth = 0;          ///< 0 is the start node
    bool repeated = false;  ///< was met before: what is below it is shown there
    std::optional<Problem> browseProblem{};
    std::vector<std::size_t> children{};
};

/// What a walk found. Node 0 is the start.
struct Walk {
    std::vector<WalkedNode> nodes;
    bool complete = true; ///< false when the bound on the number of nodes ended it
    std::optional<Failure>
        end; ///< the connection was lost or Ctrl-C pressed: the nodes are those found before
};

/// Walks from a record of the tree down to `depth` levels below it, level by level, so that a node that can
/// be reached in several ways shows what lies below it where it is closest to the start. Every node is
/// browsed once: an address space may run in circles.
Walk walk(BrowseTree& tree, OpcUaNode* start, int depth, std::size_t maxNodes, Progress& progress);

} // namespace opcua_cli
