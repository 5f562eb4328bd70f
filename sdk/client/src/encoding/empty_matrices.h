#pragma once

#include <cstddef>
#include <vector>

#include "uabase/byte_view.h"
#include "uastack/protocol_types.h"

namespace UaClientSdk {

/// A variant's array without elements that has dimensions, as [0, 3]: legal, but the engine refuses it.
struct EmptyMatrix {
    std::size_t variant;  ///< how many variants begin before this one
    std::size_t position; ///< of the variant's first byte
};

/// A copy of the bytes that the engine decodes: in it each of these variants is an array of bytes, which are
/// its number of dimensions and its dimensions.
std::vector<OpcUa_Byte> disguiseEmptyMatrices(UaByteView bytes, const std::vector<EmptyMatrix>& matrices);

/// Makes what was decoded from the copy the empty matrices that were sent.
/// @param bytes  those that were sent, not the copy
void restoreEmptyMatrices(UaByteView bytes, const std::vector<EmptyMatrix>& matrices, const UA_DataType& type,
                          void* decoded);

} // namespace UaClientSdk
