#include "commands/walk_report.h"

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
    std::string path;
    for (std::size_t at = index; at != 0; at = walk.nodes[at].parent)
        path.insert(0, pathStepText(walk.nodes[at].node.browseName));
    return startPath + path;
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
