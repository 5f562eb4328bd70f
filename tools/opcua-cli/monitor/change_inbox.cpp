#include "monitor/change_inbox.h"

#include <chrono>
#include <cstddef>
#include <cstring>
#include <deque>
#include <mutex>
#include <string>
#include <string_view>
#include <sys/eventfd.h>
#include <utility>
#include <vector>

#include "values/value_buffer.h"

namespace opcua_cli {
namespace {

/// What the library delivers has the form of what it stores when it reads.
void takeValue(const _OpcUaDataChangeMsg& message, Change& change) {
    if (message.dataType <= OpcUaDataType_Null || message.dataType > OpcUaDataType_String)
        return;
    ValueBuffer buffer(message.dataType, sizeof message.value);
    std::memcpy(buffer.data(), message.value, static_cast<std::size_t>(buffer.capacity()));
    buffer.size() = message.valueSize;
    change.value = buffer.value();
    change.cut = !buffer.holdsWhole();
}

} // namespace

ChangeInbox::ChangeInbox(std::size_t capacity)
    : m_capacity(capacity), m_wakeUp(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

void ChangeInbox::expect(const std::vector<std::string>& nodeIds) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_indices.clear();
    for (std::size_t i = 0; i < nodeIds.size(); ++i)
        m_indices.emplace(nodeIds[i], i);
}

void ChangeInbox::add(const _OpcUaDataChangeMsg& message) {
    Change change;
    change.time = std::chrono::system_clock::now();
    takeValue(message, change);
    const std::string_view nodeId(message.nodeId, strnlen(message.nodeId, sizeof message.nodeId));

    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_indices.find(nodeId);
    if (found == m_indices.end())
        return;
    change.node = found->second;
    if (m_changes.size() >= m_capacity) {
        m_changes.pop_front();
        ++m_dropped;
    }
    m_changes.push_back(std::move(change));
    eventfd_write(m_wakeUp.number(), 1);
}

std::deque<Change> ChangeInbox::collect() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    eventfd_t count = 0;
    eventfd_read(m_wakeUp.number(), &count);
    return std::exchange(m_changes, {});
}

std::size_t ChangeInbox::collectDropped() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return std::exchange(m_dropped, 0);
}

} // namespace opcua_cli
