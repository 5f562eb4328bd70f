#pragma once

#include <string>
#include <string_view>

#include <open62541/types.h>

namespace plant_server {

/// The server's namespaces. Namespace 1 is what the stack makes of the application URI.
enum Namespace : UA_UInt16 { ApplicationNamespace = 1, PlantNamespace = 2, TestRackNamespace = 3 };

/// A view that lives as long as the text.
UA_String view(std::string_view text);
std::string text(const UA_String& string);

/// A node id that owns its identifier.
class NodeId {
public:
    NodeId() { UA_NodeId_init(&m_id); }
    explicit NodeId(const UA_NodeId& id);
    NodeId(UA_UInt16 namespaceIndex, UA_UInt32 identifier);
    NodeId(UA_UInt16 namespaceIndex, std::string_view identifier);
    /// From "ns=2;s=Line1.Speed", "i=84", "ns=1;g=..." or "ns=3;b=...". Null when the text is none of these.
    static NodeId parse(std::string_view text);

    NodeId(const NodeId& other) : NodeId(other.m_id) {}
    NodeId(NodeId&& other) noexcept;
    NodeId& operator=(NodeId other) noexcept;
    ~NodeId() { UA_NodeId_clear(&m_id); }

    const UA_NodeId& get() const { return m_id; }
    bool isNull() const { return UA_NodeId_isNull(&m_id); }
    std::string text() const;

private:
    UA_NodeId m_id;
};

} // namespace plant_server
