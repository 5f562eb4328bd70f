#include "node_info.h"

#include "../text/utf8.h"
#include "value.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>

namespace opcua_cli {

std::string fieldText(const char* field, std::size_t size) {
    const std::string_view text(field, strnlen(field, size));
    return std::string(text.size() == size ? withoutCutCharacter(text) : text);
}

NodeInfo describe(const OpcUaNode& record) {
    NodeInfo node;
    node.nodeId = fieldText(record.nodeId);
    node.nodeIdComplete = strnlen(record.nodeId, sizeof record.nodeId) < sizeof record.nodeId;
    node.displayName = fieldText(record.displayName);
    node.browseName = fieldText(record.browseName);
    node.nodeClass = record.nodeClass;
    node.dataType = record.dataType;
    node.isArray = record.arrayInfo.kind == 1;
    const int most = static_cast<int>(std::size(record.arrayInfo.dims));
    const int count = node.isArray ? std::clamp(record.arrayInfo.dimCount, 0, most) : 0;
    node.dimensions.assign(record.arrayInfo.dims, record.arrayInfo.dims + count);
    return node;
}

std::string className(int nodeClass) {
    switch (nodeClass) {
    case 1:
        return "Object";
    case 2:
        return "Variable";
    case 4:
        return "Method";
    case 8:
        return "ObjectType";
    case 16:
        return "VariableType";
    case 32:
        return "ReferenceType";
    case 64:
        return "DataType";
    case 128:
        return "View";
    default:
        return "";
    }
}

std::string typeText(const NodeInfo& node) {
    if (!node.hasValue())
        return "";
    std::string text(typeName(node.dataType));
    for (const unsigned long length : node.dimensions)
        text += "[" + std::to_string(length) + "]";
    return text;
}

OpcUaNode recordFor(const std::string& nodeId, _OpcUaDataType dataType) {
    OpcUaNode record{};
    nodeId.copy(record.nodeId, sizeof record.nodeId - 1);
    record.dataType = dataType;
    return record;
}

} // namespace opcua_cli
