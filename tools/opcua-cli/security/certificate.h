#pragma once

#include <string>
#include <vector>

namespace opcua_cli {

/// What a certificate says, as far as people compare it (RFC 5280).
struct Certificate {
    std::string commonName;
    std::string organization;
    std::string issuerCommonName;
    std::string applicationUri;
    std::vector<std::string> hostNames;
    std::string validFrom; ///< "2026-11-20T02:32:02Z"
    std::string validTo;
    std::string serialNumber; ///< hexadecimal
    std::string thumbprint;   ///< SHA-1, hexadecimal
};

/// Throws std::invalid_argument for what is no certificate.
Certificate certificateFromDer(const std::string& der);

/// The DER encoding of a certificate, or of the first one in a PEM text. Throws std::invalid_argument.
std::string derOf(const std::string& content);

} // namespace opcua_cli
