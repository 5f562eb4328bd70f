#include <utility>

#include "client/mutex_lock.h"
#include "client/opcua_client.h"
#include "values/element_position.h"
#include "values/value_buffer.h"
#include "values/value_service.h"

namespace {

bool areValid(const OpcUaNode* node, const unsigned long* index, int count, const void* buffer) {
    return node && index && buffer && count >= 1 && count <= maximumDimensions;
}

} // namespace

int COpcUaClient::ChangeArray(unsigned long* index, unsigned long* dims, int count) {
    return static_cast<int>(flatPosition(index, dims, count));
}

int COpcUaClient::OpcUaGetArrayValue(OpcUaNode* node, unsigned long* index, int count, void* buffer,
                                     int& size) {
    if (!areValid(node, index, count, buffer)) {
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
    unsigned int position = 0;
    if (!readGoodValue(*current, id, value) || !findPosition(value, index, count, position) ||
        !storeElement(std::move(value), position, node->dataType, buffer, size)) {
        return fail(result::readFailed);
    }
    return result::success;
}

int COpcUaClient::OpcUaSetArrayValue(OpcUaNode* node, unsigned long* index, int count, const void* buffer,
                                     int& size) {
    if (!areValid(node, index, count, buffer)) {
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
    unsigned int position = 0;
    if (!readGoodValue(*current, id, value) || !findPosition(value, index, count, position) ||
        !takeElement(value, position, node->dataType, buffer, size) ||
        !writeValue(*current, id, std::move(value))) {
        return fail(result::writeFailed);
    }
    return result::success;
}
