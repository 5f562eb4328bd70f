#include <utility>

#include "client/mutex_lock.h"
#include "client/opcua_client.h"
#include "values/value_buffer.h"
#include "values/value_service.h"

int COpcUaClient::OpcUaGetValue(OpcUaNode* node, void* buffer, int& size) {
    if (!node || !buffer) {
        return fail(result::invalidArgument);
    }
    const MutexLock lock(m_mutex);
    const auto current = connectedSession();
    if (!current) {
        return fail(result::notConnected);
    }
    UaNodeId id;
    SetNodeID(node, &id);
    UaVariant value;
    if (!readGoodValue(*current, id, value)) {
        return fail(result::readFailed);
    }
    storeValue(value, node->dataType, buffer, size);
    return result::success;
}

int COpcUaClient::OpcUaSetValue(OpcUaNode* node, const void* buffer, int& size) {
    if (!node || !buffer) {
        return fail(result::invalidArgument);
    }
    const MutexLock lock(m_mutex);
    const auto current = connectedSession();
    if (!current) {
        return fail(result::notConnected);
    }
    UaNodeId id;
    SetNodeID(node, &id);
    UaVariant value;
    takeValue(value, node->dataType, buffer, size);
    if (!writeValue(*current, id, std::move(value))) {
        return fail(result::writeFailed);
    }
    return result::success;
}
