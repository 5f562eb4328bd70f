#pragma once

#include <vector>

#include "uastack/export.h"
#include "uastack/protocol_types.h"

/// Data changes in the order of their arrival. Reused from one delivery to the next: a cleared object keeps
/// its memory, so that collecting and delivering numbers allocates nothing.
class UASDK_EXPORT UaMonitoredItemNotifications {
public:
    UaMonitoredItemNotifications() = default;
    ~UaMonitoredItemNotifications() { clear(); }
    UaMonitoredItemNotifications(const UaMonitoredItemNotifications&) = delete;
    UaMonitoredItemNotifications& operator=(const UaMonitoredItemNotifications&) = delete;

    /// Takes `value` over without copying what it holds, and leaves it empty.
    void append(OpcUa_UInt32 clientHandle, OpcUa_DataValue& value);
    /// Takes all of `other` over, behind what is here.
    void append(UaMonitoredItemNotifications& other);
    /// Frees the first `count` notifications.
    void dropFirst(OpcUa_UInt32 count);
    void clear();
    void swap(UaMonitoredItemNotifications& other) noexcept { m_items.swap(other.m_items); }

    OpcUa_UInt32 length() const { return static_cast<OpcUa_UInt32>(m_items.size()); }
    const OpcUa_MonitoredItemNotification& operator[](OpcUa_UInt32 index) const { return m_items[index]; }

private:
    std::vector<OpcUa_MonitoredItemNotification> m_items;
};
