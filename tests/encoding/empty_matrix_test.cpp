// Matrices without elements, and those whose dimensions don't fit their elements.

#include <cstddef>
#include <vector>

#include <gtest/gtest.h>

#include "answer_bytes.h"
#include "encoding/answer_decoding.h"
#include "uastack/status_code.h"

using UaClientSdk::anyNumber;
using UaClientSdk::decodeAnswer;

namespace {

using Dimensions = std::vector<OpcUa_Int32>;

Bytes matrix(unsigned type, OpcUa_Int32 length, const Bytes& elements, const Dimensions& dimensions) {
    Encoding encoding;
    encoding.byte(0xC0 | type).number(length).append(elements).count(dimensions.size());
    for (const OpcUa_Int32 dimension : dimensions)
        encoding.number(dimension);
    return encoding.bytes();
}

Bytes emptyMatrix(const Dimensions& dimensions, unsigned type = OpcUaType_Int32, OpcUa_Int32 length = 0) {
    return matrix(type, length, {}, dimensions);
}

Bytes dataValue(const Bytes& variant) {
    return Encoding().byte(1).append(variant).bytes();
}

Bytes scalar(OpcUa_Int32 number) {
    return Encoding().byte(OpcUaType_Int32).number(number).bytes();
}

Bytes dataChange(const std::vector<Bytes>& variants) {
    Encoding items;
    items.count(variants.size());
    for (const Bytes& variant : variants)
        items.number(OpcUa_UInt32{5}).append(dataValue(variant));
    return items.null().bytes();
}

Bytes publishAnswer(const Bytes& notification) {
    return Encoding()
        .header()
        .number(OpcUa_UInt32{1})
        .null()
        .byte(0)
        .number(OpcUa_UInt32{1})
        .number(OpcUa_Int64{0})
        .count(1)
        .extensionObject(UA_TYPES[UA_TYPES_DATACHANGENOTIFICATION], notification)
        .null()
        .null()
        .bytes();
}

class EmptyMatrix : public testing::Test {
protected:
    OpcUa_StatusCode read(const std::vector<Bytes>& variants) {
        Encoding encoding;
        encoding.header().count(variants.size());
        for (const Bytes& variant : variants)
            encoding.append(dataValue(variant));
        const Bytes body = encoding.null().bytes();
        return decodeAnswer(view(body), m_read.type(), variants.size(), m_read.get()).statusCode();
    }

    OpcUa_StatusCode publish(const std::vector<Bytes>& variants) {
        const Bytes body = publishAnswer(dataChange(variants));
        return decodeAnswer(view(body), m_publish.type(), 0, m_publish.get()).statusCode();
    }

    const UA_Variant& result(std::size_t index) { return m_read.as<UA_ReadResponse>().results[index].value; }
    const UA_DataChangeNotification& notification() {
        const UA_ExtensionObject& data =
            *m_publish.as<UA_PublishResponse>().notificationMessage.notificationData;
        return *static_cast<UA_DataChangeNotification*>(data.content.decoded.data);
    }

    static void expectEmpty(const UA_Variant& variant, const Dimensions& dimensions,
                            unsigned typeIndex = UA_TYPES_INT32) {
        EXPECT_EQ(variant.type, &UA_TYPES[typeIndex]);
        EXPECT_EQ(variant.arrayLength, 0U);
        EXPECT_EQ(variant.data, UA_EMPTY_ARRAY_SENTINEL);
        ASSERT_EQ(variant.arrayDimensionsSize, dimensions.size());
        for (std::size_t i = 0; i < dimensions.size(); ++i)
            EXPECT_EQ(variant.arrayDimensions[i], static_cast<OpcUa_UInt32>(dimensions[i]));
    }

    static void expectNumber(const UA_Variant& variant, OpcUa_Int32 number) {
        ASSERT_TRUE(UA_Variant_hasScalarType(&variant, &UA_TYPES[UA_TYPES_INT32]));
        EXPECT_EQ(*static_cast<OpcUa_Int32*>(variant.data), number);
    }

