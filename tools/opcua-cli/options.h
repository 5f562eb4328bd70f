#pragma once

#include "failure.h"
#include "output/json.h"
#include "security/options.h"

#include <CLI/CLI.hpp>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace opcua_cli {

/// What every sub-command takes.
struct CommonOptions {
    std::string url;
    bool json = false;
    int traceLevel = 0;

    CommonOptions() = default;
    virtual ~CommonOptions() = default;
    CommonOptions(const CommonOptions&) = default;
    CommonOptions& operator=(const CommonOptions&) = default;

    /// True when the library will look for its files, or write them.
    virtual bool needsFiles() const { return traceLevel != 0; }
};

/// What every sub-command takes that opens a connection.
struct ConnectOptions : CommonOptions {
    int timeoutMilliseconds = 5000;
    SecurityOptions security;

    bool needsFiles() const override { return CommonOptions::needsFiles() || security.isWanted(); }
};

/// Default bound of everything that walks through an address space.
constexpr std::size_t defaultMaxNodes = 20000;

/// All but the URL.
void addReportOptions(CLI::App& command, CommonOptions& options);
void addCommonOptions(CLI::App& command, CommonOptions& options);
void addConnectOptions(CLI::App& command, ConnectOptions& options);
void addMaxNodesOption(CLI::App& command, std::size_t& maxNodes, const std::string& description);

/// The address that the user gave, completed: "host:4840" becomes "opc.tcp://host:4840". Throws
/// CLI::ValidationError for one that the library cannot take.
std::string completeUrl(const std::string& text);

/// A chosen sub-command, ready to run.
using Action = std::function<ExitCode()>;

/// Form of a command's documents.
using Form = std::string (*)(const Json&);

/// Runs a command from where the library finds its files; a Failure is reported to people on standard error,
/// and with --json as {"error": ...} too.
ExitCode runReporting(const CommonOptions& options, const Action& command, Form form);

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
        chosen = [=] { return runReporting(*options, [=] { return run(*options); }, form); };
    });
    return {*command, *options};
}

} // namespace opcua_cli
