#include "uabase/variant.h"

#include <cstdint>
#include <cstring>

#include "element_type.h"
#include "engine.h"
#include "scalar_conversion.h"

namespace {

bool isScalar(const UA_Variant& variant) {
    return variant.type != nullptr && UA_Variant_isScalar(&variant);
}

template <typename Target>
OpcUa_StatusCode convert(const UaVariant& variant, Target& value) {
    const UA_Variant& raw = variant.raw();
    value = Target();
    if (!isScalar(raw))
        return OpcUa_BadTypeMismatch;
    if (raw.type == elementType<Target>()) {
        value = *static_cast<const Target*>(raw.data);
        return OpcUa_Good;
    }
    return convertScalar(variant.type(), raw.data, value);
}

} // namespace

UaVariant::UaVariant(const OpcUa_Variant& variant) : m_inline() {
    copyFrom(variant);
}

UaVariant::UaVariant(const UaString& text) : UaVariant() {
    setString(text);
}

UaVariant::UaVariant(const UaVariant& other) : m_inline() {
    copyFrom(other.m_variant);
}

UaVariant::UaVariant(UaVariant&& other) noexcept : m_inline() {
    moveFrom(other);
}

UaVariant& UaVariant::operator=(const UaVariant& other) {
    return *this = UaVariant(other);
}

UaVariant& UaVariant::operator=(UaVariant&& other) noexcept {
    if (this != &other) {
        clear();
        moveFrom(other);
    }
    return *this;
}

void UaVariant::attach(OpcUa_Variant& variant) {
    if (variant.storageType == UA_VARIANT_DATA_NODELETE) {
        *this = UaVariant(variant);
    } else {
        clear();
        m_variant = variant;
    }
    UA_Variant_init(&variant);
}

void UaVariant::clear() {
    if (holdsMemory()) {
        if (m_variant.data == m_inline)
            UA_clear(m_inline, m_variant.type);
        else
            UA_Variant_clear(&m_variant);
    }
    UA_Variant_init(&m_variant);
}

bool UaVariant::dimensionsMatch() const {
    std::uint64_t product = 1;
    for (std::size_t i = 0; i < m_variant.arrayDimensionsSize; ++i)
        if (__builtin_mul_overflow(product, m_variant.arrayDimensions[i], &product))
            return false;
    return product == m_variant.arrayLength;
}

OpcUa_UInt32 UaVariant::arraySize() const {
    return isEmpty() ? 0 : static_cast<OpcUa_UInt32>(m_variant.arrayLength);
}

OpcUa_UInt32 UaVariant::dimensionSize() const {
    return isMatrix() ? static_cast<OpcUa_UInt32>(m_variant.arrayDimensionsSize) : 0;
}

void UaVariant::arrayDimensions(UaUInt32Array& dimensions) const {
    dimensions.create(dimensionSize());
    for (OpcUa_UInt32 i = 0; i < dimensions.length(); ++i)
        dimensions[i] = m_variant.arrayDimensions[i];
}

UaVariant UaVariant::element(OpcUa_UInt32 index) const {
    const auto* elements = static_cast<const unsigned char*>(m_variant.data);
    return borrow(*m_variant.type, elements + std::size_t{index} * m_variant.type->memSize);
}

OpcUa_String UaVariant::text() const {
    return isScalar(m_variant) && type() == OpcUaType_String
               ? *static_cast<const OpcUa_String*>(m_variant.data)
               : OpcUa_String{0, nullptr};
}

OpcUa_StatusCode UaVariant::toBoolean(OpcUa_Boolean& value) const {
    return convert(*this, value);
}
OpcUa_StatusCode UaVariant::toSByte(OpcUa_SByte& value) const {
    return convert(*this, value);
}
OpcUa_StatusCode UaVariant::toByte(OpcUa_Byte& value) const {
    return convert(*this, value);
}
OpcUa_StatusCode UaVariant::toInt16(OpcUa_Int16& value) const {
    return convert(*this, value);
}
OpcUa_StatusCode UaVariant::toUInt16(OpcUa_UInt16& value) const {
    return convert(*this, value);
}
OpcUa_StatusCode UaVariant::toInt32(OpcUa_Int32& value) const {
    return convert(*this, value);
}
OpcUa_StatusCode UaVariant::toUInt32(OpcUa_UInt32& value) const {
    return convert(*this, value);
}
OpcUa_StatusCode UaVariant::toInt64(OpcUa_Int64& value) const {
    return convert(*this, value);
}
OpcUa_StatusCode UaVariant::toUInt64(OpcUa_UInt64& value) const {
    return convert(*this, value);
}
OpcUa_StatusCode UaVariant::toFloat(OpcUa_Float& value) const {
    return convert(*this, value);
}
OpcUa_StatusCode UaVariant::toDouble(OpcUa_Double& value) const {
    return convert(*this, value);
}

