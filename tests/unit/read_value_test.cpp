#include <climits>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

#include "client_test.h"

using standin::ReadRequest;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

class ReadValue : public ClientTest {
protected:
    ReadValue() { connect(); }

    int read(int dataType, GuardedBuffer& buffer, int& size) {
        OpcUaNode node = makeNode("ns=2;s=A", dataType);
        return m_client->OpcUaGetValue(&node, buffer.data(), size);
    }

    /// Reads `value` through a record of `dataType`.
    template <typename T>
    T readAs(int dataType, const UaVariant& value) {
        script().onRead = answerValue(value);
        GuardedBuffer buffer(sizeof(T));
        int size = sizeof(T);
        EXPECT_EQ(read(dataType, buffer, size), 0);
        EXPECT_EQ(size, static_cast<int>(sizeof(T)));
        EXPECT_TRUE(buffer.guardsIntact());
        return buffer.as<T>();
    }

    OpcUaNode m_node = makeNode("ns=2;s=A", OpcUaDataType_Int32);
    GuardedBuffer m_buffer{8};
    int m_size = 5;
};

template <typename T>
std::string bytesOf(T value) {
    return std::string(reinterpret_cast<const char*>(&value), sizeof(value));
}

struct NumberRow {
    const char* name;
    int type;
    std::string bytes; ///< of the value, in host order
};

std::vector<NumberRow> numbers() {
    return {
        {"BooleanTrue", 1, bytesOf<OpcUa_Boolean>(true)}, {"BooleanFalse", 1, bytesOf<OpcUa_Boolean>(false)},
        {"SByte", 2, bytesOf<OpcUa_SByte>(-128)},         {"Byte", 3, bytesOf<OpcUa_Byte>(255)},
        {"Int16", 4, bytesOf<OpcUa_Int16>(-32768)},       {"UInt16", 5, bytesOf<OpcUa_UInt16>(65535)},
        {"Int32", 6, bytesOf<OpcUa_Int32>(INT_MIN)},      {"UInt32", 7, bytesOf<OpcUa_UInt32>(UINT_MAX)},
        {"Int64", 8, bytesOf<OpcUa_Int64>(LONG_MIN)},     {"UInt64", 9, bytesOf<OpcUa_UInt64>(ULONG_MAX)},
        {"Float", 10, bytesOf<OpcUa_Float>(-1.25F)},      {"Double", 11, bytesOf<OpcUa_Double>(0.1)}};
}

class ReadNumber : public ReadValue, public ::testing::WithParamInterface<NumberRow> {
protected:
    ReadNumber() {
        script().onRead = answerValue(
            scalarVariant(static_cast<OpcUa_BuiltInType>(GetParam().type), GetParam().bytes.data()));
    }
};

} // namespace

TEST_P(ReadNumber, StoresItsWidthWhateverTheSizeSays) {
    const int width = static_cast<int>(GetParam().bytes.size());
    for (const int entry : {0, 1, width - 1, width, width + 1, 1000, -1, INT_MIN, INT_MAX}) {
        GuardedBuffer buffer(static_cast<std::size_t>(width));
        int size = entry;
        EXPECT_EQ(read(GetParam().type, buffer, size), 0);
        EXPECT_EQ(size, width);
        EXPECT_EQ(buffer.bytes(static_cast<std::size_t>(width)), GetParam().bytes);
        EXPECT_TRUE(buffer.guardsIntact());
    }
}

TEST_P(ReadNumber, LeavesTheRestOfALargerBuffer) {
    GuardedBuffer buffer(16);
    int size = 16;
    EXPECT_EQ(read(GetParam().type, buffer, size), 0);
    EXPECT_TRUE(buffer.untouchedFrom(GetParam().bytes.size()));
}

INSTANTIATE_TEST_SUITE_P(EveryType, ReadNumber, ::testing::ValuesIn(numbers()),
                         [](const auto& row) { return row.param.name; });

