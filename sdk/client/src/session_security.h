#pragma once

#include <memory>
#include <string>

#include <open62541/client.h>

#include "engine_client.h"
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
    /// Tells the trace which side ended the attempt, at which step, and what to look at.
    void explainFailure(const EngineClient::Failure& failure, UaStatus status) const;

private:
    /// A session without security or user lets the engine find its endpoint.
    bool isNeeded() const;
    bool matches(const UA_EndpointDescription& endpoint) const;
    bool showsDecidedCertificate(const UA_EndpointDescription& endpoint) const;
    const UA_UserTokenPolicy* chooseTokenPolicy(const UA_EndpointDescription& endpoint) const;
    UaString effectivePolicy(const UA_UserTokenPolicy& policy) const;
    UaStatus checkUser() const;
    UaStatus checkPasswordProtection() const;
    std::string offeredSecurity() const;
    std::string wantedSecurity() const;
    std::string userText() const;
    std::string hintFor(EngineClient::Step step) const;
    UaStatus setEndpoint(UA_ClientConfig& config) const;
    UaStatus setPolicies(UA_ClientConfig& config) const;
    UaStatus setIdentity(UA_ClientConfig& config) const;

    SessionSecurityInfo& m_info;
    const UaString& m_url;
    const UA_EndpointDescription* m_endpoint = nullptr;
    const UA_UserTokenPolicy* m_tokenPolicy = nullptr;
    /// Set where the engine shows a certificate that is not the one decided on; outlives this object there.
    std::shared_ptr<bool> m_refusedHere = std::make_shared<bool>(false);
};

} // namespace UaClientSdk
