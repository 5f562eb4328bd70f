#pragma once

#include "../output/json.h"
#include "node_info.h"

namespace opcua_cli {

/// {"nodeId", "displayName", "browseName", "class", "type", "shape"}. What is not known or does not apply is
/// null; the shape of a scalar is [].
Json toJson(const NodeInfo& node);

} // namespace opcua_cli
