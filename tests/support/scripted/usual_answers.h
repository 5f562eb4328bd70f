#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "support/scripted/call.h"
#include "support/scripted/publisher.h"

namespace scripted {

/// One way to prove who the user is (OPC UA Part 4, 7.42).
struct TokenOffer {
    std::string policyId = "anonymous";
    UA_UserTokenType type = UA_USERTOKENTYPE_ANONYMOUS;
    std::string policyUri = {};
};

/// One endpoint, with the server's certificate.
struct Offer {
    std::string policyUri = "http://opcfoundation.org/UA/SecurityPolicy#None";
    UA_MessageSecurityMode mode = UA_MESSAGESECURITYMODE_NONE;
    std::vector<TokenOffer> tokens = {TokenOffer()};
};

/// Replaces a list of endpoints by these.
void fillEndpoints(UA_EndpointDescription*& endpoints, std::size_t& size, const std::string& url,
                   const std::vector<Offer>& offers, const Bytes& certificate);

/// What a good server answers.
class UsualAnswers {
public:
    UsualAnswers(Server& server, Publisher& publisher) : m_server(server), m_publisher(publisher) {}

    Bytes bodyFor(const Call& call);

private:
    Bytes openSecureChannel(const Call& call);
    Bytes createSession(const Call& call);
    Bytes activateSession(const Call& call);
    Bytes read(const Call& call) const;
    Bytes createMonitoredItems(const Call& call);
    Bytes deleteMonitoredItems(const Call& call);
    Bytes deleteSubscriptions(const Call& call);
    Bytes republish(const Call& call);

    Server& m_server;
    Publisher& m_publisher;
    std::atomic<std::uint32_t> m_lastChannelId{0};
    std::atomic<std::uint32_t> m_lastTokenId{0};
    std::atomic<std::uint32_t> m_lastSessionId{0};
};

} // namespace scripted
