#pragma once

#include "addressing/node_reference.h"
#include "connection.h"

#include <cstddef>
#include <optional>
#include <unordered_set>
#include <vector>

namespace opcua_cli {

constexpr const char* rootFolderId = "i=84";
constexpr const char* objectsFolderId = "i=85";

/// The part of a server's address space that was browsed, as the library's own records. A record is browsed
/// once, so that all of them stay valid as long as the tree: browsing one again would free what lies below.
///
/// One tree a connection: the library keeps one.
class BrowseTree {
public:
    struct Level {
        std::vector<OpcUaNode*> children;
        std::optional<Problem> problem{}; ///< the browse was refused: the children are those that came before
    };

    /// Browses the node in which the tree starts: the Root folder for a path, for an id the node itself.
    /// Throws Failure (Failed) when that is refused.
    BrowseTree(Connection& connection, const NodeReference& reference);

    OpcUaNode* start() const { return m_start; }

    /// The children of a record of this tree, asked for when they are not there yet. Throws Failure when the
    /// connection is lost (the records are gone then) or Ctrl-C was pressed.
    Level expand(OpcUaNode* record);

    /// The records on the way to the node, its own last. A path needs a tree that starts at the Root folder
    /// and may leave out the Objects folder; for an id this is the start. Throws Failure (Failed) that names
    /// the step that leads nowhere.
    std::vector<OpcUaNode*> wayTo(const NodeReference& reference);

    /// Number of browses so far.
    std::size_t browses() const { return m_browsed.size(); }

private:
    std::vector<OpcUaNode*> follow(const NodePath& path);

    Connection& m_connection;
    OpcUaNode* m_start = nullptr;
    std::unordered_set<const OpcUaNode*> m_browsed;
};

} // namespace opcua_cli
