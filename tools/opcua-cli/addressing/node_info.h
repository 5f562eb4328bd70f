#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "OpcUaHelpers.h"
#include "OpcUaTypes.h"
#include "output/json.h"

namespace opcua_cli {

/// "Double"; "other" for everything that the library does not convert.
std::string_view typeName(_OpcUaDataType type);

/// The type of that name, upper or lower case.
std::optional<_OpcUaDataType> typeFromName(std::string_view name);

/// The names of the twelve types.
std::vector<std::string> typeNames();

/// What to say to a name that no type has.
std::string unknownTypeText(const std::string& name);

/// Text of a fixed field, which has no terminating zero when it is full.
std::string fieldText(const char* field, std::size_t size);
template <std::size_t Size>
std::string fieldText(const char (&field)[Size]) {
    return fieldText(field, Size);
}

/// What the library's record tells about one node.
struct NodeInfo {
    std::string nodeId;
    bool nodeIdComplete = true; ///< false when the id may have been cut, so that it names nothing
    std::string displayName;
    std::string browseName; ///< "2:Speed"
    int nodeClass = 0;
    _OpcUaDataType dataType = OpcUaDataType_Null;
    bool typeKnown = true; ///< false when the node was not met in the address space
    bool isArray = false;
    std::vector<unsigned long> dimensions; ///< empty for a scalar

    bool isFound() const { return typeKnown && !nodeId.empty(); }
    bool isVariable() const { return nodeClass == OpcUaNodeClass_Variable; }
    /// A Variable or VariableType.
    bool hasValue() const { return isVariable() || nodeClass == OpcUaNodeClass_VariableType; }
    /// The display name or what else there is.
    const std::string& name() const;
};

NodeInfo describe(const OpcUaNode& record);

/// A node that was not met. Its type is unknown unless it is stated.
NodeInfo unmetNode(const std::string& nodeId, std::optional<_OpcUaDataType> statedType);

/// "Variable"; empty for a class that the standard does not know.
std::string className(int nodeClass);

/// "Double", "Double[3][4]"
std::string typeAndShape(const NodeInfo& node);
/// The same, but empty for a node that has no value.
std::string typeText(const NodeInfo& node);

/// {"nodeId", "displayName", "browseName", "class", "type", "shape"}. What is not known or does not apply is
/// null; the shape of a scalar is [].
Json toJson(const NodeInfo& node);

} // namespace opcua_cli
