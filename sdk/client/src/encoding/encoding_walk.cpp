#include "encoding/encoding_walk.h"

#include <cstddef>
#include <optional>

namespace UaClientSdk {
namespace {

constexpr unsigned maxDepth = 64;

// OPC UA Part 6, 5.2.2: the bits of the bytes that tell what follows.
constexpr OpcUa_Byte nodeIdFormatBits = 0x3F;
constexpr OpcUa_Byte nodeIdHasServerIndex = 0x40;
constexpr OpcUa_Byte nodeIdHasNamespaceUri = 0x80;
enum NodeIdFormat : OpcUa_Byte { TwoByte, FourByte, Numeric, String, Guid, Opaque };

constexpr OpcUa_Byte textHasLocale = 0x01;
constexpr OpcUa_Byte textHasText = 0x02;

/// What a value of the kind takes in the encoding; 0 when that differs from value to value.
constexpr std::size_t fixedSize(unsigned kind) {
    switch (kind) {
    case UA_DATATYPEKIND_BOOLEAN:
    case UA_DATATYPEKIND_SBYTE:
    case UA_DATATYPEKIND_BYTE:
        return 1;
    case UA_DATATYPEKIND_INT16:
    case UA_DATATYPEKIND_UINT16:
        return 2;
    case UA_DATATYPEKIND_INT32:
    case UA_DATATYPEKIND_UINT32:
    case UA_DATATYPEKIND_FLOAT:
    case UA_DATATYPEKIND_STATUSCODE:
        return 4;
    case UA_DATATYPEKIND_INT64:
    case UA_DATATYPEKIND_UINT64:
    case UA_DATATYPEKIND_DOUBLE:
    case UA_DATATYPEKIND_DATETIME:
        return 8;
    case UA_DATATYPEKIND_GUID:
        return 16;
    default:
        return 0;
    }
}

} // namespace

bool EncodingWalk::value(const UA_DataType& type) {
    if (const std::size_t size = fixedSize(type.typeKind))
        return m_bytes.skip(size);
    TypeId id;
    switch (type.typeKind) {
    case UA_DATATYPEKIND_STRING:
    case UA_DATATYPEKIND_BYTESTRING:
    case UA_DATATYPEKIND_XMLELEMENT:
        return string();
    case UA_DATATYPEKIND_NODEID:
        return nodeId(id);
    case UA_DATATYPEKIND_EXPANDEDNODEID:
        return expandedNodeId();
    case UA_DATATYPEKIND_QUALIFIEDNAME:
        return m_bytes.skip(sizeof(OpcUa_UInt16)) && string();
    case UA_DATATYPEKIND_LOCALIZEDTEXT:
        return localizedText();
    case UA_DATATYPEKIND_ENUM:
        return enumeration();
    default:
        break;
    }
    if (m_depth == maxDepth) {
        m_isTooDeep = true;
        return false;
    }
    ++m_depth;
    const bool passed = nested(type);
    --m_depth;
    return passed;
}

bool EncodingWalk::nested(const UA_DataType& type) {
    switch (type.typeKind) {
    case UA_DATATYPEKIND_STRUCTURE:
        return structure(type);
    case UA_DATATYPEKIND_VARIANT:
        return variant();
    case UA_DATATYPEKIND_DATAVALUE:
        return dataValue();
    case UA_DATATYPEKIND_EXTENSIONOBJECT:
        return extensionObject(0);
    case UA_DATATYPEKIND_DIAGNOSTICINFO:
        return diagnosticInfo();
    default: // Unions, optional fields, decimals: none of the engine's own types is one.
        return false;
    }
}

bool EncodingWalk::array(const UA_DataType& elementType) {
    OpcUa_Int32 length = 0;
    if (!m_bytes.read(length))
        return false;
    if (length <= 0)
        return true;
    // No element takes less than a byte.
    const auto count = static_cast<std::size_t>(length);
    if (count > m_bytes.left() || !m_heap.takeBlock(count * elementType.memSize))
        return false;
    if (const std::size_t size = fixedSize(elementType.typeKind))
        return m_bytes.skip(count * size);
    for (std::size_t i = 0; i < count; ++i)
        if (!value(elementType))
            return false;
    return true;
}

std::optional<std::size_t> EncodingWalk::nextLength() const {
    OpcUa_Int32 length = 0;
    if (!m_bytes.peek(length))
        return {};
    return length > 0 ? static_cast<std::size_t>(length) : 0;
}

bool EncodingWalk::string() {
    OpcUa_Int32 length = 0;
    if (!m_bytes.read(length))
        return false;
    const auto count = static_cast<std::size_t>(length);
    return length <= 0 || (m_bytes.skip(count) && m_heap.takeBlock(count));
}

bool EncodingWalk::nodeId(TypeId& id) {
    OpcUa_Byte first = 0;
    if (!m_bytes.read(first))
        return false;
    const OpcUa_Byte format = first & nodeIdFormatBits;
    OpcUa_Byte byte = 0;
    OpcUa_UInt16 word = 0;
    switch (format) {
    case TwoByte:
        id.isNumeric = m_bytes.read(byte);
        id.number = byte;
        return id.isNumeric;
    case FourByte:
        id.isNumeric = m_bytes.read(byte) && m_bytes.read(word);
        id.namespaceIndex = byte;
        id.number = word;
        return id.isNumeric;
    case Numeric:
        id.isNumeric = m_bytes.read(id.namespaceIndex) && m_bytes.read(id.number);
        return id.isNumeric;
    case String:
    case Opaque:
        return m_bytes.read(id.namespaceIndex) && string();
    case Guid:
        return m_bytes.read(id.namespaceIndex) && m_bytes.skip(sizeof(UA_Guid));
    default:
        return false;
    }
}

bool EncodingWalk::expandedNodeId() {
    OpcUa_Byte first = 0;
    m_bytes.peek(first);
    TypeId id;
    return nodeId(id) && ((first & nodeIdHasNamespaceUri) == 0 || string()) &&
           ((first & nodeIdHasServerIndex) == 0 || m_bytes.skip(sizeof(OpcUa_UInt32)));
}

bool EncodingWalk::localizedText() {
    OpcUa_Byte parts = 0;
    return m_bytes.read(parts) && ((parts & textHasLocale) == 0 || string()) &&
           ((parts & textHasText) == 0 || string());
}

bool EncodingWalk::enumeration() {
    // The engine's enumerations can't hold a negative value: reading one would be undefined.
    OpcUa_Int32 number = 0;
    return m_bytes.read(number) && number >= 0;
}

bool EncodingWalk::structure(const UA_DataType& type) {
    for (std::size_t i = 0; i < type.membersSize; ++i) {
        const UA_DataTypeMember& member = type.members[i];
        if (!(member.isArray ? array(*member.memberType) : value(*member.memberType)))
            return false;
    }
    return true;
}

} // namespace UaClientSdk
