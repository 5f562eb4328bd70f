#include "commands/commands.h"

#include "commands/difference_rows.h"
#include "commands/take_snapshot.h"
#include "output/streams.h"
#include "output/table.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <limits>
#include <string>
#include <system_error>
#include <unistd.h>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

namespace opcua_cli {
namespace {

struct CompareOptions : FolderOptions {
    std::string before;
    std::string after;
    double tolerance = 0;
};

enum class Kind { Changed, TypeChanged, Missing, Added, NotReadable };

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

/// A node that is not the same on both sides; null on the side that has no value of it.
struct Difference {
    Kind kind;
    const Job* before;
    const Job* after;
    std::string reason{}; ///< of what is not readable

    const NodeInfo& node() const { return (after != nullptr ? after : before)->node; }
};

class Comparison {
public:
    Comparison(const Snapshot& before, const Snapshot& after, double tolerance)
        : m_before(before), m_after(after), m_tolerance(tolerance) {
        const ById beforeIds = byId(before.nodes);
        const ById afterIds = byId(after.nodes);
        const ById leftOutBefore = byId(before.leftOut);
        const ById leftOutAfter = byId(after.leftOut);
        for (const Job& job : before.nodes)
            compare(job, find(afterIds, job), find(leftOutAfter, job));
        for (const Job& job : after.nodes) {
            if (find(beforeIds, job) == nullptr)
                takeOneSided(Kind::Added, nullptr, &job, find(leftOutBefore, job));
        }
        // What lies below such a node may look as if it were missing.
        for (const Job& job : after.leftOut) {
            if (job.problem && find(beforeIds, job) == nullptr && find(leftOutBefore, job) == nullptr)
                m_differences.push_back({Kind::NotReadable, nullptr, &job, job.problem->explanation});
        }
    }

    const std::vector<Difference>& differences() const { return m_differences; }
    std::size_t equal() const { return m_equal; }
    std::size_t count(Kind kind) const {
        return static_cast<std::size_t>(std::count_if(m_differences.begin(), m_differences.end(),
                                                      [&](const Difference& d) { return d.kind == kind; }));
    }
    bool isComplete() const { return m_before.complete && m_after.complete; }

    bool isSameValue(const Value& one, const Value& other) const {
        const double distance = std::abs(realNumber(one) - realNumber(other));
        return isSame(one, other) || distance <= m_tolerance;
    }

private:
    using ById = std::unordered_map<std::string, const Job*>;

    static ById byId(const Jobs& jobs) {
        ById found;
        for (const Job& job : jobs)
            found.emplace(job.node.nodeId, &job);
        return found;
    }
    static const Job* find(const ById& jobs, const Job& wanted) {
        const auto found = jobs.find(wanted.node.nodeId);
        return found == jobs.end() ? nullptr : found->second;
    }

    /// NaN for all but Float and Double.
    static double realNumber(const Value& value) {
        if (const auto* number = std::get_if<float>(&value))
            return static_cast<double>(*number);
        const auto* number = std::get_if<double>(&value);
        return number != nullptr ? *number : std::numeric_limits<double>::quiet_NaN();
    }

    void compare(const Job& before, const Job* after, const Job* leftOut) {
        if (after == nullptr)
            takeOneSided(Kind::Missing, &before, nullptr, leftOut);
        else if (before.node.dataType != after->node.dataType || before.value.shape != after->value.shape)
            m_differences.push_back({Kind::TypeChanged, &before, after});
        else if (std::equal(before.value.elements.begin(), before.value.elements.end(),
                            after->value.elements.begin(), after->value.elements.end(),
                            [&](const Value& a, const Value& b) { return isSameValue(a, b); }))
            ++m_equal;
        else
            m_differences.push_back({Kind::Changed, &before, after});
    }

    /// The other side may have left the node out because it has another type there, or could not be read.
    void takeOneSided(Kind kind, const Job* before, const Job* after, const Job* leftOut) {
        if (leftOut == nullptr)
            m_differences.push_back({kind, before, after});
        else if (leftOut->problem)
            m_differences.push_back({Kind::NotReadable, before, after, leftOut->problem->explanation});
        else
            m_differences.push_back({Kind::TypeChanged, before, after});
    }

