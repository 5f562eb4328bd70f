#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <unistd.h>
#include <variant>
#include <vector>

#include <nlohmann/json.hpp>

#include "OpcUaHelpers.h"
#include "addressing/browse_tree.h"
#include "commands/commands.h"
#include "connection.h"
#include "interrupt.h"
#include "output/dialogue.h"
#include "output/streams.h"
#include "output/table.h"
#include "shell/completion.h"
#include "shell/line_editor.h"
#include "shell/position.h"
#include "shell/words.h"
#include "text/utf8.h"

namespace opcua_cli {
namespace {

struct ShellOptions : ConnectOptions {
    bool strict = false;
};

constexpr const char* objectsPath = "/0:Objects";

/// A command that works on the shell's connection, and the option that takes its nodes.
struct SharedCommand {
    const char* name;
    void (*add)(Program& program, Action& chosen);
    const char* nodes;
};

constexpr std::array<SharedCommand, 7> sharedCommands{{{"browse", addBrowseCommand, "NODE"},
                                                       {"find", addFindCommand, "--from"},
                                                       {"info", addInfoCommand, nullptr},
                                                       {"read", addReadCommand, "NODE"},
                                                       {"restore", addRestoreCommand, nullptr},
                                                       {"snapshot", addSnapshotCommand, "FOLDER"},
                                                       {"write", addWriteCommand, "NODE_VALUE"}}};

struct OwnCommand {
    const char* name;
    const char* description;
};

constexpr std::array<OwnCommand, 4> ownCommands{
    {{"cd", "Go to a node, by a path: names then start there; without one, to the Objects folder"},
     {"help", "Show the commands, or what one of them takes"},
     {"quit", "End; so does Ctrl-D"},
     {"status", "Show the connection and the position"}}};

bool isOwn(const std::string& name) {
    return std::any_of(ownCommands.begin(), ownCommands.end(),
                       [&](const OwnCommand& command) { return name == command.name; });
}

std::vector<std::string> commandNames() {
    std::vector<std::string> names;
    for (const SharedCommand& command : sharedCommands)
        names.emplace_back(command.name);
    for (const OwnCommand& command : ownCommands)
        names.emplace_back(command.name);
    return names;
}

/// What the shell's own options have decided.
void removeConnectOptions(Command& command) {
    Command connect;
    ConnectOptions unused;
    addConnectOptions(connect, unused);
    for (const Option& option : connect.options)
        if (option.names != "--json")
            command.remove(option.names);
}

const SharedCommand& sharedCommand(const std::string& name) {
    const auto* const found =
        std::find_if(sharedCommands.begin(), sharedCommands.end(),
                     [&](const SharedCommand& command) { return name == command.name; });
    if (found == sharedCommands.end())
        throw usageFailure("no command of the shell is called " + name, "help");
    return *found;
}

Command& add(Program& program, Action& chosen, const SharedCommand& shared) {
    shared.add(program, chosen);
    Command& command = program.commands.back();
    removeConnectOptions(command);
    command.footer.clear();
    return command;
}

/// Lines, one after the other, that share a connection.
class Shell {
public:
    explicit Shell(const ShellOptions& options)
        : m_options(options), m_connection(std::make_shared<Connection>(options)) {
        if (canAsk() && isatty(STDOUT_FILENO) == 1)
            m_editor.emplace([this](const std::string& before) {
                return complete(before,
                                {commandNames(), [this](const std::string& node) { return below(node); }});
            });
    }

    /// The exit code of the first command that failed; on a terminal, where somebody saw it, Success.
    ExitCode run() {
        ExitCode result = ExitCode::Success;
        while (!m_quit) {
            const std::optional<std::string> line = nextLine();
            if (!line)
                break;
            const ExitCode code = runLine(*line);
            if (code == ExitCode::Success || (m_editor && wasInterrupted()))
                continue;
            if (code >= ExitCode::HungUp)
                return code;
            if (m_editor)
                continue;
            result = result == ExitCode::Success ? code : result;
            if (m_options.strict) {
                reportNote("ended at line " + std::to_string(m_line));
                break;
            }
        }
        return result;
    }

private:
    std::optional<std::string> nextLine() {
        for (;;) {
            const std::optional<std::string> line = m_editor ? m_editor->read(prompt()) : readLine();
            m_line += line ? 1 : 0;
            if (line || !wasInterrupted())
                return line;
        }
    }

    std::string prompt() const {
        const std::size_t host = m_options.url.find("//");
        return m_options.url.substr(host + 2) + " " + (m_position.empty() ? "/" : m_position) + "> ";
    }

    /// True when a person pressed Ctrl-C, which ends no more than the line or the command. Throws Failure
    /// when all is to end.
    bool wasInterrupted() const {
        try {
            throwIfInterrupted();
            return false;
        } catch (const Failure& failure) {
            if (!m_editor || failure.exitCode() != ExitCode::Interrupted)
                throw;
            forgetInterrupt();
            return true;
        }
    }

    ExitCode runLine(const std::string& line) {
        try {
            if (!isValidUtf8(line))
                throw usageFailure("this line is not UTF-8: " + line);
            const std::vector<std::string> words = wordsOf(line);
            return words.empty() ? ExitCode::Success : runCommand(words);
        } catch (const Failure& failure) {
            if (failure.exitCode() != ExitCode::OutputClosed)
                reportProblem(failure.problem());
            return failure.exitCode();
        }
    }

