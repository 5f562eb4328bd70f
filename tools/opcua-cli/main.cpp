#include "commands/commands.h"
#include "files/library_files.h"
#include "help.h"
#include "interrupt.h"
#include "output/streams.h"
#include "output/terminal.h"
#include "text/utf8.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <optional>
#include <sstream>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using namespace opcua_cli;

constexpr const char* exitCodes = R"(Exit codes:
  0         done
  1         refused or failed, even for one node
  2         wrong arguments, nothing was sent
  3         no connection, or it was lost
  4         the result could not be written
  130, 143  Ctrl-C, SIGTERM; a server that answers has closed the session
  141       nobody reads the output any more

Nodes are named by id ('ns=2;s=Line1.Speed', i=2261) or by path (/Plant/Line1/Speed).
"opcua-cli COMMAND --help" has examples.)";

void describeProgram(CLI::App& app) {
    app.name("opcua-cli");
    app.description("Looks into OPC UA servers: find, browse, read, write, monitor");
    app.set_version_flag("--version", "opcua-cli " OPCUA_CLI_VERSION);
    app.require_subcommand(1);
    app.footer(std::string(exitCodes) + "\nTrace file (--trace): " + libraryFiles().trace.string());
}

/// Everything later takes arguments for text.
void refuseBrokenArguments(int count, char** arguments) {
    for (int i = 1; i < count; ++i) {
        if (!isValidUtf8(arguments[i]))
            throw usageFailure("argument " + std::to_string(i) + " is not UTF-8: " + arguments[i],
                               "a terminal with a UTF-8 locale");
    }
}

ExitCode explainParse(const CLI::App& app, const CLI::ParseError& error) {
    std::ostringstream output;
    std::ostringstream problem;
    const bool wanted = app.exit(error, output, problem) == static_cast<int>(CLI::ExitCodes::Success);
    if (wanted) {
        const std::optional<std::size_t> width = terminalOn(STDOUT_FILENO).width;
        writeOutput(width ? wrapped(output.str(), *width) : output.str());
        return ExitCode::Success;
    }
    reportProblem({error.what(), "opcua-cli --help, or opcua-cli COMMAND --help"});
    return ExitCode::Usage;
}

ExitCode run(int count, char** arguments) {
    refuseBrokenArguments(count, arguments);
    CLI::App app;
    Action chosen;
    describeProgram(app);
    addDiscoverCommand(app, chosen);
    addBrowseCommand(app, chosen);
    addFindCommand(app, chosen);
    addReadCommand(app, chosen);
    addWriteCommand(app, chosen);
    addSnapshotCommand(app, chosen);
    addRestoreCommand(app, chosen);
    addCompareCommand(app, chosen);
    addMonitorCommand(app, chosen);
    addRecordCommand(app, chosen);
    addExportCommand(app, chosen);
    addShellCommand(app, chosen);
    addPingCommand(app, chosen);
    addInfoCommand(app, chosen);
    addCertCommand(app, chosen);
    fitHelp(app);
    try {
        app.parse(reversedArguments(commandLine(app, count, arguments)));
    } catch (const CLI::ParseError& error) {
        return explainParse(app, error);
    }
    return chosen();
}

ExitCode runSafely(int count, char** arguments) {
    try {
        return run(count, arguments);
    } catch (const Failure& failure) {
        if (failure.exitCode() != ExitCode::OutputClosed)
            reportProblem(failure.problem());
        return failure.exitCode();
    } catch (const std::exception& error) {
        reportProblem({std::string("internal error: ") + error.what(), {}});
        return ExitCode::Internal;
    }
}

} // namespace

int main(int count, char** arguments) {
    secureStandardStreams();
    watchForInterrupt();
    return static_cast<int>(runSafely(count, arguments));
}
