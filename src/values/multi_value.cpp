#include <algorithm>
#include <string_view>

#include "client/mutex_lock.h"
#include "client/node_record.h"
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

template <typename RequestNode>
struct RequestOf;
template <>
struct RequestOf<OpcUa_ReadNode> {
    using Elements = UaReadValueIds;
};
template <>
struct RequestOf<OpcUa_WriteNode> {
    using Elements = UaWriteValues;
};

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

/// The records of one service call. What names them to the server is kept from one call to the next.
template <typename RequestNode>
struct COpcUaClient::Batch {
    RequestNode* nodes = nullptr;
    int count = 0;
    int following = 0; ///< records behind these
    UaNodeId ids[batchSize];
    typename RequestOf<RequestNode>::Elements request;
};

template <typename RequestNode>
void COpcUaClient::nameNodes(Batch<RequestNode>& batch) {
    batch.request.createViews(static_cast<OpcUa_UInt32>(batch.count));
    for (int i = 0; i < batch.count; ++i) {
        if (i < batch.following) {
            prefetchRecord(*batch.nodes[batch.count + i].node);
        }
        batch.ids[i] = idOf(*batch.nodes[i].node);
        nameValue(batch.request[static_cast<OpcUa_UInt32>(i)], batch.ids[i]);
    }
}

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
    Batch<RequestNode> batch;
    for (int left = count; left > 0; left -= batchSize) {
        batch.nodes = nodes + (count - left);
        batch.count = std::min(left, batchSize);
        batch.following = left - batch.count;
        serve(*current, batch);
    }
    return result::success;
}

void COpcUaClient::serve(UaClientSdk::UaSession& session, Batch<OpcUa_ReadNode>& batch) {
    nameNodes(batch);
    OpcUa_ReadNode* const nodes = batch.nodes;
    const int count = batch.count;
    UaDataValues answers;
    const UaStatus status = checked(readValues(session, batch.request, answers), answers, count);
    if (status.isBad()) {
        traceFailure("reading", status, *nodes->node, count);
        setResults(nodes, count, fail(result::readFailed));
        return;
    }
    for (int i = 0; i < count; ++i) {
        OpcUaNode& node = *nodes[i].node;
        const OpcUa_DataValue& answer = answers[static_cast<OpcUa_UInt32>(i)];
        if (OpcUa_IsNotGood(answer.status)) {
            traceNotRead(node, answer.status);
            node.result = fail(result::readFailed);
            continue;
        }
        storeValue(UaVariant::borrow(answer.value), node.dataType, nodes[i].value, nodes[i].size);
        node.result = result::success;
    }
}

void COpcUaClient::serve(UaClientSdk::UaSession& session, Batch<OpcUa_WriteNode>& batch) {
    nameNodes(batch);
    OpcUa_WriteNode* const nodes = batch.nodes;
    const int count = batch.count;
    UaVariant values[batchSize];
    for (int i = 0; i < count; ++i) {
        const bool taken = takeValue(values[i], nodes[i].node->dataType, nodes[i].value, nodes[i].size);
        // A record whose type sets nothing writes what the one before it wrote.
        if (!taken && i > 0) {
            values[i] = values[i - 1];
        }
        lendValue(batch.request[static_cast<OpcUa_UInt32>(i)], values[i]);
    }
    UaStatusCodeArray answers;
    const UaStatus status = checked(writeValues(session, batch.request, answers), answers, count);
    if (status.isBad()) {
        traceFailure("writing", status, *nodes->node, count);
        setResults(nodes, count, fail(result::writeFailed));
        return;
    }
    for (int i = 0; i < count; ++i) {
        OpcUaNode& node = *nodes[i].node;
        node.result = result::success;
        const UaStatus written = answers[static_cast<OpcUa_UInt32>(i)];
        if (written.isNotGood()) {
            traceNotWritten(node, written);
            node.result = fail(result::writeFailed);
        }
    }
}

int COpcUaClient::OpcUaGetMultiValue(OpcUa_ReadNode* nodes, int count) {
    return serveBatches(nodes, count);
}

int COpcUaClient::OpcUaSetMultiValue(OpcUa_WriteNode* nodes, int count) {
    return serveBatches(nodes, count);
}
