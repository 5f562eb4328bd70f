#include "array_values.h"

#include <algorithm>
#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

#include <open62541/types_generated_handling.h>

#include "protocol_values.h"

namespace {

/// All bytes of a number differ from those of its neighbours.
template <typename Number>
std::string number(unsigned int k) {
    const auto value = static_cast<Number>((k + 1) * 0x01010101U);
    return {reinterpret_cast<const char*>(&value), sizeof(value)};
}

std::string truth(unsigned int k) {
    return std::string(1, k % 2 == 0 ? '\1' : '\0');
}

std::string text(unsigned int k) {
    return std::string(k, 'x') + "Element " + std::to_string(k);
}

} // namespace

std::ostream& operator<<(std::ostream& stream, const ExampleType& type) {
    return stream << type.name;
}

const std::vector<ExampleType>& exampleTypes() {
    static const std::vector<ExampleType> types = {
        {"Boolean", OpcUaType_Boolean, truth},
        {"SByte", OpcUaType_SByte, number<OpcUa_SByte>},
        {"Byte", OpcUaType_Byte, number<OpcUa_Byte>},
        {"Int16", OpcUaType_Int16, number<OpcUa_Int16>},
        {"UInt16", OpcUaType_UInt16, number<OpcUa_UInt16>},
        {"Int32", OpcUaType_Int32, number<OpcUa_Int32>},
        {"UInt32", OpcUaType_UInt32, number<OpcUa_UInt32>},
        {"Int64", OpcUaType_Int64, number<OpcUa_Int64>},
        {"UInt64", OpcUaType_UInt64, number<OpcUa_UInt64>},
        {"Float", OpcUaType_Float, number<OpcUa_Float>},
        {"Double", OpcUaType_Double, number<OpcUa_Double>},
        {"String", OpcUaType_String, text},
    };
    return types;
}

UaVariant exampleArray(const ExampleType& type, const std::vector<OpcUa_UInt32>& dimensions) {
    unsigned int count = 1;
    for (const OpcUa_UInt32 length : dimensions)
        count *= length;
    std::string bytes;
    std::vector<UaString> texts;
    std::vector<OpcUa_String> views;
    for (unsigned int k = 0; k < count; ++k) {
        bytes += type.element(k);
        texts.emplace_back(type.element(k));
    }
    for (const UaString& element : texts)
        views.push_back(element.view());
    const void* elements = type.isText() ? static_cast<const void*>(views.data()) : bytes.data();
    return arrayVariant(type.type, elements, count,
                        dimensions.size() > 1 ? dimensions : std::vector<OpcUa_UInt32>());
}

std::string elementBytes(const UaVariant& array, unsigned int position) {
    const OpcUa_Variant& raw = array.raw();
    const char* const bytes = static_cast<const char*>(raw.data) + position * raw.type->memSize;
    if (array.type() == OpcUaType_String)
        return UaString(*reinterpret_cast<const OpcUa_String*>(bytes)).text();
    return {bytes, raw.type->memSize};
}

std::vector<std::string> allElements(const UaVariant& array) {
    std::vector<std::string> elements;
    for (unsigned int i = 0; i < array.arraySize(); ++i)
        elements.push_back(elementBytes(array, i));
    return elements;
}

std::vector<OpcUa_UInt32> dimensionsOf(const UaVariant& value) {
    const OpcUa_Variant& raw = value.raw();
    return {raw.arrayDimensions, raw.arrayDimensions + raw.arrayDimensionsSize};
}

std::vector<std::vector<unsigned long>> everyIndex(const std::vector<OpcUa_UInt32>& dimensions) {
    std::vector<std::vector<unsigned long>> indices = {{}};
    for (const OpcUa_UInt32 length : dimensions) {
        std::vector<std::vector<unsigned long>> longer;
        for (const std::vector<unsigned long>& index : indices) {
            for (unsigned long i = 0; i < length; ++i) {
                longer.push_back(index);
                longer.back().push_back(i);
            }
        }
        indices = longer;
    }
    return indices;
}

UaVariant arrayOfScalars(const std::vector<UaVariant>& scalars) {
    const UA_DataType* const type = scalars.at(0).raw().type;
    OpcUa_Variant array;
    UA_Variant_init(&array);
    UA_Variant_setArray(&array, UA_Array_new(scalars.size(), type), scalars.size(), type);
    for (std::size_t i = 0; i < scalars.size(); ++i)
        UA_copy(scalars[i].raw().data, static_cast<char*>(array.data) + i * type->memSize, type);
    UaVariant result;
    result.attach(array);
    return result;
}
