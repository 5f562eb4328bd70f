#include "browse/node_lookup.h"

#include <string>

#include "browse/node_links.h"
#include "client/text_field.h"

NodeLookup::NodeLookup(COpcUaNodelist& list) : m_list(list), m_last(nullptr), m_count(0), m_stale(false) {}

OpcUaNode* NodeLookup::find(const std::string& text) {
    if (m_stale) {
        rebuild();
    }
    OpcUaNode* record = findRecord(text);
    if (record && !beginsWith(*record, text)) {
        // The application has changed the key: it must not get a record that names another node.
        rebuild();
        record = findRecord(text);
    }
    return record ? record : findBelow(text);
}

void NodeLookup::append(OpcUaNode* record) {
    link(record);
    enter(record);
}

void NodeLookup::rebuild() {
    m_stale = false;
    m_records.clear();
    m_answers.clear();
    m_browsed.clear();
    m_last = nullptr;
    m_count = 0;
    OpcUaNode* const head = m_list.lookupHead;
    if (!head) {
        return;
    }
    enter(head);
    for (OpcUaNode* node = head->child; node; node = node->next) {
        m_last = node;
        enter(node);
    }
}

void NodeLookup::link(OpcUaNode* record) {
    if (!m_list.lookupHead) {
        m_list.lookupHead = record;
        return;
    }
    if (m_last) {
        m_last->next = record;
    } else {
        m_list.lookupHead->child = record;
    }
    m_last = record;
}

void NodeLookup::enter(OpcUaNode* record) {
    try {
        m_records.emplace(fieldText(record->nodeId), Entry{m_count, record});
        ++m_count;
        if (record->child && record != m_list.lookupHead) {
            m_browsed.push_back(record);
        }
    } catch (...) {
        m_stale = true;
        throw;
    }
}

OpcUaNode* NodeLookup::findRecord(const std::string& text) {
    const auto known = m_answers.find(text);
    if (known != m_answers.end()) {
        return known->second;
    }
    const Entry* oldest = nullptr;
    for (auto candidate = m_records.lower_bound(text);
         candidate != m_records.end() && candidate->first.compare(0, text.size(), text) == 0; ++candidate) {
        if (!oldest || candidate->second.order < oldest->order) {
            oldest = &candidate->second;
        }
    }
    if (!oldest) {
        return nullptr;
    }
    m_answers.emplace(text, oldest->record);
    return oldest->record;
}

OpcUaNode* NodeLookup::findBelow(const std::string& text) {
    for (auto record = m_browsed.rbegin(); record != m_browsed.rend(); ++record) {
        OpcUaNode* found = nullptr;
        m_list.findNode(text.c_str(), (*record)->child, &found);
        if (found) {
            return found;
        }
    }
    return nullptr;
}
