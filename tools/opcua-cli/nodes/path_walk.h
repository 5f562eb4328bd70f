#pragma once

#include "browse_tree.h"
#include "node_reference.h"

#include <vector>

namespace opcua_cli {

/// The records along the path, the node's own last. The tree must start at the Root folder; a path may leave
/// out the Objects folder. Throws Failure (Failed) that names the step that leads nowhere.
std::vector<OpcUaNode*> followPath(BrowseTree& tree, const NodePath& path);

} // namespace opcua_cli