    ExitCode runCommand(const std::vector<std::string>& words) {
        const std::string argument = words.size() > 1 ? words[1] : "";
        if (!isOwn(words[0]))
            return runShared(words);
        if (words.size() > (words[0] == "cd" || words[0] == "help" ? 2u : 1u))
            throw usageFailure(words[0] + " takes fewer arguments", "help");
        if (words[0] == "cd")
            go(nodeFrom(m_position, argument.empty() ? "/" : argument));
        else if (words[0] == "help")
            writeOutput(helpOn(argument));
        else if (words[0] == "status")
            writeOutput(status());
        m_quit = words[0] == "quit";
        return ExitCode::Success;
    }

    ExitCode runShared(const std::vector<std::string>& words) {
        const SharedCommand& shared = sharedCommand(words[0]);
        Program program;
        Action chosen;
        Command& command = add(program, chosen, shared);
        if (shared.nodes != nullptr)
            moveNodes(*command.find(shared.nodes), shared);
        if (const auto help = takeWords(program, words, std::string("help ") + shared.name)) {
            writeOutput(*help);
            return ExitCode::Success;
        }
        assureConnection();
        chosen.options->url = m_options.url;
        chosen.options->json = chosen.options->json || m_options.json;
        chosen.options->session = m_connection;
        return chosen();
    }

    /// Lets the nodes of a command begin at the position.
    void moveNodes(Option& nodes, const SharedCommand& shared) const {
        const auto path = [position = m_position](const std::string& word) {
            const std::string node = nodeFrom(position, word);
            return node.empty() ? objectsPath : node;
        };
        if (!nodes.required && std::holds_alternative<std::string*>(nodes.target))
            nodes.standard = path("");
        const bool pairs = std::string(shared.name) == "write";
        nodes.check = [path, pairs, count = 0](std::string& word) mutable {
            if (!pairs || count++ % 2 == 0)
                word = path(word);
            return std::string();
        };
    }

    /// Connects anew where that is needed, and says so. Throws Failure (NoConnection).
    void assureConnection() {
        const int status = m_connection->client().OpcUaGetConnectStatus();
        if (status == OpcUaConnectStatus_Connected || status == OpcUaConnectStatus_ShuttingDown)
            return;
        reportNote("the connection to the server was lost; connecting again");
        m_connection->client().OpcUaDisConnect();
        m_connection->reconnect();
    }

    void go(const std::string& path) {
        if (!path.empty()) {
            const NodeReference reference = parseNodeReference(path);
            if (path[0] != '/')
                throw usageFailure("cd takes a path, not an id", "browse shows names");
            assureConnection();
            BrowseTree(*m_connection, reference).wayTo(reference);
        }
        m_position = path;
    }

    std::string status() const {
        const bool connected = m_connection->client().OpcUaGetConnectStatus() == OpcUaConnectStatus_Connected;
        const std::string position = m_position.empty() ? objectsPath : m_position;
        if (m_options.json)
            return document({{"url", m_options.url}, {"connected", connected}, {"position", position}});
        Table table({{""}, {"", false}});
        table.add({"Server", m_options.url});
        table.add({"Connection",
                   {connected ? "connected, " + m_connection->security().text() : "lost",
                    connected ? Tone::Good : Tone::Bad}});
        table.add({"Position", position});
        return table.render(terminalOn(STDOUT_FILENO));
    }

    static std::string helpOn(const std::string& name) {
        Program program;
        Action unused;
        if (!name.empty() && !isOwn(name))
            return helpOf(program, add(program, unused, sharedCommand(name)));
        Table table({{"Command"}, {"", false}});
        for (const SharedCommand& shared : sharedCommands)
            table.add({shared.name, add(program, unused, shared).description});
        for (const OwnCommand& own : ownCommands)
            table.add({own.name, own.description});
        return table.render(terminalOn(STDOUT_FILENO));
    }

    /// Names below a node, for completion, which has nobody to report to.
    std::vector<std::string> below(const std::string& word) const {
        std::vector<std::string> names;
        try {
            const std::string path = nodeFrom(m_position, word);
            const NodeReference reference = parseNodeReference(path.empty() ? objectsPath : path);
            BrowseTree tree(*m_connection, reference);
            for (const OpcUaNode* child : tree.expand(tree.wayTo(reference).back()).children) {
                const NodeInfo node = describe(*child);
                names.push_back(shortStep(node.browseName) +
                                (node.nodeClass == OpcUaNodeClass_Object ? "/" : ""));
            }
        } catch (const Failure&) { // NOLINT(bugprone-empty-catch): nothing can be completed then
        }
        std::sort(names.begin(), names.end());
        names.erase(std::unique(names.begin(), names.end()), names.end());
        return names;
    }

    const ShellOptions& m_options;
    std::shared_ptr<Connection> m_connection;
    std::optional<LineEditor> m_editor; ///< where a person types
    std::string m_position;             ///< a path; empty for the Objects folder
    std::size_t m_line = 0;
    bool m_quit = false;
};

ExitCode runShell(const ShellOptions& options) {
    return Shell(options).run();
}

constexpr const char* shellExamples = R"(Examples:
  opcua-cli shell plant:4840                                 then: help
  opcua-cli shell @boiler --strict < commissioning.txt       ends at the first command that fails
  printf 'cd /Plant/Line1\nread Speed\n' | opcua-cli shell plant:4840 --json

Commands are those of opcua-cli, without URL and connection. Tab completes commands and the names of nodes.)";

} // namespace

void addShellCommand(Program& program, Action& chosen) {
    auto [command, options] =
        addCommand<ShellOptions>(program, chosen, runShell, "shell",
                                 "Run commands, typed or from a pipe, in one session", shellExamples);
    addConnectOptions(command, options);
    command.addFlag("--strict", &options.strict, "From a pipe: end at the first command that fails");
}

} // namespace opcua_cli
