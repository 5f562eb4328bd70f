#include <cstddef>
#include <exception>
#include <optional>
#include <string>
#include <unistd.h>

#include "command_line/command_line.h"
#include "commands/commands.h"
#include "files/library_files.h"
#include "help.h"
#include "interrupt.h"
#include "output/streams.h"
#include "output/terminal.h"
#include "text/utf8.h"

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

void describeProgram(Program& program) {
    program.name = "opcua-cli";
    program.description = "Looks into OPC UA servers: find, browse, read, write, monitor";
    program.version = "opcua-cli " OPCUA_CLI_VERSION;
    program.isSingleCommand = true;
    program.footer = std::string(exitCodes) + "\nTrace file (--trace): " + libraryFiles().trace.string();
}

/// Everything later takes arguments for text.
void refuseBrokenArguments(int count, char** arguments) {
    for (int i = 1; i < count; ++i)
        if (!isValidUtf8(arguments[i]))
            throw usageFailure("argument " + std::to_string(i) + " is not UTF-8: " + arguments[i],
                               "a terminal with a UTF-8 locale");
}

void show(const std::string& help) {
    const std::optional<std::size_t> width = terminalOn(STDOUT_FILENO).width;
    writeOutput(width ? wrapped(help, *width) : help);
}

ExitCode run(int count, char** arguments) {
    refuseBrokenArguments(count, arguments);
    Program program;
    Action chosen;
    describeProgram(program);
    addDiscoverCommand(program, chosen);
    addBrowseCommand(program, chosen);
    addFindCommand(program, chosen);
    addReadCommand(program, chosen);
    addWriteCommand(program, chosen);
    addSnapshotCommand(program, chosen);
    addRestoreCommand(program, chosen);
    addCompareCommand(program, chosen);
    addMonitorCommand(program, chosen);
    addRecordCommand(program, chosen);
    addExportCommand(program, chosen);
    addShellCommand(program, chosen);
    addPingCommand(program, chosen);
    addInfoCommand(program, chosen);
    addCertCommand(program, chosen);
    fitHelp(program);
    const auto help = takeWords(program, withUrl(commandLine(program, count, arguments)),
                                "opcua-cli --help, or opcua-cli COMMAND --help");
    if (help) {
        show(*help);
        return ExitCode::Success;
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
