#pragma once

#include "uastack/status_code.h"

/// Result of a service call: a status code with its severity tests.
class UaStatus {
public:
    constexpr UaStatus(OpcUa_StatusCode code = OpcUa_Good) : m_code(code) {}

    constexpr OpcUa_StatusCode statusCode() const { return m_code; }
    constexpr bool isGood() const { return !OpcUa_IsNotGood(m_code); }
    constexpr bool isBad() const { return OpcUa_IsBad(m_code); }
    constexpr bool isNotGood() const { return OpcUa_IsNotGood(m_code); }
    const char* name() const { return OpcUa_StatusCode_Name(m_code); }

private:
    OpcUa_StatusCode m_code;
};
