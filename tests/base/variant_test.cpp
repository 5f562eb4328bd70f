#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <open62541/types_generated_handling.h>

#include "uabase/variant.h"

namespace {

static_assert(std::is_nothrow_move_constructible_v<UaVariant> &&
              std::is_nothrow_move_assignable_v<UaVariant>);

OpcUa_Variant engineScalar(const void* value, int typeIndex) {
    OpcUa_Variant variant;
    EXPECT_EQ(UA_Variant_setScalarCopy(&variant, value, &UA_TYPES[typeIndex]), OpcUa_Good);
    return variant;
}

/// An Int32 array of `length` elements 0, 1, 2, ... that claims these dimensions.
OpcUa_Variant engineArray(std::size_t length, const std::vector<OpcUa_UInt32>& dimensions = {}) {
    std::vector<OpcUa_Int32> elements(length);
    for (std::size_t i = 0; i < length; ++i)
        elements[i] = static_cast<OpcUa_Int32>(i);
    OpcUa_Variant variant;
    static const OpcUa_Int32 none = 0;
    EXPECT_EQ(UA_Variant_setArrayCopy(&variant, length > 0 ? elements.data() : &none, length,
                                      &UA_TYPES[UA_TYPES_INT32]),
              OpcUa_Good);
    if (!dimensions.empty()) {
        void* copy = nullptr;
        EXPECT_EQ(UA_Array_copy(dimensions.data(), dimensions.size(), &copy, &UA_TYPES[UA_TYPES_UINT32]),
                  OpcUa_Good);
        variant.arrayDimensions = static_cast<OpcUa_UInt32*>(copy);
        variant.arrayDimensionsSize = dimensions.size();
    }
    return variant;
}

UaVariant attached(OpcUa_Variant variant) {
    UaVariant owner;
    owner.attach(variant);
    EXPECT_EQ(variant.type, nullptr);
    EXPECT_EQ(variant.data, nullptr);
    return owner;
}

std::vector<OpcUa_UInt32> dimensionsOf(const UaVariant& variant) {
    UaUInt32Array dimensions;
    dimensions.create(3);
    variant.arrayDimensions(dimensions);
    return {dimensions.begin(), dimensions.end()};
}

TEST(Variant, StartsEmpty) {
    const UaVariant variant;
    EXPECT_TRUE(variant.isEmpty());
    EXPECT_EQ(variant.type(), OpcUaType_Null);
    EXPECT_FALSE(variant.isArray());
    EXPECT_FALSE(variant.isMatrix());
    EXPECT_EQ(variant.arraySize(), 0U);
    EXPECT_EQ(variant.dimensionSize(), 0U);
    EXPECT_TRUE(dimensionsOf(variant).empty());
    EXPECT_TRUE(variant.toString().isEmpty());
}

TEST(Variant, SettersGiveTheirType) {
    UaVariant variant;
    variant.setBoolean(true);
    EXPECT_EQ(variant.type(), OpcUaType_Boolean);
    variant.setSByte(-1);
    EXPECT_EQ(variant.type(), OpcUaType_SByte);
    variant.setByte(1);
    EXPECT_EQ(variant.type(), OpcUaType_Byte);
    variant.setInt16(-1);
    EXPECT_EQ(variant.type(), OpcUaType_Int16);
    variant.setUInt16(1);
    EXPECT_EQ(variant.type(), OpcUaType_UInt16);
    variant.setInt32(-1);
    EXPECT_EQ(variant.type(), OpcUaType_Int32);
    variant.setUInt32(1);
    EXPECT_EQ(variant.type(), OpcUaType_UInt32);
    variant.setInt64(-1);
    EXPECT_EQ(variant.type(), OpcUaType_Int64);
    variant.setUInt64(1);
    EXPECT_EQ(variant.type(), OpcUaType_UInt64);
    variant.setFloat(1.5F);
    EXPECT_EQ(variant.type(), OpcUaType_Float);
    variant.setDouble(1.5);
    EXPECT_EQ(variant.type(), OpcUaType_Double);
    variant.setString("text");
    EXPECT_EQ(variant.type(), OpcUaType_String);
    EXPECT_FALSE(variant.isArray());
    EXPECT_EQ(variant.arraySize(), 0U);
    variant.clear();
    EXPECT_TRUE(variant.isEmpty());
}

TEST(Variant, ScalarsLieInside) {
    UaVariant variant;
    variant.setString("characters lie elsewhere");
    const auto inside = [](const UaVariant& v) {
        const auto* const address = static_cast<const unsigned char*>(v.raw().data);
        const auto* const object = reinterpret_cast<const unsigned char*>(&v);
        return address >= object && address < object + sizeof(v);
    };
    EXPECT_TRUE(inside(variant));
    const UaVariant copy(variant);
    EXPECT_TRUE(inside(copy));
    const UaVariant moved(std::move(variant));
    EXPECT_TRUE(inside(moved));
    UaVariant number;
    number.setInt64(std::numeric_limits<OpcUa_Int64>::min());
    EXPECT_TRUE(inside(number));
    EXPECT_TRUE(inside(UaVariant(number.raw())));
}

TEST(Variant, CopiesOfATextAreDeep) {
    UaVariant copy;
    {
        UaVariant original{UaString("original")};
        copy = original;
        const UaVariant constructed(original);
        original.setString("changed");
        EXPECT_EQ(constructed.toString(), UaString("original"));
    }
    EXPECT_EQ(copy.toString(), UaString("original"));
}

TEST(Variant, MovingLeavesTheSourceEmpty) {
    UaVariant text{UaString("text")};
    const UaVariant movedText(std::move(text));
    EXPECT_TRUE(text.isEmpty()); // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
    EXPECT_EQ(movedText.toString(), UaString("text"));

    UaVariant array = attached(engineArray(3));
    const void* const elements = array.raw().data;
    UaVariant target{UaString("old")};
    target = std::move(array);
    EXPECT_TRUE(array.isEmpty()); // NOLINT(bugprone-use-after-move,clang-analyzer-cplusplus.Move)
    EXPECT_EQ(target.raw().data, elements);
}

TEST(Variant, AssigningToItselfKeepsTheValue) {
    UaVariant variant{UaString("text")};
    UaVariant& alias = variant;
    variant = alias;
    EXPECT_EQ(variant.toString(), UaString("text"));
    variant = std::move(alias);
    EXPECT_EQ(variant.toString(), UaString("text"));
}

TEST(Variant, AttachTakesHeapDataOver) {
    const OpcUa_Variant array = engineArray(3);
    const void* const elements = array.data;
    const UaVariant variant = attached(array);
    EXPECT_EQ(variant.raw().data, elements);

    const OpcUa_Double number = 2.5;
    OpcUa_Variant scalar = engineScalar(&number, UA_TYPES_DOUBLE);
    const void* const data = scalar.data;
    UaVariant owner{UaString("old")};
    owner.attach(scalar);
    EXPECT_EQ(owner.raw().data, data);
    OpcUa_Double value = 0;
    EXPECT_EQ(owner.toDouble(value), OpcUa_Good);
    EXPECT_EQ(value, number);
}

TEST(Variant, AttachOfBorrowedDataCopiesIt) {
    UaVariant source{UaString("text")};
    const OpcUa_Variant borrowed = source.raw();
    ASSERT_EQ(borrowed.storageType, UA_VARIANT_DATA_NODELETE);
    const UaVariant variant = attached(borrowed);
    source.setString("changed");
    EXPECT_EQ(variant.toString(), UaString("text"));
}

TEST(Variant, CopyToGivesTheCallerItsOwn) {
    OpcUa_Variant copy;
    {
        const UaVariant variant{UaString("text")};
        ASSERT_EQ(variant.copyTo(&copy), OpcUa_Good);
    }
    EXPECT_EQ(copy.storageType, UA_VARIANT_DATA);
    EXPECT_EQ(attached(copy).toString(), UaString("text"));

    ASSERT_EQ(UaVariant().copyTo(&copy), OpcUa_Good);
    EXPECT_EQ(copy.type, nullptr);
}

TEST(Variant, AnArrayIsNoMatrix) {
    for (const UaVariant& array : {attached(engineArray(5)), attached(engineArray(5, {5}))}) {
        EXPECT_TRUE(array.isArray());
        EXPECT_FALSE(array.isMatrix());
        EXPECT_EQ(array.type(), OpcUaType_Int32);
        EXPECT_EQ(array.arraySize(), 5U);
        EXPECT_EQ(array.noOfMatrixElements(), 0U);
        EXPECT_EQ(array.dimensionSize(), 0U);
        EXPECT_TRUE(dimensionsOf(array).empty());
    }
}

TEST(Variant, AnEmptyArrayIsAnArray) {
    const UaVariant array = attached(engineArray(0));
    EXPECT_FALSE(array.isEmpty());
    EXPECT_TRUE(array.isArray());
    EXPECT_EQ(array.arraySize(), 0U);
    EXPECT_TRUE(UaVariant(array).isArray());
}

TEST(Variant, AMatrixHasItsDimensions) {
    const UaVariant matrix = attached(engineArray(24, {2, 3, 4}));
    const UaVariant copy(matrix);
    for (const UaVariant* variant : {&matrix, &copy}) {
        EXPECT_TRUE(variant->isMatrix());
        EXPECT_FALSE(variant->isArray());
        EXPECT_EQ(variant->arraySize(), 24U);
        EXPECT_EQ(variant->noOfMatrixElements(), 24U);
        EXPECT_EQ(variant->dimensionSize(), 3U);
        EXPECT_EQ(dimensionsOf(*variant), (std::vector<OpcUa_UInt32>{2, 3, 4}));
    }
}

TEST(Variant, AMatrixMayHaveManyDimensionsOrNoElements) {
    EXPECT_EQ(attached(engineArray(1, std::vector<OpcUa_UInt32>(17, 1))).dimensionSize(), 17U);
    const UaVariant empty = attached(engineArray(0, {0, 3}));
    EXPECT_TRUE(empty.isMatrix());
    EXPECT_EQ(empty.arraySize(), 0U);
}

TEST(Variant, DimensionsThatContradictTheElementsAreNotBelieved) {
    const std::vector<std::vector<OpcUa_UInt32>> lies = {
        {2, 4},
        {0, 6},
        {6, 0},
        {UINT32_MAX, UINT32_MAX},
        // Products that come to 6 when they wrap around at 64 bits and at 32.
        {2112351278U, 998034439U, 35},
        {2, 2147483651U},
    };
    for (const std::vector<OpcUa_UInt32>& dimensions : lies) {
        const UaVariant variant = attached(engineArray(6, dimensions));
        EXPECT_FALSE(variant.isMatrix()) << testing::PrintToString(dimensions);
        EXPECT_FALSE(variant.isArray());
        EXPECT_EQ(variant.arraySize(), 6U);
        EXPECT_EQ(variant.dimensionSize(), 0U);
        EXPECT_TRUE(dimensionsOf(variant).empty());
    }
}

TEST(Variant, AnEnumerationIsAnInt32) {
    const UA_ApplicationType server = UA_APPLICATIONTYPE_CLIENT;
    const UaVariant variant = attached(engineScalar(&server, UA_TYPES_APPLICATIONTYPE));
    EXPECT_EQ(variant.type(), OpcUaType_Int32);
    OpcUa_Int32 value = 0;
    EXPECT_EQ(variant.toInt32(value), OpcUa_Good);
    EXPECT_EQ(value, 1);
    OpcUa_Double real = 0;
    EXPECT_EQ(variant.toDouble(real), OpcUa_Good);
    EXPECT_EQ(real, 1);
    EXPECT_EQ(variant.toString(), UaString("1"));
}

TEST(Variant, AStructureIsAnExtensionObject) {
    UA_Range range = {0, 100};
    const UaVariant variant = attached(engineScalar(&range, UA_TYPES_RANGE));
    EXPECT_EQ(variant.type(), OpcUaType_ExtensionObject);
    EXPECT_TRUE(variant.toString().isEmpty());
    EXPECT_EQ(UaVariant(variant).type(), OpcUaType_ExtensionObject);
}

TEST(Variant, ALargeScalarIsOwnedToo) {
    UA_LocalizedText text = UA_LOCALIZEDTEXT_ALLOC("de", "Drehzahl");
    UaVariant copy;
    {
        const UaVariant variant = attached(engineScalar(&text, UA_TYPES_LOCALIZEDTEXT));
        copy = variant;
        EXPECT_NE(copy.raw().data, variant.raw().data);
    }
    UA_LocalizedText_clear(&text);
    EXPECT_EQ(static_cast<int>(copy.type()), 21);
    EXPECT_EQ(copy.toString(), UaString("Drehzahl"));
}

} // namespace
