#pragma once

#include <cstdint>
#include <string>

#include "uabase/status.h"
#include "uabase/string.h"

namespace UaClientSdk {

/// What an "opc.tcp://host:port/path" names (OPC UA Part 6, 7.4). An IPv6 address stands in brackets; without
/// a port it is 4840.
struct EndpointUrl {
    std::string host;
    std::uint16_t port = 4840;

    /// BadTcpEndpointUrlInvalid for anything else, and for any control character.
    static UaStatus parse(const UaString& url, EndpointUrl& result);
};

} // namespace UaClientSdk