    const Snapshot& m_before;
    const Snapshot& m_after;
    double m_tolerance;
    std::size_t m_equal = 0;
    std::vector<Difference> m_differences;
};

std::string typeOf(const Job* job) {
    return job != nullptr ? typeAndShape(job->node) : std::string(typeName(OpcUaDataType_Null));
}

void addRow(Table& table, const Comparison& comparison, const Difference& difference) {
    const NodeInfo& node = difference.node();
    const Job* const before = difference.before;
    const Job* const after = difference.after;
    if (difference.kind == Kind::Changed) {
        addDifferences(table, node, before->value, after->value, textsOf(difference.kind).title,
                       [&](const Value& a, const Value& b) { return comparison.isSameValue(a, b); });
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

std::string tableReport(const Comparison& comparison) {
    const Terminal terminal = terminalOn(STDOUT_FILENO);
    Table table({{"Node", false}, {"Name"}, {"Type"}, {"Index"}, {"Old"}, {"New"}, {"Result"}});
    for (const Difference& difference : comparison.differences())
        addRow(table, comparison, difference);
    std::string summary = std::to_string(comparison.equal()) + " values are the same";
    for (std::size_t i = 0; i < kindTexts.size(); ++i) {
        if (const std::size_t count = comparison.count(static_cast<Kind>(i)))
            summary += ", " + std::to_string(count) + " " + kindTexts[i].title;
    }
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
    for (const Difference& difference : comparison.differences())
        nodes.push_back({{"nodeId", difference.node().nodeId},
                         {"displayName", difference.node().displayName},
                         {"result", textsOf(difference.kind).key},
                         {"old", sideJson(difference.before)},
                         {"new", sideJson(difference.after)},
                         {"reason", difference.reason.empty() ? Json() : Json(difference.reason)}});
    Json json{{"old", options.before},
              {"new", options.after},
              {"nodes", std::move(nodes)},
              {"equal", comparison.equal()},
              {"complete", comparison.isComplete()}};
    for (std::size_t i = 0; i < kindTexts.size(); ++i)
        json[kindTexts[i].key] = comparison.count(static_cast<Kind>(i));
    return document(json);
}

/// A file that is there is meant, whatever its name.
bool isAddress(const std::string& given) {
    std::error_code unknown;
    return given.find(':') != std::string::npos && !std::filesystem::exists(given, unknown);
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
    const Comparison comparison(before, after, options.tolerance);
    writeOutput(options.json ? jsonReport(options, comparison) : tableReport(comparison));
    if (!comparison.isComplete())
        reportNote(
            "not everything was compared: a snapshot stopped at its bound; --max-nodes sets another one");
    const bool same = comparison.differences().empty() && comparison.isComplete();
    return same ? ExitCode::Success : ExitCode::Failed;
}

constexpr const char* examples = R"(Examples:
  opcua-cli compare line1.json plant:4840                     what is different from the snapshot by now
  opcua-cli compare monday.json friday.json
  opcua-cli compare line1.json plant:4840 --tolerance 0.5     measured values may have moved a little
  opcua-cli compare line1.json plant:4840 --json | jq '.nodes[] | select(.result == "missing")'

Exit code 0 says that all values are the same, 1 that something differs or could not be read.)";

} // namespace

void addCompareCommand(CLI::App& app, Action& chosen) {
    auto [command, options] = addCommand<CompareOptions>(
        app, chosen, runCompare, "compare", "Compare two snapshots, or a snapshot with a server", examples);
    const CLI::Validator side(
        [&url = options.url](std::string& given) {
            if (!isAddress(given))
                return std::string();
            url = given;
            return completeUrlInPlace(url);
        },
        "");
    command
        .add_option(
            "OLD", options.before,
            "A file that opcua-cli snapshot wrote, or a server: host:port or opc.tcp://host:port[/path]")
        ->required()
        ->type_name("")
        ->check(side);
    command.add_option("NEW", options.after, "Likewise; one of the two is a file")
        ->required()
        ->type_name("")
        ->check(side);
    addReportOptions(command, options);
    addSessionOptions(command, options);
    command
        .add_option("--tolerance", options.tolerance,
                    "Float and Double that differ by no more are the same (default: 0)")
        ->type_name("X")
        ->check(CLI::NonNegativeNumber.description(""));
    addMaxNodesOption(command, options.maxNodes, "Look at so many nodes");
    addMaxElementsOption(command, options.maxElements);
}

} // namespace opcua_cli
