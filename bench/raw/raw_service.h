#pragma once

#include <stdexcept>
#include <string>

#include <open62541/client.h>

namespace bench::raw {

constexpr UA_UInt32 timeoutMilliseconds = 10000;

inline void require(UA_StatusCode status, const char* operation) {
    if (status != UA_STATUSCODE_GOOD)
        throw std::runtime_error(std::string("raw ") + operation + ": " + UA_StatusCode_name(status));
}

/// The engine's views take no const; nothing is written through them.
inline UA_String view(const std::string& text) {
    UA_String result;
    result.length = text.size();
    result.data = reinterpret_cast<UA_Byte*>(const_cast<char*>(text.data()));
    return result;
}

/// The caller clears it.
inline UA_NodeId parsed(const std::string& text) {
    UA_NodeId id;
    require(UA_NodeId_parse(&id, view(text)), "node id");
    return id;
}

/// One service call; the caller clears the response.
template <typename Request, typename Response>
void call(UA_Client* client, Request& request, int requestType, Response& response, int responseType,
          const char* operation) {
    request.requestHeader.timeoutHint = timeoutMilliseconds;
    __UA_Client_Service(client, &request, &UA_TYPES[requestType], &response, &UA_TYPES[responseType]);
    require(response.responseHeader.serviceResult, operation);
}

} // namespace bench::raw
