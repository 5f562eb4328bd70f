#pragma once

#include <algorithm>

#include "OpcUaTypes.h"
#include "client/client_session.h"
#include "client/result_codes.h"

// Operations on many nodes, which have a result each.

/// Nodes of one service call at the most.
constexpr int batchSize = 20;

/// Length of the batch that begins at this position of `count`; 0 behind the last one.
inline int batchAt(int position, int count) {
    return std::min(batchSize, count - position);
}

inline OpcUaNode& nodeOf(OpcUaNode& node) {
    return node;
}
template <typename Request>
OpcUaNode& nodeOf(Request& request) {
    return *request.node;
}

template <typename Record>
void setResults(Record* records, int count, int code) {
    for (int i = 0; i < count; ++i)
        nodeOf(records[i]).result = code;
}

/// Tells each node that there is no connection. Returns the result of the operation.
template <typename Record>
int refuse(const SessionTurn& session, Record* records, int count, LastError& error) {
    setResults(records, count, error.fail(result::notConnected));
    // Without a session the nodes' own results tell all.
    return session.hasSession() ? result::notConnected.code : result::success;
}
