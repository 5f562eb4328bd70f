#include "folder.h"

#include "../output/progress.h"
#include "path_walk.h"
#include "tree_walk.h"

#include <cstddef>
#include <limits>
#include <string>
#include <variant>

namespace opcua_cli {

Folder exploreFolder(Connection& connection, const NodeReference& reference, std::size_t maxNodes) {
    const auto* path = std::get_if<NodePath>(&reference);
    BrowseTree tree(connection, path != nullptr ? rootFolderId : std::get<std::string>(reference));
    OpcUaNode* const start = path != nullptr ? followPath(tree, *path).back() : tree.start();
    Progress progress("browsing");
    const Walk found = walk(tree, connection, start, std::numeric_limits<int>::max(), maxNodes,
                            [&](std::size_t count) { progress.show(count); });
    if (found.end)
        throw Failure(*found.end);
    Folder folder{path != nullptr ? describe(*start).nodeId : std::get<std::string>(reference)};
    folder.complete = found.complete;
    for (const WalkedNode& walked : found.nodes) {
        if (walked.browseProblem)
            folder.unbrowsed.push_back({walked.node, *walked.browseProblem});
        if (walked.node.isVariable() && !walked.repeated)
            folder.variables.push_back(walked.node);
    }
    return folder;
}

} // namespace opcua_cli
