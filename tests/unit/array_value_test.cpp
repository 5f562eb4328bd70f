#include <algorithm>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <tuple>
#include <utility>
#include <vector>

#include "array_values.h"
#include "client_test.h"

using standin::ReadRequest;
using standin::WriteItem;
using standin::WriteRequest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

using Dimensions = std::vector<OpcUa_UInt32>;
using Index = std::vector<unsigned long>;

const Dimensions sixteenDimensions = {2, 1, 1, 2, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 3};

class ArrayValue : public ClientTest {
protected:
    ArrayValue() { connect(); }

    int get(int dataType, Index index, void* buffer, int& size) {
        OpcUaNode node = makeNode("ns=2;s=A", dataType);
        return m_client->OpcUaGetArrayValue(&node, index.data(), static_cast<int>(index.size()), buffer,
                                            size);
    }
    int get(int dataType, const Index& index) { return get(dataType, index, m_buffer.data(), m_size); }

    int set(int dataType, Index index, const void* buffer, int& size) {
        OpcUaNode node = makeNode("ns=2;s=A", dataType);
        return m_client->OpcUaSetArrayValue(&node, index.data(), static_cast<int>(index.size()), buffer,
                                            size);
    }
    int set(int dataType, const Index& index) { return set(dataType, index, &m_number, m_size); }

    /// The one item that was written since the last call.
    static WriteItem written() {
        const auto requests = script().requests<WriteRequest>();
        script().forgetCalls();
        if (requests.size() != 1 || requests[0].items.size() != 1)
            throw std::logic_error("not exactly one value written");
        return requests[0].items[0];
    }

    void expectReadFails(const Index& index) {
        EXPECT_EQ(get(OpcUaDataType_Int32, index), 7);
        EXPECT_EQ(message(), messages::readFailed);
        EXPECT_TRUE(m_buffer.untouched());
        EXPECT_EQ(m_size, 4);
        storeEarlierMessage();
    }
    void expectWriteFailsUnsent(const Index& index) {
        EXPECT_EQ(set(OpcUaDataType_Int32, index), 8);
        EXPECT_EQ(message(), messages::writeFailed);
        EXPECT_THAT(script().requests<WriteRequest>(), IsEmpty());
        storeEarlierMessage();
    }

    GuardedBuffer m_buffer{8};
    int m_number = 7;
    int m_size = 4;
};

const ExampleType& int32Type() {
    return exampleTypes()[5];
}

class ArrayElement : public ArrayValue, public ::testing::WithParamInterface<ExampleType> {};

std::vector<Dimensions> shapes() {
    return {{10}, {3, 4}, {2, 3, 4}, sixteenDimensions};
}

std::string typeName(const ::testing::TestParamInfo<ExampleType>& row) {
    return row.param.name;
}

} // namespace

TEST_P(ArrayElement, EveryOneOfEveryShapeIsRead) {
    for (const Dimensions& dimensions : shapes()) {
        script().onRead = answerValue(exampleArray(GetParam(), dimensions));
        unsigned int position = 0;
        for (const Index& index : everyIndex(dimensions)) {
            const std::string expected = GetParam().element(position++);
            const std::size_t stored = expected.size() + (GetParam().isText() ? 1 : 0);
            GuardedBuffer buffer(stored);
            int size = GetParam().isText() ? static_cast<int>(stored) : 0;
            EXPECT_EQ(get(GetParam().number(), index, buffer.data(), size), 0);
            EXPECT_EQ(size, static_cast<int>(expected.size()));
            EXPECT_EQ(buffer.bytes(stored), expected + std::string(stored - expected.size(), '\0'));
            EXPECT_TRUE(buffer.guardsIntact());
        }
    }
    EXPECT_EQ(message(), "");
}

