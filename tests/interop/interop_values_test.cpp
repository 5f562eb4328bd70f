#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "interop_fixture.h"
#include "recording_application.h"

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

class InteropValues : public InteropTest {
protected:
    using Indices = std::vector<unsigned long>;

    void SetUp() override { ASSERT_EQ(connect(url()), 0); }

    /// An element as text, whatever its type.
    std::string element(const std::string& id, Indices index) {
        char text[64] = {};
        int size = sizeof text;
        EXPECT_EQ(client.OpcUaGetArrayValue(node(id, OpcUaDataType_String), index.data(),
                                            static_cast<int>(index.size()), text, size),
                  0)
            << id;
        return text;
    }
    /// Copies the bytes of one element onto another.
    void copyElement(const std::string& id, _OpcUaDataType type, Indices from, Indices to) {
        OpcUaNode* const record = node(id, type);
        const int count = static_cast<int>(from.size());
        char bytes[64] = {};
        int size = sizeof bytes;
        EXPECT_EQ(client.OpcUaGetArrayValue(record, from.data(), count, bytes, size), 0) << id;
        EXPECT_EQ(client.OpcUaSetArrayValue(record, to.data(), count, bytes, size), 0) << id;
    }
};

const char* const typeNames[] = {"Boolean", "SByte", "Byte",   "Int16", "UInt16", "Int32",
                                 "UInt32",  "Int64", "UInt64", "Float", "Double", "String"};
const char* const elementTwo[] = {"false", "2", "2", "2", "2", "2", "2", "2", "2", "2.5", "2.5", "Element 2"};
const char* const elementOne[] = {"true", "1", "1", "1", "1", "1", "1", "1", "1", "1.5", "1.5", "Element 1"};

TEST_F(InteropValues, ElementsOfEveryTypeAndShapeAreReadAndWrittenAlone) {
    const std::pair<const char*, Indices> shapes[] = {{"Array", {}}, {"Matrix", {0}}, {"Cube", {0, 0}}};
    for (const auto& [shape, leading] : shapes) {
        std::vector<Indices> at(3, leading);
        for (std::size_t i = 0; i < at.size(); ++i)
            at[i].push_back(i);
        for (int type = OpcUaDataType_Boolean; type <= OpcUaDataType_String; ++type) {
            const std::string id = std::string("ns=2;s=") + shape + "." + typeNames[type - 1];
            EXPECT_EQ(element(id, at[2]), elementTwo[type - 1]) << id;
            copyElement(id, static_cast<_OpcUaDataType>(type), at[2], at[0]);
            EXPECT_EQ(element(id, at[0]), elementTwo[type - 1]) << id;
            EXPECT_EQ(element(id, at[1]), elementOne[type - 1]) << id;
        }
    }
    EXPECT_EQ(element("ns=2;s=Cube.Int32", {1, 2, 3}), "23");
    unsigned long outside[] = {2, 0};
    int value = 77;
    int size = 4;
    OpcUaNode* const matrix = node("ns=2;s=Matrix.Int32", OpcUaDataType_Int32);
    EXPECT_EQ(client.OpcUaGetArrayValue(matrix, outside, 2, &value, size), 7);
    EXPECT_EQ(client.OpcUaSetArrayValue(matrix, outside, 2, &value, size), 8);
}

TEST_F(InteropValues, FortyFiveNodesAreReadAndWrittenInOneCall) {
    constexpr std::size_t count = 45;
    constexpr _OpcUaDataType types[] = {OpcUaDataType_Double, OpcUaDataType_Int32, OpcUaDataType_String};
    std::vector<OpcUaNode> nodes(count);
    std::vector<std::string> buffers(count, std::string(32, '\0'));
    std::vector<OpcUa_ReadNode> reads;
    std::vector<OpcUa_WriteNode> writes;
    for (std::size_t i = 0; i < count; ++i) {
        setField(nodes[i].nodeId, "ns=2;s=Many.Variable" + std::to_string(i));
        nodes[i].dataType = types[i % 3];
        reads.push_back({&nodes[i], buffers[i].data(), 32});
        writes.push_back({&nodes[i], buffers[i].data(), 32});
    }
    ASSERT_EQ(client.OpcUaGetMultiValue(reads.data(), static_cast<int>(count)), 0);
    double number = 0;
    std::memcpy(&number, buffers[42].data(), sizeof number);
    EXPECT_EQ(number, 42);
    EXPECT_STREQ(buffers[44].c_str(), "Text 44");

    for (std::string& buffer : buffers)
        buffer[0] = 'x';
    const std::vector<std::string> changed = buffers;
    ASSERT_EQ(client.OpcUaSetMultiValue(writes.data(), static_cast<int>(count)), 0);
    for (std::size_t i = 0; i < count; ++i) {
        EXPECT_EQ(nodes[i].result, 0) << i;
        std::fill(buffers[i].begin(), buffers[i].end(), '\0');
        reads[i].size = 32;
    }
    ASSERT_EQ(client.OpcUaGetMultiValue(reads.data(), static_cast<int>(count)), 0);
    EXPECT_EQ(buffers, changed);
}

