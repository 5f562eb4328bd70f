#pragma once

#include "../nodes/node_info.h"
#include "../nodes/node_value.h"

#include <string>
#include <vector>

namespace opcua_cli {

struct SavedNode {
    NodeInfo node;
    NodeValue value;
};

/// A variable, or all that may lie below a node, of which a snapshot holds no value.
struct LeftOutNode {
    NodeInfo node;
    std::string reason;
    bool failed; ///< its value should have been saved
};

/// The values of a folder at some time.
struct Snapshot {
    std::string url;
    std::string folder; ///< as the user named it
    std::string folderId;
    std::string time; ///< UTC, as in ISO 8601
    bool complete = true;
    std::vector<SavedNode> nodes{};
    std::vector<LeftOutNode> leftOut{};
};

Json toJson(const LeftOutNode& leftOut);

std::string snapshotText(const Snapshot& snapshot);

/// What restoring needs of a snapshot: the folder's id and the nodes. Throws Failure (Usage) that says which
/// line of the file is wrong.
Snapshot readSnapshot(const std::string& path);

} // namespace opcua_cli
