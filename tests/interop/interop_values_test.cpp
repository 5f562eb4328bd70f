#include "interop_fixture.h"

#include <cstdint>

namespace {

TEST_F(InteropTest, TheTwelveTypesAreReadWrittenAndReadBack) {
    ASSERT_EQ(connect(url()), 0);
    roundTrip<std::uint8_t>("Boolean", OpcUaDataType_Boolean, 1, 0);
    roundTrip<std::int8_t>("SByte", OpcUaDataType_SByte, -12, INT8_MIN);
    roundTrip<std::uint8_t>("Byte", OpcUaDataType_Byte, 200, UINT8_MAX);
    roundTrip<std::int16_t>("Int16", OpcUaDataType_Int16, -1234, INT16_MIN);
    roundTrip<std::uint16_t>("UInt16", OpcUaDataType_UInt16, 54321, UINT16_MAX);
    roundTrip<std::int32_t>("Int32", OpcUaDataType_Int32, -123456789, INT32_MIN);
    roundTrip<std::uint32_t>("UInt32", OpcUaDataType_UInt32, 4000000000U, UINT32_MAX);
    roundTrip<std::int64_t>("Int64", OpcUaDataType_Int64, -12, INT64_MIN);
    roundTrip<std::uint64_t>("UInt64", OpcUaDataType_UInt64, UINT64_MAX - 11, UINT64_MAX);
    roundTrip<float>("Float", OpcUaDataType_Float, 3.25F, -1e30F);
    roundTrip<double>("Double", OpcUaDataType_Double, -2.718281828459045, 1e300);

    const std::string id = "ns=2;s=Scalar.String";
    EXPECT_EQ(readText(id), "Grüße");
    char text[] = "锅炉";
    int size = sizeof text;
    EXPECT_EQ(client.OpcUaSetValue(node(id, OpcUaDataType_String), text, size), 0);
    EXPECT_EQ(readText(id), "锅炉");
}

TEST_F(InteropTest, AValueMoves) {
    ASSERT_EQ(connect(url()), 0);
    const std::string id = "ns=2;s=Moving.Counter";
    const auto first = read<std::uint32_t>(id, OpcUaDataType_UInt32);
    EXPECT_GT(read<std::uint32_t>(id, OpcUaDataType_UInt32), first);
}

} // namespace
