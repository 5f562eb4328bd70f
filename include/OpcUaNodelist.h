#ifndef OPCUA_NODELIST_H
#define OPCUA_NODELIST_H

#include "OpcUaTypes.h"

/// The two node lists of a client: the browse tree and the looked-up nodes.
///
/// A client has a list of its own, which it does not give away. An application may use the operations on
/// the trees that it got from a client and on its own records; the two pointers are then of no use to it.
/// No operation takes a lock: leave alone what another thread browses or changes.
class OPCUACLIENT_EXPORT COpcUaNodelist {
public:
    /// Root of the browse tree; null before the first browse.
    OpcUaNode* root;
    /// First looked-up node, the others are its children; null before the first lookup.
    OpcUaNode* lookupHead;

    /// Both pointers are null.
    COpcUaNodelist();
    /// Frees no node: call deleteMemory() first.
    ~COpcUaNodelist(); // NOLINT(performance-trivially-destructible): exported

    /// Appends `node` behind the last sibling of `first`. `node->next` stays as it is: null, or more
    /// siblings. Neither pointer may be null.
    void addnextNode(OpcUaNode* first, OpcUaNode* node);
    /// Makes `node` the last child of `parent`. `node->parent` is the caller's to set. Neither pointer
    /// may be null.
    void addNode(OpcUaNode* parent, OpcUaNode* node);

    /// Searches `start`, its later siblings and the trees below them for a record whose `nodeId` begins
    /// with the key: "ns=2;s=A" finds "ns=2;s=AB" too. Compare the texts where that matters.
    ///
    /// A match ends the search among its siblings, and what is below it is not looked at. It does not end
    /// the search higher up: a match among the later siblings of a record above it replaces it. The last
    /// match is the answer.
    ///
    /// `*found` is written on a match only: set it to null first. An empty key matches `start`, a key of
    /// more than 256 bytes matches nothing, and with a null `start` there is nothing to search. Throws
    /// std::bad_alloc.
    ///
    /// @param key a zero-terminated text, or a record whose `nodeId` is the key; not null
    void findNode(OpcUaNode* key, OpcUaNode* start, OpcUaNode** found);
    /// @overload
    void findNode(const char* key, OpcUaNode* start, OpcUaNode** found);

    /// Frees the record in `*slot`, everything below it, and its later siblings with everything below
    /// them. `*slot` becomes null; if it is null nothing happens.
    ///
    /// For records made with `new OpcUaNode`: by the library under a record of the application's own
    /// (`deleteMemory(&own.child)`), or by the application. Never for what hangs from a client's root or
    /// from a looked-up node: the client frees that.
    void deleteMemory(OpcUaNode** slot);
};

#endif
