#include <algorithm>
#include <cstddef>
#include <vector>

#include "client/batches.h"
#include "client/node_record.h"
#include "client/session_lock.h"
#include "subscription/monitored_items_lock.h"
#include "subscription/selection.h"
#include "values/value_service.h"

using namespace UaClientSdk;

namespace {

constexpr unsigned int maximumItems = 20000;

unsigned int keyAfter(unsigned int key) {
    return key + 1 < maximumItems ? key + 1 : 0;
}

/// OPC UA Part 4, 7.21: an item reports the node's latest value, sampled every 100 ms.
void describeItem(OpcUa_MonitoredItemCreateRequest& request, const UaNodeId& id, unsigned int key) {
    nameValue(request.itemToMonitor, id);
    request.monitoringMode = OpcUa_MonitoringMode_Reporting;
    request.requestedParameters.clientHandle = key + 1;
    request.requestedParameters.samplingInterval = 100.0;
    request.requestedParameters.queueSize = 1;
    request.requestedParameters.discardOldest = true;
}

/// Asks for the nodes of a batch, the first of which gets this key. Returns the key behind the last one.
unsigned int describeItems(const Batch<OpcUaNode>& batch, unsigned int key, UaNodeId* ids,
                           UaMonitoredItemCreateRequests& requests) {
    requests.createViews(static_cast<OpcUa_UInt32>(batch.count));
    for (int i = 0; i < batch.count; ++i, key = keyAfter(key)) {
        if (i < batch.following) {
            prefetchNodeId(batch.records[batch.count + i]);
        }
        ids[i] = idOf(batch.records[i]);
        describeItem(requests[static_cast<OpcUa_UInt32>(i)], ids[i], key);
    }
    return key;
}

void traceRefused(const OpcUaNode& node, UaStatus status) {
    traceRefusal("subscription", node, "monitored", status);
}

UaStatus createItems(UaSubscription& subscription, const UaMonitoredItemCreateRequests& requests,
                     UaMonitoredItemCreateResults& results) {
    ServiceSettings settings;
    const UaStatus status =
        subscription.createMonitoredItems(settings, OpcUa_TimestampsToReturn_Both, requests, results);
    return complete(status, requests.length(), results);
}

} // namespace

/// An item that the server has made.
struct COpcUaClient::NewItem {
    OpcUaNode* node;
    unsigned long monitoredItemId;
    unsigned long clientHandle;
};

int COpcUaClient::OpcUaAddMonitNode(OpcUaNode* node, unsigned long* index, int count) {
    if (!node) {
        return fail(result::invalidArgument);
    }
    return withSession([&](UaSession&) {
        return withMonitoredItems(result::monitorWithoutSink, [&](UaSubscription& subscription) {
            return addItem(subscription, *node, index, count);
        });
    });
}

int COpcUaClient::addItem(UaSubscription& subscription, OpcUaNode& node, const unsigned long* index,
                          int count) {
    if (m_callback->monitoredItems.size() >= maximumItems) {
        return fail(result::monitorFailed);
    }
    UaNodeId id;
    if (!SetNodeID(&node, &id)) {
        return fail(result::nodeIdInvalid);
    }
    _ArrayType selection;
    if (!makeSelection(index, count, selection)) {
        return fail(result::invalidArgument);
    }
    UaMonitoredItemCreateRequests requests;
    requests.createViews(1);
    describeItem(requests[0], id, m_monitoredItemHandle);
    UaMonitoredItemCreateResults results;
    UaStatus status = createItems(subscription, requests, results);
    if (status.isGood()) {
        status = results[0].statusCode;
    }
    if (status.isNotGood()) {
        traceRefused(node, status);
        return fail(result::monitorFailed);
    }
    m_callback->keepMonitoredItem(results[0].monitoredItemId, m_monitoredItemHandle + 1UL, node, selection);
    m_monitoredItemHandle = keyAfter(m_monitoredItemHandle);
    return result::success;
}

int COpcUaClient::OpcUaAddMultiMonitNode(OpcUaNode* nodes, int count) {
    if (!nodes || count < 1) {
        return fail(result::invalidArgument);
    }
    const MutexLock lock(m_mutex);
    const auto current = session();
    int code = result::notConnected.code;
    if (!current || !current->isConnected()) {
        fail(result::notConnected);
    } else {
        code = withMonitoredItems(result::monitorWithoutSink, [&](UaSubscription& subscription) {
            return addItems(subscription, nodes, count);
        });
    }
    if (code == result::success) {
        return code;
    }
    std::for_each(nodes, nodes + count, [code](OpcUaNode& node) { node.result = code; });
    // Unless the connection was lost, the nodes' own results tell all.
    return current && code == result::notConnected.code ? code : result::success;
}

int COpcUaClient::addItems(UaSubscription& subscription, OpcUaNode* nodes, int count) {
    std::vector<NewItem> created;
    created.reserve(static_cast<std::size_t>(count));
    Batches<OpcUaNode> asked(nodes, count);
    Batches<OpcUaNode> answered(nodes, count);
    unsigned int answeredKey = m_monitoredItemHandle;
    UaNodeId ids[batchSize];
    CreateItemsSequence sequence;
    sequence.next = [&](UaMonitoredItemCreateRequests& requests) {
        const bool more = asked.next();
        if (more) {
            m_monitoredItemHandle = describeItems(asked.current(), m_monitoredItemHandle, ids, requests);
        }
        return more;
    };
    sequence.answered = [&](UaStatus status, const UaMonitoredItemCreateResults& results) {
        answered.next();
        answeredKey = takeItems(answered.current(), answeredKey, status, results, created);
        return true;
    };
    ServiceSettings settings;
    subscription.createMonitoredItems(settings, OpcUa_TimestampsToReturn_Both, sequence);

    unsigned long highest = 0;
    for (const NewItem& item : created) {
        highest = std::max(highest, item.clientHandle);
    }
    m_callback->expectMonitoredItems(highest);
    // Behind the last call: our records between the engine's items would strew those over so many pages that
    // finding one for each change takes twice the time.
    for (const NewItem& item : created) {
        m_callback->keepMonitoredItem(item.monitoredItemId, item.clientHandle, *item.node, {});
        item.node->result = result::success;
    }
    return result::success;
}

unsigned int COpcUaClient::takeItems(const Batch<OpcUaNode>& batch, unsigned int key, UaStatus status,
                                     const UaMonitoredItemCreateResults& results,
                                     std::vector<NewItem>& created) {
    const UaStatus serviceStatus = complete(status, static_cast<OpcUa_UInt32>(batch.count), results);
    for (int i = 0; i < batch.count; ++i, key = keyAfter(key)) {
        OpcUaNode& node = batch.records[i];
        const auto place = static_cast<OpcUa_UInt32>(i);
        const UaStatus itemStatus =
            serviceStatus.isGood() ? UaStatus(results[place].statusCode) : serviceStatus;
        if (!itemStatus.isNotGood()) {
            created.push_back({&node, results[place].monitoredItemId, key + 1UL});
            continue;
        }
        traceRefused(node, itemStatus);
        if (serviceStatus.isGood()) {
            fail(result::monitorFailed);
        }
        node.result = result::monitorFailed.code;
    }
    return key;
}
