#pragma once

#include "../formats/node_list.h"
#include "../nodes/node_access.h"
#include "../nodes/value_target.h"
#include "../options.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace opcua_cli {

/// What the commands take that handle values.
struct ValueOptions : ConnectOptions {
    std::string typeName;
    std::size_t maxNodes = defaultMaxNodes;

    std::optional<_OpcUaDataType> statedType() const { return typeFromName(typeName); }
};

/// What the commands take that handle many nodes.
struct NodeListOptions : ValueOptions {
    std::string index;
    std::string file; ///< to take the nodes from; empty when they are arguments
    std::size_t maxElements = defaultMaxElements;
};

void addValueOptions(CLI::App& command, ValueOptions& options, const std::string& typeDescription);
void addNodeListOptions(CLI::App& command, NodeListOptions& options);
void addMaxElementsOption(CLI::App& command, std::size_t& maxElements);

/// Adds type and index of the command line where a request has none. Throws Failure (Usage).
void completeRequests(std::vector<NodeRequest>& requests, const NodeListOptions& options);

/// The requests as the resolver takes them.
std::vector<TargetRequest> targetRequests(const std::vector<NodeRequest>& requests);

} // namespace opcua_cli
