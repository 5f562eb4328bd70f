#pragma once

#include <filesystem>
#include <string>

#include <open62541/client.h>

namespace bench {

/// The certificate and key that a raw client shows, and the one server certificate that it trusts.
struct RawIdentity {
    std::string certificate; ///< DER
    std::string privateKey;  ///< PEM
    std::string applicationUri;
    std::string trustedServer; ///< DER
};

/// Asks the server for its endpoints and gives the configuration for Basic256Sha256 with SignAndEncrypt. Whom
/// to trust is told to the connection.
UA_ClientConfig securedConfiguration(const std::string& url, const RawIdentity& identity);

std::string contentOf(const std::filesystem::path& file);

} // namespace bench
