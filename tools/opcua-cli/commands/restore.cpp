#include "commands.h"

#include "../formats/snapshot_file.h"
#include "../nodes/folder.h"
#include "../nodes/node_json.h"
#include "../output/streams.h"
#include "../output/table.h"
#include "value_options.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <unistd.h>
#include <unordered_map>
#include <utility>
#include <vector>

namespace opcua_cli {
namespace {

struct RestoreOptions : ConnectOptions {
    std::string file;
    bool dryRun = false;
    std::size_t maxNodes = defaultMaxNodes;
    std::size_t maxElements = defaultMaxElements;
};

enum class State { Unchanged, Differs, Written, Failed };

/// What became of one value of the snapshot.
struct Restored {
    SavedNode saved;
    NodeValue present{};
    State state = State::Unchanged;
    std::optional<Problem> problem{};

    void fail(Problem reason) {
        state = State::Failed;
        problem = std::move(reason);
    }
};

/// The values of the snapshot whose nodes are there, by their place.
using Places = std::vector<std::size_t>;

std::string typeAndShape(const NodeInfo& node) {
    return std::string(typeName(node.dataType)) + indexText(node.dimensions);
}

class Restorer {
public:
    Restorer(const RestoreOptions& options, const Snapshot& snapshot)
        : m_connection(options), m_options(options) {
        for (const SavedNode& saved : snapshot.nodes)
            m_values.push_back({saved});
        compareNodes(exploreFolder(m_connection, snapshot.folderId, options.maxNodes));
        compareValues();
    }

    void write() {
        const Places places = placesOf(State::Differs);
        std::vector<NodeToWrite> nodes;
        for (const std::size_t place : places) {
            const Restored& value = m_values[place];
            nodes.push_back({value.saved.node, std::nullopt, value.saved.value, value.present});
        }
        const auto problems = writeNodes(m_connection, nodes, m_options.maxElements);
        for (std::size_t i = 0; i < places.size(); ++i) {
            m_values[places[i]].state = State::Written;
            if (problems[i])
                m_values[places[i]].fail(*problems[i]);
        }
    }

    const std::vector<Restored>& values() const { return m_values; }

private:
    void compareNodes(const Folder& folder) {
        std::unordered_map<std::string, const NodeInfo*> present;
        for (const NodeInfo& node : folder.variables)
            present.emplace(node.nodeId, &node);
        for (Restored& value : m_values) {
            const NodeInfo& saved = value.saved.node;
            const auto found = present.find(saved.nodeId);
            if (found == present.end())
                value.fail({"the node is not in the folder any more", {}});
            else if (found->second->dataType != saved.dataType ||
                     found->second->dimensions != saved.dimensions)
                value.fail({"the value was " + typeAndShape(saved) + " and is " +
                                typeAndShape(*found->second) + " now",
                            {}});
        }
    }

    void compareValues() {
        const Places places = placesOf(State::Unchanged);
        std::vector<NodeToRead> nodes;
        for (const std::size_t place : places)
            nodes.push_back({m_values[place].saved.node, std::nullopt});
        std::vector<NodeReading> readings = readNodes(m_connection, nodes, m_options.maxElements);
        for (std::size_t i = 0; i < places.size(); ++i) {
            Restored& value = m_values[places[i]];
            value.present = std::move(readings[i].value);
            if (readings[i].problem)
                value.fail(*readings[i].problem);
            else if (!isSame(value.present, value.saved.value))
                value.state = State::Differs;
        }
    }

    Places placesOf(State state) const {
        Places places;
        for (std::size_t i = 0; i < m_values.size(); ++i) {
            if (m_values[i].state == state)
                places.push_back(i);
        }
        return places;
    }

