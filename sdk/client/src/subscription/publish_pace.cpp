#include "subscription/publish_pace.h"

#include <algorithm>
#include <chrono>

namespace UaClientSdk {
namespace {

/// So many messages may be on their way while an acknowledgement is.
constexpr unsigned int wantedRequests = 10;

constexpr std::chrono::milliseconds firstPause(100);
constexpr unsigned int doublings = 7; // 12.8 s
/// After that many refusals in a row it counts as lasting.
constexpr unsigned int lastingRefusals = 3;

} // namespace

void PublishPace::restart() {
    m_limit = wantedRequests;
    m_refusals = 0;
    m_notBefore = Clock::time_point();
}

bool PublishPace::mayAsk(unsigned int waiting, Clock::time_point now) const {
    // While the server refuses, one request is enough to learn when it no longer does.
    const bool isOfNoUse = m_refusals > 0 || m_uselessMessages > wantedRequests;
    return waiting < (isOfNoUse ? 1 : m_limit) && now >= m_notBefore;
}

bool PublishPace::refused() {
    const Clock::time_point now = Clock::now();
    if (now < m_notBefore)
        return false;
    m_notBefore = now + firstPause * (1U << std::min(m_refusals, doublings));
    ++m_refusals;
    return true;
}

void PublishPace::limitTo(unsigned int waiting) {
    m_limit = std::max(1U, std::min(m_limit - 1, waiting));
}

void PublishPace::pause() {
    m_notBefore = Clock::now() + firstPause;
}

bool PublishPace::isRefusedForGood() const {
    return m_refusals >= lastingRefusals;
}

void PublishPace::pace(unsigned int& messages) {
    if (++messages > wantedRequests)
        pause();
}

} // namespace UaClientSdk
