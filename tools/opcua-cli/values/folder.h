#pragma once

#include "values/job.h"

#include <cstddef>
#include <string>

namespace opcua_cli {

/// The variables at and below a node, each once.
struct Folder {
    std::string nodeId;
    Jobs variables{};
    Jobs unbrowsed{};     ///< nodes with a problem: what lies below these is not known
    bool complete = true; ///< false when the bound on the number of nodes ended the walk
};

/// Walks through everything below the node. Throws Failure.
Folder exploreFolder(Connection& connection, const NodeReference& reference, std::size_t maxNodes);

} // namespace opcua_cli
