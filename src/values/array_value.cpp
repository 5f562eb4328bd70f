#include <utility>

#include "client/opcua_client.h"
#include "values/element_position.h"
#include "values/value_buffer.h"
#include "values/value_service.h"

namespace {

bool areValid(const OpcUaNode* node, const unsigned long* index, int count, const void* buffer) {
    return node != nullptr && index != nullptr && buffer != nullptr && count >= 1 &&
           count <= maximumDimensions;
}

} // namespace

int COpcUaClient::ChangeArray(unsigned long* index, unsigned long* dims, int count) {
    return static_cast<int>(flatPosition(index, dims, count));
}

int COpcUaClient::OpcUaGetArrayValue(OpcUaNode* node, unsigned long* index, int count, void* buffer,
                                     int& size) {
    if (!areValid(node, index, count, buffer))
        return m_error.fail(result::invalidArgument);
    const SessionTurn session(m_session);
    if (session.connected() == nullptr)
        return m_error.fail(result::notConnected);
    UaVariant value;
    unsigned int position = 0;
    const bool isRead = readGoodValue(*session.connected(), *node, value) &&
                        findPosition(value, index, count, position) &&
                        encodeElement(std::move(value), position, node->dataType, buffer, size);
    return isRead ? result::success : m_error.fail(result::readFailed);
}

int COpcUaClient::OpcUaSetArrayValue(OpcUaNode* node, unsigned long* index, int count, const void* buffer,
                                     int& size) {
    if (!areValid(node, index, count, buffer))
        return m_error.fail(result::invalidArgument);
    const SessionTurn session(m_session);
    if (session.connected() == nullptr)
        return m_error.fail(result::notConnected);
    UaVariant value;
    unsigned int position = 0;
    if (!readGoodValue(*session.connected(), *node, value) || !findPosition(value, index, count, position) ||
        !decodeElement(value, position, node->dataType, buffer, size)) {
        return m_error.fail(result::writeFailed);
    }
    UaWriteValues request = writeRequest(*node);
    // An array goes back in the memory that it came in.
    value.moveTo(&request[0].value.value);
    return writeValue(*session.connected(), *node, request) ? result::success
                                                            : m_error.fail(result::writeFailed);
}
