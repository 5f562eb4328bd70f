#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands/arguments.h"
#include "monitor/output.h"

namespace opcua_cli {

constexpr int greatestFollowDepth = 100;

/// What the commands take that follow values.
struct FollowOptions : ConnectOptions {
    std::vector<std::string> nodes;
    int interval = 500;
    std::optional<double> duration;
    std::string index;
    int depth = greatestFollowDepth;
    std::size_t maxNodes = defaultMaxNodes;
};

/// All but those of the connection.
void addFollowOptions(Command& command, FollowOptions& options);

using MakeOutput = std::function<std::unique_ptr<MonitorOutput>(const Monitored&)>;

/// Hands all changes of the nodes to the output until the time is over; takes up a lost connection again.
/// Throws Failure.
ExitCode follow(const FollowOptions& options, const MakeOutput& makeOutput);

} // namespace opcua_cli
