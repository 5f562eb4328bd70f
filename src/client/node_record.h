#pragma once

#include <string_view>

#include "OpcUaTypes.h"
#include "client/text_field.h"
#include "uabase/node_id.h"
#include "uabase/status.h"
#include "uabase/trace.h"

// What an operation needs of the records that the application hands it.

/// The node that a record names, null if its text is none. A view of the text: valid while the record stays
/// as it is.
inline UaNodeId idOf(const OpcUaNode& node) {
    return UaNodeId::borrow(fieldText(node.nodeId));
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

/// The records of a large panel are in no cache. A batch fetches those of the next one while it is made.
inline void prefetchNodeId(const OpcUaNode& node) {
    constexpr int usualLength = 32;
    __builtin_prefetch(&node.nodeId[0]);
    __builtin_prefetch(&node.nodeId[usualLength]);
}

/// With what a value needs besides the node id.
inline void prefetchRecord(const OpcUaNode& node) {
    prefetchNodeId(node);
    __builtin_prefetch(&node.dataType);
    __builtin_prefetch(&node.result, 1);
}
