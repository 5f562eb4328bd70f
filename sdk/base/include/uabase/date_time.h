#pragma once

#include "uabase/string.h"
#include "uastack/export.h"
#include "uastack/protocol_types.h"

/// OPC UA Part 6, 5.2.2.5: 100-nanosecond ticks since 1601-01-01, UTC.
class UASDK_EXPORT UaDateTime {
public:
    UaDateTime() = default;
    explicit UaDateTime(OpcUa_DateTime ticks) : m_ticks(ticks) {}

    static UaDateTime now();
    /// From seconds since 1970-01-01, UTC.
    static UaDateTime fromUnixTime(OpcUa_Int64 seconds);

    OpcUa_DateTime ticks() const { return m_ticks; }
    /// Seconds since 1970-01-01, UTC; fractions are dropped.
    OpcUa_Int64 toUnixTime() const;
    /// ISO 8601 in UTC with milliseconds: "2026-03-01T12:30:00.000Z".
    UaString toString() const;

private:
    OpcUa_DateTime m_ticks = 0;
};