TEST_P(ArrayElement, EveryOneOfEveryShapeIsReplacedAloneInTheValueThatWasRead) {
    for (const Dimensions& dimensions : shapes()) {
        const UaVariant original = exampleArray(GetParam(), dimensions);
        script().onRead = answerValue(original);
        unsigned int position = 0;
        for (const Index& index : everyIndex(dimensions)) {
            const std::string replacement = GetParam().element(position + 101);
            int size = static_cast<int>(replacement.size());
            EXPECT_EQ(set(GetParam().number(), index, replacement.c_str(), size), 0);
            EXPECT_EQ(size, static_cast<int>(replacement.size()));
            const WriteItem item = written();
            EXPECT_EQ(item.value.type(), GetParam().type);
            EXPECT_EQ(item.value.isMatrix(), dimensions.size() > 1);
            EXPECT_EQ(dimensionsOf(item.value), dimensionsOf(original));
            std::vector<std::string> expected = allElements(original);
            expected.at(position++) = replacement;
            EXPECT_EQ(allElements(item.value), expected);
        }
    }
    EXPECT_EQ(message(), "");
}

TEST_P(ArrayElement, IsFoundInTheArraysBoundsOnly) {
    script().onRead = answerValue(exampleArray(GetParam(), {5}));
    const std::string value = GetParam().element(0);
    for (const unsigned long index : {5UL, 6UL, 0xFFFFFFFFUL, (1UL << 32) + 5}) {
        m_size = 8;
        EXPECT_EQ(get(GetParam().number(), {index}), 7) << index;
        EXPECT_TRUE(m_buffer.untouched());
        EXPECT_EQ(set(GetParam().number(), {index}, value.c_str(), m_size), 8) << index;
    }
    script().onRead = answerValue(exampleArray(GetParam(), {3, 4}));
    for (const Index& index : {Index{3, 0}, Index{2, 4}, Index{0, 12}, Index{0xFFFFFFFF, 0}}) {
        m_size = 8;
        EXPECT_EQ(get(GetParam().number(), index), 7);
        EXPECT_EQ(set(GetParam().number(), index, value.c_str(), m_size), 8);
    }
    EXPECT_TRUE(m_buffer.untouched());
    EXPECT_THAT(script().requests<WriteRequest>(), IsEmpty());
}

TEST_P(ArrayElement, OfAnEmptyArrayOrMatrixDoesNotExist) {
    const std::string value = GetParam().element(0);
    for (const Dimensions& dimensions : {Dimensions{0}, Dimensions{0, 4}}) {
        script().onRead = answerValue(exampleArray(GetParam(), dimensions));
        const Index index(dimensions.size(), 0);
        EXPECT_EQ(get(GetParam().number(), index), 7);
        EXPECT_TRUE(m_buffer.untouched());
        EXPECT_EQ(set(GetParam().number(), index, value.c_str(), m_size), 8);
    }
}

TEST_P(ArrayElement, IsWrittenBackInTheMemoryThatItWasReadInto) {
    for (const Dimensions& dimensions : {Dimensions{1000}, Dimensions{250, 4}}) {
        const void* answered = nullptr;
        script().onRead = [&](const ReadRequest& request, UaDataValues& values) {
            const UaStatus status = answerValue(exampleArray(GetParam(), dimensions))(request, values);
            answered = values[0].value.data;
            return status;
        };
        const std::string value = GetParam().element(3);
        int size = static_cast<int>(value.size());
        EXPECT_EQ(set(GetParam().number(), Index(dimensions.size(), 1), value.c_str(), size), 0);
        EXPECT_EQ(written().memory, answered);
    }
}

INSTANTIATE_TEST_SUITE_P(EveryType, ArrayElement, ::testing::ValuesIn(exampleTypes()), typeName);

TEST_F(ArrayValue, IndexCountsInItsLow32Bits) {
    script().onRead = answerValue(exampleArray(int32Type(), {5}));
    EXPECT_EQ(get(OpcUaDataType_Int32, {(1UL << 32) + 2}), 0);
    EXPECT_EQ(m_buffer.bytes(4), int32Type().element(2));
    EXPECT_EQ(set(OpcUaDataType_Int32, {(7UL << 32) + 4}), 0);
    EXPECT_EQ(elementBytes(written().value, 4), std::string("\7\0\0\0", 4));
}

