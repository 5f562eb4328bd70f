#include "raw/raw_items.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include <open62541/client_subscriptions.h>

#include "raw/raw_service.h"

namespace bench {
namespace {

constexpr std::size_t batchSize = 20;

void takeChange(UA_Client*, UA_UInt32, void* sink, UA_UInt32, void*, UA_DataValue* change) {
    if (change->hasValue && change->status == UA_STATUSCODE_GOOD && UA_Variant_isScalar(&change->value))
        static_cast<ChangeSink*>(sink)->changed(change->value.data, change->value.type->memSize);
}

} // namespace

RawItems::RawItems(const std::string& url, double publishingInterval, ChangeSink& sink)
    : m_client(url), m_sink(sink) {
    UA_CreateSubscriptionRequest request;
    UA_CreateSubscriptionRequest_init(&request);
    request.requestedPublishingInterval = publishingInterval;
    request.requestedLifetimeCount = 100000;
    request.requestedMaxKeepAliveCount = 5;
    request.publishingEnabled = true;
    UA_CreateSubscriptionResponse response =
        UA_Client_Subscriptions_create(m_client.handle(), request, &m_sink, nullptr, nullptr);
    raw::require(response.responseHeader.serviceResult, "create subscription");
    m_id = response.subscriptionId;
    UA_CreateSubscriptionResponse_clear(&response);
}

RawItems::~RawItems() {
    UA_Client_Subscriptions_deleteSingle(m_client.handle(), m_id);
}

void RawItems::add(const std::vector<UA_NodeId>& nodes) {
    for (std::size_t done = 0; done < nodes.size(); done += batchSize)
        addBatch(nodes.data() + done, std::min(batchSize, nodes.size() - done));
}

void RawItems::addBatch(const UA_NodeId* nodes, std::size_t count) {
    std::array<UA_MonitoredItemCreateRequest, batchSize> items{};
    std::array<void*, batchSize> contexts{};
    std::array<UA_Client_DataChangeNotificationCallback, batchSize> callbacks{};
    std::array<UA_Client_DeleteMonitoredItemCallback, batchSize> deleteCallbacks{};
    callbacks.fill(&takeChange);
    for (std::size_t i = 0; i < count; ++i) {
        UA_MonitoredItemCreateRequest& item = items[i];
        item.itemToMonitor.nodeId = nodes[i];
        item.itemToMonitor.attributeId = UA_ATTRIBUTEID_VALUE;
        item.monitoringMode = UA_MONITORINGMODE_REPORTING;
        item.requestedParameters.samplingInterval = 100.0;
        item.requestedParameters.queueSize = 1;
        item.requestedParameters.discardOldest = true;
    }
    UA_CreateMonitoredItemsRequest request;
    UA_CreateMonitoredItemsRequest_init(&request);
    request.subscriptionId = m_id;
    request.timestampsToReturn = UA_TIMESTAMPSTORETURN_BOTH;
    request.itemsToCreate = items.data();
    request.itemsToCreateSize = count;
    UA_CreateMonitoredItemsResponse response = UA_Client_MonitoredItems_createDataChanges(
        m_client.handle(), request, contexts.data(), callbacks.data(), deleteCallbacks.data());
    raw::require(response.responseHeader.serviceResult, "create monitored items");
    for (std::size_t i = 0; i < response.resultsSize; ++i)
        raw::require(response.results[i].statusCode, "create monitored item");
    UA_CreateMonitoredItemsResponse_clear(&response);
}

RawNodeIds::RawNodeIds(const std::vector<Tag>& nodes) {
    for (const Tag& node : nodes)
        m_ids.push_back(raw::parsed(node.nodeId));
}

RawNodeIds::~RawNodeIds() {
    for (UA_NodeId& id : m_ids)
        UA_NodeId_clear(&id);
}

} // namespace bench
