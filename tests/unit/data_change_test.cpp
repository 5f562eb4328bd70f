#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <numeric>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "monitoring_test.h"
#include "subscription/callback.h"

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

class DataChange : public MonitoringTest {
protected:
    /// Monitors a node and gives the handle under which its changes come.
    OpcUa_UInt32 monitor(const Indices& index = {}, const std::string& nodeId = "ns=2;s=A") {
        EXPECT_EQ(add(nodeId, index), 0);
        return static_cast<OpcUa_UInt32>(items().rbegin()->second.clientHandle);
    }
    std::vector<_OpcUaDataChangeMsg>& delivered() { return m_application.messages; }
    _OpcUaDataChangeMsg deliverOne(OpcUa_UInt32 handle, const UaVariant& value) {
        delivered().clear();
        Changes().add(handle, value).deliver();
        EXPECT_THAT(delivered(), SizeIs(1));
        return delivered().empty() ? _OpcUaDataChangeMsg() : delivered().front();
    }
    bool isDelivered(OpcUa_UInt32 handle, const UaVariant& value) {
        delivered().clear();
        Changes().add(handle, value).deliver();
        return !delivered().empty();
    }
    template <typename Value>
    void expectValue(const _OpcUaDataChangeMsg& message, int dataType, Value expected) {
        Value value;
        std::memcpy(&value, message.value, sizeof value);
        EXPECT_EQ(value, expected);
        EXPECT_EQ(message.dataType, dataType);
        EXPECT_EQ(message.valueSize, static_cast<int>(sizeof value));
    }
    /// A scalar, an element of an array and an element of a matrix of one type.
    template <typename Value>
    void expectEveryShape(int dataType, std::vector<Value> values) {
        const auto type = static_cast<OpcUa_BuiltInType>(dataType);
        const OpcUa_UInt32 whole = monitor();
        const OpcUa_UInt32 element = monitor({5});
        const OpcUa_UInt32 matrix = monitor({1, 2});
        const UaVariant flat = arrayVariant(type, values.data(), values.size());
        const UaVariant shaped = arrayVariant(type, values.data(), values.size(), {3, 4});
        expectValue(deliverOne(whole, scalarVariant(type, &values[3])), dataType, values[3]);
        expectValue(deliverOne(element, flat), dataType, values[5]);
        expectValue(deliverOne(matrix, shaped), dataType, values[6]);
    }
};

template <typename Value>
std::vector<Value> twelve(Value first) {
    std::vector<Value> values(12);
    for (std::size_t i = 0; i < values.size(); ++i)
        values[i] = static_cast<Value>(first + static_cast<Value>(i));
    return values;
}

UaVariant int32Array(int length) {
    std::vector<OpcUa_Int32> values(static_cast<std::size_t>(length));
    std::iota(values.begin(), values.end(), 100);
    return arrayVariant(OpcUaType_Int32, values.data(), values.size());
}

UaVariant int32Matrix(std::vector<OpcUa_UInt32> dimensions) {
    const std::size_t length = std::accumulate(dimensions.begin(), dimensions.end(), 1U, std::multiplies<>());
    std::vector<OpcUa_Int32> values(length);
    std::iota(values.begin(), values.end(), 100);
    return arrayVariant(OpcUaType_Int32, values.data(), values.size(), std::move(dimensions));
}

std::string textOf(const _OpcUaDataChangeMsg& message) {
    return std::string(message.value, static_cast<std::size_t>(message.valueSize));
}

} // namespace

