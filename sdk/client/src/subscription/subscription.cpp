#include "uaclient/subscription.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "session/calls_ahead.h"
#include "subscription/subscription_impl.h"

namespace UaClientSdk {
namespace {

constexpr double longestInterval = 24.0 * 3600 * 1000; // ms
constexpr double shortestInterval = 100;               // ms
/// What a message may take longer than it should.
constexpr std::chrono::milliseconds grace(5000);

/// A server may answer any number, and some that are none.
double saneInterval(double revised, double requested) {
    const auto isSane = [](double interval) { return interval > 0 && interval <= longestInterval; };
    if (isSane(revised))
        return std::max(revised, shortestInterval);
    constexpr double unknown = 1000;
    return isSane(requested) ? std::max(requested, unknown) : unknown;
}

/// OPC UA Part 4, 5.14.1.1: after so many intervals without data the server tells that it lives.
std::chrono::milliseconds longestSilence(double interval, OpcUa_UInt32 keepAliveCount) {
    constexpr double aMonth = 30.0 * 24 * 3600 * 1000;
    const double silence = interval * (1.0 + std::max(keepAliveCount, OpcUa_UInt32{1}));
    return std::chrono::milliseconds(static_cast<std::int64_t>(std::min(silence, aMonth))) + grace;
}

std::vector<OpcUa_UInt32> handlesOf(const UaMonitoredItemCreateRequests& items) {
    std::vector<OpcUa_UInt32> handles;
    for (const UA_MonitoredItemCreateRequest& item : items)
        handles.push_back(item.requestedParameters.clientHandle);
    return handles;
}

} // namespace

UaStatus UaSubscription::Impl::create(const ServiceSettings& settings, const SubscriptionSettings& parameters,
                                      bool publishingEnabled) {
    UA_CreateSubscriptionRequest request{};
    request.requestedPublishingInterval = parameters.publishingInterval;
    request.requestedLifetimeCount = parameters.lifetimeCount;
    request.requestedMaxKeepAliveCount = parameters.maxKeepAliveCount;
    request.maxNotificationsPerPublish = parameters.maxNotificationsPerPublish;
    request.publishingEnabled = publishingEnabled;
    request.priority = parameters.priority;
    Answer<UA_CreateSubscriptionRequest> answer;
    const UaStatus status = m_session.call(settings, request, answer);
    m_id = answer.subscriptionId;
    m_longestSilence =
        longestSilence(saneInterval(answer.revisedPublishingInterval, parameters.publishingInterval),
                       answer.revisedMaxKeepAliveCount);
    return status;
}

UaStatus UaSubscription::Impl::remove(const ServiceSettings& settings) {
    UA_DeleteSubscriptionsRequest request{};
    request.subscriptionIds = &m_id;
    request.subscriptionIdsSize = 1;
    Answer<UA_DeleteSubscriptionsRequest> answer;
    const UaStatus status = m_session.call(settings, request, answer, 1);
    return status.isNotGood() ? status : UaStatus(answer.results[0]);
}

PublishedSubscription::Target UaSubscription::Impl::published(CallbackThread& deliveryThread) const {
    return {m_queue, &deliveryThread, m_longestSilence};
}

/// The items' first values may come before the answer.
UA_CreateMonitoredItemsRequest UaSubscription::Impl::itemsRequest(OpcUa_TimestampsToReturn timestamps,
                                                                  UA_MonitoredItemCreateRequest* items,
                                                                  std::size_t count) const {
    UA_CreateMonitoredItemsRequest request{};
    request.subscriptionId = m_id;
    request.timestampsToReturn = timestamps;
    request.itemsToCreate = items;
    request.itemsToCreateSize = count;
    for (std::size_t i = 0; i < count; ++i) {
        OpcUa_UInt32& handle = items[i].requestedParameters.clientHandle;
        handle = m_queue->handles().toTell(handle);
    }
    return request;
}

UaStatus UaSubscription::Impl::createMonitoredItems(const ServiceSettings& settings,
                                                    OpcUa_TimestampsToReturn timestamps,
                                                    const UaMonitoredItemCreateRequests& items,
                                                    UaMonitoredItemCreateResults& results) {
    const std::lock_guard<std::mutex> asking(m_queue->handles().asking);
    std::vector<UA_MonitoredItemCreateRequest> told(items.begin(), items.end()); // what they hold stays there
    UA_CreateMonitoredItemsRequest request = itemsRequest(timestamps, told.data(), told.size());
    Answer<UA_CreateMonitoredItemsRequest> answer;
    const UaStatus status = m_session.call(settings, request, answer, items.length());
    take(answer.results, answer.resultsSize, results);
    doubtUnconfirmed(handlesOf(items), status, answer.isRefusal, results);
    return status;
}

/// The server may have items of which it does not say so in so many words.
void UaSubscription::Impl::doubtUnconfirmed(const std::vector<OpcUa_UInt32>& handles, UaStatus status,
                                            bool isRefusal, const UaMonitoredItemCreateResults& results) {
    for (OpcUa_UInt32 i = 0; i < handles.size(); ++i) {
        const bool isDoubtful = status.isBad()
                                    ? !isRefusal
                                    : !OpcUa_IsBad(results[i].statusCode) &&
                                          (status.isNotGood() || OpcUa_IsNotGood(results[i].statusCode));
        if (isDoubtful)
            m_queue->handles().doubt(handles[i]);
    }
}

void UaSubscription::Impl::createMonitoredItems(const ServiceSettings& settings,
                                                OpcUa_TimestampsToReturn timestamps,
                                                const CreateItemsSequence& sequence) {
    const std::lock_guard<std::mutex> asking(m_queue->handles().asking);
    UaMonitoredItemCreateRequests items;
    std::deque<std::vector<OpcUa_UInt32>> asked; // of the requests that are on their way
    m_session.callAhead<UA_CreateMonitoredItemsRequest>(
        settings,
        [&](UA_CreateMonitoredItemsRequest& request, std::size_t& count) {
            if (!sequence.next(items))
                return false;
            asked.push_back(handlesOf(items));
            request = itemsRequest(timestamps, borrow(items), items.length());
            count = items.length();
            return true;
        },
        [&](UaStatus status, Answer<UA_CreateMonitoredItemsRequest>& answer, std::size_t) {
            UaMonitoredItemCreateResults results;
            take(answer.results, answer.resultsSize, results);
            doubtUnconfirmed(asked.front(), status, answer.isRefusal, results);
            asked.pop_front();
            return sequence.answered(status, results);
        });
}

UaStatus UaSubscription::Impl::deleteMonitoredItems(const ServiceSettings& settings,
                                                    const UaUInt32Array& monitoredItemIds,
                                                    UaStatusCodeArray& results) {
    UA_DeleteMonitoredItemsRequest request{};
    request.subscriptionId = m_id;
    request.monitoredItemIds = borrow(monitoredItemIds);
    request.monitoredItemIdsSize = monitoredItemIds.length();
    Answer<UA_DeleteMonitoredItemsRequest> answer;
    const UaStatus status = m_session.call(settings, request, answer, monitoredItemIds.length());
    take(answer.results, answer.resultsSize, results);
    judgeRemovals(monitoredItemIds, status, answer.isRefusal, results);
    return status;
}

/// A server that has deleted an item, but too late to tell, does not know it when it is asked once more.
void UaSubscription::Impl::judgeRemovals(const UaUInt32Array& ids, UaStatus status, bool isRefusal,
                                         UaStatusCodeArray& results) {
    const std::lock_guard<std::mutex> lock(m_removalsMutex);
    if (status.isBad() && !isRefusal)
        m_unconfirmedRemovals.insert(ids.begin(), ids.end());
    for (OpcUa_UInt32 i = 0; status.isGood() && i < results.length(); ++i)
        if (m_unconfirmedRemovals.erase(ids[i]) != 0 && results[i] == UA_STATUSCODE_BADMONITOREDITEMIDINVALID)
            results[i] = UA_STATUSCODE_GOOD;
}

UaSubscription::UaSubscription(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}
UaSubscription::~UaSubscription() = default;

UaStatus UaSubscription::createMonitoredItems(ServiceSettings& settings, OpcUa_TimestampsToReturn timestamps,
                                              const UaMonitoredItemCreateRequests& items,
                                              UaMonitoredItemCreateResults& results) {
    return m_impl->createMonitoredItems(settings, timestamps, items, results);
}

void UaSubscription::createMonitoredItems(ServiceSettings& settings, OpcUa_TimestampsToReturn timestamps,
                                          const CreateItemsSequence& sequence) {
    m_impl->createMonitoredItems(settings, timestamps, sequence);
}

UaStatus UaSubscription::deleteMonitoredItems(ServiceSettings& settings,
                                              const UaUInt32Array& monitoredItemIds,
                                              UaStatusCodeArray& results) {
    return m_impl->deleteMonitoredItems(settings, monitoredItemIds, results);
}

} // namespace UaClientSdk
