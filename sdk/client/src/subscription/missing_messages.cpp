#include "subscription/missing_messages.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace UaClientSdk {
namespace {

/// A server that answers none of so many requests gets no more.
constexpr std::size_t mostRequests = 256;
/// For the answer.
constexpr std::chrono::seconds republishAnswerLimit(10);

bool isSame(MissingMessages::Message a, MissingMessages::Message b) {
    return a.subscriptionId == b.subscriptionId && a.number == b.number;
}

} // namespace

bool MissingMessages::note(Message message) {
    if (m_requests >= mostRequests)
        return false;
    ++m_requests;
    Missing missing;
    static_cast<Message&>(missing) = message;
    m_missing.push_back(missing);
    return true;
}

std::optional<MissingMessages::Message> MissingMessages::takeUnasked() {
    const auto found =
        std::find_if(m_missing.begin(), m_missing.end(), [](const Missing& one) { return !one.asked; });
    if (found == m_missing.end())
        return {};
    found->asked = true;
    found->askedAt = Clock::now();
    return *found;
}

void MissingMessages::notAsked(Message message) {
    const auto found = find(message);
    if (found != m_missing.end())
        found->asked = false;
    else
        --m_requests;
}

template <typename Condition>
void MissingMessages::removeIf(Condition condition) {
    const auto goes = [&](const Missing& one) {
        const bool is = condition(one);
        m_requests -= is && !one.asked ? 1 : 0;
        return is;
    };
    m_missing.erase(std::remove_if(m_missing.begin(), m_missing.end(), goes), m_missing.end());
}

void MissingMessages::remove(Message message) {
    removeIf([message](Message one) { return isSame(one, message); });
}

void MissingMessages::removeAll(std::uint32_t subscriptionId) {
    removeIf([subscriptionId](Message one) { return one.subscriptionId == subscriptionId; });
}

std::vector<MissingMessages::Message> MissingMessages::overdue(Clock::time_point now,
                                                               Clock::time_point serverHeard,
                                                               Clock::time_point& next) const {
    std::vector<Message> late;
    for (const Missing& one : m_missing) {
        const Clock::time_point limit = one.askedAt + republishAnswerLimit;
        if (one.asked && serverHeard >= limit)
            late.push_back(one);
        else if (one.asked && now < limit)
            next = std::min(next, limit);
    }
    return late;
}

void MissingMessages::forgetSilence() {
    for (Missing& one : m_missing)
        one.askedAt = Clock::now();
}

std::vector<MissingMessages::Missing>::iterator MissingMessages::find(Message message) {
    return std::find_if(m_missing.begin(), m_missing.end(),
                        [message](const Missing& one) { return isSame(one, message); });
}

} // namespace UaClientSdk
