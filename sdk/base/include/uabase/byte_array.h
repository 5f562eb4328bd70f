#pragma once

#include <vector>

#include "uabase/string.h"
#include "uastack/export.h"
#include "uastack/protocol_types.h"

/// Owned bytes that are not protocol content, such as a thumbprint. A value class.
class UASDK_EXPORT UaByteArray {
public:
    UaByteArray() = default;
    UaByteArray(const OpcUa_Byte* data, int length);

    int size() const { return static_cast<int>(m_bytes.size()); }
    const OpcUa_Byte* data() const { return m_bytes.data(); }

    /// Two upper-case hexadecimal digits a byte; `separated` puts a blank between bytes.
    UaString toHex(bool separated) const;

    friend bool operator==(const UaByteArray& a, const UaByteArray& b) { return a.m_bytes == b.m_bytes; }
    friend bool operator!=(const UaByteArray& a, const UaByteArray& b) { return a.m_bytes != b.m_bytes; }

private:
    std::vector<OpcUa_Byte> m_bytes;
};
