#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <unistd.h>
#include <unordered_map>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "commands/commands.h"
#include "commands/difference_rows.h"
#include "formats/snapshot_file.h"
#include "output/streams.h"
#include "output/table.h"

namespace opcua_cli {
namespace {

struct RestoreOptions : FolderOptions {
    std::string file;
    bool dryRun = false;
};

enum class State { Unchanged, Differs, Written, Failed };

struct StateText {
    const char* key;
    const char* title;
};

/// By State.
constexpr std::array<StateText, 4> stateTexts{{{"unchanged", "unchanged"},
                                               {"wouldBeWritten", "would be written"},
                                               {"written", "written"},
                                               {"failed", "failed"}}};

const StateText& textsOf(State state) {
    return stateTexts[static_cast<std::size_t>(state)];
}

/// The values of a snapshot, and what became of them.
struct Restoration {
    Jobs jobs;
    bool written; ///< what differed

    State stateOf(const Job& job) const {
        if (job.problem)
            return State::Failed;
        if (isSame(job.value, job.wanted))
            return State::Unchanged;
        return written ? State::Written : State::Differs;
    }
    std::size_t count(State state) const {
        return static_cast<std::size_t>(
            std::count_if(jobs.begin(), jobs.end(), [&](const Job& job) { return stateOf(job) == state; }));
    }
};

/// Gives a problem to what is not in the folder as it was.
void compareNodes(const Folder& folder, Jobs& jobs) {
    const bool isWhole = folder.complete && folder.unbrowsed.empty();
    const Problem missing =
        isWhole ? Problem{"the node is not in the folder any more"}
                : Problem{"the node was not found, and not all of the folder could be looked at",
                          "a greater --max-nodes, or --user NAME of one who may browse all of it"};
    std::unordered_map<std::string, const NodeInfo*> present;
    for (const Job& variable : folder.variables)
        present.emplace(variable.node.nodeId, &variable.node);
    for (Job& job : jobs) {
        const auto found = present.find(job.node.nodeId);
        if (found == present.end())
            job.problem = missing;
        else if (found->second->dataType != job.node.dataType ||
                 found->second->dimensions != job.node.dimensions)
            job.problem = Problem{"the value was " + typeAndShape(job.node) + " and is " +
                                  typeAndShape(*found->second) + " now"};
    }
}

Restoration restoreValues(const RestoreOptions& options, Snapshot snapshot) {
    const auto held = connectionFor(options);
    Connection& connection = *held;
    Jobs& jobs = snapshot.nodes;
    compareNodes(exploreFolder(connection, snapshot.folderId, options.maxNodes), jobs);
    read(connection, jobs, options.maxElements, mostFolderTextBytes);
    if (!options.dryRun)
        write(connection, jobs, options.maxElements);
    return {std::move(jobs), !options.dryRun};
}

Cell resultCell(const Job& job, State state) {
    if (job.problem)
        return {job.problem->explanation, Tone::Bad};
    return {textsOf(state).title, state == State::Written ? Tone::Good : Tone::Plain};
}

std::string summaryOf(const Restoration& restored) {
    std::string summary = std::to_string(restored.jobs.size()) + " values";
    const char* separator = ": ";
    for (const State state : {State::Unchanged, State::Differs, State::Written, State::Failed}) {
        const auto count = restored.count(state);
        if (count == 0)
            continue;
        summary += separator + std::to_string(count) + " " + textsOf(state).title;
        separator = ", ";
    }
    return summary;
}

std::string tableReport(const Restoration& restored) {
    const Terminal terminal = terminalOn(STDOUT_FILENO);
    Table table({{"Node", false}, {"Name"}, {"Type"}, {"Index"}, {"Old"}, {"New"}, {"Result"}});
    for (const Job& job : restored.jobs) {
        const State state = restored.stateOf(job);
        if (state != State::Unchanged)
            addDifferences(table, job.node, job.value, job.wanted, resultCell(job, state));
    }
    return (table.empty() ? "" : table.render(terminal)) + terminal.paint(summaryOf(restored), Tone::Faint) +
           "\n";
}

std::string jsonReport(const RestoreOptions& options, const Restoration& restored) {
    Json nodes = Json::array();
    for (const Job& job : restored.jobs)
        nodes.push_back({{"nodeId", job.node.nodeId},
                         {"type", typeName(job.node.dataType)},
                         {"shape", job.node.dimensions},
                         {"old", toJson(job.value)},
                         {"new", toJson(job.wanted)},
                         {"result", textsOf(restored.stateOf(job)).key},
                         {"error", toJson(job.problem)}});
    return document({{"url", options.url},
                     {"file", options.file},
                     {"dryRun", options.dryRun},
                     {"nodes", std::move(nodes)},
                     {"unchanged", restored.count(State::Unchanged)},
                     {"differing", restored.count(State::Differs)},
                     {"written", restored.count(State::Written)},
                     {"failed", restored.count(State::Failed)}});
}

ExitCode runRestore(const RestoreOptions& options) {
    checkInputIsFree(options, options.file);
    const Restoration restored = restoreValues(options, readSnapshot(options.file));
    writeOutput(options.json ? jsonReport(options, restored) : tableReport(restored));
    return reportProblems(restored.jobs);
}

constexpr const char* restoreExamples = R"(Examples:
  opcua-cli restore plant:4840 line1.json --dry-run          old and new values; writes nothing
  opcua-cli restore plant:4840 line1.json
  opcua-cli restore plant:4840 - < line1.json

Only values that differ are written, and of an array only its differing elements. A value whose type or shape
is another one now is left alone.)";

} // namespace

void addRestoreCommand(Program& program, Action& chosen) {
    auto [command, options] = addCommand<RestoreOptions>(
        program, chosen, runRestore, "restore", "Write the values of a snapshot back", restoreExamples);
    addConnectOptions(command, options);
    command.addPositional("FILE", &options.file, "What opcua-cli snapshot wrote; - takes standard input")
        .required = true;
    command.addFlag("--dry-run", &options.dryRun, "Compare only: show what would be written");
    addFolderOptions(command, options);
}

} // namespace opcua_cli
