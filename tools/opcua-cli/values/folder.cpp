#include "values/folder.h"

#include "addressing/browse_tree.h"
#include "addressing/tree_walk.h"
#include "output/progress.h"

#include <cstddef>
#include <limits>
#include <string>
#include <variant>

namespace opcua_cli {

Folder exploreFolder(Connection& connection, const NodeReference& reference, std::size_t maxNodes) {
    BrowseTree tree(connection, reference);
    OpcUaNode* const start = tree.wayTo(reference).back();
    Progress progress("browsing");
    const Walk found = walk(tree, start, std::numeric_limits<int>::max(), maxNodes, progress);
    if (found.end)
        throw Failure(*found.end);
    const auto* id = std::get_if<std::string>(&reference);
    Folder folder{id != nullptr ? *id : describe(*start).nodeId};
    folder.complete = found.complete;
    for (const WalkedNode& walked : found.nodes) {
        if (walked.browseProblem) {
            folder.unbrowsed.push_back(jobFor(walked.node));
            folder.unbrowsed.back().problem = walked.browseProblem;
        }
        if (walked.node.isVariable() && !walked.repeated)
            folder.variables.push_back(jobFor(walked.node));
    }
    return folder;
}

} // namespace opcua_cli
