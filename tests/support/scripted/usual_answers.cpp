#include "support/scripted/usual_answers.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "support/scripted/server.h"

namespace scripted {
namespace {

constexpr const char* applicationUri = "urn:scripted:server";
constexpr const char* binaryTransport = "http://opcfoundation.org/UA-Profile/Transport/uatcp-uasc-uabinary";

UA_NodeId numericId(UA_UInt16 index, std::uint32_t number) {
    UA_NodeId id{};
    id.namespaceIndex = index;
    id.identifierType = UA_NODEIDTYPE_NUMERIC;
    id.identifier.numeric = number;
    return id;
}

void fillApplication(UA_ApplicationDescription& application, const std::string& url) {
    assign(application.applicationUri, applicationUri);
    assign(application.applicationName.text, "Scripted server");
    application.applicationType = UA_APPLICATIONTYPE_SERVER;
    resize(application.discoveryUrls, application.discoveryUrlsSize, 1);
    assign(application.discoveryUrls[0], url);
}

void fillReference(UA_ReferenceDescription& reference, std::size_t number) {
    const std::string name = "Child" + std::to_string(number);
    reference.referenceTypeId = numericId(0, 35);
    reference.isForward = true;
    reference.nodeId.nodeId.namespaceIndex = 1;
    reference.nodeId.nodeId.identifierType = UA_NODEIDTYPE_STRING;
    assign(reference.nodeId.nodeId.identifier.string, name);
    assign(reference.browseName.name, name);
    assign(reference.displayName.text, name);
    reference.nodeClass = UA_NODECLASS_VARIABLE;
}

Bytes findServers(const Call& call, const std::string& url) {
    Owned<UA_FindServersResponse> response;
    resize(response->servers, response->serversSize, 1);
    fillApplication(response->servers[0], url);
    return call.bodyOf(*response);
}

/// The first certificate of a chain.
Bytes leafOf(const Bytes& chain) {
    const auto byte = [&chain](std::size_t place) {
        return static_cast<std::size_t>(static_cast<unsigned char>(chain[place]));
    };
    // A DER sequence of more than 255 bytes: 30 82, and its length.
    return chain.size() < 4 ? chain : chain.substr(0, 4 + byte(2) * 256 + byte(3));
}

Bytes randomBytes(std::size_t count) {
    Bytes bytes(count, '\0');
    UaPkiRandomBytes(reinterpret_cast<OpcUa_Byte*>(bytes.data()), count);
    return bytes;
}

Bytes bytesOf(const UA_ByteString& bytes) {
    return Bytes(reinterpret_cast<const char*>(bytes.data), bytes.length);
}

constexpr std::size_t sessionNonceLength = 32;

/// For services whose answer is one status a request, all Good.
template <class Response>
Bytes goodResults(const Call& call, std::size_t count) {
    Owned<Response> response;
    resize(response->results, response->resultsSize, count);
    return call.bodyOf(*response);
}

Bytes browse(const Call& call) {
    const auto& request = call.request<UA_BrowseRequest>();
    Owned<UA_BrowseResponse> response;
    resize(response->results, response->resultsSize, request.nodesToBrowseSize);
    for (std::size_t i = 0; i < response->resultsSize; ++i) {
        UA_BrowseResult& result = response->results[i];
        resize(result.references, result.referencesSize, 2);
        fillReference(result.references[0], 1);
        fillReference(result.references[1], 2);
    }
    return call.bodyOf(*response);
}

Bytes browseNext(const Call& call) {
    const auto& request = call.request<UA_BrowseNextRequest>();
    Owned<UA_BrowseNextResponse> response;
    resize(response->results, response->resultsSize, request.continuationPointsSize);
    return call.bodyOf(*response);
}

Bytes createSubscription(const Call& call, Publisher& publisher) {
    const auto& request = call.request<UA_CreateSubscriptionRequest>();
    Owned<UA_CreateSubscriptionResponse> response;
    response->subscriptionId = publisher.create();
    response->revisedPublishingInterval = request.requestedPublishingInterval;
    response->revisedLifetimeCount = request.requestedLifetimeCount;
    response->revisedMaxKeepAliveCount = request.requestedMaxKeepAliveCount;
    return call.bodyOf(*response);
}

} // namespace

void fillEndpoints(UA_EndpointDescription*& endpoints, std::size_t& size, const std::string& url,
                   const std::vector<Offer>& offers, const Bytes& certificate) {
    resize(endpoints, size, 0);
    resize(endpoints, size, offers.size());
    for (std::size_t i = 0; i < size; ++i) {
        UA_EndpointDescription& endpoint = endpoints[i];
        assign(endpoint.endpointUrl, url);
        fillApplication(endpoint.server, url);
        assign(endpoint.serverCertificate, certificate);
        endpoint.securityMode = offers[i].mode;
        assign(endpoint.securityPolicyUri, offers[i].policyUri);
        assign(endpoint.transportProfileUri, binaryTransport);
        resize(endpoint.userIdentityTokens, endpoint.userIdentityTokensSize, offers[i].tokens.size());
        for (std::size_t j = 0; j < endpoint.userIdentityTokensSize; ++j) {
            const TokenOffer& token = offers[i].tokens[j];
            assign(endpoint.userIdentityTokens[j].policyId, token.policyId);
            endpoint.userIdentityTokens[j].tokenType = token.type;
            assign(endpoint.userIdentityTokens[j].securityPolicyUri, token.policyUri);
        }
    }
}

Bytes UsualAnswers::bodyFor(const Call& call) {
    if (call.is<UA_OpenSecureChannelRequest>())
        return openSecureChannel(call);
    if (call.is<UA_FindServersRequest>())
        return findServers(call, m_server.url());
    if (call.is<UA_GetEndpointsRequest>()) {
        Owned<UA_GetEndpointsResponse> response;
        fillEndpoints(response->endpoints, response->endpointsSize, m_server.url(), m_server.offers(),
                      m_server.identity()->certificate);
        return call.bodyOf(*response);
    }
    if (call.is<UA_CreateSessionRequest>())
        return createSession(call);
    if (call.is<UA_ActivateSessionRequest>())
        return activateSession(call);
    if (call.is<UA_ReadRequest>())
        return read(call);
    if (call.is<UA_WriteRequest>())
        return goodResults<UA_WriteResponse>(call, call.request<UA_WriteRequest>().nodesToWriteSize);
    if (call.is<UA_BrowseRequest>())
        return browse(call);
    if (call.is<UA_BrowseNextRequest>())
        return browseNext(call);
    if (call.is<UA_CreateSubscriptionRequest>())
        return createSubscription(call, m_publisher);
    if (call.is<UA_CreateMonitoredItemsRequest>())
        return createMonitoredItems(call);
    if (call.is<UA_DeleteMonitoredItemsRequest>())
        return deleteMonitoredItems(call);
    if (call.is<UA_DeleteSubscriptionsRequest>())
        return deleteSubscriptions(call);
    if (call.is<UA_PublishRequest>())
        return call.bodyOf(*Publisher::keepAlive(m_publisher.subscriptionId(), 1));
    if (call.is<UA_RepublishRequest>())
        return republish(call);
    if (call.is<UA_CloseSessionRequest>()) {
        Owned<UA_CloseSessionResponse> response;
        return call.bodyOf(*response);
    }
    return call.faultBody(UA_STATUSCODE_BADSERVICEUNSUPPORTED);
}

Bytes UsualAnswers::openSecureChannel(const Call& call) {
    const auto& request = call.request<UA_OpenSecureChannelRequest>();
    const bool isNew = request.requestType == UA_SECURITYTOKENREQUESTTYPE_ISSUE;
    Owned<UA_OpenSecureChannelResponse> response;
    UA_ChannelSecurityToken& token = response->securityToken;
    token.channelId = isNew ? ++m_lastChannelId : call.connection().channelId();
    token.tokenId = ++m_lastTokenId;
    token.createdAt = UA_DateTime_now();
    token.revisedLifetime = request.requestedLifetime;
    const Protection* protection = call.connection().protection();
    if (protection != nullptr)
        assign(response->serverNonce, randomBytes(protection->policy().nonceLength));
    const Bytes body = call.bodyOf(*response);
    call.connection().adopt(token.channelId, token.tokenId, bytesOf(request.clientNonce),
                            bytesOf(response->serverNonce),
                            request.securityMode == UA_MESSAGESECURITYMODE_SIGNANDENCRYPT);
    return body;
}

Bytes UsualAnswers::createSession(const Call& call) {
    const auto& request = call.request<UA_CreateSessionRequest>();
    Owned<UA_CreateSessionResponse> response;
    response->sessionId = numericId(1, ++m_lastSessionId);
    response->authenticationToken = numericId(0, 1000 + m_lastSessionId);
    response->revisedSessionTimeout = request.requestedSessionTimeout;
    assign(response->serverNonce, randomBytes(sessionNonceLength));
    const Bytes certificate = m_server.identity()->certificate;
    fillEndpoints(response->serverEndpoints, response->serverEndpointsSize, m_server.url(), m_server.offers(),
                  certificate);
    if (const Protection* protection = call.connection().protection()) {
        assign(response->serverCertificate, certificate);
        assign(response->serverSignature.algorithm, protection->policy().asymmetricSignatureUri);
        assign(response->serverSignature.signature,
               protection->sign(bytesOf(request.clientCertificate) + bytesOf(request.clientNonce)));
    }
    const Bytes body = call.bodyOf(*response);
    call.connection().sessionNonce = bytesOf(response->serverNonce);
    return body;
}

Bytes UsualAnswers::activateSession(const Call& call) {
    const auto& request = call.request<UA_ActivateSessionRequest>();
    Connection& connection = call.connection();
    if (const Protection* protection = connection.protection()) {
        const Bytes shown = leafOf(m_server.identity()->certificate) + connection.sessionNonce;
        if (!protection->verify(shown, bytesOf(request.clientSignature.signature)))
            return call.faultBody(UA_STATUSCODE_BADAPPLICATIONSIGNATUREINVALID);
    }
    Owned<UA_ActivateSessionResponse> response;
    assign(response->serverNonce, randomBytes(sessionNonceLength));
    const Bytes body = call.bodyOf(*response);
    connection.sessionNonce = bytesOf(response->serverNonce);
    return body;
}

Bytes UsualAnswers::read(const Call& call) const {
    const auto& request = call.request<UA_ReadRequest>();
    const std::string serverState = "i=2259";
    Owned<UA_ReadResponse> response;
    resize(response->results, response->resultsSize, request.nodesToReadSize);
    for (std::size_t i = 0; i < response->resultsSize; ++i) {
        response->results[i].hasValue = true;
        assign(response->results[i].value, textOf(request.nodesToRead[i].nodeId) == serverState ? 0 : 42);
    }
    return call.bodyOf(*response);
}

Bytes UsualAnswers::createMonitoredItems(const Call& call) {
    const auto& request = call.request<UA_CreateMonitoredItemsRequest>();
    Owned<UA_CreateMonitoredItemsResponse> response;
    resize(response->results, response->resultsSize, request.itemsToCreateSize);
    for (std::size_t i = 0; i < response->resultsSize; ++i) {
        const UA_MonitoredItemCreateRequest& item = request.itemsToCreate[i];
        UA_MonitoredItemCreateResult& result = response->results[i];
        result.monitoredItemId = m_publisher.add(
            request.subscriptionId, item.requestedParameters.clientHandle, textOf(item.itemToMonitor.nodeId));
        result.revisedSamplingInterval = item.requestedParameters.samplingInterval;
        result.revisedQueueSize = item.requestedParameters.queueSize;
    }
    return call.bodyOf(*response);
}

Bytes UsualAnswers::deleteMonitoredItems(const Call& call) {
    const auto& request = call.request<UA_DeleteMonitoredItemsRequest>();
    Owned<UA_DeleteMonitoredItemsResponse> response;
    resize(response->results, response->resultsSize, request.monitoredItemIdsSize);
    for (std::size_t i = 0; i < response->resultsSize; ++i) {
        response->results[i] = m_publisher.removeItem(request.monitoredItemIds[i])
                                   ? UA_STATUSCODE_GOOD
                                   : UA_STATUSCODE_BADMONITOREDITEMIDINVALID;
    }
    return call.bodyOf(*response);
}

Bytes UsualAnswers::deleteSubscriptions(const Call& call) {
    const auto& request = call.request<UA_DeleteSubscriptionsRequest>();
    Owned<UA_DeleteSubscriptionsResponse> response;
    resize(response->results, response->resultsSize, request.subscriptionIdsSize);
    for (std::size_t i = 0; i < response->resultsSize; ++i) {
        response->results[i] = m_publisher.remove(request.subscriptionIds[i])
                                   ? UA_STATUSCODE_GOOD
                                   : UA_STATUSCODE_BADSUBSCRIPTIONIDINVALID;
    }
    return call.bodyOf(*response);
}

Bytes UsualAnswers::republish(const Call& call) {
    Owned<UA_RepublishResponse> response;
    if (!m_publisher.republish(call.request<UA_RepublishRequest>(), response->notificationMessage))
        return call.faultBody(UA_STATUSCODE_BADMESSAGENOTAVAILABLE);
    return call.bodyOf(*response);
}

} // namespace scripted
