#include "subscription/monitored_items.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string_view>
#include <utility>
#include <vector>

#include "client/node_record.h"
#include "subscription/selection.h"

std::unique_lock<Mutex> MonitoredItems::lock() {
    const std::lock_guard<std::mutex> next(m_turnstile);
    return std::unique_lock<Mutex>(mutex);
}

void MonitoredItems::add(unsigned int handle, OpcUa_UInt32 id, const OpcUaNode& node,
                         const _ArrayType& selection) {
    MonitoredItem added{id, std::make_unique<OpcUaNode>(node), nullptr};
    if (selection.kind != 0)
        added.selection = std::make_unique<_ArrayType>(selection);
    m_items.resize(std::max<std::size_t>(m_items.size(), handle));
    MonitoredItem& item = m_items[handle - 1];
    m_count += item.node ? 0 : 1;
    item = std::move(added);
} // NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks): it loses sight of what the item takes over

unsigned int MonitoredItems::firstHandle(std::string_view nodeId, const _ArrayType& selection) const {
    const auto matches = [&](const MonitoredItem& item) {
        return item.node && beginsWith(*item.node, nodeId) &&
               (selection.kind == 0 || (item.selection && haveSameIndices(*item.selection, selection)));
    };
    const auto first = std::find_if(m_items.begin(), m_items.end(), matches);
    return first != m_items.end() ? static_cast<unsigned int>(first - m_items.begin()) + 1 : 0;
}

void MonitoredItems::listIds(UaUInt32Array& ids) const {
    ids.create(static_cast<OpcUa_UInt32>(m_count));
    OpcUa_UInt32 position = 0;
    forEach([&](unsigned int, const MonitoredItem& item) { ids[position++] = item.id; });
}

void MonitoredItems::forget(unsigned int handle) {
    m_items[handle - 1] = {};
    --m_count;
}

void MonitoredItems::forgetAll() {
    m_items = std::vector<MonitoredItem>();
    m_count = 0;
}

void MonitoredItems::forgetSubscription() {
    if (subscription.exchange(nullptr) != nullptr)
        forgetAll();
}

void MonitoredItems::forgetSubscription(UaClientSdk::UaSubscription* which) {
    if (subscription.compare_exchange_strong(which, nullptr))
        forgetAll();
}

ItemsTurn::ItemsTurn(MonitoredItems& items) {
    if (items.subscription != nullptr) {
        m_lock = items.lock();
        // The callback that held the lock until now may have disconnected.
        m_subscription = items.subscription;
    }
}
