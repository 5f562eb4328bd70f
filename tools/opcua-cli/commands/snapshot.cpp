#include "commands/commands.h"

#include "formats/snapshot_file.h"
#include "formats/text_file.h"
#include "output/streams.h"
#include "output/table.h"
#include "text/time_text.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <iterator>
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

/// A value that was read may be none that the library takes back.
void checkTexts(const NodeValue& value) {
    for (const Value& element : value.elements) {
        if (const auto* text = std::get_if<std::string>(&element))
            parseValue(OpcUaDataType_String, *text);
    }
}

/// The library tells no difference between a value that it cannot read and one that it cannot convert.
void explainUntyped(Connection& connection, Jobs& untyped) {
    std::vector<std::string> ids;
    for (const Job& job : untyped)
        ids.push_back(job.node.nodeId);
    const std::vector<std::optional<Problem>> problems = unreadable(connection, ids);
    for (std::size_t i = 0; i < untyped.size(); ++i)
        untyped[i].problem = problems[i];
}

void readVariables(Connection& connection, const SnapshotOptions& options, Jobs& variables,
                   Snapshot& snapshot) {
    Jobs typed;
    Jobs untyped;
    for (Job& job : variables) {
        if (!job.node.nodeIdComplete) {
            job.problem = Problem{"its id is too long for this program"};
            snapshot.leftOut.push_back(std::move(job));
        } else {
            (job.node.dataType == OpcUaDataType_Null ? untyped : typed).push_back(std::move(job));
        }
    }
    explainUntyped(connection, untyped);
    std::move(untyped.begin(), untyped.end(), std::back_inserter(snapshot.leftOut));
    read(connection, typed, options.maxElements);
    for (Job& job : typed) {
        try {
            checkTexts(job.value);
        } catch (const Failure& failure) {
            job.problem = failure.problem();
        }
        (job.problem ? snapshot.leftOut : snapshot.nodes).push_back(std::move(job));
    }
}

Snapshot takenFrom(const SnapshotOptions& options, const NodeReference& reference) {
    const auto held = connectionFor(options);
    Connection& connection = *held;
    Folder folder = exploreFolder(connection, reference, options.maxNodes);
    Snapshot snapshot{options.url, options.folder, folder.nodeId,
                      utcSecondsText(std::chrono::system_clock::now()), folder.complete};
    snapshot.leftOut = std::move(folder.unbrowsed);
    readVariables(connection, options, folder.variables, snapshot);
    return snapshot;
}

std::string tableReport(const SnapshotOptions& options, const Snapshot& snapshot) {
    const Terminal terminal = terminalOn(STDOUT_FILENO);
    Table table({{"Left out", false}, {"Name"}, {"Type"}, {"Why"}});
    for (const Job& job : snapshot.leftOut)
        table.add({job.node.nodeId,
                   job.node.displayName,
                   typeText(job.node),
                   {leftOutReason(job), job.problem ? Tone::Bad : Tone::Faint}});
    return (table.empty() ? "" : table.render(terminal)) +
           terminal.paint(std::to_string(snapshot.nodes.size()) + " values in " + options.file, Tone::Good) +
           "\n";
}

std::string jsonReport(const SnapshotOptions& options, const Snapshot& snapshot) {
    return document({{"url", options.url},
                     {"folder", options.folder},
                     {"file", options.file},
                     {"values", snapshot.nodes.size()},
                     {"complete", snapshot.complete},
                     {"leftOut", leftOutJson(snapshot.leftOut)}});
}

void deliver(const SnapshotOptions& options, const Snapshot& snapshot) {
    if (options.file.empty()) {
        writeOutput(snapshotText(snapshot));
        return;
    }
    writeTextFile(options.file, snapshotText(snapshot));
    writeOutput(options.json ? jsonReport(options, snapshot) : tableReport(options, snapshot));
}

ExitCode runSnapshot(const SnapshotOptions& options) {
    Snapshot snapshot = takenFrom(options, parseNodeReference(options.folder));
    deliver(options, snapshot);
    if (!snapshot.complete)
        reportNote("stopped after " + std::to_string(options.maxNodes) +
                   " nodes; --max-nodes sets another bound");
    for (Job& job : snapshot.leftOut) {
        if (job.problem)
            job.problem = Problem{"not in the snapshot: " + job.problem->explanation};
    }
    const ExitCode code = reportProblems(snapshot.leftOut);
    return snapshot.complete ? code : ExitCode::Failed;
}

constexpr const char* examples = R"(Examples:
  opcua-cli snapshot plant:4840 /Plant/Line1 --output line1.json
  opcua-cli snapshot plant:4840 'ns=2;s=Line1' > line1.json
  opcua-cli restore plant:4840 line1.json --dry-run           what restoring would change

The library does not tell which values can be written: a snapshot holds all that can be read, and restore
tells which of them the server refuses.)";

} // namespace

void addSnapshotCommand(CLI::App& app, Action& chosen) {
    auto [command, options] = addCommand<SnapshotOptions>(app, chosen, runSnapshot, "snapshot",
                                                          "Save the values of a folder to a file", examples);
    addConnectOptions(command, options);
    command.add_option("FOLDER", options.folder, "Node id or path of the folder")->required()->type_name("");
    command.add_option("--output", options.file, "The file to write (default: standard output)")
        ->type_name("FILE");
    addMaxNodesOption(command, options.maxNodes, "Look at so many nodes");
    addMaxElementsOption(command, options.maxElements);
}

} // namespace opcua_cli
