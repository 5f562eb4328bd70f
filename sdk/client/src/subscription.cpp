#include "uaclient/subscription.h"

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "subscription_impl.h"
#include "uabase/trace.h"

namespace UaClientSdk {
namespace {

/// The engine numbers the items on the wire itself and keeps a pointer for each: ours is the client handle.
void* contextOf(OpcUa_UInt32 clientHandle) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): a number in the engine's pointer, never followed
    return reinterpret_cast<void*>(static_cast<std::uintptr_t>(clientHandle));
}

OpcUa_UInt32 clientHandleOf(void* context) {
    return static_cast<OpcUa_UInt32>(reinterpret_cast<std::uintptr_t>(context));
}

} // namespace

UaStatus UaSubscription::Impl::create(EngineClient& engine, const SubscriptionSettings& parameters,
                                      bool publishingEnabled, UA_UInt32 timeout) {
    UA_CreateSubscriptionRequest request;
    UA_CreateSubscriptionRequest_init(&request);
    request.requestHeader.timeoutHint = timeout;
    request.requestedPublishingInterval = parameters.publishingInterval;
    request.requestedLifetimeCount = parameters.lifetimeCount;
    request.requestedMaxKeepAliveCount = parameters.maxKeepAliveCount;
    request.maxNotificationsPerPublish = parameters.maxNotificationsPerPublish;
    request.publishingEnabled = publishingEnabled;
    request.priority = parameters.priority;
    engine.expectSubscription();
    UA_CreateSubscriptionResponse response = UA_Client_Subscriptions_create(
        engine.handle(), request, this,
        [](UA_Client*, UA_UInt32, void* self, UA_StatusChangeNotification* change) {
            static_cast<Impl*>(self)->ended(change->status);
        },
        [](UA_Client*, UA_UInt32, void* self) {
            static_cast<Impl*>(self)->m_knownToEngine = false;
            static_cast<Impl*>(self)->ended(UA_STATUSCODE_BADNOSUBSCRIPTION);
        });
    const UaStatus status = response.responseHeader.serviceResult;
    m_id = response.subscriptionId;
    m_alive = status.isGood();
    m_knownToEngine = m_alive;
    UA_CreateSubscriptionResponse_clear(&response);
    return status;
}

UaStatus UaSubscription::Impl::remove(EngineClient& engine, UA_UInt32 timeout) {
    UA_DeleteSubscriptionsRequest request;
    UA_DeleteSubscriptionsRequest_init(&request);
    request.requestHeader.timeoutHint = timeout;
    request.subscriptionIds = &m_id;
    request.subscriptionIdsSize = 1;
    UA_DeleteSubscriptionsResponse response = UA_Client_Subscriptions_delete(engine.handle(), request);
    UaStatus status = response.responseHeader.serviceResult;
    if (!status.isBad()) {
        status = response.resultsSize == 1 ? response.results[0] : UA_STATUSCODE_BADUNKNOWNRESPONSE;
    }
    UA_DeleteSubscriptionsResponse_clear(&response);
    return status;
}

void UaSubscription::Impl::abandon() {
    m_alive = false;
    m_queue->close();
}

void UaSubscription::Impl::ended(UaStatus reason) {
    if (m_alive) {
        m_alive = false;
        m_session.subscriptionLost(*this, reason);
    }
}

void UaSubscription::Impl::inactive(UA_Client*, UA_UInt32, void* self) {
    auto* subscription = static_cast<Impl*>(self);
    if (subscription->m_alive) {
        subscription->m_session.subscriptionLost(*subscription, UA_STATUSCODE_BADTIMEOUT);
    }
}

void UaSubscription::Impl::valueChanged(UA_Client*, UA_UInt32, void* self, UA_UInt32, void* context,
                                        UA_DataValue* value) {
    auto* const subscription = static_cast<Impl*>(self);
    subscription->m_session.subscriptionSpeaks();
    subscription->m_queue->collect(clientHandleOf(context), *value);
}

UaStatus UaSubscription::Impl::createMonitoredItems(const ServiceSettings& settings,
                                                    OpcUa_TimestampsToReturn timestamps,
                                                    const UaMonitoredItemCreateRequests& items,
                                                    UaMonitoredItemCreateResults& results) {
    return m_session.inLoop([&](EngineClient& engine) -> UaStatus {
        std::vector<void*> contexts;
        contexts.reserve(items.length());
        for (const OpcUa_MonitoredItemCreateRequest& item : items) {
            contexts.push_back(contextOf(item.requestedParameters.clientHandle));
        }
        std::vector<UA_Client_DataChangeNotificationCallback> callbacks(items.length(), &Impl::valueChanged);
        std::vector<UA_Client_DeleteMonitoredItemCallback> deleteCallbacks(items.length(), nullptr);
        UA_CreateMonitoredItemsRequest request;
        UA_CreateMonitoredItemsRequest_init(&request);
        request.requestHeader.timeoutHint = timeoutOf(settings);
        request.subscriptionId = m_id;
        request.timestampsToReturn = timestamps;
        request.itemsToCreate = borrow(items);
        request.itemsToCreateSize = items.length();
        UA_CreateMonitoredItemsResponse response = UA_Client_MonitoredItems_createDataChanges(
            engine.handle(), request, contexts.data(), callbacks.data(), deleteCallbacks.data());
        UaStatus status = response.responseHeader.serviceResult;
        if (!status.isBad() && response.resultsSize != items.length()) {
            status = UA_STATUSCODE_BADUNKNOWNRESPONSE;
        }
        take(response.results, response.resultsSize, results);
        UA_CreateMonitoredItemsResponse_clear(&response);
        return status;
    });
}

UaStatus UaSubscription::Impl::deleteMonitoredItems(const ServiceSettings& settings,
                                                    const UaUInt32Array& monitoredItemIds,
                                                    UaStatusCodeArray& results) {
    return m_session.inLoop([&](EngineClient& engine) -> UaStatus {
        UA_DeleteMonitoredItemsRequest request;
        UA_DeleteMonitoredItemsRequest_init(&request);
        request.requestHeader.timeoutHint = timeoutOf(settings);
        request.subscriptionId = m_id;
        request.monitoredItemIds = borrow(monitoredItemIds);
        request.monitoredItemIdsSize = monitoredItemIds.length();
        UA_DeleteMonitoredItemsResponse response = UA_Client_MonitoredItems_delete(engine.handle(), request);
        UaStatus status = response.responseHeader.serviceResult;
        if (!status.isBad() && response.resultsSize != monitoredItemIds.length()) {
            status = UA_STATUSCODE_BADUNKNOWNRESPONSE;
        }
        take(response.results, response.resultsSize, results);
        UA_DeleteMonitoredItemsResponse_clear(&response);
        return status;
    });
}

UaSubscription::UaSubscription(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}
UaSubscription::~UaSubscription() = default;

UaStatus UaSubscription::createMonitoredItems(ServiceSettings& settings, OpcUa_TimestampsToReturn timestamps,
                                              const UaMonitoredItemCreateRequests& items,
                                              UaMonitoredItemCreateResults& results) {
    return m_impl->createMonitoredItems(settings, timestamps, items, results);
}

UaStatus UaSubscription::deleteMonitoredItems(ServiceSettings& settings,
                                              const UaUInt32Array& monitoredItemIds,
                                              UaStatusCodeArray& results) {
    return m_impl->deleteMonitoredItems(settings, monitoredItemIds, results);
}

} // namespace UaClientSdk
