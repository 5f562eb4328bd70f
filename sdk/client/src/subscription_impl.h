#pragma once

#include <memory>

#include <open62541/client_subscriptions.h>

#include "session_impl.h"
#include "subscription/notification_queue.h"

namespace UaClientSdk {

class UaSubscription::Impl {
public:
    Impl(UaSession::Impl& session, UaSubscriptionCallback* callback, unsigned int clientHandle)
        : m_session(session), m_queue(std::make_shared<NotificationQueue>(callback, clientHandle)) {}
    ~Impl() { m_queue->close(); }

    // In the loop.
    UaStatus create(EngineClient& engine, const SubscriptionSettings& parameters, bool publishingEnabled,
                    UA_UInt32 timeout);
    UaStatus remove(EngineClient& engine, UA_UInt32 timeout);
    NotificationQueue& queue() { return *m_queue; }
    /// From now on nothing is delivered, and its end is no loss.
    void abandon();
    /// Reports, once, that the server has ended it.
    void ended(UaStatus reason);
    bool isKnownToEngine() const { return m_knownToEngine; }

    UaStatus createMonitoredItems(const ServiceSettings& settings, OpcUa_TimestampsToReturn timestamps,
                                  const UaMonitoredItemCreateRequests& items,
                                  UaMonitoredItemCreateResults& results);
    UaStatus deleteMonitoredItems(const ServiceSettings& settings, const UaUInt32Array& monitoredItemIds,
                                  UaStatusCodeArray& results);

    /// For the engine's configuration: the server has been silent for longer than the keep-alive allows.
    static void inactive(UA_Client* client, UA_UInt32 subscriptionId, void* self);

private:
    static void valueChanged(UA_Client* client, UA_UInt32 subscriptionId, void* self, UA_UInt32 itemId,
                             void* context, UA_DataValue* value);

    UaSession::Impl& m_session;
    std::shared_ptr<NotificationQueue> m_queue;
    UA_UInt32 m_id = 0;
    bool m_alive = false; ///< on the server, and wanted
    bool m_knownToEngine = false;
};

} // namespace UaClientSdk
