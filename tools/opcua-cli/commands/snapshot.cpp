#include "commands.h"

#include "../formats/snapshot_file.h"
#include "../formats/text_file.h"
#include "../nodes/folder.h"
#include "../output/streams.h"
#include "../output/table.h"
#include "../text/time_text.h"
#include "value_options.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <unistd.h>
#include <utility>
#include <variant>
#include <vector>

namespace opcua_cli {
namespace {

struct SnapshotOptions : ConnectOptions {
    std::string folder;
    std::string file; ///< empty for standard output
    std::size_t maxNodes = defaultMaxNodes;
    std::size_t maxElements = defaultMaxElements;
};

/// Why a variable without a type has none: the library tells no difference between a value that it cannot
/// read and one that it cannot convert.
void explainUntyped(Connection& connection, const std::vector<NodeInfo>& untyped, Snapshot& snapshot) {
    std::vector<ReadItem> items;
    for (const NodeInfo& node : untyped)
        items.push_back({node.nodeId, OpcUaDataType_Boolean});
    const std::vector<ReadResult> results = readMany(connection, items);
    for (std::size_t i = 0; i < untyped.size(); ++i) {
        if (results[i].resultCode != 0)
            snapshot.leftOut.push_back({untyped[i], connection.lastProblem().explanation, true});
        else
            snapshot.leftOut.push_back({untyped[i], "empty, or of none of the twelve types", false});
    }
}

/// Why a value that was read could not be written back, if so: a text may be none that the library takes.
std::optional<std::string> obstacleTo(const NodeValue& value) {
    try {
        for (const Value& element : value.elements) {
            if (const auto* text = std::get_if<std::string>(&element))
                parseValue(OpcUaDataType_String, *text);
        }
    } catch (const Failure& failure) {
        return failure.problem().explanation;
    }
    return std::nullopt;
}

void readVariables(Connection& connection, const SnapshotOptions& options, const Folder& folder,
                   Snapshot& snapshot) {
    std::vector<NodeToRead> nodes;
    std::vector<NodeInfo> untyped;
    for (const NodeInfo& node : folder.variables) {
        if (!node.nodeIdComplete)
            snapshot.leftOut.push_back({node, "its id is too long for this program", true});
        else if (node.dataType == OpcUaDataType_Null)
            untyped.push_back(node);
        else
            nodes.push_back({node, std::nullopt});
    }
    explainUntyped(connection, untyped, snapshot);
    std::vector<NodeReading> readings = readNodes(connection, nodes, options.maxElements);
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        if (readings[i].problem)
            snapshot.leftOut.push_back({nodes[i].node, readings[i].problem->explanation, true});
        else if (const auto obstacle = obstacleTo(readings[i].value))
            snapshot.leftOut.push_back({nodes[i].node, *obstacle, true});
        else
            snapshot.nodes.push_back({nodes[i].node, std::move(readings[i].value)});
    }
}

Snapshot take(const SnapshotOptions& options, const NodeReference& reference) {
    Connection connection(options);
    const Folder folder = exploreFolder(connection, reference, options.maxNodes);
    Snapshot snapshot{options.url, options.folder, folder.nodeId,
                      utcSecondsText(std::chrono::system_clock::now()), folder.complete};
    for (const UnbrowsedNode& unbrowsed : folder.unbrowsed)
        snapshot.leftOut.push_back({unbrowsed.node, unbrowsed.problem.explanation, true});
    readVariables(connection, options, folder, snapshot);
    return snapshot;
}

std::string tableReport(const SnapshotOptions& options, const Snapshot& snapshot) {
    const Terminal terminal = terminalOn(STDOUT_FILENO);
    Table table({{"Left out", false}, {"Name"}, {"Type"}, {"Why"}});
    for (const LeftOutNode& node : snapshot.leftOut)
        table.add({node.node.nodeId,
                   node.node.displayName,
                   typeText(node.node),
                   {node.reason, node.failed ? Tone::Bad : Tone::Faint}});
    return (table.empty() ? "" : table.render(terminal)) +
           terminal.paint(std::to_string(snapshot.nodes.size()) + " values in " + options.file, Tone::Good) +
           "\n";
}

std::string jsonReport(const SnapshotOptions& options, const Snapshot& snapshot) {
    Json leftOut = Json::array();
    for (const LeftOutNode& node : snapshot.leftOut)
        leftOut.push_back(toJson(node));
    return document({{"url", options.url},
                     {"folder", options.folder},
                     {"file", options.file},
                     {"values", snapshot.nodes.size()},
                     {"complete", snapshot.complete},
                     {"leftOut", std::move(leftOut)}});
}

void store(const SnapshotOptions& options, const Snapshot& snapshot) {
    if (options.file.empty()) {
        writeOutput(snapshotText(snapshot));
        return;
    }
    writeTextFile(options.file, snapshotText(snapshot));
    writeOutput(options.json ? jsonReport(options, snapshot) : tableReport(options, snapshot));
}

ExitCode takeSnapshot(const SnapshotOptions& options) {
    const Snapshot snapshot = take(options, parseNodeReference(options.folder));
    store(options, snapshot);
    if (!snapshot.complete)
        reportNote("stopped after " + std::to_string(options.maxNodes) +
                   " nodes; --max-nodes sets another bound");
    std::vector<NodeProblem> problems;
    for (const LeftOutNode& node : snapshot.leftOut) {
        if (node.failed)
            problems.push_back({node.node.nodeId, {"not in the snapshot: " + node.reason}});
    }
    reportNodeProblems(problems);
    return problems.empty() && snapshot.complete ? ExitCode::Success : ExitCode::Failed;
}

constexpr const char* examples = R"(Examples:
  opcua-cli snapshot plant:4840 /Plant/Line1 --output line1.json
  opcua-cli snapshot plant:4840 'ns=2;s=Line1' > line1.json
  opcua-cli restore plant:4840 line1.json --dry-run           what restoring would change

The library does not tell which values can be written: a snapshot holds all that can be read, and restore
tells which of them the server refuses.)";

} // namespace

void addSnapshotCommand(CLI::App& app, Action& chosen) {
    auto options = std::make_shared<SnapshotOptions>();
    CLI::App* command = app.add_subcommand("snapshot", "Save the values of a folder to a file");
    addConnectOptions(*command, *options);
    command->add_option("FOLDER", options->folder, "Node id or path of the folder")
        ->required()
        ->type_name("");
    command->add_option("--output", options->file, "The file to write (default: standard output)")
        ->type_name("FILE");
    addMaxNodesOption(*command, options->maxNodes, "Look at so many nodes");
    addMaxElementsOption(*command, options->maxElements);
    command->footer(examples);
    command->callback([options, &chosen] {
        chosen = [options] { return runReporting(*options, [&] { return takeSnapshot(*options); }); };
    });
}

} // namespace opcua_cli
