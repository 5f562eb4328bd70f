#include <algorithm>
#include <string_view>

#include "client/batches.h"
#include "client/mutex_lock.h"
#include "client/node_record.h"
#include "client/opcua_client.h"
#include "client/text_field.h"
#include "uabase/trace.h"
#include "values/value_buffer.h"
#include "values/value_service.h"

namespace {

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
                   static_cast<int>(id.size()), id.data(), status.name(), adviceOn(status));
}

/// The nodes of a service call, as the server is told them.
class NodeNames {
public:
    /// Names the values of a batch. The request borrows the names until the next batch.
    template <typename RequestNode, typename Request>
    void put(const Batch<RequestNode>& batch, Request& request) {
        request.createViews(static_cast<OpcUa_UInt32>(batch.count));
        for (int i = 0; i < batch.count; ++i) {
            if (i < batch.following) {
                prefetchRecord(*batch.records[batch.count + i].node);
            }
            m_ids[i] = idOf(*batch.records[i].node);
            nameValue(request[static_cast<OpcUa_UInt32>(i)], m_ids[i]);
        }
    }

private:
    UaNodeId m_ids[batchSize];
};

/// `values` have to stay as they are until the request has gone.
void lendValues(const Batch<OpcUa_WriteNode>& batch, UaVariant* values, UaWriteValues& request) {
    for (int i = 0; i < batch.count; ++i) {
        OpcUa_WriteNode& record = batch.records[i];
        const bool taken = takeValue(values[i], record.node->dataType, record.value, record.size);
        // A record whose type sets nothing writes what the one before it wrote.
        if (!taken && i > 0) {
            values[i] = values[i - 1];
        }
        lendValue(request[static_cast<OpcUa_UInt32>(i)], values[i]);
    }
}

} // namespace

template <typename RequestNode, typename Serve>
int COpcUaClient::serveNodes(RequestNode* nodes, int count, Serve serve) {
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
    serve(*current);
    return result::success;
}

int COpcUaClient::OpcUaGetMultiValue(OpcUa_ReadNode* nodes, int count) {
    return serveNodes(nodes, count, [&](UaClientSdk::UaSession& session) {
        NodeNames names;
        Batches<OpcUa_ReadNode> asked(nodes, count);
        Batches<OpcUa_ReadNode> answered(nodes, count);
        UaClientSdk::ReadSequence reads;
        reads.next = [&](UaReadValueIds& request) {
            const bool more = asked.next();
            if (more) {
                names.put(asked.current(), request);
            }
            return more;
        };
        reads.answered = [&](UaStatus status, const UaDataValues& values) {
            answered.next();
            takeValues(answered.current(), status, values);
            return true;
        };
        readValues(session, reads);
    });
}

void COpcUaClient::takeValues(const Batch<OpcUa_ReadNode>& batch, UaStatus status,
                              const UaDataValues& values) {
    status = checked(status, values, batch.count);
    if (status.isBad()) {
        traceFailure("reading", status, *batch.records->node, batch.count);
        setResults(batch.records, batch.count, fail(result::readFailed));
        return;
    }
    for (int i = 0; i < batch.count; ++i) {
        OpcUa_ReadNode& record = batch.records[i];
        OpcUaNode& node = *record.node;
        const OpcUa_DataValue& answer = values[static_cast<OpcUa_UInt32>(i)];
        if (OpcUa_IsNotGood(answer.status)) {
            traceNotRead(node, answer.status);
            node.result = fail(result::readFailed);
            continue;
        }
        storeValue(UaVariant::borrow(answer.value), node.dataType, record.value, record.size);
        node.result = result::success;
    }
}

/// One batch after the other: of two values for one node the later one has to arrive later.
int COpcUaClient::OpcUaSetMultiValue(OpcUa_WriteNode* nodes, int count) {
    return serveNodes(nodes, count, [&](UaClientSdk::UaSession& session) {
        NodeNames names;
        UaWriteValues request;
        for (Batches<OpcUa_WriteNode> batches(nodes, count); batches.next();) {
            names.put(batches.current(), request);
            UaVariant values[batchSize];
            lendValues(batches.current(), values, request);
            UaStatusCodeArray results;
            const UaStatus status = writeValues(session, request, results);
            takeResults(batches.current(), status, results);
        }
    });
}

void COpcUaClient::takeResults(const Batch<OpcUa_WriteNode>& batch, UaStatus status,
                               const UaStatusCodeArray& results) {
    status = checked(status, results, batch.count);
    if (status.isBad()) {
        traceFailure("writing", status, *batch.records->node, batch.count);
        setResults(batch.records, batch.count, fail(result::writeFailed));
        return;
    }
    for (int i = 0; i < batch.count; ++i) {
        OpcUaNode& node = *batch.records[i].node;
        node.result = result::success;
        const UaStatus written = results[static_cast<OpcUa_UInt32>(i)];
        if (written.isNotGood()) {
            traceNotWritten(node, written);
            node.result = fail(result::writeFailed);
        }
    }
}
