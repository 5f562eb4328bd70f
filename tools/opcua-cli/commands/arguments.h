#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "command_line/command_line.h"
#include "failure.h"
#include "options.h"
#include "output/json.h"
#include "values/job.h"

namespace opcua_cli {

/// What the commands take that handle many nodes.
struct NodeListOptions : ConnectOptions {
    std::string typeName;
    std::string index;
    std::string file; ///< to take the nodes from; empty when they are arguments
    std::size_t maxNodes = defaultMaxNodes;
    std::size_t maxElements = defaultMaxElements;
};

/// What the commands take that read all values of a folder.
struct FolderOptions : ConnectOptions {
    std::size_t maxNodes = defaultMaxNodes;
    std::size_t maxElements = defaultMaxElements;
};

/// All but the URL.
void addReportOptions(Command& command, CommonOptions& options);
void addCommonOptions(Command& command, CommonOptions& options);
void addConnectOptions(Command& command, ConnectOptions& options);
/// All that connecting takes but the URL.
void addSessionOptions(Command& command, ConnectOptions& options);
void addSecurityOptions(Command& command, SecurityOptions& options);
/// Makes "host:4840" the address "opc.tcp://host:4840"; what is wrong with it, or nothing.
std::string completeUrl(std::string& text);
/// The same, but an @profile stays what it is.
std::string completeUrlOrProfile(std::string& text);
void addNodeListOptions(Command& command, NodeListOptions& options, const std::string& typeDescription);
void addMaxNodesOption(Command& command, std::size_t& maxNodes, const std::string& description);
void addCsvOption(Command& command, bool& csv);
/// All but those of the connection.
void addFolderOptions(Command& command, FolderOptions& options);

/// Adds type and index of the command line where a job has none. Throws Failure (Usage).
void completeJobs(Jobs& jobs, const NodeListOptions& options);

/// Takes the names of files, or values, where "-" stands for standard input. Throws Failure (Usage) for that
/// one in a shell whose lines come from there.
void checkInputIsFree(const CommonOptions& options, const std::string& name);

/// A chosen sub-command, ready to run.
struct Action {
    std::function<ExitCode()> run{};
    CommonOptions* options = nullptr; ///< the command's own

    ExitCode operator()() const { return run(); }
};

/// Form of a command's documents.
using Form = std::string (*)(const Json&);

/// The URL, or the @profile, that is meant where none is given, and by @ alone.
constexpr const char* urlVariable = "OPCUA_CLI_URL";

/// Where the URL is an @profile: its own, and what it says of security where the options say nothing. Throws
/// Failure (Usage).
void useProfile(CommonOptions& options);

/// The words behind the program's name. Where a node stands in the place of the URL, the one of the
/// environment is meant.
std::vector<std::string> withUrl(std::vector<std::string> words);

/// Runs a command from where the library finds its files; a Failure is reported to people on standard error,
/// and with --json as {"error": ...} too.
ExitCode runReporting(CommonOptions& options, const std::function<ExitCode()>& command, Form form);

/// Adds a sub-command, without its options; when it is chosen, `chosen` becomes what is to be run.
template <typename Options>
std::pair<Command&, Options&> addCommand(Program& program, Action& chosen, ExitCode (*run)(const Options&),
                                         const char* name, const char* description, const char* examples,
                                         Form form = document) {
    auto options = std::make_shared<Options>();
    const auto choose = [=, &chosen] {
        chosen = {[=] { return runReporting(*options, [=] { return run(*options); }, form); }, options.get()};
    };
    Command& command = program.commands.emplace_back(Command{name, description, examples, choose});
    return {command, *options};
}

} // namespace opcua_cli
