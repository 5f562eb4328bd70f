#pragma once

#include <chrono>
#include <cstddef>

#include "session/session_impl.h"

namespace UaClientSdk {

/// Of a session that was never connected.
template <typename Request, typename Next, typename Answered>
void refuseAll(Next&& next, Answered&& answered) {
    bool goesOn = true;
    while (goesOn) {
        Request request{};
        Answer<Request> answer;
        std::size_t results = anyNumber;
        goesOn = next(request, results) && answered(UA_STATUSCODE_BADSERVERNOTCONNECTED, answer, results);
    }
}

template <typename Request, typename Next, typename Answered>
void UaSession::Impl::callAhead(const ServiceSettings& settings, Next&& next, Answered&& answered) {
    if (m_pipe == nullptr) {
        refuseAll<Request>(next, answered);
        return;
    }
    Window window(m_requestsAhead.current(), std::chrono::milliseconds(timeoutOf(settings)));
    Pipe::Series series(*m_pipe, window);
    bool goesOn = true;
    for (bool more = true; goesOn && (more || !series.isEmpty());) {
        while (more && series.hasRoom()) {
            Request request{};
            std::size_t results = anyNumber;
            more = next(request, results);
            if (more)
                sendAhead(series, settings, request.requestHeader, Service<Request>::requestType(), results);
        }
        if (!series.isEmpty()) {
            const std::size_t results = series.expectedResults();
            Answer<Request> answer;
            typename Service<Request>::Response& response = answer;
            ResponseDecoder decoder(Service<Request>::responseType(), results, &response, answer);
            const UaStatus status = series.await(decoder);
            noteSessionLoss(status, answer);
            learnFrom(series, results, status, answer.isRefusal, window);
            goesOn = answered(status, answer, results);
        }
    }
    learnFrom(window);
}

} // namespace UaClientSdk
