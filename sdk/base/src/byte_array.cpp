#include "uabase/byte_array.h"

#include <string>
#include <utility>

UaByteArray::UaByteArray(const OpcUa_Byte* data, int length) {
    if (data != nullptr && length > 0)
        m_bytes.assign(data, data + length);
}

UaString UaByteArray::toHex(bool separated) const {
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(m_bytes.size() * 3);
    for (const OpcUa_Byte byte : m_bytes) {
        if (separated && !text.empty())
            text += ' ';
        text += digits[byte >> 4];
        text += digits[byte & 0x0F];
    }
    return UaString(std::move(text));
}
