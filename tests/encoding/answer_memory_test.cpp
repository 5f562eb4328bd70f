// What decoding takes of the heap: what the walk says, and for bodies that are made to take a lot.

#include <cstddef>
#include <functional>

#include <gtest/gtest.h>

#include "answer_bytes.h"
#include "encoding/answer_decoding.h"
#include "encoding/encoding_walk.h"
#include "random_values.h"
#include "support/allocation_counter.h"
#include "uastack/status_code.h"

using UaClientSdk::anyNumber;
using UaClientSdk::decodeAnswer;
using UaClientSdk::EncodingWalk;

namespace {

constexpr std::size_t mebibyte = std::size_t{1} << 20;
constexpr std::size_t largeBody = 16 * mebibyte;

TEST(EncodingWalkMemory, IsWhatTheEngineTakes) {
    for (const UA_DataType& type : UA_TYPES) {
        for (unsigned seed = 0; seed < 20; ++seed) {
            Value sent(type);
            RandomValues(seed).fill(type, sent.get());
            const Bytes bytes = sent.encoded();
            EncodingWalk walk(view(bytes), static_cast<std::size_t>(-1) / 2);
            ASSERT_TRUE(walk.value(type));
            Value received(type);
            const std::size_t taken = test_support::bytesAllocatedDuring([&] {
                const UA_ByteString view{bytes.size(), const_cast<OpcUa_Byte*>(bytes.data())};
                EXPECT_EQ(UA_decodeBinary(&view, received.get(), &type, nullptr), UA_STATUSCODE_GOOD);
            });
            EXPECT_GE(walk.memory(), taken) << type.typeName << ", seed " << seed;
            // Extension objects of one type in an array are decoded into one block.
            EXPECT_LE(walk.memory(), 3 * taken + 256) << type.typeName << ", seed " << seed;
        }
    }
}

struct Outcome {
    OpcUa_StatusCode code = OpcUa_Good;
    std::size_t memory = 0;
};

Outcome decode(const Bytes& body, const UA_DataType& type) {
    Outcome outcome;
    Value received(type);
    outcome.memory = test_support::bytesAllocatedDuring(
        [&] { outcome.code = decodeAnswer(view(body), type, anyNumber, received.get()).statusCode(); });
    return outcome;
}

Outcome decodeRead(const Bytes& result, std::size_t bodySize = largeBody) {
    return decode(readAnswer(bodySize / result.size(), result), UA_TYPES[UA_TYPES_READRESPONSE]);
}

/// One result, an array of these elements.
Outcome decodeReadOfArray(unsigned type, const Bytes& element) {
    const std::size_t count = largeBody / element.size();
    return decode(
        readAnswer(1, Encoding().byte(1).byte(0x80 | type).count(count).repeat(count, element).bytes()),
        UA_TYPES[UA_TYPES_READRESPONSE]);
}

void expectCheaplyRefused(const Outcome& outcome) {
    EXPECT_EQ(outcome.code, OpcUa_BadEncodingLimitsExceeded);
    EXPECT_LT(outcome.memory, 4096U);
}

void expectDecoded(const Outcome& outcome) {
    EXPECT_EQ(outcome.code, OpcUa_Good);
    EXPECT_LE(outcome.memory, 6 * largeBody + 12 * mebibyte);
}

TEST(HostileAnswer, OfOneByteResultsIsRefused) {
    expectCheaplyRefused(decodeRead({0}));
}

TEST(HostileAnswer, OfEmptyVariantsIsRefused) {
    expectCheaplyRefused(decodeReadOfArray(variantTypeId, {0}));
    expectCheaplyRefused(decodeRead({1, 0}));
}

TEST(HostileAnswer, OfEmptyExtensionObjectsIsRefused) {
    expectCheaplyRefused(decodeReadOfArray(OpcUaType_ExtensionObject, {0, 0, 0}));
    expectCheaplyRefused(decodeRead({1, OpcUaType_ExtensionObject, 0, 0, 0}));
}

TEST(HostileAnswer, OfShortStringsIsRefused) {
    expectCheaplyRefused(decodeReadOfArray(OpcUaType_String, Encoding().count(1).byte('x').bytes()));
    expectCheaplyRefused(decodeRead(Encoding().byte(1).byte(OpcUaType_String).null().bytes()));
}

TEST(HostileAnswer, OfEmptyTextsAndNamesIsRefused) {
    expectCheaplyRefused(decodeReadOfArray(localizedTextTypeId, {0}));
    expectCheaplyRefused(decodeReadOfArray(nodeIdTypeId, {0, 0}));
    expectCheaplyRefused(decodeReadOfArray(expandedNodeIdTypeId, {0, 0}));
    expectCheaplyRefused(decodeReadOfArray(dataValueTypeId, {0}));
    expectCheaplyRefused(decodeReadOfArray(diagnosticInfoTypeId, {0}));
}

TEST(HostileAnswer, OfBooleansOneByOneIsRefused) {
    expectCheaplyRefused(decodeRead({1, OpcUaType_Boolean, 1}));
}

TEST(HostileAnswer, OfNestedDiagnosticsIsRefused) {
    const Bytes info = Encoding().repeat(50, {0x40}).byte(0).bytes();
    expectCheaplyRefused(decodeReadOfArray(diagnosticInfoTypeId, info));
}

TEST(HostileAnswer, OfEmptyMatricesIsRefused) {
    const Bytes matrix = Encoding().byte(0xC0 | OpcUaType_Int32).null().null().bytes();
    const Outcome outcome = decodeReadOfArray(variantTypeId, matrix);
    EXPECT_EQ(outcome.code, OpcUa_BadEncodingLimitsExceeded);
    EXPECT_LE(outcome.memory, 6 * largeBody + 12 * mebibyte);
}

TEST(HostileAnswer, OfEmptyServersAndDiagnosticsIsRefused) {
    const Bytes body = Encoding().header().null().count(largeBody).append(Bytes(largeBody)).bytes();
    expectCheaplyRefused(decode(body, UA_TYPES[UA_TYPES_READRESPONSE]));
    expectCheaplyRefused(decode(body, UA_TYPES[UA_TYPES_WRITERESPONSE]));
    const Bytes table =
        Encoding().number(OpcUa_Int64{0}).number(OpcUa_Int64{0}).byte(0).count(largeBody / 5).bytes();
    const Bytes strings =
        Encoding().append(table).repeat(largeBody / 5, Encoding().count(1).byte('x').bytes()).bytes();
    expectCheaplyRefused(decode(strings, UA_TYPES[UA_TYPES_SERVICEFAULT]));
}

TEST(LargeAnswer, OfAnArrayOfNumbersPasses) {
    expectDecoded(decodeReadOfArray(OpcUaType_Double, Bytes(8)));
    expectDecoded(decodeReadOfArray(OpcUaType_Byte, {1}));
    expectDecoded(decodeReadOfArray(OpcUaType_Boolean, {1}));
}

TEST(LargeAnswer, OfEmptyStringsStaysBelowTheBound) {
    expectDecoded(decodeReadOfArray(OpcUaType_String, Encoding().null().bytes()));
}

TEST(LargeAnswer, OfOneStringPasses) {
    const Bytes text = Encoding().count(largeBody).append(Bytes(largeBody, 'x')).bytes();
    expectDecoded(decode(readAnswer(1, Encoding().byte(1).byte(OpcUaType_String).append(text).bytes()),
                         UA_TYPES[UA_TYPES_READRESPONSE]));
}

TEST(LargeAnswer, OfAHundredThousandNodesPasses) {
    const Bytes boolean{1, OpcUaType_Boolean, 1};
    const Bytes text = Encoding().byte(1).byte(OpcUaType_String).count(3).append(Bytes(3, 'x')).bytes();
    const Bytes status = Encoding().byte(2).number(OpcUa_BadTimeout).bytes();
    for (const Bytes& result : {boolean, status})
        expectDecoded(decodeRead(result, 100000 * result.size()));
    const Bytes timed =
        Encoding().byte(5).byte(OpcUaType_String).count(3).append(Bytes(3, 'x')).append(Bytes(8)).bytes();
    expectDecoded(decodeRead(timed, 100000 * timed.size()));
}

TEST(LargeAnswer, OfReferencesPasses) {
    const Bytes name = Encoding().count(8).append(Bytes(8, 'x')).bytes();
    const Bytes reference = Encoding()
                                .append({0, 35, 1}) // Organizes, forward
                                .append({1, 2})
                                .number(OpcUa_UInt16{1000}) // target
                                .number(OpcUa_UInt16{2})
                                .append(name) // browse name
                                .byte(2)
                                .append(name) // display name
                                .number(OpcUa_UInt32{2})
                                .append({0, 63}) // a variable
                                .bytes();
    constexpr std::size_t count = 250000;
    const Bytes page =
        Encoding().number(OpcUa_UInt32{0}).null().count(count).repeat(count, reference).bytes();
    expectDecoded(
        decode(Encoding().header().count(1).append(page).null().bytes(), UA_TYPES[UA_TYPES_BROWSERESPONSE]));
}

TEST(SmallAnswer, TakesNothingButItsValue) {
    const Bytes body = readAnswer(1, Encoding().byte(1).byte(OpcUaType_Double).number(1.5).bytes());
    decode(body, UA_TYPES[UA_TYPES_READRESPONSE]);
    // The results, and the number.
    EXPECT_EQ(decode(body, UA_TYPES[UA_TYPES_READRESPONSE]).memory, 96U + 32U);
}

} // namespace
