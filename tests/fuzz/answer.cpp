// A server's answer to any service that a client calls: the first byte says which, the second how many
// results are expected (255: any number), the rest are the answer's bytes.

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <vector>

#include "encoding/answer_decoding.h"
#include "encoding/encoding_walk.h"
#include "fuzz_target.h"
#include "support/allocation_counter.h"
#include "uastack/status_code.h"

using namespace UaClientSdk;

namespace {

constexpr std::size_t serviceBytes = 2;
constexpr std::size_t noBound = static_cast<std::size_t>(-1) / 2;

const UA_DataType& responseType(std::uint8_t service) {
    constexpr std::uint16_t types[] = {
        UA_TYPES_SERVICEFAULT,
        UA_TYPES_OPENSECURECHANNELRESPONSE,
        UA_TYPES_CLOSESECURECHANNELRESPONSE,
        UA_TYPES_FINDSERVERSRESPONSE,
        UA_TYPES_GETENDPOINTSRESPONSE,
        UA_TYPES_CREATESESSIONRESPONSE,
        UA_TYPES_ACTIVATESESSIONRESPONSE,
        UA_TYPES_CLOSESESSIONRESPONSE,
        UA_TYPES_READRESPONSE,
        UA_TYPES_WRITERESPONSE,
        UA_TYPES_BROWSERESPONSE,
        UA_TYPES_BROWSENEXTRESPONSE,
        UA_TYPES_CREATESUBSCRIPTIONRESPONSE,
        UA_TYPES_DELETESUBSCRIPTIONSRESPONSE,
        UA_TYPES_CREATEMONITOREDITEMSRESPONSE,
        UA_TYPES_DELETEMONITOREDITEMSRESPONSE,
        UA_TYPES_PUBLISHRESPONSE,
        UA_TYPES_REPUBLISHRESPONSE,
    };
    return UA_TYPES[types[service % std::size(types)]];
}

class Response {
public:
    explicit Response(const UA_DataType& type) : m_type(type), m_value(UA_new(&type)) {}
    ~Response() { UA_delete(m_value, &m_type); }
    Response(const Response&) = delete;
    Response& operator=(const Response&) = delete;

    void* get() { return m_value; }
    std::vector<OpcUa_Byte> encoded() const {
        std::vector<OpcUa_Byte> bytes(UA_calcSizeBinary(m_value, &m_type));
        UA_ByteString target{bytes.size(), bytes.data()};
        require(!bytes.empty() && UA_encodeBinary(m_value, &m_type, &target) == UA_STATUSCODE_GOOD,
                "what is left can be encoded");
        return bytes;
    }

private:
    const UA_DataType& m_type;
    void* m_value;
};

bool engineDecodes(UaByteView bytes, const UA_DataType& type) {
    Response response(type);
    const UA_ByteString view{bytes.size, const_cast<OpcUa_Byte*>(bytes.data)};
    return UA_decodeBinary(&view, response.get(), &type, nullptr) == UA_STATUSCODE_GOOD;
}

/// What the walk says about a whole answer.
void checkWalk(UaByteView body, const UA_DataType& type, std::size_t memory) {
    EncodingWalk walk(body, noBound);
    for (std::size_t i = 0; i < type.membersSize; ++i) {
        const UA_DataTypeMember& member = type.members[i];
        require(member.isArray ? walk.array(*member.memberType) : walk.value(*member.memberType),
                "what was decoded can be walked over");
    }
    require(walk.memory() >= memory, "decoding takes no more memory than the walk says");
    if (walk.emptyMatrices().empty()) {
        require(engineDecodes(body.first(walk.position()), type), "the walk ends behind what is decoded");
        require(!engineDecodes(body.first(walk.position() - 1), type),
                "the walk goes no further than needed");
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < serviceBytes)
        return 0;
    const UA_DataType& type = responseType(data[0]);
    const std::size_t expected = data[1] == 255 ? anyNumber : data[1];
    const UaByteView body(data + serviceBytes, size - serviceBytes);
    Response response(type);
    UaStatus status;
    const std::size_t memory = test_support::bytesAllocatedDuring(
        [&] { status = decodeAnswer(body, type, expected, response.get()); });
    require(memory <= 6 * body.size + (std::size_t{12} << 20), "memory is bounded");
    const std::size_t encodedSize = response.encoded().size();
    if (status.isGood()) {
        checkWalk(body, type, memory);
        return 0;
    }
    require(status.statusCode() == OpcUa_BadDecodingError ||
                status.statusCode() == OpcUa_BadUnknownResponse ||
                status.statusCode() == OpcUa_BadEncodingLimitsExceeded,
            "an answer is refused for one of three reasons");
    require(encodedSize == Response(type).encoded().size(), "nothing but the header is left");
    return 0;
}