    Value m_read{UA_TYPES[UA_TYPES_READRESPONSE]};
    Value m_publish{UA_TYPES[UA_TYPES_PUBLISHRESPONSE]};
};

TEST_F(EmptyMatrix, KeepsItsDimensions) {
    const std::vector<Dimensions> shapes{{0}, {0, 0}, {0, 3}, {3, 0}, {2, 0, 0x7FFFFFFF, 0x7FFFFFFF}};
    for (const Dimensions& shape : shapes) {
        Value read(UA_TYPES[UA_TYPES_READRESPONSE]);
        const Bytes body = readAnswer(1, dataValue(emptyMatrix(shape)));
        EXPECT_TRUE(decodeAnswer(view(body), read.type(), 1, read.get()).isGood());
        expectEmpty(read.as<UA_ReadResponse>().results->value, shape);
        EXPECT_EQ(read.encoded(), body);
    }
}

TEST_F(EmptyMatrix, MayBeOfAnyType) {
    for (unsigned type = OpcUaType_Boolean; type <= diagnosticInfoTypeId; ++type) {
        const Bytes body = readAnswer(1, dataValue(emptyMatrix({0, 3}, type)));
        Value read(UA_TYPES[UA_TYPES_READRESPONSE]);
        EXPECT_TRUE(decodeAnswer(view(body), read.type(), 1, read.get()).isGood()) << type;
        expectEmpty(read.as<UA_ReadResponse>().results->value, {0, 3}, type - 1);
    }
}

TEST_F(EmptyMatrix, IsEmptyRatherThanNull) {
    ASSERT_EQ(read({emptyMatrix({0, 3}, OpcUaType_Int32, -1)}), OpcUa_Good);
    expectEmpty(result(0), {0, 3});
}

TEST_F(EmptyMatrix, MayHaveNoDimensionAtAll) {
    ASSERT_EQ(read({emptyMatrix({}), scalar(4)}), OpcUa_Good);
    expectEmpty(result(0), {});
    EXPECT_EQ(result(0).arrayDimensions, nullptr);
    expectNumber(result(1), 4);
}

TEST_F(EmptyMatrix, MayHaveANullArrayOfDimensions) {
    ASSERT_EQ(read({Encoding().byte(0xC0 | OpcUaType_Int32).null().null().bytes(), scalar(4)}), OpcUa_Good);
    expectEmpty(result(0), {});
    expectNumber(result(1), 4);
}

TEST_F(EmptyMatrix, StandsAmongOtherValues) {
    const Bytes full = matrix(OpcUaType_Byte, 4, {1, 2, 3, 4}, {2, 2});
    const Bytes variants = Encoding()
                               .byte(0x80 | variantTypeId)
                               .count(3)
                               .append(scalar(3))
                               .append(emptyMatrix({7, 0}))
                               .byte(0)
                               .bytes();
    ASSERT_EQ(read({scalar(1), emptyMatrix({0, 3}), {0}, full, variants, emptyMatrix({5, 5, 0}), scalar(2)}),
              OpcUa_Good);
    expectNumber(result(0), 1);
    expectEmpty(result(1), {0, 3});
    EXPECT_TRUE(UA_Variant_isEmpty(&result(2)));
    EXPECT_EQ(result(3).arrayLength, 4U);
    EXPECT_EQ(result(3).arrayDimensionsSize, 2U);
    ASSERT_EQ(result(4).arrayLength, 3U);
    expectEmpty(static_cast<UA_Variant*>(result(4).data)[1], {7, 0});
    expectEmpty(result(5), {5, 5, 0});
    expectNumber(result(6), 2);
}

TEST_F(EmptyMatrix, ArrivesInADataChange) {
    ASSERT_EQ(publish({scalar(1), emptyMatrix({0, 3}), scalar(2), emptyMatrix({0, 0}, OpcUaType_String)}),
              OpcUa_Good);
    ASSERT_EQ(notification().monitoredItemsSize, 4U);
    expectNumber(notification().monitoredItems[0].value.value, 1);
    expectEmpty(notification().monitoredItems[1].value.value, {0, 3});
    expectNumber(notification().monitoredItems[2].value.value, 2);
    expectEmpty(notification().monitoredItems[3].value.value, {0, 0}, UA_TYPES_STRING);
}

TEST_F(EmptyMatrix, ArrivesInStructuresInAVariant) {
    const UA_DataType& type = UA_TYPES[UA_TYPES_DATACHANGENOTIFICATION];
    const Bytes body = dataChange({emptyMatrix({0, 9}), scalar(1)});
    const Bytes one = Encoding().byte(OpcUaType_ExtensionObject).extensionObject(type, body).bytes();
    const Bytes two = Encoding()
                          .byte(0x80 | OpcUaType_ExtensionObject)
                          .count(2)
                          .extensionObject(type, body)
                          .extensionObject(type, body)
                          .bytes();
    ASSERT_EQ(read({one, two}), OpcUa_Good);
    ASSERT_EQ(result(0).type, &type);
    expectEmpty(static_cast<UA_DataChangeNotification*>(result(0).data)->monitoredItems[0].value.value,
                {0, 9});
    ASSERT_EQ(result(1).type, &type);
    ASSERT_EQ(result(1).arrayLength, 2U);
    expectEmpty(static_cast<UA_DataChangeNotification*>(result(1).data)[1].monitoredItems[0].value.value,
                {0, 9});
}

TEST_F(EmptyMatrix, LeavesNothingWhenTheRestIsRefused) {
    Bytes body = readAnswer(1, dataValue(emptyMatrix({0, 3})));
    body.pop_back();
    EXPECT_EQ(decodeAnswer(view(body), m_read.type(), 1, m_read.get()).statusCode(), OpcUa_BadDecodingError);
    EXPECT_EQ(m_read.as<UA_ReadResponse>().resultsSize, 0U);
}

TEST_F(EmptyMatrix, IsRefusedWithDimensionsThatAskForElements) {
    for (const Dimensions& shape : std::vector<Dimensions>{{1},
                                                           {2, 3},
                                                           {0, -1},
                                                           {-1, 0},
                                                           {0x7FFFFFFF, 0x7FFFFFFF},
                                                           {0x7FFFFFFF, 0x7FFFFFFF, 0x7FFFFFFF, 0}}) {
        EXPECT_EQ(read({emptyMatrix(shape)}), OpcUa_BadDecodingError);
    }
}

TEST(Matrix, IsRefusedWithDimensionsThatDoNotFit) {
    const std::vector<Dimensions> shapes{{3},
                                         {2, 3},
                                         {0, 4},
                                         {4, 0},
                                         {-2, -2},
                                         {2, 2, 2},
                                         {0x10000, 0x10000, 0x10000, 0x10000},
                                         {0x40000000, 4, 4},
                                         {}};
    for (const Dimensions& shape : shapes) {
        const Bytes body = readAnswer(1, dataValue(matrix(OpcUaType_Byte, 4, {1, 2, 3, 4}, shape)));
        Value read(UA_TYPES[UA_TYPES_READRESPONSE]);
        EXPECT_EQ(decodeAnswer(view(body), read.type(), 1, read.get()).statusCode(), OpcUa_BadDecodingError);
    }
    const Bytes body = readAnswer(1, dataValue(matrix(OpcUaType_Byte, 4, {1, 2, 3, 4}, {1, 2, 2})));
    Value read(UA_TYPES[UA_TYPES_READRESPONSE]);
    EXPECT_TRUE(decodeAnswer(view(body), read.type(), 1, read.get()).isGood());
    EXPECT_EQ(read.as<UA_ReadResponse>().results->value.arrayDimensionsSize, 3U);
}

} // namespace
