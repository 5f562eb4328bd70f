#include "uabase/notifications.h"

#include <algorithm>

#include <open62541/types_generated_handling.h>

void UaMonitoredItemNotifications::append(OpcUa_UInt32 clientHandle, OpcUa_DataValue& value) {
    OpcUa_MonitoredItemNotification item;
    item.clientHandle = clientHandle;
    item.value = value;
    m_items.push_back(item);
    UA_DataValue_init(&value);
}

void UaMonitoredItemNotifications::append(UaMonitoredItemNotifications& other) {
    if (m_items.empty()) {
        swap(other);
        return;
    }
    m_items.insert(m_items.end(), other.m_items.begin(), other.m_items.end());
    other.m_items.clear();
}

void UaMonitoredItemNotifications::dropFirst(OpcUa_UInt32 count) {
    const auto end = m_items.begin() + std::min(count, length());
    std::for_each(m_items.begin(), end,
                  [](OpcUa_MonitoredItemNotification& item) { UA_MonitoredItemNotification_clear(&item); });
    m_items.erase(m_items.begin(), end);
}

void UaMonitoredItemNotifications::clear() {
    dropFirst(length());
}
