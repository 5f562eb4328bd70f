#pragma once

#include <atomic>
#include <cstddef>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "OpcUaNodelist.h"

/// Finds looked-up nodes without walking their records.
///
/// The records hang from COpcUaNodelist::lookupHead: the first one is the head, the others are its children
/// in the order they were made. An answer is the one that COpcUaNodelist::findNode gives there: the oldest
/// record whose key begins with the text; without one, the last that is found below the records, where
/// browsing may have put nodes.
class NodeLookup {
public:
    explicit NodeLookup(COpcUaNodelist& list);

    /// Null when there is none.
    OpcUaNode* find(const std::string& text);
    /// Links a record of the library's in, whose key find() did not find.
    void append(OpcUaNode* record);
    /// Something may have changed below the records. Any thread may tell so.
    void invalidate() { m_stale = true; }

private:
    struct Entry {
        std::size_t order; ///< position in the list
        OpcUaNode* record;
    };

    void rebuild();
    void link(OpcUaNode* record);
    void enter(OpcUaNode* record);
    OpcUaNode* findRecord(const std::string& text);
    OpcUaNode* findBelow(const std::string& text);

    COpcUaNodelist& m_list;
    OpcUaNode* m_last; ///< last child of the head
    std::size_t m_count;
    std::atomic<bool> m_stale;
    std::map<std::string, Entry> m_records; ///< by key
    /// Answers given: a text may begin many keys, which are compared once only. Later records can't change an
    /// answer.
    std::unordered_map<std::string, OpcUaNode*> m_answers;
    std::vector<OpcUaNode*> m_browsed; ///< children of the head that have children of their own
};
