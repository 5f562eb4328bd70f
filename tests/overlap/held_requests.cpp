#include "overlap/held_requests.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <mutex>
#include <utility>

using namespace scripted;

namespace {

/// Without a further request: that was all.
constexpr std::chrono::milliseconds quiet(20);

} // namespace

bool isProbe(const UA_ReadRequest& request) {
    return request.nodesToReadSize == 1 &&
           request.nodesToRead[0].nodeId.identifierType == UA_NODEIDTYPE_NUMERIC &&
           request.nodesToRead[0].nodeId.identifier.numeric == UA_NS0ID_SERVER_SERVERSTATUS_STATE;
}

bool isProbe(const Call& call) {
    return call.is<UA_ReadRequest>() && isProbe(call.request<UA_ReadRequest>());
}

HeldRequests::HeldRequests(Server& server, const UA_DataType& type, Answer answer, std::size_t first)
    : m_server(server), m_type(type) {
    server.onType(type, [state = m_state](const Call& call) {
        if (isProbe(call)) {
            call.answer();
            return;
        }
        const std::lock_guard<std::mutex> lock(state->mutex);
        state->held.push_back(call);
        state->most = std::max(state->most, state->held.size());
        state->changed.notify_all();
    });
    m_thread = std::thread([this, answer = std::move(answer), first] { run(answer, first); });
}

HeldRequests::~HeldRequests() {
    m_server.onType(m_type, nullptr);
    {
        const std::lock_guard<std::mutex> lock(m_state->mutex);
        m_state->over = true;
        m_state->changed.notify_all();
    }
    m_thread.join();
}

std::size_t HeldRequests::most() const {
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    return m_state->most;
}

void HeldRequests::run(const Answer& answer, std::size_t first) {
    std::size_t least = first;
    std::unique_lock<std::mutex> lock(m_state->mutex);
    for (;;) {
        m_state->changed.wait(lock, [&] { return m_state->over || m_state->held.size() >= least; });
        if (m_state->over)
            return;
        std::size_t seen = 0;
        while (seen != m_state->held.size()) {
            seen = m_state->held.size();
            m_state->changed.wait_for(lock, quiet,
                                      [&] { return m_state->over || m_state->held.size() != seen; });
        }
        Calls held;
        held.swap(m_state->held);
        least = 1;
        lock.unlock();
        answer(held);
        lock.lock();
    }
}
