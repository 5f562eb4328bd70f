#include "commands/value_options.h"

#include <cstddef>
#include <optional>
#include <string>

namespace opcua_cli {
namespace {

std::string checkTypeName(std::string& text) {
    return typeFromName(text) ? std::string() : unknownTypeText(text);
}

} // namespace

void addMaxElementsOption(CLI::App& command, std::size_t& maxElements) {
    command
        .add_option("--max-elements", maxElements,
                    "Leave alone whole arrays with more elements (default: " +
                        std::to_string(defaultMaxElements) + ")")
        ->type_name("N")
        ->check(CLI::Range(1, 10000000).description(""));
}

void addNodeListOptions(CLI::App& command, NodeListOptions& options, const std::string& typeDescription) {
    addConnectOptions(command, options);
    command.add_option("--type", options.typeName, typeDescription)
        ->type_name("TYPE")
        ->check(CLI::Validator(checkTypeName, ""));
    addMaxNodesOption(command, options.maxNodes, "Look at so many nodes to find the type of a node id");
    command
        .add_option("--index", options.index,
                    "One element of an array or matrix, counted from 0: 4, or 2,3 for row 2, column 3")
        ->type_name("INDEX");
    command
        .add_option("--from", options.file, "Take the nodes from a CSV or JSON file; - for standard input")
        ->type_name("FILE");
    addMaxElementsOption(command, options.maxElements);
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
