#include <algorithm>
#include <cstddef>
#include <iterator>
#include <map>
#include <memory>

#include "client/callback.h"
#include "client/opcua_client.h"
#include "client/text_field.h"

namespace {

/// Bytes of a field up to the last that is not 0.
template <std::size_t Size>
unsigned short usedSize(const char (&field)[Size]) {
    static constexpr char zeros[Size] = {};
    const std::size_t length = fieldText(field).size();
    if (std::equal(field + length, std::end(field), zeros + length)) {
        return static_cast<unsigned short>(length);
    }
    const auto last = std::find_if(std::rbegin(field), std::rend(field), [](char c) { return c != '\0'; });
    return static_cast<unsigned short>(std::rend(field) - last);
}

void setTarget(CCallback::Target& target, const _monitItemMsg& item) {
    target.node = item.node;
    target.selection = item.arrayIndex.kind != 0 ? &item.arrayIndex : nullptr;
    target.nodeIdSize = usedSize(item.node->nodeId);
    if (target.holdsNodeId()) {
        std::copy_n(item.node->nodeId, target.nodeIdSize, target.nodeId);
    }
}

/// The copies of a large panel's records don't fit a cache, and fetching the memory takes longer than filling
/// it. The heap mostly gives the next copy and its entry in the map the place behind this one.
std::unique_ptr<OpcUaNode> copyOf(const OpcUaNode& node) {
    constexpr std::size_t cacheLine = 64;
    constexpr std::size_t links = 4 * sizeof(void*);
    constexpr std::size_t entry = links + sizeof(CCallback::MonitoredItems::value_type);
    auto* const place = static_cast<char*>(operator new(sizeof(OpcUaNode)));
    const char* const next = place + sizeof(OpcUaNode) + entry;
    for (std::size_t i = 0; i < sizeof(OpcUaNode) + entry; i += cacheLine) {
        __builtin_prefetch(next + i, 1);
    }
    return std::unique_ptr<OpcUaNode>(new (place) OpcUaNode(node));
}

} // namespace

void CCallback::expectMonitoredItems(unsigned long highestClientHandle) {
    if (highestClientHandle >= m_targets.capacity()) {
        m_targets.reserve(std::max<std::size_t>(highestClientHandle + 1, 2 * m_targets.capacity()));
    }
}

void CCallback::keepMonitoredItem(unsigned long monitoredItemId, unsigned long clientHandle,
                                  const OpcUaNode& node, const _ArrayType& selection) {
    m_targets.resize(std::max<std::size_t>(m_targets.size(), clientHandle + 1));
    auto copy = copyOf(node);
    // Mostly behind all others.
    _monitItemMsg& item = monitoredItems.try_emplace(monitoredItems.end(), clientHandle - 1)->second;
    delete item.node;
    item.monitoredItemId = monitoredItemId;
    item.clientHandle = clientHandle;
    item.node = copy.release();
    item.arrayIndex = selection;
    setTarget(m_targets[clientHandle], item);
}

void CCallback::forgetMonitoredItem(MonitoredItems::iterator item) {
    m_targets[item->second.clientHandle] = {};
    delete item->second.node;
    monitoredItems.erase(item);
}

void CCallback::forgetMonitoredItems() {
    m_targets.assign(1, Target());
    for (auto& item : monitoredItems) {
        delete item.second.node;
    }
    monitoredItems.clear();
}

void COpcUaClient::ReturnMonitorItemMsg(std::map<unsigned int, _monitItemMsg>& out) {
    unsigned int position = 0;
    for (const auto& item : m_callback->monitoredItems) {
        out[position++] = item.second;
    }
}