TEST_F(InteropValues, ValuesAreSentAlone) {
    const unsigned before = counted("Written.Values");
    EXPECT_EQ(write<int>("ns=2;s=Scratch", OpcUaDataType_Int32, 5), 0);
    copyElement("ns=2;s=Array.Double", OpcUaDataType_Double, {4}, {3});
    OpcUaNode scratch = *node("ns=2;s=Scratch", OpcUaDataType_Int32);
    int value = 6;
    OpcUa_WriteNode many[] = {{&scratch, &value, sizeof value}, {&scratch, &value, sizeof value}};
    EXPECT_EQ(client.OpcUaSetMultiValue(many, 2), 0);
    EXPECT_EQ(scratch.result, 0);
    EXPECT_EQ(counted("Written.Values"), before + 4);
    EXPECT_EQ(counted("Written.WithMore"), 0U);
}

class InteropMonitoring : public InteropValues {
protected:
    ~InteropMonitoring() override { client.OpcUaDisConnect(); } // the callback must not outlive what it uses

    void SetUp() override {
        ASSERT_EQ(client.installOpcUaCallBack(&application), 0);
        ASSERT_EQ(connect(url()), 0);
        ASSERT_EQ(client.OpcUaCreateSubScription(50), 0);
    }
    int add(const std::string& id, Indices index) {
        return client.OpcUaAddMonitNode(node(id, OpcUaDataType_Null), index.data(),
                                        static_cast<int>(index.size()));
    }
    unsigned lastNumber(const std::string& id) {
        unsigned number = 0;
        std::memcpy(&number, application.last(id).value, sizeof number);
        return number;
    }

    RecordingApplication application;
};

TEST_F(InteropMonitoring, ChangesOfSelectedElementsArrive) {
    const std::string array = "ns=2;s=Moving.Array";
    const std::string matrix = "ns=2;s=Moving.Matrix";
    const std::string cube = "ns=2;s=Cube.String";
    ASSERT_EQ(add(array, {4}), 0);
    ASSERT_EQ(add(matrix, {1, 2}), 0);
    ASSERT_EQ(add(cube, {1, 2, 3}), 0);
    ASSERT_EQ(add("ns=2;s=Moving.Counter", {}), 0);
    for (const std::string& id : {array, matrix, std::string("ns=2;s=Moving.Counter")}) {
        EXPECT_TRUE(application.waitForCount(id, 3)) << id;
        EXPECT_EQ(application.last(id).dataType, OpcUaDataType_UInt32);
    }
    EXPECT_TRUE(application.waitForCount(cube, 1));
    EXPECT_STREQ(application.last(cube).value, "Element 23");
    EXPECT_EQ(application.last(matrix).arrayIndex.dimCount, 2);
    EXPECT_GT(lastNumber(matrix), 5U);
}

/// Publishing intervals that the server has to revise: as fast as it can, and what it likes best.
class InteropFirstValues : public InteropMonitoring, public testing::WithParamInterface<double> {};

TEST_P(InteropFirstValues, OfNodesThatStandStillArrive) {
    ASSERT_EQ(client.OpcUaCreateSubScription(GetParam()), 0);
    constexpr int count = 45;
    const auto id = [](int i) { return "ns=2;s=Many.Variable" + std::to_string(i); };
    for (int i = 0; i < count; ++i)
        ASSERT_EQ(add(id(i), {}), 0) << i;
    EXPECT_TRUE(application.waitForNodes(count));
    for (int i = 0; i < count; ++i)
        EXPECT_EQ(application.count(id(i)), 1) << i;
}

INSTANTIATE_TEST_SUITE_P(Interval, InteropFirstValues, testing::Values(0, -1));

TEST_F(InteropMonitoring, ASubscriptionThatTheServerEndsIsReportedAndReplaced) {
    const std::string counter = "ns=2;s=Moving.Counter";
    ASSERT_EQ(add(counter, {}), 0);
    ASSERT_TRUE(application.waitForCount(counter, 1));
    EXPECT_EQ(write<unsigned char>("ns=2;s=EndSubscriptions", OpcUaDataType_Boolean, 1), 0);
    EXPECT_TRUE(waitUntil([this] { return client.OpcUaGetConnectStatus() == 5; }));
    EXPECT_EQ(add(counter, {}), 12);
    EXPECT_EQ(client.OpcUaDeleteSubScription(), 9);
    ASSERT_EQ(client.OpcUaCreateSubScription(50), 0);
    EXPECT_TRUE(waitUntil([this] { return client.OpcUaGetConnectStatus() == connected; }));
    ASSERT_EQ(add(counter, {}), 0);
    EXPECT_TRUE(application.waitForCount(counter, application.count(counter) + 3));
}

} // namespace
