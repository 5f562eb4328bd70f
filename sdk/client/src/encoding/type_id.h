#pragma once

#include <cstddef>
#include <cstdint>

#include "uabase/byte_view.h"
#include "uastack/protocol_types.h"

namespace UaClientSdk {

/// The id in front of every message's body (OPC UA Part 6, 6.7.2, 5.2.2.9).
constexpr std::size_t typeIdLength = 4;

/// Writes the id of the type's binary encoding: a service's, so four bytes do.
void writeTypeId(OpcUa_Byte* target, const UA_DataType& type);

/// Takes the id off the front of `body`. 0 when it is none of the standard's own namespace.
std::uint32_t readTypeId(UaByteView& body);

inline bool isTypeId(std::uint32_t id, const UA_DataType& type) {
    return id == type.binaryEncodingId.identifier.numeric;
}

} // namespace UaClientSdk