TEST_F(DataChange, EveryNumberArrivesInItsWidth) {
    expectEveryShape<OpcUa_SByte>(2, twelve<OpcUa_SByte>(-5));
    expectEveryShape<OpcUa_Byte>(3, twelve<OpcUa_Byte>(240));
    expectEveryShape<OpcUa_Int16>(4, twelve<OpcUa_Int16>(-32768));
    expectEveryShape<OpcUa_UInt16>(5, twelve<OpcUa_UInt16>(65520));
    expectEveryShape<OpcUa_Int32>(6, twelve<OpcUa_Int32>(INT32_MIN));
    expectEveryShape<OpcUa_UInt32>(7, twelve<OpcUa_UInt32>(UINT32_MAX - 20));
    expectEveryShape<OpcUa_Int64>(8, twelve<OpcUa_Int64>(INT64_MIN));
    expectEveryShape<OpcUa_UInt64>(9, twelve<OpcUa_UInt64>(UINT64_MAX - 20));
    expectEveryShape<OpcUa_Float>(10, twelve<OpcUa_Float>(0.25F));
    expectEveryShape<OpcUa_Double>(11, twelve<OpcUa_Double>(-1e12));
}

TEST_F(DataChange, ABooleanIsOneByte) {
    const OpcUa_Boolean values[3] = {true, false, true};
    const OpcUa_UInt32 whole = monitor();
    const OpcUa_UInt32 element = monitor({1});
    expectValue<unsigned char>(deliverOne(whole, booleanVariant(true)), 1, 1);
    expectValue<unsigned char>(deliverOne(whole, booleanVariant(false)), 1, 0);
    expectValue<unsigned char>(deliverOne(element, arrayVariant(OpcUaType_Boolean, values, 3)), 1, 0);
}

TEST_F(DataChange, ATextArrivesWithItsTerminator) {
    const auto message = deliverOne(monitor(), stringVariant("Hello"));
    EXPECT_EQ(message.dataType, 12);
    EXPECT_EQ(message.valueSize, 5);
    EXPECT_EQ(std::string(message.value, 6), std::string("Hello") + '\0');
}

TEST_F(DataChange, TextsAroundTheFieldsLength) {
    const OpcUa_UInt32 handle = monitor();
    std::string text(300, 'x');
    for (std::size_t i = 0; i < text.size(); ++i)
        text[i] = static_cast<char>('a' + i % 26);
    const std::vector<std::pair<std::size_t, int>> rows = {{0, 0},     {1, 1},     {254, 254}, {255, 255},
                                                           {256, 255}, {257, 255}, {300, 255}};
    for (const auto& [length, size] : rows) {
        const auto message = deliverOne(handle, stringVariant(text.substr(0, length)));
        EXPECT_EQ(message.dataType, 12);
        EXPECT_EQ(message.valueSize, size) << length;
        const std::string expected = length < 256 ? text.substr(0, length) + '\0' : text.substr(0, 256);
        EXPECT_EQ(std::string(message.value, expected.size()), expected) << length;
    }
}

TEST_F(DataChange, ElementsOfTextArraysFollowTheSameRule) {
    const std::string longText(300, 'y');
    UaStringArray texts;
    texts.create(3);
    texts[0] = ownedString("first");
    texts[1] = ownedString(longText);
    const UaVariant flat = arrayVariant(OpcUaType_String, texts.rawData(), 3);
    const UaVariant shaped = arrayVariant(OpcUaType_String, texts.rawData(), 3, {1, 3});
    EXPECT_EQ(textOf(deliverOne(monitor({0}), flat)), "first");
    EXPECT_EQ(deliverOne(monitor({1}), flat).valueSize, 255);
    EXPECT_EQ(std::string(delivered().back().value, 256), longText.substr(0, 256));
    EXPECT_EQ(textOf(deliverOne(monitor({0, 2}), shaped)), "");
    EXPECT_EQ(deliverOne(monitor({0, 1}), shaped).dataType, 12);
}

TEST_F(DataChange, ZeroBytesOfATextAreKept) {
    const auto message = deliverOne(monitor(), stringVariant(std::string("a\0b", 3)));
    EXPECT_EQ(textOf(message), std::string("a\0b", 3));
}

TEST_F(DataChange, AnEmptyValueIsNullOfNoSize) {
    const auto message = deliverOne(monitor(), UaVariant());
    EXPECT_EQ(message.dataType, 0);
    EXPECT_EQ(message.valueSize, 0);
}

