#include "support/scripted/usual_answers.h"

namespace scripted {
namespace {

constexpr const char* applicationUri = "urn:scripted:server";
constexpr const char* policyNone = "http://opcfoundation.org/UA/SecurityPolicy#None";
constexpr const char* binaryTransport = "http://opcfoundation.org/UA-Profile/Transport/uatcp-uasc-uabinary";
const Bytes nonce(32, 'n');

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

Bytes getEndpoints(const Call& call, const std::string& url) {
    Owned<UA_GetEndpointsResponse> response;
    resize(response->endpoints, response->endpointsSize, 1);
    fillEndpoint(response->endpoints[0], url);
    return call.bodyOf(*response);
}

Bytes activateSession(const Call& call) {
    Owned<UA_ActivateSessionResponse> response;
    assign(response->serverNonce, nonce);
    return call.bodyOf(*response);
}

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

void fillEndpoint(UA_EndpointDescription& endpoint, const std::string& url) {
    assign(endpoint.endpointUrl, url);
    fillApplication(endpoint.server, url);
    endpoint.securityMode = UA_MESSAGESECURITYMODE_NONE;
    assign(endpoint.securityPolicyUri, policyNone);
    assign(endpoint.transportProfileUri, binaryTransport);
    resize(endpoint.userIdentityTokens, endpoint.userIdentityTokensSize, 1);
    assign(endpoint.userIdentityTokens[0].policyId, "anonymous");
    endpoint.userIdentityTokens[0].tokenType = UA_USERTOKENTYPE_ANONYMOUS;
}

Bytes UsualAnswers::bodyFor(const Call& call) {
    if (call.is<UA_OpenSecureChannelRequest>())
        return openSecureChannel(call);
    if (call.is<UA_FindServersRequest>())
        return findServers(call, m_url);
    if (call.is<UA_GetEndpointsRequest>())
        return getEndpoints(call, m_url);
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
    const Bytes body = call.bodyOf(*response);
    call.connection().adopt(token.channelId, token.tokenId);
    return body;
}

Bytes UsualAnswers::createSession(const Call& call) {
    const auto& request = call.request<UA_CreateSessionRequest>();
    Owned<UA_CreateSessionResponse> response;
    response->sessionId = numericId(1, ++m_lastSessionId);
    response->authenticationToken = numericId(0, 1000 + m_lastSessionId);
    response->revisedSessionTimeout = request.requestedSessionTimeout;
    assign(response->serverNonce, nonce);
    resize(response->serverEndpoints, response->serverEndpointsSize, 1);
    fillEndpoint(response->serverEndpoints[0], m_url);
    return call.bodyOf(*response);
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
    if (!m_publisher.republish(call.request<UA_RepublishRequest>(), response->notificationMessage)) {
        return call.faultBody(UA_STATUSCODE_BADMESSAGENOTAVAILABLE);
    }
    return call.bodyOf(*response);
}

} // namespace scripted
