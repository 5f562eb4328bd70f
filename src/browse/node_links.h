#pragma once

#include <cstring>
#include <string_view>

#include "OpcUaTypes.h"

/// Whether the record's key begins with `text`.
inline bool beginsWith(const OpcUaNode& node, std::string_view text) {
    return text.size() <= sizeof node.nodeId && std::memcmp(node.nodeId, text.data(), text.size()) == 0;
}

/// The last of `node` and the siblings behind it.
inline OpcUaNode* lastSibling(OpcUaNode* node) {
    while (node->next) {
        node = node->next;
    }
    return node;
}
