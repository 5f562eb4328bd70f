#include "path_walk.h"

#include "node_info.h"

#include <algorithm>
#include <cstddef>
#include <set>
#include <string>
#include <vector>

namespace opcua_cli {
namespace {

using Children = std::vector<OpcUaNode*>;

[[noreturn]] void refuseAmbiguity(const PathStep& step, const NodeInfo& one, const NodeInfo& other) {
    throw Failure(ExitCode::Failed,
                  {"\"" + step.name + "\" has several meanings here: " + one.browseName + " (" + one.nodeId +
                       ") and " + other.browseName + " (" + other.nodeId + ")",
                   "the name with its namespace index, or the node id"});
}

/// The child with that browse name, or null.
OpcUaNode* childNamed(const Children& children, const PathStep& step) {
    OpcUaNode* match = nullptr;
    for (OpcUaNode* child : children) {
        const NodeInfo node = describe(*child);
        if (!matches(step, node.browseName))
            continue;
        if (match != nullptr && describe(*match).nodeId != node.nodeId)
            refuseAmbiguity(step, describe(*match), node);
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

[[noreturn]] void refuseStep(const PathStep& step, const std::vector<OpcUaNode*>& way,
                             const Children& children) {
    const std::string parent =
        way.empty() ? "the Root and Objects folders" : describe(*way.back()).displayName;
    throw Failure(ExitCode::Failed, {"there is no \"" + step.name + "\" below " + parent,
                                     children.empty() ? "its parent: it has no children" : names(children)});
}

} // namespace

std::vector<OpcUaNode*> followPath(BrowseTree& tree, const NodePath& path) {
    std::vector<OpcUaNode*> way;
    for (const PathStep& step : path) {
        Children children = tree.expand(way.empty() ? tree.start() : way.back()).children;
        OpcUaNode* next = childNamed(children, step);
        if (next == nullptr && way.empty()) {
            OpcUaNode* const objects = childWithId(children, objectsFolderId);
            if (objects != nullptr) {
                children = tree.expand(objects).children;
                next = childNamed(children, step);
                way.push_back(objects);
            }
        }
        if (next == nullptr)
            refuseStep(step, way, children);
        way.push_back(next);
    }
    return way;
}

} // namespace opcua_cli
