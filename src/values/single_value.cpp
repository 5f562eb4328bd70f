#include "client/session_lock.h"
#include "values/value_buffer.h"
#include "values/value_service.h"

using UaClientSdk::UaSession;

int COpcUaClient::OpcUaGetValue(OpcUaNode* node, void* buffer, int& size) {
    if (!node || !buffer) {
        return fail(result::invalidArgument);
    }
    return withSession([&](UaSession& session) {
        UaVariant value;
        if (!readGoodValue(session, *node, value)) {
            return fail(result::readFailed);
        }
        storeValue(value, node->dataType, buffer, size);
        return result::success;
    });
}

int COpcUaClient::OpcUaSetValue(OpcUaNode* node, const void* buffer, int& size) {
    if (!node || !buffer) {
        return fail(result::invalidArgument);
    }
    return withSession([&](UaSession& session) {
        UaVariant value;
        takeValue(value, node->dataType, buffer, size);
        return writeValue(session, *node, value) ? result::success : fail(result::writeFailed);
    });
}
