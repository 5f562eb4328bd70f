#include "support/scripted/messages.h"

#include <cstddef>
#include <cstdint>
#include <new>
#include <stdexcept>
#include <string>

namespace scripted {
namespace {

UA_ByteString view(const Bytes& bytes) {
    return {bytes.size(), reinterpret_cast<UA_Byte*>(const_cast<char*>(bytes.data()))};
}

} // namespace

const UA_DataType* typeWithEncoding(std::uint32_t identifier) {
    for (const UA_DataType& type : UA_TYPES)
        if (identifier != 0 && type.binaryEncodingId.identifier.numeric == identifier)
            return &type;
    return nullptr;
}

std::uint32_t takeTypeId(Reader& reader) {
    const std::uint8_t form = reader.u8();
    if (form == 0)
        return reader.u8();
    const unsigned index = form == 1 ? reader.u8() : reader.u16();
    const std::uint32_t identifier = form == 1 ? reader.u16() : reader.u32();
    return form <= 2 && index == 0 && reader.ok() ? identifier : 0;
}

Bytes encode(const void* value, const UA_DataType& type) {
    UA_ByteString encoded = UA_BYTESTRING_NULL;
    if (UA_encodeBinary(value, &type, &encoded) != UA_STATUSCODE_GOOD)
        throw std::runtime_error(std::string("cannot encode a ") + type.typeName);
    Bytes bytes(reinterpret_cast<const char*>(encoded.data), encoded.length);
    UA_ByteString_clear(&encoded);
    return bytes;
}

Bytes messageBody(const void* value, const UA_DataType& type) {
    return encode(type.binaryEncodingId) + encode(value, type);
}

bool decode(const Bytes& bytes, void* value, const UA_DataType& type) {
    const UA_ByteString input = view(bytes);
    return UA_decodeBinary(&input, value, &type, nullptr) == UA_STATUSCODE_GOOD;
}

void assign(UA_String& field, const Bytes& content) {
    UA_String_clear(&field);
    const UA_String source = view(content);
    if (UA_String_copy(&source, &field) != UA_STATUSCODE_GOOD)
        throw std::bad_alloc();
}

void assign(UA_Variant& field, std::int32_t number) {
    UA_Variant_clear(&field);
    UA_Variant_setScalarCopy(&field, &number, &UA_TYPES[UA_TYPES_INT32]);
}

void resizeArray(void** elements, std::size_t& size, std::size_t newSize, const UA_DataType& type) {
    if (UA_Array_resize(elements, &size, newSize, &type) != UA_STATUSCODE_GOOD)
        throw std::bad_alloc();
    if (size == 0)
        *elements = nullptr;
}

std::string textOf(const UA_NodeId& id) {
    UA_String printed = UA_STRING_NULL;
    UA_NodeId_print(&id, &printed);
    std::string text(reinterpret_cast<const char*>(printed.data), printed.length);
    UA_String_clear(&printed);
    return text;
}

} // namespace scripted
