#include "encoding/encoding_walk.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>

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

constexpr OpcUa_Byte dataValueHasValue = 0x01;
constexpr OpcUa_Byte dataValueHasStatus = 0x02;
constexpr OpcUa_Byte dataValueTimestamps = 0x04 | 0x08;
constexpr OpcUa_Byte dataValuePicoseconds = 0x10 | 0x20;

constexpr OpcUa_Byte diagnosticNumbers = 0x01 | 0x02 | 0x04 | 0x08;
constexpr OpcUa_Byte diagnosticHasAdditionalInfo = 0x10;
constexpr OpcUa_Byte diagnosticHasInnerStatusCode = 0x20;
constexpr OpcUa_Byte diagnosticHasInnerInfo = 0x40;

constexpr OpcUa_Byte variantTypeBits = 0x3F;
constexpr OpcUa_Byte variantHasDimensions = 0x40;
constexpr OpcUa_Byte variantIsArray = 0x80;

enum ExtensionObjectBody : OpcUa_Byte { NoBody, BinaryBody, XmlBody };

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

/// What the C library's heap takes for a block.
constexpr std::size_t heapBlock(std::size_t bytes) {
    constexpr std::size_t smallest = 32;
    constexpr std::size_t header = 8;
    constexpr std::size_t alignment = 16;
    return std::max(smallest, (bytes + header + alignment - 1) / alignment * alignment);
}

std::size_t countBits(OpcUa_Byte bits) {
    std::size_t count = 0;
    for (; bits != 0; bits = static_cast<OpcUa_Byte>(bits & (bits - 1))) {
        ++count;
    }
    return count;
}

struct KnownEncoding {
    OpcUa_UInt32 id = 0;
    const UA_DataType* type = nullptr;
};

using KnownEncodings = std::array<KnownEncoding, UA_TYPES_COUNT>;

KnownEncodings collectEncodings() {
    KnownEncodings encodings;
    std::transform(std::begin(UA_TYPES), std::end(UA_TYPES), encodings.begin(), [](const UA_DataType& type) {
        return KnownEncoding{type.binaryEncodingId.identifier.numeric, &type};
    });
    // The engine takes the first where several have the same.
    std::sort(encodings.begin(), encodings.end(), [](const KnownEncoding& a, const KnownEncoding& b) {
        return a.id != b.id ? a.id < b.id : a.type < b.type;
    });
    return encodings;
}

/// The type as which the engine decodes the body of an extension object; null when it keeps the bytes.
const UA_DataType* typeOfEncoding(OpcUa_UInt16 namespaceIndex, OpcUa_UInt32 id) {
    static const KnownEncodings encodings = collectEncodings();
    const auto found =
        std::lower_bound(encodings.begin(), encodings.end(), id,
                         [](const KnownEncoding& known, OpcUa_UInt32 key) { return known.id < key; });
    return namespaceIndex == 0 && found != encodings.end() && found->id == id ? found->type : nullptr;
}

} // namespace

bool EncodingWalk::value(const UA_DataType& type) {
    if (const std::size_t size = fixedSize(type.typeKind)) {
        return skip(size);
    }
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
        return skip(sizeof(OpcUa_UInt16)) && string();
    case UA_DATATYPEKIND_LOCALIZEDTEXT:
        return localizedText();
    case UA_DATATYPEKIND_ENUM:
        return enumeration();
    default:
        break;
    }
    if (m_depth == maxDepth) {
        m_failure = OpcUa_BadEncodingLimitsExceeded;
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
    if (!read(length)) {
        return false;
    }
    if (length <= 0) {
        return true;
    }
    // No element takes less than a byte.
    const auto count = static_cast<std::size_t>(length);
    if (count > left() || !takeBlock(count * elementType.memSize)) {
        return false;
    }
    if (const std::size_t size = fixedSize(elementType.typeKind)) {
        return skip(count * size);
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (!value(elementType)) {
            return false;
        }
    }
    return true;
}

std::optional<std::size_t> EncodingWalk::nextLength() const {
    OpcUa_Int32 length = 0;
    if (left() < sizeof length) {
        return {};
    }
    std::memcpy(&length, m_bytes.data + m_position, sizeof length);
    return length > 0 ? static_cast<std::size_t>(length) : 0;
}

