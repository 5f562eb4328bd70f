#include "notification_queue.h"

#include <mutex>

#include "uabase/trace.h"

namespace UaClientSdk {

void NotificationQueue::handOver(CallbackThread& thread) {
    if (m_collected.length() == 0) {
        return;
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_closed || m_callback == nullptr) {
        m_collected.clear();
        return;
    }
    m_waiting.append(m_collected);
    if (m_waiting.length() > limit) {
        const OpcUa_UInt32 surplus = m_waiting.length() - limit;
        m_waiting.dropFirst(surplus);
        UaTrace::write(UaTrace::Errors, "subscription",
                       "%u data changes were dropped: the application holds up their delivery", surplus);
    }
    if (!m_deliveryPosted) {
        m_deliveryPosted = true;
        thread.post(
            {[](void* self, int) { static_cast<NotificationQueue*>(self)->deliver(); }, shared_from_this()});
    }
}

void NotificationQueue::reportEnd(CallbackThread& thread, UaStatus reason) {
    handOver(thread);
    thread.post({[](void* self, int code) {
                     auto* queue = static_cast<NotificationQueue*>(self);
                     if (queue->m_callback != nullptr && !queue->isClosed()) {
                         queue->m_callback->subscriptionStatusChanged(queue->m_handle,
                                                                      static_cast<OpcUa_StatusCode>(code));
                     }
                 },
                 shared_from_this(), static_cast<int>(reason.statusCode())});
}

void NotificationQueue::close() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_closed = true;
    m_waiting.clear();
}

bool NotificationQueue::isClosed() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_closed;
}

void NotificationQueue::deliver() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_deliveryPosted = false;
        if (m_closed) {
            return;
        }
        m_delivering.swap(m_waiting);
    }
    // The values go even when the callback throws.
    struct Cleaner {
        UaMonitoredItemNotifications& notifications;
        ~Cleaner() { notifications.clear(); }
    } const cleaner{m_delivering};
    m_callback->dataChange(m_handle, m_delivering, m_noDiagnostics);
}

} // namespace UaClientSdk
