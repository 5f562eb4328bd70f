#pragma once

#include <cstdint>
#include <cstring>

#include "uabase/byte_view.h"

namespace UaClientSdk {

// Numbers on the wire are little-endian, as this machine's are.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__);

constexpr std::size_t uint32Length = 4;

inline std::uint32_t readUInt32(const OpcUa_Byte* bytes) {
    std::uint32_t value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

inline OpcUa_Byte* writeUInt32(OpcUa_Byte* bytes, std::uint32_t value) {
    std::memcpy(bytes, &value, sizeof value);
    return bytes + sizeof value;
}

inline OpcUa_Byte* writeBytes(OpcUa_Byte* bytes, const void* source, std::size_t count) {
    if (count > 0)
        std::memcpy(bytes, source, count);
    return bytes + count;
}

/// Takes texts and byte strings (OPC UA Part 6, 5.2.2.4) off the front of a view, as long as there are any.
class WireReader {
public:
    explicit WireReader(UaByteView bytes) : m_rest(bytes) {}

    bool readUInt32(std::uint32_t& value) {
        if (m_rest.size < sizeof value)
            return false;
        value = UaClientSdk::readUInt32(m_rest.data);
        m_rest = m_rest.from(sizeof value);
        return true;
    }
    /// A null string is an empty one.
    bool readString(UaByteView& bytes) {
        std::uint32_t length = 0;
        if (!readUInt32(length))
            return false;
        constexpr std::uint32_t null = UINT32_MAX;
        length = length == null ? 0 : length;
        if (length > m_rest.size)
            return false;
        bytes = m_rest.first(length);
        m_rest = m_rest.from(length);
        return true;
    }
    UaByteView rest() const { return m_rest; }

private:
    UaByteView m_rest;
};

} // namespace UaClientSdk
