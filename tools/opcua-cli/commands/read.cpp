#include "commands.h"

#include "../nodes/node_json.h"
#include "../output/array_table.h"
#include "../output/streams.h"
#include "../output/table.h"
#include "../text/utf8.h"
#include "value_options.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <unistd.h>
#include <utility>
#include <variant>
#include <vector>

namespace opcua_cli {
namespace {

struct ReadOptions : NodeListOptions {
    std::vector<std::string> nodes;
};

struct Reading {
    NodeRequest request;
    ValueTarget target{};
    NodeValue value{};
    std::optional<Problem> problem{};
};

std::vector<NodeRequest> requestsOf(const ReadOptions& options) {
    if (options.nodes.empty() == options.file.empty())
        throw usageFailure(options.file.empty() ? "NODE is required" : "NODE and --from exclude each other",
                           "nodes as arguments, or a file that names them");
    std::vector<NodeRequest> requests;
    for (const std::string& given : options.nodes)
        requests.push_back({{}, given, parseNodeReference(given)});
    if (!options.file.empty())
        requests = readNodeList(options.file, false);
    completeRequests(requests, options);
    return requests;
}

std::vector<Reading> readAllOf(const ReadOptions& options, std::vector<NodeRequest> requests) {
    Connection connection(options);
    const auto targets = TargetResolver(connection, options.maxNodes).resolve(targetRequests(requests));
    std::vector<Reading> readings;
    std::vector<NodeToRead> nodes;
    std::vector<std::size_t> places;
    for (std::size_t i = 0; i < requests.size(); ++i) {
        readings.push_back({std::move(requests[i]), targets[i].target, {}, targets[i].problem});
        if (targets[i].problem)
            continue;
        nodes.push_back({targets[i].target.node, readings[i].request.index});
        places.push_back(i);
    }
    std::vector<NodeReading> results = readNodes(connection, nodes, options.maxElements);
    for (std::size_t i = 0; i < places.size(); ++i) {
        readings[places[i]].value = std::move(results[i].value);
        readings[places[i]].problem = std::move(results[i].problem);
    }
    return readings;
}

Cell valueCell(const Reading& reading) {
    if (reading.problem)
        return {reading.problem->explanation, Tone::Bad};
    if (needsTable(reading.value))
        return {"see below", Tone::Faint};
    const bool isSingle = reading.value.shape.empty();
    const auto* text = isSingle ? std::get_if<std::string>(&reading.value.elements.front()) : nullptr;
    if (reading.target.node.dataType != OpcUaDataType_Null || text == nullptr)
        return toText(reading.value);
    // What the library doesn't convert comes as its text form.
    return text->empty() ? Cell("no text form", Tone::Faint) : Cell(*text);
}

std::string shownType(const Reading& reading) {
    const ValueTarget& target = reading.target;
    if (target.node.nodeId.empty())
        return "";
    if (!target.typeKnown)
        return "?";
    return target.node.hasValue() ? typeText(target.node) : std::string(typeName(target.node.dataType));
}

std::string tableReport(const std::vector<Reading>& readings) {
    const Terminal terminal = terminalOn(STDOUT_FILENO);
    Table table({{"Node", false}, {"Name"}, {"Type"}, {"Index"}, {"Value"}});
    std::string arrays;
    for (const Reading& reading : readings) {
        const NodeRequest& request = reading.request;
        table.add({request.given, reading.target.node.displayName, shownType(reading),
                   indexText(request.index.value_or(Index())), valueCell(reading)});
        if (needsTable(reading.value))
            arrays += "\n" +
                      terminal.paint(printable(request.given + "  " + shownType(reading)), Tone::Heading) +
                      "\n" + arrayTable(reading.value, terminal);
    }
    return table.render(terminal) + arrays;
}

Json readingJson(const Reading& reading) {
    const ValueTarget& target = reading.target;
    Json json{{"node", reading.request.given}};
    json.update(toJson(target.node));
    if (target.node.nodeId.empty())
        json["nodeId"] = nullptr;
    json["type"] =
        target.typeKnown && !target.node.nodeId.empty() ? Json(typeName(target.node.dataType)) : Json();
    json["index"] = reading.request.index ? Json(*reading.request.index) : Json();
    json["value"] = toJson(reading.value);
    json["ok"] = !reading.problem;
    json["error"] = reading.problem ? toJson(*reading.problem) : Json();
    return json;
}

std::string jsonReport(const ReadOptions& options, const std::vector<Reading>& readings) {
    Json nodes = Json::array();
    for (const Reading& reading : readings)
        nodes.push_back(readingJson(reading));
    return document({{"url", options.url}, {"nodes", std::move(nodes)}});
}

ExitCode conclude(const std::vector<Reading>& readings) {
    std::vector<NodeProblem> problems;
    for (const Reading& reading : readings) {
        if (reading.problem)
            problems.push_back({reading.request.given, *reading.problem});
        if (!reading.target.typeKnown)
            reportNote(reading.request.given +
                       ": its type was not found; the value is shown as text (--type states the "
                       "type, --max-nodes lets the search go further)");
    }
    reportNodeProblems(problems);
    return problems.empty() ? ExitCode::Success : ExitCode::Failed;
}

ExitCode read(const ReadOptions& options) {
    const std::vector<Reading> readings = readAllOf(options, requestsOf(options));
    writeOutput(options.json ? jsonReport(options, readings) : tableReport(readings));
    return conclude(readings);
}

constexpr const char* examples = R"(Examples:
  opcua-cli read plant:4840 'ns=2;s=Line1.Speed' i=2261      in quotes: the shell would cut at ;
  opcua-cli read plant:4840 /Plant/Line1/Speed               by browse names
  opcua-cli read plant:4840 'ns=2;s=Line1.Speed' --type Double
  opcua-cli read plant:4840 'ns=2;s=Line1.Speed' --json | jq '.nodes[0].value'
  opcua-cli read plant:4840 /Plant/Line1/ZoneTemperatures --index 4
  opcua-cli read plant:4840 --from nodes.csv                 with the columns node, type and index

A node id is looked for in the address space to learn its type; a path or --type spares that.)";

} // namespace

void addReadCommand(CLI::App& app, Action& chosen) {
    auto options = std::make_shared<ReadOptions>();
    CLI::App* command = app.add_subcommand("read", "Read the values of nodes");
    addValueOptions(
        *command, *options,
        "Read as this type without looking for it; what does not convert to it reads as 0 or empty");
    addNodeListOptions(*command, *options);
    command->add_option("NODE", options->nodes, "Node ids or paths")->type_name("");
    command->footer(examples);
    command->callback([options, &chosen] {
        chosen = [options] { return runReporting(*options, [&] { return read(*options); }); };
    });
}

} // namespace opcua_cli
