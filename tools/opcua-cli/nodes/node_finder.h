#pragma once

#include "browse_tree.h"
#include "node_info.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace opcua_cli {

/// How promising it is to look for the node below the candidate; the greater the better. Ids of one namespace
/// that begin alike, or have numbers near to each other, usually belong together.
int searchRank(const std::string& targetId, const NodeInfo& candidate);

/// Finds nodes by walking through the address space from the Root folder. The library tells a node's type and
/// shape only where the node shows up as somebody's child: a node that is known by its id alone has to be
/// come across this way. The most promising branches are browsed first.
class NodeFinder {
public:
    /// Told now and then how many nodes were seen.
    using Watcher = std::function<void(std::size_t)>;

    /// Looks at `maxNodes` nodes at most, all searches together.
    NodeFinder(Connection& connection, std::size_t maxNodes, Watcher watcher);

    /// Nothing when the node did not show up. Throws as BrowseTree.
    std::optional<NodeInfo> find(const std::string& nodeId);

    /// The record itself, which may be the tree's start; null when the node did not show up.
    OpcUaNode* findRecord(const std::string& nodeId);

    /// The tree that was walked so far; it starts at the Root folder.
    BrowseTree& tree() { return m_tree; }

private:
    void look(OpcUaNode* record);
    std::size_t cost() const;

    BrowseTree m_tree;
    std::size_t m_maxNodes;
    Watcher m_watcher;
    std::unordered_map<std::string, OpcUaNode*> m_seen;
    std::vector<OpcUaNode*> m_frontier; ///< seen, but not browsed
};

} // namespace opcua_cli
