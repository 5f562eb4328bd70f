#include <cstddef>
#include <utility>

#include "element_type.h"
#include "engine.h"
#include "scalar_conversion.h"
#include "uabase/variant.h"

namespace {

template <typename Element>
OpcUa_StatusCode convertElement(OpcUa_BuiltInType type, const void* data, Element& element) {
    return convertScalar(type, data, element);
}

OpcUa_StatusCode convertElement(OpcUa_BuiltInType type, const void* data, OpcUa_String& element) {
    UaString text;
    const OpcUa_StatusCode status = convertScalar(type, data, text);
    const OpcUa_String view = text.view();
    throwIfBad(UA_String_copy(&view, &element));
    return status;
}

template <typename Element>
OpcUa_StatusCode convertElements(const UaVariant& source, UaProtocolArray<Element>& values) {
    const OpcUa_BuiltInType type = source.type();
    const std::size_t width = source.raw().type->memSize;
    const auto* data = static_cast<const unsigned char*>(source.raw().data);
    values.create(source.arraySize());
    OpcUa_StatusCode result = OpcUa_Good;
    for (OpcUa_UInt32 i = 0; i < values.length(); ++i) {
        const OpcUa_StatusCode status = convertElement(type, data + i * width, values[i]);
        if (result == OpcUa_Good)
            result = status;
    }
    return result;
}

} // namespace

template <typename Element>
OpcUa_StatusCode UaVariant::toArray(UaProtocolArray<Element>& values) && {
    UaVariant source(std::move(*this));
    if (!source.isArray() && !source.isMatrix()) {
        values.clear();
        return OpcUa_BadTypeMismatch;
    }
    if (source.type() != typeIndex<Element> + 1 || source.isView())
        return convertElements(source, values);
    const OpcUa_UInt32 length = source.arraySize();
    source.m_variant.arrayLength = 0;
    values.attach(length, static_cast<Element*>(std::exchange(source.m_variant.data, nullptr)));
    return OpcUa_Good;
}

template <typename Element>
OpcUa_StatusCode UaVariant::toMatrix(UaProtocolArray<Element>& values, UaUInt32Array& dimensions) && {
    UaVariant source(std::move(*this));
    source.arrayDimensions(dimensions);
    if (!source.isMatrix())
        source.clear();
    return std::move(source).toArray(values);
}

template <typename Element>
void UaVariant::setArray(UaProtocolArray<Element>&& values) {
    clear();
    const OpcUa_UInt32 length = values.length();
    UA_Variant_setArray(&m_variant, length > 0 ? values.detach() : UA_EMPTY_ARRAY_SENTINEL, length,
                        elementType<Element>());
}

template <typename Element>
OpcUa_StatusCode UaVariant::setMatrix(UaProtocolArray<Element>&& values, UaUInt32Array&& dimensions) {
    setArray(std::move(values));
    m_variant.arrayDimensionsSize = dimensions.length();
    m_variant.arrayDimensions = dimensions.detach();
    if (isMatrix())
        return OpcUa_Good;
    clear();
    return OpcUa_BadInvalidArgument;
}

#define DEFINE_ARRAY_OPERATIONS(Name, Element)                                                               \
    OpcUa_StatusCode UaVariant::to##Name##Array(UaProtocolArray<Element>& values)&& {                        \
        return std::move(*this).toArray(values);                                                             \
    }                                                                                                        \
    OpcUa_StatusCode UaVariant::to##Name##Matrix(UaProtocolArray<Element>& values,                           \
                                                 UaUInt32Array& dimensions)&& {                              \
        return std::move(*this).toMatrix(values, dimensions);                                                \
    }                                                                                                        \
    void UaVariant::set##Name##Array(UaProtocolArray<Element>&& values) {                                    \
        setArray(std::move(values));                                                                         \
    }                                                                                                        \
    OpcUa_StatusCode UaVariant::set##Name##Matrix(UaProtocolArray<Element>&& values,                         \
                                                  UaUInt32Array&& dimensions) {                              \
        return setMatrix(std::move(values), std::move(dimensions));                                          \
    }

DEFINE_ARRAY_OPERATIONS(Bool, OpcUa_Boolean)
DEFINE_ARRAY_OPERATIONS(SByte, OpcUa_SByte)
DEFINE_ARRAY_OPERATIONS(Byte, OpcUa_Byte)
DEFINE_ARRAY_OPERATIONS(Int16, OpcUa_Int16)
DEFINE_ARRAY_OPERATIONS(UInt16, OpcUa_UInt16)
DEFINE_ARRAY_OPERATIONS(Int32, OpcUa_Int32)
DEFINE_ARRAY_OPERATIONS(UInt32, OpcUa_UInt32)
DEFINE_ARRAY_OPERATIONS(Int64, OpcUa_Int64)
DEFINE_ARRAY_OPERATIONS(UInt64, OpcUa_UInt64)
DEFINE_ARRAY_OPERATIONS(Float, OpcUa_Float)
DEFINE_ARRAY_OPERATIONS(Double, OpcUa_Double)
DEFINE_ARRAY_OPERATIONS(String, OpcUa_String)
#undef DEFINE_ARRAY_OPERATIONS
