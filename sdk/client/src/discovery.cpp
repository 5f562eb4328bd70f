#include "uaclient/discovery.h"

#include <cstddef>

#include "deadline.h"
#include "engine_client.h"

namespace UaClientSdk {
namespace {

UA_UInt32 timeoutOf(const ServiceSettings& settings) {
    return static_cast<UA_UInt32>(settings.callTimeout > 0 ? settings.callTimeout
                                                           : ServiceSettings::defaultCallTimeout);
}

/// A query has no endpoint to choose: with one given, the engine neither asks for endpoints nor moves to
/// another URL. The application URI that no server has keeps it from moving to a URL of the server list too.
UaStatus configureQuery(UA_ClientConfig& config, const UaString& url) {
    const UA_String urlView = url.view();
    UA_String_copy(&urlView, &config.endpoint.endpointUrl);
    config.endpoint.securityMode = UA_MESSAGESECURITYMODE_NONE;
    config.endpoint.securityPolicyUri = UA_STRING_ALLOC("http://opcfoundation.org/UA/SecurityPolicy#None");
    config.applicationUri = UA_STRING_ALLOC("urn:no-server:stay-at-this-url");
    return OpcUa_Good;
}

template <typename Request, typename Response>
UaStatus query(const ServiceSettings& settings, const UaString& url, Request& request,
               const UA_DataType& requestType, Response& response, const UA_DataType& responseType) {
    const Deadline deadline(timeoutOf(settings));
    UaStatus status;
    const auto client = EngineClient::open(
        EngineClient::Purpose::Query, url,
        [&url](UA_ClientConfig& config) { return configureQuery(config, url); }, deadline, status);
    if (client == nullptr) {
        return status;
    }
    const int remaining = deadline.remaining();
    if (remaining == 0) {
        return UA_STATUSCODE_BADTIMEOUT;
    }
    request.requestHeader.timeoutHint = static_cast<UA_UInt32>(remaining);
    request.endpointUrl = url.view();
    client->call(&request, requestType, &response, responseType);
    return response.responseHeader.serviceResult;
}

/// The answer's array goes to the caller as it is, and the rest is freed.
template <typename Response, typename Element>
void handOver(Response& response, const UA_DataType& responseType, Element*& elements, size_t& count,
              UaProtocolArray<Element>& target) {
    target.attach(static_cast<OpcUa_UInt32>(count), elements);
    elements = nullptr;
    count = 0;
    UA_clear(&response, &responseType);
}

} // namespace

UaDiscovery::UaDiscovery() = default;
UaDiscovery::~UaDiscovery() = default;

UaStatus UaDiscovery::findServers(ServiceSettings& settings, const UaString& discoveryUrl,
                                  ClientSecurityInfo&, UaApplicationDescriptions& servers) {
    const UA_DataType& responseType = UA_TYPES[UA_TYPES_FINDSERVERSRESPONSE];
    UA_FindServersRequest request{};
    UA_FindServersResponse response{};
    const UaStatus status =
        query(settings, discoveryUrl, request, UA_TYPES[UA_TYPES_FINDSERVERSREQUEST], response, responseType);
    handOver(response, responseType, response.servers, response.serversSize, servers);
    return status;
}

UaStatus UaDiscovery::getEndpoints(ServiceSettings& settings, const UaString& discoveryUrl,
                                   ClientSecurityInfo& security, UaEndpointDescriptions& endpoints) {
    const UA_DataType& responseType = UA_TYPES[UA_TYPES_GETENDPOINTSRESPONSE];
    UA_GetEndpointsRequest request{};
    UA_GetEndpointsResponse response{};
    const UaStatus status = query(settings, discoveryUrl, request, UA_TYPES[UA_TYPES_GETENDPOINTSREQUEST],
                                  response, responseType);
    handOver(response, responseType, response.endpoints, response.endpointsSize, endpoints);
    security.setOffers(endpoints);
    return status;
}

} // namespace UaClientSdk
