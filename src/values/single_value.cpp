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
    UaDataValues values;
    if (readValue(*current, id, values).isBad() || OpcUa_IsNotGood(values[0].status)) {
        return fail(result::readFailed);
    }
    UaVariant value;
    value.attach(values[0].value);
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
    UaWriteValues values;
    values.create(1);
    nameValue(values[0], id);
    giveValue(values[0], value);
    UaStatusCodeArray results;
    if (writeValues(*current, values, results).isBad() || OpcUa_IsNotGood(results[0])) {
        return fail(result::writeFailed);
    }
    return result::success;
}
