#include <new>

#include "client/opcua_client.h"
#include "values/value_buffer.h"
#include "values/value_service.h"

int COpcUaClient::OpcUaGetValue(OpcUaNode* node, void* buffer, int& size) {
    if (node == nullptr || buffer == nullptr)
        return m_error.fail(result::invalidArgument);
    const SessionTurn session(m_session);
    if (session.connected() == nullptr)
        return m_error.fail(result::notConnected);
    UaVariant value;
    if (!readGoodValue(*session.connected(), *node, value))
        return m_error.fail(result::readFailed);
    encodeValue(value, node->dataType, buffer, size);
    return result::success;
}

int COpcUaClient::OpcUaSetValue(OpcUaNode* node, const void* buffer, int& size) {
    if (node == nullptr || buffer == nullptr)
        return m_error.fail(result::invalidArgument);
    const SessionTurn session(m_session);
    if (session.connected() == nullptr)
        return m_error.fail(result::notConnected);
    UaVariant value;
    decodeValue(value, node->dataType, buffer, size);
    UaWriteValues request = writeRequest(*node);
    if (value.copyTo(&request[0].value.value) != OpcUa_Good)
        throw std::bad_alloc();
    return writeValue(*session.connected(), *node, request) ? result::success
                                                            : m_error.fail(result::writeFailed);
}