UaString UaVariant::toString() const {
    UaString text;
    if (isScalar(m_variant))
        convertScalar(type(), m_variant.data, text);
    return text;
}

void UaVariant::setBoolean(OpcUa_Boolean value) {
    setInline(OpcUaType_Boolean, &value, sizeof(value));
}
void UaVariant::setSByte(OpcUa_SByte value) {
    setInline(OpcUaType_SByte, &value, sizeof(value));
}
void UaVariant::setByte(OpcUa_Byte value) {
    setInline(OpcUaType_Byte, &value, sizeof(value));
}
void UaVariant::setInt16(OpcUa_Int16 value) {
    setInline(OpcUaType_Int16, &value, sizeof(value));
}
void UaVariant::setUInt16(OpcUa_UInt16 value) {
    setInline(OpcUaType_UInt16, &value, sizeof(value));
}
void UaVariant::setInt32(OpcUa_Int32 value) {
    setInline(OpcUaType_Int32, &value, sizeof(value));
}
void UaVariant::setUInt32(OpcUa_UInt32 value) {
    setInline(OpcUaType_UInt32, &value, sizeof(value));
}
void UaVariant::setInt64(OpcUa_Int64 value) {
    setInline(OpcUaType_Int64, &value, sizeof(value));
}
void UaVariant::setUInt64(OpcUa_UInt64 value) {
    setInline(OpcUaType_UInt64, &value, sizeof(value));
}
void UaVariant::setFloat(OpcUa_Float value) {
    setInline(OpcUaType_Float, &value, sizeof(value));
}
void UaVariant::setDouble(OpcUa_Double value) {
    setInline(OpcUaType_Double, &value, sizeof(value));
}

void UaVariant::setString(const UaString& value) {
    const OpcUa_String view = value.view();
    OpcUa_String copy;
    throwIfBad(UA_String_copy(&view, &copy));
    setInline(OpcUaType_String, &copy, sizeof(copy));
}

OpcUa_StatusCode UaVariant::copyTo(OpcUa_Variant* target) const {
    return UA_Variant_copy(&m_variant, target);
}

OpcUa_StatusCode UaVariant::moveTo(OpcUa_Variant* target) {
    if (isView()) // as what lies inside is
        return copyTo(target);
    *target = m_variant;
    UA_Variant_init(&m_variant);
    return OpcUa_Good;
}

void UaVariant::copyFrom(const OpcUa_Variant& source) {
    UA_Variant_init(&m_variant);
    if (!isScalar(source) || source.type->memSize > inlineSize) {
        throwIfBad(UA_Variant_copy(&source, &m_variant));
        return;
    }
    throwIfBad(UA_copy(source.data, m_inline, source.type));
    m_variant.type = source.type;
    m_variant.storageType = UA_VARIANT_DATA_NODELETE;
    m_variant.data = m_inline;
}

void UaVariant::moveFrom(UaVariant& source) noexcept {
    m_variant = source.m_variant;
    if (m_variant.data == source.m_inline) {
        std::memcpy(m_inline, source.m_inline, inlineSize);
        m_variant.data = m_inline;
    }
    UA_Variant_init(&source.m_variant);
}

void UaVariant::setInline(OpcUa_BuiltInType type, const void* value, std::size_t size) {
    clear();
    std::memcpy(m_inline, value, size);
    m_variant.type = &UA_TYPES[type - 1];
    m_variant.storageType = UA_VARIANT_DATA_NODELETE;
    m_variant.data = m_inline;
}
