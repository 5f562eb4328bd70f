#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "addressing/node_info.h"
#include "addressing/node_reference.h"
#include "addressing/shape.h"
#include "connection.h"
#include "values/node_value.h"
#include "values/text_room.h"

namespace opcua_cli {

/// Default bound for whole arrays: every element costs a read of all of them.
constexpr std::size_t defaultMaxElements = 1000;

/// Bound for the texts of a whole folder together.
constexpr std::size_t mostFolderTextBytes = std::size_t{256} * 1024 * 1024;

/// A node whose value is read, written or followed: what the user wrote, and what has come of it so far. All
/// that works on jobs passes over those that have a problem, and gives one to those that it fails for; it
/// throws only when there is no point in going on with the others.
struct Job {
    std::string place{}; ///< "plan.csv, line 3"; empty on the command line
    std::string given{}; ///< the node as it was written; of one that is followed, its name for people
    NodeReference reference{};
    std::optional<_OpcUaDataType> type{}; ///< stated by the user
    std::optional<Index> index{};         ///< one element; nothing for the whole value
    std::optional<GivenValue> givenValue{};
    NodeInfo node{};
    NodeValue value{};  ///< read
    NodeValue wanted{}; ///< to be written
    std::optional<Problem> problem{};
    bool decimalComma = false; ///< the given value may be "12,5", as in a file that separates by semicolons
};

using Jobs = std::vector<Job>;

/// Does something for a job; what is only this one's problem is noted in it.
template <typename Work>
void attempt(Job& job, const Work& work) {
    if (job.problem)
        return;
    try {
        work();
    } catch (const Failure& failure) {
        if (failure.exitCode() != ExitCode::Failed)
            throw;
        job.problem = failure.problem();
    }
}

/// Finds out node, type and shape of what the user named, and looks at `maxNodes` nodes at most.
///
/// The library tells type and shape only for the children of a node that it browses. A path leads there by
/// itself. A node id is looked for in the address space, after a first read has shown that the node has a
/// value at all; a type that the user states spares both.
void resolve(Connection& connection, Jobs& jobs, std::size_t maxNodes);

/// The lengths that an array or matrix has by now; empty of a single value. Throws Failure.
Shape presentShape(Connection& connection, const std::string& nodeId, std::size_t maxNodes);

/// The variables at and below a node, each once.
struct Folder {
    std::string nodeId;
    Jobs variables{};
    Jobs unbrowsed{};     ///< nodes with a problem: what lies below these is not known
    bool complete = true; ///< false when the bound on the number of nodes ended the walk
};

/// Walks through everything below the node. Throws Failure.
Folder exploreFolder(Connection& connection, const NodeReference& reference, std::size_t maxNodes);

/// A text that was read may be none that the library takes back (no UTF-8, or a zero byte in it): its job
/// gets that problem and has no value then.
void checkTexts(Job& job);

/// Reads single values many at a time, arrays and matrices element by element: while that goes on the array
/// may change. A text for which there is no room any more among so many bytes is a problem of its job.
void read(Connection& connection, Jobs& jobs, std::size_t maxElements,
          std::size_t mostTextBytes = TextRoom::endless);

/// Writes what is wanted, single values many at a time, arrays and matrices element by element: those that
/// equal what was read are left out, and an array is given up at the first one that is refused.
void write(Connection& connection, Jobs& jobs, std::size_t maxElements);

/// Why nodes cannot be read, whatever their types; an empty id is passed over.
std::vector<std::optional<Problem>> unreadable(Connection& connection,
                                               const std::vector<std::string>& nodeIds);

/// What a server limits in one request.
enum class Limited { Reads, Writes, MonitoredItems };

/// How many of `count` nodes to hand to the library in one call: `usual`, or as many as the server takes in
/// one request when that is fewer than the 20 that the library puts into one. It would refuse them all. Asks
/// the server for its limit.
std::size_t callSize(Connection& connection, Limited limited, std::size_t count, std::size_t usual);

/// The given value for a node of that type and shape. Throws Failure (Usage).
NodeValue parseGivenValue(const Job& job, _OpcUaDataType type, const Shape& shape);

/// A job for a node that was met.
Job jobFor(const NodeInfo& node);

/// Tells people of the problems, of those that are alike the first alone, and gives the exit code that says
/// so.
ExitCode reportProblems(const Jobs& jobs);

/// {"node", what toJson() tells of it, "index", "value", "ok", "error"}
Json jobJson(const Job& job, const NodeValue& value);

} // namespace opcua_cli
