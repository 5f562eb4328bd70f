#include "commands/walk_report.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "output/streams.h"

namespace opcua_cli {

std::optional<std::string> pathOf(const NodeReference& reference, const std::vector<OpcUaNode*>& way) {
    if (!std::holds_alternative<NodePath>(reference))
        return std::nullopt;
    std::string path;
    for (const OpcUaNode* step : way)
        path += pathStepText(describe(*step).browseName);
    return path;
}

std::string pathOf(const Walk& walk, std::size_t index, const std::string& startPath) {
    std::vector<std::size_t> steps;
    for (std::size_t at = index; at != 0; at = walk.nodes[at].parent)
        steps.push_back(at);
    std::string path = startPath;
    for (auto step = steps.rbegin(); step != steps.rend(); ++step)
        path += pathStepText(walk.nodes[*step].node.browseName);
    return path;
}

std::vector<std::size_t> inTreeOrder(const Walk& walk) {
    std::vector<std::size_t> order;
    std::vector<std::size_t> pending{0};
    while (!pending.empty()) {
        const std::size_t index = pending.back();
        pending.pop_back();
        if (index != 0)
            order.push_back(index);
        const std::vector<std::size_t>& children = walk.nodes[index].children;
        pending.insert(pending.end(), children.rbegin(), children.rend());
    }
    return order;
}

std::size_t countWithin(std::size_t mostBytes, const Walk& walk, const std::vector<std::size_t>& nodes,
                        const std::string& startPath) {
    std::vector<std::size_t> sizes(walk.nodes.size());
    sizes[0] = startPath.size();
    std::size_t sum = 0;
    for (std::size_t count = 0; count < nodes.size(); ++count) {
        const WalkedNode& walked = walk.nodes[nodes[count]];
        const std::size_t size = sizes[walked.parent] + pathStepText(walked.node.browseName).size();
        sizes[nodes[count]] = size;
        sum += size;
        if (sum > mostBytes)
            return count;
    }
    return nodes.size();
}

bool endsAtDepth(const Walk& walk, int depth) {
    return std::any_of(walk.nodes.begin(), walk.nodes.end(),
                       [&](const WalkedNode& walked) { return walked.depth >= depth && !walked.repeated; });
}

ExitCode reportWalk(const Walk& walk, const std::string& boundNote) {
    if (walk.end) {
        reportProblem(walk.end->problem());
        return walk.end->exitCode();
    }
    if (!walk.complete)
        reportNote(boundNote);
    std::set<std::string> told;
    for (const WalkedNode& walked : walk.nodes) {
        if (!walked.browseProblem || !told.insert(walked.browseProblem->explanation).second)
            continue;
        Problem problem = *walked.browseProblem;
        problem.explanation += ": " + walked.node.nodeId;
        reportProblem(problem);
    }
    return told.empty() ? ExitCode::Success : ExitCode::Failed;
}

} // namespace opcua_cli
