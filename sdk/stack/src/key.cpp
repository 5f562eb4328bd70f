#include "uastack/key.h"

#include <cstring>

#include <open62541/types_generated_handling.h>

void OpcUa_Key_Initialize(OpcUa_Key* key) {
    if (key != nullptr)
        *key = OpcUa_Key{OpcUa_KeyType_Invalid, UA_BYTESTRING_NULL};
}

OpcUa_StatusCode OpcUa_Key_Assign(OpcUa_Key* key, OpcUa_KeyType type, const OpcUa_Byte* bytes,
                                  std::size_t length) {
    if (UA_ByteString_allocBuffer(&key->bytes, length) != UA_STATUSCODE_GOOD) {
        UA_ByteString_init(&key->bytes);
        return UA_STATUSCODE_BADOUTOFMEMORY;
    }
    if (length > 0)
        std::memcpy(key->bytes.data, bytes, length);
    key->type = type;
    return UA_STATUSCODE_GOOD;
}

void OpcUa_Key_Clear(OpcUa_Key* key) {
    if (key == nullptr)
        return;
    if (key->bytes.length > 0)
        explicit_bzero(key->bytes.data, key->bytes.length); // unlike memset it is never optimised away
    UA_ByteString_clear(&key->bytes);
    OpcUa_Key_Initialize(key);
}
