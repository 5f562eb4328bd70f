#include "uabase/notifications.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <unordered_set>
#include <utility>
#include <vector>

#include <open62541/types_generated_handling.h>

#include "uabase/held_bytes.h"

namespace {

/// Numbers, but also a time or a Guid.
bool isPlainScalar(const UA_Variant& value, std::size_t size) {
    return value.type != nullptr && UA_Variant_isScalar(&value) && value.arrayDimensions == nullptr &&
           value.type->pointerFree && value.type->memSize <= size;
}

/// Nothing that follows may fail half-way.
template <typename Element>
void makeRoom(std::vector<Element>& elements, std::size_t more) {
    const std::size_t size = elements.size() + more;
    if (elements.capacity() < size)
        elements.reserve(std::max(2 * elements.capacity(), size));
}

} // namespace

void UaMonitoredItemNotifications::append(OpcUa_UInt32 clientHandle, OpcUa_DataValue& change) {
    UA_Variant& variant = change.value;
    const bool isInline = isPlainScalar(variant, sizeof Item::number);
    if (!isInline)
        m_values.emplace_back();
    Item& item = m_items.emplace_back();
    item.clientHandle = clientHandle;
    item.status = change.status;
    if (isInline) {
        item.numberType = variant.type;
        std::memcpy(item.number, variant.data, variant.type->memSize);
    } else {
        item.valueIndex = m_values.size() - 1;
        Value& value = m_values.back();
        std::swap(value.variant, variant);
        value.heldBytes = heldBytes(&value.variant, UA_TYPES[UA_TYPES_VARIANT]);
        m_heldBytes += value.heldBytes;
    }
}

void UaMonitoredItemNotifications::append(UaMonitoredItemNotifications& other) {
    if (m_items.empty()) {
        swap(other);
        return;
    }
    makeRoom(m_items, other.m_items.size());
    makeRoom(m_values, other.m_values.size());
    for (Item& item : other.m_items)
        if (item.numberType == nullptr)
            item.valueIndex += m_values.size();
    m_items.insert(m_items.end(), other.m_items.begin(), other.m_items.end());
    m_values.insert(m_values.end(), other.m_values.begin(), other.m_values.end());
    m_heldBytes += other.m_heldBytes;
    other.m_items.clear();
    other.m_values.clear();
    other.m_heldBytes = 0;
}

void UaMonitoredItemNotifications::dropFirst(OpcUa_UInt32 count) {
    const auto end =
        m_items.begin() + static_cast<std::ptrdiff_t>(std::min<std::size_t>(count, m_items.size()));
    const auto values =
        std::count_if(m_items.begin(), end, [](const Item& item) { return item.numberType == nullptr; });
    std::for_each(m_values.begin(), m_values.begin() + values, [this](Value& value) { free(value); });
    m_values.erase(m_values.begin(), m_values.begin() + values);
    m_items.erase(m_items.begin(), end);
    for (Item& item : m_items)
        if (item.numberType == nullptr)
            item.valueIndex -= static_cast<std::size_t>(values);
}

void UaMonitoredItemNotifications::keepLatest() {
    std::unordered_set<OpcUa_UInt32> seen;
    std::vector<bool> isLatest(m_items.size());
    for (std::size_t i = m_items.size(); i-- > 0;)
        isLatest[i] = seen.insert(m_items[i].clientHandle).second;

    std::size_t items = 0;
    std::size_t values = 0;
    for (std::size_t i = 0; i < isLatest.size(); ++i) {
        Item item = m_items[i];
        if (item.numberType == nullptr) {
            Value& value = m_values[item.valueIndex];
            if (!isLatest[i]) {
                free(value);
                continue;
            }
            item.valueIndex = values;
            m_values[values++] = value;
        }
        if (isLatest[i])
            m_items[items++] = item;
    }
    m_items.resize(items);
    m_values.resize(values);
}

void UaMonitoredItemNotifications::swap(UaMonitoredItemNotifications& other) noexcept {
    m_items.swap(other.m_items);
    m_values.swap(other.m_values);
    std::swap(m_heldBytes, other.m_heldBytes);
}

void UaMonitoredItemNotifications::free(Value& value) {
    m_heldBytes -= value.heldBytes;
    UA_Variant_clear(&value.variant);
}
