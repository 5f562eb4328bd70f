#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "addressing/browse_tree.h"
#include "commands/commands.h"
#include "commands/walk_report.h"
#include "formats/csv.h"
#include "output/streams.h"
#include "output/terminal.h"
#include "text/utf8.h"
#include "text/wildcard.h"

namespace opcua_cli {
namespace {

struct FindOptions : ConnectOptions {
    std::string name;
    std::string from = "/0:Objects";
    bool caseSensitive = false;
    bool csv = false;
    std::size_t limit = std::numeric_limits<std::size_t>::max();
    std::size_t maxNodes = 100000; // of about 2 kB
};

/// "12,345"
std::string grouped(std::size_t number) {
    std::string text = std::to_string(number);
    for (std::size_t at = text.size(); at > 3; at -= 3)
        text.insert(at - 3, ",");
    return text;
}

std::string kindText(const NodeInfo& node) {
    return node.hasValue() ? typeAndShape(node) : className(node.nodeClass);
}

/// Picks the nodes out of a walk that are wanted, and shows each at once; only a document comes as a whole.
class Finds {
public:
    Finds(const FindOptions& options, std::optional<std::string> startPath)
        : m_options(options), m_wanted(options.name, options.caseSensitive),
          m_startPath(std::move(startPath)) {
        if (m_options.csv)
            show(csvLine({"node", "path", "displayName", "class", "type"}));
    }

    /// Looks at what is new in the walk; false when that is enough.
    bool take(const Walk& walk) {
        for (; m_seen < walk.nodes.size() && !isEnough(); ++m_seen) {
            const WalkedNode& walked = walk.nodes[m_seen];
            if (m_seen != 0 && !walked.repeated && isWanted(walked.node))
                add(walked.node, pathOf(walk, m_seen, m_startPath.value_or(".")));
        }
        return !isEnough();
    }

    void showProgress(const Walk& walk, std::size_t next) {
        m_progress.show([&] {
            return grouped(walk.nodes.size()) + " nodes, " + grouped(m_count) + " found, at " +
                   pathOf(walk, next, m_startPath ? m_startPath->substr(1) : ".");
        });
    }

    std::size_t count() const { return m_count; }
    bool isEnough() const { return m_count >= m_options.limit || m_pathBytes > mostPathBytes; }
    Json& nodes() { return m_nodes; }

private:
    bool isWanted(const NodeInfo& node) const {
        return m_wanted.matches(node.displayName) || m_wanted.matches(plainName(node.browseName));
    }

    void add(const NodeInfo& node, const std::string& path) {
        ++m_count;
        if (m_options.json) {
            m_pathBytes += path.size();
            m_nodes.push_back(toJson(node));
            m_nodes.back()["path"] = m_startPath ? Json(path) : Json();
        } else if (m_options.csv) {
            show(csvLine({node.nodeId, path, node.displayName, className(node.nodeClass), typeText(node)}));
        } else {
            show(line({path, node.nodeId, kindText(node)}));
        }
    }

    void show(const std::string& lines) {
        m_progress.clear();
        writeOutput(m_options.csv ? forStandardOutput(lines) : lines);
    }

    /// Aligned as far as can be while the rest is not known; with tabs for who reads it by program.
    std::string line(const std::array<std::string, 3>& fields) {
        constexpr std::size_t widest = 60;
        std::string text;
        for (std::size_t i = 0; i < fields.size(); ++i) {
            const std::string field = printable(fields[i]);
            const std::size_t width = std::min(displayWidth(field), widest);
            m_widths[i] = std::max(m_widths[i], width);
            const bool isLast = i + 1 == fields.size();
            const std::string gap = m_isTerminal ? std::string(m_widths[i] - width + 2, ' ') : "\t";
            text += field + (isLast ? "\n" : gap);
        }
        return text;
    }

