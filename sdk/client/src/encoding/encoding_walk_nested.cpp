// The types that hold values of any type.
#include <cstddef>

#include "encoding/encoding_walk.h"
#include "encoding/known_encodings.h"

namespace UaClientSdk {
namespace {

// OPC UA Part 6, 5.2.2: the bits of the bytes that tell what follows.
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

std::size_t countBits(OpcUa_Byte bits) {
    std::size_t count = 0;
    for (; bits != 0; bits = static_cast<OpcUa_Byte>(bits & (bits - 1)))
        ++count;
    return count;
}

} // namespace

/// @param memSize  what the engine takes for the object itself when it keeps its body undecoded
bool EncodingWalk::extensionObject(std::size_t memSize) {
    TypeId id;
    OpcUa_Byte body = NoBody;
    const std::size_t before = m_heap.taken();
    // The engine has the id twice for a moment, after it has looked at that of a single value beforehand.
    const std::size_t copies = memSize == 0 ? 1 : 2;
    if (!nodeId(id) || !m_heap.take(copies * (m_heap.taken() - before)) || !m_bytes.read(body))
        return false;
    if (body == BinaryBody)
        return extensionObjectBody(id, memSize);
    return (memSize == 0 || m_heap.takeBlock(memSize)) && (body == NoBody || (body == XmlBody && string()));
}

bool EncodingWalk::extensionObjectBody(const TypeId& id, std::size_t memSize) {
    const UA_DataType* const type = id.isNumeric ? typeOfEncoding(id.namespaceIndex, id.number) : nullptr;
    if (type == nullptr)
        return (memSize == 0 || m_heap.takeBlock(memSize)) && string();
    OpcUa_Int32 length = 0;
    if (!m_bytes.read(length) || length < 0 || !m_heap.takeBlock(type->memSize))
        return false;
    const std::size_t begin = m_bytes.position();
    return value(*type) && m_bytes.position() - begin == static_cast<std::size_t>(length);
}

bool EncodingWalk::dataValue() {
    OpcUa_Byte parts = 0;
    if (!m_bytes.read(parts) || ((parts & dataValueHasValue) != 0 && !value(UA_TYPES[UA_TYPES_VARIANT])))
        return false;
    const std::size_t statusSize = (parts & dataValueHasStatus) != 0 ? sizeof(OpcUa_StatusCode) : 0;
    return m_bytes.skip(statusSize + countBits(parts & dataValueTimestamps) * sizeof(OpcUa_DateTime) +
                        countBits(parts & dataValuePicoseconds) * sizeof(OpcUa_UInt16));
}

bool EncodingWalk::diagnosticInfo() {
    OpcUa_Byte parts = 0;
    if (!m_bytes.read(parts) || !m_bytes.skip(countBits(parts & diagnosticNumbers) * sizeof(OpcUa_Int32)) ||
        ((parts & diagnosticHasAdditionalInfo) != 0 && !string()) ||
        ((parts & diagnosticHasInnerStatusCode) != 0 && !m_bytes.skip(sizeof(OpcUa_StatusCode)))) {
        return false;
    }
    const UA_DataType& type = UA_TYPES[UA_TYPES_DIAGNOSTICINFO];
    return (parts & diagnosticHasInnerInfo) == 0 || (m_heap.takeBlock(type.memSize) && value(type));
}

bool EncodingWalk::variant() {
    const std::size_t begin = m_bytes.position();
    ++m_variants;
    OpcUa_Byte first = 0;
    if (!m_bytes.read(first))
        return false;
    if (first == 0)
        return true;
    const unsigned typeId = first & variantTypeBits;
    if (typeId == 0 || typeId > UA_DATATYPEKIND_DIAGNOSTICINFO + 1)
        return false;
    const UA_DataType& type = UA_TYPES[typeId - 1];
    if ((first & variantIsArray) == 0)
        return (first & variantHasDimensions) == 0 && variantScalar(type);
    const std::size_t length = nextLength().value_or(0);
    if (!array(type))
        return false;
    return (first & variantHasDimensions) == 0 || dimensions(length, begin);
}

bool EncodingWalk::variantScalar(const UA_DataType& type) {
    if (type.typeKind == UA_DATATYPEKIND_VARIANT)
        return false;
    if (type.typeKind == UA_DATATYPEKIND_EXTENSIONOBJECT)
        return extensionObject(type.memSize);
    return m_heap.takeBlock(type.memSize) && value(type);
}

bool EncodingWalk::dimensions(std::size_t arrayLength, std::size_t variantPosition) {
    OpcUa_Int32 count = 0;
    if (!m_bytes.read(count) ||
        (count > 0 && !m_heap.takeBlock(static_cast<std::size_t>(count) * sizeof(OpcUa_UInt32)))) {
        return false;
    }
    std::size_t product = 1;
    for (OpcUa_Int32 i = 0; i < count; ++i) {
        OpcUa_Int32 dimension = 0;
        if (!m_bytes.read(dimension) || dimension < 0 ||
            __builtin_mul_overflow(product, static_cast<std::size_t>(dimension), &product)) {
            return false;
        }
    }
    if (arrayLength > 0)
        return product == arrayLength;
    return (product == 0 || count <= 0) && noteEmptyMatrix(variantPosition);
}

bool EncodingWalk::noteEmptyMatrix(std::size_t variantPosition) {
    // The engine decodes a copy, in which the dimensions are the array. The vector doubles its block when it
    // grows: all its blocks together take four times what is in it.
    const std::size_t copy = m_emptyMatrices.empty() ? heapBlock(m_bytes.size()) : 0;
    const std::size_t note = heapBlock(4 * sizeof(EmptyMatrix));
    if (!m_heap.take(copy + note) || !m_heap.takeBlock(m_bytes.position() - variantPosition))
        return false;
    m_emptyMatrices.push_back({m_variants - 1, variantPosition});
    return true;
}

} // namespace UaClientSdk
