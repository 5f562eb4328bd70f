#include "value_target.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "../interrupt.h"
#include "path_walk.h"
#include "value_access.h"

namespace opcua_cli {
namespace {

/// The id when the node has to be looked for.
const std::string* soughtId(const TargetRequest& request) {
    const bool sought = !request.statedType || request.needsShape;
    return sought ? std::get_if<std::string>(&request.reference) : nullptr;
}

} // namespace

TargetResolver::TargetResolver(Connection& connection, std::size_t maxNodes)
    : m_connection(connection), m_maxNodes(maxNodes) {}

std::vector<ResolvedTarget> TargetResolver::resolve(const std::vector<TargetRequest>& requests) {
    std::vector<ResolvedTarget> targets(requests.size());
    const std::vector<int> resultCodes = tryToRead(requests);
    const Problem notReadable = m_connection.lastProblem();
    for (std::size_t i = 0; i < requests.size(); ++i) {
        throwIfInterrupted();
        if (resultCodes[i] != 0) {
            targets[i].problem = notReadable;
            continue;
        }
        try {
            const auto* path = std::get_if<NodePath>(&requests[i].reference);
            targets[i].target = path != nullptr
                                    ? resolvePath(*path, requests[i])
                                    : resolveId(std::get<std::string>(requests[i].reference), requests[i]);
        } catch (const Failure& failure) {
            if (failure.exitCode() != ExitCode::Failed)
                throw;
            targets[i].problem = failure.problem();
        }
    }
    return targets;
}

/// The result codes of reading those nodes that have to be looked for: a mistyped id fails here at once.
std::vector<int> TargetResolver::tryToRead(const std::vector<TargetRequest>& requests) {
    std::vector<ReadItem> items;
    for (const TargetRequest& request : requests) {
        // Any type will do, the value is not wanted.
        if (const std::string* id = soughtId(request))
            items.push_back({*id, OpcUaDataType_Boolean});
    }
    const std::vector<ReadResult> results = readMany(m_connection, items);
    std::vector<int> resultCodes(requests.size(), 0);
    auto next = results.begin();
    for (std::size_t i = 0; i < requests.size(); ++i) {
        if (soughtId(requests[i]) != nullptr)
            resultCodes[i] = (next++)->resultCode;
    }
    return resultCodes;
}

ValueTarget TargetResolver::resolvePath(const NodePath& path, const TargetRequest& request) {
    ValueTarget target{describe(*followPath(finder().tree(), path).back())};
    NodeInfo& node = target.node;
    if (!node.hasValue())
        throw Failure(ExitCode::Failed,
                      {"this node is of class " + className(node.nodeClass) + " and has no value",
                       "opcua-cli browse to see the variables below it"});
    if (!node.nodeIdComplete)
        throw Failure(ExitCode::Failed, {"the id of this node is too long for this program", {}});
    node.dataType = request.statedType.value_or(node.dataType);
    return target;
}

ValueTarget TargetResolver::resolveId(const std::string& nodeId, const TargetRequest& request) {
    NodeInfo unseen;
    unseen.nodeId = nodeId;
    unseen.dataType = request.statedType.value_or(OpcUaDataType_Null);
    if (soughtId(request) == nullptr)
        return {unseen};
    std::optional<NodeInfo> node = finder().find(nodeId);
    if (!node && request.needsShape)
        throw Failure(ExitCode::Failed, {"the shape of this node was not found",
                                         "the node's path, or --max-nodes to let the search go further"});
    if (!node)
        return {unseen, false};
    node->dataType = request.statedType.value_or(node->dataType);
    return {*node};
}

NodeFinder& TargetResolver::finder() {
    if (!m_finder)
        m_finder = std::make_unique<NodeFinder>(m_connection, m_maxNodes,
                                                [this](std::size_t count) { m_progress.show(count); });
    return *m_finder;
}

} // namespace opcua_cli
