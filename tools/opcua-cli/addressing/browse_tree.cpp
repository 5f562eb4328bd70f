#include "addressing/browse_tree.h"

#include <algorithm>
#include <cstddef>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "OpcUaHelpers.h"
#include "addressing/node_finder.h"
#include "addressing/node_info.h"
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
    const auto* path = std::get_if<NodePath>(&reference);
    if (path != nullptr)
        return follow(*path);
    return {m_first ? m_start : search(std::get<std::string>(reference))};
}

OpcUaNode* BrowseTree::search(const std::string& nodeId) {
    Progress progress("looking for the node");
    OpcUaNode* const record = NodeFinder(*this, defaultMaxNodes, progress).find(nodeId);
    if (record == nullptr)
        throw nodeFailure(nodeId + " was not found in the address space", "its path");
    return record;
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

} // namespace opcua_cli
