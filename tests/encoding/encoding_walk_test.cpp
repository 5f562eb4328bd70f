#include <cstddef>
#include <cstring>

#include <gtest/gtest.h>

#include "answer_bytes.h"
#include "encoding/encoding_walk.h"
#include "random_values.h"

using UaClientSdk::EncodingWalk;

namespace {

constexpr std::size_t boundless = static_cast<std::size_t>(-1) / 2;

const UA_DataType& variantType = UA_TYPES[UA_TYPES_VARIANT];

bool engineDecodes(const Bytes& bytes, const UA_DataType& type) {
    Value value(type);
    const UA_ByteString view{bytes.size(), const_cast<OpcUa_Byte*>(bytes.data())};
    return UA_decodeBinary(&view, value.get(), &type, nullptr) == UA_STATUSCODE_GOOD;
}

OpcUa_StatusCode walk(const Bytes& bytes, const UA_DataType& type) {
    EncodingWalk walk(view(bytes), std::size_t{1} << 20);
    return walk.value(type) ? OpcUa_Good : walk.failure();
}

Bytes nestedVariants(std::size_t levels) {
    return Encoding().repeat(levels, Encoding().byte(0x80 | variantTypeId).count(1).bytes()).byte(0).bytes();
}

TEST(EncodingWalk, ConsumesWhatTheEngineEncodes) {
    for (const UA_DataType& type : UA_TYPES) {
        for (unsigned seed = 0; seed < 20; ++seed) {
            Value sent(type);
            RandomValues(seed).fill(type, sent.get());
            const Bytes bytes = sent.encoded();
            EncodingWalk walk(view(bytes), boundless);
            ASSERT_TRUE(walk.value(type)) << type.typeName << ", seed " << seed;
            EXPECT_EQ(walk.position(), bytes.size()) << type.typeName << ", seed " << seed;
        }
    }
}

TEST(EncodingWalk, KnowsTheBodyOfEveryTypeThatTheEngineDecodes) {
    for (const UA_DataType& type : UA_TYPES) {
        if (type.binaryEncodingId.identifier.numeric == 0)
            continue;
        const Bytes body = Value(type).encoded();
        EXPECT_EQ(walk(Encoding().extensionObject(type, body).bytes(), UA_TYPES[UA_TYPES_EXTENSIONOBJECT]),
                  OpcUa_Good)
            << type.typeName;
        Bytes shorter = body;
        shorter.pop_back();
        EXPECT_EQ(walk(Encoding().extensionObject(type, shorter).byte(0).bytes(),
                       UA_TYPES[UA_TYPES_EXTENSIONOBJECT]),
                  OpcUa_BadDecodingError)
            << type.typeName;
    }
}

TEST(EncodingWalk, TakesUnknownBodiesAsTheyAre) {
    const Bytes object =
        Encoding().byte(1).byte(3).number(OpcUa_UInt16{886}).byte(1).count(2).byte(1).byte(2).bytes();
    EXPECT_EQ(walk(object, UA_TYPES[UA_TYPES_EXTENSIONOBJECT]), OpcUa_Good);
    EXPECT_TRUE(engineDecodes(object, UA_TYPES[UA_TYPES_EXTENSIONOBJECT]));
}

TEST(EncodingWalk, TakesABodyOfNoTypeForWhatTheEngineTakesItFor) {
    const UA_DataType& type = UA_TYPES[UA_TYPES_EXTENSIONOBJECT];
    const Bytes oneByte{0, 0, 1, 1, 0, 0, 0, 1};
    EXPECT_TRUE(engineDecodes(oneByte, type));
    EXPECT_EQ(walk(oneByte, type), OpcUa_Good);
    // The engine would leave three bytes of it to what follows.
    const Bytes fourBytes{0, 0, 1, 4, 0, 0, 0, 1, 2, 3, 4};
    EXPECT_EQ(walk(fourBytes, type), OpcUa_BadDecodingError);
}

TEST(EncodingWalk, RefusesDimensionsThatDoNotFit) {
    const Bytes array = Encoding().byte(0xC0 | OpcUaType_Byte).count(4).append({1, 2, 3, 4}).bytes();
    for (const OpcUa_Int32 second : {-1, 0, 1, 3, 0x7FFFFFFF}) {
        EXPECT_EQ(walk(Encoding().append(array).count(2).count(2).number(second).bytes(), variantType),
                  OpcUa_BadDecodingError);
    }
    EXPECT_EQ(walk(Encoding().append(array).count(2).count(2).count(2).bytes(), variantType), OpcUa_Good);
}

TEST(EncodingWalk, RefusesABodyOfAnotherLength) {
    const UA_DataType& range = UA_TYPES[UA_TYPES_RANGE];
    const Bytes body(sizeof(UA_Range));
    for (const OpcUa_Int32 length : {-1, 0, 15, 17, 0x7FFFFFFF}) {
        Bytes object = Encoding().extensionObject(range, body).append(Bytes(20)).bytes();
        std::memcpy(object.data() + 5, &length, sizeof length);
        EXPECT_EQ(walk(object, UA_TYPES[UA_TYPES_EXTENSIONOBJECT]), OpcUa_BadDecodingError) << length;
    }
}

TEST(EncodingWalk, EndsWhereNestingGoesTooDeep) {
    EXPECT_EQ(walk(nestedVariants(60), variantType), OpcUa_Good);
    EXPECT_TRUE(engineDecodes(nestedVariants(60), variantType));
    EXPECT_EQ(walk(nestedVariants(70), variantType), OpcUa_BadEncodingLimitsExceeded);
    EXPECT_EQ(walk(nestedVariants(1000000), variantType), OpcUa_BadEncodingLimitsExceeded);

    const Bytes diagnostics(1000000, 0x40);
    EXPECT_EQ(walk(diagnostics, UA_TYPES[UA_TYPES_DIAGNOSTICINFO]), OpcUa_BadEncodingLimitsExceeded);
}

TEST(EncodingWalk, RefusesVariantsOfNoType) {
    EXPECT_EQ(walk(Bytes(20), variantType), OpcUa_Good);
    for (unsigned first = 1; first < 256; ++first) {
        Bytes bytes(20);
        bytes[0] = static_cast<OpcUa_Byte>(first);
        const unsigned int shape = first & 0xC0U;
        if (shape == 0x40) // dimensions of no array, which the engine overlooks
            EXPECT_NE(walk(bytes, variantType), OpcUa_Good) << first;
        else if (shape != 0xC0) // what is empty and has dimensions the engine refuses where we do not
            EXPECT_EQ(walk(bytes, variantType) == OpcUa_Good, engineDecodes(bytes, variantType)) << first;
    }
}

TEST(EncodingWalk, RefusesNodeIdsOfNoFormat) {
    for (const int index : {UA_TYPES_NODEID, UA_TYPES_EXPANDEDNODEID}) {
        for (unsigned first = 0; first < 256; ++first) {
            Bytes bytes(30);
            bytes[0] = static_cast<OpcUa_Byte>(first);
            EXPECT_EQ(walk(bytes, UA_TYPES[index]) == OpcUa_Good, engineDecodes(bytes, UA_TYPES[index]))
                << first;
        }
    }
}

TEST(EncodingWalk, AgreesWithTheEngineOnEveryBitOfAMask) {
    for (const int index : {UA_TYPES_DATAVALUE, UA_TYPES_DIAGNOSTICINFO, UA_TYPES_LOCALIZEDTEXT}) {
        for (unsigned mask = 0; mask < 256; ++mask) {
            Bytes bytes(80);
            bytes[0] = static_cast<OpcUa_Byte>(mask);
            EncodingWalk walk(view(bytes), boundless);
            ASSERT_TRUE(walk.value(UA_TYPES[index]));
            bytes.resize(walk.position());
            EXPECT_TRUE(engineDecodes(bytes, UA_TYPES[index])) << mask;
            bytes.pop_back();
            EXPECT_FALSE(engineDecodes(bytes, UA_TYPES[index])) << mask;
        }
    }
}

TEST(EncodingWalk, RefusesNegativeEnumerations) {
    EXPECT_EQ(walk(Encoding().number(OpcUa_Int32{-1}).bytes(), UA_TYPES[UA_TYPES_NODECLASS]),
              OpcUa_BadDecodingError);
}

TEST(EncodingWalk, RefusesLengthsBeyondTheEnd) {
    for (const OpcUa_Int32 length : {5, 1000, 0x7FFFFFFF}) {
        for (unsigned type = OpcUaType_Boolean; type <= diagnosticInfoTypeId; ++type) {
            const Bytes bytes = Encoding().byte(0x80 | type).number(length).append(Bytes(4)).bytes();
            EXPECT_EQ(walk(bytes, variantType), OpcUa_BadDecodingError) << type;
        }
    }
}

TEST(EncodingWalk, EndsAtItsBoundOfMemory) {
    // Four strings of one byte: a block of 80 bytes and four of 32.
    const Bytes bytes = Encoding()
                            .byte(0x80 | OpcUaType_String)
                            .count(4)
                            .repeat(4, Encoding().count(1).byte('x').bytes())
                            .bytes();
    EncodingWalk enough(view(bytes), 208);
    EXPECT_TRUE(enough.value(variantType));
    EXPECT_EQ(enough.memory(), 208U);
    EncodingWalk tooLittle(view(bytes), 207);
    EXPECT_FALSE(tooLittle.value(variantType));
    EXPECT_EQ(tooLittle.failure(), OpcUa_BadEncodingLimitsExceeded);
}

} // namespace
