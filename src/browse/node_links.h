#pragma once

#include "OpcUaTypes.h"

/// The last of `node` and the siblings behind it.
inline OpcUaNode* lastSibling(OpcUaNode* node) {
    while (node->next != nullptr)
        node = node->next;
    return node;
}
