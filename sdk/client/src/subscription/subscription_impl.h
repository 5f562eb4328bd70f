#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <mutex>
#include <set>
#include <vector>

#include "session/session_impl.h"
#include "subscription/notification_queue.h"
#include "subscription/publisher.h"
#include "uaclient/subscription.h"

namespace UaClientSdk {

/// A subscription on the server and the way of its data to the application.
class UaSubscription::Impl {
public:
    Impl(UaSession::Impl& session, UaSubscriptionCallback* callback, unsigned int clientHandle)
        : m_session(session), m_queue(std::make_shared<NotificationQueue>(callback, clientHandle)) {}
    ~Impl() { m_queue->close(); }
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    UaStatus create(const ServiceSettings& settings, const SubscriptionSettings& parameters,
                    bool publishingEnabled);
    UaStatus remove(const ServiceSettings& settings);
    /// From now on nothing is delivered.
    void abandon() { m_queue->close(); }
    OpcUa_UInt32 id() const { return m_id; }
    /// For the publisher.
    PublishedSubscription::Target published(CallbackThread& deliveryThread) const;

    UaStatus createMonitoredItems(const ServiceSettings& settings, OpcUa_TimestampsToReturn timestamps,
                                  const UaMonitoredItemCreateRequests& items,
                                  UaMonitoredItemCreateResults& results);
    void createMonitoredItems(const ServiceSettings& settings, OpcUa_TimestampsToReturn timestamps,
                              const CreateItemsSequence& sequence);
    UaStatus deleteMonitoredItems(const ServiceSettings& settings, const UaUInt32Array& monitoredItemIds,
                                  UaStatusCodeArray& results);

private:
    /// `items` get the handles that are told.
    UA_CreateMonitoredItemsRequest itemsRequest(OpcUa_TimestampsToReturn timestamps,
                                                UA_MonitoredItemCreateRequest* items,
                                                std::size_t count) const;
    void doubtUnconfirmed(const std::vector<OpcUa_UInt32>& handles, UaStatus status, bool isRefusal,
                          const UaMonitoredItemCreateResults& results);

    void judgeRemovals(const UaUInt32Array& ids, UaStatus status, bool isRefusal, UaStatusCodeArray& results);

    UaSession::Impl& m_session;
    std::shared_ptr<NotificationQueue> m_queue;
    std::mutex m_removalsMutex;
    std::set<OpcUa_UInt32> m_unconfirmedRemovals; ///< items that the server may have deleted; guarded by it
    OpcUa_UInt32 m_id = 0;
    std::chrono::milliseconds m_longestSilence{0};
};

} // namespace UaClientSdk
