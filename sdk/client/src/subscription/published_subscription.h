#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "socket/deadline.h"
#include "subscription/notification_order.h"
#include "subscription/notification_queue.h"
#include "uabase/status.h"

namespace UaClientSdk {

/// How far data may be behind the first that a server says after a silence.
constexpr std::chrono::seconds dataLag(2);

/// A subscription as its session's publisher keeps it: brings the server's messages into order, hands what is
/// in them on, and finds out whether the server has fallen silent on it. The publisher's lock guards it.
class PublishedSubscription {
public:
    /// Where its data go, and what the server revised.
    struct Target {
        std::shared_ptr<NotificationQueue> queue;
        CallbackThread* deliveryThread = nullptr; ///< outlives the publisher's use
        std::chrono::milliseconds longestSilence{0};
    };
    explicit PublishedSubscription(Target target) : m_target(std::move(target)), m_lastHeard(Clock::now()) {}

    // What comes of the server. What is in a message is taken over, in order.

    /// A message with notifications. True when anything was handed on because of it.
    bool arrived(UA_NotificationMessage& message);
    /// One that was missing and asked for again.
    bool cameAgain(UA_NotificationMessage& message);
    /// A message without: its number is that of the next one with some.
    void keptAlive(std::uint32_t nextNumber);
    /// This one will not come.
    void givenUp(std::uint32_t number);
    /// The numbers that are missing and were not told yet.
    std::vector<std::uint32_t> takeMissing() { return m_order.takeMissing(); }

    /// The server has ended it.
    void end(UaStatus reason);
    bool isEnded() const { return m_isEnded; }
    /// Neither ended nor silent for longer than it may be.
    bool flows() const { return !m_isEnded && !m_isSilent; }

    /// Looks whether the server, which was last heard at that time, says something of everything but this.
    /// Returns when to look again.
    Clock::time_point judgeSilence(Clock::time_point now, Clock::time_point serverHeard);
    /// Time has passed in which nothing could be heard.
    void forgetSilence();

private:
    void heard();
    void deliver(UA_NotificationMessage& message);
    void deliver(UA_ExtensionObject& notification);
    void handOver() { m_target.queue->handOver(*m_target.deliveryThread); }
    NotificationOrder::Deliver deliverer() {
        return [this](UA_NotificationMessage& message) { deliver(message); };
    }

    const Target m_target;
    NotificationOrder m_order;
    Clock::time_point m_lastHeard;
    Clock::time_point m_overdueSince{}; ///< as found while the server speaks; the beginning of time if not
    bool m_isEnded = false;
    bool m_isSilent = false;
    bool m_hasHandedOn = false; ///< anything of the message at hand, and of what it has set free
};

} // namespace UaClientSdk
