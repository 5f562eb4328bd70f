#include "commands/take_snapshot.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <iterator>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "text/time_text.h"

namespace opcua_cli {
namespace {

/// The library tells no difference between a value that it cannot read and one that it cannot convert.
void explainUntyped(Connection& connection, Jobs& untyped) {
    std::vector<std::string> ids;
    for (const Job& job : untyped)
        ids.push_back(job.node.nodeId);
    const std::vector<std::optional<Problem>> problems = unreadable(connection, ids);
    for (std::size_t i = 0; i < untyped.size(); ++i)
        untyped[i].problem = problems[i];
}

void readVariables(Connection& connection, std::size_t maxElements, Jobs& variables, Snapshot& snapshot) {
    Jobs typed;
    Jobs untyped;
    for (Job& job : variables) {
        if (!job.node.nodeIdComplete) {
            job.problem = Problem{"its id is too long for this program"};
            snapshot.leftOut.push_back(std::move(job));
        } else {
            (job.node.dataType == OpcUaDataType_Null ? untyped : typed).push_back(std::move(job));
        }
    }
    explainUntyped(connection, untyped);
    std::move(untyped.begin(), untyped.end(), std::back_inserter(snapshot.leftOut));
    read(connection, typed, maxElements, mostFolderTextBytes);
    for (Job& job : typed) {
        checkTexts(job);
        (job.problem ? snapshot.leftOut : snapshot.nodes).push_back(std::move(job));
    }
}

} // namespace

Snapshot takeSnapshot(const FolderOptions& options, const std::string& folder) {
    const NodeReference reference = parseNodeReference(folder);
    const auto held = connectionFor(options);
    Connection& connection = *held;
    Folder explored = exploreFolder(connection, reference, options.maxNodes);
    Snapshot snapshot{options.url, folder, explored.nodeId, utcSecondsText(std::chrono::system_clock::now()),
                      explored.complete};
    snapshot.leftOut = std::move(explored.unbrowsed);
    readVariables(connection, options.maxElements, explored.variables, snapshot);
    return snapshot;
}

} // namespace opcua_cli
