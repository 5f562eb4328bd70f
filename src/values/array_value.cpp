#include "client/mutex_lock.h"
#include "client/opcua_client.h"

namespace {

constexpr int maximumDimensions = 16;

bool areValid(const OpcUaNode* node, const unsigned long* index, int count, const void* buffer) {
    return node && index && buffer && count >= 1 && count <= maximumDimensions;
}

} // namespace

int COpcUaClient::OpcUaGetArrayValue(OpcUaNode* node, unsigned long* index, int count, void* buffer, int&) {
    if (!areValid(node, index, count, buffer)) {
        return fail(result::invalidArgument);
    }
    const MutexLock lock(m_mutex);
    return fail(result::notConnected);
}

int COpcUaClient::OpcUaSetArrayValue(OpcUaNode* node, unsigned long* index, int count, const void* buffer,
                                     int&) {
    if (!areValid(node, index, count, buffer)) {
        return fail(result::invalidArgument);
    }
    const MutexLock lock(m_mutex);
    return fail(result::notConnected);
}
