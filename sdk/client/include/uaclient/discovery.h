#pragma once

#include "uabase/arrays.h"
#include "uabase/status.h"
#include "uabase/string.h"
#include "uaclient/security_info.h"
#include "uaclient/service_settings.h"
#include "uastack/export.h"

namespace UaClientSdk {

/// Queries that need no session. Each call opens a connection of its own and closes it; the call time-out
/// bounds all of it, name resolution included.
class UASDK_EXPORT UaDiscovery {
public:
    UaDiscovery();
    ~UaDiscovery();

    /// OPC UA Part 4, 5.5.2.
    UaStatus findServers(ServiceSettings& settings, const UaString& discoveryUrl,
                         ClientSecurityInfo& security, UaApplicationDescriptions& servers);
    /// OPC UA Part 4, 5.5.4.
    UaStatus getEndpoints(ServiceSettings& settings, const UaString& discoveryUrl,
                          ClientSecurityInfo& security, UaEndpointDescriptions& endpoints);
};

} // namespace UaClientSdk
