#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "addressing/node_info.h"
#include "addressing/node_reference.h"
#include "connection.h"
#include "output/terminal.h"

namespace opcua_cli {

constexpr const char* rootFolderId = "i=84";
constexpr const char* objectsFolderId = "i=85";

/// The part of a server's address space that was browsed, as the library's own records. A record is browsed
/// once, so that all of them stay valid as long as the tree: browsing one again would free what lies below.
///
/// The library keeps one tree a connection: the next one takes its place.
class BrowseTree {
public:
    struct Level {
        std::vector<OpcUaNode*> children;
        std::optional<Problem> problem{}; ///< the browse was refused: the children are those that came before
    };

    /// Browses the node in which the tree starts: the Root folder for a path, for an id the node itself in
    /// the first tree of a connection, and in later ones the Root folder. Throws Failure (Failed) when that
    /// is refused.
    BrowseTree(Connection& connection, const NodeReference& reference);

    OpcUaNode* start() const { return m_start; }

    /// The children of a record of this tree, asked for when they are not there yet. Throws Failure when the
    /// connection is lost (the records are gone then) or Ctrl-C was pressed.
    Level expand(OpcUaNode* record);

    /// The records on the way to the node, its own last. A path needs a tree that starts at the Root folder
    /// and may leave out the Objects folder; for an id this is its record alone, the start or one that is
    /// looked for. Throws Failure (Failed) that names the step that leads nowhere.
    std::vector<OpcUaNode*> wayTo(const NodeReference& reference);

    /// The record of the node, which may be the start, in a tree that starts at the Root folder; null for an
    /// id that does not show up among the `maxNodes` that all searches together look at. The library tells a
    /// node's type and shape only where the node shows up as somebody's child. The most promising branches
    /// are browsed first. Throws as wayTo().
    OpcUaNode* find(const NodeReference& reference, std::size_t maxNodes, Progress& progress);

private:
    std::vector<OpcUaNode*> follow(const NodePath& path);
    OpcUaNode* search(const std::string& nodeId, std::size_t maxNodes, Progress& progress);
    void look(OpcUaNode* record, Progress& progress);

    Connection& m_connection;
    bool m_first; ///< of its connection
    OpcUaNode* m_start = nullptr;
    std::unordered_set<const OpcUaNode*> m_browsed;
    std::unordered_map<std::string, OpcUaNode*> m_seen; ///< by searches
    std::vector<OpcUaNode*> m_frontier;                 ///< seen, but not browsed
};

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

/// Of all paths in a document together: those of deep nodes with long names are longer than all else.
constexpr std::size_t mostPathBytes = 200'000'000;

/// Looks at the nodes met so far before the node at that index is browsed; false ends the walk, which is not
/// complete then.
using WalkWatcher = std::function<bool(const Walk&, std::size_t)>;

/// Walks from a record of the tree down to `depth` levels below it, level by level, so that a node that can
/// be reached in several ways shows what lies below it where it is closest to the start. Every node is
/// browsed once: an address space may run in circles.
Walk walk(BrowseTree& tree, OpcUaNode* start, int depth, std::size_t maxNodes, const WalkWatcher& watcher);
Walk walk(BrowseTree& tree, OpcUaNode* start, int depth, std::size_t maxNodes, Progress& progress);

} // namespace opcua_cli