TEST_F(DataChange, BadAndUncertainValuesAreNotDelivered) {
    const OpcUa_UInt32 handle = monitor();
    Changes()
        .add(handle, int32Variant(1), badStatus)
        .add(handle, int32Variant(2), uncertainStatus)
        .add(handle, int32Variant(3), bothBitsStatus)
        .add(handle, int32Variant(4), goodWithDetails)
        .deliver();
    ASSERT_THAT(delivered(), SizeIs(1));
    expectValue<int>(delivered()[0], 6, 4);
}

TEST_F(DataChange, ChangesKeepTheirOrder) {
    const OpcUa_UInt32 first = monitor();
    const OpcUa_UInt32 second = monitor({}, "ns=2;s=B");
    Changes().add(second, int32Variant(1)).add(first, int32Variant(2)).add(first, int32Variant(3)).deliver();
    ASSERT_THAT(delivered(), SizeIs(3));
    EXPECT_EQ(fieldText(delivered()[0].nodeId), "ns=2;s=B");
    expectValue<int>(delivered()[1], 6, 2);
    expectValue<int>(delivered()[2], 6, 3);
    EXPECT_EQ(fieldText(delivered()[2].nodeId), "ns=2;s=A");
}

TEST_F(DataChange, TheMessageNamesNodeAndSelection) {
    const std::string full = "ns=2;s=" + std::string(249, 'x');
    const OpcUa_UInt32 handle = monitor({1, 2}, full);
    const auto message = deliverOne(handle, int32Matrix({3, 4}));
    EXPECT_EQ(std::string(message.nodeId, 256), full);
    EXPECT_EQ(message.arrayIndex.kind, 1);
    EXPECT_EQ(message.arrayIndex.dimCount, 2);
    EXPECT_THAT(message.arrayIndex.dims, ElementsAre(1, 2, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0));
    const auto whole = deliverOne(monitor(), int32Variant(7));
    EXPECT_EQ(whole.arrayIndex.kind, 0);
    EXPECT_EQ(whole.arrayIndex.dimCount, 0);
    EXPECT_THAT(whole.arrayIndex.dims, Each(0U));
}

TEST_F(DataChange, AllOfTheNodeIdsFieldIsCopied) {
    OpcUaNode node = makeNode("ns=2;s=A");
    node.nodeId[255] = 'z';
    ASSERT_EQ(m_client->OpcUaAddMonitNode(&node, nullptr, 0), 0);
    EXPECT_EQ(deliverOne(1, int32Variant(7)).nodeId[255], 'z');
}

TEST_F(DataChange, NodeIdsOfAllLengthsFollowEachOtherWhole) {
    Changes changes;
    std::vector<std::string> fields;
    for (const std::size_t length : {45U, 46U, 47U, 8U, 255U, 46U, 256U, 9U}) {
        const std::string id = "ns=2;s=" + std::string(length - 7, static_cast<char>('a' + fields.size()));
        changes.add(monitor({}, id), int32Variant(7));
        fields.push_back(id + std::string(256 - length, '\0'));
    }
    changes.deliver();
    ASSERT_THAT(delivered(), SizeIs(fields.size()));
    for (std::size_t i = 0; i < fields.size(); ++i)
        EXPECT_EQ(std::string(delivered()[i].nodeId, 256), fields[i]) << i;
}

TEST_F(DataChange, BytesBehindANodeIdsEndAreNotTheNextOnes) {
    OpcUaNode node = makeNode("ns=2;s=A");
    node.nodeId[255] = 'z';
    ASSERT_EQ(m_client->OpcUaAddMonitNode(&node, nullptr, 0), 0);
    const OpcUa_UInt32 other = monitor({}, "ns=2;s=B");
    Changes().add(1, int32Variant(7)).add(other, int32Variant(8)).deliver();
    ASSERT_THAT(delivered(), SizeIs(2));
    EXPECT_EQ(delivered()[0].nodeId[255], 'z');
    EXPECT_EQ(delivered()[1].nodeId[255], '\0');
}

