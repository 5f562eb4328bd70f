#pragma once

#include "uastack/export.h"
#include "uastack/protocol_types.h"

/// OPC UA Part 4, 7.39: bits 31 and 30 of a status code are its severity.
constexpr OpcUa_StatusCode OpcUa_Good = 0;
constexpr OpcUa_StatusCode OpcUa_SeverityMask = 0xC0000000U;
constexpr OpcUa_StatusCode OpcUa_SeverityBad = 0x80000000U;

constexpr OpcUa_StatusCode OpcUa_BadUnexpectedError = 0x80010000U;
constexpr OpcUa_StatusCode OpcUa_BadInternalError = 0x80020000U;
constexpr OpcUa_StatusCode OpcUa_BadOutOfMemory = 0x80030000U;
constexpr OpcUa_StatusCode OpcUa_BadCommunicationError = 0x80050000U;
constexpr OpcUa_StatusCode OpcUa_BadTimeout = 0x800A0000U;
constexpr OpcUa_StatusCode OpcUa_BadServerNotConnected = 0x800D0000U;
constexpr OpcUa_StatusCode OpcUa_BadNodeIdInvalid = 0x80330000U;
constexpr OpcUa_StatusCode OpcUa_BadOutOfRange = 0x803C0000U;
constexpr OpcUa_StatusCode OpcUa_BadTypeMismatch = 0x80740000U;
constexpr OpcUa_StatusCode OpcUa_BadInvalidArgument = 0x80AB0000U;

/// True when the severity is Bad; an Uncertain code is not.
constexpr bool OpcUa_IsBad(OpcUa_StatusCode code) {
    return (code & OpcUa_SeverityBad) != 0;
}

/// True when the severity is Bad or Uncertain.
constexpr bool OpcUa_IsNotGood(OpcUa_StatusCode code) {
    return (code & OpcUa_SeverityMask) != 0;
}

/// The standard's symbolic name of a status code, for example "BadTimeout"; never null, static storage.
UASDK_EXPORT const char* OpcUa_StatusCode_Name(OpcUa_StatusCode code);
