#include "client/callback.h"
#include "client/mutex_lock.h"
#include "client/opcua_client.h"

// Without subscriptions nothing can be monitored: every operation finds no connection that it could use.

void CCallback::forgetMonitoredItems() {
    for (auto& item : monitoredItems) {
        delete item.second.node;
    }
    monitoredItems.clear();
}

int COpcUaClient::OpcUaCreateSubScription(double) {
    const MutexLock lock(m_mutex);
    return fail(result::notConnected);
}

int COpcUaClient::OpcUaDeleteSubScription() {
    return fail(result::notConnected);
}

int COpcUaClient::OpcUaAddMonitNode(OpcUaNode* node, unsigned long*, int) {
    if (!node) {
        return fail(result::invalidArgument);
    }
    const MutexLock lock(m_mutex);
    return fail(result::notConnected);
}

int COpcUaClient::OpcUaRemoveMonitNode(OpcUaNode* node, unsigned long*, int) {
    if (!node) {
        return fail(result::invalidArgument);
    }
    const MutexLock lock(m_mutex);
    return fail(result::notConnected);
}

int COpcUaClient::OpcUaClearMonitNode() {
    return fail(result::notConnected);
}

int COpcUaClient::OpcUaAddMultiMonitNode(OpcUaNode* nodes, int count) {
    if (!nodes || count < 1) {
        return fail(result::invalidArgument);
    }
    const MutexLock lock(m_mutex);
    fail(result::notConnected);
    for (int i = 0; i < count; ++i) {
        nodes[i].result = result::notConnected.code;
    }
    // Without a session the nodes' own results tell all.
    return session() ? result::notConnected.code : result::success;
}
