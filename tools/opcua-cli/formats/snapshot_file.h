#pragma once

#include <string>

#include "values/job.h"

namespace opcua_cli {

/// The values of a folder at some time.
struct Snapshot {
    std::string url;
    std::string folder; ///< as the user named it
    std::string folderId;
    std::string time; ///< UTC, as in ISO 8601
    bool complete = true;
    Jobs nodes{};
    /// Variables, or all that may lie below a node, without a value here: one with a problem should have been
    /// saved, any other has none that can be.
    Jobs leftOut{};
};

std::string leftOutReason(const Job& leftOut);
Json leftOutJson(const Jobs& leftOut);

std::string snapshotText(const Snapshot& snapshot);

/// What restoring and comparing need of a snapshot: the folder's id, the nodes with the values that are
/// wanted, and what was left out. Throws Failure (Usage) that says which line of the file is wrong.
Snapshot readSnapshot(const std::string& path);

} // namespace opcua_cli
