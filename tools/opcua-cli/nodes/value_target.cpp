#include "value_target.h"

#include "path_walk.h"

namespace opcua_cli {

TargetResolver::TargetResolver(Connection& connection, std::optional<_OpcUaDataType> statedType,
                               std::size_t maxNodes)
    : m_connection(connection), m_statedType(statedType), m_maxNodes(maxNodes) {}

ValueTarget TargetResolver::resolve(const NodeReference& reference) {
    const auto* path = std::get_if<NodePath>(&reference);
    return path != nullptr ? resolvePath(*path) : resolveId(std::get<std::string>(reference));
}

ValueTarget TargetResolver::resolvePath(const NodePath& path) {
    ValueTarget target{describe(*followPath(finder().tree(), path).back())};
    NodeInfo& node = target.node;
    if (!node.hasValue())
        throw Failure(ExitCode::Failed,
                      {"this node is of class " + className(node.nodeClass) + " and has no value",
                       "opcua-cli browse to see the variables below it"});
    if (!node.nodeIdComplete)
        throw Failure(ExitCode::Failed, {"the id of this node is too long for this program", {}});
    if (m_statedType)
        node.dataType = *m_statedType;
    return target;
}

ValueTarget TargetResolver::resolveId(const std::string& nodeId) {
    NodeInfo unseen;
    unseen.nodeId = nodeId;
    if (m_statedType) {
        unseen.dataType = *m_statedType;
        return {unseen};
    }
    const int code = m_connection.read(nodeId, OpcUaDataType_Null).resultCode;
    if (code != 0)
        throw Failure(ExitCode::Failed, m_connection.lastProblem());
    const std::optional<NodeInfo> node = finder().find(nodeId);
    return node ? ValueTarget{*node} : ValueTarget{unseen, false};
}

NodeFinder& TargetResolver::finder() {
    if (!m_finder)
        m_finder = std::make_unique<NodeFinder>(m_connection, m_maxNodes,
                                                [this](std::size_t count) { m_progress.show(count); });
    return *m_finder;
}

void throwIfArray(const NodeInfo& node) {
    if (node.isArray)
        throw Failure(
            ExitCode::Failed,
            {"the value is an array, " + typeText(node) + "; this command handles single values", {}});
}

} // namespace opcua_cli