    Connection m_connection;
    const RestoreOptions& m_options;
    std::vector<Restored> m_values;
};

std::size_t count(const std::vector<Restored>& values, State state) {
    return static_cast<std::size_t>(std::count_if(
        values.begin(), values.end(), [&](const Restored& value) { return value.state == state; }));
}

Cell resultCell(const Restored& value) {
    if (value.problem)
        return {value.problem->explanation, Tone::Bad};
    return value.state == State::Written ? Cell("written", Tone::Good) : Cell("would be written");
}

/// A row for a single value, one for each element that differs in an array.
void addRows(Table& table, const Restored& value) {
    constexpr std::size_t mostElements = 10;
    const NodeInfo& node = value.saved.node;
    const std::vector<Value>& present = value.present.elements;
    std::size_t shown = 0;
    std::size_t more = 0;
    for (std::size_t i = 0; i < present.size(); ++i) {
        const Value& saved = value.saved.value.elements[i];
        if (isSame(present[i], saved))
            continue;
        if (++shown > mostElements) {
            ++more;
            continue;
        }
        table.add({node.nodeId, node.displayName, typeAndShape(node), indexText(indexAt(i, node.dimensions)),
                   toText(present[i]), toText(saved), resultCell(value)});
    }
    if (more > 0)
        table.add({node.nodeId,
                   node.displayName,
                   typeAndShape(node),
                   {"and " + std::to_string(more) + " more", Tone::Faint}});
    if (shown == 0)
        table.add({node.nodeId, node.displayName, typeAndShape(node), "", "", "", resultCell(value)});
}

std::string tableReport(const std::vector<Restored>& values) {
    const Terminal terminal = terminalOn(STDOUT_FILENO);
    Table table({{"Node", false}, {"Name"}, {"Type"}, {"Index"}, {"Old"}, {"New"}, {"Result"}});
    for (const Restored& value : values) {
        if (value.state != State::Unchanged)
            addRows(table, value);
    }
    constexpr std::array<std::pair<State, const char*>, 4> titles{{{State::Unchanged, "unchanged"},
                                                                   {State::Differs, "would be written"},
                                                                   {State::Written, "written"},
                                                                   {State::Failed, "failed"}}};
    std::string summary = std::to_string(values.size()) + " values";
    std::string separator = ": ";
    for (const auto& [state, title] : titles) {
        if (count(values, state) == 0)
            continue;
        summary += separator + std::to_string(count(values, state)) + " " + title;
        separator = ", ";
    }
    return (table.empty() ? "" : table.render(terminal)) + terminal.paint(summary, Tone::Faint) + "\n";
}

const char* resultName(State state) {
    switch (state) {
    case State::Unchanged:
        return "unchanged";
    case State::Differs:
        return "wouldBeWritten";
    case State::Written:
        return "written";
    case State::Failed:
        break;
    }
    return "failed";
}

std::string jsonReport(const RestoreOptions& options, const std::vector<Restored>& values) {
    Json nodes = Json::array();
    for (const Restored& value : values) {
        const NodeInfo& node = value.saved.node;
        nodes.push_back({{"nodeId", node.nodeId},
                         {"type", typeName(node.dataType)},
                         {"shape", node.dimensions},
                         {"old", toJson(value.present)},
                         {"new", toJson(value.saved.value)},
                         {"result", resultName(value.state)},
                         {"error", value.problem ? toJson(*value.problem) : Json()}});
    }
    return document({{"url", options.url},
                     {"file", options.file},
                     {"dryRun", options.dryRun},
                     {"nodes", std::move(nodes)},
                     {"unchanged", count(values, State::Unchanged)},
                     {"differing", count(values, State::Differs)},
                     {"written", count(values, State::Written)},
                     {"failed", count(values, State::Failed)}});
}

std::vector<Restored> restoreValues(const RestoreOptions& options, const Snapshot& snapshot) {
    Restorer restorer(options, snapshot);
    if (!options.dryRun)
        restorer.write();
    return restorer.values();
}

ExitCode restore(const RestoreOptions& options) {
    const std::vector<Restored> values = restoreValues(options, readSnapshot(options.file));
    writeOutput(options.json ? jsonReport(options, values) : tableReport(values));
    std::vector<NodeProblem> problems;
    for (const Restored& value : values) {
        if (value.problem)
            problems.push_back({value.saved.node.nodeId, *value.problem});
    }
    reportNodeProblems(problems);
    return problems.empty() ? ExitCode::Success : ExitCode::Failed;
}

constexpr const char* examples = R"(Examples:
  opcua-cli restore plant:4840 line1.json --dry-run          old and new values; writes nothing
  opcua-cli restore plant:4840 line1.json
  opcua-cli restore plant:4840 - < line1.json

Only values that differ are written, and of an array only its differing elements. A value whose type or shape
is another one now is left alone.)";

} // namespace

void addRestoreCommand(CLI::App& app, Action& chosen) {
    auto options = std::make_shared<RestoreOptions>();
    CLI::App* command = app.add_subcommand("restore", "Write the values of a snapshot back");
    addConnectOptions(*command, *options);
    command->add_option("FILE", options->file, "What opcua-cli snapshot wrote; - takes standard input")
        ->required()
        ->type_name("");
    command->add_flag("--dry-run", options->dryRun, "Compare only: show what would be written");
    addMaxNodesOption(*command, options->maxNodes, "Look at so many nodes");
    addMaxElementsOption(*command, options->maxElements);
    command->footer(examples);
    command->callback([options, &chosen] {
        chosen = [options] { return runReporting(*options, [&] { return restore(*options); }); };
    });
}

} // namespace opcua_cli
