#include <string>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "commands/commands.h"
#include "commands/take_snapshot.h"
#include "formats/csv.h"
#include "formats/job_csv.h"
#include "formats/text_file.h"
#include "output/streams.h"
#include "output/table.h"

namespace opcua_cli {
namespace {

struct SnapshotOptions : FolderOptions {
    std::string folder;
    std::string file; ///< empty for standard output
    bool csv = false;
};

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
    const std::string text = options.csv ? jobsCsv(snapshot.nodes) : snapshotText(snapshot);
    if (options.file.empty()) {
        writeOutput(options.csv ? forStandardOutput(text) : text);
        return;
    }
    writeTextFile(options.file, text);
    writeOutput(options.json ? jsonReport(options, snapshot) : tableReport(options, snapshot));
}

ExitCode runSnapshot(const SnapshotOptions& options) {
    Snapshot snapshot = takeSnapshot(options, options.folder);
    deliver(options, snapshot);
    if (!snapshot.complete)
        reportNote("stopped after " + std::to_string(options.maxNodes) +
                   " nodes; --max-nodes sets another bound");
    for (Job& job : snapshot.leftOut)
        if (job.problem)
            job.problem = Problem{"not in the snapshot: " + job.problem->explanation};
    const ExitCode code = reportProblems(snapshot.leftOut);
    return snapshot.complete ? code : ExitCode::Failed;
}

constexpr const char* snapshotExamples = R"(Examples:
  opcua-cli snapshot plant:4840 /Plant/Line1 --output line1.json
  opcua-cli snapshot plant:4840 'ns=2;s=Line1' > line1.json
  opcua-cli snapshot plant:4840 /Plant/Line1 --csv > line1.csv
  opcua-cli compare line1.json plant:4840                     what is different by now
  opcua-cli restore plant:4840 line1.json --dry-run           what restoring would change

The library does not tell which values can be written: a snapshot holds all that can be read, and restore
tells which of them the server refuses.)";

} // namespace

void addSnapshotCommand(Program& program, Action& chosen) {
    auto [command, options] = addCommand<SnapshotOptions>(
        program, chosen, runSnapshot, "snapshot", "Save the values of a folder to a file", snapshotExamples);
    addConnectOptions(command, options);
    addCsvOption(command, options.csv);
    command.addPositional("FOLDER", &options.folder, "Node id or path of the folder").required = true;
    command.addOption("--output", "FILE", &options.file, "The file to write (default: standard output)");
    addFolderOptions(command, options);
}

} // namespace opcua_cli
