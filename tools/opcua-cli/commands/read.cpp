#include <string>
#include <unistd.h>
#include <utility>
#include <variant>
#include <vector>

#include <nlohmann/json.hpp>

#include "commands/commands.h"
#include "formats/csv.h"
#include "formats/job_csv.h"
#include "formats/node_list.h"
#include "output/streams.h"
#include "output/table.h"
#include "text/utf8.h"
#include "values/array_table.h"

namespace opcua_cli {
namespace {

struct ReadOptions : NodeListOptions {
    std::vector<std::string> nodes;
    bool csv = false;
};

Jobs jobsOf(const ReadOptions& options) {
    if (options.nodes.empty() == options.file.empty())
        throw usageFailure(options.file.empty() ? "NODE is required" : "NODE and --from exclude each other",
                           "nodes as arguments, or a file that names them");
    checkInputIsFree(options, options.file);
    Jobs jobs;
    for (const std::string& given : options.nodes)
        jobs.push_back({{}, given, parseNodeReference(given)});
    if (!options.file.empty())
        jobs = readNodeList(options.file, false);
    completeJobs(jobs, options);
    return jobs;
}

Cell valueCell(const Job& job) {
    if (job.problem)
        return {job.problem->explanation, Tone::Bad};
    if (needsTable(job.value))
        return {"see below", Tone::Faint};
    const bool isSingle = job.value.shape.empty();
    const auto* text = isSingle ? std::get_if<std::string>(&job.value.elements.front()) : nullptr;
    if (job.node.dataType != OpcUaDataType_Null || text == nullptr)
        return toText(job.value);
    // What the library doesn't convert comes as its text form.
    return text->empty() ? Cell("no text form", Tone::Faint) : Cell(*text);
}

std::string shownType(const NodeInfo& node) {
    if (!node.isFound())
        return node.nodeId.empty() ? "" : "?";
    return typeAndShape(node);
}

std::string valueTable(const Jobs& jobs) {
    const Terminal terminal = terminalOn(STDOUT_FILENO);
    Table table({{"Node", false}, {"Name"}, {"Type"}, {"Index"}, {"Value"}});
    std::string arrays;
    for (const Job& job : jobs) {
        const std::string type = shownType(job.node);
        table.add(
            {job.given, job.node.displayName, type, indexText(job.index.value_or(Index())), valueCell(job)});
        if (needsTable(job.value))
            arrays += "\n" + terminal.paint(printable(job.given + "  " + type), Tone::Heading) + "\n" +
                      arrayTable(job.value, terminal);
    }
    return table.renderFolded(terminal) + arrays;
}

std::string jsonReport(const ReadOptions& options, const Jobs& jobs) {
    Json nodes = Json::array();
    for (const Job& job : jobs)
        nodes.push_back(jobJson(job, job.value));
    return document({{"url", options.url}, {"nodes", std::move(nodes)}});
}

/// What `write --from` is to find as it was. The text form of another type is written nowhere.
void checkTextsToWriteBack(Jobs& jobs) {
    for (Job& job : jobs)
        if (job.node.dataType == OpcUaDataType_String || !job.node.typeKnown)
            checkTexts(job);
}

ExitCode runRead(const ReadOptions& options) {
    Jobs jobs = jobsOf(options);
    {
        const auto held = connectionFor(options);
        Connection& connection = *held;
        resolve(connection, jobs, options.maxNodes);
        read(connection, jobs, options.maxElements);
    }
    if (options.csv || options.json)
        checkTextsToWriteBack(jobs);
    if (options.csv)
        writeOutput(forStandardOutput(jobsCsv(jobs)));
    else
        writeOutput(options.json ? jsonReport(options, jobs) : valueTable(jobs));
    for (const Job& job : jobs)
        if (!job.node.typeKnown)
            reportNote(job.given + ": its type was not found; the value is shown as text (--type states the "
                                   "type, --max-nodes lets the search go further)");
    return reportProblems(jobs);
}

constexpr const char* readExamples = R"(Examples:
  opcua-cli read plant:4840 'ns=2;s=Line1.Speed' i=2261      in quotes: the shell would cut at ;
  opcua-cli read plant:4840 /Plant/Line1/Speed               by browse names
  opcua-cli read plant:4840 'ns=2;s=Line1.Speed' --type Double
  opcua-cli read plant:4840 'ns=2;s=Line1.Speed' --json | jq '.nodes[0].value'
  opcua-cli read plant:4840 /Plant/Line1/ZoneTemperatures --index 4
  opcua-cli read plant:4840 --from nodes.csv --csv           with the columns node, type and index

A node id is looked for in the address space to learn its type; a path or --type spares that.)";

} // namespace

void addReadCommand(Program& program, Action& chosen) {
    auto [command, options] =
        addCommand<ReadOptions>(program, chosen, runRead, "read", "Read the values of nodes", readExamples);
    addNodeListOptions(
        command, options,
        "Read as this type without looking for it; what does not convert to it reads as 0 or empty");
    addCsvOption(command, options.csv);
    command.addPositional("NODE", &options.nodes, "Node ids or paths");
}

} // namespace opcua_cli
