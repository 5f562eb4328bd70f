#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "addressing/browse_tree.h"
#include "interrupt.h"
#include "output/terminal.h"
#include "values/job.h"

namespace opcua_cli {
namespace {

bool needsShape(const Job& job) {
    return job.index || (job.givenValue && isWholeArray(*job.givenValue));
}

[[noreturn]] void throwUnknownShape() {
    throw nodeFailure("the shape of this node was not found",
                      "the node's path, or --max-nodes to let the search go further");
}

/// The id of a node that has to be looked for; else empty.
std::string soughtId(const Job& job) {
    const auto* id = std::get_if<std::string>(&job.reference);
    return id != nullptr && (!job.type || needsShape(job)) ? *id : "";
}

/// Everything about the node but a type that is stated.
NodeInfo lookUp(BrowseTree& tree, const Job& job, std::size_t maxNodes, Progress& progress) {
    const auto* id = std::get_if<std::string>(&job.reference);
    const OpcUaNode* record = tree.find(job.reference, maxNodes, progress);
    // The start is nobody's child here, so that class and type are missing.
    const bool isMet = record != nullptr && record != tree.start();
    if (id != nullptr && !isMet && needsShape(job))
        throwUnknownShape();
    if (id != nullptr && !isMet)
        return unmetNode(*id, job.type);
    NodeInfo node = describe(*record);
    if (id == nullptr && !node.hasValue())
        throw nodeFailure("this node is of class " + className(node.nodeClass) + " and has no value",
                          "opcua-cli browse to see the variables below it");
    if (id == nullptr && !node.nodeIdComplete)
        throw nodeFailure("the id of this node is too long for this program");
    return node;
}

/// A mistyped id fails here at once.
void refuseUnreadable(Connection& connection, Jobs& jobs) {
    std::vector<std::string> ids;
    for (const Job& job : jobs)
        ids.push_back(soughtId(job));
    const std::vector<std::optional<Problem>> problems = unreadable(connection, ids);
    for (std::size_t i = 0; i < jobs.size(); ++i)
        jobs[i].problem = problems[i];
}

} // namespace

void resolve(Connection& connection, Jobs& jobs, std::size_t maxNodes) {
    refuseUnreadable(connection, jobs);
    Progress progress("looking for the type");
    std::optional<BrowseTree> tree;
    for (Job& job : jobs) {
        throwIfInterrupted();
        attempt(job, [&] {
            const auto* id = std::get_if<std::string>(&job.reference);
            if (id != nullptr && soughtId(job).empty()) {
                job.node = unmetNode(*id, job.type);
                return;
            }
            if (!tree)
                tree.emplace(connection, rootFolderId);
            job.node = lookUp(*tree, job, maxNodes, progress);
            job.node.dataType = job.type.value_or(job.node.dataType);
        });
    }
}

Shape presentShape(Connection& connection, const std::string& nodeId, std::size_t maxNodes) {
    BrowseTree tree(connection, rootFolderId);
    Progress progress("looking for the shape");
    const OpcUaNode* const record = tree.find(nodeId, maxNodes, progress);
    if (record == nullptr || record == tree.start())
        throwUnknownShape();
    return describe(*record).dimensions;
}

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
