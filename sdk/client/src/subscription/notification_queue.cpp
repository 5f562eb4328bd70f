#include "subscription/notification_queue.h"

#include <algorithm>
#include <cstddef>
#include <mutex>

#include "uabase/trace.h"

namespace UaClientSdk {

void NotificationQueue::handOver(CallbackThread& thread) {
    if (m_collected.length() == 0)
        return;
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_closed || m_callback == nullptr) {
        m_collected.clear();
        return;
    }
    m_waiting.append(m_collected);
    mergeIfTooMuch();
    if (!m_deliveryPosted) {
        m_deliveryPosted = true;
        thread.post(
            {[](void* self, int) { static_cast<NotificationQueue*>(self)->deliver(); }, shared_from_this()});
    }
}

/// Merging takes time in proportion to what waits. So it is not done again before as much has come as it
/// left.
void NotificationQueue::mergeIfTooMuch() {
    if (m_waiting.length() <= m_mergeBeyond.changes && m_waiting.bytes() <= m_mergeBeyond.bytes)
        return;
    if (!m_merged) {
        m_merged = true;
        UaTrace::write(
            UaTrace::Warnings, "subscription",
            "the application holds up the delivery of data changes: until it goes on only the latest "
            "of each item is kept");
    }
    m_waiting.keepLatest();
    m_mergeBeyond = {std::max<std::size_t>(bound.changes, std::size_t{2} * m_waiting.length()),
                     std::max(bound.bytes, 2 * m_waiting.bytes())};
}

void NotificationQueue::reportEnd(CallbackThread& thread, UaStatus reason) {
    handOver(thread);
    thread.post({[](void* self, int code) {
                     auto* queue = static_cast<NotificationQueue*>(self);
                     if (queue->m_callback != nullptr && !queue->m_closed) {
                         queue->m_callback->subscriptionStatusChanged(queue->m_handle,
                                                                      static_cast<OpcUa_StatusCode>(code));
                     }
                 },
                 shared_from_this(), static_cast<int>(reason.statusCode())});
}

void NotificationQueue::close() {
    UaMonitoredItemNotifications dropped;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_closed = true;
        m_waiting.swap(dropped);
    }
    m_delivering.withdraw();
}

void NotificationQueue::deliver() {
    {
        const std::lock_guard<std::mutex> asking(m_handles.asking);
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_deliveryPosted = false;
        if (m_closed)
            return;
        m_delivering.swap(m_waiting);
        m_handles.translate(m_delivering);
        m_mergeBeyond = bound;
        m_merged = false;
    }
    // The values go even when the callback throws.
    struct Cleaner {
        UaMonitoredItemNotifications& notifications;
        ~Cleaner() { notifications.clear(); }
    } const cleaner{m_delivering};
    m_callback->dataChange(m_handle, m_delivering, m_noDiagnostics);
}

} // namespace UaClientSdk
