#include "uabase/byte_string.h"

#include <cstring>

UaByteString::UaByteString(int length, const OpcUa_Byte* data) {
    if (length > 0 && data != nullptr)
        m_bytes.assign(data, data + length);
}

UaByteString::UaByteString(const UA_ByteString& bytes) {
    if (bytes.length > 0)
        m_bytes.assign(bytes.data, bytes.data + bytes.length);
}

void UaByteString::wipe() {
    if (!m_bytes.empty())
        explicit_bzero(m_bytes.data(), m_bytes.size());
    m_bytes.clear();
}

OpcUa_ByteString UaByteString::view() const {
    return {m_bytes.size(), const_cast<OpcUa_Byte*>(m_bytes.data())};
}
