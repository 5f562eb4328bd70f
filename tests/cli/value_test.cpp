#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "addressing/node_info.h"
#include "failure.h"
#include "values/value.h"

using namespace opcua_cli;
using testing::HasSubstr;

namespace {

/// What the user is told; fails when the value is taken.
Problem refusal(_OpcUaDataType type, const std::string& text) {
    try {
        parseValue(type, text);
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.exitCode(), ExitCode::Usage);
        return failure.problem();
    }
    ADD_FAILURE() << text << " was taken as " << typeName(type);
    return {};
}

template <typename Number>
void takesItsWholeRange(_OpcUaDataType type) {
    const Number lowest = std::numeric_limits<Number>::lowest();
    const Number greatest = std::numeric_limits<Number>::max();
    EXPECT_EQ(parseValue(type, std::to_string(lowest)), Value(lowest));
    EXPECT_EQ(parseValue(type, std::to_string(greatest)), Value(greatest));
    EXPECT_EQ(parseValue(type, "0"), Value(Number{0}));
    EXPECT_EQ(parseValue(type, "+42"), Value(Number{42}));
    EXPECT_EQ(parseValue(type, "0x1f"), Value(Number{31}));
}

} // namespace

TEST(Value, IndexIsTheNumberOfTheType) {
    EXPECT_EQ(Value(true).index(), static_cast<std::size_t>(OpcUaDataType_Boolean));
    EXPECT_EQ(Value(std::uint16_t{1}).index(), static_cast<std::size_t>(OpcUaDataType_UInt16));
    EXPECT_EQ(Value(1.0).index(), static_cast<std::size_t>(OpcUaDataType_Double));
    EXPECT_EQ(Value(std::string()).index(), static_cast<std::size_t>(OpcUaDataType_String));
}

TEST(Value, TypesHaveNamesBothWays) {
    ASSERT_EQ(typeNames().size(), 12u);
    for (const std::string& name : typeNames())
        EXPECT_EQ(typeName(typeFromName(name).value()), name);
    EXPECT_EQ(typeFromName("uint32"), OpcUaDataType_UInt32);
    EXPECT_EQ(typeFromName("other"), std::nullopt);
    EXPECT_EQ(typeFromName("DateTime"), std::nullopt);
    EXPECT_EQ(typeName(OpcUaDataType_Null), "other");
    EXPECT_EQ(typeName(static_cast<_OpcUaDataType>(99)), "other");
    EXPECT_EQ(typeName(static_cast<_OpcUaDataType>(-1)), "other");
}

TEST(Value, IntegersTakeTheirWholeRange) {
    takesItsWholeRange<std::int8_t>(OpcUaDataType_SByte);
    takesItsWholeRange<std::uint8_t>(OpcUaDataType_Byte);
    takesItsWholeRange<std::int16_t>(OpcUaDataType_Int16);
    takesItsWholeRange<std::uint16_t>(OpcUaDataType_UInt16);
    takesItsWholeRange<std::int32_t>(OpcUaDataType_Int32);
    takesItsWholeRange<std::uint32_t>(OpcUaDataType_UInt32);
    takesItsWholeRange<std::int64_t>(OpcUaDataType_Int64);
    takesItsWholeRange<std::uint64_t>(OpcUaDataType_UInt64);
}

TEST(Value, IntegersOutOfRangeAreRefusedWithTheRange) {
    const struct {
        _OpcUaDataType type;
        const char* text;
        const char* range;
    } cases[] = {
        {OpcUaDataType_SByte, "128", "-128 to 127"},
        {OpcUaDataType_SByte, "-129", "-128 to 127"},
        {OpcUaDataType_Byte, "256", "0 to 255"},
        {OpcUaDataType_Byte, "-1", "0 to 255"},
        {OpcUaDataType_Int16, "32768", "-32768 to 32767"},
        {OpcUaDataType_UInt16, "0x10000", "0 to 65535"},
        {OpcUaDataType_Int32, "-2147483649", "-2147483648 to 2147483647"},
        {OpcUaDataType_UInt32, "4294967296", "0 to 4294967295"},
        {OpcUaDataType_Int64, "9223372036854775808", "-9223372036854775808 to 9223372036854775807"},
        {OpcUaDataType_UInt64, "18446744073709551616", "0 to 18446744073709551615"},
        {OpcUaDataType_UInt64, "-1", "0 to 18446744073709551615"},
    };
    for (const auto& c : cases) {
        const Problem problem = refusal(c.type, c.text);
        EXPECT_THAT(problem.explanation, HasSubstr("out of range")) << c.text;
        EXPECT_THAT(problem.advice, HasSubstr(c.range)) << c.text;
    }
}

