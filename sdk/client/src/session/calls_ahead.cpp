#include "session/calls_ahead.h"

#include <algorithm>

#include "uabase/trace.h"

namespace UaClientSdk {

void UaSession::Impl::sendAhead(Pipe::Series& series, const ServiceSettings& settings,
                                UA_RequestHeader& request, const UA_DataType& type,
                                std::size_t expectedResults) {
    if (!m_state.isUsable()) {
        series.refuse(UA_STATUSCODE_BADSERVERNOTCONNECTED, expectedResults);
        return;
    }
    request.authenticationToken = m_authenticationToken.raw();
    series.send(&request, type, Deadline(timeoutOf(settings)), expectedResults);
}

/// A request of several operations may have had too many by itself, which the next one need not have.
void UaSession::Impl::learnFrom(const Pipe::Series& series, std::size_t expectedResults, UaStatus status,
                                bool isRefusal, Window& window) {
    if (isRefusal && isOverload(status)) {
        window.refused(series.lastFlight());
        const bool byItself =
            status.statusCode() == UA_STATUSCODE_BADTOOMANYOPERATIONS && expectedResults > 1;
        if (!byItself) {
            m_requestsAhead = std::min<std::size_t>(m_requestsAhead, window.ceiling());
            UaTrace::write(UaTrace::Warnings, "session",
                           "the server has too much to do (%s): %zu requests at a time from now on",
                           status.name(), m_requestsAhead.load());
        }
    } else if (isRefusal || !status.isBad()) {
        window.answered(series.lastFlight());
    } else {
        window.late(series.lastFlight());
    }
}

} // namespace UaClientSdk
