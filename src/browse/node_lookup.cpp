#include "browse/node_lookup.h"

#include <string>

#include "client/node_record.h"
#include "client/text_field.h"

OpcUaNode* NodeLookup::find(const std::string& text) {
    if (m_isStale.exchange(false))
        forget();
    catchUp();
    OpcUaNode* record = findRecord(text);
    if (record != nullptr && !beginsWith(*record, text)) {
        // The application has changed the key: it must not get a record that names another node.
        forget();
        catchUp();
        record = findRecord(text);
    }
    return record != nullptr ? record : findBelow(text);
}

void NodeLookup::append(OpcUaNode* record) {
    if (m_last == nullptr)
        m_list.lookupHead = record;
    else if (m_last == m_list.lookupHead)
        m_list.addNode(m_last, record);
    else
        m_list.addnextNode(m_last, record);
}

void NodeLookup::forget() {
    m_last = nullptr;
    m_answers.clear();
    m_parents.clear();
}

void NodeLookup::catchUp() {
    OpcUaNode* const head = m_list.lookupHead;
    OpcUaNode* node = head;
    if (m_last != nullptr)
        node = m_last == head ? head->child : m_last->next;
    while (node != nullptr) {
        const std::string key(fieldText(node->nodeId));
        if (findRecord(key) == nullptr)
            m_answers.emplace(key, Answer{m_answers.size(), node});
        if (node->child != nullptr && node != head)
            m_parents.push_back(node);
        m_last = node;
        node = node == head ? head->child : node->next;
    }
}

OpcUaNode* NodeLookup::findRecord(const std::string& text) {
    auto candidate = m_answers.lower_bound(text);
    if (candidate != m_answers.end() && candidate->first == text)
        return candidate->second.record;
    const Answer* oldest = nullptr;
    for (; candidate != m_answers.end() && candidate->first.compare(0, text.size(), text) == 0; ++candidate)
        if (oldest == nullptr || candidate->second.age < oldest->age)
            oldest = &candidate->second;
    return oldest != nullptr ? m_answers.emplace(text, *oldest).first->second.record : nullptr;
}

OpcUaNode* NodeLookup::findBelow(const std::string& text) const {
    for (auto parent = m_parents.rbegin(); parent != m_parents.rend(); ++parent) {
        OpcUaNode* found = nullptr;
        m_list.findNode(text.c_str(), (*parent)->child, &found);
        if (found != nullptr)
            return found;
    }
    return nullptr;
}