TEST_F(ArrayValue, IndexBeyondItsDimensionNamesTheElementAtItsFlatPosition) {
    script().onRead = answerValue(exampleArray(int32Type(), {3, 4}));
    EXPECT_EQ(get(OpcUaDataType_Int32, {0, 5}), 0);
    EXPECT_EQ(m_buffer.bytes(4), int32Type().element(5));
    EXPECT_EQ(get(OpcUaDataType_Int32, {0x40000000, 11}), 0) << "4 times the first index wraps to 0";
    EXPECT_EQ(m_buffer.bytes(4), int32Type().element(11));
    EXPECT_EQ(set(OpcUaDataType_Int32, {1, 7}), 0);
    EXPECT_EQ(elementBytes(written().value, 11), std::string("\7\0\0\0", 4));
}

TEST_F(ArrayValue, OtherShapesAreRefused) {
    const std::vector<std::pair<UaVariant, Index>> rows = {
        {exampleArray(int32Type(), {5}), {0, 0}},
        {exampleArray(int32Type(), {3, 4}), {0}},
        {exampleArray(int32Type(), {3, 4}), {0, 0, 0}},
        {exampleArray(int32Type(), {2, 3, 4}), {0, 0}},
        {int32Variant(7), {0}},
        {int32Variant(7), {0, 0}},
        {UaVariant(), {0}},
        {UaVariant(), {0, 0}},
        {exampleArray(int32Type(), Dimensions(17, 1)), Index(16, 0)},
        {exampleArray(int32Type(), Dimensions(17, 1)), {0}}};
    storeEarlierMessage();
    for (const auto& [value, index] : rows) {
        script().onRead = answerValue(value);
        expectReadFails(index);
        expectWriteFailsUnsent(index);
    }
}

TEST_F(ArrayValue, MatrixThatContradictsItsDimensionsIsRefused) {
    const OpcUa_Int32 elements[6] = {0, 1, 2, 3, 4, 5};
    storeEarlierMessage();
    for (const Dimensions& dimensions :
         {Dimensions{2, 4}, Dimensions{2, 2}, Dimensions{0, 6}, Dimensions{2, 2147483651U},
          Dimensions{0xFFFFFFFF, 0xFFFFFFFF}, Dimensions{2112351278U, 998034439U, 35}}) {
        // A variant made by copying would check what a hostile server need not respect.
        script().onRead = [&](const ReadRequest&, UaDataValues& values) {
            values.create(1);
            arrayVariant(OpcUaType_Int32, elements, 6).copyTo(&values[0].value);
            UaUInt32Array lengths;
            lengths.create(static_cast<OpcUa_UInt32>(dimensions.size()));
            std::copy(dimensions.begin(), dimensions.end(), lengths.rawData());
            values[0].value.arrayDimensionsSize = lengths.length();
            values[0].value.arrayDimensions = lengths.detach();
            return UaStatus();
        };
        for (const std::size_t count : {std::size_t{1}, dimensions.size()}) {
            expectReadFails(Index(count, 0));
            expectWriteFailsUnsent(Index(count, 0));
        }
    }
}

TEST_F(ArrayValue, ShapeInTheRecordIsNotAsked) {
    script().onRead = answerValue(exampleArray(int32Type(), {3, 4}));
    OpcUaNode node = makeNode("ns=2;s=A", OpcUaDataType_Int32);
    node.arrayInfo.kind = 1;
    node.arrayInfo.dimCount = 2;
    node.arrayInfo.dims[0] = 1;
    node.arrayInfo.dims[1] = 1;
    node.result = 33;
    OpcUaNode before;
    std::memcpy(&before, &node, sizeof(before));
    unsigned long index[2] = {2, 3};
    EXPECT_EQ(m_client->OpcUaGetArrayValue(&node, index, 2, m_buffer.data(), m_size), 0);
    EXPECT_EQ(m_buffer.bytes(4), int32Type().element(11));
    EXPECT_EQ(m_client->OpcUaSetArrayValue(&node, index, 2, &m_number, m_size), 0);
    EXPECT_EQ(std::memcmp(&before, &node, sizeof(before)), 0);
    EXPECT_THAT(index, ElementsAre(2, 3));
}

