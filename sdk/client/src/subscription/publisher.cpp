#include "subscription/publisher.h"

#include <algorithm>

#include "calls/service_call.h"
#include "uabase/trace.h"

namespace UaClientSdk {
namespace {

/// Publish requests that wait at the server: so many messages may be on their way while an acknowledgement
/// is.
constexpr unsigned int wantedRequests = 10;

// A server that refuses is asked again, less and less often.
constexpr std::chrono::milliseconds firstPause(100);
constexpr unsigned int doublings = 7; // 12.8 s
/// After that many refusals in a row it counts as lasting.
constexpr unsigned int lastingRefusals = 3;

constexpr std::chrono::seconds republishLimit(10);
/// Republish requests that are not answered. A server that answers none of them gets no more.
constexpr unsigned int mostRepublishes = 256;
/// How far data may be behind the first that a server says after a silence.
constexpr std::chrono::seconds dataLag(2);
/// To get a small request onto the wire.
constexpr int sendLimit = 1000; // ms

bool isWithoutSubscription(UaStatus status) {
    return status.statusCode() == UA_STATUSCODE_BADNOSUBSCRIPTION ||
           status.statusCode() == UA_STATUSCODE_BADSUBSCRIPTIONIDINVALID;
}

} // namespace

class Publisher::PublishAnswer : public AnswerReceiver {
public:
    explicit PublishAnswer(std::shared_ptr<Publisher> publisher) : m_publisher(std::move(publisher)) {}
    SentPublish& sent() { return m_sent; }
    UaStatus answered(UaStatus status, UaByteView body) override {
        m_publisher->published(m_sent, status, body);
        return status;
    }

private:
    const std::shared_ptr<Publisher> m_publisher;
    SentPublish m_sent;
};

class Publisher::RepublishAnswer : public AnswerReceiver {
public:
    RepublishAnswer(std::shared_ptr<Publisher> publisher, std::uint32_t subscriptionId, std::uint32_t number)
        : m_publisher(std::move(publisher)), m_subscriptionId(subscriptionId), m_number(number) {}
    UaStatus answered(UaStatus status, UaByteView body) override {
        m_publisher->republished(m_subscriptionId, m_number, status, body);
        return status;
    }

private:
    const std::shared_ptr<Publisher> m_publisher;
    const std::uint32_t m_subscriptionId;
    const std::uint32_t m_number;
};

void Publisher::add(std::uint32_t id, Subscription subscription) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_subscriptions.erase(id);
        Kept& kept = m_subscriptions[id];
        static_cast<Subscription&>(kept) = std::move(subscription);
        kept.lastHeard = Clock::now();
        ++m_generation;
        m_limit = wantedRequests;
        m_refusals = 0;
        m_notBefore = Clock::time_point();
        tellFlow();
    }
    m_listener.publishDue();
}

void Publisher::remove(std::uint32_t id) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_subscriptions.erase(id);
    m_missing.erase(std::remove_if(m_missing.begin(), m_missing.end(),
                                   [this, id](const Missing& missing) {
                                       const bool goes = missing.subscriptionId == id;
                                       m_republishes -= goes && !missing.asked ? 1 : 0;
                                       return goes;
                                   }),
                    m_missing.end());
    m_acknowledgements.forget(id);
    tellFlow();
}

void Publisher::close() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_closed = true;
    m_subscriptions.clear();
    m_missing.clear();
}

// ---- Answers ----

void Publisher::published(const SentPublish& sent, UaStatus status, UaByteView body) {
    Answer<UA_PublishRequest> answer;
    if (!status.isBad()) {
        UA_PublishResponse& response = answer;
        status =
            decodeResponse(body, Service<UA_PublishRequest>::responseType(), anyNumber, &response, answer);
    }
    bool gone = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        --m_waiting;
        if (m_closed) {
            return;
        }
        if (status.isBad()) {
            acknowledgeAgain(sent.acknowledgements);
            gone = refused(sent.generation, status);
        } else {
            m_refusals = 0;
            takeMessage(answer.subscriptionId, answer.notificationMessage, &NotificationOrder::arrived);
        }
        tellFlow();
    }
    if (gone) {
        m_listener.sessionGone(status);
    }
    m_listener.publishDue();
}

