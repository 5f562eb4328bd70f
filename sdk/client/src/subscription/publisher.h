#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

#include "calls/service_call.h"
#include "subscription/acknowledgements.h"
#include "subscription/missing_messages.h"
#include "subscription/publish_pace.h"
#include "subscription/published_subscription.h"
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
/// missing, and hands it all to the subscriptions (OPC UA Part 4, 5.14.5 and 5.14.6).
///
/// Answers come on whichever thread reads the network; requests are sent by keepHouse() alone.
class Publisher : public std::enable_shared_from_this<Publisher> {
public:
    Publisher(PublishListener& listener, UaNodeId authenticationToken)
        : m_listener(listener), m_authenticationToken(std::move(authenticationToken)) {}

    void add(std::uint32_t id, const PublishedSubscription::Target& target);
    void remove(std::uint32_t id);

    /// From now on nothing is sent, delivered or told.
    void close();

    /// Sends what is due and looks for subscriptions that have fallen silent, unless the whole server has:
    /// `silent`. Returns when it wants to be called next.
    Clock::time_point keepHouse(Pipe& pipe, bool silent);
    /// Time has passed in which nothing could be heard.
    void forgetSilence();

private:
    class PublishAnswer;
    class RepublishAnswer;
    /// What a publish request was sent with.
    struct SentPublish {
        std::uint32_t generation = 0;
        Acknowledgements::List acknowledgements;
    };

    void published(const SentPublish& sent, UaStatus status, UaByteView body);
    void republished(MissingMessages::Message asked, UaStatus status, UaByteView body);
    bool sendPublish(Pipe& pipe);
    bool sendRepublish(Pipe& pipe);

    /// How many requests are nothing to wait for.
    unsigned int lost();

    // All with the lock.
    /// True when the server is not to be asked any more.
    bool refused(std::uint32_t generation, UaStatus status);
    /// What waits may be lost: it is asked for anew.
    void doubtWaiting();
    bool isDoubtful(std::uint32_t generation) const { return generation <= m_doubtfulUpTo; }
    void noLongerWaits(std::uint32_t generation);
    /// The server has its fill. False when it has none of ours.
    bool hasItsFill();
    void acknowledgeAgain(const Acknowledgements::List& acknowledgements);
    using TakeMessage = bool (PublishedSubscription::*)(UA_NotificationMessage&);
    void takeMessage(std::uint32_t id, UA_NotificationMessage& message, TakeMessage take);
    void noteMissing(std::uint32_t id, PublishedSubscription& subscription);
    void lose(MissingMessages::Message message, UaStatus reason);
    void giveUp(MissingMessages::Message message);
    void pauseUnsent(UaStatus status);
    void tellFlow();
    bool isAnyAlive() const;
    Clock::time_point judgeSilence(Clock::time_point now, Clock::time_point serverHeard);
    Clock::time_point giveUpLate(Clock::time_point now, Clock::time_point serverHeard);

    /// One line of trace for a spell of troubles, which is over when so much went well in a row.
    class Spell {
    public:
        void wentWell() { m_wentWell = std::min(m_wentWell + 1, isOver); }
        /// Notes a trouble; whether it is the first of a spell.
        bool begins() { return std::exchange(m_wentWell, 0U) == isOver; }

    private:
        static constexpr unsigned int isOver = 64;
        unsigned int m_wentWell = isOver;
    };

    PublishListener& m_listener;
    const UaNodeId m_authenticationToken;

    std::mutex m_mutex; ///< guards what follows
    std::map<std::uint32_t, PublishedSubscription> m_subscriptions;
    std::uint32_t m_generation = 0; ///< counts subscriptions and doubts
    Acknowledgements m_acknowledgements;
    MissingMessages m_missing;
    PublishPace m_pace;
    unsigned int m_waiting = 0;       ///< publish requests at the server
    unsigned int m_doubtful = 0;      ///< more of them, which it may have dropped
    std::uint32_t m_doubtfulUpTo = 0; ///< the newest generation of those
    Spell m_refusals;
    bool m_refusalIsTold = false; ///< in the present row of refusals
    Spell m_losses;
    bool m_tellsLoss = false; ///< none of this spell of losses was told yet
    bool m_flows = true;
    bool m_closed = false;
};

} // namespace UaClientSdk
