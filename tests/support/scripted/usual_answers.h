#pragma once

#include <atomic>
#include <string>

#include "support/scripted/call.h"
#include "support/scripted/publisher.h"

namespace scripted {

/// What a good server answers.
class UsualAnswers {
public:
    UsualAnswers(const std::string& url, Publisher& publisher) : m_url(url), m_publisher(publisher) {}

    Bytes bodyFor(const Call& call);

private:
    Bytes openSecureChannel(const Call& call);
    Bytes createSession(const Call& call);
    Bytes read(const Call& call) const;
    Bytes createMonitoredItems(const Call& call);
    Bytes deleteMonitoredItems(const Call& call);
    Bytes deleteSubscriptions(const Call& call);
    Bytes republish(const Call& call);

    const std::string& m_url;
    Publisher& m_publisher;
    std::atomic<std::uint32_t> m_lastChannelId{0};
    std::atomic<std::uint32_t> m_lastTokenId{0};
    std::atomic<std::uint32_t> m_lastSessionId{0};
};

/// An endpoint as the server announces it: without security, for anonymous users.
void fillEndpoint(UA_EndpointDescription& endpoint, const std::string& url);

} // namespace scripted
