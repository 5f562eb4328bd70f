#pragma once

#include "commands/arguments.h"
#include "formats/snapshot_file.h"

#include <cstddef>
#include <string>

namespace opcua_cli {

/// What the commands take that read all values of a folder.
struct FolderOptions : ConnectOptions {
    std::size_t maxNodes = defaultMaxNodes;
    std::size_t maxElements = defaultMaxElements;
};

/// Reads all values below the folder. Throws Failure.
Snapshot takeSnapshot(const FolderOptions& options, const std::string& folder);

} // namespace opcua_cli
