#include "client/opcua_client.h"
#include "subscription/callback.h"
#include "subscription/selection.h"
#include "values/batches.h"
#include "values/value_service.h"

using namespace UaClientSdk;

namespace {

/// OPC UA Part 4, 7.21: an item reports the node's latest value, sampled every 100 ms.
void describeItem(OpcUa_MonitoredItemCreateRequest& request, const UaNodeId& id, unsigned int handle) {
    addressValue(request.itemToMonitor, id);
    request.monitoringMode = OpcUa_MonitoringMode_Reporting;
    request.requestedParameters.clientHandle = handle;
    request.requestedParameters.samplingInterval = 100.0;
    request.requestedParameters.queueSize = 1;
    request.requestedParameters.discardOldest = true;
}

void traceRefused(const OpcUaNode& node, UaStatus status) {
    traceRefusal("subscription", node, "monitored", status);
}

/// Status of one item, which has none of its own when the service failed.
UaStatus statusOf(UaStatus service, const UaMonitoredItemCreateResults& results, OpcUa_UInt32 place) {
    return service.isGood() ? UaStatus(results[place].statusCode) : service;
}

/// Asks for the nodes of a batch, each of which uses a handle up.
void describeBatch(const OpcUaNode* nodes, int count, MonitoredItems& items,
                   UaMonitoredItemCreateRequests& requests) {
    requests.create(static_cast<OpcUa_UInt32>(count));
    for (int i = 0; i < count; ++i) {
        describeItem(requests[static_cast<OpcUa_UInt32>(i)], nodeIdOf(nodes[i]), items.nextHandle());
        items.advance();
    }
}

/// Keeps what came of a batch whose first item has this handle. Returns the handle behind the last.
unsigned int keepBatch(OpcUaNode* nodes, int count, unsigned int handle, UaStatus service,
                       const UaMonitoredItemCreateResults& results, MonitoredItems& items, LastError& error) {
    service = checked(service, results, static_cast<OpcUa_UInt32>(count));
    for (int i = 0; i < count; ++i, handle = MonitoredItems::handleAfter(handle)) {
        const auto place = static_cast<OpcUa_UInt32>(i);
        const UaStatus status = statusOf(service, results, place);
        if (!status.isNotGood()) {
            items.add(handle, results[place].monitoredItemId, nodes[i], {});
            nodes[i].result = result::success;
            continue;
        }
        traceRefused(nodes[i], status);
        nodes[i].result = service.isGood() ? error.fail(result::monitorFailed) : result::monitorFailed.code;
    }
    return handle;
}

void addItems(UaSubscription& subscription, OpcUaNode* nodes, int count, MonitoredItems& items,
              LastError& error) {
    int asked = 0;
    int answered = 0;
    unsigned int answeredHandle = items.nextHandle();
    CreateItemsSequence sequence;
    sequence.next = [&](UaMonitoredItemCreateRequests& requests) {
        const int size = batchAt(asked, count);
        describeBatch(nodes + asked, size, items, requests);
        asked += size;
        return size > 0;
    };
    sequence.answered = [&](UaStatus status, const UaMonitoredItemCreateResults& results) {
        const int size = batchAt(answered, count);
        answeredHandle = keepBatch(nodes + answered, size, answeredHandle, status, results, items, error);
        answered += size;
        return true;
    };
    ServiceSettings settings;
    subscription.createMonitoredItems(settings, OpcUa_TimestampsToReturn_Both, sequence);
}

} // namespace

int COpcUaClient::OpcUaAddMonitNode(OpcUaNode* node, unsigned long* index, int count) {
    if (node == nullptr)
        return m_error.fail(result::invalidArgument);
    const SessionTurn session(m_session);
    if (session.connected() == nullptr)
        return m_error.fail(result::notConnected);
    if (!m_callback)
        return m_error.fail(result::monitorWithoutSink);
    MonitoredItems& items = m_callback->items;
    const ItemsTurn turn(items);
    if (turn.subscription() == nullptr)
        return m_error.fail(result::noSubscription);
    if (items.count() >= MonitoredItems::maximum)
        return m_error.fail(result::monitorFailed);
    UaNodeId id;
    if (!SetNodeID(node, &id))
        return m_error.fail(result::nodeIdInvalid);
    _ArrayType selection;
    if (!makeSelection(index, count, selection))
        return m_error.fail(result::invalidArgument);
    UaMonitoredItemCreateRequests requests;
    requests.create(1);
    describeItem(requests[0], id, items.nextHandle());
    ServiceSettings settings;
    UaMonitoredItemCreateResults results;
    UaStatus service;
    try {
        service = turn.subscription()->createMonitoredItems(settings, OpcUa_TimestampsToReturn_Both, requests,
                                                            results);
    } catch (...) { // no memory for what the server may have done
        items.advance();
        throw;
    }
    const UaStatus status = statusOf(checked(service, results, 1), results, 0);
    if (status.isNotGood()) {
        traceRefused(*node, status);
        return m_error.fail(result::monitorFailed);
    }
    // Taken even if there is no memory for the item: the server has it.
    const unsigned int handle = items.nextHandle();
    items.advance();
    items.add(handle, results[0].monitoredItemId, *node, selection);
    return result::success;
}

int COpcUaClient::OpcUaAddMultiMonitNode(OpcUaNode* nodes, int count) {
    if (nodes == nullptr || count < 1)
        return m_error.fail(result::invalidArgument);
    const SessionTurn session(m_session);
    if (session.connected() == nullptr)
        return refuse(session, nodes, count, m_error);
    if (!m_callback) {
        setResults(nodes, count, m_error.fail(result::monitorWithoutSink));
        return result::success;
    }
    const ItemsTurn turn(m_callback->items);
    if (turn.subscription() == nullptr) {
        setResults(nodes, count, m_error.fail(result::noSubscription));
        return result::success;
    }
    addItems(*turn.subscription(), nodes, count, m_callback->items, m_error);
    return result::success;
}
