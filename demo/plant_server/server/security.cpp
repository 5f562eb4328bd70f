#include "server/security.h"

#include <filesystem>
#include <stdexcept>
#include <string>

#include <open62541/plugin/pki_default.h>
#include <open62541/server_config_default.h>

#include "nodes/node_id.h"
#include "nodes/status.h"
#include "server/own_certificate.h"

namespace plant_server {
namespace {

using AddPolicy = UA_StatusCode (*)(UA_ServerConfig*, const UA_ByteString* certificate,
                                    const UA_ByteString* privateKey);

struct Policy {
    AddPolicy add;
    bool legacy;
};

/// In the order in which clients see them.
constexpr Policy policies[] = {{UA_ServerConfig_addSecurityPolicyBasic256Sha256, false},
                               {UA_ServerConfig_addSecurityPolicyAes128Sha256RsaOaep, false},
                               {UA_ServerConfig_addSecurityPolicyAes256Sha256RsaPss, false},
                               {UA_ServerConfig_addSecurityPolicyBasic256, true},
                               {UA_ServerConfig_addSecurityPolicyBasic128Rsa15, true}};

UA_StatusCode accept(const UA_CertificateVerification*, const UA_ByteString*) {
    return UA_STATUSCODE_GOOD;
}

/// The stack refuses to start with a certificate that names another application: what clients make of such a
/// server is for them to show.
UA_StatusCode acceptOwnUri(const UA_CertificateVerification*, const UA_ByteString*, const UA_String*) {
    return UA_STATUSCODE_GOOD;
}

/// The folder is read anew for each certificate, so a file that is added counts at once.
void trust(UA_CertificateVerification& verification, const std::string& folder) {
    // A trust in folders lacks the function that tells a certificate's subject: it stays from this one.
    require(UA_CertificateVerification_Trustlist(&verification, nullptr, 0, nullptr, 0, nullptr, 0),
            "set the trust in certificates up");
    verification.verifyCertificate = accept;
    if (folder.empty())
        return;
    if (!std::filesystem::is_directory(folder))
        throw std::runtime_error(folder + " is no folder");
    require(UA_CertificateVerification_CertFolders(&verification, folder.c_str(), nullptr, nullptr),
            "trust the certificates in " + folder);
}

} // namespace

void secure(UA_ServerConfig& config, const SecurityOptions& options, const std::string& host) {
    const OwnCertificate own =
        ownCertificate(options, text(config.applicationDescription.applicationUri), host);
    const UA_ByteString certificate = view(own.chain);
    const UA_ByteString privateKey = view(own.privateKey);
    for (const Policy& policy : policies)
        if (!policy.legacy || options.legacy)
            require(policy.add(&config, &certificate, &privateKey), "use the server's certificate and key");
}

void setTrust(UA_ServerConfig& config, const SecurityOptions& options) {
    trust(config.secureChannelPKI, options.trustedClients);
    config.secureChannelPKI.verifyApplicationURI = acceptOwnUri;
    trust(config.sessionPKI, options.trustedUsers);
}

} // namespace plant_server