TEST_F(ArrayValue, TypeNullReadsNothingAndSetsTheSizeToZero) {
    script().onRead = answerValue(exampleArray(int32Type(), {5}));
    for (const unsigned long index : {2UL, 5UL, 0xFFFFFFFFUL})
        EXPECT_EQ(get(OpcUaDataType_Null, {index}), 0) << index;
    EXPECT_EQ(m_size, 0);
    EXPECT_TRUE(m_buffer.untouched());
    script().onRead = answerValue(int32Variant(7));
    EXPECT_EQ(get(OpcUaDataType_Null, {2}), 7) << "the shape counts for every type";
}

TEST_F(ArrayValue, UnknownTypesReadNothing) {
    script().onRead = answerValue(exampleArray(int32Type(), {5}));
    for (const int type : {13, 22, INT_MAX, -1, INT_MIN}) {
        EXPECT_EQ(get(type, {2}), 0);
        EXPECT_EQ(get(type, {5}), 0);
        EXPECT_EQ(m_size, 4);
        EXPECT_TRUE(m_buffer.untouched());
    }
}

TEST_F(ArrayValue, TypeNullAndUnknownTypesSendAnEmptyValue) {
    script().onRead = answerValue(exampleArray(int32Type(), {5}));
    for (const int type : {0, 13, 22, INT_MAX, -1, INT_MIN}) {
        m_size = 1000;
        EXPECT_EQ(set(type, {2}), 0);
        EXPECT_TRUE(written().value.isEmpty()) << type;
        EXPECT_EQ(m_size, 1000);
        EXPECT_EQ(set(type, {5}), 8) << "without the element nothing is sent";
        EXPECT_THAT(script().requests<WriteRequest>(), IsEmpty());
    }
    script().onWrite = [](const WriteRequest&, UaStatusCodeArray& results) {
        results.create(1);
        results[0] = badStatus;
        return UaStatus();
    };
    EXPECT_EQ(set(0, {2}), 8);
}

TEST_F(ArrayValue, WriteTakesAtMostTheWidthAndFillsUpWithZeros) {
    script().onRead = answerValue(exampleArray(int32Type(), {3}));
    const std::string bytes = "\x81\x92\xA3\x34";
    for (const int entry : {INT_MIN, -1, 0, 1, 3, 4, 5, 1000, INT_MAX}) {
        const int taken = std::max(0, std::min(entry, 4));
        const std::vector<char> buffer(bytes.begin(), bytes.begin() + taken);
        const char nothing = 'x';
        int size = entry;
        EXPECT_EQ(set(OpcUaDataType_Int32, {1}, taken == 0 ? &nothing : buffer.data(), size), 0);
        EXPECT_EQ(size, std::min(entry, 4));
        std::string expected(4, '\0');
        expected.replace(0, static_cast<std::size_t>(taken), bytes, 0, static_cast<std::size_t>(taken));
        EXPECT_EQ(elementBytes(written().value, 1), expected) << entry;
    }
}

TEST_F(ArrayValue, WriteCutsTheSizeAlsoWhenThereIsNoSuchElement) {
    script().onRead = answerValue(exampleArray(int32Type(), {3}));
    m_size = 100;
    expectWriteFailsUnsent({3});
    EXPECT_EQ(m_size, 4);
}

TEST_F(ArrayValue, BooleanElementIsTrueForAnyOtherByteThanZero) {
    script().onRead = answerValue(exampleArray(exampleTypes()[0], {3}));
    for (const unsigned char byte : std::vector<unsigned char>{0, 1, 2, 0x80, 255}) {
        int size = 1;
        EXPECT_EQ(set(OpcUaDataType_Boolean, {0}, &byte, size), 0);
        EXPECT_EQ(elementBytes(written().value, 0), std::string(1, byte != 0 ? '\1' : '\0'));
    }
}

