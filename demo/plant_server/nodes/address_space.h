#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "nodes/value.h"
#include "server/clients.h"

namespace plant_server {

constexpr UA_Byte readOnly = UA_ACCESSLEVELMASK_READ;
constexpr UA_Byte writeOnly = UA_ACCESSLEVELMASK_WRITE;
constexpr UA_Byte readWrite = UA_ACCESSLEVELMASK_READ | UA_ACCESSLEVELMASK_WRITE;

/// How a variable shows itself, where that doesn't follow from its name and value.
struct VariableOptions {
    std::string description;
    UA_Byte accessLevel = readWrite;
    std::string displayName; ///< the name when empty
    std::string locale = "en";
    NodeId id;             ///< made of the path when null
    NodeId dataType;       ///< that of the value when null
    bool anyShape = false; ///< value rank Any: the value may change its shape
    NodeContext* context = nullptr;
};

/// A variable with a description and nothing else out of the ordinary.
VariableOptions described(const std::string& description, UA_Byte accessLevel = readWrite);

/// A node that others are added below. Ids follow from the path: "Line1" and "Speed" make `s=Line1.Speed`.
class Branch {
public:
    /// Below any node; children's paths start with `path`.
    Branch(UA_Server* server, UA_UInt16 namespaceIndex, std::string path, NodeId node);

    UA_Server* server() const { return m_server; }
    const NodeId& node() const { return m_node; }
    NodeId idOf(const std::string& name) const { return {m_namespace, childPath(name)}; }

    /// `displayName` is the name when empty.
    Branch folder(const std::string& name, const std::string& displayName = {},
                  const std::string& description = {}) const;
    Branch object(const std::string& name, const std::string& displayName = {},
                  const std::string& description = {}) const;

    NodeId variable(const std::string& name, const Value& value, const VariableOptions& options = {}) const;
    NodeId property(const std::string& name, const Value& value) const;
    /// A variable whose value comes from a callback.
    NodeId source(const std::string& name, const UA_DataType* type, UA_DataSource callbacks,
                  const VariableOptions& options) const;

    /// `call` runs with `methodContext` as its method context.
    NodeId method(const std::string& name, const std::string& description, UA_MethodCallback call,
                  void* methodContext, const std::vector<UA_Argument>& inputs = {},
                  const std::vector<UA_Argument>& outputs = {}) const;

    /// One more hierarchical reference (Organizes) to a node that exists already.
    void organize(const NodeId& node) const;

private:
    std::string childPath(const std::string& name) const {
        return m_path.empty() ? name : m_path + "." + name;
    }
    Branch addObject(const std::string& name, const std::string& displayName, const std::string& description,
                     UA_UInt32 type) const;
    UA_VariableAttributes attributes(const std::string& name, const UA_DataType* type,
                                     const VariableOptions& options) const;
    NodeId addVariable(const std::string& name, const Value& value, const VariableOptions& options,
                       const UA_NodeId& reference, const UA_NodeId& type) const;
    UA_NodeId childReference() const;

    UA_Server* m_server;
    UA_UInt16 m_namespace;
    std::string m_path;
    NodeId m_node;
    bool m_isFolder = true;
};

/// A view that lives as long as both texts.
UA_LocalizedText localized(std::string_view locale, std::string_view content);
UA_Argument argument(const char* name, const char* description, const UA_DataType* type);

/// Plain access from simulation and tests' controls, as the server's own administrator.
void writeValue(UA_Server* server, const NodeId& node, const Value& value);

template <class T>
T readScalar(UA_Server* server, const NodeId& node, T fallback) {
    Value value;
    if (UA_Server_readValue(server, node.get(), &value.get()) != UA_STATUSCODE_GOOD ||
        !UA_Variant_hasScalarType(&value.get(), BuiltInType<T>::description()))
        return fallback;
    return *static_cast<const T*>(value.get().data);
}

} // namespace plant_server
