#include "calls/service_call.h"

#include <cstddef>
#include <cstdint>

#include <open62541/types_generated_handling.h>

#include "encoding/type_id.h"

namespace UaClientSdk {
namespace {

UaStatus decodeFault(UaByteView body) {
    UA_ServiceFault fault{};
    const UaStatus decoded = decodeAnswer(body, UA_TYPES[UA_TYPES_SERVICEFAULT], anyNumber, &fault);
    const UaStatus told = fault.responseHeader.serviceResult;
    UA_ServiceFault_clear(&fault);
    if (decoded.isBad())
        return decoded;
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

bool isAboutRequest(UaStatus status) {
    switch (status.statusCode()) {
    case UA_STATUSCODE_BADNOTHINGTODO:
    case UA_STATUSCODE_BADREQUESTTOOLARGE:
    case UA_STATUSCODE_BADRESPONSETOOLARGE:
    case UA_STATUSCODE_BADENCODINGERROR:
    case UA_STATUSCODE_BADDECODINGERROR:
    case UA_STATUSCODE_BADENCODINGLIMITSEXCEEDED:
    case UA_STATUSCODE_BADREQUESTHEADERINVALID:
    case UA_STATUSCODE_BADREQUESTTYPEINVALID:
    case UA_STATUSCODE_BADSERVICEUNSUPPORTED:
    case UA_STATUSCODE_BADNOTSUPPORTED:
    case UA_STATUSCODE_BADNOTIMPLEMENTED:
    case UA_STATUSCODE_BADUSERACCESSDENIED:
    case UA_STATUSCODE_BADMAXAGEINVALID:
    case UA_STATUSCODE_BADTIMESTAMPSTORETURNINVALID:
    case UA_STATUSCODE_BADSUBSCRIPTIONIDINVALID:
    case UA_STATUSCODE_BADTOOMANYMONITOREDITEMS:
        return true;
    default:
        return isSessionGone(status);
    }
}

UaStatus decodeResponse(UaByteView body, const UA_DataType& type, std::size_t expectedResults, void* response,
                        AnswerOutcome& outcome) {
    const std::uint32_t typeId = readTypeId(body);
    if (isTypeId(typeId, UA_TYPES[UA_TYPES_SERVICEFAULT])) {
        outcome.isRefusal = true;
        return decodeFault(body);
    }
    if (!isTypeId(typeId, type))
        return UA_STATUSCODE_BADUNKNOWNRESPONSE;
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