TEST_F(ArrayValue, TextElementsFollowTheCapacityRule) {
    script().onRead = answerValue(arrayOfScalars({stringVariant(""), stringVariant("Hello")}));
    const std::vector<std::tuple<int, std::string, int>> rows = {{16, std::string("Hello\0", 6), 5},
                                                                 {6, std::string("Hello\0", 6), 5},
                                                                 {5, "Hello", 4},
                                                                 {4, "Hell", 3},
                                                                 {1, "H", 0},
                                                                 {0, "", -1},
                                                                 {-1, "", -2}};
    for (const auto& [capacity, stored, sizeAfter] : rows) {
        GuardedBuffer buffer(stored.size());
        int size = capacity;
        EXPECT_EQ(get(OpcUaDataType_String, {1}, buffer.data(), size), 0);
        EXPECT_EQ(size, sizeAfter) << capacity;
        EXPECT_EQ(buffer.bytes(stored.size()), stored);
        EXPECT_TRUE(buffer.guardsIntact());
    }
    m_size = 8;
    EXPECT_EQ(get(OpcUaDataType_String, {0}), 0);
    EXPECT_EQ(m_size, 0);
    EXPECT_EQ(m_buffer.bytes(1), std::string(1, '\0'));
    EXPECT_TRUE(m_buffer.untouchedFrom(1));
}

TEST_F(ArrayValue, TextIsWrittenToItsTerminatorWhateverTheSizeSays) {
    script().onRead = answerValue(arrayOfScalars({stringVariant("first"), stringVariant("second")}));
    for (const std::string& text : {std::string("Hello"), std::string(), std::string(100000, 't')}) {
        for (const int entry : {INT_MIN, -1, 0, 3, INT_MAX}) {
            int size = entry;
            EXPECT_EQ(set(OpcUaDataType_String, {1}, text.c_str(), size), 0);
            EXPECT_EQ(size, entry);
            EXPECT_THAT(allElements(written().value), ElementsAre("first", text));
        }
    }
}

TEST_F(ArrayValue, ReadAsksOnceForTheWholeValue) {
    script().onRead = answerValue(exampleArray(int32Type(), {5}));
    EXPECT_EQ(get(OpcUaDataType_Int32, {2}), 0);
    EXPECT_THAT(script().operations(), ElementsAre("UaSession::isConnected", "UaSession::read"));
    const ReadRequest request = script().requests<ReadRequest>().at(0);
    EXPECT_EQ(request.settings.callTimeout, 10000);
    EXPECT_EQ(request.maxAge, 0);
    EXPECT_EQ(request.timestamps, OpcUa_TimestampsToReturn_Both);
    ASSERT_THAT(request.items, SizeIs(1));
    EXPECT_EQ(request.items[0].nodeId, "ns=2;s=A");
    EXPECT_EQ(request.items[0].attributeId, 13U);
    EXPECT_EQ(request.items[0].indexRange, "");
}

TEST_F(ArrayValue, WriteReadsAndSendsTheWholeValueAlone) {
    script().onRead = answerValue(exampleArray(int32Type(), {10}));
    EXPECT_EQ(set(OpcUaDataType_Int32, {2}), 0);
    EXPECT_THAT(script().operations(),
                ElementsAre("UaSession::isConnected", "UaSession::read", "UaSession::write"));
    const ReadRequest read = script().requests<ReadRequest>().at(0);
    EXPECT_EQ(read.settings.callTimeout, 10000);
    EXPECT_EQ(read.items.at(0).indexRange, "");
    EXPECT_EQ(script().requests<WriteRequest>().at(0).settings.callTimeout, 10000);
    const WriteItem item = written();
    EXPECT_EQ(item.nodeId, "ns=2;s=A");
    EXPECT_EQ(item.attributeId, 13U);
    EXPECT_EQ(item.indexRange, "");
    EXPECT_TRUE(item.hasValue);
    EXPECT_FALSE(item.hasStatus);
    EXPECT_FALSE(item.hasTimestamps);
    EXPECT_EQ(item.value.arraySize(), 10U);
}