bool EncodingWalk::skip(std::size_t count) {
    if (count > left()) {
        return false;
    }
    m_position += count;
    return true;
}

template <typename Number>
bool EncodingWalk::read(Number& number) {
    if (left() < sizeof number) {
        return false;
    }
    std::memcpy(&number, m_bytes.data + m_position, sizeof number);
    m_position += sizeof number;
    return true;
}

bool EncodingWalk::takeMemory(std::size_t bytes) {
    m_memory += bytes;
    if (m_memory > m_memoryBound) {
        m_failure = OpcUa_BadEncodingLimitsExceeded;
        return false;
    }
    return true;
}

bool EncodingWalk::takeBlock(std::size_t bytes) {
    return takeMemory(heapBlock(bytes));
}

bool EncodingWalk::string() {
    OpcUa_Int32 length = 0;
    if (!read(length)) {
        return false;
    }
    const auto count = static_cast<std::size_t>(length);
    return length <= 0 || (skip(count) && takeBlock(count));
}

bool EncodingWalk::nodeId(TypeId& id) {
    OpcUa_Byte first = 0;
    if (!read(first)) {
        return false;
    }
    const OpcUa_Byte format = first & nodeIdFormatBits;
    OpcUa_Byte byte = 0;
    OpcUa_UInt16 word = 0;
    switch (format) {
    case TwoByte:
        id.isNumeric = read(byte);
        id.number = byte;
        return id.isNumeric;
    case FourByte:
        id.isNumeric = read(byte) && read(word);
        id.namespaceIndex = byte;
        id.number = word;
        return id.isNumeric;
    case Numeric:
        id.isNumeric = read(id.namespaceIndex) && read(id.number);
        return id.isNumeric;
    case String:
    case Opaque:
        return read(id.namespaceIndex) && string();
    case Guid:
        return read(id.namespaceIndex) && skip(sizeof(UA_Guid));
    default:
        return false;
    }
}

bool EncodingWalk::expandedNodeId() {
    const OpcUa_Byte first = left() > 0 ? m_bytes.data[m_position] : OpcUa_Byte{0};
    TypeId id;
    return nodeId(id) && ((first & nodeIdHasNamespaceUri) == 0 || string()) &&
           ((first & nodeIdHasServerIndex) == 0 || skip(sizeof(OpcUa_UInt32)));
}

bool EncodingWalk::localizedText() {
    OpcUa_Byte parts = 0;
    return read(parts) && ((parts & textHasLocale) == 0 || string()) &&
           ((parts & textHasText) == 0 || string());
}

bool EncodingWalk::enumeration() {
    // The engine's enumerations can't hold a negative value: reading one would be undefined.
    OpcUa_Int32 number = 0;
    return read(number) && number >= 0;
}

bool EncodingWalk::structure(const UA_DataType& type) {
    for (std::size_t i = 0; i < type.membersSize; ++i) {
        const UA_DataTypeMember& member = type.members[i];
        if (!(member.isArray ? array(*member.memberType) : value(*member.memberType))) {
            return false;
        }
    }
    return true;
}

/// @param memSize  what the engine takes for the object itself when it keeps its body undecoded
bool EncodingWalk::extensionObject(std::size_t memSize) {
    TypeId id;
    OpcUa_Byte body = NoBody;
    const std::size_t before = m_memory;
    // The engine has the id twice for a moment.
    if (!nodeId(id) || !takeMemory(m_memory - before) || !read(body)) {
        return false;
    }
    if (body == BinaryBody) {
        return extensionObjectBody(id, memSize);
    }
    return (memSize == 0 || takeBlock(memSize)) && (body == NoBody || (body == XmlBody && string()));
}

bool EncodingWalk::extensionObjectBody(const TypeId& id, std::size_t memSize) {
    const UA_DataType* const type = id.isNumeric ? typeOfEncoding(id.namespaceIndex, id.number) : nullptr;
    if (type == nullptr) {
        return (memSize == 0 || takeBlock(memSize)) && string();
    }
    OpcUa_Int32 length = 0;
    if (!read(length) || length < 0 || !takeBlock(type->memSize)) {
        return false;
    }
    const std::size_t begin = m_position;
    return value(*type) && m_position - begin == static_cast<std::size_t>(length);
}

