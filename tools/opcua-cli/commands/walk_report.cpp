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