TEST_F(DataChange, AHandleThatWrapsNamesTheNewItem) {
    ASSERT_EQ(monitor({3}), 1U);
    std::vector<OpcUaNode> nodes = manyNodes(20000);
    ASSERT_EQ(addMany(nodes), 0);
    const auto message = deliverOne(1, int32Variant(7));
    EXPECT_EQ(fieldText(message.nodeId), "ns=2;s=Tag19999.");
    EXPECT_EQ(message.arrayIndex.kind, 0);
    expectValue<int>(message, 6, 7);
}

TEST_F(DataChange, AWholeValueBehindAnElementNamesNoSelection) {
    const OpcUa_UInt32 whole = monitor();
    const OpcUa_UInt32 element = monitor({2});
    const std::vector<OpcUa_Int32> elements{1, 2, 3};
    Changes()
        .add(element, arrayVariant(OpcUaType_Int32, elements.data(), elements.size()))
        .add(whole, int32Variant(7))
        .deliver();
    ASSERT_THAT(delivered(), SizeIs(2));
    EXPECT_EQ(delivered()[0].arrayIndex.kind, 1);
    EXPECT_EQ(delivered()[0].arrayIndex.dims[0], 2U);
    EXPECT_EQ(delivered()[1].arrayIndex.kind, 0);
    EXPECT_EQ(delivered()[1].arrayIndex.dimCount, 0);
    EXPECT_THAT(delivered()[1].arrayIndex.dims, Each(0U));
}

TEST_F(DataChange, UnknownHandlesAreIgnored) {
    monitor();
    for (const OpcUa_UInt32 handle : {0U, 2U, 20001U, UINT32_MAX})
        EXPECT_FALSE(isDelivered(handle, int32Variant(7))) << handle;
    EXPECT_TRUE(isDelivered(1, int32Variant(7)));
}

TEST_F(DataChange, RemovedItemsAreSilent) {
    const OpcUa_UInt32 handle = monitor();
    ASSERT_EQ(remove("ns=2;s=A"), 0);
    EXPECT_FALSE(isDelivered(handle, int32Variant(7)));
}

TEST_F(DataChange, AWholeArrayOrMatrixGivesItsTypeAlone) {
    const OpcUa_UInt32 handle = monitor();
    for (const UaVariant& value :
         {int32Array(3), int32Array(0), int32Matrix({2, 3}), int32Matrix({2, 3, 4})}) {
        const auto message = deliverOne(handle, value);
        EXPECT_EQ(message.dataType, 6);
        EXPECT_EQ(fieldText(message.nodeId), "ns=2;s=A");
        EXPECT_EQ(message.arrayIndex.kind, 0);
    }
}

TEST_F(DataChange, AWholeArrayLeavesTheValueOfTheChangeBefore) {
    const OpcUa_UInt32 handle = monitor();
    Changes().add(handle, doubleVariant(1.5)).add(handle, int32Array(3)).deliver();
    ASSERT_THAT(delivered(), SizeIs(2));
    EXPECT_EQ(delivered()[1].dataType, 6);
    EXPECT_EQ(delivered()[1].valueSize, 8);
    EXPECT_EQ(std::memcmp(delivered()[0].value, delivered()[1].value, 8), 0);
}

TEST_F(DataChange, WhatIsNotDeliveredStillLeavesItsValue) {
    const OpcUa_UInt32 handle = monitor();
    const OpcUa_UInt32 element = monitor({0});
    constexpr OpcUa_UInt32 nobodys = 4711;
    const auto expectLeft = [this](double left) {
        ASSERT_THAT(delivered(), SizeIs(1));
        const _OpcUaDataChangeMsg& message = delivered()[0];
        EXPECT_EQ(message.dataType, 6);
        EXPECT_EQ(message.valueSize, 8);
        EXPECT_EQ(std::memcmp(message.value, &left, sizeof left), 0);
        delivered().clear();
    };
    Changes().add(nobodys, doubleVariant(1.5)).add(handle, int32Array(3)).deliver();
    expectLeft(1.5);
    Changes().add(element, doubleVariant(2.5)).add(handle, int32Array(3)).deliver();
    expectLeft(2.5);
    Changes()
        .add(nobodys, doubleVariant(3.5))
        .add(handle, int32Variant(7), badStatus)
        .add(nobodys, int32Variant(7), uncertainStatus)
        .add(handle, int32Array(3))
        .deliver();
    expectLeft(3.5);
}

