#include "uabase/notifications.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include <open62541/types_generated_handling.h>

namespace {

/// Numbers, but also a time or a Guid.
bool isPlainScalar(const UA_Variant& value, std::size_t size) {
    return value.type != nullptr && UA_Variant_isScalar(&value) && value.arrayDimensions == nullptr &&
           value.type->pointerFree && value.type->memSize <= size;
}

} // namespace

void UaMonitoredItemNotifications::append(OpcUa_UInt32 clientHandle, OpcUa_DataValue& change) {
    UA_Variant& value = change.value;
    const bool isInline = isPlainScalar(value, sizeof Item::number);
    if (!isInline)
        m_values.emplace_back();
    Item& item = m_items.emplace_back();
    __builtin_prefetch(&item + ahead, 1);
    item.clientHandle = clientHandle;
    item.status = change.status;
    if (isInline) {
        item.numberType = value.type;
        std::memcpy(item.number, value.data, value.type->memSize);
    } else {
        item.valueIndex = m_values.size() - 1;
        std::swap(m_values.back(), value);
    }
}

void UaMonitoredItemNotifications::append(UaMonitoredItemNotifications& other) {
    if (m_items.empty()) {
        swap(other);
        return;
    }
    for (Item& item : other.m_items) {
        if (item.numberType == nullptr)
            item.valueIndex += m_values.size();
    }
    m_items.insert(m_items.end(), other.m_items.begin(), other.m_items.end());
    m_values.insert(m_values.end(), other.m_values.begin(), other.m_values.end());
    other.m_items.clear();
    other.m_values.clear();
}

void UaMonitoredItemNotifications::dropFirst(OpcUa_UInt32 count) {
    const auto end = m_items.begin() + std::min(count, length());
    const auto values =
        std::count_if(m_items.begin(), end, [](const Item& item) { return item.numberType == nullptr; });
    std::for_each(m_values.begin(), m_values.begin() + values,
                  [](UA_Variant& value) { UA_Variant_clear(&value); });
    m_values.erase(m_values.begin(), m_values.begin() + values);
    m_items.erase(m_items.begin(), end);
    for (Item& item : m_items) {
        if (item.numberType == nullptr)
            item.valueIndex -= static_cast<std::size_t>(values);
    }
}