TEST(Value, WhatIsNoNumberIsRefused) {
    for (const char* text :
         {"", " ", "-", "+", "+-1", "--1", "0x", "0xg", "1.5", "1e3", "12 ", " 12", "zwölf"})
        EXPECT_THAT(refusal(OpcUaDataType_Int32, text).explanation, HasSubstr("no whole number")) << text;
    for (const char* text : {"", "-", "1,5", "1.5x", "0x1F", "one"})
        EXPECT_THAT(refusal(OpcUaDataType_Double, text).explanation, HasSubstr("no number")) << text;
}

TEST(Value, RealNumbers) {
    EXPECT_EQ(parseValue(OpcUaDataType_Double, "12.5"), Value(12.5));
    EXPECT_EQ(parseValue(OpcUaDataType_Double, "-3e-4"), Value(-3e-4));
    EXPECT_EQ(parseValue(OpcUaDataType_Double, "+7"), Value(7.0));
    EXPECT_EQ(parseValue(OpcUaDataType_Float, "0.1"), Value(0.1f));
    EXPECT_EQ(parseValue(OpcUaDataType_Double, "-Infinity"), Value(-std::numeric_limits<double>::infinity()));
    EXPECT_TRUE(std::isnan(std::get<float>(parseValue(OpcUaDataType_Float, "NaN"))));
    EXPECT_THAT(refusal(OpcUaDataType_Float, "1e39").advice, HasSubstr("3.4028235e+38"));
    EXPECT_THAT(refusal(OpcUaDataType_Double, "1e309").explanation, HasSubstr("out of range"));
}

TEST(Value, Booleans) {
    for (const char* text : {"true", "TRUE", "1", "on", "On"})
        EXPECT_EQ(parseValue(OpcUaDataType_Boolean, text), Value(true)) << text;
    for (const char* text : {"false", "False", "0", "off"})
        EXPECT_EQ(parseValue(OpcUaDataType_Boolean, text), Value(false)) << text;
    for (const char* text : {"", "2", "yes", "tru", "-1"})
        EXPECT_THAT(refusal(OpcUaDataType_Boolean, text).advice, HasSubstr("true, 1 or on")) << text;
}

TEST(Value, TextsAreUtf8WithoutZero) {
    EXPECT_EQ(parseValue(OpcUaDataType_String, ""), Value(std::string()));
    EXPECT_EQ(parseValue(OpcUaDataType_String, "温度 \n"), Value(std::string("温度 \n")));
    EXPECT_THAT(refusal(OpcUaDataType_String, "F\xFCll").explanation, HasSubstr("not UTF-8"));
    EXPECT_THAT(refusal(OpcUaDataType_String, std::string("a\0b", 3)).explanation, HasSubstr("zero byte"));
}

TEST(Value, ALongTextIsRefusedByItsBeginning) {
    const std::string text = std::string(100000, 'x') + "\xFC";
    EXPECT_LT(refusal(OpcUaDataType_String, text).explanation.size(), 400u);
}

TEST(Value, OtherTypesCannotBeWritten) {
    refusal(OpcUaDataType_Null, "1");
}

TEST(Value, TextForm) {
    EXPECT_EQ(toText(Value()), "");
    EXPECT_EQ(toText(Value(true)), "true");
    EXPECT_EQ(toText(Value(std::int8_t{-5})), "-5");
    EXPECT_EQ(toText(Value(std::uint8_t{200})), "200");
    EXPECT_EQ(toText(Value(0.1f)), "0.1");
    EXPECT_EQ(toText(Value(12.5)), "12.5");
    EXPECT_EQ(toText(Value(-std::nan(""))), "NaN");
    EXPECT_EQ(toText(Value(-std::numeric_limits<float>::infinity())), "-Infinity");
    EXPECT_EQ(toText(Value(std::string("Hello"))), "\"Hello\"");
    EXPECT_EQ(toText(Value(std::numeric_limits<std::uint64_t>::max())), "18446744073709551615");
}

TEST(Value, JsonForm) {
    EXPECT_EQ(toJson(Value()).dump(), "null");
    EXPECT_EQ(toJson(Value(false)).dump(), "false");
    EXPECT_EQ(toJson(Value(std::uint8_t{200})).dump(), "200");
    EXPECT_EQ(toJson(Value(std::numeric_limits<std::uint64_t>::max())).dump(), "18446744073709551615");
    EXPECT_EQ(toJson(Value(0.1f)).dump(), "0.1");
    EXPECT_EQ(toJson(Value(3.0)).dump(), "3.0");
    EXPECT_EQ(toJson(Value(std::nan(""))).dump(), "\"NaN\"");
    EXPECT_EQ(toJson(Value(std::string("a\"b"))).dump(), "\"a\\\"b\"");
}
