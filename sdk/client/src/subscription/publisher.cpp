#include "subscription/publisher.h"

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <utility>
#include <vector>

#include "uabase/trace.h"

namespace UaClientSdk {
namespace {

/// Of more than so many requests that may be lost, the oldest are.
constexpr unsigned int mostDoubtful = 100;

bool isWithoutSubscription(UaStatus status) {
    return status.statusCode() == UA_STATUSCODE_BADNOSUBSCRIPTION ||
           status.statusCode() == UA_STATUSCODE_BADSUBSCRIPTIONIDINVALID;
}

/// For an answer with one message.
template <typename Request>
UaStatus decodeMessage(UaStatus status, UaByteView body, Answer<Request>& answer) {
    typename Service<Request>::Response& response = answer;
    return status.isBad()
               ? status
               : decodeResponse(body, Service<Request>::responseType(), anyNumber, &response, answer);
}

} // namespace

void Publisher::add(std::uint32_t id, const PublishedSubscription::Target& target) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_subscriptions.erase(id);
        // Some servers lose with the last subscription what waits for it, and never answer that.
        if (m_subscriptions.empty())
            doubtWaiting();
        m_subscriptions.try_emplace(id, target);
        ++m_generation;
        m_pace.restart();
        tellFlow();
    }
    m_listener.publishDue();
}

void Publisher::remove(std::uint32_t id) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_subscriptions.erase(id);
    m_missing.removeAll(id);
    m_acknowledgements.forget(id);
    tellFlow();
}

void Publisher::close() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_closed = true;
    m_subscriptions.clear();
    m_missing.clear();
}

void Publisher::published(const SentPublish& sent, UaStatus status, UaByteView body) {
    Answer<UA_PublishRequest> answer;
    status = decodeMessage(status, body, answer);
    bool gone = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        noLongerWaits(sent.generation);
        if (m_closed)
            return;
        if (status.isBad()) {
            acknowledgeAgain(sent.acknowledgements);
            gone = refused(sent.generation, status);
        } else {
            m_pace.served();
            m_refusals.wentWell();
            takeMessage(answer.subscriptionId, answer.notificationMessage, &PublishedSubscription::arrived);
        }
        tellFlow();
    }
    if (gone)
        m_listener.sessionGone(status);
    m_listener.publishDue();
}

void Publisher::doubtWaiting() {
    m_doubtful += std::exchange(m_waiting, 0);
    m_doubtfulUpTo = m_generation++;
}

void Publisher::noLongerWaits(std::uint32_t generation) {
    --(isDoubtful(generation) ? m_doubtful : m_waiting);
}

unsigned int Publisher::lost() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return std::max(m_doubtful, mostDoubtful) - mostDoubtful;
}

bool Publisher::hasItsFill() {
    if (m_waiting > 0) {
        m_pace.takesOneLess();
        return true;
    }
    if (m_doubtful == 0)
        return false;
    // It is those that it has, then.
    m_waiting = std::exchange(m_doubtful, 0);
    m_doubtfulUpTo = 0;
    m_pace.restart();
    return true;
}

/// What went with a request that the server has not served goes with the next one.
void Publisher::acknowledgeAgain(const Acknowledgements::List& acknowledgements) {
    for (const UA_SubscriptionAcknowledgement& one : acknowledgements)
        if (m_subscriptions.count(one.subscriptionId) == 1)
            m_acknowledgements.note(one.subscriptionId, one.sequenceNumber);
}