TEST_F(ArrayValue, HoldsTheClientMutexForReadingAndWritingBack) {
    script().onRead = answerValue(exampleArray(int32Type(), {10}));
    EXPECT_EQ(get(OpcUaDataType_Int32, {2}), 0);
    EXPECT_EQ(set(OpcUaDataType_Int32, {2}), 0);
    for (const standin::Call& call : script().calls())
        EXPECT_THAT(call.surroundings.heldMutexes, ElementsAre(mutex_watch::clientMutex)) << call.operation;
    EXPECT_THAT(mutex_watch::locked(), ElementsAre(mutex_watch::clientMutex, mutex_watch::clientMutex));
}

TEST_F(ArrayValue, FailuresReleaseTheMutex) {
    script().onRead = answerValue(int32Variant(7));
    EXPECT_EQ(get(OpcUaDataType_Int32, {2}), 7);
    EXPECT_EQ(set(OpcUaDataType_Int32, {2}), 8);
    EXPECT_THAT(mutex_watch::held(), IsEmpty());
    script().onRead = answerValue(exampleArray(int32Type(), {10}));
    EXPECT_EQ(get(OpcUaDataType_Int32, {2}), 0);
    EXPECT_EQ(message(), messages::writeFailed) << "success keeps the earlier message";
}

TEST_F(ArrayValue, LostConnectionIsRefusedWithoutAskingTheServer) {
    script().onIsConnected = [] { return false; };
    EXPECT_EQ(get(OpcUaDataType_Int32, {2}), 3);
    EXPECT_EQ(message(), messages::notConnected);
    EXPECT_EQ(set(OpcUaDataType_Int32, {2}), 3);
    EXPECT_THAT(script().operations(), ElementsAre("UaSession::isConnected", "UaSession::isConnected"));
    EXPECT_TRUE(m_buffer.untouched());
    EXPECT_EQ(m_size, 4);
}

TEST_F(ArrayValue, BadServiceFails) {
    for (const OpcUa_StatusCode status : {badStatus, bothBitsStatus}) {
        script().onRead = [status](const ReadRequest& request, UaDataValues& values) {
            answerValue(exampleArray(int32Type(), {5}))(request, values);
            return UaStatus(status);
        };
        storeEarlierMessage();
        expectReadFails({2});
        expectWriteFailsUnsent({2});
    }
}

TEST_F(ArrayValue, AnswerWithoutAValueFails) {
    script().onRead = [](const ReadRequest&, UaDataValues&) { return UaStatus(); };
    storeEarlierMessage();
    expectReadFails({2});
    expectWriteFailsUnsent({2});
}

TEST_F(ArrayValue, ValueThatIsNotGoodFails) {
    for (const OpcUa_StatusCode status : {badStatus, uncertainStatus, bothBitsStatus}) {
        script().onRead = answerValue(exampleArray(int32Type(), {5}), status);
        storeEarlierMessage();
        expectReadFails({2});
        expectWriteFailsUnsent({2});
    }
    script().onRead = answerValue(exampleArray(int32Type(), {5}), goodWithDetails);
    EXPECT_EQ(get(OpcUaDataType_Int32, {2}), 0);
    EXPECT_EQ(set(OpcUaDataType_Int32, {2}), 0);
}

