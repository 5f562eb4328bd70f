#include "uaclient/session.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <system_error>
#include <utility>

#include "deadline.h"
#include "session_impl.h"
#include "session_security.h"
#include "subscription_impl.h"
#include "uabase/trace.h"

namespace UaClientSdk {
namespace {

/// The id that status reports carry: a session object has one connection at a time.
constexpr unsigned int clientConnectionId = 1;

void assign(UA_String& target, const UaString& text) {
    UA_String_clear(&target);
    const UA_String view = text.view();
    UA_String_copy(&view, &target);
}

UaStatus configureSession(UA_ClientConfig& config, const SessionConnectInfo& info,
                          const SessionSecurity& security) {
    assign(config.clientDescription.applicationUri, info.applicationUri);
    assign(config.clientDescription.productUri, info.productUri);
    assign(config.clientDescription.applicationName.text, info.applicationName);
    config.clientDescription.applicationType = UA_APPLICATIONTYPE_CLIENT;
    assign(config.sessionName, info.sessionName);
    config.requestedSessionTimeout = static_cast<UA_UInt32>(info.sessionTimeout);
    config.secureChannelLifeTime = info.secureChannelLifetime;
    config.subscriptionInactivityCallback = &UaSubscription::Impl::inactive;
    return security.configure(config);
}

CallbackThread::Task statusTask(UaSessionCallback* callback, UaClient::ServerStatus status) {
    CallbackThread::Task task;
    task.function = [](void* target, int value) {
        if (target != nullptr) {
            static_cast<UaSessionCallback*>(target)->connectionStatusChanged(
                clientConnectionId, static_cast<UaClient::ServerStatus>(value));
        }
    };
    task.context = std::shared_ptr<void>(std::shared_ptr<void>(), callback); // the callback is not ours
    task.argument = status;
    return task;
}

} // namespace

UaStatus UaSession::Impl::connect(const UaString& url, const SessionConnectInfo& info,
                                  SessionSecurityInfo& security, UaSessionCallback* callback) {
    if (m_open) {
        return UA_STATUSCODE_BADINVALIDSTATE;
    }
    releaseConnection();
    const Deadline deadline(info.connectTimeout > 0 ? info.connectTimeout
                                                    : SessionConnectInfo::defaultConnectTimeout);
    UaStatus status;
    SessionSecurity sessionSecurity(security, url);
    status = sessionSecurity.prepare();
    if (status.isBad()) {
        return status;
    }
    EngineClient::Failure failure;
    auto engine = EngineClient::open(
        EngineClient::Purpose::Session, url,
        [&](UA_ClientConfig& config) { return configureSession(config, info, sessionSecurity); }, deadline,
        status, &failure);
    if (engine == nullptr) {
        sessionSecurity.explainFailure(failure, status);
        return status;
    }
    engine->config().timeout = ServiceSettings::defaultCallTimeout;
    engine->allowReconnect(info.automaticReconnect);
    try {
        auto network = std::make_unique<NetworkThread>(*engine, [this] { handOverNotifications(); });
        m_callbacks = std::make_unique<CallbackThread>();
        m_network = std::move(network);
    } catch (const std::system_error& error) {
        UaTrace::write(UaTrace::Errors, "session", "no thread or descriptor for the session: %s",
                       error.what());
        return UA_STATUSCODE_BADRESOURCEUNAVAILABLE;
    }
    m_callback = callback;
    m_engine = std::move(engine);
    m_engine->setStateHandler([this](bool usable, UaStatus reason) { stateChanged(usable, reason); });
    m_engine->setSocketHandler([this](int socket) { m_network->watch(socket); });
    startWatchdog(info);
    m_open = true;
    m_connected = true;
    report(UaClient::Connected);
    m_callbacks->flush();
    m_network->start();
    UaTrace::write(UaTrace::LifeCycle, "session", "connected to %s", url.toUtf8());
    return status;
}

UaStatus UaSession::Impl::disconnect(const ServiceSettings& settings, bool deleteSubscriptions) {
    if (!m_open.exchange(false)) {
        return UA_STATUSCODE_BADSERVERNOTCONNECTED;
    }
    m_network->stop();
    {
        const NetworkThread::LoopOwner owner(*m_network);
        m_engine->setStateHandler(nullptr);
        m_connected = false;
        for (const auto& subscription : m_subscriptions) {
            subscription->impl().abandon();
        }
        m_engine->close(deleteSubscriptions, timeoutOf(settings));
    }
    m_callbacks->stop(statusTask(m_callback, UaClient::Disconnected));
    UaTrace::write(UaTrace::LifeCycle, "session", "disconnected");
    return UA_STATUSCODE_GOOD;
}

/// Other threads may still be on their way out of a call when a disconnect is done, so what they use stays
/// until the session goes or connects anew.
void UaSession::Impl::releaseConnection() {
    m_engine.reset(); // first: the engine tells its subscriptions that they end
    m_subscriptions.clear();
    m_undeleted.clear();
    m_network.reset();
    m_callbacks.reset();
}

void UaSession::Impl::report(UaClient::ServerStatus status) {
    m_callbacks->post(statusTask(m_callback, status));
}

void UaSession::Impl::stateChanged(bool usable, UaStatus reason) {
    m_connected = usable;
    if (usable) {
        UaTrace::write(UaTrace::Warnings, "session", "connected again, with a new session");
        report(UaClient::Connected);
    } else {
        UaTrace::write(UaTrace::Errors, "session", "connection lost: %s", reason.name());
        report(UaClient::ConnectionLost);
    }
}

UaStatus UaSession::Impl::createSubscription(const ServiceSettings& settings,
                                             UaSubscriptionCallback* callback, unsigned int clientHandle,
                                             const SubscriptionSettings& parameters, bool publishingEnabled,
                                             UaSubscription** subscription) {
    return inLoop([&](EngineClient& engine) -> UaStatus {
        auto impl = std::make_unique<UaSubscription::Impl>(*this, callback, clientHandle);
        const UaStatus status = impl->create(engine, parameters, publishingEnabled, timeoutOf(settings));
        if (status.isGood()) {
            m_subscriptions.push_back(std::make_unique<UaSubscription>(std::move(impl)));
            m_network->expectNotifications(true);
            *subscription = m_subscriptions.back().get();
            subscriptionSpeaks();
        }
        return status;
    });
}

UaStatus UaSession::Impl::deleteSubscription(const ServiceSettings& settings, UaSubscription** subscription) {
    UaSubscription* const target = *subscription;
    *subscription = nullptr;
    if (m_network == nullptr) {
        return UA_STATUSCODE_BADSERVERNOTCONNECTED;
    }
    const NetworkThread::LoopOwner owner(*m_network);
    const auto entry = std::find_if(m_subscriptions.begin(), m_subscriptions.end(),
                                    [target](const auto& owned) { return owned.get() == target; });
    if (entry == m_subscriptions.end()) {
        return UA_STATUSCODE_BADSUBSCRIPTIONIDINVALID;
    }
    target->impl().abandon();
    UaStatus status = UA_STATUSCODE_BADSERVERNOTCONNECTED;
    if (m_connected) {
        status = target->impl().remove(*m_engine, timeoutOf(settings));
    }
    if (target->impl().isKnownToEngine()) {
        m_undeleted.push_back(std::move(*entry));
    }
    m_subscriptions.erase(entry);
    m_network->expectNotifications(!m_subscriptions.empty());
    return status;
}

void UaSession::Impl::subscriptionLost(UaSubscription::Impl& subscription, UaStatus reason) {
    UaTrace::write(UaTrace::Errors, "subscription", "no data comes any more: %s", reason.name());
    subscription.queue().reportEnd(*m_callbacks, reason);
    if (!m_subscriptionLost && m_connected) {
        m_subscriptionLost = true;
        report(UaClient::SubscriptionLost);
    }
}

void UaSession::Impl::handOverNotifications() {
    for (const auto& subscription : m_subscriptions) {
        if (m_engine->isWithoutSubscription()) {
            subscription->impl().ended(UA_STATUSCODE_BADNOSUBSCRIPTION);
        }
        subscription->impl().queue().handOver(*m_callbacks);
    }
}

void UaSession::Impl::startWatchdog(const SessionConnectInfo& info) {
    m_watchdogTimeout = info.watchdogTimeout;
    m_probePending = false;
    m_serverRuns = true;
    UA_Client_addRepeatedCallback(
        m_engine->handle(), [](UA_Client*, void* self) { static_cast<Impl*>(self)->probe(); }, this,
        info.watchdogInterval, nullptr);
}

void UaSession::Impl::probe() {
    if (m_probePending || !m_connected) {
        return;
    }
    UA_ReadValueId node;
    UA_ReadValueId_init(&node);
    node.nodeId = UA_NODEID_NUMERIC(0, UA_NS0ID_SERVER_SERVERSTATUS_STATE);
    node.attributeId = UA_ATTRIBUTEID_VALUE;
    UA_ReadRequest request;
    UA_ReadRequest_init(&request);
    request.requestHeader.timeoutHint = m_watchdogTimeout;
    request.nodesToRead = &node;
    request.nodesToReadSize = 1;
    const UA_StatusCode status = __UA_Client_AsyncService(
        m_engine->handle(), &request, &UA_TYPES[UA_TYPES_READREQUEST],
        [](UA_Client*, void* self, UA_UInt32, void* response) {
            static_cast<Impl*>(self)->probeAnswered(*static_cast<UA_ReadResponse*>(response));
        },
        &UA_TYPES[UA_TYPES_READRESPONSE], this, nullptr);
    m_probePending = status == UA_STATUSCODE_GOOD;
}

void UaSession::Impl::probeAnswered(const UA_ReadResponse& response) {
    m_probePending = false;
    if (!m_connected) {
        return;
    }
    if (response.responseHeader.serviceResult == UA_STATUSCODE_BADTIMEOUT) {
        m_connected = false;
        m_engine->abandon();
        UaTrace::write(UaTrace::Errors, "session", "connection lost: no answer within %u ms",
                       m_watchdogTimeout);
        report(UaClient::WatchdogExpired);
        return;
    }
    const bool isState = response.resultsSize == 1 &&
                         UA_Variant_hasScalarType(&response.results[0].value, &UA_TYPES[UA_TYPES_INT32]);
    if (!isState) {
        return;
    }
    const auto state = *static_cast<const UA_Int32*>(response.results[0].value.data);
    const bool runs = state != UA_SERVERSTATE_SHUTDOWN;
    if (runs != m_serverRuns) {
        m_serverRuns = runs;
        report(runs ? UaClient::Connected : UaClient::ServerShutdown);
    }
}

namespace {

UaStatus takePage(UaStatus status, UA_BrowseResult* results, size_t resultCount,
                  UaByteString& continuationPoint, UaReferenceDescriptions& references) {
    references.clear();
    continuationPoint.clear();
    if (status.isBad()) {
        return status;
    }
    if (resultCount != 1) {
        return UA_STATUSCODE_BADUNKNOWNRESPONSE;
    }
    continuationPoint = UaByteString(results[0].continuationPoint);
    take(results[0].references, results[0].referencesSize, references);
    return results[0].statusCode;
}

} // namespace

UaSession::UaSession() : m_impl(std::make_unique<Impl>()) {}
UaSession::~UaSession() = default;

UaStatus UaSession::connect(const UaString& url, SessionConnectInfo& connectInfo,
                            SessionSecurityInfo& securityInfo, UaSessionCallback* callback) {
    return m_impl->connect(url, connectInfo, securityInfo, callback);
}

UaStatus UaSession::disconnect(ServiceSettings& settings, bool deleteSubscriptions) {
    return m_impl->disconnect(settings, deleteSubscriptions);
}

bool UaSession::isConnected() const {
    return m_impl->isConnected();
}

UaStatus UaSession::read(ServiceSettings& settings, OpcUa_Double maxAge, OpcUa_TimestampsToReturn timestamps,
                         const UaReadValueIds& nodesToRead, UaDataValues& values,
                         UaDiagnosticInfos& diagnostics) {
    UA_ReadRequest request;
    UA_ReadRequest_init(&request);
    request.maxAge = maxAge;
    request.timestampsToReturn = timestamps;
    request.nodesToRead = borrow(nodesToRead);
    request.nodesToReadSize = nodesToRead.length();
    UA_ReadResponse response;
    UA_ReadResponse_init(&response);
    UaStatus status = m_impl->call(settings, request, UA_TYPES[UA_TYPES_READREQUEST], response,
                                   UA_TYPES[UA_TYPES_READRESPONSE]);
    if (!status.isBad() && response.resultsSize != nodesToRead.length()) {
        status = UA_STATUSCODE_BADUNKNOWNRESPONSE;
    }
    take(response.results, response.resultsSize, values);
    take(response.diagnosticInfos, response.diagnosticInfosSize, diagnostics);
    UA_ReadResponse_clear(&response);
    return status;
}

UaStatus UaSession::write(ServiceSettings& settings, const UaWriteValues& nodesToWrite,
                          UaStatusCodeArray& results, UaDiagnosticInfos& diagnostics) {
    UA_WriteRequest request;
    UA_WriteRequest_init(&request);
    request.nodesToWrite = borrow(nodesToWrite);
    request.nodesToWriteSize = nodesToWrite.length();
    UA_WriteResponse response;
    UA_WriteResponse_init(&response);
    UaStatus status = m_impl->call(settings, request, UA_TYPES[UA_TYPES_WRITEREQUEST], response,
                                   UA_TYPES[UA_TYPES_WRITERESPONSE]);
    if (!status.isBad() && response.resultsSize != nodesToWrite.length()) {
        status = UA_STATUSCODE_BADUNKNOWNRESPONSE;
    }
    take(response.results, response.resultsSize, results);
    take(response.diagnosticInfos, response.diagnosticInfosSize, diagnostics);
    UA_WriteResponse_clear(&response);
    return status;
}

UaStatus UaSession::browse(ServiceSettings& settings, const UaNodeId& nodeToBrowse,
                           const BrowseContext& context, UaByteString& continuationPoint,
                           UaReferenceDescriptions& references) {
    UA_BrowseDescription description;
    UA_BrowseDescription_init(&description);
    description.nodeId = nodeToBrowse.raw();
    description.browseDirection = context.browseDirection;
    description.referenceTypeId = context.referenceTypeId.raw();
    description.includeSubtypes = context.includeSubtypes;
    description.nodeClassMask = context.nodeClassMask;
    description.resultMask = context.resultMask;
    UA_BrowseRequest request;
    UA_BrowseRequest_init(&request);
    request.requestedMaxReferencesPerNode = context.maxReferencesToReturn;
    request.nodesToBrowse = &description;
    request.nodesToBrowseSize = 1;
    UA_BrowseResponse response;
    UA_BrowseResponse_init(&response);
    UaStatus status = m_impl->call(settings, request, UA_TYPES[UA_TYPES_BROWSEREQUEST], response,
                                   UA_TYPES[UA_TYPES_BROWSERESPONSE]);
    status = takePage(status, response.results, response.resultsSize, continuationPoint, references);
    UA_BrowseResponse_clear(&response);
    return status;
}

UaStatus UaSession::browseNext(ServiceSettings& settings, bool releaseContinuationPoint,
                               UaByteString& continuationPoint, UaReferenceDescriptions& references) {
    UA_ByteString point = continuationPoint.view();
    UA_BrowseNextRequest request;
    UA_BrowseNextRequest_init(&request);
    request.releaseContinuationPoints = releaseContinuationPoint;
    request.continuationPoints = &point;
    request.continuationPointsSize = 1;
    UA_BrowseNextResponse response;
    UA_BrowseNextResponse_init(&response);
    UaStatus status = m_impl->call(settings, request, UA_TYPES[UA_TYPES_BROWSENEXTREQUEST], response,
                                   UA_TYPES[UA_TYPES_BROWSENEXTRESPONSE]);
    status = takePage(status, response.results, response.resultsSize, continuationPoint, references);
    UA_BrowseNextResponse_clear(&response);
    return status;
}

UaStatus UaSession::createSubscription(ServiceSettings& settings, UaSubscriptionCallback* callback,
                                       unsigned int clientSubscriptionHandle,
                                       SubscriptionSettings& parameters, unsigned char publishingEnabled,
                                       UaSubscription** subscription) {
    return m_impl->createSubscription(settings, callback, clientSubscriptionHandle, parameters,
                                      publishingEnabled != 0, subscription);
}

UaStatus UaSession::deleteSubscription(ServiceSettings& settings, UaSubscription** subscription,
                                       unsigned int) {
    return m_impl->deleteSubscription(settings, subscription);
}

} // namespace UaClientSdk
