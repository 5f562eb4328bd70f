#include "uaclient/session.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <vector>

#include "protocol_text.h"
#include "standin.h"
#include "subscription_impl.h"

using standin::script;
using standin::toText;

namespace UaClientSdk {

class UaSession::Impl {
public:
    std::atomic<bool> connected{false};
    std::vector<std::unique_ptr<UaSubscription>> subscriptions;
};

UaSession::UaSession() : m_impl(std::make_unique<Impl>()) {
    script().record("UaSession::UaSession", this);
}

UaSession::~UaSession() {
    script().record("UaSession::~UaSession", this);
}

UaStatus UaSession::connect(const UaString& url, SessionConnectInfo& connectInfo,
                            SessionSecurityInfo& securityInfo, UaSessionCallback* callback) {
    const standin::ConnectRequest request{url.text(),
                                          connectInfo,
                                          securityInfo.securityPolicyUri.text(),
                                          securityInfo.messageSecurityMode,
                                          securityInfo.serverCertificate,
                                          securityInfo.doServerCertificateVerify,
                                          callback};
    script().record("UaSession::connect", this, request);
    script().setSessionCallback(callback);
    const UaStatus status = script().onConnect ? script().onConnect(request) : UaStatus();
    m_impl->connected = !status.isBad();
    return status;
}

UaStatus UaSession::disconnect(ServiceSettings& settings, bool deleteSubscriptions) {
    const standin::DisconnectRequest request{settings, deleteSubscriptions};
    script().record("UaSession::disconnect", this, request);
    const UaStatus status = script().onDisconnect ? script().onDisconnect(request) : UaStatus();
    if (!status.isBad()) {
        m_impl->connected = false;
        m_impl->subscriptions.clear();
    }
    return status;
}

bool UaSession::isConnected() const {
    script().record("UaSession::isConnected", this);
    return script().onIsConnected ? script().onIsConnected() : m_impl->connected.load();
}

UaStatus UaSession::read(ServiceSettings& settings, OpcUa_Double maxAge, OpcUa_TimestampsToReturn timestamps,
                         const UaReadValueIds& nodesToRead, UaDataValues& values, UaDiagnosticInfos&) {
    standin::ReadRequest request{settings, maxAge, timestamps, {}};
    for (const OpcUa_ReadValueId& item : nodesToRead)
        request.items.push_back(standin::readItem(item));
    script().record("UaSession::read", this, request);
    if (script().onRead)
        return script().onRead(request, values);
    values.create(nodesToRead.length());
    return OpcUa_Good;
}

/// One by one: what goes out at the same time is no matter of a script.
void UaSession::read(ServiceSettings& settings, OpcUa_Double maxAge, OpcUa_TimestampsToReturn timestamps,
                     const ReadSequence& sequence) {
    script().countSequence();
    UaReadValueIds nodes;
    bool goesOn = true;
    while (goesOn && sequence.next(nodes)) {
        UaDataValues values;
        UaDiagnosticInfos diagnostics;
        const UaStatus status = read(settings, maxAge, timestamps, nodes, values, diagnostics);
        goesOn = sequence.answered(status, values);
    }
}

bool UaSession::wasLostAhead() const {
    return script().onWasLostAhead && script().onWasLostAhead();
}

UaStatus UaSession::write(ServiceSettings& settings, const UaWriteValues& nodesToWrite,
                          UaStatusCodeArray& results, UaDiagnosticInfos&) {
    standin::WriteRequest request{settings, {}};
    for (const OpcUa_WriteValue& item : nodesToWrite) {
        const OpcUa_DataValue& data = item.value;
        request.items.push_back({toText(item.nodeId), item.attributeId, toText(item.indexRange), data.value,
                                 data.hasValue, data.hasStatus,
                                 data.hasSourceTimestamp || data.hasServerTimestamp ||
                                     data.hasSourcePicoseconds || data.hasServerPicoseconds,
                                 data.value.data});
    }
    script().record("UaSession::write", this, request);
    if (script().onWrite)
        return script().onWrite(request, results);
    results.create(nodesToWrite.length());
    return OpcUa_Good;
}

UaStatus UaSession::createSubscription(ServiceSettings& settings, UaSubscriptionCallback* callback,
                                       unsigned int clientSubscriptionHandle,
                                       SubscriptionSettings& parameters, unsigned char publishingEnabled,
                                       UaSubscription** subscription) {
    const standin::CreateSubscriptionRequest request{settings, callback, clientSubscriptionHandle, parameters,
                                                     publishingEnabled};
    script().record("UaSession::createSubscription", this, request);
    script().setSubscriptionCallback(callback);
    const UaStatus status =
        script().onCreateSubscription ? script().onCreateSubscription(request) : UaStatus();
    if (!status.isBad()) {
        m_impl->subscriptions.push_back(
            std::make_unique<UaSubscription>(std::make_unique<UaSubscription::Impl>()));
        *subscription = m_impl->subscriptions.back().get();
    }
    return status;
}

UaStatus UaSession::deleteSubscription(ServiceSettings& settings, UaSubscription** subscription,
                                       unsigned int wait) {
    const standin::DeleteSubscriptionRequest request{settings, *subscription, wait};
    script().record("UaSession::deleteSubscription", this, request);
    const UaStatus status =
        script().onDeleteSubscription ? script().onDeleteSubscription(request) : UaStatus();
    auto& owned = m_impl->subscriptions;
    owned.erase(std::remove_if(owned.begin(), owned.end(),
                               [&](const auto& candidate) { return candidate.get() == *subscription; }),
                owned.end());
    *subscription = nullptr;
    return status;
}

UaStatus UaSession::browse(ServiceSettings& settings, const UaNodeId& nodeToBrowse,
                           const BrowseContext& context, UaByteString& continuationPoint,
                           UaReferenceDescriptions& references) {
    const standin::BrowseRequest request{settings, nodeToBrowse.toXmlString().text(), context,
                                         continuationPoint, references.length()};
    script().record("UaSession::browse", this, request);
    continuationPoint.clear();
    references.clear();
    return script().onBrowse ? script().onBrowse(request, continuationPoint, references) : UaStatus();
}

UaStatus UaSession::browseNext(ServiceSettings& settings, bool releaseContinuationPoint,
                               UaByteString& continuationPoint, UaReferenceDescriptions& references) {
    const standin::BrowseNextRequest request{settings, releaseContinuationPoint, continuationPoint,
                                             &references};
    script().record("UaSession::browseNext", this, request);
    continuationPoint.clear();
    references.clear();
    return script().onBrowseNext ? script().onBrowseNext(request, continuationPoint, references) : UaStatus();
}

} // namespace UaClientSdk
