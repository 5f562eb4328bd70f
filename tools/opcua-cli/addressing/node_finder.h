#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "addressing/browse_tree.h"
#include "addressing/node_info.h"
#include "output/terminal.h"

namespace opcua_cli {

/// How promising it is to look for the node below the candidate; the greater the better. Ids of one namespace
/// that begin alike, or have numbers near to each other, usually belong together.
int searchRank(const std::string& targetId, const NodeInfo& candidate);

/// Finds nodes from the Root folder on: along a path, or by walking through the address space. The library
/// tells a node's type and shape only where the node shows up as somebody's child: a node that is known by
/// its id alone has to be come across this way. The most promising branches are browsed first.
class NodeFinder {
public:
    /// Looks at `maxNodes` nodes at most, all searches together. The progress must live on.
    NodeFinder(Connection& connection, std::size_t maxNodes, Progress& progress);
    /// Walks on in a tree that starts at the Root folder and must live on.
    NodeFinder(BrowseTree& tree, std::size_t maxNodes, Progress& progress);

    /// The record, which for an id may be the tree's start; null when an id did not show up. Throws as
    /// BrowseTree.
    OpcUaNode* find(const NodeReference& reference);

    /// The tree that was walked so far; it starts at the Root folder.
    BrowseTree& tree() { return m_tree; }

private:
    void begin();
    OpcUaNode* search(const std::string& nodeId);
    void look(OpcUaNode* record);
    std::size_t cost() const;

    std::optional<BrowseTree> m_own;
    BrowseTree& m_tree;
    std::size_t m_maxNodes;
    Progress& m_progress;
    std::unordered_map<std::string, OpcUaNode*> m_seen;
    std::vector<OpcUaNode*> m_frontier; ///< seen, but not browsed
};

} // namespace opcua_cli
