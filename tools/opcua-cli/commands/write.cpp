#include <algorithm>
#include <cstddef>
#include <string>
#include <unistd.h>
#include <utility>
#include <variant>
#include <vector>

#include <nlohmann/json.hpp>

#include "commands/commands.h"
#include "formats/node_list.h"
#include "formats/text_file.h"
#include "interrupt.h"
#include "output/streams.h"
#include "output/table.h"

namespace opcua_cli {
namespace {

struct WriteOptions : NodeListOptions {
    std::vector<std::string> pairs;

    /// The form for one node, which has a report of its own.
    bool isSingle() const { return file.empty() && pairs.size() == 2; }
};

/// The value as the user gave it; "-" stands for standard input, whose last line end is none of the value.
std::string givenValue(const std::string& value) {
    if (value != standardInput)
        return value;
    std::string text = readInput();
    if (!text.empty() && text.back() == '\n')
        text.pop_back();
    if (!text.empty() && text.back() == '\r')
        text.pop_back();
    return text;
}

Jobs jobsOf(const std::vector<std::string>& pairs) {
    if (pairs.empty())
        throw usageFailure("NODE is required", "a node and its value, or --from with a file");
    if (pairs.size() % 2 != 0)
        throw usageFailure("VALUE is required for " + pairs.back(), "a value behind each node");
    std::size_t inputs = 0;
    for (std::size_t i = 1; i < pairs.size(); i += 2)
        inputs += pairs[i] == standardInput ? 1 : 0;
    if (inputs > 1)
        throw usageFailure("standard input is one value, and several are to be taken from there",
                           "a command for each, or --from with a file");
    Jobs jobs;
    for (std::size_t i = 0; i < pairs.size(); i += 2)
        jobs.push_back({{}, pairs[i], parseNodeReference(pairs[i]), {}, {}, givenValue(pairs[i + 1])});
    return jobs;
}

/// What can be refused without the server is.
void checkStatedType(const Job& job) {
    const auto* text = std::get_if<std::string>(&*job.givenValue);
    const bool mayBeArray = !job.index && (text == nullptr || (!text->empty() && text->front() == '['));
    if (job.type && !mayBeArray)
        inPlace(job.place, [&] { return parseGivenValue(job, *job.type, {}); });
}

Jobs jobsOf(const WriteOptions& options) {
    if (!options.file.empty() && !options.pairs.empty())
        throw usageFailure("NODE and --from exclude each other", "nodes as arguments, or a file with them");
    checkInputIsFree(options, options.file);
    for (std::size_t i = 1; i < options.pairs.size(); i += 2)
        checkInputIsFree(options, options.pairs[i]);
    Jobs jobs = options.file.empty() ? jobsOf(options.pairs) : readNodeList(options.file, true);
    completeJobs(jobs, options);
    std::for_each(jobs.begin(), jobs.end(), checkStatedType);
    return jobs;
}

/// Turns what the user gave into values for the nodes. Throws Failure (Usage) for one that its node cannot
/// take.
void prepare(Job& job) {
    constexpr int notReadable = 7;
    if (job.problem && job.problem->resultCode == notReadable &&
        job.problem->explanation.find("BadNodeId") == std::string::npos)
        job.problem->advice = "--type, which states the type of a node that can be written but not read";
    attempt(job, [&] {
        if (!job.node.typeKnown)
            throw nodeFailure("the type of " + job.given + " was not found, nothing was written",
                              "--type to state it, or the node's path");
        if (job.node.dataType == OpcUaDataType_Null)
            throw nodeFailure("the value of " + job.given +
                                  " is empty or of a type that cannot be written here",
                              "--type states the type of an empty node");
        job.wanted = inPlace(job.place, [&] {
            return parseGivenValue(job, job.node.dataType, job.index ? Shape() : job.node.dimensions);
        });
    });
}

std::string outcomeTable(const Jobs& jobs) {
    Table table({{"Node", false}, {"Name"}, {"Type"}, {"Index"}, {"Value"}, {"Result"}});
    for (const Job& job : jobs) {
        const NodeInfo& node = job.node;
        table.add({job.given, node.displayName, node.isFound() ? typeAndShape(node) : "",
                   indexText(job.index.value_or(Index())), toText(job.wanted),
                   job.problem ? Cell(job.problem->explanation, Tone::Bad) : Cell("written", Tone::Good)});
    }
    return table.render(terminalOn(STDOUT_FILENO));
}

Json writtenJson(const Job& job) {
    Json json = jobJson(job, job.wanted);
    for (const char* key : {"displayName", "browseName", "class"})
        json.erase(key);
    json["shape"] = job.node.isFound() ? Json(job.node.dimensions) : Json();
    return json;
}

std::string jsonReport(const WriteOptions& options, const Jobs& jobs) {
    Json json{{"url", options.url}};
    if (options.isSingle()) {
        json.update(writtenJson(jobs.front()));
        return document(json);
    }
    Json nodes = Json::array();
    for (const Job& job : jobs)
        nodes.push_back(writtenJson(job));
    json["nodes"] = std::move(nodes);
    return document(json);
}

void throwIfFailed(const Job& job) {
    constexpr int refused = 8;
    if (!job.problem)
        return;
    Problem problem = *job.problem;
    if (problem.resultCode == refused)
        problem.explanation += ": " + job.given + " = " + toText(job.wanted) + " (" +
                               std::string(typeName(job.node.dataType)) + ")";
    throw Failure(ExitCode::Failed, std::move(problem));
}

ExitCode runWrite(const WriteOptions& options) {
    Jobs jobs = jobsOf(options);
    {
        const auto held = connectionFor(options);
        Connection& connection = *held;
        resolve(connection, jobs, options.maxNodes);
        // Values that do not fit are found before the first is written.
        std::for_each(jobs.begin(), jobs.end(), prepare);
        throwIfInterrupted();
        write(connection, jobs, options.maxElements);
    }
    if (options.isSingle())
        throwIfFailed(jobs.front());
    writeOutput(options.json ? jsonReport(options, jobs) : outcomeTable(jobs));
    return reportProblems(jobs);
}

constexpr const char* writeExamples = R"(Examples:
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

} // namespace

void addWriteCommand(Program& program, Action& chosen) {
    auto [command, options] = addCommand<WriteOptions>(program, chosen, runWrite, "write",
                                                       "Write the values of nodes", writeExamples);
    addNodeListOptions(command, options, "Write as this type without looking for the node's own");
    command
        .addPositional(
            "NODE_VALUE", &options.pairs,
            "Node id or path, and what to write: a number (also 0x1F), true/false/on/off/1/0, text, "
            "or an array as JSON; - takes standard input")
        .wordByWord = true;
}

} // namespace opcua_cli
