#include "security/connect_security.h"

#include "client/opcua_client.h"
#include "client/text_field.h"
#include "security/password.h"
#include "security/security_policy.h"
#include "security/server_trust.h"
#include "uabase/trace.h"
#include "uaclient/discovery.h"
#include "uapki/security_policy.h"

using namespace UaClientSdk;

namespace {

// Kinds of user identity; any other is anonymous.
constexpr int byPassword = 1;
constexpr int byCertificate = 2;

} // namespace

bool asksForSecurity(const _OpcUaClientConfig& config) {
    return config.securityPolicy != 0 || config.securityMode != 0 || config.userIdentity != 0;
}

void setEndpoint(const _OpcUaClientConfig& config, const OpcUa_ByteString& serverCertificate,
                 SessionSecurityInfo& securityInfo) {
    securityInfo.serverCertificate = UaByteString(serverCertificate);
    if (const UaPkiSecurityPolicy* policy = UaPkiSecurityPolicy::numbered(config.securityPolicy))
        securityInfo.securityPolicyUri = UaString(policy->uri);
    if (config.securityMode >= 0 && config.securityMode <= 2)
        securityInfo.messageSecurityMode = messageSecurityMode(config.securityMode);
}

int prepareSecurity(const _OpcUaClientConfig& config, const UaString& url, Configuration& configuration,
                    void* callback, SessionSecurityInfo& securityInfo, LastError& error) {
    if (const int code = configuration.setupSecurity(securityInfo))
        return error.fail({code, result::clientCertificateText});
    UaEndpointDescriptions endpoints;
    ServiceSettings settings;
    const UaStatus queried = UaDiscovery().getEndpoints(settings, url, securityInfo, endpoints);
    if (queried.isNotGood() || endpoints.length() == 0) {
        UaTrace::write(UaTrace::Errors, "connect", "%s told no endpoint: %s", url.toUtf8(), queried.name());
        return error.fail(result::getEndpointsFailed);
    }
    // The first endpoint stands for the server: its certificate is the one that is decided on, whatever its
    // policy.
    setEndpoint(config, endpoints[0].serverCertificate, securityInfo);
    if (const int code = decideOnServer(securityInfo, callback, configuration.CertificateTrustListLocation))
        return error.fail({code, result::serverCertificateText});
    return result::success;
}

int setUserIdentity(const _OpcUaClientConfig& config, Configuration& configuration,
                    SessionSecurityInfo& securityInfo, LastError& error) {
    const UaString userName = toUaString(fieldText(config.userName));
    if (config.userIdentity == byPassword) {
        securityInfo.setUserPasswordUserIdentity(userName, Password(config).text());
    } else if (config.userIdentity == byCertificate) {
        configuration.userCertificateName = userName;
        if (const int code = configuration.loadUserCertificate())
            return error.fail({code, result::userCertificateText});
        securityInfo.setCertificateUserIdentity(configuration.userCertificateData,
                                                configuration.userPrivateKeyData);
        configuration.userPrivateKeyData.wipe();
    } else {
        securityInfo.setAnonymousUserIdentity();
    }
    return result::success;
}

void traceUserCertificate(const _OpcUaClientConfig& config, const Configuration& configuration) {
    if (config.userIdentity == byCertificate) {
        UaTrace::write(UaTrace::Errors, "security", "the user's certificate and key came from %s and %s",
                       configuration.UserCertificate.toUtf8(), configuration.UserPrivateKey.toUtf8());
    }
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the signature is part of the binary interface
void COpcUaClient::SetEndpointMsg(_OpcUaClientConfig& config, _OpcUa_ByteString serverCertificate,
                                  SessionSecurityInfo& securityInfo) {
    setEndpoint(config, serverCertificate, securityInfo);
}
