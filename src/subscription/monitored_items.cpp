#include <algorithm>
#include <cstddef>
#include <vector>

#include "client/node_record.h"
#include "client/session_lock.h"
#include "subscription/monitored_items_lock.h"
#include "subscription/selection.h"
#include "values/value_service.h"

using namespace UaClientSdk;

namespace {

constexpr unsigned int maximumItems = 20000;
constexpr int batchSize = 20;

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

void traceRefused(const OpcUaNode& node, UaStatus status) {
    traceRefusal("subscription", node, "monitored", status);
}

UaStatus createItems(UaSubscription& subscription, const UaMonitoredItemCreateRequests& requests,
                     UaMonitoredItemCreateResults& results) {
    ServiceSettings settings;
    const UaStatus status =
        subscription.createMonitoredItems(settings, OpcUa_TimestampsToReturn_Both, requests, results);
    return complete(status, requests, results);
}

} // namespace

/// What is asked of the server in calls of a few nodes each, and what came of it.
struct COpcUaClient::NewItems {
    struct Item {
        OpcUaNode* node;
        unsigned long monitoredItemId;
        unsigned long clientHandle;
    };
    UaNodeId ids[batchSize]; ///< of one call, like the requests
    UaMonitoredItemCreateRequests requests;
    std::vector<Item> created; ///< by all calls

    unsigned long highestClientHandle() const {
        unsigned long highest = 0;
        for (const Item& item : created) {
            highest = std::max(highest, item.clientHandle);
        }
        return highest;
    }
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
            NewItems items;
            items.created.reserve(static_cast<std::size_t>(count));
            for (int left = count; left > 0; left -= batchSize) {
                addBatch(subscription, nodes + (count - left), left, items);
            }
            m_callback->expectMonitoredItems(items.highestClientHandle());
            // Behind the last call: our records between the engine's items would strew those over so many
            // pages that finding one for each change takes twice the time.
            for (const NewItems::Item& item : items.created) {
                m_callback->keepMonitoredItem(item.monitoredItemId, item.clientHandle, *item.node, {});
                item.node->result = result::success;
            }
            return result::success;
        });
    }
    if (code == result::success) {
        return code;
    }
    std::for_each(nodes, nodes + count, [code](OpcUaNode& node) { node.result = code; });
    // Unless the connection was lost, the nodes' own results tell all.
    return current && code == result::notConnected.code ? code : result::success;
}

void COpcUaClient::addBatch(UaSubscription& subscription, OpcUaNode* nodes, int left, NewItems& items) {
    auto& [ids, requests, created] = items;
    const int count = std::min(left, batchSize);
    requests.createViews(static_cast<OpcUa_UInt32>(count));
    for (OpcUa_UInt32 i = 0; i < requests.length(); ++i) {
        if (static_cast<int>(i) + count < left) {
            prefetchNodeId(nodes[i + requests.length()]);
        }
        ids[i] = idOf(nodes[i]);
        describeItem(requests[i], ids[i], m_monitoredItemHandle);
        m_monitoredItemHandle = keyAfter(m_monitoredItemHandle);
    }
    UaMonitoredItemCreateResults results;
    const UaStatus serviceStatus = createItems(subscription, requests, results);
    for (OpcUa_UInt32 i = 0; i < requests.length(); ++i) {
        const UaStatus status = serviceStatus.isGood() ? UaStatus(results[i].statusCode) : serviceStatus;
        if (status.isNotGood()) {
            traceRefused(nodes[i], status);
            if (serviceStatus.isGood()) {
                fail(result::monitorFailed);
            }
            nodes[i].result = result::monitorFailed.code;
            continue;
        }
        created.push_back(
            {&nodes[i], results[i].monitoredItemId, requests[i].requestedParameters.clientHandle});
    }
}
