#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "calls/call.h"
#include "socket/deadline.h"

namespace UaClientSdk {

class AnswerReceiver;

/// A request that was sent, or is about to be.
struct PendingRequest {
    /// When an answer has to come. That one is missing which may take its time means nothing.
    enum class Answered { Soon, SomeTime, WhenThereIsData };

    std::uint32_t id = 0;
    Clock::time_point sentAt;
    Answered answered = Answered::Soon;
    Call* call = nullptr;                     ///< whose thread waits...
    std::shared_ptr<AnswerReceiver> receiver; ///< ...or who is told
};

/// The requests of a pipe that are not answered yet. The pipe's lock guards it.
class PendingRequests {
public:
    void add(const PendingRequest& request) { m_requests.push_back(request); }
    /// Null when nobody waits for the answer to it, or no longer. Valid until something changes.
    const PendingRequest* find(std::uint32_t id) const;
    /// Gives it out, if it is there.
    PendingRequest take(std::uint32_t id);
    /// Nobody waits for the answer any longer, which is none of the server's doing.
    void abandon(std::uint32_t id);
    /// Whether this is the answer to one that was abandoned lately.
    bool takeAbandoned(std::uint32_t id);
    std::vector<PendingRequest> takeAll();
    /// Those of nobody's call that were sent before `limit` and whose answer had to come soon.
    std::vector<PendingRequest> takePostedBefore(Clock::time_point limit);
    /// Abandons the oldest of those that are answered when there is data, and gives it out, if there is one.
    PendingRequest abandonOldestForData();

    /// When the oldest request was sent whose answer has to come soon; the end of time without one.
    Clock::time_point oldestUnanswered() const;
    bool hasCall() const;
    /// A call whose thread waits for another one to read; null when none does.
    Call* waitingCall() const;

private:
    std::vector<PendingRequest> m_requests;
    std::array<std::uint32_t, 64> m_abandoned{}; ///< the latest; they may never be answered
    std::size_t m_nextAbandoned = 0;
};

} // namespace UaClientSdk
