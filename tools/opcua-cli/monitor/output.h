#pragma once

#include "change.h"
#include "link.h"
#include "watch_list.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace opcua_cli {

/// What is monitored.
struct MonitoredNodes {
    std::string url;
    std::vector<WatchedNode> nodes;
    std::optional<Index> index;
};

/// Shows what comes. Nodes are named by their index in the watch list. Every operation throws as
/// writeOutput().
class MonitorOutput {
public:
    virtual ~MonitorOutput() = default;

    virtual void change(const Change& change) = 0;
    /// The server does not monitor this node.
    virtual void refused(std::size_t node, const Problem& problem) = 0;
    /// Something that the user named is left out.
    virtual void leftOut(const Problem& problem) = 0;
    /// No value has come yet of these nodes.
    virtual void silent(const std::vector<std::size_t>& nodes) = 0;
    /// Changes were lost because they could not be shown fast enough.
    virtual void dropped(std::size_t count) = 0;
    virtual void event(const LinkEvent& event) = 0;

    /// After a round of the above.
    virtual void flush() = 0;
    /// After the last round.
    virtual void end() {}
};

/// Lines for pipes; `monitored` must live on.
std::unique_ptr<MonitorOutput> makeTextLines(const MonitoredNodes& monitored);
/// JSON documents, one a line.
std::unique_ptr<MonitorOutput> makeJsonLines(const MonitoredNodes& monitored);
/// A table on the terminal that is redrawn in place.
std::unique_ptr<MonitorOutput> makeLiveTable(const MonitoredNodes& monitored);

} // namespace opcua_cli