TEST_F(DataChange, AnElementBeyondTheEndIsNotDelivered) {
    const OpcUa_UInt32 handle = monitor({5});
    EXPECT_FALSE(isDelivered(handle, int32Array(3)));
    EXPECT_FALSE(isDelivered(handle, int32Array(5)));
    EXPECT_FALSE(isDelivered(handle, int32Array(0)));
    expectValue<int>(deliverOne(handle, int32Array(6)), 6, 105);
    expectValue<int>(deliverOne(handle, int32Array(10)), 6, 105);
}

TEST_F(DataChange, AnIndexCountsInThirtyTwoBits) {
    expectValue<int>(deliverOne(monitor({0x100000002UL}), int32Array(3)), 6, 102);
    EXPECT_FALSE(isDelivered(monitor({0xFFFFFFFFUL}), int32Array(3)));
}

TEST_F(DataChange, OneIndexFitsOnlyAnArray) {
    const OpcUa_UInt32 handle = monitor({0});
    EXPECT_FALSE(isDelivered(handle, int32Variant(7)));
    EXPECT_FALSE(isDelivered(handle, int32Matrix({3, 4})));
    EXPECT_FALSE(isDelivered(handle, UaVariant()));
    EXPECT_TRUE(isDelivered(handle, int32Array(1)));
    EXPECT_FALSE(isDelivered(monitor({5}), int32Matrix({3, 4})));
}

TEST_F(DataChange, SeveralIndicesFitAMatrixOfAsManyDimensions) {
    const OpcUa_UInt32 handle = monitor({1, 2});
    EXPECT_FALSE(isDelivered(handle, int32Variant(7)));
    EXPECT_FALSE(isDelivered(handle, int32Array(12)));
    EXPECT_FALSE(isDelivered(handle, int32Matrix({2, 3, 4})));
    expectValue<int>(deliverOne(handle, int32Matrix({3, 4})), 6, 106);
    expectValue<int>(deliverOne(handle, int32Matrix({2, 3})), 6, 105);
    EXPECT_FALSE(isDelivered(handle, int32Matrix({1, 3}))) << "beyond the end";
    expectValue<int>(deliverOne(handle, int32Matrix({5, 1})), 6, 103); // only the position counts
}

TEST_F(DataChange, ThreeAndSixteenDimensions) {
    expectValue<int>(deliverOne(monitor({1, 2, 3}), int32Matrix({2, 3, 4})), 6, 123);
    std::vector<OpcUa_UInt32> dimensions(16, 1);
    dimensions[3] = 2;
    dimensions[15] = 3;
    Indices index(16, 0);
    index[3] = 1;
    index[15] = 2;
    expectValue<int>(deliverOne(monitor(index), int32Matrix(dimensions)), 6, 105);
    dimensions.push_back(1);
    EXPECT_FALSE(isDelivered(monitor(index), int32Matrix(dimensions))) << "seventeen";
}

TEST_F(DataChange, ASelectionWithoutIndicesFitsNothing) {
    OpcUaNode node = makeNode("ns=2;s=A");
    unsigned long index[1] = {0};
    ASSERT_EQ(m_client->OpcUaAddMonitNode(&node, index, -1), 0);
    for (const UaVariant& value : {int32Variant(1), int32Array(3), int32Matrix({3, 4})})
        EXPECT_FALSE(isDelivered(1, value));
}

