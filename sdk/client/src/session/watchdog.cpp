#include "session/watchdog.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <utility>

#include "calls/service_call.h"
#include "uabase/trace.h"

namespace UaClientSdk {
namespace {

/// There are servers that lose a question: another is asked then, or a silence would never end.
constexpr std::chrono::seconds readAnswerLimit(10);
/// Until somebody has read what has arrived.
constexpr std::chrono::milliseconds soon(20);

/// Whether the server says that this connection serves no session, which the next moment may disprove.
bool isOfNoUse(UaStatus status) {
    return status.statusCode() == UA_STATUSCODE_BADSESSIONNOTACTIVATED ||
           status.statusCode() == UA_STATUSCODE_BADSECURECHANNELIDINVALID ||
           status.statusCode() == UA_STATUSCODE_BADSECURECHANNELCLOSED ||
           status.statusCode() == UA_STATUSCODE_BADSECURECHANNELTOKENUNKNOWN;
}

} // namespace

class Watchdog::ProbeAnswer : public AnswerReceiver {
public:
    explicit ProbeAnswer(std::shared_ptr<Watchdog> watchdog) : m_watchdog(std::move(watchdog)) {}
    UaStatus answered(UaStatus status, UaByteView body) override {
        m_watchdog->m_asked = false;
        if (!status.isBad())
            m_watchdog->answered(body);
        return status;
    }

private:
    const std::shared_ptr<Watchdog> m_watchdog;
};

Clock::time_point Watchdog::keepHouse(Pipe& pipe) {
    const Clock::time_point now = Clock::now();
    if (now >= m_nextProbe) {
        pipe.giveUpPosted(now - readAnswerLimit);
        m_nextProbe = now + m_times.interval;
        m_probeIsDue = true;
    }
    if (m_probeIsDue)
        probe(pipe);
    return std::min(m_nextProbe, judge(pipe, now));
}

void Watchdog::probe(Pipe& pipe) {
    m_probeIsDue = false;
    if (m_asked)
        return;
    UA_ReadValueId node{};
    node.nodeId = UA_NODEID_NUMERIC(0, UA_NS0ID_SERVER_SERVERSTATUS_STATE);
    node.attributeId = UA_ATTRIBUTEID_VALUE;
    UA_ReadRequest request{};
    request.requestHeader.authenticationToken = m_authenticationToken.raw();
    request.nodesToRead = &node;
    request.nodesToReadSize = 1;
    m_asked = true;
    const UaStatus status =
        pipe.post(&request, Service<UA_ReadRequest>::requestType(), Deadline(Pipe::postLimit),
                  Pipe::Answered::Soon, std::make_shared<ProbeAnswer>(shared_from_this()));
    if (status.isBad()) {
        m_asked = false;
        m_probeIsDue = status.statusCode() == UA_STATUSCODE_BADWOULDBLOCK;
    }
}

void Watchdog::answered(UaByteView body) {
    Answer<UA_ReadRequest> answer;
    UA_ReadResponse& response = answer;
    const UaStatus status =
        decodeResponse(body, Service<UA_ReadRequest>::responseType(), 1, &response, answer);
    if (answer.isRefusal)
        refused(status);
    else
        m_isRefused = m_isOfNoUse = false;
    if (status.isBad() || !UA_Variant_hasScalarType(&answer.results[0].value, &UA_TYPES[UA_TYPES_INT32]))
        return;
    const auto serverState = *static_cast<const UA_Int32*>(answer.results[0].value.data);
    m_state.setServerShutdown(serverState == UA_SERVERSTATE_SHUTDOWN);
}

void Watchdog::refused(UaStatus status) {
    const bool isSecond = m_isOfNoUse.exchange(isOfNoUse(status));
    if (isSessionGone(status) || (isSecond && isOfNoUse(status))) {
        m_listener.sessionGone(status);
    } else if (!m_isRefused.exchange(true)) {
        UaTrace::write(UaTrace::Warnings, "session", "the server refuses to tell its state: %s",
                       status.name());
    }
}

Clock::time_point Watchdog::judge(Pipe& pipe, Clock::time_point now) {
    if (m_state.isSilent())
        return Clock::time_point::max();
    const auto halfPatience = m_times.patience / 2;
    const Clock::time_point asked = pipe.oldestUnanswered();
    if (asked == Clock::time_point::max())
        return now + halfPatience; // nobody tells when something is asked
    const Clock::time_point heard = pipe.lastHeard();
    // A server that takes in a long request is there, whatever else it has not got yet.
    const Clock::time_point quietSince = std::max({asked, heard, pipe.lastTook(), m_notBefore});
    const Clock::time_point limit = quietSince + m_times.patience;
    if (now < limit) {
        // One call that takes its time says nothing about a server that answers others.
        const Clock::time_point doubt = quietSince + halfPatience;
        if (now >= doubt)
            probe(pipe);
        return now < doubt ? doubt : limit;
    }
    if (pipe.channel().socket().isReadable())
        return now + soon;
    UaTrace::write(UaTrace::Errors, "session", "no sign of the server for %lld ms",
                   static_cast<long long>(std::chrono::ceil<std::chrono::milliseconds>(now - heard).count()));
    m_state.setSilent(true);
    if (pipe.lastHeard() != heard) // whoever has heard it may have looked before
        m_state.setSilent(false);
    return Clock::time_point::max();
}

} // namespace UaClientSdk
