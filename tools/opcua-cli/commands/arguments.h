#pragma once

#include "failure.h"
#include "options.h"
#include "output/json.h"
#include "values/job.h"

#include <CLI/CLI.hpp>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace opcua_cli {

/// What the commands take that handle many nodes.
struct NodeListOptions : ConnectOptions {
    std::string typeName;
    std::string index;
    std::string file; ///< to take the nodes from; empty when they are arguments
    std::size_t maxNodes = defaultMaxNodes;
    std::size_t maxElements = defaultMaxElements;
};

/// All but the URL.
void addReportOptions(CLI::App& command, CommonOptions& options);
void addCommonOptions(CLI::App& command, CommonOptions& options);
void addConnectOptions(CLI::App& command, ConnectOptions& options);
/// All that connecting takes but the URL.
void addSessionOptions(CLI::App& command, ConnectOptions& options);
void addSecurityOptions(CLI::App& command, SecurityOptions& options);
/// Makes "host:4840" an address that can be connected; what is wrong with it, or nothing.
std::string completeUrlInPlace(std::string& text);
void addNodeListOptions(CLI::App& command, NodeListOptions& options, const std::string& typeDescription);
void addMaxNodesOption(CLI::App& command, std::size_t& maxNodes, const std::string& description);
void addCsvOption(CLI::App& command, bool& csv);
void addMaxElementsOption(CLI::App& command, std::size_t& maxElements);

/// Adds type and index of the command line where a job has none. Throws Failure (Usage).
void completeJobs(Jobs& jobs, const NodeListOptions& options);

/// A chosen sub-command, ready to run.
struct Action {
    std::function<ExitCode()> run{};
    CommonOptions* options = nullptr; ///< the command's own

    ExitCode operator()() const { return run(); }
};

/// Form of a command's documents.
using Form = std::string (*)(const Json&);

/// The address that the user gave, completed: "host:4840" becomes "opc.tcp://host:4840". Throws
/// CLI::ValidationError.
std::string completeUrl(const std::string& text);

/// The URL, or the @profile, that is meant where none is given, and by @ alone.
constexpr const char* urlVariable = "OPCUA_CLI_URL";

/// Where the URL is an @profile: its own, and what it says of security where the options say nothing. Throws
/// Failure (Usage).
void useProfile(CommonOptions& options);

/// The words behind the program's name, last one first, as CLI11 wants them. Where a node stands in the place
/// of the URL, the one of the environment is meant.
std::vector<std::string> reversedArguments(std::vector<std::string> words);

/// Runs a command from where the library finds its files; a Failure is reported to people on standard error,
/// and with --json as {"error": ...} too.
ExitCode runReporting(CommonOptions& options, const std::function<ExitCode()>& command, Form form);

template <typename Options>
struct Command {
    CLI::App& app;
    Options& options;
};

/// Adds a sub-command, without its options; when it is chosen, `chosen` becomes what is to be run.
template <typename Options>
Command<Options> addCommand(CLI::App& app, Action& chosen, ExitCode (*run)(const Options&), const char* name,
                            const char* description, const char* examples, Form form = document) {
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand(name, description);
    command->footer(examples);
    command->callback([=, &chosen] {
        chosen = {[=] { return runReporting(*options, [=] { return run(*options); }, form); }, options.get()};
    });
    return {*command, *options};
}

} // namespace opcua_cli
