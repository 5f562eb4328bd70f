#pragma once

#include <memory>
#include <mutex>

#include "callback_thread.h"
#include "uabase/notifications.h"
#include "uaclient/callbacks.h"

namespace UaClientSdk {

/// The way of one subscription's data changes from the engine's loop to the callback thread.
///
/// The loop collects, hand-over makes what was collected a delivery. While the application holds the callback
/// thread up, deliveries pile up here; beyond the limit the oldest changes go, with a line in the trace.
class NotificationQueue : public std::enable_shared_from_this<NotificationQueue> {
public:
    static constexpr OpcUa_UInt32 limit = 200000;

    NotificationQueue(UaSubscriptionCallback* callback, unsigned int clientSubscriptionHandle)
        : m_callback(callback), m_handle(clientSubscriptionHandle) {}

    /// In the loop: takes over what a value holds. The engine clears what is left of it.
    void collect(OpcUa_UInt32 clientHandle, OpcUa_DataValue& value) {
        m_collected.append(clientHandle, value);
    }
    /// In the loop, when it has come to rest.
    void handOver(CallbackThread& thread);
    /// In the loop: the subscription has ended, and the server gave this reason.
    void reportEnd(CallbackThread& thread, UaStatus reason);
    /// Nothing is delivered any more, except by a call that is running.
    void close();

private:
    void deliver();
    bool isClosed();

    UaSubscriptionCallback* const m_callback;
    const unsigned int m_handle;
    UaMonitoredItemNotifications m_collected;

    std::mutex m_mutex;
    UaMonitoredItemNotifications m_waiting; ///< guarded by m_mutex, like the next two
    bool m_deliveryPosted = false;
    bool m_closed = false;

    UaMonitoredItemNotifications m_delivering; ///< the callback thread's own
    const UaDiagnosticInfos m_noDiagnostics{};
};

} // namespace UaClientSdk
