#include "watch_list.h"

#include "../nodes/path_walk.h"
#include "../nodes/tree_walk.h"
#include "../nodes/value.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

namespace opcua_cli {
namespace {

constexpr int methodClass = 4;
/// What the library keeps apart; further items would push the first ones out.
constexpr std::size_t mostItems = 20000;

const char* const browseAdvice = "opcua-cli browse shows nodes, their types and shapes";

std::string nameOf(const NodeInfo& node) {
    if (!node.displayName.empty())
        return node.displayName;
    return node.browseName.empty() ? node.nodeId : node.browseName;
}

/// "Steam drum/Level" for a node below the folder that the walk started in.
std::string nameBelowStart(const Walk& walk, std::size_t index) {
    std::string name = nameOf(walk.nodes[index].node);
    for (std::size_t at = walk.nodes[index].parent; at != 0; at = walk.nodes[at].parent)
        name.insert(0, nameOf(walk.nodes[at].node) + "/");
    return name;
}

/// Arguments of methods are variables of the address space, too, but never change.
bool isToBeWatched(const Walk& walk, std::size_t index) {
    const WalkedNode& walked = walk.nodes[index];
    return walked.node.isVariable() && !walked.repeated && walked.node.nodeIdComplete &&
           walk.nodes[walked.parent].node.nodeClass != methodClass;
}

} // namespace

std::string WatchedNode::typeText(const std::optional<Index>& index) const {
    if (!typeKnown)
        return "?";
    return index ? std::string(typeName(node.dataType)) : opcua_cli::typeText(node);
}

std::string WatchedNode::valueText(const Value& value) const {
    const auto* text = std::get_if<std::string>(&value);
    return readAsText() && text != nullptr ? *text : toText(value);
}

WatchListMaker::WatchListMaker(Connection& connection, Bounds bounds, std::optional<Index> index)
    : m_connection(connection), m_bounds(bounds), m_index(std::move(index)) {}

void WatchListMaker::add(const std::string& given, const NodeReference& reference) {
    try {
        const auto* path = std::get_if<NodePath>(&reference);
        if (path != nullptr)
            addPath(*path);
        else
            addId(std::get<std::string>(reference));
    } catch (const Failure& failure) {
        if (failure.exitCode() != ExitCode::Failed)
            throw;
        Problem problem = failure.problem();
        problem.explanation = given + ": " + problem.explanation;
        m_list.problems.push_back(std::move(problem));
    }
}

void WatchListMaker::addPath(const NodePath& path) {
    addRecord(followPath(finder().tree(), path).back());
}

void WatchListMaker::addId(const std::string& nodeId) {
    OpcUaNode* const record = finder().findRecord(nodeId);
    if (record != nullptr) {
        addRecord(record);
        return;
    }
    WatchedNode unseen;
    unseen.name = nodeId;
    unseen.node.nodeId = nodeId;
    unseen.typeKnown = false;
    addVariable(std::move(unseen));
}

void WatchListMaker::addRecord(OpcUaNode* record) {
    WatchedNode watched;
    watched.node = describe(*record);
    if (!watched.node.hasValue()) {
        addFolder(record);
        return;
    }
    if (!watched.node.nodeIdComplete)
        throw Failure(ExitCode::Failed, {"the id of this node is too long for this program", {}});
    if (m_index)
        throwIfOutside(*m_index, watched.node.dimensions);
    watched.name = nameOf(watched.node);
    addVariable(std::move(watched));
}

void WatchListMaker::addFolder(OpcUaNode* record) {
    const Walk found = walk(finder().tree(), m_connection, record, m_bounds.depth, m_bounds.maxNodes,
                            [this](std::size_t count) { m_progress.show(count); });
    if (found.end)
        throw Failure(*found.end);
    bool any = false;
    for (std::size_t i = 1; i < found.nodes.size(); ++i) {
        const NodeInfo& node = found.nodes[i].node;
        if (!isToBeWatched(found, i) || !hasElement(node))
            continue;
        any = true;
        addVariable({nameBelowStart(found, i), node});
    }
    if (!any)
        throw Failure(ExitCode::Failed,
                      {m_index ? "nothing below this node has an element " + indexText(*m_index)
                               : "there is no variable below this node",
                       browseAdvice});
    if (!found.complete)
        throw Failure(ExitCode::Failed,
                      {"stopped after " + std::to_string(m_bounds.maxNodes) + " nodes below this node",
                       "a node further down, a smaller --depth or a greater --max-nodes"});
}

void WatchListMaker::addVariable(WatchedNode watched) {
    if (!m_known.insert(watched.node.nodeId).second)
        return;
    if (m_list.nodes.size() >= mostItems)
        throw Failure(ExitCode::Failed,
                      {"more than " + std::to_string(mostItems) + " nodes cannot be monitored at a time",
                       "several runs, each with a part of them"});
    m_list.nodes.push_back(std::move(watched));
}

bool WatchListMaker::hasElement(const NodeInfo& node) const {
    if (!m_index)
        return true;
    try {
        throwIfOutside(*m_index, node.dimensions);
        return true;
    } catch (const Failure&) {
        return false;
    }
}

NodeFinder& WatchListMaker::finder() {
    if (!m_finder)
        m_finder = std::make_unique<NodeFinder>(m_connection, m_bounds.maxNodes,
                                                [this](std::size_t count) { m_progress.show(count); });
    return *m_finder;
}

void makeNamesUnique(std::vector<WatchedNode>& nodes) {
    std::unordered_map<std::string, int> counts;
    for (const WatchedNode& watched : nodes)
        ++counts[watched.name];
    for (WatchedNode& watched : nodes) {
        if (counts[watched.name] > 1)
            watched.name += " (" + watched.node.nodeId + ")";
    }
}

} // namespace opcua_cli
