#include "subscription/item_handles.h"

#include <mutex>

namespace UaClientSdk {
namespace {

/// The doubts stand in the bits above those of any handle that an application counts up to.
constexpr unsigned int handleBits = 20;
constexpr OpcUa_UInt32 handleMask = (1U << handleBits) - 1;
constexpr OpcUa_UInt32 countedDoubts = 1U << (32 - handleBits);

} // namespace

OpcUa_UInt32 ItemHandles::toTell(OpcUa_UInt32 handle) {
    OpcUa_UInt32 highest = m_highest;
    while (highest < handle && !m_highest.compare_exchange_weak(highest, handle)) {
    }
    if (!m_anyDoubted)
        return handle;
    const std::lock_guard<std::mutex> lock(m_mutex);
    return withDoubts(handle);
}

void ItemHandles::doubt(OpcUa_UInt32 handle) {
    if (handle > handleMask)
        return;
    const std::lock_guard<std::mutex> lock(m_mutex);
    OpcUa_UInt32& doubts = m_doubts[handle];
    doubts = (doubts + 1) % countedDoubts;
    m_anyDoubted = true;
}

bool ItemHandles::isExpected(OpcUa_UInt32 told) const {
    return m_anyDoubted ? handleOf(told) != 0 : told != 0 && told <= m_highest;
}

void ItemHandles::translate(UaMonitoredItemNotifications& changes) const {
    if (m_anyDoubted)
        changes.changeHandles([this](OpcUa_UInt32 told) { return handleOf(told); });
}

OpcUa_UInt32 ItemHandles::handleOf(OpcUa_UInt32 told) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const OpcUa_UInt32 handle = m_highest <= handleMask ? told & handleMask : told;
    return told == withDoubts(handle) && handle <= m_highest ? handle : 0;
}

OpcUa_UInt32 ItemHandles::withDoubts(OpcUa_UInt32 handle) const {
    const auto doubts = m_doubts.find(handle);
    return doubts != m_doubts.end() ? doubts->second << handleBits | handle : handle;
}

} // namespace UaClientSdk