/// What went with a request that the server has not served goes with the next one.
void Publisher::acknowledgeAgain(const Acknowledgements::List& acknowledgements) {
    for (const UA_SubscriptionAcknowledgement& one : acknowledgements) {
        if (m_subscriptions.count(one.subscriptionId) == 1) {
            m_acknowledgements.note(one.subscriptionId, one.sequenceNumber);
        }
    }
}

bool Publisher::refused(std::uint32_t generation, UaStatus status) {
    // Requests from before the newest subscription have nothing to say about it.
    if (isWithoutSubscription(status) && (generation != m_generation || !isAnyAlive())) {
        return false;
    }
    if (status.statusCode() == UA_STATUSCODE_BADTOOMANYPUBLISHREQUESTS && m_waiting > 0) {
        m_limit = std::max(1U, std::min(m_limit - 1, m_waiting)); // those that wait will do
        return false;
    }
    // Several requests that are refused together count as one.
    const Clock::time_point now = Clock::now();
    if (now < m_notBefore) {
        return false;
    }
    if (m_refusals == 0) {
        UaTrace::write(UaTrace::Warnings, "subscription", "no answer to a publish request: %s",
                       status.name());
    }
    m_notBefore = now + firstPause * (1U << std::min(m_refusals, doublings));
    ++m_refusals;
    const bool lasts = m_refusals >= lastingRefusals;
    if (lasts && isWithoutSubscription(status)) {
        endAll(status);
    }
    return lasts && isSessionGone(status);
}

void Publisher::takeMessage(std::uint32_t id, UA_NotificationMessage& message, TakeInOrder takeInOrder) {
    const auto entry = m_subscriptions.find(id);
    if (entry == m_subscriptions.end()) { // one that the server was asked to delete, and would not
        pace(m_foreignMessages);
        return;
    }
    m_foreignMessages = 0;
    Kept& subscription = entry->second;
    subscription.hear(Clock::now());
    subscription.silent = false;
    const auto deliverOne = [&](UA_NotificationMessage& one) { deliver(subscription, one); };
    if (message.notificationDataSize == 0) {
        subscription.order.keptAlive(message.sequenceNumber, deliverOne);
        pace(m_emptyMessages);
    } else {
        m_emptyMessages = 0;
        m_acknowledgements.note(id, message.sequenceNumber);
        (subscription.order.*takeInOrder)(message, deliverOne);
    }
    noteMissing(id, subscription);
    subscription.queue->handOver(*subscription.deliveryThread);
}

/// A server that answers without end, and with nothing to deliver, is not asked without end.
void Publisher::pace(unsigned int& messagesInARow) {
    if (++messagesInARow > wantedRequests) {
        m_notBefore = Clock::now() + firstPause;
    }
}

void Publisher::deliver(Kept& subscription, UA_NotificationMessage& message) {
    for (std::size_t i = 0; i < message.notificationDataSize; ++i) {
        UA_ExtensionObject& data = message.notificationData[i];
        if (data.encoding != UA_EXTENSIONOBJECT_DECODED) {
            continue;
        }
        if (data.content.decoded.type == &UA_TYPES[UA_TYPES_DATACHANGENOTIFICATION]) {
            auto& change = *static_cast<UA_DataChangeNotification*>(data.content.decoded.data);
            for (std::size_t k = 0; k < change.monitoredItemsSize; ++k) {
                if (subscription.queue->isExpected(change.monitoredItems[k].clientHandle)) {
                    subscription.queue->collect(change.monitoredItems[k].clientHandle,
                                                change.monitoredItems[k].value);
                }
            }
        } else if (data.content.decoded.type == &UA_TYPES[UA_TYPES_STATUSCHANGENOTIFICATION]) {
            const UaStatus status =
                static_cast<UA_StatusChangeNotification*>(data.content.decoded.data)->status;
            if (status.isBad()) {
                end(subscription, status);
            }
        }
    }
}

void Publisher::end(Kept& subscription, UaStatus reason) {
    if (!subscription.ended) {
        subscription.ended = true;
        UaTrace::write(UaTrace::Errors, "subscription", "the server has ended the subscription: %s",
                       reason.name());
        subscription.queue->reportEnd(*subscription.deliveryThread, reason);
    }
}

