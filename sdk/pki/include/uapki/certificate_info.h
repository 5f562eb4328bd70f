#pragma once

#include <vector>

#include "uabase/string.h"
#include "uastack/protocol_types.h"

/// What a certificate says besides its names: the subject alternative name (RFC 5280, 4.2.1.6; OPC UA Part 6,
/// 6.2.2) and how long it holds.
struct UaPkiCertificateInfo {
    /// The application URI. Of a certificate with several URIs, the first.
    UaString uri;
    /// Numeric IPv4 and IPv6 addresses.
    std::vector<UaString> ipAddresses;
    std::vector<UaString> dnsNames;
    UaString email;
    /// Seconds from the start of validity to its end.
    OpcUa_Int64 validTime = 0;
    /// A new certificate's validity starts this many seconds before it is made. 0 when read from a
    /// certificate.
    OpcUa_UInt32 backdateTime = 0;
    /// A new certificate authority may have this many authorities below it. 0 when read from a certificate.
    OpcUa_UInt32 pathLength = 0;
};
