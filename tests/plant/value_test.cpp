#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include <gmock/gmock.h>

#include "plant_fixture.h"

using test_support::ReadValue;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::string textOf(UA_String string) {
    return {reinterpret_cast<const char*>(string.data), string.length};
}

/// What the server is to hold for one of the twelve types, and another value to write.
template <class T>
struct Expected {
    static T scalar;
    static T other;
    static const char* name;
};

#define EXPECT_OF(Name, scalarValue, otherValue)                                                             \
    template <>                                                                                              \
    UA_##Name Expected<UA_##Name>::scalar = scalarValue;                                                     \
    template <>                                                                                              \
    UA_##Name Expected<UA_##Name>::other = otherValue;                                                       \
    template <>                                                                                              \
    const char* Expected<UA_##Name>::name = #Name

EXPECT_OF(Boolean, true, false);
EXPECT_OF(SByte, -12, 127);
EXPECT_OF(Byte, 200, 255);
EXPECT_OF(Int16, -1234, 32767);
EXPECT_OF(UInt16, 54321, 65535);
EXPECT_OF(Int32, -123456789, 2147483647);
EXPECT_OF(UInt32, 4000000000, 4294967295);
EXPECT_OF(Int64, -9000000000000000000, 1);
EXPECT_OF(UInt64, 18000000000000000000U, 2);
EXPECT_OF(Float, 3.25F, -0.5F);
EXPECT_OF(Double, -2.718281828459045, 1e300);
EXPECT_OF(String, UA_STRING_STATIC("Hello"), UA_STRING_STATIC("Grüezi"));

template <class T>
void expectEqual(const ReadValue& value, const T& expected) {
    ASSERT_EQ(value.status(), UA_STATUSCODE_GOOD);
    ASSERT_TRUE(UA_Variant_isScalar(&value.variant()));
    if constexpr (std::is_same_v<T, UA_String>)
        EXPECT_EQ(value.text(), textOf(expected));
    else
        EXPECT_EQ(value.get<T>(), expected);
}

/// Element k holds k.
template <class T>
void expectElements(const ReadValue& value, std::size_t count) {
    ASSERT_EQ(value.status(), UA_STATUSCODE_GOOD);
    ASSERT_FALSE(UA_Variant_isScalar(&value.variant()));
    ASSERT_EQ(value.elements(), count);
    for (std::size_t k = 0; k < count; ++k) {
        SCOPED_TRACE(k);
        if constexpr (std::is_same_v<T, UA_String>)
            EXPECT_EQ(value.text(k), "Element " + std::to_string(k));
        else if constexpr (std::is_same_v<T, UA_Boolean>)
            EXPECT_EQ(value.get<T>(k), k % 2 == 1);
        else if constexpr (std::is_floating_point_v<T>)
            EXPECT_EQ(value.get<T>(k), static_cast<T>(k) + T(0.5));
        else
            EXPECT_EQ(value.get<T>(k), static_cast<T>(k));
    }
}

/// Calls `test` with a null pointer to each of the twelve types.
template <class Test>
void forTwelveTypes(const Test& test) {
    const auto one = [&](auto* type) {
        SCOPED_TRACE(Expected<std::remove_pointer_t<decltype(type)>>::name);
        test(type);
    };
    one(static_cast<UA_Boolean*>(nullptr));
    one(static_cast<UA_SByte*>(nullptr));
    one(static_cast<UA_Byte*>(nullptr));
    one(static_cast<UA_Int16*>(nullptr));
    one(static_cast<UA_UInt16*>(nullptr));
    one(static_cast<UA_Int32*>(nullptr));
    one(static_cast<UA_UInt32*>(nullptr));
    one(static_cast<UA_Int64*>(nullptr));
    one(static_cast<UA_UInt64*>(nullptr));
    one(static_cast<UA_Float*>(nullptr));
    one(static_cast<UA_Double*>(nullptr));
    one(static_cast<UA_String*>(nullptr));
}

} // namespace

class PlantValue : public PlantTest {
protected:
    void SetUp() override { start(); }

    template <class T>
    static std::string node(const std::string& folder, T* /*type*/) {
        return rack(folder + "." + Expected<T>::name);
    }
    /// Reads an array or matrix of this type, checks its elements and writes it back as it is.
    template <class T>
    std::vector<UA_UInt32> dimensionsOf(const std::string& folder, std::size_t count, T* type) {
        const ReadValue value = client->read(node(folder, type));
        expectElements<T>(value, count);
        EXPECT_EQ(value.variant().type, test_support::dataType<T>());
        EXPECT_EQ(client->write(node(folder, type), value.variant()), UA_STATUSCODE_GOOD);
        return value.dimensions();
    }
};

TEST_F(PlantValue, ScalarsAreReadAndWritten) {
    forTwelveTypes([&](auto* type) {
        using T = std::remove_pointer_t<decltype(type)>;
        expectEqual(client->read(node("Scalar", type)), Expected<T>::scalar);
        EXPECT_EQ(client->write(node("Scalar", type), Expected<T>::other), UA_STATUSCODE_GOOD);
        expectEqual(client->read(node("Scalar", type)), Expected<T>::other);
    });
}

