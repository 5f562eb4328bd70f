#include "monitor/watched.h"

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <variant>

#include "OpcUaHelpers.h"
#include "addressing/browse_tree.h"
#include "output/terminal.h"

namespace opcua_cli {
namespace {

/// What the library keeps apart; further items would push the first ones out.
constexpr std::size_t mostItems = 20000;

/// "Steam drum/Level" for a node below the folder that the walk started in.
std::string nameBelowStart(const Walk& walk, std::size_t index) {
    std::string name = walk.nodes[index].node.name();
    for (std::size_t at = walk.nodes[index].parent; at != 0; at = walk.nodes[at].parent)
        name.insert(0, walk.nodes[at].node.name() + "/");
    return name;
}

/// Arguments of methods are variables of the address space, too, but never change.
bool isToBeWatched(const Walk& walk, std::size_t index) {
    const WalkedNode& walked = walk.nodes[index];
    return walked.node.isVariable() && !walked.repeated && walked.node.nodeIdComplete &&
           walk.nodes[walked.parent].node.nodeClass != OpcUaNodeClass_Method;
}

bool hasElement(const NodeInfo& node, const std::optional<Index>& index) {
    try {
        if (index)
            throwIfOutside(*index, node.dimensions);
        return true;
    } catch (const Failure&) {
        return false;
    }
}

class Collector {
public:
    Collector(Connection& connection, int depth, std::size_t maxNodes)
        : m_connection(connection), m_depth(depth), m_maxNodes(maxNodes) {}

    void add(const Job& job) {
        if (!m_tree)
            m_tree.emplace(m_connection, rootFolderId);
        OpcUaNode* const record = m_tree->find(job.reference, m_maxNodes, m_progress);
        if (record == nullptr) {
            const auto& id = std::get<std::string>(job.reference);
            addVariable(id, unmetNode(id, std::nullopt), job.index);
            return;
        }
        const NodeInfo node = describe(*record);
        if (!node.hasValue()) {
            addFolder(record, job.index);
            return;
        }
        if (!node.nodeIdComplete)
            throw nodeFailure("the id of this node is too long for this program");
        if (job.index)
            throwIfOutside(*job.index, node.dimensions);
        addVariable(node.name(), node, job.index);
    }

    Jobs watched() { return std::move(m_watched); }

private:
    void addFolder(OpcUaNode* record, const std::optional<Index>& index) {
        const Walk found = walk(*m_tree, record, m_depth, m_maxNodes, m_progress);
        if (found.end)
            throw Failure(*found.end);
        bool any = false;
        for (std::size_t i = 1; i < found.nodes.size(); ++i) {
            const NodeInfo& node = found.nodes[i].node;
            if (!isToBeWatched(found, i) || !hasElement(node, index))
                continue;
            any = true;
            addVariable(nameBelowStart(found, i), node, index);
        }
        if (!any)
            throw nodeFailure(index ? "nothing below this node has an element " + indexText(*index)
                                    : "there is no variable below this node",
                              "opcua-cli browse shows nodes, their types and shapes");
        if (!found.complete)
            throw nodeFailure("stopped after " + std::to_string(m_maxNodes) + " nodes below this node",
                              "a node further down, a smaller --depth or a greater --max-nodes");
    }

    void addVariable(const std::string& name, const NodeInfo& node, const std::optional<Index>& index) {
        if (!m_known.insert(node.nodeId).second)
            return;
        if (m_watched.size() >= mostItems)
            throw nodeFailure("more than " + std::to_string(mostItems) +
                                  " nodes cannot be monitored at a time",
                              "several runs, each with a part of them");
        Job watched = jobFor(node);
        watched.given = name;
        watched.index = index;
        m_watched.push_back(std::move(watched));
    }

    Connection& m_connection;
    int m_depth;
    std::size_t m_maxNodes;
    Progress m_progress{"looking for the nodes"};
    std::optional<BrowseTree> m_tree;
    std::unordered_set<std::string> m_known;
    Jobs m_watched;
};

} // namespace

Jobs variablesToWatch(Connection& connection, Jobs& jobs, int depth, std::size_t maxNodes) {
    Collector collector(connection, depth, maxNodes);
    for (Job& job : jobs)
        attempt(job, [&] { collector.add(job); });
    return collector.watched();
}

void makeNamesUnique(Jobs& watched) {
    std::unordered_map<std::string, int> counts;
    for (const Job& job : watched)
        ++counts[job.given];
    for (Job& job : watched)
        if (counts[job.given] > 1)
            job.given += " (" + job.node.nodeId + ")";
}

std::string watchedId(const Job& watched) {
    return watched.node.nodeId + indexText(watched.index.value_or(Index()));
}

std::string watchedType(const Job& watched) {
    if (!watched.node.typeKnown)
        return "?";
    return watched.index ? std::string(typeName(watched.node.dataType)) : typeText(watched.node);
}

std::string watchedValue(const Job& watched, const Value& value) {
    const auto* text = std::get_if<std::string>(&value);
    return isReadAsText(watched) && text != nullptr ? *text : toText(value);
}

_OpcUaDataType deliveredType(const Job& watched, const Value& value) {
    const auto type = static_cast<_OpcUaDataType>(value.index());
    return type == OpcUaDataType_Null || isReadAsText(watched) ? watched.node.dataType : type;
}

} // namespace opcua_cli
