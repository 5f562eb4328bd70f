#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "support/scripted/call.h"

namespace scripted {

/// The subscriptions of a server: nothing happens in them but what a case says, and each new item's first
/// value. Values are Int32.
class Publisher {
public:
    struct Item {
        std::uint32_t subscriptionId;
        std::uint32_t itemId;
        std::uint32_t clientHandle;
        std::string nodeId;
    };
    struct Change {
        std::uint32_t clientHandle;
        std::int32_t value;
    };

    // What a case says.

    /// Publishes this value of every item of the latest subscription, as soon as a Publish request is there.
    void publish(std::int32_t value);
    void publish(const std::vector<Change>& changes);
    /// Says that the latest subscription is there.
    void keepAlive();
    /// Leaves the next sequence number out, and keeps these changes for who asks for them.
    void lose(const std::vector<Change>& changes);
    /// A new item's first value, 42, is published; unless this is switched off.
    void firstValues(bool published);

    std::vector<Item> items() const;
    /// Of the latest subscription; 0 when there is none.
    std::uint32_t subscriptionId() const;
    /// Publish requests that wait for an answer.
    std::size_t waiting() const;
    bool waitForWaiting(std::size_t count) const;
    /// Takes a waiting Publish request away, to be answered by the case. Nothing when none came in time.
    std::optional<Call> takeRequest();
    /// Sequence numbers that the client acknowledged, in its order, and what the latest subscription still
    /// has to be acknowledged.
    std::vector<std::uint32_t> acknowledged() const;
    std::vector<std::uint32_t> unacknowledged() const;
    bool waitForAcknowledged(std::size_t count) const;
    /// Sequence numbers that the client asked for again.
    std::vector<std::uint32_t> askedAgain() const;

    /// An answer to Publish with these changes.
    static Owned<UA_PublishResponse> dataChange(std::uint32_t subscriptionId, std::uint32_t sequenceNumber,
                                                const std::vector<Change>& changes);
    static Owned<UA_PublishResponse> keepAlive(std::uint32_t subscriptionId, std::uint32_t sequenceNumber);

    // What the server does with requests.

    std::uint32_t create();
    bool remove(std::uint32_t subscriptionId);
    /// The item's identifier; it publishes its first value with the next flush().
    std::uint32_t add(std::uint32_t subscriptionId, std::uint32_t clientHandle, const std::string& nodeId);
    bool removeItem(std::uint32_t itemId);
    void take(const Call& publish);
    bool republish(const UA_RepublishRequest& request, UA_NotificationMessage& message);
    /// Answers waiting requests with what waits to be published.
    void flush();
    /// Ends all subscriptions, and answers what waits with this status.
    void end(UA_StatusCode status);
    bool isEmpty() const;

private:
    struct Subscription {
        std::uint32_t lastSequenceNumber = 0;
        std::map<std::uint32_t, std::vector<Change>> kept;
        std::vector<Change> firstValues;
    };
    struct Pending {
        std::uint32_t subscriptionId;
        std::uint32_t sequenceNumber;
        std::vector<Change> changes; ///< none: a keep-alive
    };
    struct Waiting {
        Call call;
        std::vector<UA_StatusCode> results; ///< of its acknowledgements
    };

    void publishLocked(std::uint32_t subscriptionId, const std::vector<Change>& changes);
    UA_StatusCode acknowledge(const UA_SubscriptionAcknowledgement& acknowledgement);
    std::optional<std::pair<Waiting, Pending>> takeMatch();
    void send(const Waiting& waiting, const Pending& pending) const;
    std::vector<std::uint32_t> keptOf(std::uint32_t id) const;

    mutable std::mutex m_mutex;
    mutable std::condition_variable m_changed;
    std::map<std::uint32_t, Subscription> m_subscriptions;
    std::vector<Item> m_items;
    std::deque<Waiting> m_waiting;
    std::deque<Pending> m_pending;
    std::vector<std::uint32_t> m_acknowledged;
    std::vector<std::uint32_t> m_askedAgain;
    std::uint32_t m_lastSubscriptionId = 0;
    std::uint32_t m_lastItemId = 0;
    bool m_firstValues = true;
};

} // namespace scripted
