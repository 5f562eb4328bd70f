#include "subscription/delivery_gate.h"

#include <mutex>
#include <thread>

namespace {

const std::thread::id nobody;

} // namespace

void DeliveryGate::close() {
    std::unique_lock<std::mutex> lock(m_mutex);
    ++m_closures;
    m_changed.notify_all();
    if (m_deliverer != std::this_thread::get_id())
        m_changed.wait(lock, [this] { return m_deliverer == nobody; });
}

void DeliveryGate::open() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    --m_closures;
}

bool DeliveryGate::isInside() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_deliverer == std::this_thread::get_id();
}

bool DeliveryGate::enter() {
    std::unique_lock<std::mutex> lock(m_mutex);
    // A callback that connected anew may not have returned yet when a change of the new session comes.
    m_changed.wait(lock, [this] { return m_closures > 0 || m_deliverer == nobody; });
    if (m_closures > 0)
        return false;
    m_deliverer = std::this_thread::get_id();
    return true;
}

void DeliveryGate::leave() {
    // Notified under the lock: as soon as it is free, this object may be gone.
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_deliverer = nobody;
    m_changed.notify_all();
}
