#pragma once

#include <string>

#include "commands/arguments.h"
#include "formats/snapshot_file.h"

namespace opcua_cli {

/// Reads all values below the folder. Throws Failure.
Snapshot takeSnapshot(const FolderOptions& options, const std::string& folder);

} // namespace opcua_cli