TEST_F(ArrayValue, RefusedWriteFails) {
    script().onRead = answerValue(exampleArray(int32Type(), {5}));
    const std::vector<std::tuple<OpcUa_StatusCode, std::vector<OpcUa_StatusCode>, int>> rows = {
        {badStatus, {OpcUa_Good}, 8},
        {bothBitsStatus, {OpcUa_Good}, 8},
        {badStatus, {}, 8},
        {OpcUa_Good, {}, 8},
        {OpcUa_Good, {badStatus}, 8},
        {OpcUa_Good, {uncertainStatus}, 8},
        {OpcUa_Good, {bothBitsStatus}, 8},
        {uncertainStatus, {OpcUa_Good}, 0},
        {goodWithDetails, {goodWithDetails}, 0}};
    for (const auto& [serviceStatus, nodeStatuses, result] : rows) {
        storeEarlierMessage();
        script().onWrite = [service = serviceStatus, node = nodeStatuses](const WriteRequest&,
                                                                          UaStatusCodeArray& results) {
            results.create(static_cast<OpcUa_UInt32>(node.size()));
            std::copy(node.begin(), node.end(), results.rawData());
            return UaStatus(service);
        };
        EXPECT_EQ(set(OpcUaDataType_Int32, {2}), result);
        EXPECT_EQ(message(), result == 0 ? earlierMessage : messages::writeFailed);
    }
}

namespace {

template <typename Number>
std::vector<UaVariant> limitsOf(void (UaVariant::*setter)(Number), std::vector<Number> more = {}) {
    using Limits = std::numeric_limits<Number>;
    more.insert(more.end(),
                {Limits::lowest(), Limits::max(), static_cast<Number>(0), static_cast<Number>(1)});
    std::vector<UaVariant> scalars(more.size());
    for (std::size_t i = 0; i < more.size(); ++i)
        (scalars[i].*setter)(more[i]);
    return scalars;
}

/// Scalars of one type on either side of what the other types can hold.
std::vector<std::vector<UaVariant>> criticalValues() {
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    constexpr double infinity = std::numeric_limits<double>::infinity();
    std::vector<UaVariant> texts;
    for (const char* text : {"1", "true", "-1", "300", "2.5", "1e39", "18446744073709551615", "nan", "", "x"})
        texts.push_back(stringVariant(text));
    return {limitsOf<OpcUa_Boolean>(&UaVariant::setBoolean),
            limitsOf<OpcUa_SByte>(&UaVariant::setSByte, {-1}),
            limitsOf<OpcUa_Byte>(&UaVariant::setByte, {127, 128}),
            limitsOf<OpcUa_Int16>(&UaVariant::setInt16, {-129, -128, 255, 256}),
            limitsOf<OpcUa_UInt16>(&UaVariant::setUInt16, {32767, 32768}),
            limitsOf<OpcUa_Int32>(&UaVariant::setInt32, {-1, 65535, 65536}),
            limitsOf<OpcUa_UInt32>(&UaVariant::setUInt32, {2147483647U, 2147483648U}),
            limitsOf<OpcUa_Int64>(&UaVariant::setInt64, {-1, 4294967295L, 4294967296L}),
            limitsOf<OpcUa_UInt64>(&UaVariant::setUInt64, {9223372036854775807UL, 9223372036854775808UL}),
            limitsOf<OpcUa_Float>(&UaVariant::setFloat,
                                  {2.5F, -2.5F, static_cast<float>(nan), static_cast<float>(infinity)}),
            limitsOf<OpcUa_Double>(&UaVariant::setDouble, {2.5, -2.5, 1e39, nan, infinity, -infinity}),
            texts};
}

class ArrayConversion : public ArrayValue, public ::testing::WithParamInterface<ExampleType> {
protected:
    /// What a client sees of `value` through a record of this type: result, size, and the whole buffer.
    struct Seen {
        int result;
        int size;
        std::string bytes;
        bool operator==(const Seen& other) const {
            return result == other.result && size == other.size && bytes == other.bytes;
        }
    };

    Seen readScalar(const UaVariant& value) {
        script().onRead = answerValue(value);
        OpcUaNode node = makeNode("ns=2;s=A", GetParam().number());
        GuardedBuffer buffer(64);
        int size = 64;
        const int result = m_client->OpcUaGetValue(&node, buffer.data(), size);
        return {result, size, buffer.bytes(64)};
    }
    Seen readElement(const UaVariant& array, unsigned long index) {
        script().onRead = answerValue(array);
        GuardedBuffer buffer(64);
        int size = 64;
        const int result = get(GetParam().number(), {index}, buffer.data(), size);
        return {result, size, buffer.bytes(64)};
    }
};

} // namespace

