#pragma once

#include <array>
#include <string>
#include <vector>

#include "channel/channel_security.h"
#include "session/connect_failure.h"
#include "session/endpoint_offers.h"
#include "session/user_token.h"
#include "uabase/status.h"
#include "uabase/string.h"
#include "uaclient/security_info.h"

namespace UaClientSdk {

/// Decides how a session is secured and what of its secrets a server gets: exactly the endpoint, policy,
/// certificate and identity that were decided on, and no other, so that nothing can fall back. Every refusal
/// goes to the trace with its reason. One object serves one attempt to connect.
class SessionSecurity {
public:
    /// Both outlive this object.
    SessionSecurity(SessionSecurityInfo& info, const UaString& url) : m_info(info), m_url(url) {}
    SessionSecurity(const SessionSecurity&) = delete;
    SessionSecurity& operator=(const SessionSecurity&) = delete;

    /// Checks that the server offers what is asked for and that its certificate may be used.
    UaStatus prepare();
    /// How the channel is to be opened; prepare() has succeeded.
    ChannelSecurity channelSecurity() const;
    /// Fills in a new nonce, the client's certificate and the URL. They point into this object.
    UaStatus fill(UA_CreateSessionRequest& request);
    /// Checks what the server answered before any secret goes out.
    UaStatus check(const UA_CreateSessionResponse& response);
    /// Fills in the client's signature, the user's token and its signature; the answer has been checked. They
    /// point into this object and into the session's security info.
    UaStatus fill(UA_ActivateSessionRequest& request, const UA_CreateSessionResponse& response);
    /// Tells the trace which side ended the attempt, at which step, and what to look at. What was refused by
    /// this object has been told already.
    void explainFailure(ConnectFailure failure, UaStatus status) const;

private:
    using User = SessionSecurityInfo::User;

    /// A session without security or user takes what the server has.
    bool isNeeded() const;
    bool isChannelSecured() const { return !m_policy->isNone(); }
    /// Whether the password is for everybody on the line to read.
    bool isPasswordReadable() const;
    bool isTokenProtected() const;

    UaStatus checkRequest();
    UaStatus checkServerCertificate();
    UaStatus choose();
    UaStatus openKeys();
    UaStatus checkUser() const;
    UaStatus openServerKey(const UaPkiSecurityPolicy& policy, const std::string& use,
                           UaPkiPeerKey& key) const;

    UaStatus checkAnswer(const UA_CreateSessionResponse& response) const;
    UaStatus checkNonce(const UA_ByteString& nonce) const;
    UaStatus checkShownCertificate(const UA_ByteString& shown) const;
    UaStatus checkSignature(const UA_ByteString& signature) const;
    UaStatus checkEndpoints(const EndpointOffers& ofSession) const;

    void makeAnonymousToken(const EndpointOffers& ofSession);
    UaStatus makeToken(const UA_ByteString& nonce);
    UaStatus sign(UA_ActivateSessionRequest& request, const UA_ByteString& nonce);

    UaStatus refuseNotOffered() const;
    UaStatus refuseOtherCertificate(const std::string& where, const UA_ByteString& certificate) const;
    WantedSecurity wanted() const { return {m_info.securityPolicyUri, m_info.messageSecurityMode}; }
    EndpointOffers offers() const { return m_info.material().offers; }
    std::string offeredSecurity() const;
    std::string serverText() const;
    std::string userText() const;
    std::string hintFor(ConnectFailure::Step step) const;

    SessionSecurityInfo& m_info;
    const UaString& m_url;
    const UaPkiSecurityPolicy* m_policy = &UaPkiSecurityPolicy::none();
    EndpointChoice m_choice;
    UaPkiOwnKey m_ownKey;
    UaPkiPeerKey m_serverKey;      ///< as the channel's policy uses it
    UaPkiPeerKey m_serverTokenKey; ///< as the token's policy uses it
    std::array<OpcUa_Byte, 32> m_nonce{};
    std::vector<OpcUa_Byte> m_signature;
    UserToken m_token;
    /// Whether the last refusal was this object's own, and has been told.
    bool m_refusedHere = false;
};

} // namespace UaClientSdk
