#include "uaclient/discovery.h"

#include "standin.h"

using standin::script;

namespace UaClientSdk {

UaDiscovery::UaDiscovery() {
    script().record("UaDiscovery::UaDiscovery", this);
}
UaDiscovery::~UaDiscovery() = default;

UaStatus UaDiscovery::findServers(ServiceSettings& settings, const UaString& discoveryUrl,
                                  ClientSecurityInfo& security, UaApplicationDescriptions& servers) {
    const standin::DiscoveryRequest request{settings, discoveryUrl.text(), this, &security};
    script().record("UaDiscovery::findServers", this, request);
    servers.clear();
    return script().onFindServers ? script().onFindServers(request, servers) : UaStatus();
}

UaStatus UaDiscovery::getEndpoints(ServiceSettings& settings, const UaString& discoveryUrl,
                                   ClientSecurityInfo& security, UaEndpointDescriptions& endpoints) {
    const standin::DiscoveryRequest request{settings, discoveryUrl.text(), this, &security};
    script().record("UaDiscovery::getEndpoints", this, request);
    endpoints.clear();
    return script().onGetEndpoints ? script().onGetEndpoints(request, endpoints) : UaStatus();
}

} // namespace UaClientSdk
