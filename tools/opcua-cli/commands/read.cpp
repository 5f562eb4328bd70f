#include "commands.h"

#include "../interrupt.h"
#include "../nodes/node_json.h"
#include "../nodes/value_target.h"
#include "../output/streams.h"
#include "../output/table.h"
#include "value_options.h"

#include <memory>
#include <set>
#include <unistd.h>

namespace opcua_cli {
namespace {

struct ReadOptions : ValueOptions {
    std::vector<std::string> nodes;
};

struct Reading {
    std::string given;
    ValueTarget target;
    Value value;
    std::optional<Problem> problem;
};

class Reader {
public:
    explicit Reader(const ReadOptions& options)
        : m_connection(options), m_resolver(m_connection, options.statedType(), options.maxNodes) {}

    /// Throws Failure only when there is no point in going on with other nodes.
    Reading read(const std::string& given, const NodeReference& reference) {
        Reading reading;
        reading.given = given;
        throwIfInterrupted();
        try {
            reading.target = m_resolver.resolve(reference);
            throwIfArray(reading.target.node);
            const NodeInfo& node = reading.target.node;
            ReadResult result = m_connection.read(node.nodeId, node.dataType);
            if (result.resultCode != 0)
                reading.problem = m_connection.lastProblem();
            reading.value = std::move(result.value);
        } catch (const Failure& failure) {
            if (failure.exitCode() != ExitCode::Failed)
                throw;
            reading.problem = failure.problem();
        }
        return reading;
    }

private:
    Connection m_connection;
    TargetResolver m_resolver;
};

Cell valueCell(const Reading& reading) {
    if (reading.problem)
        return {reading.problem->explanation, Tone::Bad};
    const auto* text = std::get_if<std::string>(&reading.value);
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
    Table table({{"Node", false}, {"Name"}, {"Type"}, {"Value"}});
    for (const Reading& reading : readings)
        table.add({reading.given, reading.target.node.displayName, shownType(reading), valueCell(reading)});
    return table.render(terminalOn(STDOUT_FILENO));
}

Json readingJson(const Reading& reading) {
    const ValueTarget& target = reading.target;
    Json json{{"node", reading.given}};
    json.update(toJson(target.node));
    if (target.node.nodeId.empty())
        json["nodeId"] = nullptr;
    json["type"] =
        target.typeKnown && !target.node.nodeId.empty() ? Json(typeName(target.node.dataType)) : Json();
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
    std::set<std::string> told;
    bool allRead = true;
    for (const Reading& reading : readings) {
        allRead = allRead && !reading.problem;
        if (reading.problem && told.insert(reading.problem->explanation).second) {
            Problem problem = *reading.problem;
            problem.explanation = reading.given + ": " + problem.explanation;
            reportProblem(problem);
        }
        if (!reading.target.typeKnown)
            reportNote(reading.given +
                       ": its type was not found; the value is shown as text (--type states the "
                       "type, --max-nodes lets the search go further)");
    }
    return allRead ? ExitCode::Success : ExitCode::Failed;
}

ExitCode read(const ReadOptions& options) {
    std::vector<NodeReference> references;
    for (const std::string& given : options.nodes)
        references.push_back(parseNodeReference(given));
    std::vector<Reading> readings;
    {
        Reader reader(options);
        for (std::size_t i = 0; i < references.size(); ++i)
            readings.push_back(reader.read(options.nodes[i], references[i]));
    }
    writeOutput(options.json ? jsonReport(options, readings) : tableReport(readings));
    return conclude(readings);
}

constexpr const char* examples = R"(Examples:
  opcua-cli read plant:4840 'ns=2;s=Line1.Speed' i=2261      in quotes: the shell would cut at ;
  opcua-cli read plant:4840 /Plant/Line1/Speed               by browse names
  opcua-cli read plant:4840 'ns=2;s=Line1.Speed' --type Double
  opcua-cli read plant:4840 'ns=2;s=Line1.Speed' --json | jq '.nodes[0].value'

A node id is looked for in the address space to learn its type; a path or --type spares that.)";

} // namespace

void addReadCommand(CLI::App& app, Action& chosen) {
    auto options = std::make_shared<ReadOptions>();
    CLI::App* command = app.add_subcommand("read", "Read the values of nodes");
    addValueOptions(
        *command, *options,
        "Read as this type without looking for it; what does not convert to it reads as 0 or empty");
    command->add_option("NODE", options->nodes, "Node ids or paths")->required()->type_name("");
    command->footer(examples);
    command->callback([options, &chosen] {
        chosen = [options] { return runReporting(*options, [&] { return read(*options); }); };
    });
}

} // namespace opcua_cli
