#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "client/opcua_client.h"
#include "client_test.h"
#include "support/next_definition.h"

using standin::ReadRequest;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

std::optional<OpcUa_UInt32> numberOfLengths;

} // namespace

// A real variant never disagrees with itself: this one can be made to.
void UaVariant::arrayDimensions(UaUInt32Array& dimensions) const {
    static const auto next = nextDefinition<void (*)(const UaVariant*, UaUInt32Array&)>(
        "_ZNK9UaVariant15arrayDimensionsER15UaProtocolArrayIjE");
    next(this, dimensions);
    if (numberOfLengths)
        dimensions.create(*numberOfLengths);
}

namespace {

class DataType : public StandInTest {
protected:
    DataType() {
        numberOfLengths.reset();
        _OpcUaClientConfig config = makeConfig();
        EXPECT_EQ(m_client.OpcUaConnect(config), 0);
        script().forgetCalls();
        mutex_watch::forgetLocks();
        m_shape.kind = 77;
        m_shape.dimCount = 78;
        for (unsigned long& length : m_shape.dims)
            length = 79;
    }
    ~DataType() override { numberOfLengths.reset(); }

    bool read() { return m_client.ReadDataType(UaNodeId::fromXmlString("ns=2;s=A"), m_type, m_shape); }
    bool read(const UaVariant& value) {
        script().onRead = answerValue(value);
        return read();
    }

    std::string message() {
        char text[256] = {};
        m_client.GetErrorMsg(text, sizeof(text));
        return text;
    }

    void expectShapeUntouched() {
        EXPECT_EQ(m_shape.kind, 77);
        EXPECT_EQ(m_shape.dimCount, 78);
        EXPECT_THAT(m_shape.dims, Each(79U));
    }

    COpcUaClient m_client;
    _OpcUaDataType m_type = static_cast<_OpcUaDataType>(99);
    _ArrayType m_shape;
};

} // namespace

