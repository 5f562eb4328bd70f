#include "commands/arguments.h"

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "OpcUaTypes.h"
#include "address.h"
#include "files/library_files.h"
#include "formats/text_file.h"
#include "interrupt.h"
#include "output/streams.h"

namespace opcua_cli {
namespace {

constexpr std::size_t longestUrl = sizeof _OpcUaClientConfig::endpointUrl - 1;

const std::map<std::string, int>& traceLevels() {
    static const std::map<std::string, int> levels{{"none", 0},
                                                   {"errors", OpcUaTraceLevel_Errors},
                                                   {"warnings", OpcUaTraceLevel_Warnings},
                                                   {"lifecycle", OpcUaTraceLevel_LifeCycle},
                                                   {"information", OpcUaTraceLevel_Information},
                                                   {"debugging", OpcUaTraceLevel_Debugging},
                                                   {"details", OpcUaTraceLevel_Details},
                                                   {"everything", OpcUaTraceLevel_Everything}};
    return levels;
}

std::string traceLevelNames() {
    std::string names;
    for (int level = 0; level <= OpcUaTraceLevel_Everything; ++level) {
        for (const auto& [name, number] : traceLevels())
            if (number == level)
                names += (names.empty() ? "" : ", ") + name;
    }
    return names;
}

} // namespace

std::string completeUrl(std::string& text) {
    const std::string url = text.find("://") == std::string::npos ? std::string(urlScheme) + text : text;
    if (url.compare(0, urlScheme.size(), urlScheme) != 0)
        return "URL: only opc.tcp:// addresses can be connected, not " + text;
    const std::string_view address = std::string_view(url).substr(urlScheme.size());
    if (address.empty() || address[0] == '/' || address[0] == ':')
        return "URL: there is no host in \"" + text + "\"; try opc.tcp://host:4840";
    const std::string port = addressIn(url).port;
    if (port.size() > 5 || port.find_first_not_of("0123456789") != std::string::npos ||
        std::stoi(port) > 65535)
        return "URL: \"" + port + "\" is no port: a number up to 65535; try opc.tcp://host:4840";
    if (url.size() > longestUrl)
        return "URL: the address is longer than " + std::to_string(longestUrl) + " bytes";
    text = url;
    return {};
}

namespace {

std::string checkTypeName(std::string& text) {
    return typeFromName(text) ? std::string() : unknownTypeText(text);
}

/// Seconds, as they are written.
std::string checkPatience(const std::string& text) {
    const bool isNumber =
        !text.empty() && text.size() <= 9 && text.find_first_not_of("0123456789") == std::string::npos;
    return text == endlessly || (isNumber && std::stoi(text) > 0)
               ? ""
               : "\"" + text + "\" is no number of seconds, at least 1";
}

void addMaxElementsOption(Command& command, std::size_t& maxElements) {
    command.addOption(
        "--max-elements", "N", &maxElements,
        "Leave alone whole arrays with more elements (default: " + std::to_string(defaultMaxElements) + ")",
        inRange(1, 10000000));
}

} // namespace

std::string completeUrlOrProfile(std::string& text) {
    // A profile is looked up when the command runs.
    return !text.empty() && text[0] == '@' ? std::string() : completeUrl(text);
}

void addCommonOptions(Command& command, CommonOptions& options) {
    Option& url = command.addPositional(
        "URL", &options.url,
        "Address of the server: opc.tcp://host:port[/path], host:port, or @NAME for a profile",
        completeUrlOrProfile);
    url.required = true;
    url.environment = urlVariable;
    addReportOptions(command, options);
    // A flag: what follows it is the next argument, not its number.
    command.addFlag("--wait{" + std::string(endlessly) + "}", &options.wait,
                    "Wait for a server that isn't there yet; --wait=SECONDS for so long at most",
                    checkPatience);
}

void addReportOptions(Command& command, CommonOptions& options) {
    command.addFlag("--json", &options.json, "One JSON document instead of tables");
    command.addFlag("-v,--verbose", &options.verbose,
                    "Show the lines of the trace on standard error as they come");
    command.addOption("--trace", "LEVEL", &options.traceLevel,
                      "Level of the trace file: " + traceLevelNames() + ", or 0 to 7 (default: none)",
                      numberOf(traceLevels()));
}

void addConnectOptions(Command& command, ConnectOptions& options) {
    addCommonOptions(command, options);
    addSessionOptions(command, options);
}

void addSessionOptions(Command& command, ConnectOptions& options) {
    command.addOption("--timeout", "MS", &options.timeoutMilliseconds,
                      "Milliseconds that connecting may take (default: 5000)", inRange(1, 3600000));
    addSecurityOptions(command, options.security);
}

void addMaxNodesOption(Command& command, std::size_t& maxNodes, const std::string& description) {
    command.addOption("--max-nodes", "N", &maxNodes,
                      description + " (default: " + std::to_string(maxNodes) + ")", inRange(1, 10000000));
}

void addFolderOptions(Command& command, FolderOptions& options) {
    addMaxNodesOption(command, options.maxNodes, "Look at so many nodes");
    addMaxElementsOption(command, options.maxElements);
}

ExitCode runReporting(CommonOptions& options, const std::function<ExitCode()>& command, Form form) {
    const std::string early = form({{"error", toJson(Problem{"ended before the server answered"})}});
    const LastWords lastWords(options.json ? early.c_str() : nullptr);
    try {
        useProfile(options);
        if (options.needsFiles())
            prepareLibraryFiles();
        return command();
    } catch (const Failure& failure) {
        if (failure.exitCode() == ExitCode::OutputClosed)
            return failure.exitCode();
        reportProblem(failure.problem());
        if (options.json && !failure.isOutputOver())
            writeOutput(form({{"error", toJson(failure.problem())}}));
        return failure.exitCode();
    }
}

void addCsvOption(Command& command, bool& csv) {
    command.addFlag("--csv", &csv, "CSV with a line of headings instead of tables").excludes = "--json";
}

void addNodeListOptions(Command& command, NodeListOptions& options, const std::string& typeDescription) {
    addConnectOptions(command, options);
    command.addOption("--type", "TYPE", &options.typeName, typeDescription, checkTypeName);
    addMaxNodesOption(command, options.maxNodes, "Look at so many nodes to find the type of a node id");
    command.addOption("--index", "INDEX", &options.index,
                      "One element of an array or matrix, counted from 0: 4, or 2,3 for row 2, column 3");
    command.addOption("--from", "FILE", &options.file,
                      "Take the nodes from a CSV or JSON file; - for standard input");
    addMaxElementsOption(command, options.maxElements);
}

void checkInputIsFree(const CommonOptions& options, const std::string& name) {
    if (name == standardInput && options.session && isatty(STDIN_FILENO) != 1)
        throw usageFailure("standard input holds the shell's own lines", "a file, or the value itself");
}

void completeJobs(Jobs& jobs, const NodeListOptions& options) {
    std::optional<Index> index;
    if (!options.index.empty())
        index = parseIndex(options.index);
    for (Job& job : jobs) {
        if (!job.type)
            job.type = typeFromName(options.typeName);
        if (!job.index)
            job.index = index;
    }
}

} // namespace opcua_cli
