#include <string>
#include <string_view>
#include <vector>

#include "OpcUaNodelist.h"
#include "browse/node_links.h"
#include "client/node_record.h"
#include "client/text_field.h"

COpcUaNodelist::COpcUaNodelist() : root(nullptr), lookupHead(nullptr) {}

COpcUaNodelist::~COpcUaNodelist() = default;

void COpcUaNodelist::addnextNode(OpcUaNode* first, OpcUaNode* node) {
    lastSibling(first)->next = node;
}

void COpcUaNodelist::addNode(OpcUaNode* parent, OpcUaNode* node) {
    if (parent->child != nullptr)
        addnextNode(parent->child, node);
    else
        parent->child = node;
}

void COpcUaNodelist::findNode(OpcUaNode* key, OpcUaNode* start, OpcUaNode** found) {
    const std::string text(fieldText(key->nodeId));
    findNode(text.c_str(), start, found);
}

void COpcUaNodelist::findNode(const char* key, OpcUaNode* start, OpcUaNode** found) {
    const std::string_view text(key);
    std::vector<OpcUaNode*> later; // where the search goes on, level by level, when a sibling list is done
    OpcUaNode* node = start;
    while (node != nullptr) {
        const bool matches = beginsWith(*node, text);
        if (matches)
            *found = node;
        OpcUaNode* const next = matches ? nullptr : node->next;
        if (!matches && node->child != nullptr) {
            if (next != nullptr)
                later.push_back(next);
            node = node->child;
        } else {
            node = next;
        }
        if (node == nullptr && !later.empty()) {
            node = later.back();
            later.pop_back();
        }
    }
}

void COpcUaNodelist::deleteMemory(OpcUaNode** slot) {
    OpcUaNode* node = *slot;
    *slot = nullptr;
    while (node != nullptr) {
        OpcUaNode* rest = node->next;
        if (node->child != nullptr) {
            // What is below comes next: one row to free, however deep the tree is.
            lastSibling(node->child)->next = rest;
            rest = node->child;
        }
        delete node;
        node = rest;
    }
}
