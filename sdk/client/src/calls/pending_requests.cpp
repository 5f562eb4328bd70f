#include "calls/pending_requests.h"

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace UaClientSdk {
const PendingRequest* PendingRequests::find(std::uint32_t id) const {
    const auto found = std::find_if(m_requests.begin(), m_requests.end(),
                                    [id](const PendingRequest& request) { return request.id == id; });
    return found == m_requests.end() ? nullptr : &*found;
}

PendingRequest PendingRequests::take(std::uint32_t id) {
    const PendingRequest* const found = find(id);
    if (found == nullptr)
        return PendingRequest();
    const auto entry = m_requests.begin() + (found - m_requests.data());
    PendingRequest taken = std::move(*entry);
    m_requests.erase(entry);
    return taken;
}

void PendingRequests::abandon(std::uint32_t id) {
    if (find(id) != nullptr) {
        take(id);
        m_abandoned[m_nextAbandoned] = id;
        m_nextAbandoned = (m_nextAbandoned + 1) % m_abandoned.size();
    }
}

bool PendingRequests::takeAbandoned(std::uint32_t id) {
    const auto found = std::find(m_abandoned.begin(), m_abandoned.end(), id);
    if (id == 0 || found == m_abandoned.end())
        return false;
    *found = 0;
    return true;
}

std::vector<PendingRequest> PendingRequests::takeAll() {
    return std::exchange(m_requests, {});
}

std::vector<PendingRequest> PendingRequests::takePostedBefore(Clock::time_point limit) {
    std::vector<PendingRequest> taken;
    std::vector<PendingRequest> stays;
    taken.reserve(m_requests.size()); // nothing may fail half-way
    stays.reserve(m_requests.size());
    for (PendingRequest& request : m_requests) {
        const bool isTaken = request.call == nullptr && request.answered == PendingRequest::Answered::Soon &&
                             request.sentAt < limit;
        (isTaken ? taken : stays).push_back(std::move(request));
    }
    m_requests = std::move(stays);
    return taken;
}

PendingRequest PendingRequests::abandonOldestForData() {
    const auto oldest = std::find_if(m_requests.begin(), m_requests.end(), [](const PendingRequest& request) {
        return request.answered == PendingRequest::Answered::WhenThereIsData;
    });
    if (oldest == m_requests.end())
        return PendingRequest();
    PendingRequest abandoned = *oldest;
    abandon(abandoned.id);
    return abandoned;
}

Clock::time_point PendingRequests::oldestUnanswered() const {
    Clock::time_point oldest = Clock::time_point::max();
    for (const PendingRequest& request : m_requests)
        if (request.answered == PendingRequest::Answered::Soon)
            oldest = std::min(oldest, request.sentAt);
    return oldest;
}

bool PendingRequests::hasCall() const {
    return std::any_of(m_requests.begin(), m_requests.end(),
                       [](const PendingRequest& request) { return request.call != nullptr; });
}

Call* PendingRequests::waitingCall() const {
    const auto found = std::find_if(m_requests.begin(), m_requests.end(), [](const PendingRequest& request) {
        return request.call != nullptr && request.call->waits;
    });
    return found == m_requests.end() ? nullptr : found->call;
}

} // namespace UaClientSdk
