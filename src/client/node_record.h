#pragma once

#include <cstring>
#include <string_view>

#include "OpcUaTypes.h"
#include "client/text_field.h"
#include "uabase/node_id.h"
#include "uabase/status.h"
#include "uabase/trace.h"

// What an operation needs of the records that the application hands it.

/// The node that a record names, null if its text is none.
inline UaNodeId nodeIdOf(const OpcUaNode& node) {
    return UaNodeId::fromXmlString(toUaString(fieldText(node.nodeId)));
}

/// Whether the record's key begins with `text`.
inline bool beginsWith(const OpcUaNode& node, std::string_view text) {
    return text.size() <= sizeof node.nodeId && std::memcmp(node.nodeId, text.data(), text.size()) == 0;
}

/// What an application can do about a status; for the trace, behind its name.
inline const char* adviceOn(UaStatus status) {
    return status.statusCode() == OpcUa_BadTooManyOperations
               ? ": the server's operation limit is below the nodes of one request: ask for fewer a call"
               : "";
}

/// Tells in the trace what the result code can't: why the server does not do it ("read", "written") to a
/// node.
inline void traceRefusal(const char* area, const OpcUaNode& node, const char* what, UaStatus status) {
    const std::string_view id = fieldText(node.nodeId);
    UaTrace::write(UaTrace::Warnings, area, "%.*s is not %s: %s%s", static_cast<int>(id.size()), id.data(),
                   what, status.name(), adviceOn(status));
}
