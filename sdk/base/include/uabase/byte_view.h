#pragma once

#include <cstddef>

#include "uastack/protocol_types.h"

/// Bytes that belong to somebody else.
struct UaByteView {
    const OpcUa_Byte* data = nullptr;
    std::size_t size = 0;

    UaByteView() = default;
    UaByteView(const OpcUa_Byte* bytes, std::size_t count) : data(bytes), size(count) {}
    UaByteView(const UA_ByteString& bytes) : data(bytes.data), size(bytes.length) {}

    UaByteView first(std::size_t count) const { return {data, count}; }
    UaByteView from(std::size_t offset) const { return {data + offset, size - offset}; }
};
