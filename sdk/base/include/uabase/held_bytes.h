#pragma once

#include <algorithm>
#include <cstddef>

#include "uastack/export.h"
#include "uastack/protocol_types.h"

/// What the C library's heap takes for a block of so many bytes.
constexpr std::size_t heapBlock(std::size_t bytes) {
    constexpr std::size_t smallest = 32;
    constexpr std::size_t header = 8;
    constexpr std::size_t alignment = 16;
    return std::max(smallest, (bytes + header + alignment - 1) / alignment * alignment);
}

/// What a value of the type holds on the heap beside itself, with the heap's own share of each block. A few
/// encoded bytes can hold a lot: a data change without anything is five bytes on the wire.
UASDK_EXPORT std::size_t heldBytes(const void* value, const UA_DataType& type);
