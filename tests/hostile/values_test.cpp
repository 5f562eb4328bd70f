// Values that a server may send in an answer that is sound otherwise.
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "hostile/hostile_fixture.h"

using namespace scripted;

namespace {

/// A DataValue as it is encoded, and what reading it gives.
struct Value {
    std::string name;
    Bytes encoded;
    std::vector<int> results{7};
};

std::ostream& operator<<(std::ostream& stream, const Value& value) {
    return stream << value.name;
}

const std::vector<Value> undecodable{
    {"LastBuiltInType", hex("01 3F 00000000")},
    {"ArrayOfUnknownType", hex("01 9F 01000000 00")},
    {"EndlessText", hex("01 0C FFFFFF7F 41")},
    {"EndlessArray", hex("01 86 FFFFFF7F")},
    {"CutNumber", hex("01 06 0102")},
    {"DimensionsOfAScalar", hex("01 46 2A000000 01000000 01000000")},
    {"EndlessDimensions", hex("01 C6 01000000 2A000000 FFFFFF7F")},
    {"FewerElementsThanDimensions", hex("01 C6 01000000 2A000000 02000000 02000000 02000000")},
    {"MoreElementsThanDimensions", hex("01 C6 02000000 2A000000 2A000000 02000000 01000000 01000000")},
    {"ElementsOfNoDimension", hex("01 C6 01000000 2A000000 02000000 00000000 02000000")},
    {"NegativeDimension", hex("01 C6 01000000 2A000000 01000000 FFFFFFFF")},
    {"DimensionsThatOverflow", hex("01 C6 00000000 02000000 00000080 02000000")},
    {"UnknownNodeIdForm", hex("01 11 07")},
    {"NestedVariants", hex("01") + repeated(hex("98 01000000"), 5000)},
    {"NestedDiagnostics", hex("01 19") + repeated(hex("40"), 5000)},
};

class Values : public HostileTest {
protected:
    /// Answers reads of one node with this value.
    void answerWith(const Bytes& dataValue) {
        server.on<UA_ReadRequest>([dataValue](const Call& call) {
            Owned<UA_ReadResponse> empty;
            const Bytes body = call.bodyOf(*empty); // ends with two null arrays
            call.answerBody(body.substr(0, body.size() - 8) + u32(1) + dataValue + nullText());
        });
    }
};

class UndecodableValues : public Values, public testing::WithParamInterface<Value> {};

TEST_P(UndecodableValues, CostTheirReadAlone) {
    ASSERT_EQ(connect(), 0);
    answerWith(GetParam().encoded);
    EXPECT_EQ(read(), readFailed);
    server.behave();
    expectUnharmed();
}

TEST_P(UndecodableValues, LeaveABrowsedTypeNull) {
    ASSERT_EQ(connect(), 0);
    answerWith(GetParam().encoded);
    EXPECT_EQ(browse(), 0);
    const OpcUaNode* child = client.OpcUaReadRootNode()->child;
    ASSERT_NE(child, nullptr);
    EXPECT_EQ(child->dataType, OpcUaDataType_Null);
    server.behave();
    expectUnharmed();
}

/// The server cannot send the value: it says so of the whole answer, which holds nothing else.
class UnsendableValue : public Values, public testing::WithParamInterface<UA_StatusCode> {};

TEST_P(UnsendableValue, LeavesABrowsedTypeNull) {
    ASSERT_EQ(connect(), 0);
    server.on<UA_ReadRequest>([](const Call& call) { call.fault(GetParam()); });
    EXPECT_EQ(browse(), 0);
    const OpcUaNode* child = client.OpcUaReadRootNode()->child;
    ASSERT_NE(child, nullptr);
    EXPECT_EQ(child->dataType, OpcUaDataType_Null);
    EXPECT_EQ(read(), readFailed);
    server.behave();
    expectUnharmed();
}

TEST_P(UnsendableValue, LeavesABrowsedTypeNullAlsoWhenThatIsFoundOnTheWay) {
    ASSERT_EQ(connect(), 0);
    server.on<UA_ReadRequest>([](const Call& call) {
        call.connection().send(call.chunk('C', call.usualBody().substr(0, 10)));
        call.connection().send(call.chunk('A', u32(GetParam()) + nullText()));
    });
    EXPECT_EQ(browse(), 0);
    const OpcUaNode* child = client.OpcUaReadRootNode()->child;
    ASSERT_NE(child, nullptr);
    EXPECT_EQ(child->dataType, OpcUaDataType_Null);
    EXPECT_EQ(read(), readFailed);
    server.behave();
    expectUnharmed();
}

INSTANTIATE_TEST_SUITE_P(Each, UnsendableValue,
                         testing::Values(UA_STATUSCODE_BADRESPONSETOOLARGE,
                                         UA_STATUSCODE_BADENCODINGLIMITSEXCEEDED,
                                         UA_STATUSCODE_BADTCPMESSAGETOOLARGE),
                         [](const auto& one) { return std::string(UA_StatusCode_name(one.param)); });

TEST_P(UndecodableValues, InANotificationCostNoMore) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    const std::optional<Call> call = server.publisher().takeRequest();
    ASSERT_TRUE(call);
    const Bytes change =
        u32(1) + u32(server.publisher().items().at(0).clientHandle) + GetParam().encoded + nullText();
    Owned<UA_PublishResponse> response = Publisher::keepAlive(server.publisher().subscriptionId(), 2);
    resize(response->notificationMessage.notificationData, response->notificationMessage.notificationDataSize,
           1);
    UA_ExtensionObject& object = response->notificationMessage.notificationData[0];
    object.encoding = UA_EXTENSIONOBJECT_ENCODED_BYTESTRING;
    object.content.encoded.typeId = typeOf<UA_DataChangeNotification>().binaryEncodingId;
    assign(object.content.encoded.body, change);
    call->answerBody(call->bodyOf(*response));
    expectUnharmed();
    server.publisher().publish(43);
    EXPECT_TRUE(waitForValue(43));
}