TEST_P(ArrayConversion, ElementOfEveryTypeReadsLikeAScalar) {
    for (const std::vector<UaVariant>& scalars : criticalValues()) {
        const UaVariant array = arrayOfScalars(scalars);
        for (std::size_t i = 0; i < scalars.size(); ++i) {
            const Seen scalar = readScalar(scalars[i]);
            EXPECT_EQ(scalar.result, 0);
            EXPECT_TRUE(readElement(array, i) == scalar)
                << "type " << scalars[i].type() << " value " << scalars[i].toString().text();
        }
    }
}

TEST_P(ArrayConversion, ArrayOfOnesOfEveryTypeIsWrittenBackInTheRecordsType) {
    for (const std::vector<UaVariant>& scalars : criticalValues()) {
        UaVariant one;
        for (const UaVariant& scalar : scalars)
            if (scalar.toString() == UaString("1") || scalar.toString() == UaString("true"))
                one = scalar;
        ASSERT_FALSE(one.isEmpty());
        if (one.type() == OpcUaType_String)
            one.setString("1");
        script().onRead = answerValue(arrayOfScalars({one, one, one}));
        const std::string replacement = GetParam().element(4);
        int size = static_cast<int>(replacement.size());
        ASSERT_EQ(set(GetParam().number(), {1}, replacement.c_str(), size), 0);
        const WriteItem item = written();
        EXPECT_EQ(item.value.type(), GetParam().type);
        const std::string converted = readScalar(one).bytes.substr(0, elementBytes(item.value, 0).size());
        EXPECT_THAT(allElements(item.value), ElementsAre(converted, replacement, converted));
    }
}

TEST_P(ArrayConversion, BehindTheEndOfAnArrayOfEveryTypeThereIsNothing) {
    for (const std::vector<UaVariant>& scalars : criticalValues()) {
        const UaVariant array = arrayOfScalars(scalars);
        EXPECT_EQ(readElement(array, scalars.size()).result, 7) << "type " << array.type();
        EXPECT_EQ(readElement(array, scalars.size() + 1).result, 7) << "type " << array.type();
    }
}

INSTANTIATE_TEST_SUITE_P(EveryType, ArrayConversion, ::testing::ValuesIn(exampleTypes()), typeName);

TEST_F(ArrayValue, WriteThatWouldLoseAnotherElementIsNotSent) {
    storeEarlierMessage();
    for (const UaVariant& array :
         {arrayOfScalars({doubleVariant(1), doubleVariant(std::nan("")), doubleVariant(1e300)}),
          arrayOfScalars({stringVariant("1"), stringVariant("Line 1"), stringVariant("")})}) {
        script().onRead = answerValue(array);
        expectWriteFailsUnsent({0});
    }
}

TEST_F(ArrayValue, WriteThatWouldLoseAnotherElementOfAMatrixIsNotSent) {
    storeEarlierMessage();
    UaDoubleArray numbers;
    numbers.create(4);
    numbers[1] = std::nan("");
    UaUInt32Array lengths;
    lengths.create(2);
    lengths[0] = lengths[1] = 2;
    UaVariant matrix;
    ASSERT_EQ(matrix.setDoubleMatrix(std::move(numbers), std::move(lengths)), OpcUa_Good);
    script().onRead = answerValue(matrix);
    expectWriteFailsUnsent({0, 0});
}

TEST_F(ArrayValue, ElementsWithoutAFormReadAsZeroAndAreNotWrittenBack) {
    const OpcUa_DateTime times[2] = {1, 2};
    script().onRead = answerValue(arrayVariant(OpcUaType_DateTime, times, 2));
    EXPECT_EQ(get(OpcUaDataType_Int32, {1}), 0);
    EXPECT_EQ(m_buffer.as<int>(), 0);
    storeEarlierMessage();
    expectWriteFailsUnsent({1});
}
