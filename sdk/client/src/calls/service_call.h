#pragma once

#include <cstddef>
#include <type_traits>

#include "calls/pipe.h"
#include "encoding/answer_decoding.h"
#include "socket/deadline.h"
#include "uabase/arrays.h"
#include "uabase/status.h"
#include "uaclient/service_settings.h"
#include "uastack/protocol_types.h"

namespace UaClientSdk {

/// What belongs to a service: its answer's type, and the descriptions of both.
template <typename Request>
struct Service;

template <typename ResponseType, int requestIndex, int responseIndex>
struct ServiceTypes {
    using Response = ResponseType;
    static const UA_DataType& requestType() { return UA_TYPES[requestIndex]; }
    static const UA_DataType& responseType() { return UA_TYPES[responseIndex]; }
};

template <>
struct Service<UA_FindServersRequest>
    : ServiceTypes<UA_FindServersResponse, UA_TYPES_FINDSERVERSREQUEST, UA_TYPES_FINDSERVERSRESPONSE> {};
template <>
struct Service<UA_GetEndpointsRequest>
    : ServiceTypes<UA_GetEndpointsResponse, UA_TYPES_GETENDPOINTSREQUEST, UA_TYPES_GETENDPOINTSRESPONSE> {};
template <>
struct Service<UA_CreateSessionRequest>
    : ServiceTypes<UA_CreateSessionResponse, UA_TYPES_CREATESESSIONREQUEST, UA_TYPES_CREATESESSIONRESPONSE> {
};
template <>
struct Service<UA_ActivateSessionRequest>
    : ServiceTypes<UA_ActivateSessionResponse, UA_TYPES_ACTIVATESESSIONREQUEST,
                   UA_TYPES_ACTIVATESESSIONRESPONSE> {};
template <>
struct Service<UA_CloseSessionRequest>
    : ServiceTypes<UA_CloseSessionResponse, UA_TYPES_CLOSESESSIONREQUEST, UA_TYPES_CLOSESESSIONRESPONSE> {};
template <>
struct Service<UA_ReadRequest> : ServiceTypes<UA_ReadResponse, UA_TYPES_READREQUEST, UA_TYPES_READRESPONSE> {
};
template <>
struct Service<UA_WriteRequest>
    : ServiceTypes<UA_WriteResponse, UA_TYPES_WRITEREQUEST, UA_TYPES_WRITERESPONSE> {};
template <>
struct Service<UA_BrowseRequest>
    : ServiceTypes<UA_BrowseResponse, UA_TYPES_BROWSEREQUEST, UA_TYPES_BROWSERESPONSE> {};
template <>
struct Service<UA_BrowseNextRequest>
    : ServiceTypes<UA_BrowseNextResponse, UA_TYPES_BROWSENEXTREQUEST, UA_TYPES_BROWSENEXTRESPONSE> {};
template <>
struct Service<UA_CreateSubscriptionRequest>
    : ServiceTypes<UA_CreateSubscriptionResponse, UA_TYPES_CREATESUBSCRIPTIONREQUEST,
                   UA_TYPES_CREATESUBSCRIPTIONRESPONSE> {};
template <>
struct Service<UA_DeleteSubscriptionsRequest>
    : ServiceTypes<UA_DeleteSubscriptionsResponse, UA_TYPES_DELETESUBSCRIPTIONSREQUEST,
                   UA_TYPES_DELETESUBSCRIPTIONSRESPONSE> {};
template <>
struct Service<UA_CreateMonitoredItemsRequest>
    : ServiceTypes<UA_CreateMonitoredItemsResponse, UA_TYPES_CREATEMONITOREDITEMSREQUEST,
                   UA_TYPES_CREATEMONITOREDITEMSRESPONSE> {};
template <>
struct Service<UA_DeleteMonitoredItemsRequest>
    : ServiceTypes<UA_DeleteMonitoredItemsResponse, UA_TYPES_DELETEMONITOREDITEMSREQUEST,
                   UA_TYPES_DELETEMONITOREDITEMSRESPONSE> {};
template <>
struct Service<UA_PublishRequest>
    : ServiceTypes<UA_PublishResponse, UA_TYPES_PUBLISHREQUEST, UA_TYPES_PUBLISHRESPONSE> {};
template <>
struct Service<UA_RepublishRequest>
    : ServiceTypes<UA_RepublishResponse, UA_TYPES_REPUBLISHREQUEST, UA_TYPES_REPUBLISHRESPONSE> {};

void clearAnswer(void* response, const UA_DataType& type);

/// How an answer turned out.
struct AnswerOutcome {
    /// The server said no in so many words.
    bool isRefusal = false;
    /// The server had begun to say something else, and broke that off with the reason.
    bool isBrokenOff = false;
    /// It is of the type that was asked for, and cannot be decoded.
    bool isUndecodable = false;
};

/// An answer with all that it holds, freed in the end.
template <typename Request>
struct Answer : Service<Request>::Response, AnswerOutcome {
    Answer() : Service<Request>::Response{} {}
    ~Answer() {
        clearAnswer(static_cast<typename Service<Request>::Response*>(this),
                    Service<Request>::responseType());
    }
    Answer(const Answer&) = delete;
    Answer& operator=(const Answer&) = delete;
};

/// Decodes type id and answer. The result is the service's own, unless there is no such answer:
/// BadUnknownResponse for one of another type or with another number of results, BadDecodingError for one
/// that cannot be decoded.
UaStatus decodeResponse(UaByteView body, const UA_DataType& type, std::size_t expectedResults, void* response,
                        AnswerOutcome& outcome);

/// Whether the server says that it does not know the session any more.
bool isSessionGone(UaStatus status);
/// Whether the server says no to what a request asks for, whatever else it has to do.
bool isAboutRequest(UaStatus status);

/// Who is to know of that.
class SessionLossListener {
public:
    virtual ~SessionLossListener() = default;
    virtual void sessionGone(UaStatus reason) = 0;
};

/// Decodes what it is given; for a call on this thread.
class ResponseDecoder : public AnswerReceiver {
public:
    ResponseDecoder(const UA_DataType& type, std::size_t expectedResults, void* response,
                    AnswerOutcome& outcome)
        : m_type(type), m_expectedResults(expectedResults), m_response(response), m_outcome(outcome) {}

