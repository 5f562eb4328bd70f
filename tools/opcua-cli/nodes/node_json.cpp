#include "node_json.h"

#include <string>

#include "value.h"

namespace opcua_cli {
namespace {

Json textOrNull(const std::string& text) {
    return text.empty() ? Json(nullptr) : Json(text);
}

} // namespace

Json toJson(const NodeInfo& node) {
    return {{"nodeId", node.nodeId},
            {"displayName", textOrNull(node.displayName)},
            {"browseName", textOrNull(node.browseName)},
            {"class", textOrNull(className(node.nodeClass))},
            {"type", node.hasValue() ? Json(typeName(node.dataType)) : Json(nullptr)},
            {"shape", node.hasValue() ? Json(node.dimensions) : Json(nullptr)}};
}

} // namespace opcua_cli
