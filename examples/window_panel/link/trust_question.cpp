#include "trust_question.h"

#include <mutex>

namespace window_panel {

void TrustQuestion::open() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_open = true;
    m_answer.reset();
}

OpcUaTrust TrustQuestion::await() {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_answered.wait(lock, [this] { return m_answer || m_closed; });
    m_open = false;
    return m_answer.value_or(OpcUaTrust_Reject);
}

void TrustQuestion::answer(OpcUaTrust answer) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_open)
        m_answer = answer;
    m_answered.notify_all();
}

void TrustQuestion::close() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_closed = true;
    m_answered.notify_all();
}

} // namespace window_panel
