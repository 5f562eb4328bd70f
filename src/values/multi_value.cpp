#include <string_view>

#include "client/opcua_client.h"
#include "client/text_field.h"
#include "uabase/trace.h"
#include "values/batches.h"
#include "values/value_buffer.h"
#include "values/value_service.h"

using namespace UaClientSdk;

namespace {

/// What the requests of one operation borrow until they have gone: with copies of ids and values an operation
/// on many nodes takes a quarter longer.
struct Borrowed {
    UaNodeId ids[batchSize];
    UaVariant values[batchSize];
};

/// Addresses the values of a batch.
template <typename Record, typename Request>
void addressValues(const Record* records, int count, Borrowed& borrowed, Request& request) {
    request.createViews(static_cast<OpcUa_UInt32>(count));
    for (int i = 0; i < count; ++i) {
        borrowed.ids[i] = UaNodeId::borrow(fieldText(records[i].node->nodeId));
        auto& element = request[static_cast<OpcUa_UInt32>(i)];
        element.nodeId = borrowed.ids[i].raw();
        element.attributeId = OpcUa_Attributes_Value;
    }
}

/// Puts the values of a batch into its request, alone.
void putValues(OpcUa_WriteNode* records, int count, Borrowed& borrowed, UaWriteValues& request) {
    for (int i = 0; i < count; ++i) {
        UaVariant& value = borrowed.values[i];
        value.clear();
        // A record whose type sets nothing writes what the one before it wrote.
        if (!decodeValue(value, records[i].node->dataType, records[i].value, records[i].size) && i > 0)
            value = borrowed.values[i - 1];
        OpcUa_DataValue& element = request[static_cast<OpcUa_UInt32>(i)].value;
        element.value = value.view();
        element.hasValue = true;
    }
}

template <typename Record>
void failBatch(Record* records, int count, const char* service, UaStatus status, int code) {
    const std::string_view id = fieldText(records->node->nodeId);
    UaTrace::write(UaTrace::Errors, "values", "%s of %d nodes from %.*s on failed: %s%s", service, count,
                   static_cast<int>(id.size()), id.data(), status.name(), adviceOn(status));
    setResults(records, count, code);
}

/// Gives each node of a batch its value and result.
void distribute(OpcUa_ReadNode* records, int count, UaStatus status, const UaDataValues& values,
                LastError& error) {
    status = checked(status, values, static_cast<OpcUa_UInt32>(count));
    if (status.isBad()) {
        failBatch(records, count, "reading", status, error.fail(result::readFailed));
        return;
    }
    for (int i = 0; i < count; ++i) {
        OpcUaNode& node = *records[i].node;
        const OpcUa_DataValue& value = values[static_cast<OpcUa_UInt32>(i)];
        if (OpcUa_IsNotGood(value.status)) {
            traceNotRead(node, value.status);
            node.result = error.fail(result::readFailed);
            continue;
        }
        encodeValue(UaVariant::borrow(value.value), node.dataType, records[i].value, records[i].size);
        node.result = result::success;
    }
}

/// Gives each node of a batch its result.
void distribute(OpcUa_WriteNode* records, int count, UaStatus status, const UaStatusCodeArray& results,
                LastError& error) {
    status = checked(status, results, static_cast<OpcUa_UInt32>(count));
    if (status.isBad()) {
        failBatch(records, count, "writing", status, error.fail(result::writeFailed));
        return;
    }
    for (int i = 0; i < count; ++i) {
        OpcUaNode& node = *records[i].node;
        const UaStatus written = results[static_cast<OpcUa_UInt32>(i)];
        if (written.isNotGood()) {
            traceNotWritten(node, written);
            node.result = error.fail(result::writeFailed);
            continue;
        }
        node.result = result::success;
    }
}

void readNodes(UaSession& session, OpcUa_ReadNode* nodes, int count, LastError& error) {
    Borrowed borrowed;
    int asked = 0;
    int answered = 0;
    ReadSequence reads;
    reads.next = [&](UaReadValueIds& request) {
        const int size = batchAt(asked, count);
        addressValues(nodes + asked, size, borrowed, request);
        asked += size;
        return size > 0;
    };
    reads.answered = [&](UaStatus status, const UaDataValues& values) {
        const int size = batchAt(answered, count);
        distribute(nodes + answered, size, status, values, error);
        answered += size;
        return true;
    };
    readValues(session, reads);
}

/// One batch after the other: of two values for one node the later one has to arrive later.
void writeNodes(UaSession& session, OpcUa_WriteNode* nodes, int count, LastError& error) {
    Borrowed borrowed;
    UaWriteValues request;
    ServiceSettings settings;
    UaDiagnosticInfos diagnostics;
    for (int written = 0; written < count;) {
        const int size = batchAt(written, count);
        addressValues(nodes + written, size, borrowed, request);
        putValues(nodes + written, size, borrowed, request);
        UaStatusCodeArray results;
        const UaStatus status = session.write(settings, request, results, diagnostics);
        distribute(nodes + written, size, status, results, error);
        written += size;
    }
}

} // namespace

int COpcUaClient::OpcUaGetMultiValue(OpcUa_ReadNode* nodes, int count) {
    if (nodes == nullptr || count < 1)
        return m_error.fail(result::invalidArgument);
    const SessionTurn session(m_session);
    if (session.connected() == nullptr)
        return refuse(session, nodes, count, m_error);
    readNodes(*session.connected(), nodes, count, m_error);
    return result::success;
}

int COpcUaClient::OpcUaSetMultiValue(OpcUa_WriteNode* nodes, int count) {
    if (nodes == nullptr || count < 1)
        return m_error.fail(result::invalidArgument);
    const SessionTurn session(m_session);
    if (session.connected() == nullptr)
        return refuse(session, nodes, count, m_error);
    writeNodes(*session.connected(), nodes, count, m_error);
    return result::success;
}
