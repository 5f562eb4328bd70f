#pragma once

#include <string>

#include <open62541/server.h>

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

/// Adds security policies. Throws std::runtime_error with the reason when a certificate cannot be made, read
/// or used. The application URI must be in the configuration before; `host` is named in a certificate that is
/// made.
void secure(UA_ServerConfig& config, const SecurityOptions& options, const std::string& host);

/// Sets whose certificates a server trusts. `config` is the server's own, where it stays: up to 1.4.11 the
/// stack keeps a pointer into it. Throws std::runtime_error with the reason when a folder cannot be used.
void setTrust(UA_ServerConfig& config, const SecurityOptions& options);

} // namespace plant_server