namespace {

struct TextRow {
    const char* name;
    std::string text;
    int capacity;
    std::string stored; ///< bytes written
    int size;           ///< afterwards
};

class ReadText : public ReadValue, public ::testing::WithParamInterface<TextRow> {};

std::vector<TextRow> texts() {
    const std::string hello = "Hello";
    const std::string zero(1, '\0');
    const std::string inner("a\0b", 3);
    const std::string umlaut = "a\xC3\xBC";
    return {{"LargeBuffer", hello, 16, hello + zero, 5},
            {"RoomForTheTerminator", hello, 6, hello + zero, 5},
            {"ExactlyTheText", hello, 5, hello, 4},
            {"OneByteShort", hello, 4, "Hell", 3},
            {"OneByte", hello, 1, "H", 0},
            {"NoByte", hello, 0, "", -1},
            {"NegativeCapacity", hello, -1, "", -2},
            {"VeryNegativeCapacity", hello, -1000, "", -1001},
            {"EmptyText", "", 16, zero, 0},
            {"EmptyTextInOneByte", "", 1, zero, 0},
            {"EmptyTextWithoutRoom", "", 0, "", -1},
            {"ZeroByteInside", inner, 16, inner + zero, 3},
            {"ZeroByteInsideCut", inner, 3, inner, 2},
            {"CutInsideACharacter", umlaut, 2, "a\xC3", 1},
            {"Of255Bytes", std::string(255, 't'), 256, std::string(255, 't') + zero, 255},
            {"Of256Bytes", std::string(256, 't'), 256, std::string(256, 't'), 255},
            {"Of300BytesCut", std::string(300, 't'), 256, std::string(256, 't'), 255},
            {"Of300Bytes", std::string(300, 't'), 301, std::string(300, 't') + zero, 300},
            {"Of100000Bytes", std::string(100000, 't'), 100001, std::string(100000, 't') + zero, 100000}};
}

} // namespace

TEST_P(ReadText, FollowsTheCapacityRule) {
    script().onRead = answerValue(stringVariant(GetParam().text));
    GuardedBuffer buffer(GetParam().stored.size());
    int size = GetParam().capacity;
    EXPECT_EQ(read(OpcUaDataType_String, buffer, size), 0);
    EXPECT_EQ(size, GetParam().size);
    EXPECT_EQ(buffer.bytes(GetParam().stored.size()), GetParam().stored);
    EXPECT_TRUE(buffer.guardsIntact());
}

INSTANTIATE_TEST_SUITE_P(Capacities, ReadText, ::testing::ValuesIn(texts()),
                         [](const auto& row) { return row.param.name; });

TEST_F(ReadValue, TextWithTheLowestCapacityWritesNothing) {
    script().onRead = answerValue(stringVariant("Hello"));
    m_size = INT_MIN;
    EXPECT_EQ(read(OpcUaDataType_String, m_buffer, m_size), 0);
    EXPECT_LT(m_size, 0);
    EXPECT_TRUE(m_buffer.untouched());
}

TEST_F(ReadValue, TypeNullSetsTheSizeToZeroAndWritesNothing) {
    script().onRead = answerValue(int32Variant(7));
    EXPECT_EQ(read(OpcUaDataType_Null, m_buffer, m_size), 0);
    EXPECT_EQ(m_size, 0);
    EXPECT_TRUE(m_buffer.untouched());
    EXPECT_THAT(script().requests<ReadRequest>(), SizeIs(1)) << "the server is asked all the same";
}

TEST_F(ReadValue, UnknownTypesWriteNothingAndKeepTheSize) {
    script().onRead = answerValue(int32Variant(7));
    for (const int type : {13, 22, 1000, INT_MAX, -1, INT_MIN}) {
        EXPECT_EQ(read(type, m_buffer, m_size), 0) << type;
        EXPECT_EQ(m_size, 5);
        EXPECT_TRUE(m_buffer.untouched());
    }
}

TEST_F(ReadValue, ConvertsToTheRecordsType) {
    EXPECT_EQ(readAs<double>(OpcUaDataType_Double, int32Variant(-7)), -7.0);
    EXPECT_EQ(readAs<int>(OpcUaDataType_Int32, doubleVariant(41.6)), 42);
    EXPECT_EQ(readAs<short>(OpcUaDataType_Int16, int32Variant(-300)), -300);
    EXPECT_EQ(readAs<unsigned char>(OpcUaDataType_Boolean, int32Variant(9)), 1);
    EXPECT_EQ(readAs<long>(OpcUaDataType_Int64, booleanVariant(true)), 1L);
    EXPECT_EQ(readAs<unsigned int>(OpcUaDataType_UInt32, stringVariant("12")), 12U);
    EXPECT_EQ(readAs<float>(OpcUaDataType_Float, doubleVariant(0.5)), 0.5F);
}

TEST_F(ReadValue, ConvertsNumbersToText) {
    script().onRead = answerValue(int32Variant(-123));
    GuardedBuffer buffer(16);
    m_size = 16;
    EXPECT_EQ(read(OpcUaDataType_String, buffer, m_size), 0);
    EXPECT_EQ(m_size, 4);
    EXPECT_EQ(buffer.bytes(5), std::string("-123") + '\0');
    EXPECT_TRUE(buffer.untouchedFrom(5));
}

