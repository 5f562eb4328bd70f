#include "commands.h"

#include "../interrupt.h"
#include "../nodes/node_json.h"
#include "../nodes/value_target.h"
#include "../output/streams.h"
#include "../output/table.h"
#include "value_options.h"

#include <memory>
#include <unistd.h>

namespace opcua_cli {
namespace {

struct WriteOptions : ValueOptions {
    std::string node;
    std::string value;
};

/// The value as the user gave it; "-" stands for standard input, whose last line end is none of the value.
std::string givenValue(const WriteOptions& options) {
    if (options.value != "-")
        return options.value;
    std::string text = readInput();
    if (!text.empty() && text.back() == '\n')
        text.pop_back();
    if (!text.empty() && text.back() == '\r')
        text.pop_back();
    return text;
}

ValueTarget resolveTarget(Connection& connection, const WriteOptions& options,
                          const NodeReference& reference) {
    ValueTarget target;
    try {
        target = TargetResolver(connection, options.statedType(), options.maxNodes).resolve(reference);
    } catch (const Failure& failure) {
        constexpr int notReadable = 7;
        Problem problem = failure.problem();
        if (problem.resultCode == notReadable)
            problem.advice += "; --type states the type of a node that can be written but not read";
        throw Failure(failure.exitCode(), std::move(problem));
    }
    throwIfArray(target.node);
    const bool writable = target.node.dataType != OpcUaDataType_Null;
    if (!target.typeKnown)
        throw Failure(ExitCode::Failed,
                      {"the type of " + options.node + " was not found, nothing was written",
                       "--type to state it, or the node's path"});
    if (!writable)
        throw Failure(ExitCode::Failed,
                      {"the value of " + options.node + " is empty or of a type that cannot be written here",
                       "--type states the type of an empty node"});
    return target;
}

std::string report(const WriteOptions& options, const NodeInfo& node, const Value& value) {
    const std::string type(typeName(node.dataType));
    if (options.json)
        return document({{"url", options.url},
                         {"node", options.node},
                         {"nodeId", node.nodeId},
                         {"type", type},
                         {"value", toJson(value)},
                         {"ok", true}});
    Table table({{"Node", false}, {"Name"}, {"Type"}, {"Value"}, {"Result"}});
    table.add({options.node, node.displayName, type, toText(value), {"written", Tone::Good}});
    return table.render(terminalOn(STDOUT_FILENO));
}

ExitCode write(const WriteOptions& options) {
    const NodeReference reference = parseNodeReference(options.node);
    const std::string text = givenValue(options);
    // What can be refused without the server is.
    if (const auto type = options.statedType())
        parseValue(*type, text);
    Connection connection(options);
    const ValueTarget target = resolveTarget(connection, options, reference);
    const Value value = parseValue(target.node.dataType, text);
    throwIfInterrupted();
    const int code = connection.write(target.node.nodeId, value);
    if (code != 0) {
        Problem problem = connection.lastProblem();
        problem.explanation += ": " + options.node + " = " + toText(value) + " (" +
                               std::string(typeName(target.node.dataType)) + ")";
        throw Failure(ExitCode::Failed, std::move(problem));
    }
    writeOutput(report(options, target.node, value));
    return ExitCode::Success;
}

constexpr const char* examples = R"(Examples:
  opcua-cli write plant:4840 'ns=2;s=Line1.SetPoint' 12.5    in quotes: the shell would cut at ;
  opcua-cli write plant:4840 /Plant/Line1/Enabled on
  opcua-cli write plant:4840 'ns=2;s=Line1.Offset' -7 --type Int16
  opcua-cli write plant:4840 /Plant/Recipe/Name - < name.txt
  opcua-cli write plant:4840 /Plant/Recipe/Name -- -abc      after --, nothing is an option)";

} // namespace

void addWriteCommand(CLI::App& app, Action& chosen) {
    auto options = std::make_shared<WriteOptions>();
    CLI::App* command = app.add_subcommand("write", "Write the value of a node");
    addValueOptions(*command, *options, "Write as this type without looking for the node's own");
    command->add_option("NODE", options->node, "Node id or path")->required()->type_name("");
    command
        ->add_option(
            "VALUE", options->value,
            "The value: a number (also 0x1F), true/false/on/off/1/0, or text; - takes standard input")
        ->required()
        ->type_name("");
    command->footer(examples);
    command->callback([options, &chosen] {
        chosen = [options] { return runReporting(*options, [&] { return write(*options); }); };
    });
}

} // namespace opcua_cli