TEST_F(PlantValue, ScalarsOfAnotherTypeAreRefused) {
    forTwelveTypes([&](auto* type) {
        using T = std::remove_pointer_t<decltype(type)>;
        const std::string scalar = node("Scalar", type);
        constexpr bool isDouble = std::is_same_v<T, UA_Double>;
        const UA_StatusCode status =
            isDouble ? client->write(scalar, UA_Byte{1}) : client->write(scalar, UA_Double{1});
        EXPECT_EQ(status, UA_STATUSCODE_BADTYPEMISMATCH);
        expectEqual(client->read(scalar), Expected<T>::scalar);
    });
}

TEST_F(PlantValue, ArraysHoldTenElementsOrNone) {
    forTwelveTypes([&](auto* type) {
        EXPECT_THAT(dimensionsOf("Array", 10, type), IsEmpty());
        EXPECT_THAT(dimensionsOf("EmptyArray", 0, type), IsEmpty());
    });
}

TEST_F(PlantValue, MatricesHaveTheirDimensions) {
    forTwelveTypes([&](auto* type) {
        EXPECT_THAT(dimensionsOf("Matrix2", 12, type), ElementsAre(3, 4));
        EXPECT_THAT(dimensionsOf("Matrix3", 24, type), ElementsAre(2, 3, 4));
        EXPECT_THAT(dimensionsOf("Matrix16", 12, type),
                    ElementsAre(2, 1, 1, 2, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 3));
    });
}

class PlantSpecialValue : public PlantTest {
protected:
    void SetUp() override { start(); }
    const UA_DataType* typeOf(const std::string& name, std::size_t elements = 1) {
        const ReadValue value = client->read(rack("Special." + name));
        EXPECT_EQ(value.status(), UA_STATUSCODE_GOOD) << name;
        EXPECT_EQ(value.elements(), elements) << name;
        return value.variant().type;
    }
};

TEST_F(PlantSpecialValue, OtherTypesAreThere) {
    EXPECT_EQ(typeOf("DateTime"), &UA_TYPES[UA_TYPES_DATETIME]);
    EXPECT_EQ(typeOf("ByteString"), &UA_TYPES[UA_TYPES_BYTESTRING]);
    EXPECT_EQ(typeOf("LocalizedText"), &UA_TYPES[UA_TYPES_LOCALIZEDTEXT]);
    EXPECT_EQ(typeOf("Guid"), &UA_TYPES[UA_TYPES_GUID]);
    EXPECT_EQ(typeOf("NodeId"), &UA_TYPES[UA_TYPES_NODEID]);
    EXPECT_EQ(typeOf("QualifiedName"), &UA_TYPES[UA_TYPES_QUALIFIEDNAME]);
    EXPECT_EQ(typeOf("StatusCode"), &UA_TYPES[UA_TYPES_STATUSCODE]);
    EXPECT_EQ(typeOf("Structure"), &UA_TYPES[UA_TYPES_RANGE]);
    EXPECT_EQ(typeOf("DateTimeArray", 3), &UA_TYPES[UA_TYPES_DATETIME]);
    EXPECT_EQ(typeOf("LocalizedTextArray", 3), &UA_TYPES[UA_TYPES_LOCALIZEDTEXT]);
    EXPECT_EQ(typeOf("VariantArray", 3), &UA_TYPES[UA_TYPES_VARIANT]);
}

TEST_F(PlantSpecialValue, EnumerationTravelsAsInt32) {
    EXPECT_EQ(client->value<UA_Int32>(rack("Special.Enumeration")), 2);
    EXPECT_EQ(client->write(rack("Special.Enumeration"), UA_Int32{3}), UA_STATUSCODE_GOOD);
    EXPECT_EQ(client->value<UA_Int32>(rack("Special.Enumeration")), 3);
    const ReadValue type = client->read(rack("Special.Enumeration"), UA_ATTRIBUTEID_DATATYPE);
    const UA_NodeId lineState = UA_NODEID_NUMERIC(2, 3001);
    EXPECT_TRUE(UA_NodeId_equal(static_cast<const UA_NodeId*>(type.variant().data), &lineState));
}

TEST_F(PlantSpecialValue, EmptyValueIsGood) {
    const ReadValue value = client->read(rack("Special.Empty"));
    EXPECT_EQ(value.status(), UA_STATUSCODE_GOOD);
    EXPECT_TRUE(UA_Variant_isEmpty(&value.variant()));
}

TEST_F(PlantSpecialValue, SeventeenDimensionsAreMoreThanMostClientsKnow) {
    EXPECT_EQ(client->read(rack("Matrix17.Int32")).dimensions().size(), 17U);
}

TEST_F(PlantSpecialValue, LimitsAreTheTypes) {
    EXPECT_EQ(client->value<UA_Int64>(rack("Limits.Int64Min")), std::numeric_limits<UA_Int64>::min());
    EXPECT_EQ(client->value<UA_UInt64>(rack("Limits.UInt64Max")), std::numeric_limits<UA_UInt64>::max());
    EXPECT_EQ(client->value<UA_Double>(rack("Limits.DoubleMin")), std::numeric_limits<UA_Double>::lowest());
    EXPECT_TRUE(std::isnan(client->value<UA_Float>(rack("Limits.FloatNaN"))));
}
