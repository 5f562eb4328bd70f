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
constexpr OpcUa_StatusCode OpcUa_BadDecodingError = 0x80070000U;
constexpr OpcUa_StatusCode OpcUa_BadEncodingLimitsExceeded = 0x80080000U;
constexpr OpcUa_StatusCode OpcUa_BadUnknownResponse = 0x80090000U;
constexpr OpcUa_StatusCode OpcUa_BadTimeout = 0x800A0000U;
constexpr OpcUa_StatusCode OpcUa_BadServerNotConnected = 0x800D0000U;
constexpr OpcUa_StatusCode OpcUa_BadTooManyOperations = 0x80100000U;
constexpr OpcUa_StatusCode OpcUa_BadSecurityChecksFailed = 0x80130000U;
constexpr OpcUa_StatusCode OpcUa_BadNodeIdInvalid = 0x80330000U;
constexpr OpcUa_StatusCode OpcUa_BadNotReadable = 0x803A0000U;
constexpr OpcUa_StatusCode OpcUa_BadNotWritable = 0x803B0000U;
constexpr OpcUa_StatusCode OpcUa_BadOutOfRange = 0x803C0000U;
constexpr OpcUa_StatusCode OpcUa_BadNotSupported = 0x803D0000U;
constexpr OpcUa_StatusCode OpcUa_BadNotFound = 0x803E0000U;
constexpr OpcUa_StatusCode OpcUa_BadTypeMismatch = 0x80740000U;
constexpr OpcUa_StatusCode OpcUa_BadConfigurationError = 0x80890000U;
constexpr OpcUa_StatusCode OpcUa_BadInvalidArgument = 0x80AB0000U;

/// OPC UA Part 4, 6.1.3: results of the steps by which a certificate is verified.
constexpr OpcUa_StatusCode OpcUa_BadCertificateInvalid = 0x80120000U;
constexpr OpcUa_StatusCode OpcUa_BadCertificateTimeInvalid = 0x80140000U;
constexpr OpcUa_StatusCode OpcUa_BadCertificateIssuerTimeInvalid = 0x80150000U;
constexpr OpcUa_StatusCode OpcUa_BadCertificateUriInvalid = 0x80170000U;
constexpr OpcUa_StatusCode OpcUa_BadCertificateUseNotAllowed = 0x80180000U;
constexpr OpcUa_StatusCode OpcUa_BadCertificateIssuerUseNotAllowed = 0x80190000U;
constexpr OpcUa_StatusCode OpcUa_BadCertificateUntrusted = 0x801A0000U;
constexpr OpcUa_StatusCode OpcUa_BadCertificateRevocationUnknown = 0x801B0000U;
constexpr OpcUa_StatusCode OpcUa_BadCertificateIssuerRevocationUnknown = 0x801C0000U;
constexpr OpcUa_StatusCode OpcUa_BadCertificateRevoked = 0x801D0000U;
constexpr OpcUa_StatusCode OpcUa_BadCertificateIssuerRevoked = 0x801E0000U;
constexpr OpcUa_StatusCode OpcUa_BadCertificateChainIncomplete = 0x810D0000U;
constexpr OpcUa_StatusCode OpcUa_BadCertificatePolicyCheckFailed = 0x81140000U;

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
