#include <array>
#include <cstddef>
#include <filesystem>
#include <string>
#include <system_error>
#include <unistd.h>
#include <utility>

#include <nlohmann/json.hpp>

#include "commands/commands.h"
#include "commands/comparison.h"
#include "commands/difference_rows.h"
#include "commands/take_snapshot.h"
#include "output/streams.h"
#include "output/table.h"

namespace opcua_cli {
namespace {

struct CompareOptions : FolderOptions {
    std::string before;
    std::string after;
    double tolerance = 0;
};

using Kind = Difference::Kind;

struct KindText {
    const char* key;
    const char* title;
};

/// By Kind.
constexpr std::array<KindText, 5> kindTexts{{{"changed", "changed"},
                                             {"typeChanged", "of another type"},
                                             {"missing", "missing"},
                                             {"added", "added"},
                                             {"notReadable", "not readable"}}};

const KindText& textsOf(Kind kind) {
    return kindTexts[static_cast<std::size_t>(kind)];
}

std::string typeOf(const Job* job) {
    return job != nullptr ? typeAndShape(job->node) : std::string(typeName(OpcUaDataType_Null));
}

void addRow(Table& table, const Difference& difference, const SameValue& same) {
    const NodeInfo& node = difference.node();
    const Job* const before = difference.before;
    const Job* const after = difference.after;
    if (difference.kind == Kind::Changed) {
        addDifferences(table, node, before->value, after->value, textsOf(difference.kind).title, same);
        return;
    }
    std::string result = textsOf(difference.kind).title;
    if (difference.kind == Kind::TypeChanged)
        result = "was " + typeOf(before) + ", is " + typeOf(after);
    if (difference.kind == Kind::NotReadable)
        result += ": " + difference.reason;
    table.add({node.nodeId,
               node.displayName,
               typeText(node),
               "",
               before != nullptr ? toText(before->value) : "",
               after != nullptr ? toText(after->value) : "",
               {result, Tone::Bad}});
}

std::string tableReport(const Comparison& comparison, const SameValue& same) {
    const Terminal terminal = terminalOn(STDOUT_FILENO);
    Table table({{"Node", false}, {"Name"}, {"Type"}, {"Index"}, {"Old"}, {"New"}, {"Result"}});
    for (const Difference& difference : comparison.differences)
        addRow(table, difference, same);
    std::string summary = std::to_string(comparison.equal) + " values are the same";
    for (std::size_t i = 0; i < kindTexts.size(); ++i)
        if (const std::size_t count = comparison.count(static_cast<Kind>(i)))
            summary += ", " + std::to_string(count) + " " + kindTexts[i].title;
    return (table.empty() ? "" : table.render(terminal)) + terminal.paint(summary, Tone::Faint) + "\n";
}

Json sideJson(const Job* job) {
    if (job == nullptr || job->problem)
        return nullptr;
    return {
        {"type", typeName(job->node.dataType)}, {"shape", job->value.shape}, {"value", toJson(job->value)}};
}

std::string jsonReport(const CompareOptions& options, const Comparison& comparison) {
    Json nodes = Json::array();
    for (const Difference& difference : comparison.differences)
        nodes.push_back({{"nodeId", difference.node().nodeId},
                         {"displayName", difference.node().displayName},
                         {"result", textsOf(difference.kind).key},
                         {"old", sideJson(difference.before)},
                         {"new", sideJson(difference.after)},
                         {"reason", difference.reason.empty() ? Json() : Json(difference.reason)}});
    Json json{{"old", options.before},
              {"new", options.after},
              {"nodes", std::move(nodes)},
              {"equal", comparison.equal},
              {"complete", comparison.complete}};
    for (std::size_t i = 0; i < kindTexts.size(); ++i)
        json[kindTexts[i].key] = comparison.count(static_cast<Kind>(i));
    return document(json);
}

/// A file that is there is meant, whatever its name.
bool isAddress(const std::string& given) {
    std::error_code unknown;
    const bool isOne = given.find(':') != std::string::npos || given.find('@') == 0;
    return isOne && !std::filesystem::exists(given, unknown);
}

Snapshot savedSnapshot(const std::string& file) {
    Snapshot snapshot = readSnapshot(file);
    for (Job& job : snapshot.nodes)
        job.value = std::move(job.wanted);
    return snapshot;
}

std::pair<Snapshot, Snapshot> bothSides(const CompareOptions& options) {
    const bool addressFirst = isAddress(options.before);
    const bool addressSecond = isAddress(options.after);
    if (addressFirst && addressSecond)
        throw usageFailure("neither " + options.before + " nor " + options.after + " is a file",
                           "a snapshot, which says what to compare, and another or a server's address");
    if (!addressFirst && !addressSecond)
        return {savedSnapshot(options.before), savedSnapshot(options.after)};
    Snapshot saved = savedSnapshot(addressFirst ? options.after : options.before);
    Snapshot present = takeSnapshot(options, saved.folderId);
    if (addressFirst)
        std::swap(saved, present);
    return {std::move(saved), std::move(present)};
}

ExitCode runCompare(const CompareOptions& options) {
    const auto [before, after] = bothSides(options);
    const SameValue same = sameWithin(options.tolerance);
    const Comparison comparison = compare(before, after, same);
    writeOutput(options.json ? jsonReport(options, comparison) : tableReport(comparison, same));
    if (!comparison.complete)
        reportNote(
            "not everything was compared: a snapshot stopped at its bound; --max-nodes sets another one");
    return comparison.differences.empty() && comparison.complete ? ExitCode::Success : ExitCode::Failed;
}

constexpr const char* compareExamples = R"(Examples:
  opcua-cli compare line1.json plant:4840                     what is different from the snapshot by now
  opcua-cli compare monday.json friday.json
  opcua-cli compare line1.json plant:4840 --tolerance 0.5     measured values may have moved a little
  opcua-cli compare line1.json plant:4840 --json | jq '.nodes[] | select(.result == "missing")'

Exit code 0 says that all values are the same, 1 that something differs or could not be read.)";

} // namespace

void addCompareCommand(Program& program, Action& chosen) {
    auto [command, options] =
        addCommand<CompareOptions>(program, chosen, runCompare, "compare",
                                   "Compare two snapshots, or a snapshot with a server", compareExamples);
    const Check side = [&url = options.url](const std::string& given) {
        if (!isAddress(given))
            return std::string();
        url = given;
        return completeUrlOrProfile(url);
    };
    command
        .addPositional(
            "OLD", &options.before,
            "A file that opcua-cli snapshot wrote, or a server: host:port or opc.tcp://host:port[/path]",
            side)
        .required = true;
    command.addPositional("NEW", &options.after, "Likewise; one of the two is a file", side).required = true;
    addReportOptions(command, options);
    addSessionOptions(command, options);
    command.addOption("--tolerance", "X", &options.tolerance,
                      "Float and Double that differ by no more are the same (default: 0)", notNegative());
    addFolderOptions(command, options);
}

} // namespace opcua_cli
