#include <cstddef>
#include <optional>
#include <string>
#include <unistd.h>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

#include <nlohmann/json.hpp>

#include "OpcUaHelpers.h"
#include "addressing/browse_tree.h"
#include "commands/commands.h"
#include "commands/walk_report.h"
#include "interrupt.h"
#include "monitor/watched.h"
#include "output/streams.h"
#include "output/table.h"
#include "output/terminal.h"
#include "text/drawing.h"
#include "values/value_buffer.h"

namespace opcua_cli {
namespace {

struct BrowseOptions : ConnectOptions {
    std::string node = "/0:Objects";
    int depth = 1;
    bool values = false;
    std::size_t maxNodes = defaultMaxNodes;
};

/// Values by the index of their node; nothing for what cannot be read.
using Values = std::unordered_map<std::size_t, std::optional<Value>>;

struct Findings {
    Walk walk;
    Values values;
    std::optional<std::string> startPath; ///< known only when the user gave a path
};

/// The first failure that ended the work early is kept in the walk. Of texts as much is kept as a table may
/// show, unless they are wanted whole.
void readValues(Connection& connection, bool whole, Findings& findings) {
    Progress progress("reading values");
    try {
        for (std::size_t i = 0; i < findings.walk.nodes.size(); ++i) {
            const NodeInfo& node = findings.walk.nodes[i].node;
            if (!node.isVariable() || node.isArray)
                continue;
            throwIfInterrupted();
            // An id that was cut names no node, or another one.
            std::optional<Value> value =
                node.nodeIdComplete ? readSingle(connection, node.nodeId, node.dataType) : std::nullopt;
            if (value && !whole)
                value = beginningOf(*value);
            findings.values[i] = std::move(value);
            progress.show(i);
        }
    } catch (const Failure& failure) {
        findings.walk.end = failure;
    }
}

Findings explore(const BrowseOptions& options, const NodeReference& start) {
    const auto held = connectionFor(options);
    Connection& connection = *held;
    BrowseTree tree(connection, start);
    const std::vector<OpcUaNode*> way = tree.wayTo(start);
    Findings findings;
    findings.startPath = pathOf(start, way);
    {
        Progress progress("browsing");
        findings.walk = walk(tree, way.back(), options.depth, options.maxNodes, progress);
    }
    if (options.values && !findings.walk.end)
        readValues(connection, options.json, findings);
    return findings;
}

std::string nameOf(const NodeInfo& node) {
    return node.displayName.empty() ? node.browseName : node.displayName;
}

/// The lines that lead to a node in the drawing of the tree: "│  └─ ".
std::string branches(const Walk& walk, std::size_t index) {
    std::string text;
    for (std::size_t at = index; at != 0; at = walk.nodes[at].parent) {
        const bool last = walk.nodes[walk.nodes[at].parent].children.back() == at;
        if (at == index)
            text = last ? drawing().lastBranch : drawing().branch;
        else
            text.insert(0, last ? "   " : drawing().line);
    }
    return text;
}

Cell valueCell(const Findings& findings, std::size_t index) {
    const WalkedNode& walked = findings.walk.nodes[index];
    if (walked.browseProblem)
        return {"cannot be browsed", Tone::Bad};
    if (walked.repeated && walked.node.nodeClass == OpcUaNodeClass_Object)
        return {"see above", Tone::Faint};
    const auto value = findings.values.find(index);
    if (value == findings.values.end())
        return "";
    if (!value->second)
        return {"not readable", Tone::Faint};
    // What the library doesn't convert comes as its text form.
    const auto* text = std::get_if<std::string>(&*value->second);
    return walked.node.dataType == OpcUaDataType_Null && text != nullptr ? *text : toText(*value->second);
}

std::string tableReport(const Findings& findings) {
    const Walk& walk = findings.walk;
    Table table({{"Name"}, {"Node id", false}, {"Class"}, {"Type"}, {"Value"}});
    const NodeInfo& start = walk.nodes[0].node;
    const std::string startName = start.nodeClass == 0 ? "(start)" : nameOf(start);
    table.add({startName, start.nodeId, className(start.nodeClass), typeText(start), valueCell(findings, 0)});
    for (const std::size_t index : inTreeOrder(walk)) {
        const NodeInfo& node = walk.nodes[index].node;
        table.add({branches(walk, index) + nameOf(node),
                   node.nodeId,
                   {className(node.nodeClass), Tone::Faint},
                   typeText(node),
                   valueCell(findings, index)});
    }
    const Terminal terminal = terminalOn(STDOUT_FILENO);
    const std::size_t count = walk.nodes.size() - 1;
    const std::string summary = std::to_string(count) + (count == 1 ? " node" : " nodes") + " below";
    return table.renderFolded(terminal) + terminal.paint(summary, Tone::Faint) + "\n";
}

Json nodeJson(const Findings& findings, std::size_t index) {
    const WalkedNode& walked = findings.walk.nodes[index];
    Json json = toJson(walked.node);
    json["parentId"] = findings.walk.nodes[walked.parent].node.nodeId;
    json["depth"] = walked.depth;
    json["path"] = findings.startPath ? Json(pathOf(findings.walk, index, *findings.startPath)) : Json();
    json["repeated"] = walked.repeated;
    json["browseError"] = toJson(walked.browseProblem);
    const auto value = findings.values.find(index);
    if (value != findings.values.end()) {
        json["value"] = toJson(value->second.value_or(Value()));
        json["readable"] = value->second.has_value();
    }
    return json;
}

/// The nodes of a document.
std::vector<std::size_t> nodesWithRoom(const Findings& findings) {
    std::vector<std::size_t> nodes = inTreeOrder(findings.walk);
    if (findings.startPath)
        nodes.resize(countWithin(mostPathBytes, findings.walk, nodes, *findings.startPath));
    return nodes;
}

std::string jsonReport(const BrowseOptions& options, const Findings& findings) {
    const Walk& walk = findings.walk;
    Json nodes = Json::array();
    for (const std::size_t index : nodesWithRoom(findings))
        nodes.push_back(nodeJson(findings, index));
    const std::size_t left = walk.nodes.size() - 1 - nodes.size();
    if (left != 0)
        reportNote("the paths are longer than a document may be; " + std::to_string(left) +
                   " nodes are left out; a NODE further down or a smaller --depth has shorter ones");
    Json json{{"url", options.url},
              {"start", walk.nodes[0].node.nodeId},
              {"nodes", std::move(nodes)},
              {"complete", walk.complete && !walk.end && left == 0}};
    if (walk.end)
        json["error"] = toJson(walk.end->problem());
    return document(json);
}

ExitCode runBrowse(const BrowseOptions& options) {
    const Findings findings = explore(options, parseNodeReference(options.node));
    writeOutput(options.json ? jsonReport(options, findings) : tableReport(findings));
    return reportWalk(findings.walk, "stopped after " + std::to_string(options.maxNodes) +
                                         " nodes; --max-nodes sets another bound, a NODE further down or a "
                                         "smaller --depth a smaller tree");
}

constexpr const char* browseExamples = R"(Examples:
  opcua-cli browse plant:4840                                what the Objects folder holds
  opcua-cli browse plant:4840 /Plant/Line1 --depth 3 --values
  opcua-cli browse plant:4840 'ns=2;s=Line1'                 in quotes: the shell would cut at ;
  opcua-cli browse plant:4840 i=84                           from the very root
  opcua-cli browse plant:4840 --depth 9 --json | jq -r '.nodes[] | select(.class=="Variable") | .path')";

} // namespace

void addBrowseCommand(Program& program, Action& chosen) {
    auto [command, options] = addCommand<BrowseOptions>(
        program, chosen, runBrowse, "browse", "Show the nodes of a server as a tree", browseExamples);
    addConnectOptions(command, options);
    command.addPositional("NODE", &options.node,
                          "Where to start: node id or path (default: the Objects folder)");
    command.addOption("--depth", "N", &options.depth, "Levels to show below it, 1 to 100 (default: 1)",
                      inRange(1, greatestWalkDepth));
    command.addFlag("--values", &options.values, "Read the values of the variables, too");
    addMaxNodesOption(command, options.maxNodes, "Stop after so many nodes");
}

} // namespace opcua_cli
