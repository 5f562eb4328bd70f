#include "calls/service_call.h"

#include "encoding/type_id.h"

#include <open62541/types_generated_handling.h>

namespace UaClientSdk {
namespace {

/// OPC UA Part 6, A.2; the engine has no name for it.
constexpr OpcUa_StatusCode badServerTooBusy = 0x80EE0000;

UaStatus decodeFault(UaByteView body) {
    UA_ServiceFault fault{};
    const UaStatus decoded = decodeAnswer(body, UA_TYPES[UA_TYPES_SERVICEFAULT], anyNumber, &fault);
    const UaStatus told = fault.responseHeader.serviceResult;
    UA_ServiceFault_clear(&fault);
    if (decoded.isBad()) {
        return decoded;
    }
    return told.isBad() ? told : UaStatus(UA_STATUSCODE_BADUNKNOWNRESPONSE);
}

} // namespace

void clearAnswer(void* response, const UA_DataType& type) {
    UA_clear(response, &type);
}

bool isSessionGone(UaStatus status) {
    return status.statusCode() == UA_STATUSCODE_BADSESSIONIDINVALID ||
           status.statusCode() == UA_STATUSCODE_BADSESSIONCLOSED;
}

bool isOverload(UaStatus status) {
    switch (status.statusCode()) {
    case UA_STATUSCODE_BADTOOMANYOPERATIONS:
    case UA_STATUSCODE_BADTCPSERVERTOOBUSY:
    case badServerTooBusy:
    case UA_STATUSCODE_BADRESOURCEUNAVAILABLE:
    case UA_STATUSCODE_BADTCPNOTENOUGHRESOURCES:
    case UA_STATUSCODE_BADOUTOFMEMORY:
        return true;
    default:
        return false;
    }
}

UaStatus decodeResponse(UaByteView body, const UA_DataType& type, std::size_t expectedResults, void* response,
                        AnswerOutcome& outcome) {
    const std::uint32_t typeId = readTypeId(body);
    if (isTypeId(typeId, UA_TYPES[UA_TYPES_SERVICEFAULT])) {
        outcome.isRefusal = true;
        return decodeFault(body);
    }
    if (!isTypeId(typeId, type)) {
        return UA_STATUSCODE_BADUNKNOWNRESPONSE;
    }
    const UaStatus status = decodeAnswer(body, type, expectedResults, response);
    if (status.isBad()) {
        outcome.isUndecodable = status.statusCode() != UA_STATUSCODE_BADUNKNOWNRESPONSE;
        return status;
    }
    const UaStatus told = static_cast<const UA_ResponseHeader*>(response)->serviceResult;
    outcome.isRefusal = told.isBad();
    return told;
}

} // namespace UaClientSdk