void Publisher::endAll(UaStatus reason) {
    for (auto& entry : m_subscriptions) {
        end(entry.second, reason);
    }
}

bool Publisher::isAnyAlive() const {
    return std::any_of(m_subscriptions.begin(), m_subscriptions.end(),
                       [](const auto& entry) { return !entry.second.ended; });
}

void Publisher::tellFlow() {
    const bool stopped = std::any_of(m_subscriptions.begin(), m_subscriptions.end(), [](const auto& entry) {
        return entry.second.ended || entry.second.silent;
    });
    const bool flows = !stopped && (m_refusals < lastingRefusals || m_subscriptions.empty());
    if (flows != m_flows) {
        m_flows = flows;
        m_listener.dataFlows(flows);
    }
}

// ---- What is missing ----

void Publisher::noteMissing(std::uint32_t id, Kept& subscription) {
    for (const std::uint32_t number : subscription.order.takeMissing()) {
        if (m_republishes >= mostRepublishes) {
            giveUp(id, number);
            continue;
        }
        ++m_republishes;
        UaTrace::write(UaTrace::Warnings, "subscription",
                       "message %u of the server is missing and asked for again", number);
        m_missing.push_back({id, number});
    }
}

void Publisher::republished(std::uint32_t subscriptionId, std::uint32_t number, UaStatus status,
                            UaByteView body) {
    Answer<UA_RepublishRequest> answer;
    if (!status.isBad()) {
        UA_RepublishResponse& response = answer;
        status =
            decodeResponse(body, Service<UA_RepublishRequest>::responseType(), anyNumber, &response, answer);
    }
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        --m_republishes;
        if (m_closed) {
            return;
        }
        if (!status.isBad() && answer.notificationMessage.sequenceNumber == number) {
            takeMessage(subscriptionId, answer.notificationMessage, &NotificationOrder::cameAgain);
        } else {
            UaTrace::write(UaTrace::Errors, "subscription", "message %u of the server is lost: %s", number,
                           status.name());
        }
        giveUp(subscriptionId, number);
    }
    m_listener.publishDue();
}

std::vector<Publisher::Missing>::iterator Publisher::findMissing(std::uint32_t id, std::uint32_t number) {
    return std::find_if(m_missing.begin(), m_missing.end(), [&](const Missing& missing) {
        return missing.subscriptionId == id && missing.number == number;
    });
}

/// Nothing happens to what has come meanwhile.
void Publisher::giveUp(std::uint32_t id, std::uint32_t number) {
    const auto missing = findMissing(id, number);
    if (missing != m_missing.end()) {
        m_republishes -= missing->asked ? 0 : 1;
        m_missing.erase(missing);
    }
    const auto entry = m_subscriptions.find(id);
    if (entry != m_subscriptions.end()) {
        Kept& subscription = entry->second;
        subscription.order.givenUp(number,
                                   [&](UA_NotificationMessage& message) { deliver(subscription, message); });
        subscription.queue->handOver(*subscription.deliveryThread);
    }
}

/// What a server that says nothing at all keeps back may still come.
Clock::time_point Publisher::giveUpLate(Clock::time_point now, Clock::time_point serverHeard) {
    Clock::time_point next = Clock::time_point::max();
    const std::vector<Missing> missing = m_missing;
    for (const Missing& one : missing) {
        const Clock::time_point limit = one.askedAt + republishLimit;
        if (one.asked && serverHeard >= limit + dataLag) {
            giveUp(one.subscriptionId, one.number);
        } else if (one.asked && now < limit) {
            next = std::min(next, limit);
        }
    }
    return next;
}

// ---- Housekeeping ----

void Publisher::forgetSilence() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (auto& entry : m_subscriptions) {
        entry.second.hear(Clock::now());
    }
    for (Missing& one : m_missing) {
        one.askedAt = Clock::now();
    }
}