INSTANTIATE_TEST_SUITE_P(Each, UndecodableValues, testing::ValuesIn(undecodable),
                         [](const auto& one) { return one.param.name; });

/// What is odd, and still a value.
const std::vector<Value> odd{
    {"Nothing", hex("00"), {0}},
    // Reserved for what later versions add (OPC UA Part 6, 5.1.10).
    {"ReservedBuiltInType", hex("01 1A 00000000"), {0, 7}},
    {"VariantInAVariant", hex("01 18 06 2A000000"), {0, 7}},
    {"NullVariant", hex("01 00"), {0}},
    {"EmptyArray", hex("01 86 00000000"), {0}},
    {"NullArray", hex("01 86 FFFFFFFF"), {0}},
    {"NegativeArray", hex("01 86 FEFFFFFF"), {0, 7}},
    {"EmptyMatrix", hex("01 C6 00000000 02000000 00000000 00000000"), {0}},
    {"NullMatrix", hex("01 C6 FFFFFFFF 02000000 00000000 00000000"), {0}},
    {"MatrixWithoutRows", hex("01 C6 00000000 02000000 00000000 05000000"), {0}},
    {"MatrixWithoutColumns", hex("01 C6 00000000 02000000 05000000 00000000"), {0}},
    {"MatrixOf3Dimensions", hex("01 C6 00000000 03000000 00000000 02000000 03000000"), {0}},
    {"NoDimensions", hex("01 C6 01000000 2A000000 00000000"), {0, 7}},
    {"UnknownStructure", hex("01 16 01 00 FFFF 01 03000000 010203"), {0}},
    {"XmlStructure", hex("01 16 01 00 FFFF 02 03000000 3C612F"), {0}},
    {"BrokenUtf8", hex("01 0C 04000000 C3FF80F8"), {0}},
    {"NullText", hex("01 0C FFFFFFFF"), {0}},
    {"AllTimes", hex("3D 06 2A000000 0000000000000000 FFFF FFFFFFFFFFFFFF7F FFFF"), {0}},
    {"NegativeTime", hex("05 06 2A000000 0000000000000080"), {0}},
    {"BadStatus", hex("03 06 2A000000 00000080"), {7}},
    {"UncertainStatus", hex("03 06 2A000000 00000040"), {7}},
    {"UndefinedStatus", hex("03 06 2A000000 000000C0"), {7}},
    {"GoodStatusWithBits", hex("03 06 2A000000 FFFF0000"), {0}},
};

class OddValues : public Values, public testing::WithParamInterface<Value> {};

TEST_P(OddValues, AreReadForWhatTheyAre) {
    ASSERT_EQ(connect(), 0);
    answerWith(GetParam().encoded);
    EXPECT_THAT(GetParam().results, testing::Contains(read()));
    char text[100] = {};
    int size = sizeof text;
    OpcUaNode node{};
    setField(node.nodeId, "ns=1;s=Value");
    node.dataType = OpcUaDataType_String;
    EXPECT_THAT(GetParam().results, testing::Contains(client.OpcUaGetValue(&node, text, size)));
    unsigned long index[2] = {0, 0};
    client.OpcUaGetArrayValue(&node, index, 2, text, size); // there, or not
    server.behave();
    expectUnharmed();
}

INSTANTIATE_TEST_SUITE_P(Each, OddValues, testing::ValuesIn(odd),
                         [](const auto& one) { return one.param.name; });

} // namespace
