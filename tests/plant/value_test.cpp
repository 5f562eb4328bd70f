#include "plant_fixture.h"

#include <cmath>
#include <gmock/gmock.h>
#include <limits>

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

#define EXPECT_OF(Type, scalarValue, otherValue)                                                             \
    template <>                                                                                              \
    Type Expected<Type>::scalar = scalarValue;                                                               \
    template <>                                                                                              \
    Type Expected<Type>::other = otherValue;                                                                 \
    template <>                                                                                              \
    const char* Expected<Type>::name = #Type + 3

EXPECT_OF(UA_Boolean, true, false);
EXPECT_OF(UA_SByte, -12, 127);
EXPECT_OF(UA_Byte, 200, 255);
EXPECT_OF(UA_Int16, -1234, 32767);
EXPECT_OF(UA_UInt16, 54321, 65535);
EXPECT_OF(UA_Int32, -123456789, 2147483647);
EXPECT_OF(UA_UInt32, 4000000000, 4294967295);
EXPECT_OF(UA_Int64, -9000000000000000000, 1);
EXPECT_OF(UA_UInt64, 18000000000000000000U, 2);
EXPECT_OF(UA_Float, 3.25F, -0.5F);
EXPECT_OF(UA_Double, -2.718281828459045, 1e300);
EXPECT_OF(UA_String, UA_STRING_STATIC("Hello"), UA_STRING_STATIC("Grüezi"));

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

} // namespace

/// The twelve types share one server: each test writes nodes of its own type only.
template <class T>
class PlantValue : public testing::Test {
protected:
    static void SetUpTestSuite() {
        server = new test_support::PlantServer;
        client = new test_support::RawClient(server->url());
    }
    static void TearDownTestSuite() {
        delete client;
        delete server;
    }

    static std::string node(const std::string& folder) {
        return "ns=3;s=TestRack." + folder + "." + Expected<T>::name;
    }
    static ReadValue read(const std::string& folder) { return client->read(node(folder)); }

    static test_support::PlantServer* server;
    static test_support::RawClient* client;
};
template <class T>
test_support::PlantServer* PlantValue<T>::server;
template <class T>
test_support::RawClient* PlantValue<T>::client;

using TwelveTypes = testing::Types<UA_Boolean, UA_SByte, UA_Byte, UA_Int16, UA_UInt16, UA_Int32, UA_UInt32,
                                   UA_Int64, UA_UInt64, UA_Float, UA_Double, UA_String>;
TYPED_TEST_SUITE(PlantValue, TwelveTypes);

TYPED_TEST(PlantValue, ScalarIsReadAndWritten) {
    expectEqual(this->read("Scalar"), Expected<TypeParam>::scalar);
    ASSERT_EQ(this->client->write(this->node("Scalar"), Expected<TypeParam>::other), UA_STATUSCODE_GOOD);
    expectEqual(this->read("Scalar"), Expected<TypeParam>::other);
}

TYPED_TEST(PlantValue, ArrayHasTenElements) {
    const ReadValue array = this->read("Array");
    expectElements<TypeParam>(array, 10);
    EXPECT_THAT(array.dimensions(), IsEmpty());
    EXPECT_EQ(this->client->write(this->node("Array"), array.variant()), UA_STATUSCODE_GOOD);
}

TYPED_TEST(PlantValue, EmptyArrayKeepsItsType) {
    const ReadValue array = this->read("EmptyArray");
    expectElements<TypeParam>(array, 0);
    EXPECT_EQ(array.variant().type, test_support::dataType<TypeParam>());
}

TYPED_TEST(PlantValue, MatricesHaveTheirDimensions) {
    const ReadValue two = this->read("Matrix2");
    expectElements<TypeParam>(two, 12);
    EXPECT_THAT(two.dimensions(), ElementsAre(3, 4));
    EXPECT_EQ(this->client->write(this->node("Matrix2"), two.variant()), UA_STATUSCODE_GOOD);

    const ReadValue three = this->read("Matrix3");
    expectElements<TypeParam>(three, 24);
    EXPECT_THAT(three.dimensions(), ElementsAre(2, 3, 4));
    EXPECT_EQ(this->client->write(this->node("Matrix3"), three.variant()), UA_STATUSCODE_GOOD);

    const ReadValue sixteen = this->read("Matrix16");
    expectElements<TypeParam>(sixteen, 12);
    EXPECT_THAT(sixteen.dimensions(), ElementsAre(2, 1, 1, 2, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 3));
}

TYPED_TEST(PlantValue, ScalarOfAnotherTypeIsRefused) {
    const UA_StatusCode status = std::is_same_v<TypeParam, UA_Double>
                                     ? this->client->write(this->node("Scalar"), UA_Byte{1})
                                     : this->client->write(this->node("Scalar"), UA_Double{1});
    EXPECT_EQ(status, UA_STATUSCODE_BADTYPEMISMATCH);
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
