#pragma once

#include <open62541/client.h>

#include "uabase/status.h"
#include "uabase/string.h"
#include "uaclient/security_info.h"

namespace UaClientSdk {

/// Gives the engine what a session with security, or with a user, needs: exactly the endpoint, policy,
/// certificate and identity that were decided on, and no other, so that nothing can fall back. Every refusal
/// goes to the trace with its reason.
class SessionSecurity {
public:
    SessionSecurity(SessionSecurityInfo& info, const UaString& url) : m_info(info), m_url(url) {}

    /// Checks that the server offers what is asked for and that its certificate may be used.
    UaStatus prepare();
    /// Fills a configuration; prepare() has succeeded.
    UaStatus configure(UA_ClientConfig& config) const;

private:
    /// A session without security or user lets the engine find its endpoint.
    bool isNeeded() const;
    bool matches(const UA_EndpointDescription& endpoint) const;
    bool showsDecidedCertificate(const UA_EndpointDescription& endpoint) const;
    const UA_UserTokenPolicy* chooseTokenPolicy(const UA_EndpointDescription& endpoint) const;
    UaString effectivePolicy(const UA_UserTokenPolicy& policy) const;
    UaStatus checkPasswordProtection() const;
    UaStatus setEndpoint(UA_ClientConfig& config) const;
    UaStatus setPolicies(UA_ClientConfig& config) const;
    UaStatus setIdentity(UA_ClientConfig& config) const;

    SessionSecurityInfo& m_info;
    const UaString& m_url;
    const UA_EndpointDescription* m_endpoint = nullptr;
    const UA_UserTokenPolicy* m_tokenPolicy = nullptr;
};

} // namespace UaClientSdk