TEST_F(DataChange, ATypeThatIsNotConvertedLeavesTheMessageAsItWas) {
    const OpcUa_UInt32 handle = monitor();
    const OpcUa_UInt32 element = monitor({9});
    const OpcUa_Int64 time = 1234567;
    const OpcUa_Int64 times[3] = {1, 2, 3};
    Changes()
        .add(handle, int32Variant(7))
        .add(handle, scalarVariant(OpcUaType_DateTime, &time))
        .add(handle, arrayVariant(OpcUaType_DateTime, times, 3))
        .add(element, arrayVariant(OpcUaType_DateTime, times, 3))
        .deliver();
    ASSERT_THAT(delivered(), SizeIs(4));
    for (const auto& message : delivered())
        expectValue<int>(message, 6, 7);
    EXPECT_EQ(delivered()[3].arrayIndex.dims[0], 9U);
    const auto alone = deliverOne(handle, scalarVariant(OpcUaType_DateTime, &time));
    EXPECT_EQ(alone.dataType, 0) << "a delivery starts empty";
    EXPECT_EQ(alone.valueSize, 0);
}

TEST_F(DataChange, AShapeThatDoesNotFitIsNotDeliveredWhateverItsType) {
    const std::vector<OpcUa_Int64> times = twelve<OpcUa_Int64>(1);
    const auto shaped = [&times](std::vector<OpcUa_UInt32> dimensions) {
        return arrayVariant(OpcUaType_DateTime, times.data(), times.size(), std::move(dimensions));
    };
    const UaVariant scalar = scalarVariant(OpcUaType_DateTime, times.data());
    const UaVariant flat = arrayVariant(OpcUaType_DateTime, times.data(), times.size());
    const OpcUa_UInt32 element = monitor({1});
    const OpcUa_UInt32 ofMatrix = monitor({1, 2});
    EXPECT_FALSE(isDelivered(element, scalar));
    EXPECT_FALSE(isDelivered(element, shaped({3, 4})));
    EXPECT_FALSE(isDelivered(ofMatrix, scalar));
    EXPECT_FALSE(isDelivered(ofMatrix, flat));
    EXPECT_FALSE(isDelivered(ofMatrix, shaped({2, 3, 2})));
    EXPECT_TRUE(isDelivered(element, flat));
    EXPECT_TRUE(isDelivered(ofMatrix, shaped({3, 4})));
}

TEST_F(DataChange, TypeAndShapeMayChangeFromOneToTheNext) {
    const OpcUa_UInt32 handle = monitor();
    Changes()
        .add(handle, int32Variant(7))
        .add(handle, stringVariant("seven"))
        .add(handle, UaVariant())
        .add(handle, booleanVariant(true))
        .deliver();
    ASSERT_THAT(delivered(), SizeIs(4));
    expectValue<int>(delivered()[0], 6, 7);
    EXPECT_EQ(textOf(delivered()[1]), "seven");
    EXPECT_EQ(delivered()[2].dataType, 0);
    expectValue<unsigned char>(delivered()[3], 1, 1);
}

TEST_F(DataChange, IsDeliveredUnderTheBookkeepingMutexAlone) {
    const OpcUa_UInt32 handle = monitor();
    watchFromHere();
    Changes().add(handle, int32Variant(1)).add(handle, int32Variant(2)).deliver();
    EXPECT_THAT(m_application.heldMutexes, ElementsAre(mutex_watch::bookkeepingMutex));
    EXPECT_THAT(mutex_watch::locked(), ElementsAre(mutex_watch::bookkeepingMutex)) << "once a delivery";
    EXPECT_THAT(script().operations(), IsEmpty());
}

TEST_F(DataChange, WithoutCallbackChangesAreConsumed) {
    COpcUaClient client;
    _OpcUaClientConfig config = makeConfig();
    ASSERT_EQ(client.OpcUaConnect(config), 0);
    ASSERT_EQ(client.OpcUaCreateSubScription(100), 0);
    OpcUaNode node = makeNode("ns=2;s=A");
    ASSERT_EQ(client.OpcUaAddMonitNode(&node, nullptr, 0), 0);
    Changes().add(1, int32Variant(7)).add(1, int32Array(3)).deliver();
    EXPECT_THAT(delivered(), IsEmpty());
}

