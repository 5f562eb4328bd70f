#include "uaclient/discovery.h"

#include <cstdint>
#include <utility>

#include "calls/service_call.h"
#include "channel/open_channel.h"
#include "session/security_material.h"

namespace UaClientSdk {
namespace {

/// Discovery needs no renewal.
constexpr std::uint32_t channelLifetime = 600000; // ms

template <typename Request>
UaStatus query(const ServiceSettings& settings, const UaString& url, Request& request,
               Answer<Request>& answer) {
    const Deadline deadline(timeoutOf(settings));
    UaStatus status;
    ChannelFailure failure;
    auto channel = openChannel(url, ChannelSecurity(), channelLifetime, deadline, status, failure);
    if (channel == nullptr)
        return status;
    Pipe pipe(std::move(channel));
    request.endpointUrl = url.view();
    return callService(pipe, deadline, request, answer);
}

} // namespace

UaDiscovery::UaDiscovery() = default;
UaDiscovery::~UaDiscovery() = default;

UaStatus UaDiscovery::findServers(ServiceSettings& settings, const UaString& discoveryUrl,
                                  ClientSecurityInfo&, UaApplicationDescriptions& servers) {
    UA_FindServersRequest request{};
    Answer<UA_FindServersRequest> answer;
    const UaStatus status = query(settings, discoveryUrl, request, answer);
    take(answer.servers, answer.serversSize, servers);
    return status;
}

UaStatus UaDiscovery::getEndpoints(ServiceSettings& settings, const UaString& discoveryUrl,
                                   ClientSecurityInfo& security, UaEndpointDescriptions& endpoints) {
    UA_GetEndpointsRequest request{};
    Answer<UA_GetEndpointsRequest> answer;
    const UaStatus status = query(settings, discoveryUrl, request, answer);
    take(answer.endpoints, answer.endpointsSize, endpoints);
    security.setOffers(endpoints);
    return status;
}

} // namespace UaClientSdk
