#include "nodes/node_id.h"

#include <string>
#include <string_view>
#include <utility>

#include <open62541/util.h>

#include "nodes/status.h"

namespace plant_server {

UA_String view(std::string_view text) {
    UA_String string;
    string.length = text.size();
    string.data = reinterpret_cast<UA_Byte*>(const_cast<char*>(text.data()));
    return string;
}

std::string text(const UA_String& string) {
    return {reinterpret_cast<const char*>(string.data), string.length};
}

NodeId::NodeId(const UA_NodeId& id) {
    require(UA_NodeId_copy(&id, &m_id), "copy a node id");
}

NodeId::NodeId(UA_UInt16 namespaceIndex, UA_UInt32 identifier)
    : m_id(UA_NODEID_NUMERIC(namespaceIndex, identifier)) {}

NodeId::NodeId(UA_UInt16 namespaceIndex, std::string_view identifier) {
    UA_NodeId id;
    UA_NodeId_init(&id);
    id.namespaceIndex = namespaceIndex;
    id.identifierType = UA_NODEIDTYPE_STRING;
    id.identifier.string = view(identifier);
    require(UA_NodeId_copy(&id, &m_id), "copy a node id");
}

NodeId NodeId::parse(std::string_view text) {
    NodeId id;
    if (UA_NodeId_parse(&id.m_id, view(text)) != UA_STATUSCODE_GOOD)
        UA_NodeId_init(&id.m_id);
    return id;
}

NodeId::NodeId(NodeId&& other) noexcept : m_id(other.m_id) {
    UA_NodeId_init(&other.m_id);
}

NodeId& NodeId::operator=(NodeId other) noexcept {
    std::swap(m_id, other.m_id);
    return *this;
}

std::string NodeId::text() const {
    UA_String string = UA_STRING_NULL;
    require(UA_NodeId_print(&m_id, &string), "print a node id");
    std::string result = plant_server::text(string);
    UA_String_clear(&string);
    return result;
}

} // namespace plant_server