TEST_F(DataChange, ACallbackThatThrowsMissesNothing) {
    const OpcUa_UInt32 handle = monitor();
    int calls = 0;
    m_application.onChange = [&calls] {
        if (calls++ == 0)
            throw std::runtime_error("the panel is on fire");
        if (calls == 2)
            throw 42;
    };
    Changes()
        .add(handle, int32Variant(1))
        .add(handle, int32Variant(2))
        .add(handle, int32Variant(3))
        .deliver();
    EXPECT_THAT(delivered(), SizeIs(3));
    EXPECT_THAT(mutex_watch::held(), IsEmpty());
}

TEST_F(DataChange, ACallbackMayDisconnect) {
    const OpcUa_UInt32 handle = monitor();
    m_application.onChange = [this] { EXPECT_EQ(m_client->OpcUaDisConnect(), 0); };
    Changes().add(handle, int32Variant(1)).add(handle, int32Variant(2)).deliver();
    EXPECT_THAT(delivered(), SizeIs(1)) << "the items are gone";
    EXPECT_EQ(m_client->OpcUaDisConnect(), 3);
}

TEST_F(DataChange, ACallbackMayReadAndWrite) {
    const OpcUa_UInt32 handle = monitor();
    m_application.onChange = [this] {
        OpcUaNode node = makeNode("ns=2;s=B", OpcUaDataType_Int32);
        int value = 5;
        int size = 4;
        EXPECT_EQ(m_client->OpcUaGetValue(&node, &value, size), 0);
        EXPECT_EQ(m_client->OpcUaSetValue(&node, &value, size), 0);
        EXPECT_EQ(m_client->OpcUaGetConnectStatus(), 0);
    };
    EXPECT_TRUE(isDelivered(handle, int32Variant(1)));
}

TEST_F(DataChange, TheLastCallbackInstalledIsCalled) {
    const OpcUa_UInt32 handle = monitor();
    RecordingApplication other;
    ASSERT_EQ(m_client->installOpcUaCallBack(&other), 0);
    Changes().add(handle, int32Variant(1)).deliver();
    EXPECT_THAT(delivered(), IsEmpty());
    EXPECT_THAT(other.messages, SizeIs(1));
}

TEST_F(DataChange, ACallbackInstalledDuringADeliveryGetsTheNextOne) {
    const OpcUa_UInt32 handle = monitor();
    RecordingApplication other;
    m_application.onChange = [&] { EXPECT_EQ(m_client->installOpcUaCallBack(&other), 0); };
    Changes().add(handle, int32Variant(1)).add(handle, int32Variant(2)).deliver();
    EXPECT_THAT(delivered(), SizeIs(2)) << "a delivery has one callback";
    EXPECT_THAT(other.messages, IsEmpty());
    Changes().add(handle, int32Variant(3)).deliver();
    EXPECT_THAT(delivered(), SizeIs(2));
    ASSERT_THAT(other.messages, SizeIs(1));
    expectValue<int>(other.messages[0], 6, 3);
}

TEST_F(DataChange, ChangeArrayCountsInRowMajorOrder) {
    auto& sink = dynamic_cast<CCallback&>(*script().subscriptionCallback());
    const auto position = [&sink](Indices index, Indices dims) {
        return sink.ChangeArray(index.data(), dims.data(), static_cast<int>(index.size()));
    };
    EXPECT_EQ(position({1, 2}, {3, 4}), 6);
    EXPECT_EQ(position({7}, {3}), 7);
    EXPECT_EQ(position({1, 2, 3}, {2, 3, 4}), 23);
    EXPECT_EQ(position({1, 1}, {0, 0xFFFFFFFFUL}), 0) << "wraps at 32 bits";
    EXPECT_EQ(position({0, 0xFFFFFFFFUL}, {1, 1}), -1);
    EXPECT_EQ(position({0x100000001UL, 0x200000002UL}, {9, 0x300000004UL}), 6) << "low 32 bits";
    EXPECT_EQ(sink.ChangeArray(nullptr, nullptr, 0), 0);
    EXPECT_EQ(sink.ChangeArray(nullptr, nullptr, -3), 0);
}
