#include <algorithm>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "subscription/publisher.h"

namespace UaClientSdk {
namespace {

/// A server that answers as fast as it is asked does not keep the rest of the house from being kept.
constexpr int mostAtOnce = 16;

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
    RepublishAnswer(std::shared_ptr<Publisher> publisher, MissingMessages::Message asked)
        : m_publisher(std::move(publisher)), m_asked(asked) {}

    UaStatus answered(UaStatus status, UaByteView body) override {
        m_publisher->republished(m_asked, status, body);
        return status;
    }

private:
    const std::shared_ptr<Publisher> m_publisher;
    const MissingMessages::Message m_asked;
};

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
    pipe.giveUpOldestForData(lost());
    int sent = 0;
    while (sent < mostAtOnce && (sendRepublish(pipe) || sendPublish(pipe)))
        ++sent;
    const Clock::time_point now = Clock::now();
    const std::lock_guard<std::mutex> lock(m_mutex);
    const Clock::time_point notBefore = sent == mostAtOnce ? now : m_pace.notBefore();
    return now <= notBefore && isAnyAlive() ? std::min(next, notBefore) : next;
}

void Publisher::forgetSilence() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (auto& entry : m_subscriptions)
        entry.second.forgetSilence();
    m_missing.forgetSilence();
}

Clock::time_point Publisher::judgeSilence(Clock::time_point now, Clock::time_point serverHeard) {
    Clock::time_point next = Clock::time_point::max();
    for (auto& [id, subscription] : m_subscriptions) {
        const bool flowed = subscription.flows();
        next = std::min(next, subscription.judgeSilence(now, serverHeard));
        if (flowed && !subscription.flows())
            doubtWaiting();
    }
    tellFlow();
    return next;
}

/// What a server that says nothing at all keeps back may still come.
Clock::time_point Publisher::giveUpLate(Clock::time_point now, Clock::time_point serverHeard) {
    Clock::time_point next = Clock::time_point::max();
    for (const MissingMessages::Message& late : m_missing.overdue(now, serverHeard - dataLag, next))
        lose(late, UA_STATUSCODE_BADTIMEOUT);
    return next;
}

bool Publisher::sendPublish(Pipe& pipe) {
    const auto answer = std::make_shared<PublishAnswer>(shared_from_this());
    SentPublish& sent = answer->sent();
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!isAnyAlive() || !m_pace.mayAsk(m_waiting, Clock::now()))
            return false;
        ++m_waiting;
        sent = {m_generation, m_acknowledgements.takeAll()};
    }
    UA_PublishRequest request{};
    request.requestHeader.authenticationToken = m_authenticationToken.raw();
    request.subscriptionAcknowledgements = sent.acknowledgements.data();
    request.subscriptionAcknowledgementsSize = sent.acknowledgements.size();
    const UaStatus status = pipe.post(&request, Service<UA_PublishRequest>::requestType(),
                                      Deadline(Pipe::postLimit), Pipe::Answered::WhenThereIsData, answer);
    if (status.isBad()) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        noLongerWaits(sent.generation);
        if (status.statusCode() == UA_STATUSCODE_BADREQUESTTOOLARGE) {
            // What cannot be told need not be: a server lets the oldest messages go by itself.
            m_pace.refused();
            tellFlow();
        } else {
            pauseUnsent(status);
            acknowledgeAgain(sent.acknowledgements);
        }
    }
    return !status.isBad();
}

bool Publisher::sendRepublish(Pipe& pipe) {
    std::optional<MissingMessages::Message> wanted;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        wanted = m_missing.takeUnasked();
    }
    if (!wanted)
        return false;
    UA_RepublishRequest request{};
    request.requestHeader.authenticationToken = m_authenticationToken.raw();
    request.subscriptionId = wanted->subscriptionId;
    request.retransmitSequenceNumber = wanted->number;
    const UaStatus status =
        pipe.post(&request, Service<UA_RepublishRequest>::requestType(), Deadline(Pipe::postLimit),
                  Pipe::Answered::SomeTime, std::make_shared<RepublishAnswer>(shared_from_this(), *wanted));
    if (status.isBad()) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_missing.notAsked(*wanted);
        pauseUnsent(status);
    }
    return !status.isBad();
}

/// While somebody else is sending there is nothing to wait for but the end of that, which is told.
void Publisher::pauseUnsent(UaStatus status) {
    if (status.statusCode() != UA_STATUSCODE_BADWOULDBLOCK)
        m_pace.pause();
}

} // namespace UaClientSdk
