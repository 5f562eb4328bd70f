#include "addressing/node_info.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "addressing/shape.h"
#include "text/utf8.h"

namespace opcua_cli {
namespace {

/// By _OpcUaDataType.
constexpr std::array<std::string_view, 13> typeNameTable{"other",  "Boolean", "SByte",  "Byte",  "Int16",
                                                         "UInt16", "Int32",   "UInt32", "Int64", "UInt64",
                                                         "Float",  "Double",  "String"};

/// Each class has a bit of its own (OPC UA Part 3, 8.29).
constexpr std::array<const char*, 8> classNames{"Object",       "Variable",      "Method",   "ObjectType",
                                                "VariableType", "ReferenceType", "DataType", "View"};

Json textOrNull(const std::string& text) {
    return text.empty() ? Json(nullptr) : Json(text);
}

} // namespace

std::string_view typeName(_OpcUaDataType type) {
    const auto index = static_cast<std::size_t>(type);
    return typeNameTable[index < typeNameTable.size() ? index : 0];
}

std::optional<_OpcUaDataType> typeFromName(std::string_view name) {
    for (std::size_t i = 1; i < typeNameTable.size(); ++i)
        if (sameWord(typeNameTable[i], name))
            return static_cast<_OpcUaDataType>(i);
    return std::nullopt;
}

std::vector<std::string> typeNames() {
    return {typeNameTable.begin() + 1, typeNameTable.end()};
}

std::string unknownTypeText(const std::string& name) {
    std::string text = "no type is called " + name + "; there are";
    for (const std::string& known : typeNames())
        text += " " + known;
    return text;
}

std::string fieldText(const char* field, std::size_t size) {
    const std::string_view text(field, strnlen(field, size));
    return std::string(text.size() == size ? withoutCutCharacter(text) : text);
}

const std::string& NodeInfo::name() const {
    if (!displayName.empty())
        return displayName;
    return browseName.empty() ? nodeId : browseName;
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

NodeInfo unmetNode(const std::string& nodeId, std::optional<_OpcUaDataType> statedType) {
    NodeInfo node;
    node.nodeId = nodeId;
    node.dataType = statedType.value_or(OpcUaDataType_Null);
    node.typeKnown = statedType.has_value();
    return node;
}

std::string className(int nodeClass) {
    for (std::size_t i = 0; i < classNames.size(); ++i)
        if (nodeClass == 1 << i)
            return classNames[i];
    return "";
}

std::string typeAndShape(const NodeInfo& node) {
    return std::string(typeName(node.dataType)) + indexText(node.dimensions);
}

std::string typeText(const NodeInfo& node) {
    return node.hasValue() ? typeAndShape(node) : "";
}

Json toJson(const NodeInfo& node) {
    return {{"nodeId", node.nodeId},
            {"displayName", textOrNull(node.displayName)},
            {"browseName", textOrNull(node.browseName)},
            {"class", textOrNull(className(node.nodeClass))},
            {"type", node.hasValue() ? Json(typeName(node.dataType)) : Json(nullptr)},
            {"shape", node.hasValue() ? Json(node.dimensions) : Json(nullptr)}};
}

} // namespace opcua_cli
