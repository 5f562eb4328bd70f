#include "addressing/browse_tree.h"

#include <algorithm>
#include <cstddef>
#include <queue>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "OpcUaHelpers.h"
#include "addressing/node_info.h"
#include "addressing/search_rank.h"
#include "interrupt.h"

namespace opcua_cli {
namespace {

using Children = std::vector<OpcUaNode*>;

/// The child with that browse name, or null.
OpcUaNode* childNamed(const Children& children, const PathStep& step) {
    OpcUaNode* match = nullptr;
    for (OpcUaNode* child : children) {
        const NodeInfo node = describe(*child);
        if (!matches(step, node.browseName))
            continue;
        const NodeInfo other = describe(match != nullptr ? *match : *child);
        if (other.nodeId != node.nodeId)
            throw nodeFailure("\"" + step.name + "\" has several meanings here: " + other.browseName + " (" +
                                  other.nodeId + ") and " + node.browseName + " (" + node.nodeId + ")",
                              "the name with its namespace index, or the node id");
        match = child;
    }
    return match;
}

OpcUaNode* childWithId(const Children& children, const std::string& nodeId) {
    const auto found = std::find_if(children.begin(), children.end(), [&](const OpcUaNode* child) {
        return describe(*child).nodeId == nodeId;
    });
    return found == children.end() ? nullptr : *found;
}

std::string names(const Children& children) {
    constexpr std::size_t mostNames = 12;
    std::set<std::string> sorted;
    for (const OpcUaNode* child : children)
        sorted.insert(pathStepText(describe(*child).browseName).substr(1));
    std::string text;
    std::size_t count = 0;
    for (const std::string& name : sorted) {
        if (++count > mostNames)
            return text + ", ...";
        text += (count == 1 ? "one of " : ", ") + name;
    }
    return text;
}

} // namespace

BrowseTree::BrowseTree(Connection& connection, const NodeReference& reference)
    : m_connection(connection), m_first(connection.client().OpcUaReadRootNode() == nullptr) {
    const auto* id = std::get_if<std::string>(&reference);
    const std::string startId = id != nullptr ? *id : rootFolderId;
    OpcUaNode record = OpcUaMakeNode(startId, OpcUaDataType_Null);
    // Without a record the tree that was begins anew, in the Root folder.
    const int code = connection.client().OpcUaBrowse(m_first ? &record : nullptr);
    connection.throwIfLost(code);
    if (code != 0)
        throw Failure(ExitCode::Failed, connection.problemOfBrowse(startId));
    // The first browse of a connection hangs what it finds under a record of the library's own.
    m_start = connection.client().OpcUaReadRootNode();
    m_browsed.insert(m_start);
}

BrowseTree::Level BrowseTree::expand(OpcUaNode* record) {
    throwIfInterrupted();
    Level level;
    if (m_browsed.insert(record).second) {
        const int code = m_connection.client().OpcUaBrowse(record);
        m_connection.throwIfLost(code);
        if (code != 0)
            level.problem = m_connection.lastProblem();
    }
    for (OpcUaNode* child = record->child; child != nullptr; child = child->next)
        level.children.push_back(child);
    return level;
}

std::vector<OpcUaNode*> BrowseTree::wayTo(const NodeReference& reference) {
    const auto* id = std::get_if<std::string>(&reference);
    if (id == nullptr)
        return follow(std::get<NodePath>(reference));
    if (m_first)
        return {m_start};
    Progress progress("looking for the node");
    OpcUaNode* const record = search(*id, defaultMaxNodes, progress);
    if (record == nullptr)
        throw nodeFailure(*id + " was not found in the address space", "its path");
    return {record};
}

OpcUaNode* BrowseTree::find(const NodeReference& reference, std::size_t maxNodes, Progress& progress) {
    const auto* id = std::get_if<std::string>(&reference);
    return id != nullptr ? search(*id, maxNodes, progress) : wayTo(reference).back();
}

std::vector<OpcUaNode*> BrowseTree::follow(const NodePath& path) {
    std::vector<OpcUaNode*> way;
    for (const PathStep& step : path) {
        Children children = expand(way.empty() ? m_start : way.back()).children;
        OpcUaNode* next = childNamed(children, step);
        OpcUaNode* const objects =
            next == nullptr && way.empty() ? childWithId(children, objectsFolderId) : nullptr;
        if (objects != nullptr) {
            children = expand(objects).children;
            next = childNamed(children, step);
            way.push_back(objects);
        }
        if (next == nullptr)
            throw nodeFailure(
                "there is no \"" + step.name + "\" below " +
                    (way.empty() ? "the Root and Objects folders" : describe(*way.back()).displayName),
                children.empty() ? "its parent: it has no children" : names(children));
        way.push_back(next);
    }
    return way;
}

/// Takes the children of a record into account. A branch that the server refuses to show is left out.
void BrowseTree::look(OpcUaNode* record, Progress& progress) {
    for (OpcUaNode* child : expand(record).children) {
        const NodeInfo node = describe(*child);
        if (node.nodeIdComplete && m_seen.emplace(node.nodeId, child).second)
            m_frontier.push_back(child);
    }
    progress.show(m_seen.size());
}

OpcUaNode* BrowseTree::search(const std::string& nodeId, std::size_t maxNodes, Progress& progress) {
    struct Candidate {
        int rank;
        std::size_t order; // earlier ones first: closer to the root
        OpcUaNode* record;
        bool operator<(const Candidate& other) const {
            return rank != other.rank ? rank < other.rank : order > other.order;
        }
    };
    std::priority_queue<Candidate> candidates;
    std::size_t taken = 0;
    const auto takeNew = [&] {
        for (; taken < m_frontier.size(); ++taken)
            candidates.push({searchRank(nodeId, describe(*m_frontier[taken])), taken, m_frontier[taken]});
    };
    std::set<const OpcUaNode*> looked;
    if (m_seen.emplace(rootFolderId, m_start).second)
        look(m_start, progress);
    auto found = m_seen.find(nodeId);
    takeNew();
    while (found == m_seen.end() && !candidates.empty() && m_seen.size() + m_browsed.size() < maxNodes) {
        OpcUaNode* const record = candidates.top().record;
        candidates.pop();
        look(record, progress);
        looked.insert(record);
        takeNew();
        found = m_seen.find(nodeId);
    }
    m_frontier.erase(std::remove_if(m_frontier.begin(), m_frontier.end(),
                                    [&](const OpcUaNode* record) { return looked.count(record) != 0; }),
                     m_frontier.end());
    return found == m_seen.end() ? nullptr : found->second;
}

} // namespace opcua_cli
