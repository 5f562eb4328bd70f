#include "value_options.h"

namespace opcua_cli {
namespace {

std::string checkTypeName(std::string& text) {
    if (typeFromName(text))
        return {};
    std::string message = "no type is called " + text + "; there are";
    for (const std::string& name : typeNames())
        message += " " + name;
    return message;
}

} // namespace

void addValueOptions(CLI::App& command, ValueOptions& options, const std::string& typeDescription) {
    addConnectOptions(command, options);
    command.add_option("--type", options.typeName, typeDescription)
        ->type_name("TYPE")
        ->check(CLI::Validator(checkTypeName, ""));
    addMaxNodesOption(command, options.maxNodes, "Look at so many nodes to find the type of a node id");
}

} // namespace opcua_cli
