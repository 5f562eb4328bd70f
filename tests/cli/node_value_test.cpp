#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "failure.h"
#include "values/node_value.h"
#include "values/text_room.h"

using namespace opcua_cli;
using testing::HasSubstr;

namespace {

std::string refusalOf(_OpcUaDataType type, const Shape& shape, const GivenValue& given) {
    try {
        parseNodeValue(type, shape, given);
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.exitCode(), ExitCode::Usage);
        return failure.problem().explanation;
    }
    return "none";
}

GivenValue json(const std::string& text) {
    return std::make_shared<const Json>(Json::parse(text));
}

NodeValue numbers(const Shape& shape, int count) {
    NodeValue value(shape, {});
    for (int i = 0; i < count; ++i)
        value.elements.emplace_back(i);
    return value;
}

} // namespace

TEST(TextRoom, IsForTextsAloneAndEnds) {
    TextRoom room(5);
    room.take(Value(1.5));
    room.take(Value(std::string("abc")));
    EXPECT_THROW(room.take(Value(std::string("def"))), Failure);
    room.take(Value(std::string("de")));
    EXPECT_THROW(room.take(Value(std::string("f"))), Failure);
    room.take(Value(std::string()));
}

TEST(NodeValue, ShowsNestedArrays) {
    EXPECT_EQ(toText(NodeValue()), "");
    EXPECT_EQ(toText(NodeValue(Value(12.5))), "12.5");
    EXPECT_EQ(toText(numbers({3}, 3)), "[0, 1, 2]");
    EXPECT_EQ(toText(numbers({0}, 0)), "[]");
    EXPECT_EQ(toText(numbers({2, 2}, 4)), "[[0, 1], [2, 3]]");
    EXPECT_EQ(toJson(NodeValue()).dump(), "null");
    EXPECT_EQ(toJson(numbers({2, 1, 2}, 4)).dump(), "[[[0,1]],[[2,3]]]");
    EXPECT_EQ(toJson(numbers({1}, 1)).dump(), "[0]");
    EXPECT_EQ(toJson(numbers({1000000000, 0}, 0)).dump(), "[]") << "lengths alone cost nothing";
}

TEST(NodeValue, WhatIsShownIsReadBack) {
    for (const NodeValue& value :
         {numbers({3}, 3), numbers({2, 2}, 4), numbers({2, 3, 4}, 24), numbers({0}, 0)}) {
        EXPECT_EQ(toText(parseNodeValue(OpcUaDataType_Int32, value.shape, toText(value))), toText(value));
        EXPECT_EQ(toText(parseNodeValue(OpcUaDataType_Int32, value.shape, json(toJson(value).dump()))),
                  toText(value));
    }
    const Shape pair{2};
    EXPECT_EQ(toText(parseNodeValue(OpcUaDataType_String, pair, std::string(R"(["a\"b", "Füße"])"))),
              R"(["a"b", "Füße"])");
    EXPECT_EQ(toText(parseNodeValue(OpcUaDataType_Double, pair, std::string(R"([1, "NaN"])"))), "[1, NaN]");
    EXPECT_EQ(toText(parseNodeValue(OpcUaDataType_Boolean, pair, std::string("[true, 0]"))), "[true, false]");
}

TEST(NodeValue, SingleValuesFromJsonAndText) {
    EXPECT_EQ(toText(parseNodeValue(OpcUaDataType_UInt64, {}, json("18446744073709551615"))),
              "18446744073709551615");
    EXPECT_EQ(toText(parseNodeValue(OpcUaDataType_Float, {}, json("0.1"))), "0.1");
    EXPECT_EQ(toText(parseNodeValue(OpcUaDataType_Int32, {}, json("\"0x1F\""))), "31");
    EXPECT_EQ(toText(parseNodeValue(OpcUaDataType_String, {}, std::string("[1, 2]"))), "\"[1, 2]\"");
}

TEST(NodeValue, WhatDoesNotFitIsRefused) {
    EXPECT_THAT(refusalOf(OpcUaDataType_Byte, {}, json("256")), HasSubstr("out of range"));
    EXPECT_THAT(refusalOf(OpcUaDataType_Int32, {}, json("1.5")), HasSubstr("no whole number"));
    EXPECT_THAT(refusalOf(OpcUaDataType_String, {}, json("5")), HasSubstr("a JSON number is no value"));
    EXPECT_THAT(refusalOf(OpcUaDataType_Int32, {}, json("[1]")), HasSubstr("a JSON array is no value"));
    EXPECT_THAT(refusalOf(OpcUaDataType_Int32, {}, json("null")), HasSubstr("a JSON null is no value"));
    EXPECT_THAT(refusalOf(OpcUaDataType_Int32, {3}, std::string("1")), HasSubstr("Int32[3]"));
    EXPECT_THAT(refusalOf(OpcUaDataType_Int32, {3}, std::string("1,2,3")), HasSubstr("no JSON"));
    EXPECT_THAT(refusalOf(OpcUaDataType_Int32, {3}, json("[1, 2]")),
                HasSubstr("2 elements where 3 should be"));
    EXPECT_THAT(refusalOf(OpcUaDataType_Int32, {3}, json("[]")), HasSubstr("0 elements where 3 should be"));
    EXPECT_THAT(refusalOf(OpcUaDataType_Int32, {0}, json("[1]")), HasSubstr("1 elements where 0 should be"));
    EXPECT_THAT(refusalOf(OpcUaDataType_Int32, {2, 2}, json("[[1, 2], [3]]")),
                HasSubstr("1 elements where 2 should be"));
    EXPECT_THAT(refusalOf(OpcUaDataType_Int32, {2, 2}, json("[1, 2]")),
                HasSubstr("where an array should be"));
    EXPECT_THAT(refusalOf(OpcUaDataType_Int32, {2}, json("[[1], 2]")), HasSubstr("a JSON array is no value"));
    EXPECT_THAT(refusalOf(OpcUaDataType_SByte, {2}, json("[1, 128]")), HasSubstr("out of range"));
}
