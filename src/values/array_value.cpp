#include <utility>

#include "client/session_lock.h"
#include "values/element_position.h"
#include "values/value_buffer.h"
#include "values/value_service.h"

using UaClientSdk::UaSession;

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
    return withSession([&](UaSession& session) {
        UaVariant value;
        unsigned int position = 0;
        const bool stored = readGoodValue(session, *node, value) &&
                            findPosition(value, index, count, position) &&
                            storeElement(std::move(value), position, node->dataType, buffer, size);
        return stored ? result::success : fail(result::readFailed);
    });
}

int COpcUaClient::OpcUaSetArrayValue(OpcUaNode* node, unsigned long* index, int count, const void* buffer,
                                     int& size) {
    if (!areValid(node, index, count, buffer)) {
        return fail(result::invalidArgument);
    }
    return withSession([&](UaSession& session) {
        UaVariant value;
        unsigned int position = 0;
        const bool written =
            readGoodValue(session, *node, value) && findPosition(value, index, count, position) &&
            takeElement(value, position, node->dataType, buffer, size) && writeValue(session, *node, value);
        return written ? result::success : fail(result::writeFailed);
    });
}
