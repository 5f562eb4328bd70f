#pragma once

#include <string>

#include "addressing/node_info.h"

namespace opcua_cli {

/// How promising it is to look for the node below the candidate; the greater the better. Ids of one namespace
/// that begin alike, or have numbers near to each other, usually belong together.
int searchRank(const std::string& targetId, const NodeInfo& candidate);

} // namespace opcua_cli