    const FindOptions& m_options;
    const Wildcard m_wanted;
    const std::optional<std::string> m_startPath;
    const bool m_isTerminal = terminalOn(STDOUT_FILENO).interactive;
    Progress m_progress{"finding"};
    std::array<std::size_t, 3> m_widths{};
    std::size_t m_seen = 0; ///< of the walk
    std::size_t m_count = 0;
    std::size_t m_pathBytes = 0; ///< of what is in the document
    Json m_nodes = Json::array();
};

std::string jsonReport(const FindOptions& options, const Walk& walk, Finds& finds) {
    Json json{{"url", options.url},
              {"name", options.name},
              {"from", walk.nodes.front().node.nodeId},
              {"nodes", std::move(finds.nodes())},
              {"searched", walk.nodes.size() - 1},
              {"complete", walk.complete && !walk.end}};
    if (walk.end)
        json["error"] = toJson(walk.end->problem());
    return document(json);
}

/// What to say of a walk that is not complete.
std::string whatEndedTheSearch(const FindOptions& options, const Walk& walk, std::size_t count, bool enough) {
    if (enough)
        return "stopped after " + std::to_string(count) + " finds; there may be more";
    if (walk.nodes.size() > options.maxNodes)
        return "stopped after " + std::to_string(options.maxNodes) +
               " nodes; --max-nodes sets another bound, --from a node further down";
    return "what lies more than " + std::to_string(greatestWalkDepth) +
           " levels down is not searched; --from a node further down";
}

ExitCode conclude(const FindOptions& options, const Walk& walk, std::size_t count, bool enough) {
    const ExitCode code = reportWalk(walk, whatEndedTheSearch(options, walk, count, enough));
    if (count != 0 || walk.end)
        return code;
    const bool hasWildcard = options.name.find_first_of("*?") != std::string::npos;
    reportProblem({"nothing is called " + options.name,
                   hasWildcard ? "" : "'*" + options.name + "*', which may stand anywhere in a name"});
    return ExitCode::Failed;
}

ExitCode runFind(const FindOptions& options) {
    const NodeReference start = parseNodeReference(options.from);
    const auto held = connectionFor(options);
    Connection& connection = *held;
    BrowseTree tree(connection, start);
    const std::vector<OpcUaNode*> way = tree.wayTo(start);
    std::optional<Finds> finds(std::in_place, options, pathOf(start, way));
    Walk found =
        walk(tree, way.back(), greatestWalkDepth, options.maxNodes, [&](const Walk& sofar, std::size_t next) {
            const bool goOn = finds->take(sofar);
            finds->showProgress(sofar, next);
            return goOn;
        });
    // What came with the last browse, or before a failure.
    found.complete = finds->take(found) && found.complete && !endsAtDepth(found, greatestWalkDepth);
    const std::size_t count = finds->count();
    const bool enough = finds->isEnough();
    if (options.json)
        writeOutput(jsonReport(options, found, *finds));
    finds.reset();
    return conclude(options, found, count, enough);
}

constexpr const char* findExamples = R"(Examples:
  opcua-cli find plant:4840 '*speed*'                        in quotes: the shell would look for files
  opcua-cli find plant:4840 'Tank?' --from /Plant
  opcua-cli find plant:4840 Level --limit 1
  opcua-cli find plant:4840 '*temp*' --csv > nodes.csv       and then: read plant:4840 --from nodes.csv
  opcua-cli find plant:4840 '*' --json | jq -r '.nodes[] | select(.class=="Method") | .path'

* stands for any text, ? for any one character; the display name or the browse name has to fit as a whole.)";

} // namespace

void addFindCommand(Program& program, Action& chosen) {
    auto [command, options] =
        addCommand<FindOptions>(program, chosen, runFind, "find",
                                "Find nodes by their names, anywhere below the Objects folder", findExamples);
    addConnectOptions(command, options);
    addCsvOption(command, options.csv);
    command.addPositional("NAME", &options.name, "The name, with the wildcards * and ?").required = true;
    command.addOption("--from", "NODE", &options.from,
                      "Where to start: node id or path (default: the Objects folder)");
    command.addFlag("--case", &options.caseSensitive, "Tell upper case from lower case");
    command.addOption("--limit", "N", &options.limit, "Stop after so many finds (default: find all)",
                      inRange(1, 10000000));
    addMaxNodesOption(command, options.maxNodes, "Look at so many nodes");
}

} // namespace opcua_cli
