#pragma once

#include "OpcUaTypes.h"

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
