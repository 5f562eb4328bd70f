#pragma once

#include <string>

#include "standin.h"
#include "uabase/node_id.h"
#include "uabase/string.h"

/// Protocol records in the form in which requests are remembered.
namespace standin {

inline std::string toText(const OpcUa_String& text) {
    return UaString(text).text();
}
inline std::string toText(const OpcUa_NodeId& id) {
    return UaNodeId(id).toXmlString().text();
}
inline ReadItem readItem(const OpcUa_ReadValueId& item) {
    return {toText(item.nodeId), item.attributeId, toText(item.indexRange), toText(item.dataEncoding.name)};
}

} // namespace standin
