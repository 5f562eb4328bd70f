#pragma once

#include <atomic>
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
    /// Frees all but the latest of each client handle; those keep their order. Takes time in proportion to
    /// the length.
    void keepLatest();
    /// `change` gives for each client handle the one to put into its place.
    template <typename Change>
    void changeHandles(Change change) {
        for (Item& item : m_items)
            item.clientHandle = change(item.clientHandle);
    }
    void clear() { dropFirst(static_cast<OpcUa_UInt32>(m_items.size())); }
    /// Exchanges the notifications.
    void swap(UaMonitoredItemNotifications& other) noexcept;

    /// Grows no more and may become 0 while somebody goes through them: see withdraw().
    OpcUa_UInt32 length() const { return m_withdrawn ? 0 : static_cast<OpcUa_UInt32>(m_items.size()); }
    UaDataChange operator[](OpcUa_UInt32 index) const;
    /// Bytes that the notifications take, with all that their values hold.
    std::size_t bytes() const {
        return m_items.size() * sizeof(Item) + m_values.size() * sizeof(Value) + m_heldBytes;
    }

    /// From now on the length is 0: whoever goes through them, on another thread, ends with the one he has.
    /// They stay where they are until they are cleared, so that one remains good.
    void withdraw() { m_withdrawn = true; }

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
    struct Value {
        OpcUa_Variant variant;
        std::size_t heldBytes;
    };

    void free(Value& value);

    std::vector<Item> m_items;
    std::vector<Value> m_values; ///< in the order of their items
    std::size_t m_heldBytes = 0; ///< by all values
    std::atomic<bool> m_withdrawn{false};
};

inline UaDataChange UaMonitoredItemNotifications::operator[](OpcUa_UInt32 index) const {
    const Item& item = m_items[index];
    return {item.clientHandle, item.status,
            item.numberType != nullptr ? UaVariant::borrow(*item.numberType, item.number)
                                       : UaVariant::borrow(m_values[item.valueIndex].variant)};
}
