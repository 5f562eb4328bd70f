#pragma once

#include "../output/progress.h"
#include "node_finder.h"
#include "node_reference.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace opcua_cli {

/// A node whose value is to be read or written.
struct ValueTarget {
    NodeInfo node;
    bool typeKnown = true; ///< false when a node given by its id did not show up in the address space
};

/// A node as the user named it.
struct TargetRequest {
    NodeReference reference{};
    std::optional<_OpcUaDataType> statedType{};
    bool needsShape = false; ///< look for a node given by its id even when its type is stated
};

struct ResolvedTarget {
    ValueTarget target{};
    std::optional<Problem> problem{};
};

/// Finds out type and shape of the nodes that the user named.
///
/// The library tells them only for the children of a node that it browses. A path leads there by itself. A
/// node id is looked for in the address space, after a first read has shown that the node has a value at all;
/// a type that the user states spares both.
class TargetResolver {
public:
    /// Looks at `maxNodes` nodes at most, all targets together.
    TargetResolver(Connection& connection, std::size_t maxNodes);

    /// In the order of the requests. Throws Failure only when there is no point in going on with other nodes.
    std::vector<ResolvedTarget> resolve(const std::vector<TargetRequest>& requests);

private:
    std::vector<int> tryToRead(const std::vector<TargetRequest>& requests);
    ValueTarget resolvePath(const NodePath& path, const TargetRequest& request);
    ValueTarget resolveId(const std::string& nodeId, const TargetRequest& request);
    NodeFinder& finder();

    Connection& m_connection;
    std::size_t m_maxNodes;
    std::unique_ptr<NodeFinder> m_finder;
    Progress m_progress{"looking for the type"};
};

} // namespace opcua_cli
