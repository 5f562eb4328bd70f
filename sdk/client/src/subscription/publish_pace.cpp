#include "subscription/publish_pace.h"

#include <algorithm>
#include <chrono>

namespace UaClientSdk {
namespace {

/// So many messages may be on their way while an acknowledgement is.
constexpr unsigned int wantedRequests = 10;

/// What a server would not take may have been another client's doing.
constexpr unsigned int servedBeforeOneMore = 1000;

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

void PublishPace::served() {
    m_refusals = 0;
    if (++m_servedAtLimit >= servedBeforeOneMore) {
        m_servedAtLimit = 0;
        m_limit = std::min(m_limit + 1, wantedRequests);
    }
}

/// Others that wait may have been answered in the same breath: they say nothing about what the server takes.
void PublishPace::takesOneLess() {
    m_limit = std::max(1U, m_limit - 1);
    m_servedAtLimit = 0;
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
