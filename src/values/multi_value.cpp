#include <algorithm>

#include "client/mutex_lock.h"
#include "client/opcua_client.h"
#include "client/text_field.h"
#include "uabase/trace.h"
#include "values/value_buffer.h"
#include "values/value_service.h"

namespace {

/// Records of one service call.
constexpr int batchSize = 20;

template <typename RequestNode>
void setResults(RequestNode* nodes, int count, int code) {
    for (int i = 0; i < count; ++i) {
        nodes[i].node->result = code;
    }
}

/// What an answer is worth: one that doesn't fit its question, result by result, can't be told apart.
template <typename Answers>
UaStatus checked(UaStatus status, const Answers& answers, int questions) {
    const bool fits = answers.length() == static_cast<OpcUa_UInt32>(questions);
    return status.isBad() || fits ? status : UaStatus(OpcUa_BadUnexpectedError);
}

void traceFailure(const char* service, UaStatus status, const OpcUaNode& first, int count) {
    const std::string_view id = fieldText(first.nodeId);
    UaTrace::write(UaTrace::Errors, "values", "%s of %d nodes from %.*s on failed: %s%s", service, count,
                   static_cast<int>(id.size()), id.data(), status.name(),
                   status.statusCode() == OpcUa_BadTooManyOperations
                       ? ": the server's operation limit is below the nodes of one call"
                       : "");
}

} // namespace

template <typename RequestNode>
int COpcUaClient::serveBatches(RequestNode* nodes, int count) {
    if (!nodes || count < 1) {
        return fail(result::invalidArgument);
    }
    const MutexLock lock(m_mutex);
    const auto current = session();
    if (!current || !current->isConnected()) {
        setResults(nodes, count, fail(result::notConnected));
        // Without a session the nodes' own results tell all.
        return current ? result::notConnected.code : result::success;
    }
    for (int left = count; left > 0; left -= batchSize) {
        serveBatch(*current, nodes + (count - left), std::min(left, batchSize));
    }
    return result::success;
}

void COpcUaClient::serveBatch(UaClientSdk::UaSession& session, OpcUa_ReadNode* nodes, int count) {
    UaReadValueIds request;
    request.create(static_cast<OpcUa_UInt32>(count));
    for (int i = 0; i < count; ++i) {
        UaNodeId id;
        SetNodeID(nodes[i].node, &id);
        nameValue(request[static_cast<OpcUa_UInt32>(i)], id);
    }
    UaDataValues answers;
    const UaStatus status = checked(readValues(session, request, answers), answers, count);
    if (status.isBad()) {
        traceFailure("reading", status, *nodes->node, count);
        setResults(nodes, count, fail(result::readFailed));
        return;
    }
    for (int i = 0; i < count; ++i) {
        OpcUaNode& node = *nodes[i].node;
        UaVariant value;
        if (takeGoodValue(answers[static_cast<OpcUa_UInt32>(i)], value)) {
            storeValue(value, node.dataType, nodes[i].value, nodes[i].size);
            node.result = result::success;
        } else {
            node.result = fail(result::readFailed);
        }
    }
}

void COpcUaClient::serveBatch(UaClientSdk::UaSession& session, OpcUa_WriteNode* nodes, int count) {
    UaWriteValues request;
    request.create(static_cast<OpcUa_UInt32>(count));
    // One for the whole batch: a record whose type sets nothing writes what the one before it wrote.
    UaVariant value;
    for (int i = 0; i < count; ++i) {
        OpcUa_WriteValue& element = request[static_cast<OpcUa_UInt32>(i)];
        UaNodeId id;
        SetNodeID(nodes[i].node, &id);
        nameValue(element, id);
        takeValue(value, nodes[i].node->dataType, nodes[i].value, nodes[i].size);
        giveValue(element, UaVariant(value));
    }
    UaStatusCodeArray answers;
    const UaStatus status = checked(writeValues(session, request, answers), answers, count);
    if (status.isBad()) {
        traceFailure("writing", status, *nodes->node, count);
        setResults(nodes, count, fail(result::writeFailed));
        return;
    }
    for (int i = 0; i < count; ++i) {
        nodes[i].node->result = OpcUa_IsNotGood(answers[static_cast<OpcUa_UInt32>(i)])
                                    ? fail(result::writeFailed)
                                    : result::success;
    }
}

int COpcUaClient::OpcUaGetMultiValue(OpcUa_ReadNode* nodes, int count) {
    return serveBatches(nodes, count);
}

int COpcUaClient::OpcUaSetMultiValue(OpcUa_WriteNode* nodes, int count) {
    return serveBatches(nodes, count);
}