bool Publisher::refused(std::uint32_t generation, UaStatus status) {
    // Requests from before the newest subscription have nothing to say about it.
    if (isDoubtful(generation) ||
        (isWithoutSubscription(status) && (generation != m_generation || !isAnyAlive())))
        return false;
    if (status.statusCode() == UA_STATUSCODE_BADTOOMANYPUBLISHREQUESTS && hasItsFill())
        return false;
    if (!m_pace.refused())
        return false;
    // Once for a server that refuses and serves by turns, and when it serves no more.
    if (m_pace.refusals() == 1)
        m_refusalIsTold = false;
    const bool isWorthALine = m_pace.refusals() == 1 ? m_refusals.begins() : m_pace.isRefusedForGood();
    if (isWorthALine && !std::exchange(m_refusalIsTold, true)) {
        UaTrace::write(UaTrace::Warnings, "subscription", "no answer to a publish request: %s",
                       status.name());
    }
    if (m_pace.isRefusedForGood() && isWithoutSubscription(status))
        for (auto& entry : m_subscriptions)
            entry.second.end(status);
    return m_pace.isRefusedForGood() && isSessionGone(status);
}

void Publisher::takeMessage(std::uint32_t id, UA_NotificationMessage& message, TakeMessage take) {
    const auto entry = m_subscriptions.find(id);
    if (entry == m_subscriptions.end()) { // one that the server was asked to delete, and would not
        m_pace.messageOfNoUse();
        return;
    }
    PublishedSubscription& subscription = entry->second;
    if (message.notificationDataSize == 0) {
        m_pace.keepAlive();
        subscription.keptAlive(message.sequenceNumber);
    } else {
        m_acknowledgements.note(id, message.sequenceNumber);
        if ((subscription.*take)(message))
            m_pace.messageOfUse();
        else
            m_pace.messageOfNoUse();
    }
    noteMissing(id, subscription);
}

void Publisher::noteMissing(std::uint32_t id, PublishedSubscription& subscription) {
    const std::vector<std::uint32_t> missing = subscription.takeMissing();
    if (missing.empty()) {
        m_losses.wentWell();
        return;
    }
    // Once for a server that leaves out one after the other.
    const bool isFirst = m_losses.begins();
    m_tellsLoss = m_tellsLoss || isFirst;
    for (const std::uint32_t number : missing)
        if (!m_missing.note({id, number}))
            lose({id, number}, UA_STATUSCODE_BADTOOMANYOPERATIONS);
        else if (isFirst)
            UaTrace::write(UaTrace::Warnings, "subscription",
                           "message %u of the server is missing and asked for again", number);
}

void Publisher::republished(MissingMessages::Message asked, UaStatus status, UaByteView body) {
    Answer<UA_RepublishRequest> answer;
    status = decodeMessage(status, body, answer);
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_missing.answered();
        if (m_closed)
            return;
        if (!status.isBad() && answer.notificationMessage.sequenceNumber == asked.number) {
            takeMessage(asked.subscriptionId, answer.notificationMessage, &PublishedSubscription::cameAgain);
            giveUp(asked);
        } else if (m_missing.isMissing(asked)) {
            lose(asked, status);
        }
    }
    m_listener.publishDue();
}

/// One line for a spell of them.
void Publisher::lose(MissingMessages::Message message, UaStatus reason) {
    if (std::exchange(m_tellsLoss, false)) {
        UaTrace::write(UaTrace::Errors, "subscription", "message %u of the server is lost: %s",
                       message.number, reason.name());
    }
    giveUp(message);
}

/// Nothing happens to what has come meanwhile.
void Publisher::giveUp(MissingMessages::Message message) {
    m_missing.remove(message);
    const auto entry = m_subscriptions.find(message.subscriptionId);
    if (entry != m_subscriptions.end())
        entry->second.givenUp(message.number);
}

bool Publisher::isAnyAlive() const {
    return std::any_of(m_subscriptions.begin(), m_subscriptions.end(),
                       [](const auto& entry) { return !entry.second.isEnded(); });
}

void Publisher::tellFlow() {
    const bool allFlow = std::all_of(m_subscriptions.begin(), m_subscriptions.end(),
                                     [](const auto& entry) { return entry.second.flows(); });
    const bool flows = allFlow && (!m_pace.isRefusedForGood() || m_subscriptions.empty());
    if (flows != m_flows) {
        m_flows = flows;
        m_listener.dataFlows(flows);
    }
}

} // namespace UaClientSdk
