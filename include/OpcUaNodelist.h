#ifndef OPCUA_NODELIST_H
#define OPCUA_NODELIST_H

#include "OpcUaTypes.h"

/// The two node lists of a client: the browse tree and the looked-up nodes. No operation takes a lock.
class OPCUACLIENT_EXPORT COpcUaNodelist {
public:
    OpcUaNode* root; ///< root of the browse tree; null before the first browse
    OpcUaNode*
        lookupHead; ///< first looked-up node, the others are its children; null before the first lookup

    COpcUaNodelist();
    /// Frees no node: call deleteMemory() first.
    ~COpcUaNodelist();

    /// Appends `node` behind the last sibling of `first`, which must not be null. `node->next` stays as it
    /// is.
    void addnextNode(OpcUaNode* first, OpcUaNode* node);
    /// Makes `node` the last child of `parent`. `node->parent` is the caller's to set.
    void addNode(OpcUaNode* parent, OpcUaNode* node);

    /// Searches the siblings from `start` on and the trees below them for a record whose `nodeId` begins with
    /// the key: "ns=2;s=A" finds "ns=2;s=AB". The trees below a matching record and its later siblings are
    /// not looked at; a match below a record does not end the search beside that record, so the last match
    /// wins. `*found` is written on a match only.
    void findNode(OpcUaNode* key, OpcUaNode* start, OpcUaNode** found);
    void findNode(const char* key, OpcUaNode* start, OpcUaNode** found);

    /// Frees the record in `*slot`, everything below it, and its later siblings with everything below them;
    /// sets
    /// `*slot` to null. Only for records that the library made.
    void deleteMemory(OpcUaNode** slot);
};

#endif