/// A server that says nothing at all is the watchdog's to judge: its next question makes it speak, or not.
/// One that speaks again may have the data right behind what came first.
Clock::time_point Publisher::judgeSilence(Clock::time_point now, Clock::time_point serverHeard) {
    Clock::time_point next = Clock::time_point::max();
    for (auto& entry : m_subscriptions) {
        Kept& subscription = entry.second;
        const Clock::time_point limit = subscription.lastHeard + subscription.longestSilence;
        if (subscription.ended || subscription.silent) {
            continue;
        }
        if (now < limit) {
            next = std::min(next, limit);
        } else if (serverHeard >= limit) {
            if (subscription.overdueSince == Clock::time_point()) {
                subscription.overdueSince = now;
            }
            const Clock::time_point verdict = subscription.overdueSince + dataLag;
            if (now < verdict) {
                next = std::min(next, verdict);
                continue;
            }
            UaTrace::write(UaTrace::Errors, "subscription",
                           "the server has sent neither data nor keep-alive in time");
            subscription.silent = true;
        }
    }
    tellFlow();
    return next;
}

Clock::time_point Publisher::keepHouse(Pipe& pipe, bool silent) {
    Clock::time_point next = Clock::time_point::max();
    if (silent) {
        forgetSilence();
        return next;
    }
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const Clock::time_point now = Clock::now();
        next = std::min(judgeSilence(now, pipe.lastHeard()), giveUpLate(now, pipe.lastHeard()));
    }
    while (sendRepublish(pipe)) {
    }
    while (sendPublish(pipe)) {
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    return Clock::now() < m_notBefore && isAnyAlive() ? std::min(next, m_notBefore) : next;
}

/// While somebody else is sending there is nothing to wait for but the end of that, which is told.
void Publisher::pauseUnsent(UaStatus status) {
    if (status.statusCode() != UA_STATUSCODE_BADWOULDBLOCK) {
        m_notBefore = Clock::now() + firstPause;
    }
}

bool Publisher::sendPublish(Pipe& pipe) {
    auto answer = std::make_shared<PublishAnswer>(shared_from_this());
    SentPublish& sent = answer->sent();
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        // While the server refuses, one request is enough to learn when it no longer does.
        const bool isOfNoUse = m_refusals > 0 || m_foreignMessages > wantedRequests;
        const unsigned int limit = isOfNoUse ? 1 : m_limit;
        if (!isAnyAlive() || m_waiting >= limit || Clock::now() < m_notBefore) {
            return false;
        }
        ++m_waiting;
        sent = {m_generation, m_acknowledgements.takeAll()};
    }
    UA_PublishRequest request{};
    request.requestHeader.authenticationToken = m_authenticationToken.raw();
    request.subscriptionAcknowledgements = sent.acknowledgements.data();
    request.subscriptionAcknowledgementsSize = sent.acknowledgements.size();
    const UaStatus status = pipe.post(&request, Service<UA_PublishRequest>::requestType(),
                                      Deadline(sendLimit), Pipe::Answered::SomeTime, answer);
    if (status.isBad()) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        --m_waiting;
        pauseUnsent(status);
        acknowledgeAgain(sent.acknowledgements);
    }
    return !status.isBad();
}

bool Publisher::sendRepublish(Pipe& pipe) {
    Missing wanted{};
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto entry = std::find_if(m_missing.begin(), m_missing.end(),
                                        [](const Missing& missing) { return !missing.asked; });
        if (entry == m_missing.end()) {
            return false;
        }
        entry->asked = true;
        entry->askedAt = Clock::now();
        wanted = *entry;
    }
    UA_RepublishRequest request{};
    request.requestHeader.authenticationToken = m_authenticationToken.raw();
    request.subscriptionId = wanted.subscriptionId;
    request.retransmitSequenceNumber = wanted.number;
    const UaStatus status = pipe.post(
        &request, Service<UA_RepublishRequest>::requestType(), Deadline(sendLimit), Pipe::Answered::SomeTime,
        std::make_shared<RepublishAnswer>(shared_from_this(), wanted.subscriptionId, wanted.number));
    if (status.isBad()) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto entry = findMissing(wanted.subscriptionId, wanted.number);
        if (entry != m_missing.end()) {
            entry->asked = false;
        } else {
            --m_republishes;
        }
        pauseUnsent(status);
    }
    return !status.isBad();
}

} // namespace UaClientSdk
