#include "client/mutex_lock.h"
#include "client/opcua_client.h"

template <typename RequestNode>
int COpcUaClient::refuseMultiNode(RequestNode* nodes, int count) {
    if (!nodes || count < 1) {
        return fail(result::invalidArgument);
    }
    const MutexLock lock(m_mutex);
    fail(result::notConnected);
    for (int i = 0; i < count; ++i) {
        nodes[i].node->result = result::notConnected.code;
    }
    // Without a session the nodes' own results tell all.
    return session() ? result::notConnected.code : result::success;
}

int COpcUaClient::OpcUaGetMultiValue(OpcUa_ReadNode* nodes, int count) {
    return refuseMultiNode(nodes, count);
}

int COpcUaClient::OpcUaSetMultiValue(OpcUa_WriteNode* nodes, int count) {
    return refuseMultiNode(nodes, count);
}
