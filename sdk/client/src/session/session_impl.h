#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

#include "calls/call_series.h"
#include "calls/network_thread.h"
#include "calls/pipe.h"
#include "calls/requests_ahead.h"
#include "calls/service_call.h"
#include "session/connection_state.h"
#include "session/watchdog.h"
#include "subscription/callback_thread.h"
#include "subscription/publisher.h"
#include "uabase/node_id.h"
#include "uaclient/session.h"

namespace UaClientSdk {

class UaSession::Impl : public ConnectionListener, public PublishListener, public Housekeeping {
public:
    Impl() = default;
    ~Impl() override;
    Impl(const Impl&) = delete;
    Impl& operator=(const Impl&) = delete;

    UaStatus connect(const UaString& url, const SessionConnectInfo& info, SessionSecurityInfo& security,
                     UaSessionCallback* callback);
    UaStatus disconnect(const ServiceSettings& settings, bool deleteSubscriptions);
    bool isConnected() const { return m_state.isUsable(); }

    /// One service call on this thread.
    template <typename Request>
    UaStatus call(const ServiceSettings& settings, Request& request, Answer<Request>& answer,
                  std::size_t expectedResults = anyNumber) {
        if (!m_state.isUsable())
            return UA_STATUSCODE_BADSERVERNOTCONNECTED;
        request.requestHeader.authenticationToken = m_authenticationToken.raw();
        const UaStatus status =
            callService(*m_pipe, Deadline(timeoutOf(settings)), request, answer, expectedResults);
        noteSessionLoss(status, answer);
        return status;
    }

    /// Calls of one service on this thread that do not wait for each other. `next` makes a request and tells
    /// how many results its answer has to have, or that there is none; `answered` takes status, answer and
    /// that number, in order, and tells whether there is to be a further one.
    template <typename Request, typename Next, typename Answered>
    void callAhead(const ServiceSettings& settings, Next&& next, Answered&& answered);
    bool wasLostAhead() const { return m_lostAhead; }

    UaStatus createSubscription(const ServiceSettings& settings, UaSubscriptionCallback* callback,
                                unsigned int clientHandle, const SubscriptionSettings& parameters,
                                bool publishingEnabled, UaSubscription** subscription);
    UaStatus deleteSubscription(const ServiceSettings& settings, UaSubscription** subscription);

private:
    void noteSessionLoss(UaStatus status, const AnswerOutcome& outcome) {
        if (outcome.isRefusal && isSessionGone(status))
            m_pipe->fail(status);
    }
    void sendAhead(Pipe::Series& series, const ServiceSettings& settings, UA_RequestHeader& request,
                   const UA_DataType& type, std::size_t expectedResults);
    void learnFrom(const Pipe::Series& series, std::size_t expectedResults, UaStatus status, bool isRefusal,
                   Window& window);
    void learnFrom(const Window& window);

    UaStatus open(const UaString& url, const SessionConnectInfo& info, SessionSecurityInfo& security,
                  UaSessionCallback* callback);
    UaStatus startThreads(UaSessionCallback* callback);
    UaStatus startDelivery();
    void endConnection(const ServiceSettings& settings, bool deleteSubscriptions, bool silent);
    bool closeSession(const ServiceSettings& settings, bool deleteSubscriptions);
    void releaseConnection();

    // ConnectionListener and PublishListener, on the thread that reads the network.
    void serverSpoke() override;
    void connectionEnded(UaStatus reason, std::size_t waiting) override;
    void dataFlows(bool flows) override { m_state.setDataLost(!flows); }
    void publishDue() override { m_network->wake(); }
    void sessionGone(UaStatus reason) override {
        if (m_open)
            m_pipe->fail(reason);
    }

    // On the network thread.
    Clock::time_point keepHouse() override;
    Clock::time_point keepChannel();

    ConnectionState m_state;
    std::atomic<bool> m_open{false}; ///< connected, or lost and not yet disconnected
    RequestsAhead m_requestsAhead{SessionConnectInfo::defaultRequestsAhead};
    std::atomic<bool> m_lostAhead{false};
    UaNodeId m_authenticationToken;
    std::shared_ptr<Publisher> m_publisher;
    std::shared_ptr<Watchdog> m_watchdog;
    std::unique_ptr<Pipe> m_pipe;
    std::unique_ptr<NetworkThread> m_network;
    Clock::time_point m_nextHousekeeping = Clock::time_point::max(); ///< the network thread's
    Clock::time_point m_notJudgedBefore{};                           ///< likewise

    std::mutex m_subscriptionsMutex; ///< guards the next two
    std::vector<std::unique_ptr<UaSubscription>> m_subscriptions;
    std::unique_ptr<CallbackThread> m_delivery;
};

} // namespace UaClientSdk
