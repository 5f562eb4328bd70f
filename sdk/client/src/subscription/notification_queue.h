#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>

#include "subscription/callback_thread.h"
#include "subscription/item_handles.h"
#include "uabase/notifications.h"
#include "uaclient/callbacks.h"

namespace UaClientSdk {

/// The way of one subscription's data changes from the network to the delivery thread.
///
/// Who reads the network collects, hand-over makes what was collected a delivery, and a delivery is one call
/// of dataChange() with all that waits. While the application holds the delivery thread up, changes wait
/// here. Beyond a bound they are merged: of each item the latest stays. Nothing else is ever dropped, so what
/// waits never takes more than the bound, twice one value of each item if that is more, and one hand-over.
class NotificationQueue : public std::enable_shared_from_this<NotificationQueue> {
public:
    struct Bound {
        std::size_t changes;
        std::size_t bytes; ///< with all that the values hold
    };
    static constexpr Bound bound{200000, std::size_t{64} << 20};

    NotificationQueue(UaSubscriptionCallback* callback, unsigned int clientSubscriptionHandle)
        : m_callback(callback), m_handle(clientSubscriptionHandle) {}

    /// What collect() is given are handles that were told the server; what is delivered are the
    /// application's.
    ItemHandles& handles() { return m_handles; }

    /// Takes over what a value holds; the caller clears what is left of it. By one thread at a time, like the
    /// next two. Takes nothing after close().
    void collect(OpcUa_UInt32 clientHandle, OpcUa_DataValue& value) {
        if (!m_closed)
            m_collected.append(clientHandle, value);
    }
    /// What was collected is to be delivered on `thread`, which is the same each time.
    void handOver(CallbackThread& thread);
    /// The subscription has ended, and the server gave this reason: told behind the changes that came before.
    void reportEnd(CallbackThread& thread, UaStatus reason);

    /// Ends the delivery, for good and without waiting: a delivery that runs ends with the change that it has
    /// reached, what waits is freed. On any thread, a callback's included.
    void close();

private:
    void mergeIfTooMuch();
    void deliver();

    UaSubscriptionCallback* const m_callback;
    const unsigned int m_handle;
    std::atomic<bool> m_closed{false};
    ItemHandles m_handles;
    UaMonitoredItemNotifications m_collected; ///< the collector's own

    std::mutex m_mutex;
    UaMonitoredItemNotifications m_waiting; ///< guarded by m_mutex, like what follows
    Bound m_mergeBeyond = bound;
    bool m_merged = false; ///< since the last delivery
    bool m_deliveryPosted = false;

    UaMonitoredItemNotifications m_delivering; ///< the delivery thread's own
    const UaDiagnosticInfos m_noDiagnostics{};
};

} // namespace UaClientSdk