TEST_F(ReadValue, ValueThatCannotBeConvertedGivesZeroAndSuccess) {
    const OpcUa_Int32 elements[2] = {5, 6};
    for (const UaVariant& value : {UaVariant(), arrayVariant(OpcUaType_Int32, elements, 2),
                                   stringVariant("speed"), doubleVariant(1e300), doubleVariant(std::nan(""))})
        EXPECT_EQ(readAs<int>(OpcUaDataType_Int32, value), 0);
    EXPECT_EQ(readAs<unsigned char>(OpcUaDataType_Byte, int32Variant(256)), 0);
    EXPECT_EQ(readAs<unsigned int>(OpcUaDataType_UInt32, int32Variant(-1)), 0U);
    EXPECT_EQ(message(), "");
}

TEST_F(ReadValue, ValueWithoutTextFormGivesAnEmptyText) {
    const OpcUa_Int32 elements[2] = {5, 6};
    for (const UaVariant& value : {UaVariant(), arrayVariant(OpcUaType_Int32, elements, 2)}) {
        script().onRead = answerValue(value);
        GuardedBuffer buffer(8);
        m_size = 8;
        EXPECT_EQ(read(OpcUaDataType_String, buffer, m_size), 0);
        EXPECT_EQ(m_size, 0);
        EXPECT_EQ(buffer.bytes(1), std::string(1, '\0'));
        EXPECT_TRUE(buffer.untouchedFrom(1));
    }
}

TEST_F(ReadValue, AsksForOneValueAttribute) {
    EXPECT_EQ(m_client->OpcUaGetValue(&m_node, m_buffer.data(), m_size), 0);
    EXPECT_THAT(script().operations(), ElementsAre("UaSession::isConnected", "UaSession::read"));
    const ReadRequest request = script().requests<ReadRequest>().at(0);
    ASSERT_THAT(request.items, SizeIs(1));
    EXPECT_EQ(request.items[0].nodeId, "ns=2;s=A");
    EXPECT_EQ(request.items[0].attributeId, 13U);
    EXPECT_EQ(request.items[0].indexRange, "");
    EXPECT_EQ(request.items[0].dataEncoding, "");
    EXPECT_EQ(request.settings.callTimeout, 10000);
    EXPECT_EQ(request.maxAge, 0);
    EXPECT_EQ(request.timestamps, OpcUa_TimestampsToReturn_Both);
}

TEST_F(ReadValue, NamesTheNodeAsTheRecordDoes) {
    const std::string full = "ns=2;s=" + std::string(249, 'x');
    const std::string nullText = UaNodeId().toXmlString().text();
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"i=85", "i=85"}, {"ns=0;i=85", "i=85"},    {"ns=2;s=a;b=c", "ns=2;s=a;b=c"},
        {full, full},     {"no node id", nullText}, {"", nullText},
    };
    for (const auto& [text, expected] : rows) {
        script().forgetCalls();
        OpcUaNode node = makeNode(text, OpcUaDataType_Int32);
        node.result = 0x41414141;
        EXPECT_EQ(m_client->OpcUaGetValue(&node, m_buffer.data(), m_size), 0);
        EXPECT_EQ(script().requests<ReadRequest>().at(0).items.at(0).nodeId, expected) << text;
    }
}

TEST_F(ReadValue, LeavesTheRecordAlone) {
    OpcUaNode before;
    m_node.result = 33;
    std::memcpy(&before, &m_node, sizeof(before));
    EXPECT_EQ(m_client->OpcUaGetValue(&m_node, m_buffer.data(), m_size), 0);
    EXPECT_EQ(std::memcmp(&before, &m_node, sizeof(before)), 0);
}

TEST_F(ReadValue, HoldsTheClientMutexForTheCall) {
    EXPECT_EQ(m_client->OpcUaGetValue(&m_node, m_buffer.data(), m_size), 0);
    for (const standin::Call& call : script().calls())
        EXPECT_THAT(call.surroundings.heldMutexes, ElementsAre(mutex_watch::clientMutex)) << call.operation;
    EXPECT_THAT(mutex_watch::locked(), ElementsAre(mutex_watch::clientMutex));
}

TEST_F(ReadValue, NullArgumentsAreRefusedWithoutLock) {
    EXPECT_EQ(m_client->OpcUaGetValue(nullptr, m_buffer.data(), m_size), 29);
    EXPECT_EQ(message(), messages::invalidArgument);
    EXPECT_EQ(m_client->OpcUaGetValue(&m_node, nullptr, m_size), 29);
    EXPECT_EQ(m_client->OpcUaGetValue(nullptr, nullptr, m_size), 29);
    EXPECT_EQ(m_size, 5);
    EXPECT_THAT(script().operations(), IsEmpty());
    EXPECT_THAT(mutex_watch::locked(), IsEmpty());
}

