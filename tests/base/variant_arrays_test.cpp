#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <open62541/types_generated_handling.h>

#include "array_operations.h"
#include "uabase/variant.h"

namespace {

template <typename Element>
UaProtocolArray<Element> arrayOf(const std::vector<Element>& elements) {
    UaProtocolArray<Element> array;
    array.create(static_cast<OpcUa_UInt32>(elements.size()));
    for (OpcUa_UInt32 i = 0; i < array.length(); ++i)
        array.replace(i, elements[i]);
    return array;
}

template <typename Element>
UaVariant variantOf(const std::vector<Element>& elements) {
    UaVariant variant;
    setArray(variant, arrayOf(elements));
    return variant;
}

UaVariant variantOfTexts(const std::vector<std::string>& texts) {
    UaStringArray array;
    array.create(static_cast<OpcUa_UInt32>(texts.size()));
    for (OpcUa_UInt32 i = 0; i < array.length(); ++i)
        array.replace(i, UaString(texts[i]).view());
    UaVariant variant;
    setArray(variant, std::move(array));
    return variant;
}

template <typename Element>
UaVariant variantOfLimits(std::vector<Element> more = {}) {
    using Limits = std::numeric_limits<Element>;
    more.insert(more.end(), {Limits::lowest(), Limits::max(), static_cast<Element>(0),
                             static_cast<Element>(1), static_cast<Element>(100)});
    return variantOf(more);
}

/// A variant of each of the twelve types, with elements that convert and elements that don't.
std::vector<UaVariant> sources() {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    std::vector<UaVariant> variants;
    variants.push_back(variantOf<OpcUa_Boolean>({false, true}));
    variants.push_back(variantOfLimits<OpcUa_SByte>({-1}));
    variants.push_back(variantOfLimits<OpcUa_Byte>({128}));
    variants.push_back(variantOfLimits<OpcUa_Int16>({-129, 255, 256}));
    variants.push_back(variantOfLimits<OpcUa_UInt16>({32768}));
    variants.push_back(variantOfLimits<OpcUa_Int32>({-32769, 65536}));
    variants.push_back(variantOfLimits<OpcUa_UInt32>({2147483648U}));
    variants.push_back(variantOfLimits<OpcUa_Int64>({-2147483649LL, 4294967296LL}));
    variants.push_back(variantOfLimits<OpcUa_UInt64>({9223372036854775808ULL}));
    variants.push_back(variantOfLimits<OpcUa_Float>(
        {2.5F, -2.5F, static_cast<float>(nan), static_cast<float>(infinity), static_cast<float>(-infinity)}));
    variants.push_back(variantOfLimits<OpcUa_Double>({2.5, -2.5, 1e39, nan, infinity, -infinity}));
    variants.push_back(variantOfTexts({"1", "true", "-1", "300", "2.5", "1e39", "nan", "", "Line 1"}));
    return variants;
}

/// One element as a scalar.
UaVariant scalarAt(const UaVariant& array, OpcUa_UInt32 index) {
    OpcUa_Variant borrowed = array.raw();
    borrowed.storageType = UA_VARIANT_DATA_NODELETE;
    borrowed.arrayLength = 0;
    borrowed.data = static_cast<char*>(borrowed.data) + index * borrowed.type->memSize;
    return UaVariant(borrowed);
}

template <typename Value>
std::string bytesOf(const Value& value) {
    return {reinterpret_cast<const char*>(&value), sizeof(value)};
}
std::string bytesOf(const OpcUa_String& text) {
    return UaString(text).text();
}

/// What the conversion of a scalar to one of the types gives.
template <auto Conversion>
struct ScalarConversion;
template <typename Value, OpcUa_StatusCode (UaVariant::*Conversion)(Value&) const>
struct ScalarConversion<Conversion> {
    using Element = Value;
    static std::pair<OpcUa_StatusCode, std::string> of(const UaVariant& scalar) {
        Value value;
        const OpcUa_StatusCode status = (scalar.*Conversion)(value);
        return {status, bytesOf(value)};
    }
};
template <>
struct ScalarConversion<&UaVariant::toString> {
    using Element = OpcUa_String;
    static std::pair<OpcUa_StatusCode, std::string> of(const UaVariant& scalar) {
        return {OpcUa_Good, scalar.toString().text()};
    }
};

template <typename Conversion>
class ArrayConversion : public testing::Test {};

using Conversions =
    testing::Types<ScalarConversion<&UaVariant::toBoolean>, ScalarConversion<&UaVariant::toSByte>,
                   ScalarConversion<&UaVariant::toByte>, ScalarConversion<&UaVariant::toInt16>,
                   ScalarConversion<&UaVariant::toUInt16>, ScalarConversion<&UaVariant::toInt32>,
                   ScalarConversion<&UaVariant::toUInt32>, ScalarConversion<&UaVariant::toInt64>,
                   ScalarConversion<&UaVariant::toUInt64>, ScalarConversion<&UaVariant::toFloat>,
                   ScalarConversion<&UaVariant::toDouble>, ScalarConversion<&UaVariant::toString>>;
TYPED_TEST_SUITE(ArrayConversion, Conversions, );

TYPED_TEST(ArrayConversion, TreatsEveryElementOfEveryTypeLikeAScalar) {
    for (const UaVariant& source : sources()) {
        UaVariant copy(source);
        UaProtocolArray<typename TypeParam::Element> values;
        const OpcUa_StatusCode status = toArray(std::move(copy), values);
        ASSERT_EQ(values.length(), source.arraySize());
        OpcUa_StatusCode expectedStatus = OpcUa_Good;
        for (OpcUa_UInt32 i = 0; i < values.length(); ++i) {
            const UaVariant scalar = scalarAt(source, i);
            SCOPED_TRACE(scalar.toString().text() + " of type " + std::to_string(source.type()));
            const auto [scalarStatus, bytes] = TypeParam::of(scalar);
            EXPECT_EQ(bytesOf(values[i]), bytes);
            if (expectedStatus == OpcUa_Good)
                expectedStatus = scalarStatus;
        }
        EXPECT_EQ(status, expectedStatus) << source.type();
    }
}

TYPED_TEST(ArrayConversion, HandsElementsOfItsOwnTypeOver) {
    UaProtocolArray<typename TypeParam::Element> source;
    source.create(12);
    const auto* const elements = source.rawData();
    UaVariant variant;
    setArray(variant, std::move(source));
    EXPECT_EQ(source.length(), 0U);
    EXPECT_TRUE(variant.isArray());
    EXPECT_EQ(variant.arraySize(), 12U);

    UaProtocolArray<typename TypeParam::Element> values;
    values.create(1);
    ASSERT_EQ(toArray(std::move(variant), values), OpcUa_Good);
    EXPECT_EQ(values.rawData(), elements);
    ASSERT_EQ(values.length(), 12U);

    UaUInt32Array dimensions = arrayOf<OpcUa_UInt32>({3, 4});
    ASSERT_EQ(setMatrix(variant, std::move(values), std::move(dimensions)), OpcUa_Good);
    EXPECT_TRUE(variant.isMatrix());
    EXPECT_FALSE(variant.isArray());
    EXPECT_EQ(variant.raw().data, elements);

    ASSERT_EQ(toMatrix(std::move(variant), values, dimensions), OpcUa_Good);
    EXPECT_EQ(values.rawData(), elements);
    EXPECT_EQ((std::vector<OpcUa_UInt32>(dimensions.begin(), dimensions.end())),
              (std::vector<OpcUa_UInt32>{3, 4}));
}

TYPED_TEST(ArrayConversion, AnEmptyArrayStaysOne) {
    using Element = typename TypeParam::Element;
    UaVariant variant;
    setArray(variant, UaProtocolArray<Element>());
    EXPECT_TRUE(variant.isArray());
    EXPECT_EQ(variant.arraySize(), 0U);
    UaProtocolArray<Element> values;
    values.create(1);
    EXPECT_EQ(toArray(std::move(variant), values), OpcUa_Good);
    EXPECT_EQ(values.length(), 0U);
    EXPECT_TRUE(variant.isEmpty());
}

TYPED_TEST(ArrayConversion, WhatIsNoArrayHasNoElements) {
    UaProtocolArray<typename TypeParam::Element> values;
    UaUInt32Array dimensions;
    UaVariant scalar;
    scalar.setInt32(1);
    for (const UaVariant& source : {UaVariant(), scalar}) {
        for (const bool matrix : {false, true}) {
            values.create(1);
            dimensions.create(2);
            UaVariant copy(source);
            EXPECT_EQ(matrix ? toMatrix(std::move(copy), values, dimensions)
                             : toArray(std::move(copy), values),
                      OpcUa_BadTypeMismatch);
            EXPECT_EQ(values.length(), 0U);
            EXPECT_TRUE(copy.isEmpty());
        }
    }
    EXPECT_EQ(dimensions.length(), 0U);
}

TEST(VariantArrays, AnArrayIsNoMatrix) {
    UaVariant array = variantOf<OpcUa_Int32>({1, 2, 3});
    UaInt32Array values;
    UaUInt32Array dimensions;
    EXPECT_EQ(toMatrix(std::move(array), values, dimensions), OpcUa_BadTypeMismatch);
    EXPECT_EQ(values.length(), 0U);
}

TEST(VariantArrays, AMatrixConvertsInRowMajorOrder) {
    UaVariant matrix;
    ASSERT_EQ(setMatrix(matrix, arrayOf<OpcUa_Int32>({0, 1, 2, 3, 4, 5}), arrayOf<OpcUa_UInt32>({2, 3})),
              OpcUa_Good);
    UaVariant copy(matrix);
    UaDoubleArray values;
    EXPECT_EQ(toArray(std::move(copy), values), OpcUa_Good);
    EXPECT_EQ((std::vector<double>(values.begin(), values.end())), (std::vector<double>{0, 1, 2, 3, 4, 5}));
    UaStringArray texts;
    UaUInt32Array dimensions;
    EXPECT_EQ(toMatrix(std::move(matrix), texts, dimensions), OpcUa_Good);
    ASSERT_EQ(texts.length(), 6U);
    EXPECT_EQ(UaString(texts[5]), UaString("5"));
    EXPECT_EQ(dimensions.length(), 2U);
}

TEST(VariantArrays, DimensionsThatContradictTheElementsAreRefused) {
    const std::vector<std::vector<OpcUa_UInt32>> lies = {
        {}, {6}, {2, 4}, {0, 6}, {UINT32_MAX, UINT32_MAX, UINT32_MAX}, {1U << 31, 1U << 31, 1U << 2, 6}};
    for (const std::vector<OpcUa_UInt32>& dimensions : lies) {
        UaVariant matrix;
        EXPECT_EQ(setMatrix(matrix, arrayOf<OpcUa_Double>({0, 1, 2, 3, 4, 5}), arrayOf(dimensions)),
                  OpcUa_BadInvalidArgument)
            << testing::PrintToString(dimensions);
        EXPECT_TRUE(matrix.isEmpty());
    }
}

TEST(VariantArrays, AContradictoryMatrixGivesNoElements) {
    OpcUa_Variant lie;
    const double elements[6] = {};
    ASSERT_EQ(UA_Variant_setArrayCopy(&lie, elements, 6, &UA_TYPES[UA_TYPES_DOUBLE]), OpcUa_Good);
    const OpcUa_UInt32 lengths[] = {3, 4};
    void* dimensions = nullptr;
    ASSERT_EQ(UA_Array_copy(lengths, 2, &dimensions, &UA_TYPES[UA_TYPES_UINT32]), OpcUa_Good);
    lie.arrayDimensions = static_cast<OpcUa_UInt32*>(dimensions);
    lie.arrayDimensionsSize = 2;
    UaVariant variant;
    variant.attach(lie);
    UaDoubleArray values;
    EXPECT_EQ(toArray(std::move(variant), values), OpcUa_BadTypeMismatch);
    EXPECT_EQ(values.length(), 0U);
}

TEST(VariantArrays, ElementsWithoutAFormAreMismatches) {
    OpcUa_Variant ranges;
    const UA_Range range = {0, 100};
    ASSERT_EQ(UA_Variant_setArrayCopy(&ranges, &range, 1, &UA_TYPES[UA_TYPES_RANGE]), OpcUa_Good);
    UaVariant variant;
    variant.attach(ranges);
    UaVariant copy(variant);
    UaDoubleArray values;
    EXPECT_EQ(toArray(std::move(variant), values), OpcUa_BadTypeMismatch);
    ASSERT_EQ(values.length(), 1U);
    EXPECT_EQ(values[0], 0);
    UaStringArray texts;
    EXPECT_EQ(toArray(std::move(copy), texts), OpcUa_BadTypeMismatch);
    ASSERT_EQ(texts.length(), 1U);
    EXPECT_EQ(texts[0].length, 0U);
}

TEST(VariantArrays, EnumerationsAreInt32) {
    OpcUa_Variant states;
    const UA_ServerState state = UA_SERVERSTATE_TEST;
    ASSERT_EQ(UA_Variant_setArrayCopy(&states, &state, 1, &UA_TYPES[UA_TYPES_SERVERSTATE]), OpcUa_Good);
    UaVariant variant;
    variant.attach(states);
    UaInt32Array values;
    EXPECT_EQ(toArray(std::move(variant), values), OpcUa_Good);
    ASSERT_EQ(values.length(), 1U);
    EXPECT_EQ(values[0], 5);
}

TEST(VariantArrays, MoveToGivesTheElementsAway) {
    UaVariant array = variantOf<OpcUa_Double>({1, 2, 3});
    const void* const elements = array.raw().data;
    OpcUa_Variant target;
    ASSERT_EQ(array.moveTo(&target), OpcUa_Good);
    EXPECT_EQ(target.data, elements);
    EXPECT_TRUE(array.isEmpty());
    array.attach(target);
    EXPECT_EQ(array.raw().data, elements);

    UaVariant text{UaString("text")};
    ASSERT_EQ(text.moveTo(&target), OpcUa_Good);
    EXPECT_EQ(target.storageType, UA_VARIANT_DATA);
    text.clear();
    text.attach(target);
    EXPECT_EQ(text.toString(), UaString("text"));
}

} // namespace
