#include "commands.h"

#include "../formats/in_place.h"
#include "../interrupt.h"
#include "../nodes/node_json.h"
#include "../output/streams.h"
#include "../output/table.h"
#include "value_options.h"

#include <algorithm>
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

struct WriteOptions : NodeListOptions {
    std::vector<std::string> pairs;

    /// The form for one node, which has a report of its own.
    bool isSingle() const { return file.empty() && pairs.size() == 2; }
};

/// What became of one node.
struct Outcome {
    NodeRequest request;
    ValueTarget target{};
    NodeValue value{};
    std::optional<Problem> problem{};
};

/// The value as the user gave it; "-" stands for standard input, whose last line end is none of the value.
std::string givenValue(const std::string& value) {
    if (value != "-")
        return value;
    std::string text = readInput();
    if (!text.empty() && text.back() == '\n')
        text.pop_back();
    if (!text.empty() && text.back() == '\r')
        text.pop_back();
    return text;
}

std::vector<NodeRequest> requestsOf(const std::vector<std::string>& pairs) {
    if (pairs.empty())
        throw usageFailure("NODE is required", "a node and its value, or --from with a file");
    if (pairs.size() % 2 != 0)
        throw usageFailure("VALUE is required for " + pairs.back(), "a value behind each node");
    std::vector<NodeRequest> requests;
    for (std::size_t i = 0; i < pairs.size(); i += 2)
        requests.push_back({{}, pairs[i], parseNodeReference(pairs[i]), {}, {}, givenValue(pairs[i + 1])});
    return requests;
}

/// What can be refused without the server is.
void checkStatedType(const NodeRequest& request) {
    const auto* text = std::get_if<std::string>(&*request.value);
    const bool mayBeArray = !request.index && (text == nullptr || (!text->empty() && text->front() == '['));
    if (request.statedType && !mayBeArray)
        inPlace(request.place, [&] { return parseNodeValue(*request.statedType, {}, *request.value); });
}

std::vector<NodeRequest> requestsOf(const WriteOptions& options) {
    if (!options.file.empty() && !options.pairs.empty())
        throw usageFailure("NODE and --from exclude each other", "nodes as arguments, or a file with them");
    std::vector<NodeRequest> requests =
        options.file.empty() ? requestsOf(options.pairs) : readNodeList(options.file, true);
    completeRequests(requests, options);
    std::for_each(requests.begin(), requests.end(), checkStatedType);
    return requests;
}

std::optional<Problem> refusalOf(const NodeRequest& request, const ResolvedTarget& resolved) {
    constexpr int notReadable = 7;
    if (resolved.problem) {
        Problem problem = *resolved.problem;
        if (problem.resultCode == notReadable)
            problem.advice += "; --type states the type of a node that can be written but not read";
        return problem;
    }
    if (!resolved.target.typeKnown)
        return Problem{"the type of " + request.given + " was not found, nothing was written",
                       "--type to state it, or the node's path"};
    if (resolved.target.node.dataType == OpcUaDataType_Null)
        return Problem{"the value of " + request.given + " is empty or of a type that cannot be written here",
                       "--type states the type of an empty node"};
    return std::nullopt;
}

/// Throws Failure (Usage) for a value that the node cannot take.
Outcome prepare(NodeRequest request, const ResolvedTarget& resolved) {
    Outcome outcome{std::move(request), resolved.target};
    outcome.problem = refusalOf(outcome.request, resolved);
    if (outcome.problem)
        return outcome;
    const NodeInfo& node = outcome.target.node;
    outcome.value = inPlace(outcome.request.place, [&] {
        return parseNodeValue(node.dataType, outcome.request.index ? Shape() : node.dimensions,
                              *outcome.request.value);
    });
    return outcome;
}

/// Writes those that can be; values that do not fit are found before the first is written.
std::vector<Outcome> writeAllOf(const WriteOptions& options, std::vector<NodeRequest> requests) {
    Connection connection(options);
    const auto targets = TargetResolver(connection, options.maxNodes).resolve(targetRequests(requests));
    std::vector<Outcome> outcomes;
    std::vector<NodeToWrite> nodes;
    for (std::size_t i = 0; i < requests.size(); ++i) {
        outcomes.push_back(prepare(std::move(requests[i]), targets[i]));
        const Outcome& outcome = outcomes.back();
        if (!outcome.problem)
            nodes.push_back({outcome.target.node, outcome.request.index, outcome.value});
    }
    throwIfInterrupted();
    std::vector<std::optional<Problem>> problems = writeNodes(connection, nodes, options.maxElements);
    auto next = problems.begin();
    for (Outcome& outcome : outcomes) {
        if (!outcome.problem)
            outcome.problem = std::move(*next++);
    }
    return outcomes;
}