TEST_F(ReadValue, NullArgumentsComeBeforeTheConnection) {
    ASSERT_EQ(m_client->OpcUaDisConnect(), 0);
    EXPECT_EQ(m_client->OpcUaGetValue(nullptr, m_buffer.data(), m_size), 29);
    EXPECT_EQ(m_client->OpcUaGetValue(&m_node, m_buffer.data(), m_size), 3);
}

TEST_F(ReadValue, WithoutSessionIsRefusedUnderTheLock) {
    ASSERT_EQ(m_client->OpcUaDisConnect(), 0);
    script().forgetCalls();
    mutex_watch::forgetLocks();
    EXPECT_EQ(m_client->OpcUaGetValue(&m_node, m_buffer.data(), m_size), 3);
    EXPECT_EQ(message(), messages::notConnected);
    EXPECT_THAT(script().operations(), IsEmpty());
    EXPECT_THAT(mutex_watch::locked(), ElementsAre(mutex_watch::clientMutex));
    EXPECT_TRUE(m_buffer.untouched());
    EXPECT_EQ(m_size, 5);
}

TEST_F(ReadValue, LostConnectionIsRefusedWithoutAskingTheServer) {
    script().onIsConnected = [] { return false; };
    EXPECT_EQ(m_client->OpcUaGetValue(&m_node, m_buffer.data(), m_size), 3);
    EXPECT_EQ(message(), messages::notConnected);
    EXPECT_THAT(script().operations(), ElementsAre("UaSession::isConnected"));
    EXPECT_TRUE(m_buffer.untouched());
}

TEST_F(ReadValue, BadServiceFails) {
    for (const OpcUa_StatusCode status : {badStatus, bothBitsStatus}) {
        script().onRead = [status](const ReadRequest& request, UaDataValues& values) {
            answerValue(int32Variant(7))(request, values);
            return UaStatus(status);
        };
        EXPECT_EQ(m_client->OpcUaGetValue(&m_node, m_buffer.data(), m_size), 7);
        EXPECT_EQ(message(), messages::readFailed);
        EXPECT_TRUE(m_buffer.untouched());
        EXPECT_EQ(m_size, 5);
    }
}

TEST_F(ReadValue, UncertainServiceWithAGoodValueSucceeds) {
    for (const OpcUa_StatusCode status : {uncertainStatus, goodWithDetails}) {
        script().onRead = [status](const ReadRequest& request, UaDataValues& values) {
            answerValue(int32Variant(7))(request, values);
            return UaStatus(status);
        };
        EXPECT_EQ(m_client->OpcUaGetValue(&m_node, m_buffer.data(), m_size), 0);
        EXPECT_EQ(m_buffer.as<int>(), 7);
    }
}

TEST_F(ReadValue, ValueThatIsNotGoodFails) {
    for (const OpcUa_StatusCode status : {badStatus, uncertainStatus, bothBitsStatus}) {
        script().onRead = answerValue(int32Variant(7), status);
        EXPECT_EQ(m_client->OpcUaGetValue(&m_node, m_buffer.data(), m_size), 7);
        EXPECT_EQ(message(), messages::readFailed);
        EXPECT_TRUE(m_buffer.untouched());
        EXPECT_EQ(m_size, 5);
    }
}

TEST_F(ReadValue, GoodValueWithInformationBitsIsTaken) {
    script().onRead = answerValue(int32Variant(7), goodWithDetails);
    EXPECT_EQ(m_client->OpcUaGetValue(&m_node, m_buffer.data(), m_size), 0);
    EXPECT_EQ(m_buffer.as<int>(), 7);
}

TEST_F(ReadValue, AnswerWithoutAnyValueFails) {
    script().onRead = [](const ReadRequest&, UaDataValues&) { return UaStatus(); };
    EXPECT_EQ(m_client->OpcUaGetValue(&m_node, m_buffer.data(), m_size), 7);
    EXPECT_EQ(message(), messages::readFailed);
    EXPECT_TRUE(m_buffer.untouched());
}

TEST_F(ReadValue, FailureReleasesTheLockForTheNextCall) {
    script().onRead = answerValue(int32Variant(7), badStatus);
    EXPECT_EQ(m_client->OpcUaGetValue(&m_node, m_buffer.data(), m_size), 7);
    script().onRead = answerValue(int32Variant(7));
    EXPECT_EQ(m_client->OpcUaGetValue(&m_node, m_buffer.data(), m_size), 0);
    EXPECT_EQ(message(), messages::readFailed) << "success keeps the earlier message";
}
