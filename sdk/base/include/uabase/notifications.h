#pragma once

#include <cstddef>
#include <vector>

#include "uabase/variant.h"
#include "uastack/export.h"
#include "uastack/protocol_types.h"

/// What a data change brings.
struct UaDataChange {
    OpcUa_UInt32 clientHandle;
    OpcUa_StatusCode status;
    UaVariant value; ///< a view, valid while the list stays as it is
};

/// Value and status of each data change, in the order of their arrival; time stamps are not kept. Reused from
/// one delivery to the next: a cleared object keeps its memory, so that collecting and delivering scalars
/// allocates nothing.
class UASDK_EXPORT UaMonitoredItemNotifications {
public:
    UaMonitoredItemNotifications() = default;
    ~UaMonitoredItemNotifications() { clear(); }
    UaMonitoredItemNotifications(const UaMonitoredItemNotifications&) = delete;
    UaMonitoredItemNotifications& operator=(const UaMonitoredItemNotifications&) = delete;

    /// Takes over what `change` holds, without copying more than a number. What is left of it the caller
    /// clears.
    void append(OpcUa_UInt32 clientHandle, OpcUa_DataValue& change);
    /// Takes all of `other` over, behind what is here.
    void append(UaMonitoredItemNotifications& other);
    /// Frees the first `count` notifications.
    void dropFirst(OpcUa_UInt32 count);
    void clear() { dropFirst(length()); }
    void swap(UaMonitoredItemNotifications& other) noexcept {
        m_items.swap(other.m_items);
        m_values.swap(other.m_values);
    }

    OpcUa_UInt32 length() const { return static_cast<OpcUa_UInt32>(m_items.size()); }
    UaDataChange operator[](OpcUa_UInt32 index) const;

private:
    /// Ten thousand of them go from one CPU's cache to another's: half a cache line each.
    struct Item {
        OpcUa_UInt32 clientHandle;
        OpcUa_StatusCode status;
        const UA_DataType* numberType; ///< null when the value lies in m_values
        union {
            alignas(8) unsigned char number[16];
            std::size_t valueIndex;
        };
    };

    /// The other CPU wrote them: they are fetched some time before they are needed.
    static constexpr std::size_t ahead = 16;

    std::vector<Item> m_items;
    std::vector<OpcUa_Variant> m_values; ///< in the order of their items
};

inline UaDataChange UaMonitoredItemNotifications::operator[](OpcUa_UInt32 index) const {
    const Item& item = m_items[index];
    __builtin_prefetch(&item + ahead);
    return {item.clientHandle, item.status,
            item.numberType != nullptr ? UaVariant::borrow(*item.numberType, item.number)
                                       : UaVariant::borrow(m_values[item.valueIndex])};
}
