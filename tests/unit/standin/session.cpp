#include "uaclient/session.h"

#include <atomic>

#include "standin.h"

using standin::script;

namespace UaClientSdk {

class UaSession::Impl {
public:
    std::atomic<bool> connected{false};
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
    if (!status.isBad())
        m_impl->connected = false;
    return status;
}

bool UaSession::isConnected() const {
    script().record("UaSession::isConnected", this);
    return script().onIsConnected ? script().onIsConnected() : m_impl->connected.load();
}

namespace {

std::string toText(const OpcUa_String& text) {
    return UaString(text).text();
}
std::string toText(const OpcUa_NodeId& id) {
    return UaNodeId(id).toXmlString().text();
}

} // namespace

UaStatus UaSession::read(ServiceSettings& settings, OpcUa_Double maxAge, OpcUa_TimestampsToReturn timestamps,
                         const UaReadValueIds& nodesToRead, UaDataValues& values, UaDiagnosticInfos&) {
    standin::ReadRequest request{settings, maxAge, timestamps, {}};
    for (const OpcUa_ReadValueId& item : nodesToRead) {
        request.items.push_back(
            {toText(item.nodeId), item.attributeId, toText(item.indexRange), toText(item.dataEncoding.name)});
    }
    script().record("UaSession::read", this, request);
    if (script().onRead)
        return script().onRead(request, values);
    values.create(nodesToRead.length());
    return OpcUa_Good;
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