TEST_F(DataType, IsReadFromTheValueAttribute) {
    EXPECT_TRUE(read(int32Variant(1)));
    EXPECT_THAT(script().operations(), ElementsAre("UaSession::read"));
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

TEST_F(DataType, IsReadWithoutLock) {
    EXPECT_TRUE(read(int32Variant(1)));
    EXPECT_THAT(mutex_watch::locked(), IsEmpty());
}

TEST_F(DataType, IsReadWhateverTheSessionThinksOfItsConnection) {
    script().onIsConnected = [] { return false; };
    EXPECT_TRUE(read(int32Variant(1)));
    EXPECT_THAT(script().operations(), ElementsAre("UaSession::read"));
}

TEST_F(DataType, WithoutSessionFails) {
    ASSERT_EQ(m_client.OpcUaDisConnect(), 0);
    script().forgetCalls();
    EXPECT_FALSE(read());
    EXPECT_EQ(message(), messages::notConnected);
    EXPECT_THAT(script().operations(), IsEmpty());
    EXPECT_EQ(static_cast<int>(m_type), 99);
    expectShapeUntouched();
}

TEST_F(DataType, BadServiceFails) {
    for (const OpcUa_StatusCode status : {badStatus, bothBitsStatus}) {
        script().onRead = [status](const ReadRequest&, UaDataValues& values) {
            values.create(1);
            return UaStatus(status);
        };
        EXPECT_FALSE(read());
        EXPECT_EQ(message(), messages::dataTypeFailed);
        EXPECT_EQ(static_cast<int>(m_type), 99);
        expectShapeUntouched();
    }
}

TEST_F(DataType, UncertainServiceSucceeds) {
    for (const OpcUa_StatusCode status : {uncertainStatus, goodWithDetails}) {
        script().onRead = [status](const ReadRequest& request, UaDataValues& values) {
            answerValue(doubleVariant(1))(request, values);
            return UaStatus(status);
        };
        EXPECT_TRUE(read());
        EXPECT_EQ(m_type, OpcUaDataType_Double);
        EXPECT_EQ(message(), "");
    }
}

TEST_F(DataType, AnswerWithoutAnyValueFails) {
    script().onRead = [](const ReadRequest&, UaDataValues&) { return UaStatus(); };
    EXPECT_FALSE(read());
    EXPECT_EQ(message(), messages::dataTypeFailed);
    expectShapeUntouched();
}

TEST_F(DataType, ValueThatIsNotGoodGivesTypeNullAndKeepsTheShape) {
    const OpcUa_Double elements[3] = {};
    for (const OpcUa_StatusCode status : {badStatus, uncertainStatus, bothBitsStatus}) {
        script().onRead = answerValue(arrayVariant(OpcUaType_Double, elements, 3), status);
        m_type = static_cast<_OpcUaDataType>(99);
        EXPECT_TRUE(read());
        EXPECT_EQ(m_type, OpcUaDataType_Null);
        expectShapeUntouched();
        EXPECT_EQ(message(), messages::dataTypeFailed);
    }
}

TEST_F(DataType, GoodValueWithInformationBitsIsTaken) {
    script().onRead = answerValue(int32Variant(1), goodWithDetails);
    EXPECT_TRUE(read());
    EXPECT_EQ(m_type, OpcUaDataType_Int32);
    EXPECT_EQ(message(), "");
}

TEST_F(DataType, BuiltInTypesUpToStringKeepTheirNumber) {
    const unsigned char zeros[16] = {};
    for (int type = 1; type <= 12; ++type) {
        EXPECT_TRUE(read(scalarVariant(static_cast<OpcUa_BuiltInType>(type), zeros))) << type;
        EXPECT_EQ(static_cast<int>(m_type), type);
        EXPECT_EQ(m_shape.kind, 0);
    }
}

TEST_F(DataType, OtherBuiltInTypesAreNull) {
    const unsigned char zeros[128] = {};
    for (int type = 13; type <= 25; ++type) {
        m_type = static_cast<_OpcUaDataType>(99);
        EXPECT_TRUE(read(scalarVariant(static_cast<OpcUa_BuiltInType>(type), zeros))) << type;
        EXPECT_EQ(m_type, OpcUaDataType_Null) << type;
        EXPECT_EQ(message(), "");
    }
}

TEST_F(DataType, EmptyValueIsNull) {
    EXPECT_TRUE(read(UaVariant()));
    EXPECT_EQ(m_type, OpcUaDataType_Null);
    EXPECT_EQ(m_shape.kind, 0);
    EXPECT_EQ(message(), "");
}

TEST_F(DataType, ScalarSetsTheKindAlone) {
    EXPECT_TRUE(read(stringVariant("x")));
    EXPECT_EQ(m_type, OpcUaDataType_String);
    EXPECT_EQ(m_shape.kind, 0);
}

TEST_F(DataType, ArrayHasOneLength) {
    const OpcUa_Int32 elements[5] = {};
    EXPECT_TRUE(read(arrayVariant(OpcUaType_Int32, elements, 5)));
    EXPECT_EQ(m_type, OpcUaDataType_Int32);
    EXPECT_EQ(m_shape.kind, 1);
    EXPECT_EQ(m_shape.dimCount, 1);
    EXPECT_EQ(m_shape.dims[0], 5U);
}

TEST_F(DataType, EmptyArrayIsAnArray) {
    const OpcUa_Int32 element = 0;
    EXPECT_TRUE(read(arrayVariant(OpcUaType_Int32, &element, 0)));
    EXPECT_EQ(m_shape.kind, 1);
    EXPECT_EQ(m_shape.dimCount, 1);
    EXPECT_EQ(m_shape.dims[0], 0U);
}

TEST_F(DataType, ArrayOfAnotherTypeIsAnArrayOfTypeNull) {
    const OpcUa_DateTime elements[4] = {};
    EXPECT_TRUE(read(arrayVariant(OpcUaType_DateTime, elements, 4)));
    EXPECT_EQ(m_type, OpcUaDataType_Null);
    EXPECT_EQ(m_shape.kind, 1);
    EXPECT_EQ(m_shape.dims[0], 4U);
}

TEST_F(DataType, MatrixHasALengthADimension) {
    const OpcUa_Double elements[24] = {};
    EXPECT_TRUE(read(arrayVariant(OpcUaType_Double, elements, 12, {3, 4})));
    EXPECT_EQ(m_type, OpcUaDataType_Double);
    EXPECT_EQ(m_shape.kind, 1);
    EXPECT_EQ(m_shape.dimCount, 2);
    EXPECT_EQ(m_shape.dims[0], 3U);
    EXPECT_EQ(m_shape.dims[1], 4U);
    EXPECT_TRUE(read(arrayVariant(OpcUaType_Double, elements, 24, {2, 3, 4})));
    EXPECT_EQ(m_shape.dimCount, 3);
    EXPECT_EQ(m_shape.dims[0], 2U);
    EXPECT_EQ(m_shape.dims[1], 3U);
    EXPECT_EQ(m_shape.dims[2], 4U);
}

TEST_F(DataType, SixteenDimensionsFit) {
    const OpcUa_Byte elements[2] = {};
    std::vector<OpcUa_UInt32> lengths(16, 1);
    lengths[15] = 2;
    EXPECT_TRUE(read(arrayVariant(OpcUaType_Byte, elements, 2, lengths)));
    EXPECT_EQ(m_shape.dimCount, 16);
    EXPECT_EQ(m_shape.dims[15], 2U);
}

TEST_F(DataType, OfMoreDimensionsTheFirstSixteenAreKept) {
    const OpcUa_Byte elements[6] = {};
    for (const std::size_t count : {17U, 40U}) {
        std::vector<OpcUa_UInt32> lengths(count, 1);
        lengths[0] = 3;
        lengths[16] = 2;
        struct {
            _ArrayType shape;
            unsigned long behind = 0x5555555555555555;
        } guarded;
        script().onRead = answerValue(arrayVariant(OpcUaType_Byte, elements, 6, lengths));
        EXPECT_TRUE(m_client.ReadDataType(UaNodeId(1), m_type, guarded.shape));
        EXPECT_EQ(guarded.shape.kind, 1);
        EXPECT_EQ(guarded.shape.dimCount, 16);
        EXPECT_EQ(guarded.shape.dims[0], 3U);
        EXPECT_EQ(guarded.shape.dims[15], 1U);
        EXPECT_EQ(guarded.behind, 0x5555555555555555U);
    }
}

TEST_F(DataType, MatrixThatDisagreesWithItselfIsAScalar) {
    const OpcUa_Double elements[12] = {};
    for (const OpcUa_UInt32 count : {0U, 1U, 3U}) {
        numberOfLengths = count;
        m_shape.kind = 77;
        EXPECT_TRUE(read(arrayVariant(OpcUaType_Double, elements, 12, {3, 4})));
        EXPECT_EQ(m_type, OpcUaDataType_Double);
        EXPECT_EQ(m_shape.kind, 0);
        EXPECT_EQ(m_shape.dimCount, 78) << "nothing else changes";
        EXPECT_THAT(m_shape.dims, Each(79U));
    }
}
