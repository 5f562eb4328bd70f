#pragma once

#include <atomic>
#include <cstddef>
#include <map>
#include <string>
#include <vector>

#include "OpcUaNodelist.h"

/// Finds looked-up nodes without walking their records.
///
/// The records hang from COpcUaNodelist::lookupHead: the first one is the head, the others, and what the
/// application adds to them, are its children in the order in which they came. An answer is the one that
/// COpcUaNodelist::findNode gives there: the oldest record whose key begins with the text; without one, the
/// last that is found below the records, where browsing may have put nodes.
class NodeLookup {
public:
    explicit NodeLookup(COpcUaNodelist& list) : m_list(list) {}

    /// Null when there is none.
    OpcUaNode* find(const std::string& text);
    /// Adds a record that find() has not found.
    void append(OpcUaNode* record);
    /// Something may have changed below the records. Any thread may tell so.
    void invalidate() { m_isStale = true; }

private:
    struct Answer {
        std::size_t age; ///< smaller for an older record
        OpcUaNode* record;
    };

    void forget();
    /// Takes in what has come since.
    void catchUp();
    OpcUaNode* findRecord(const std::string& text);
    OpcUaNode* findBelow(const std::string& text) const;

    COpcUaNodelist& m_list;
    OpcUaNode* m_last = nullptr; ///< the latest record that was taken in
    std::atomic<bool> m_isStale{false};
    /// By text: each record's key, and what was asked for besides. A later record can't change an answer.
    std::map<std::string, Answer> m_answers;
    std::vector<OpcUaNode*> m_parents; ///< records, but for the head, with children of their own
};
