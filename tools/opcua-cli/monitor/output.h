#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <unistd.h>
#include <vector>

#include "monitor/change_inbox.h"
#include "monitor/link.h"
#include "values/job.h"

namespace opcua_cli {

/// What is monitored.
struct Monitored {
    std::string url;
    Jobs nodes;
};

/// Shows what comes. Nodes are named by their index. Every operation throws as
/// writeOutput().
class MonitorOutput {
public:
    virtual ~MonitorOutput() = default;

    virtual void change(const Change& change) = 0;
    /// The server does not monitor this node, whose problem says why.
    virtual void refused(std::size_t node) = 0;
    /// Something that the user named is left out.
    virtual void leftOut(const Problem& problem) = 0;
    /// No value has come yet of these nodes.
    virtual void silent(const std::vector<std::size_t>& nodes) = 0;
    /// Changes were lost because they could not be shown fast enough.
    virtual void dropped(std::size_t count) = 0;
    /// Changes that came last would have to be read, and are not any more.
    virtual void leftUnread(std::size_t count) = 0;
    virtual void event(const LinkEvent& event) = 0;

    /// What poll() tells of when nobody reads any more; negative for what has no reader.
    virtual int descriptor() const { return STDOUT_FILENO; }

    /// After a round of the above.
    virtual void flush() = 0;
    /// After the last round.
    virtual void end() {}

    // What a person at the screen wants meanwhile.
    virtual bool isEnded() { return false; }
    /// An array whose elements are to be read now; arrayRead() takes what came of it, nothing when they can't
    /// be read.
    virtual std::optional<std::size_t> arrayToRead(std::chrono::steady_clock::time_point) { return {}; }
    virtual void arrayRead(std::size_t, const std::optional<std::string>&) {}
    /// A value to be written, told once; written() takes what went wrong.
    virtual std::optional<Job> valueToWrite() { return {}; }
    virtual void written(const std::optional<Problem>&) {}
};

/// Lines for pipes; `monitored` must live on.
std::unique_ptr<MonitorOutput> makeTextLines(const Monitored& monitored);
/// JSON documents, one a line.
std::unique_ptr<MonitorOutput> makeJsonLines(const Monitored& monitored);
/// A heading and a line for each change; everything else goes to standard error.
std::unique_ptr<MonitorOutput> makeCsvLines(const Monitored& monitored);
/// A table on the terminal that is redrawn in place.
std::unique_ptr<MonitorOutput> makeLiveTable(const Monitored& monitored);

} // namespace opcua_cli
