#pragma once

#include <open62541/server.h>
#include <string>

namespace plant_server {

struct SecurityOptions {
    bool enabled = false;
    bool legacy = false;     ///< the two policies that are no longer safe, too
    std::string pki;         ///< folder that keeps the server's own certificate and key from start to start
    std::string certificate; ///< file to present instead of an own certificate
    std::string privateKey;  ///< belongs to it
    std::string trustedClients; ///< folder of certificates; every client is trusted when empty
    std::string trustedUsers;   ///< folder of certificates; every user certificate is trusted when empty
};

/// Adds security policies, endpoints, and the trust in certificates. Throws std::runtime_error with the
/// reason when a certificate cannot be made, read or used. The application URI must be in the configuration
/// before; `host` is named in a certificate that is made.
void secure(UA_ServerConfig& config, const SecurityOptions& options, const std::string& host);

} // namespace plant_server
