#include "encoding/answer_decoding.h"

#include <cstring>
#include <vector>

#include "encoding/encoding_walk.h"

namespace UaClientSdk {
namespace {

// Beside what is decoded there are the message and the chunks that it came in. Together they are to stay
// below 8 times the message and 16 MiB.
constexpr std::size_t memoryPerByte = 6;
constexpr std::size_t memoryAllowance = std::size_t{12} << 20;

// OPC UA Part 4, 7.33: a response begins with its time, the request's handle and the service's result.
constexpr std::size_t handlePosition = 8;
constexpr std::size_t resultPosition = 12;
constexpr std::size_t resultEnd = 16;

OpcUa_UInt32 numberAt(UaByteView body, std::size_t position) {
    OpcUa_UInt32 number = 0;
    std::memcpy(&number, body.data + position, sizeof number);
    return number;
}

bool serviceFailed(UaByteView body) {
    return body.size >= resultEnd && OpcUa_IsBad(numberAt(body, resultPosition));
}

/// In every response that has results they are its last member but one, and the last are the diagnostics that
/// go with them.
bool isResults(const UA_DataType& type, std::size_t index) {
    return index + 2 == type.membersSize && type.members[index].isArray && type.members[index + 1].isArray &&
           type.members[index + 1].memberType == &UA_TYPES[UA_TYPES_DIAGNOSTICINFO];
}

UaStatus check(EncodingWalk& walk, const UA_DataType& type, std::size_t expectedResults) {
    for (std::size_t i = 0; i < type.membersSize; ++i) {
        const UA_DataTypeMember& member = type.members[i];
        if (expectedResults != anyNumber && isResults(type, i) &&
            walk.nextLength().value_or(expectedResults) != expectedResults) {
            return OpcUa_BadUnknownResponse;
        }
        if (!(member.isArray ? walk.array(*member.memberType) : walk.value(*member.memberType)))
            return walk.failure();
    }
    return OpcUa_Good;
}

UaStatus decodeBytes(UaByteView body, const UA_DataType& type, void* response) {
    const UA_ByteString bytes{body.size, const_cast<OpcUa_Byte*>(body.data)};
    const OpcUa_StatusCode code = UA_decodeBinary(&bytes, response, &type, nullptr);
    return code == OpcUa_Good || code == OpcUa_BadOutOfMemory ? code : OpcUa_BadDecodingError;
}

UaStatus decode(UaByteView body, const UA_DataType& type, const std::vector<EmptyMatrix>& emptyMatrices,
                void* response) {
    if (emptyMatrices.empty())
        return decodeBytes(body, type, response);
    const std::vector<OpcUa_Byte> disguised = disguiseEmptyMatrices(body, emptyMatrices);
    const UaStatus status = decodeBytes({disguised.data(), disguised.size()}, type, response);
    if (status.isGood())
        restoreEmptyMatrices(body, emptyMatrices, type, response);
    return status;
}

void keepHeaderAlone(UaByteView body, const UA_DataType& type, void* response) {
    UA_clear(response, &type);
    UA_init(response, &type);
    if (body.size >= resultEnd) {
        auto& header = *static_cast<UA_ResponseHeader*>(response);
        header.requestHandle = numberAt(body, handlePosition);
        header.serviceResult = numberAt(body, resultPosition);
    }
}

} // namespace

UaStatus decodeAnswer(UaByteView body, const UA_DataType& type, std::size_t expectedResults, void* response) {
    EncodingWalk walk(body, memoryPerByte * body.size + memoryAllowance);
    UaStatus status = check(walk, type, serviceFailed(body) ? anyNumber : expectedResults);
    if (status.isGood())
        status = decode(body, type, walk.emptyMatrices(), response);
    if (status.isNotGood())
        keepHeaderAlone(body, type, response);
    return status;
}

} // namespace UaClientSdk
