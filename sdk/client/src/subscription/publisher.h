#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "calls/service_call.h"
#include "subscription/acknowledgements.h"
#include "subscription/notification_order.h"
#include "subscription/notification_queue.h"
#include "uabase/node_id.h"
#include "uaclient/subscription.h"

namespace UaClientSdk {

/// What a publisher tells its session, on the thread that reads the network.
class PublishListener : public SessionLossListener {
public:
    /// Whether data can come: false when the server has ended a subscription, fell silent on it, or refuses
    /// to publish.
    virtual void dataFlows(bool flows) = 0;
    /// There is something to send.
    virtual void publishDue() = 0;
};

/// Keeps a session's publish requests waiting at the server, acknowledges what comes, asks again for what is
/// missing, and hands it all to the subscriptions' queues (OPC UA Part 4, 5.14.5 and 5.14.6).
///
/// Answers come on whichever thread reads the network; requests are sent by keepHouse() alone.
class Publisher : public std::enable_shared_from_this<Publisher> {
public:
    Publisher(PublishListener& listener, UaNodeId authenticationToken)
        : m_listener(listener), m_authenticationToken(std::move(authenticationToken)) {}

    /// What the server revised, and where a subscription's data go.
    struct Subscription {
        std::shared_ptr<NotificationQueue> queue;
        CallbackThread* deliveryThread = nullptr; ///< outlives the publisher's use
        std::chrono::milliseconds longestSilence{0};
    };
    void add(std::uint32_t id, Subscription subscription);
    void remove(std::uint32_t id);

    /// From now on nothing is sent, delivered or told.
    void close();

    /// Sends what is due and looks for subscriptions that have fallen silent, unless the whole server has:
    /// `silent`. Returns when it wants to be called next.
    Clock::time_point keepHouse(Pipe& pipe, bool silent);
    /// Time has passed in which nothing could be heard.
    void forgetSilence();

private:
    struct Kept : Subscription {
        NotificationOrder order;
        Clock::time_point lastHeard;
        Clock::time_point overdueSince; ///< as found while the server speaks; the beginning of time if not
        bool ended = false;             ///< on the server
        bool silent = false;            ///< for longer than it may be

        void hear(Clock::time_point now) {
            lastHeard = now;
            overdueSince = Clock::time_point();
        }
    };
    struct Missing {
        std::uint32_t subscriptionId;
        std::uint32_t number;
        bool asked = false;
        Clock::time_point askedAt{};
    };
    class PublishAnswer;
    class RepublishAnswer;

    /// What a publish request was sent with.
    struct SentPublish {
        std::uint32_t generation = 0;
        Acknowledgements::List acknowledgements;
    };
    void published(const SentPublish& sent, UaStatus status, UaByteView body);
    void republished(std::uint32_t subscriptionId, std::uint32_t number, UaStatus status, UaByteView body);

    // All with the lock.
    /// True when the server is not to be asked any more.
    bool refused(std::uint32_t generation, UaStatus status);
    void acknowledgeAgain(const Acknowledgements::List& acknowledgements);
    using TakeInOrder = void (NotificationOrder::*)(UA_NotificationMessage&,
                                                    const NotificationOrder::Deliver&);
    void takeMessage(std::uint32_t id, UA_NotificationMessage& message, TakeInOrder takeInOrder);
    void deliver(Kept& subscription, UA_NotificationMessage& message);
    void end(Kept& subscription, UaStatus reason);
    void endAll(UaStatus reason);
    void noteMissing(std::uint32_t id, Kept& subscription);
    std::vector<Missing>::iterator findMissing(std::uint32_t id, std::uint32_t number);
    void giveUp(std::uint32_t id, std::uint32_t number);
    void pace(unsigned int& messagesInARow);
    void pauseUnsent(UaStatus status);
    void tellFlow();
    bool isAnyAlive() const;
    Clock::time_point judgeSilence(Clock::time_point now, Clock::time_point serverHeard);
    Clock::time_point giveUpLate(Clock::time_point now, Clock::time_point serverHeard);

    bool sendPublish(Pipe& pipe);
    bool sendRepublish(Pipe& pipe);

    PublishListener& m_listener;
    const UaNodeId m_authenticationToken;

    std::mutex m_mutex; ///< guards what follows
    std::map<std::uint32_t, Kept> m_subscriptions;
    std::uint32_t m_generation = 0; ///< counts subscriptions that came
    Acknowledgements m_acknowledgements;
    std::vector<Missing> m_missing;
    unsigned int m_waiting = 0;         ///< publish requests at the server
    unsigned int m_limit = 0;           ///< how many the server takes
    unsigned int m_republishes = 0;     ///< wanted, or asked for and not answered
    unsigned int m_refusals = 0;        ///< in a row
    unsigned int m_emptyMessages = 0;   ///< in a row
    unsigned int m_foreignMessages = 0; ///< in a row, of subscriptions that are not known
    Clock::time_point m_notBefore{};
    bool m_flows = true;
    bool m_closed = false;
};

} // namespace UaClientSdk