std::string tableReport(const std::vector<Outcome>& outcomes) {
    Table table({{"Node", false}, {"Name"}, {"Type"}, {"Index"}, {"Value"}, {"Result"}});
    for (const Outcome& outcome : outcomes) {
        const NodeInfo& node = outcome.target.node;
        const bool known = outcome.target.typeKnown && !node.nodeId.empty();
        const Cell result =
            outcome.problem ? Cell(outcome.problem->explanation, Tone::Bad) : Cell("written", Tone::Good);
        table.add({outcome.request.given, node.displayName,
                   known ? std::string(typeName(node.dataType)) + indexText(node.dimensions) : std::string(),
                   indexText(outcome.request.index.value_or(Index())), toText(outcome.value), result});
    }
    return table.render(terminalOn(STDOUT_FILENO));
}

Json outcomeJson(const Outcome& outcome) {
    const NodeInfo& node = outcome.target.node;
    const bool known = outcome.target.typeKnown && !node.nodeId.empty();
    return {{"node", outcome.request.given},
            {"nodeId", node.nodeId.empty() ? Json() : Json(node.nodeId)},
            {"type", known ? Json(typeName(node.dataType)) : Json()},
            {"shape", known ? Json(node.dimensions) : Json()},
            {"index", outcome.request.index ? Json(*outcome.request.index) : Json()},
            {"value", toJson(outcome.value)},
            {"ok", !outcome.problem},
            {"error", outcome.problem ? toJson(*outcome.problem) : Json()}};
}

std::string jsonReport(const WriteOptions& options, const std::vector<Outcome>& outcomes) {
    Json json{{"url", options.url}};
    if (options.isSingle()) {
        json.update(outcomeJson(outcomes.front()));
        return document(json);
    }
    Json nodes = Json::array();
    for (const Outcome& outcome : outcomes)
        nodes.push_back(outcomeJson(outcome));
    json["nodes"] = std::move(nodes);
    return document(json);
}

void throwIfFailed(const Outcome& outcome) {
    constexpr int refused = 8;
    if (!outcome.problem)
        return;
    Problem problem = *outcome.problem;
    if (problem.resultCode == refused)
        problem.explanation += ": " + outcome.request.given + " = " + toText(outcome.value) + " (" +
                               std::string(typeName(outcome.target.node.dataType)) + ")";
    throw Failure(ExitCode::Failed, std::move(problem));
}

ExitCode write(const WriteOptions& options) {
    const std::vector<Outcome> outcomes = writeAllOf(options, requestsOf(options));
    if (options.isSingle())
        throwIfFailed(outcomes.front());
    writeOutput(options.json ? jsonReport(options, outcomes) : tableReport(outcomes));
    std::vector<NodeProblem> problems;
    for (const Outcome& outcome : outcomes) {
        if (outcome.problem)
            problems.push_back({outcome.request.given, *outcome.problem});
    }
    reportNodeProblems(problems);
    return problems.empty() ? ExitCode::Success : ExitCode::Failed;
}

constexpr const char* examples = R"(Examples:
  opcua-cli write plant:4840 'ns=2;s=Line1.SetPoint' 12.5    in quotes: the shell would cut at ;
  opcua-cli write plant:4840 /Plant/Line1/Enabled on
  opcua-cli write plant:4840 'ns=2;s=Line1.Offset' -7 --type Int16
  opcua-cli write plant:4840 /Plant/Recipe/Name - < name.txt
  opcua-cli write plant:4840 /Plant/Recipe/Name -- -abc      after --, nothing is an option
  opcua-cli write plant:4840 /Plant/Line1/Enabled on /Plant/Line2/Enabled off
  opcua-cli write plant:4840 /Plant/Line1/Zones 180 --index 4
  opcua-cli write plant:4840 /Plant/Line1/Zones '[180, 182.5, 190]'
  opcua-cli write plant:4840 --from recipe.csv               with the columns node and value

Values that do not fit are found before anything is written.)";

/// A name can't hold a blank everywhere.
class PairFormatter : public CLI::Formatter {
public:
    std::string make_option_name(const CLI::Option* option, bool isPositional) const override {
        std::string name = CLI::Formatter::make_option_name(option, isPositional);
        std::replace(name.begin(), name.end(), '_', ' ');
        return name;
    }
};

/// CLI11 takes "[1,2]" apart where it takes any number of arguments. So it gets no more of them than it is
/// told to wait for, which are more than anybody has.
void addPairs(CLI::App& command, std::vector<std::string>& pairs) {
    command.formatter(std::make_shared<PairFormatter>());
    constexpr int most = 1 << 20;
    command
        .add_option(
            "NODE_VALUE", pairs,
            "Node id or path, and what to write: a number (also 0x1F), true/false/on/off/1/0, text, or an "
            "array as JSON; - takes standard input")
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll)
        ->expected(most, CLI::detail::expected_max_vector_size)
        ->allow_extra_args(false)
        ->type_name("");
}

} // namespace

void addWriteCommand(CLI::App& app, Action& chosen) {
    auto options = std::make_shared<WriteOptions>();
    CLI::App* command = app.add_subcommand("write", "Write the values of nodes");
    addValueOptions(*command, *options, "Write as this type without looking for the node's own");
    addNodeListOptions(*command, *options);
    addPairs(*command, options->pairs);
    command->footer(examples);
    command->callback([options, &chosen] {
        chosen = [options] { return runReporting(*options, [&] { return write(*options); }); };
    });
}

} // namespace opcua_cli
