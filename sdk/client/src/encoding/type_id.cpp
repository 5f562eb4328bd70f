#include "encoding/type_id.h"

#include <cstddef>
#include <cstdint>

#include "encoding/wire.h"

namespace UaClientSdk {
namespace {

// The forms of a numeric node id.
constexpr OpcUa_Byte twoBytes = 0;
constexpr OpcUa_Byte fourBytes = 1;
constexpr OpcUa_Byte numeric = 2;

} // namespace

void writeTypeId(OpcUa_Byte* target, const UA_DataType& type) {
    writeUInt32(target, fourBytes | type.binaryEncodingId.identifier.numeric << 16U);
}

std::uint32_t readTypeId(UaByteView& body) {
    const auto take = [&body](std::size_t length) {
        const OpcUa_Byte* const bytes = body.data;
        body = body.from(length);
        return bytes;
    };
    if (body.size >= 2 && body.data[0] == twoBytes)
        return take(2)[1];
    if (body.size >= 4 && body.data[0] == fourBytes && body.data[1] == 0)
        return readUInt32(take(4)) >> 16U;
    if (body.size >= 7 && body.data[0] == numeric && body.data[1] == 0 && body.data[2] == 0)
        return readUInt32(take(7) + 3);
    return 0;
}

} // namespace UaClientSdk
