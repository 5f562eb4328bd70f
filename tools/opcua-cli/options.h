#pragma once

#include "failure.h"
#include "security/options.h"

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

namespace opcua_cli {

/// What every sub-command takes.
struct CommonOptions {
    std::string url;
    bool json = false;
    int traceLevel = 0;
};

/// What every sub-command takes that opens a connection.
struct ConnectOptions : CommonOptions {
    int timeoutMilliseconds = 5000;
    SecurityOptions security;
};

/// Default bound of everything that walks through an address space.
constexpr std::size_t defaultMaxNodes = 20000;

void addCommonOptions(CLI::App& command, CommonOptions& options);
void addConnectOptions(CLI::App& command, ConnectOptions& options);
void addMaxNodesOption(CLI::App& command, std::size_t& maxNodes, const std::string& description);

/// The address that the user gave, completed: "host:4840" becomes "opc.tcp://host:4840". Throws
/// CLI::ValidationError for one that the library cannot take.
std::string completeUrl(const std::string& text);

/// A chosen sub-command, ready to run.
using Action = std::function<ExitCode()>;

/// Runs a command; a Failure is reported to people on standard error, and with --json as {"error": ...} too.
ExitCode runReporting(const CommonOptions& options, const Action& command);

} // namespace opcua_cli
