#include "session/calls_ahead.h"

#include <cstddef>

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

void UaSession::Impl::learnFrom(const Pipe::Series& series, std::size_t expectedResults, UaStatus status,
                                bool isRefusal, Window& window) {
    const Window::Flight& flight = series.lastFlight();
    // A request of several operations may have had too many by itself, which the next one need not have.
    const bool byItself = status.statusCode() == UA_STATUSCODE_BADTOOMANYOPERATIONS && expectedResults > 1;
    if (!status.isBad()) {
        window.answered(flight);
    } else if (isRefusal && !byItself) {
        if (!isAboutRequest(status) && window.refused(flight)) {
            UaTrace::write(UaTrace::Warnings, "session",
                           "the server said no (%s) to one of %zu requests on their way: %zu from now on",
                           status.name(), flight.together, window.ceiling());
        }
    } else if (status.statusCode() == UA_STATUSCODE_BADTIMEOUT) {
        if (window.unanswered(flight)) {
            UaTrace::write(UaTrace::Warnings, "session",
                           "the server left out one of %zu requests on their way: %zu from now on",
                           flight.together, window.ceiling());
        }
    } else {
        window.late(flight);
    }
}

void UaSession::Impl::learnFrom(const Window& window) {
    m_requestsAhead.learnFrom(window);
    if (window.wasUnanswered() && window.ceiling() == 1)
        m_lostAhead = true;
}

} // namespace UaClientSdk
