#pragma once

#include "OpcUaTypes.h"

#include <cstring>
#include <string>
#include <vector>

namespace opcua_cli {

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
    bool isArray = false;
    std::vector<unsigned long> dimensions; ///< empty for a scalar

    bool isVariable() const { return nodeClass == 2; }
    /// A Variable or VariableType.
    bool hasValue() const { return isVariable() || nodeClass == 16; }
};

NodeInfo describe(const OpcUaNode& record);

/// "Variable"; empty for a class that the standard does not know.
std::string className(int nodeClass);

/// "Double", "Double[3][4]"; empty for a node that has no value.
std::string typeText(const NodeInfo& node);

/// A record that names a node to the library.
OpcUaNode recordFor(const std::string& nodeId, _OpcUaDataType dataType = OpcUaDataType_Null);

} // namespace opcua_cli
