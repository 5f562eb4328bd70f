#pragma once

#include <memory>

#include "uabase/arrays.h"
#include "uabase/status.h"
#include "uaclient/request_sequence.h"
#include "uaclient/service_settings.h"
#include "uastack/export.h"

namespace UaClientSdk {

/// OPC UA Part 4, 5.14.2: what a subscription is asked for.
struct SubscriptionSettings {
    /// Milliseconds.
    OpcUa_Double publishingInterval = 0;
    OpcUa_UInt32 lifetimeCount = 0;
    OpcUa_UInt32 maxKeepAliveCount = 0;
    /// 0 is no limit.
    OpcUa_UInt32 maxNotificationsPerPublish = 0;
    OpcUa_Byte priority = 0;
};

/// One subscription of a session, which owns it: it goes with UaSession::deleteSubscription(), with a
/// disconnect and with the session.
class UASDK_EXPORT UaSubscription {
public:
    class Impl;

    explicit UaSubscription(std::unique_ptr<Impl> impl);
    ~UaSubscription();
    UaSubscription(const UaSubscription&) = delete;
    UaSubscription& operator=(const UaSubscription&) = delete;

    /// OPC UA Part 4, 5.13.2. Notifications carry the client handle of the request. On success `results` has
    /// as many elements as `items`. Where there is none, or an uncertain one, the server may have the item
    /// all the same: its notifications are dropped, whatever its client handle is used for next.
    UaStatus createMonitoredItems(ServiceSettings& settings, OpcUa_TimestampsToReturn timestamps,
                                  const UaMonitoredItemCreateRequests& items,
                                  UaMonitoredItemCreateResults& results);
    /// The same for requests that need not wait for each other.
    void createMonitoredItems(ServiceSettings& settings, OpcUa_TimestampsToReturn timestamps,
                              const CreateItemsSequence& sequence);
    /// OPC UA Part 4, 5.13.6. On success `results` has as many elements as `monitoredItemIds`.
    UaStatus deleteMonitoredItems(ServiceSettings& settings, const UaUInt32Array& monitoredItemIds,
                                  UaStatusCodeArray& results);

    Impl& impl() { return *m_impl; }

private:
    std::unique_ptr<Impl> m_impl;
};

} // namespace UaClientSdk
