#include "uaclient/session.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <new>
#include <utility>

#include "session/session_impl.h"
#include "session/session_opening.h"
#include "subscription/subscription_impl.h"
#include "uabase/trace.h"

namespace UaClientSdk {
namespace {

/// How long a server is given to close a session in order; a silent one is told without waiting.
constexpr int closeLimit = 500; // ms
/// Later than that, and this process has stood still.
constexpr std::chrono::seconds stoodStill(1);
/// While a renewal is under way, or waits to be sent: whoever reads its answer does not wake the network
/// thread for it.
constexpr std::chrono::milliseconds renewalLook(100);

/// A session that the server lets go early is asked after more often.
Watchdog::Times watchdogTimes(const SessionConnectInfo& info, double sessionTimeout) {
    constexpr double shortest = 200;
    constexpr double questionsPerTimeout = 3;
    double interval = info.watchdogInterval;
    if (sessionTimeout > 0)
        interval = std::min(interval, std::max(shortest, sessionTimeout / questionsPerTimeout));
    return {std::chrono::milliseconds(static_cast<std::int64_t>(interval)),
            std::chrono::milliseconds(info.watchdogTimeout)};
}

} // namespace

UaSession::Impl::~Impl() {
    disconnect(ServiceSettings(), true);
    releaseConnection();
}

UaStatus UaSession::Impl::connect(const UaString& url, const SessionConnectInfo& info,
                                  SessionSecurityInfo& security, UaSessionCallback* callback) {
    if (m_open)
        return UA_STATUSCODE_BADINVALIDSTATE;
    const UaStatus status = open(url, info, security, callback);
    if (status.isBad() && callback != nullptr)
        callback->connectError(clientConnectionId, status);
    return status;
}

UaStatus UaSession::Impl::open(const UaString& url, const SessionConnectInfo& info,
                               SessionSecurityInfo& security, UaSessionCallback* callback) {
    releaseConnection();
    const Deadline deadline(info.effectiveConnectTimeout());
    SessionSecurity sessionSecurity(security, url);
    UaStatus status = sessionSecurity.prepare();
    if (status.isBad())
        return status;
    OpenSession opened;
    ConnectFailure failure;
    status = openSession(url, info, sessionSecurity, deadline, opened, failure);
    if (status.isBad()) {
        sessionSecurity.explainFailure(failure, status);
        return status;
    }
    m_requestsAhead.begin(info.requestsAhead);
    m_lostAhead = false;
    m_authenticationToken = opened.authenticationToken;
    m_pipe = std::move(opened.pipe);
    m_publisher = std::make_shared<Publisher>(*this, m_authenticationToken);
    m_watchdog = std::make_shared<Watchdog>(m_state, *this, m_authenticationToken,
                                            watchdogTimes(info, opened.sessionTimeout));
    const UaStatus started = startThreads(callback);
    if (started.isBad()) {
        closeSessionUnheard(*m_pipe, m_authenticationToken, true);
        releaseConnection();
        return started;
    }
    m_open = true;
    UaTrace::write(UaTrace::LifeCycle, "session", "connected to %s", url.toUtf8());
    return status;
}

UaStatus UaSession::Impl::startThreads(UaSessionCallback* callback) {
    m_nextHousekeeping = Clock::time_point::max();
    m_network = std::make_unique<NetworkThread>(*m_pipe, *this);
    m_pipe->setListener(this);
    UaStatus status = m_network->start();
    if (!status.isBad())
        status = m_state.open(callback);
    if (!status.isBad() && m_pipe->isEnded())
        m_state.lost();
    return status;
}

UaStatus UaSession::Impl::disconnect(const ServiceSettings& settings, bool deleteSubscriptions) {
    if (!m_open.exchange(false))
        return UA_STATUSCODE_BADSERVERNOTCONNECTED;
    const bool silent = m_state.isSilent();
    m_state.close();
    m_publisher->close();
    CallbackThread* delivery = nullptr;
    {
        const std::lock_guard<std::mutex> lock(m_subscriptionsMutex);
        for (const auto& subscription : m_subscriptions)
            subscription->impl().abandon();
        delivery = m_delivery.get();
    }
    try {
        endConnection(settings, deleteSubscriptions, silent);
    } catch (const std::bad_alloc&) {
        UaTrace::write(UaTrace::Errors, "session", "no memory to end the session in order");
        m_pipe->abandon(UA_STATUSCODE_BADSERVERNOTCONNECTED);
    }
    m_network->stop();
    if (delivery != nullptr)
        delivery->stop();
    m_state.stopReports();
    UaTrace::write(UaTrace::LifeCycle, "session", "disconnected");
    return UA_STATUSCODE_GOOD;
}

/// What the system has not delivered when a failed write is among it goes with the connection: it would be
/// delivered for minutes, and carried out behind what came after it over the next connection.
void UaSession::Impl::endConnection(const ServiceSettings& settings, bool deleteSubscriptions, bool silent) {
    const bool hasFailedCall = m_pipe->hasUnansweredCall();
    const bool isHeard = !silent && closeSession(settings, deleteSubscriptions);
    if (hasFailedCall && !isHeard && m_pipe->channel().socket().unconfirmed() > 0) {
        m_pipe->abandon(UA_STATUSCODE_BADSERVERNOTCONNECTED);
        return;
    }
    if (silent)
        closeSessionUnheard(*m_pipe, m_authenticationToken, deleteSubscriptions);
    m_pipe->close(UA_STATUSCODE_BADSERVERNOTCONNECTED);
}

/// Whether the server has said something to it.
bool UaSession::Impl::closeSession(const ServiceSettings& settings, bool deleteSubscriptions) {
    UA_CloseSessionRequest request{};
    request.requestHeader.authenticationToken = m_authenticationToken.raw();
    request.deleteSubscriptions = deleteSubscriptions;
    Answer<UA_CloseSessionRequest> answer;
    const UaStatus status =
        callService(*m_pipe, Deadline(std::min(timeoutOf(settings), closeLimit)), request, answer);
    return !status.isBad() || answer.isRefusal;
}

/// Other threads may still be on their way out of a call when a disconnect is done, so what they use stays
/// until the session goes or connects anew.
void UaSession::Impl::releaseConnection() {
    if (m_pipe != nullptr)
        m_pipe->close(UA_STATUSCODE_BADSERVERNOTCONNECTED);
    m_network.reset();
    m_pipe.reset();
    const std::lock_guard<std::mutex> lock(m_subscriptionsMutex);
    m_subscriptions.clear();
    m_delivery.reset();
    m_publisher.reset();
    m_watchdog.reset();
}

// ---- What happens on the network ----

void UaSession::Impl::serverSpoke() {
    if (m_state.isSilent())
        m_state.setSilent(false);
}

void UaSession::Impl::connectionEnded(UaStatus reason, std::size_t waiting) {
    UaTrace::write(UaTrace::Errors, "session", "connection lost: %s", reason.name());
    if (waiting > 1 && !isSessionGone(reason)) {
        UaTrace::write(UaTrace::Warnings, "session", "%zu requests were on their way at the same time",
                       waiting);
        m_lostAhead = true;
    }
    m_state.lost();
}

Clock::time_point UaSession::Impl::keepHouse() {
    if (m_pipe->isEnded())
        return Clock::time_point::max();
    const bool knowsWhen = m_nextHousekeeping != Clock::time_point::max();
    if (knowsWhen && Clock::now() > m_nextHousekeeping + stoodStill) {
        // What the server sent meanwhile is read before it is judged.
        m_pipe->readArrived();
        m_watchdog->forgetSilence();
        m_publisher->forgetSilence();
        m_notJudgedBefore = Clock::now() + stoodStill; // a call may be reading it
    }
    m_nextHousekeeping = keepChannel();
    m_nextHousekeeping = std::min(m_nextHousekeeping, m_watchdog->keepHouse(*m_pipe));
    m_nextHousekeeping = std::min(m_nextHousekeeping, m_publisher->keepHouse(*m_pipe, m_state.isSilent()));
    // What all this took is no time in which the process stood still.
    m_nextHousekeeping = std::max(m_nextHousekeeping, Clock::now());
    return m_nextHousekeeping;
}

Clock::time_point UaSession::Impl::keepChannel() {
    // First asked, then judged: who stood still may have missed both.
    if (Clock::now() >= m_pipe->channel().renewalDue())
        m_pipe->renew(Deadline(Pipe::postLimit));
    if (Clock::now() >= std::max(m_pipe->channel().tokenExpiry(), m_notJudgedBefore)) {
        UaTrace::write(UaTrace::Errors, "channel", "the server has not renewed the channel's token in time");
        m_pipe->fail(UA_STATUSCODE_BADSECURECHANNELTOKENUNKNOWN);
        return Clock::time_point::max();
    }
    const Clock::time_point due = m_pipe->channel().renewalDue();
    const bool isUnderWay = due == Clock::time_point::max() || due <= Clock::now();
    return isUnderWay ? Clock::now() + renewalLook : due;
}

// ---- Subscriptions ----

UaStatus UaSession::Impl::startDelivery() {
    const std::lock_guard<std::mutex> lock(m_subscriptionsMutex);
    UaStatus status;
    if (m_delivery == nullptr)
        m_delivery = CallbackThread::start(status);
    return status;
}

UaStatus UaSession::Impl::createSubscription(const ServiceSettings& settings,
                                             UaSubscriptionCallback* callback, unsigned int clientHandle,
                                             const SubscriptionSettings& parameters, bool publishingEnabled,
                                             UaSubscription** subscription) {
    if (!isConnected())
        return UA_STATUSCODE_BADSERVERNOTCONNECTED;
    UaStatus status = startDelivery();
    if (status.isBad())
        return status;
    auto impl = std::make_unique<UaSubscription::Impl>(*this, callback, clientHandle);
    status = impl->create(settings, parameters, publishingEnabled);
    if (!status.isGood())
        return status;
    const OpcUa_UInt32 id = impl->id();
    {
        const std::lock_guard<std::mutex> lock(m_subscriptionsMutex);
        m_publisher->add(id, impl->published(*m_delivery));
        m_subscriptions.push_back(std::make_unique<UaSubscription>(std::move(impl)));
        *subscription = m_subscriptions.back().get();
    }
    return status;
}

UaStatus UaSession::Impl::deleteSubscription(const ServiceSettings& settings, UaSubscription** subscription) {
    UaSubscription* const target = *subscription;
    *subscription = nullptr;
    std::unique_ptr<UaSubscription> owned;
    {
        const std::lock_guard<std::mutex> lock(m_subscriptionsMutex);
        const auto entry = std::find_if(m_subscriptions.begin(), m_subscriptions.end(),
                                        [target](const auto& one) { return one.get() == target; });
        if (entry == m_subscriptions.end())
            return m_open ? UA_STATUSCODE_BADSUBSCRIPTIONIDINVALID : UA_STATUSCODE_BADSERVERNOTCONNECTED;
        owned = std::move(*entry);
        m_subscriptions.erase(entry);
    }
    owned->impl().abandon();
    m_publisher->remove(owned->impl().id());
    return owned->impl().remove(settings);
}

} // namespace UaClientSdk
