#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "socket/deadline.h"

namespace UaClientSdk {

/// The messages of subscriptions that have not come and are asked for again (OPC UA Part 4, 5.14.1.1), until
/// they have come, or will not.
class MissingMessages {
public:
    struct Message {
        std::uint32_t subscriptionId = 0;
        std::uint32_t number = 0;
    };

    /// Notes one to be asked for; false when so many requests are without an answer that it is not.
    bool note(Message message);
    /// The next one to be asked for, which counts as asked for from now on.
    std::optional<Message> takeUnasked();
    /// The request for it did not get out.
    void notAsked(Message message);
    /// A request was answered, whatever came of it.
    void answered() { --m_requests; }

    /// Whether it was noted and has neither come nor been given up.
    bool isMissing(Message message) { return find(message) != m_missing.end(); }
    /// It has come, or will not.
    void remove(Message message);
    void removeAll(std::uint32_t subscriptionId);
    void clear() { m_missing.clear(); }

    /// Those that were asked for long ago by now, or by the time at which the server was last heard: what a
    /// silent one keeps back may still come. `next`, if later, becomes when there may be further ones.
    std::vector<Message> overdue(Clock::time_point now, Clock::time_point serverHeard,
                                 Clock::time_point& next) const;
    /// Time has passed in which nothing could be heard.
    void forgetSilence();

private:
    struct Missing : Message {
        bool asked = false;
        Clock::time_point askedAt{};
    };
    std::vector<Missing>::iterator find(Message message);
    template <typename Condition>
    void removeIf(Condition condition);

    std::vector<Missing> m_missing;
    std::size_t m_requests = 0; ///< wanted, or sent and not answered
};

} // namespace UaClientSdk
