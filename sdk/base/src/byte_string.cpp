#include "uabase/byte_string.h"

UaByteString::UaByteString(int length, const OpcUa_Byte* data) {
    if (length > 0 && data != nullptr)
        m_bytes.assign(data, data + length);
}

UaByteString::UaByteString(const OpcUa_ByteString& bytes) {
    if (bytes.length > 0)
        m_bytes.assign(bytes.data, bytes.data + bytes.length);
}

OpcUa_ByteString UaByteString::view() const {
    return {m_bytes.size(), const_cast<OpcUa_Byte*>(m_bytes.data())};
}
