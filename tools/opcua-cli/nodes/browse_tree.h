#pragma once

#include "../connection.h"

#include <cstddef>
#include <string>
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
        int resultCode = 0;
        std::vector<OpcUaNode*> children; ///< with a result code other than 0: those that came before
    };

    /// Browses the start node. Throws Failure (Failed) when that is refused.
    BrowseTree(Connection& connection, const std::string& startId);

    OpcUaNode* start() const { return m_start; }

    /// The children of a record of this tree, asked for when they are not there yet. Throws Failure when the
    /// connection is lost (the records are gone then) or Ctrl-C was pressed.
    Level expand(OpcUaNode* record);

    /// Number of browses so far.
    std::size_t browses() const { return m_browsed.size(); }

private:
    Connection& m_connection;
    OpcUaNode* m_start = nullptr;
    std::unordered_set<const OpcUaNode*> m_browsed;
};

} // namespace opcua_cli
