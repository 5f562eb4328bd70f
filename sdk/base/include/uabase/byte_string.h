#pragma once

#include <string>
#include <vector>

#include "uabase/string.h"
#include "uastack/export.h"
#include "uastack/protocol_types.h"

/// An owned sequence of bytes (certificates, continuation points). A value class.
class UASDK_EXPORT UaByteString {
public:
    UaByteString() = default;
    UaByteString(int length, const OpcUa_Byte* data);
    explicit UaByteString(const UA_ByteString& bytes);

    int length() const { return static_cast<int>(m_bytes.size()); }
    const OpcUa_Byte* data() const { return m_bytes.data(); }
    void clear() { m_bytes.clear(); }
    /// Overwrites the bytes before it empties the object: for what is secret.
    void wipe();

    /// A view for a request: points into this object, must not be cleared, valid until the object changes.
    OpcUa_ByteString view() const;

    friend bool operator==(const UaByteString& a, const UaByteString& b) { return a.m_bytes == b.m_bytes; }
    friend bool operator!=(const UaByteString& a, const UaByteString& b) { return a.m_bytes != b.m_bytes; }

private:
    std::vector<OpcUa_Byte> m_bytes;
};
