#pragma once

#include <cstddef>

#include "uastack/export.h"
#include "uastack/protocol_types.h"

/// What the bytes of a key record are.
enum OpcUa_KeyType : OpcUa_UInt32 {
    OpcUa_KeyType_Invalid = 0,
    /// An RSA private key, unencrypted DER (RFC 8017, A.1.2).
    OpcUa_KeyType_RsaPrivate = 5,
    /// A private key of another algorithm; no OPC UA security policy of this SDK can use it.
    OpcUa_KeyType_OtherPrivate = 6
};

/// How a key file is encoded.
enum OpcUa_KeyEncoding : OpcUa_UInt32 { OpcUa_KeyEncoding_Pem = 2 };

/// A key in memory. The record owns its bytes: Initialize before the first use, Clear after the last.
struct OpcUa_Key {
    OpcUa_UInt32 type;
    OpcUa_ByteString bytes;
};

UASDK_EXPORT void OpcUa_Key_Initialize(OpcUa_Key* key);

/// Puts a copy of the bytes into an initialised record. BadOutOfMemory leaves the record as it was.
UASDK_EXPORT OpcUa_StatusCode OpcUa_Key_Assign(OpcUa_Key* key, OpcUa_KeyType type, const OpcUa_Byte* bytes,
                                               std::size_t length);

/// Overwrites the bytes before they are released and leaves the record as after Initialize. May be called
/// twice.
UASDK_EXPORT void OpcUa_Key_Clear(OpcUa_Key* key);
