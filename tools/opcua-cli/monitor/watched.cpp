#include "monitor/watched.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

#include "OpcUaHelpers.h"
#include "addressing/browse_tree.h"
#include "output/terminal.h"
#include "text/drawing.h"
#include "text/utf8.h"

namespace opcua_cli {
namespace {

/// What the library keeps apart; further items would push the first ones out.
constexpr std::size_t mostItems = 20000;

/// "Steam drum/Level" for a node below the folder that the walk started in.
std::string nameBelowStart(const Walk& walk, std::size_t index) {
    std::string name = walk.nodes[index].node.name();
    // The start is its own parent.
    for (std::size_t at = walk.nodes[index].parent; at != 0; at = walk.nodes[at].parent)
        name.insert(0, walk.nodes[at].node.name() + "/");
    return name;
}

/// Arguments of methods are variables of the address space, too, but never change.
bool isToBeWatched(const Walk& walk, std::size_t index) {
    const WalkedNode& walked = walk.nodes[index];
    return walked.node.isVariable() && !walked.repeated &&
           walk.nodes[walked.parent].node.nodeClass != OpcUaNodeClass_Method;
}

constexpr const char* tooLongId = "the id of this node is too long for this program";

/// What a folder holds and nobody follows; of what has the same reason the first is named, the others
/// counted.
class Unfollowed {
public:
    void add(const std::string& name, const Problem& problem) {
        const auto [place, isNew] = m_places.emplace(problem.explanation, m_kinds.size());
        if (isNew)
            m_kinds.push_back({namedProblem(name, problem), 0});
        else
            ++m_kinds[place->second].others;
    }

    bool empty() const { return m_kinds.empty(); }

    std::vector<Problem> problems() const {
        std::vector<Problem> problems;
        for (const auto& [first, others] : m_kinds) {
            problems.push_back(first);
            if (others != 0)
                problems.back().explanation += " (and " + std::to_string(others) + " more like it)";
        }
        return problems;
    }

private:
    struct Kind {
        Problem first;
        std::size_t others;
    };

    std::vector<Kind> m_kinds;
    std::unordered_map<std::string, std::size_t> m_places;
};

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
            m_watched.add(id, unmetNode(id, std::nullopt), job.index);
            return;
        }
        const NodeInfo node = describe(*record);
        if (!node.hasValue()) {
            addFolder(record, job);
            return;
        }
        if (!node.nodeIdComplete)
            throw nodeFailure(tooLongId);
        if (job.index)
            throwIfOutside(*job.index, node.dimensions);
        m_watched.add(node.name(), node, job.index);
    }

    Jobs watched() { return m_watched.take(); }
    Jobs leftOut() { return std::move(m_leftOut); }

private:
    void addFolder(OpcUaNode* record, const Job& folder) {
        const Walk found = walk(*m_tree, record, m_depth, m_maxNodes, m_progress);
        if (found.end)
            throw Failure(*found.end);
        Unfollowed unfollowed;
        const bool any = addVariables(found, folder.index, unfollowed);
        for (const Problem& problem : unfollowed.problems()) {
            m_leftOut.push_back(folder);
            m_leftOut.back().problem = problem;
        }
        if (!any && unfollowed.empty())
            throw nodeFailure(folder.index
                                  ? "nothing below this node has an element " + indexText(*folder.index)
                                  : "there is no variable below this node",
                              "opcua-cli browse shows nodes, their types and shapes");
        if (!found.complete)
            throw nodeFailure("stopped after " + std::to_string(m_maxNodes) + " nodes below this node",
                              "a node further down, a smaller --depth or a greater --max-nodes");
    }

    /// False when there was none.
    bool addVariables(const Walk& found, const std::optional<Index>& index, Unfollowed& unfollowed) {
        bool any = false;
        for (std::size_t i = 0; i < found.nodes.size(); ++i) {
            const WalkedNode& walked = found.nodes[i];
            if (walked.browseProblem)
                unfollowed.add("below " + nameBelowStart(found, i), *walked.browseProblem);
            if (i == 0 || !isToBeWatched(found, i) || !hasElement(walked.node, index))
                continue;
            if (walked.node.nodeIdComplete)
                m_watched.add(nameBelowStart(found, i), walked.node, index);
            else
                unfollowed.add(nameBelowStart(found, i), Problem{tooLongId});
            any = any || walked.node.nodeIdComplete;
        }
        return any;
    }

    Connection& m_connection;
    int m_depth;
    std::size_t m_maxNodes;
    Progress m_progress{"looking for the nodes"};
    std::optional<BrowseTree> m_tree;
    WatchList m_watched;
    Jobs m_leftOut;
};

} // namespace

Jobs variablesToWatch(Connection& connection, Jobs& jobs, int depth, std::size_t maxNodes) {
    Collector collector(connection, depth, maxNodes);
    for (Job& job : jobs)
        attempt(job, [&] { collector.add(job); });
    Jobs leftOut = collector.leftOut();
    std::move(leftOut.begin(), leftOut.end(), std::back_inserter(jobs));
    return collector.watched();
}

void WatchList::add(const std::string& name, const NodeInfo& node, const std::optional<Index>& index) {
    if (!m_known.insert(node.nodeId).second)
        return;
    if (m_watched.size() >= mostItems)
        throw nodeFailure("more than " + std::to_string(mostItems) + " nodes cannot be monitored at a time",
                          "several runs, each with a part of them");
    if (name.size() > m_nameRoom)
        throw nodeFailure("after " + std::to_string(m_watched.size()) +
                              " nodes there is no room for the names of more: they are too long together",
                          "several runs, nodes further down or a smaller --depth");
    m_nameRoom -= name.size();
    Job watched = jobFor(node);
    watched.given = name;
    watched.index = index;
    m_watched.push_back(std::move(watched));
}

void makeNamesUnique(Jobs& watched) {
    std::unordered_map<std::string_view, int> counts;
    for (const Job& job : watched)
        ++counts[job.given];
    std::vector<Job*> alike;
    for (Job& job : watched)
        if (counts[job.given] > 1)
            alike.push_back(&job);
    for (Job* job : alike)
        job->given += " (" + job->node.nodeId + ")";
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

std::string beginningOf(const std::string& text) {
    constexpr std::size_t mostBytes = 4096;
    if (text.size() <= mostBytes)
        return text;
    return std::string(withoutCutCharacter(std::string_view(text).substr(0, mostBytes))) + drawing().dots;
}

Value beginningOf(const Value& value) {
    const auto* text = std::get_if<std::string>(&value);
    return text != nullptr ? Value(beginningOf(*text)) : value;
}

_OpcUaDataType deliveredType(const Job& watched, const Value& value) {
    const auto type = static_cast<_OpcUaDataType>(value.index());
    return type == OpcUaDataType_Null || isReadAsText(watched) ? watched.node.dataType : type;
}

} // namespace opcua_cli
