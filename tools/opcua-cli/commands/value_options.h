#pragma once

#include "options.h"
#include "values/job.h"

#include <cstddef>
#include <string>

namespace opcua_cli {

/// What the commands take that handle many nodes.
struct NodeListOptions : ConnectOptions {
    std::string typeName;
    std::string index;
    std::string file; ///< to take the nodes from; empty when they are arguments
    std::size_t maxNodes = defaultMaxNodes;
    std::size_t maxElements = defaultMaxElements;
};

void addNodeListOptions(CLI::App& command, NodeListOptions& options, const std::string& typeDescription);
void addMaxElementsOption(CLI::App& command, std::size_t& maxElements);

/// Adds type and index of the command line where a job has none. Throws Failure (Usage).
void completeJobs(Jobs& jobs, const NodeListOptions& options);

} // namespace opcua_cli