    UaStatus answered(UaStatus status, UaByteView body) override {
        m_outcome.isBrokenOff = status.isBad();
        return status.isBad() ? status
                              : decodeResponse(body, m_type, m_expectedResults, m_response, m_outcome);
    }

private:
    const UA_DataType& m_type;
    const std::size_t m_expectedResults;
    void* const m_response;
    AnswerOutcome& m_outcome;
};

inline int timeoutOf(const ServiceSettings& settings) {
    return settings.callTimeout > 0 ? settings.callTimeout : ServiceSettings::defaultCallTimeout;
}

/// A request only borrows what it sends: it is encoded before the call returns.
template <typename Element>
Element* borrow(const UaProtocolArray<Element>& array) {
    return const_cast<Element*>(array.rawData());
}

/// Moves an array of an answer to its owner.
template <typename Element>
void take(Element*& elements, size_t& count, UaProtocolArray<Element>& target) {
    target.attach(static_cast<OpcUa_UInt32>(count), elements);
    elements = nullptr;
    count = 0;
}

/// The same for an array whose elements have a name of our own.
template <typename Raw, typename Element>
void take(Raw*& elements, size_t& count, UaProtocolArray<Element>& target) {
    static_assert(std::is_base_of_v<Raw, Element> && sizeof(Raw) == sizeof(Element),
                  "it is the engine's type");
    target.attach(static_cast<OpcUa_UInt32>(count), static_cast<Element*>(elements));
    elements = nullptr;
    count = 0;
}

/// One service call on this thread.
/// @param expectedResults  how many results the answer must have
template <typename Request>
UaStatus callService(Pipe& pipe, const Deadline& deadline, Request& request, Answer<Request>& answer,
                     std::size_t expectedResults = anyNumber) {
    typename Service<Request>::Response& response = answer;
    ResponseDecoder decoder(Service<Request>::responseType(), expectedResults, &response, answer);
    return pipe.call(&request, Service<Request>::requestType(), deadline, decoder);
}

} // namespace UaClientSdk
