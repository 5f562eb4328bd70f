#pragma once

#include "../output/progress.h"
#include "node_finder.h"
#include "node_reference.h"

#include <memory>
#include <optional>

namespace opcua_cli {

/// A node whose value is to be read or written.
struct ValueTarget {
    NodeInfo node;
    bool typeKnown = true; ///< false when a node given by its id did not show up in the address space
};

/// Finds out type and shape of the nodes that the user named.
///
/// The library tells them only for the children of a node that it browses. A path leads there by itself. A
/// node id is looked for in the address space, after a first read has shown that the node has a value at all;
/// a type that the user states spares both.
class TargetResolver {
public:
    TargetResolver(Connection& connection, std::optional<_OpcUaDataType> statedType, std::size_t maxNodes);

    /// Throws Failure; with exit code Failed it is this node's own.
    ValueTarget resolve(const NodeReference& reference);

private:
    ValueTarget resolvePath(const NodePath& path);
    ValueTarget resolveId(const std::string& nodeId);
    NodeFinder& finder();

    Connection& m_connection;
    std::optional<_OpcUaDataType> m_statedType;
    std::size_t m_maxNodes;
    std::unique_ptr<NodeFinder> m_finder;
    Progress m_progress{"looking for the type"};
};

/// "Double[3][4]", which single-value commands cannot handle. Throws Failure (Failed) for an array or matrix.
void throwIfArray(const NodeInfo& node);

} // namespace opcua_cli
