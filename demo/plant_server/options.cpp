#include "options.h"

#include <arpa/inet.h>
#include <cstddef>
#include <fstream>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace plant_server {
namespace {

constexpr int usageError = 2;

const char* const examples = R"(
Examples:
  plant_server                                    on opc.tcp://127.0.0.1:4840, for this machine alone
  plant_server --port 0                           on a free port; the first line on standard output tells which
  plant_server --bind 0.0.0.0 --host plant7       for the whole network
  plant_server --page-size 100 --delay 50         small browse answers, each 50 ms late
  plant_server --tags 50000 --change-tags 1000 --change-interval 100
  plant_server --users operators.txt --insecure-passwords
  plant_server --pki ~/plant-pki                  secure endpoints, with the same certificate at each start
)";

void addUser(LoginOptions& logins, const std::string& line, const std::string& source) {
    const std::size_t colon = line.find(':');
    if (colon == std::string::npos || colon == 0)
        throw CLI::ValidationError("--users", source + " is not name:password");
    logins.passwords[line.substr(0, colon)] = line.substr(colon + 1);
}

/// "name:password", or a file with such lines; empty lines and those that start with # are left out.
void addUsers(LoginOptions& logins, const std::string& argument) {
    std::ifstream file(argument);
    if (!file.is_open()) {
        // What isn't a file may hold a password, which has no place in a message.
        addUser(logins, argument, "the argument is no readable file and");
        return;
    }
    std::string line;
    for (unsigned number = 1; std::getline(file, line); ++number)
        if (!line.empty() && line[0] != '#')
            addUser(logins, line, "line " + std::to_string(number) + " of " + argument);
}

std::string checkAddress(const std::string& address) {
    in_addr parsed{};
    return inet_pton(AF_INET, address.c_str(), &parsed) == 1 ? "" : address + " is not an IPv4 address";
}

void addNetworkOptions(CLI::App& app, Options& options) {
    app.add_option("--port", options.port, "TCP port to listen on; 0 takes a free one")
        ->capture_default_str();
    app.add_option("--bind", options.bindAddress, "IPv4 address to listen on; 0.0.0.0 for every interface")
        ->check(checkAddress)
        ->capture_default_str();
    app.add_option("--host", options.host, "Host name in the announced URL (default: the bind address)");
    app.add_option("--delay", options.delayMs, "Milliseconds by which every answer is late");
    app.add_option("--max-sessions", options.maxSessions, "Sessions at a time")
        ->check(CLI::Range(1, 60000))
        ->capture_default_str();
}

void addLimitOptions(CLI::App& app, Options& options) {
    app.add_option("--page-size", options.pageSize,
                   "References in a browse answer before a continuation point; 0 no limit");
    app.add_option("--max-nodes-per-read", options.maxNodesPerRead, "Operation limit; 0 none");
    app.add_option("--max-nodes-per-write", options.maxNodesPerWrite, "Operation limit; 0 none");
    app.add_option("--max-nodes-per-browse", options.maxNodesPerBrowse, "Operation limit; 0 none");
    app.add_option("--max-nodes-per-monitor", options.maxItemsPerMonitorCall, "Operation limit; 0 none");
    app.add_option("--max-items", options.maxItems, "Monitored items of all clients together; 0 no limit");
    app.add_option("--max-lifetime", options.maxLifetime,
                   "Publishing intervals that a subscription outlives its client's last request")
        ->check(CLI::Range(3, 1000000))
        ->capture_default_str();
    app.add_option("--min-sampling", options.minSamplingMs,
                   "Milliseconds between two looks at a monitored item, at the least")
        ->check(CLI::Range(5.0, 3.6e6))
        ->capture_default_str();
}

void addPlantOptions(CLI::App& app, Options& options) {
    app.add_option("--tags", options.tags.count, "Scalar variables in the folder Tags")
        ->check(CLI::Range(0, 1000000));
    app.add_option("--change-tags", options.tags.changing, "How many of the tags change by themselves");
    app.add_option("--change-interval", options.tags.changeIntervalMs,
                   "Milliseconds from one such change to the next")
        ->check(CLI::Range(1.0, 3600000.0))
        ->capture_default_str();
    app.add_option("--interval", options.intervalMs, "Milliseconds from one tick of the plant to the next")
        ->check(CLI::Range(5.0, 3600000.0))
        ->capture_default_str();
    app.add_option("--seed", options.seed, "Seed of the random walks")->capture_default_str();
}

void addSecurityOptions(CLI::App& app, SecurityOptions& options) {
    app.add_flag("--security", options.enabled,
                 "Secure endpoints besides None, with a certificate made at each start");
    app.add_flag("--legacy", options.legacy, "The old policies Basic256 and Basic128Rsa15 as well");
    app.add_option("--pki", options.pki, "Folder that keeps the server's certificate for the next start");
    CLI::Option* certificate =
        app.add_option("--certificate", options.certificate, "Show this certificate (DER or PEM)");
    CLI::Option* privateKey =
        app.add_option("--private-key", options.privateKey, "Its private key (DER or PEM, not encrypted)");
    certificate->needs(privateKey);
    privateKey->needs(certificate);
    app.add_option("--trusted-clients", options.trustedClients,
                   "Folder of client certificates to trust (default: every client)");
    app.add_option("--trusted-users", options.trustedUsers,
                   "Folder of user certificates to trust (default: every user certificate)");
}

/// Whoever says how the endpoints are to be secured wants them secured.
bool asksForSecurity(const SecurityOptions& options) {
    return options.enabled || options.legacy || !options.pki.empty() || !options.certificate.empty() ||
           !options.trustedClients.empty() || !options.trustedUsers.empty();
}

} // namespace

ParsedOptions parseOptions(int argc, char** argv) {
    ParsedOptions parsed;
    Options& options = parsed.options;
    std::vector<std::string> users;
    bool noAnonymous = false;

    CLI::App app("A simulated plant as an OPC UA server: lines, a boiler, tanks and conveyors, and a test "
                 "rack with every\n"
                 "kind of node. It writes one line to standard output when it is ready and runs until "
                 "SIGTERM or Ctrl-C.",
                 "plant_server");
    app.footer(examples);
    app.option_defaults()->take_last();
    addNetworkOptions(app, options);
    addLimitOptions(app, options);
    addPlantOptions(app, options);
    app.add_option("--users", users, "name:password, or a file with such lines (default: operator:plant)")
        ->type_name("FILE|NAME:PASSWORD")
        ->take_all()
        ->allow_extra_args(false);
    app.add_flag("--no-anonymous", noAnonymous, "Refuse clients that don't log in");
    app.add_flag("--insecure-passwords", options.insecurePasswords,
                 "Accept passwords that cross the network unencrypted (security policy None)");
    addSecurityOptions(app, options.security);
    app.add_flag("--die-with-parent", options.dieWithParent,
                 "End when the thread that started this process ends");
    app.add_flag("--verbose", options.verbose, "The OPC UA stack's log on standard error");

    try {
        app.parse(argc, argv);
        for (const std::string& argument : users)
            addUsers(options.logins, argument);
    } catch (const CLI::ParseError& error) {
        const bool failed = app.exit(error) != 0;
        parsed.exitCode = failed ? usageError : 0;
    }
    if (users.empty())
        options.logins.passwords = {{"operator", "plant"}};
    options.logins.anonymous = !noAnonymous;
    options.security.enabled = asksForSecurity(options.security);
    if (options.host.empty())
        options.host = options.bindAddress;
    return parsed;
}

} // namespace plant_server
