#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "engine_client.h"
#include "network_thread.h"
#include "subscription/callback_thread.h"
#include "uaclient/session.h"

namespace UaClientSdk {

inline UA_UInt32 timeoutOf(const ServiceSettings& settings) {
    return static_cast<UA_UInt32>(settings.callTimeout > 0 ? settings.callTimeout
                                                           : ServiceSettings::defaultCallTimeout);
}

/// A request only borrows what it sends: the engine encodes it before the call returns.
template <typename Element>
Element* borrow(const UaProtocolArray<Element>& array) {
    return const_cast<Element*>(array.rawData());
}

/// Moves an array of an answer to its owner.
template <typename Element>
void take(Element*& elements, size_t& count, UaProtocolArray<Element>& target) {
    target.attach(static_cast<OpcUa_UInt32>(count), elements);
    elements = nullptr;
    count = 0;
}

class UaSession::Impl {
public:
    ~Impl() {
        disconnect(ServiceSettings(), true);
        releaseConnection();
    }

    UaStatus connect(const UaString& url, const SessionConnectInfo& info, SessionSecurityInfo& security,
                     UaSessionCallback* callback);
    UaStatus disconnect(const ServiceSettings& settings, bool deleteSubscriptions);
    bool isConnected() const { return m_connected; }

    UaStatus createSubscription(const ServiceSettings& settings, UaSubscriptionCallback* callback,
                                unsigned int clientHandle, const SubscriptionSettings& parameters,
                                bool publishingEnabled, UaSubscription** subscription);
    UaStatus deleteSubscription(const ServiceSettings& settings, UaSubscription** subscription);

    /// Runs `use(client)` on the calling thread while it owns the engine's loop; what comes in by the way is
    /// handed to the callback thread afterwards.
    template <typename Use>
    UaStatus inLoop(Use&& use);

    /// Sends `request` on the calling thread. The caller clears `response`.
    template <typename Request, typename Response>
    UaStatus call(const ServiceSettings& settings, Request& request, const UA_DataType& requestType,
                  Response& response, const UA_DataType& responseType);

    // Called from inside the loop.
    void report(UaClient::ServerStatus status);
    void subscriptionLost(UaSubscription::Impl& subscription, UaStatus reason);
    void subscriptionSpeaks() {
        if (m_subscriptionLost) {
            m_subscriptionLost = false;
            report(UaClient::Connected);
        }
    }

private:
    void startWatchdog(const SessionConnectInfo& info);
    void probe();
    void probeAnswered(const UA_ReadResponse& response);
    void stateChanged(bool usable, UaStatus reason);
    void handOverNotifications();
    void releaseConnection();

    UaSessionCallback* m_callback = nullptr;
    std::unique_ptr<EngineClient> m_engine;
    std::unique_ptr<NetworkThread> m_network;
    std::unique_ptr<CallbackThread> m_callbacks;
    std::atomic<bool> m_open{false}; ///< connected, or lost and not yet disconnected
    std::atomic<bool> m_connected{false};

    // Used inside the loop only.
    std::vector<std::unique_ptr<UaSubscription>> m_subscriptions;
    /// Deleted ones that the engine still points to, because the server did not answer.
    std::vector<std::unique_ptr<UaSubscription>> m_undeleted;
    UA_UInt32 m_watchdogTimeout = 0;
    bool m_probePending = false;
    bool m_serverRuns = true;
    bool m_subscriptionLost = false;
};

template <typename Use>
UaStatus UaSession::Impl::inLoop(Use&& use) {
    // A connection that is gone must not be entered: the engine would connect anew inside the call.
    if (!m_connected) {
        return UA_STATUSCODE_BADSERVERNOTCONNECTED;
    }
    const NetworkThread::LoopOwner owner(*m_network);
    if (!m_connected) {
        return UA_STATUSCODE_BADSERVERNOTCONNECTED;
    }
    return use(*m_engine);
}

template <typename Request, typename Response>
UaStatus UaSession::Impl::call(const ServiceSettings& settings, Request& request,
                               const UA_DataType& requestType, Response& response,
                               const UA_DataType& responseType) {
    return inLoop([&](EngineClient& engine) -> UaStatus {
        request.requestHeader.timeoutHint = timeoutOf(settings);
        engine.call(&request, requestType, &response, responseType);
        return response.responseHeader.serviceResult;
    });
}

} // namespace UaClientSdk