bool EncodingWalk::dataValue() {
    OpcUa_Byte parts = 0;
    if (!read(parts) || ((parts & dataValueHasValue) != 0 && !value(UA_TYPES[UA_TYPES_VARIANT]))) {
        return false;
    }
    const std::size_t statusSize = (parts & dataValueHasStatus) != 0 ? sizeof(OpcUa_StatusCode) : 0;
    return skip(statusSize + countBits(parts & dataValueTimestamps) * sizeof(OpcUa_DateTime) +
                countBits(parts & dataValuePicoseconds) * sizeof(OpcUa_UInt16));
}

bool EncodingWalk::diagnosticInfo() {
    OpcUa_Byte parts = 0;
    if (!read(parts) || !skip(countBits(parts & diagnosticNumbers) * sizeof(OpcUa_Int32)) ||
        ((parts & diagnosticHasAdditionalInfo) != 0 && !string()) ||
        ((parts & diagnosticHasInnerStatusCode) != 0 && !skip(sizeof(OpcUa_StatusCode)))) {
        return false;
    }
    const UA_DataType& type = UA_TYPES[UA_TYPES_DIAGNOSTICINFO];
    return (parts & diagnosticHasInnerInfo) == 0 || (takeBlock(type.memSize) && value(type));
}

bool EncodingWalk::variant() {
    const std::size_t begin = m_position;
    ++m_variants;
    OpcUa_Byte first = 0;
    if (!read(first)) {
        return false;
    }
    if (first == 0) {
        return true;
    }
    const unsigned typeId = first & variantTypeBits;
    if (typeId == 0 || typeId > UA_DATATYPEKIND_DIAGNOSTICINFO + 1) {
        return false;
    }
    const UA_DataType& type = UA_TYPES[typeId - 1];
    if ((first & variantIsArray) == 0) {
        return (first & variantHasDimensions) == 0 && variantScalar(type);
    }
    const std::size_t length = nextLength().value_or(0);
    if (!array(type)) {
        return false;
    }
    return (first & variantHasDimensions) == 0 || dimensions(length, begin);
}

bool EncodingWalk::variantScalar(const UA_DataType& type) {
    if (type.typeKind == UA_DATATYPEKIND_VARIANT) {
        return false;
    }
    if (type.typeKind == UA_DATATYPEKIND_EXTENSIONOBJECT) {
        return extensionObject(type.memSize);
    }
    return takeBlock(type.memSize) && value(type);
}

bool EncodingWalk::dimensions(std::size_t arrayLength, std::size_t variantPosition) {
    OpcUa_Int32 count = 0;
    if (!read(count) || (count > 0 && !takeBlock(static_cast<std::size_t>(count) * sizeof(OpcUa_UInt32)))) {
        return false;
    }
    std::size_t product = 1;
    for (OpcUa_Int32 i = 0; i < count; ++i) {
        OpcUa_Int32 dimension = 0;
        if (!read(dimension) || dimension < 0 ||
            __builtin_mul_overflow(product, static_cast<std::size_t>(dimension), &product)) {
            return false;
        }
    }
    if (arrayLength > 0) {
        return product == arrayLength;
    }
    return (product == 0 || count <= 0) && noteEmptyMatrix(variantPosition);
}

bool EncodingWalk::noteEmptyMatrix(std::size_t variantPosition) {
    // The engine decodes a copy, in which the dimensions are the array. The vector doubles its block when it
    // grows: all its blocks together take four times what is in it.
    const std::size_t copy = m_emptyMatrices.empty() ? heapBlock(m_bytes.size) : 0;
    const std::size_t note = heapBlock(4 * sizeof(EmptyMatrix));
    if (!takeMemory(copy + note) || !takeBlock(m_position - variantPosition)) {
        return false;
    }
    m_emptyMatrices.push_back({m_variants - 1, variantPosition});
    return true;
}

} // namespace UaClientSdk
