#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <open62541/types_generated_handling.h>

#include "uabase/variant.h"

namespace {

/// Holds every 64-bit integer and every Double exactly.
using Exact = long double;
static_assert(std::numeric_limits<Exact>::digits >= 64);

struct Outcome {
    OpcUa_StatusCode status;
    Exact value;
};

/// One of the twelve target types, as the conversion to it is called.
struct Target {
    const char* name;
    Exact least;
    Exact greatest;
    bool integer;
    std::function<Outcome(const UaVariant&)> convert;
};

template <typename Value>
Target target(const char* name, OpcUa_StatusCode (UaVariant::*conversion)(Value&) const) {
    const auto convert = [conversion](const UaVariant& variant) {
        Value value = static_cast<Value>(1);
        const OpcUa_StatusCode status = (variant.*conversion)(value);
        return Outcome{status, static_cast<Exact>(value)};
    };
    return {name, static_cast<Exact>(std::numeric_limits<Value>::lowest()),
            static_cast<Exact>(std::numeric_limits<Value>::max()), std::numeric_limits<Value>::is_integer,
            convert};
}

const std::vector<Target>& numericTargets() {
    static const std::vector<Target> targets = {
        target("Boolean", &UaVariant::toBoolean), target("SByte", &UaVariant::toSByte),
        target("Byte", &UaVariant::toByte),       target("Int16", &UaVariant::toInt16),
        target("UInt16", &UaVariant::toUInt16),   target("Int32", &UaVariant::toInt32),
        target("UInt32", &UaVariant::toUInt32),   target("Int64", &UaVariant::toInt64),
        target("UInt64", &UaVariant::toUInt64),   target("Float", &UaVariant::toFloat),
        target("Double", &UaVariant::toDouble),
    };
    return targets;
}

constexpr std::size_t booleanColumn = 0;
constexpr std::size_t floatColumn = 9;

template <typename Value>
UaVariant made(void (UaVariant::*setter)(Value), Value value) {
    UaVariant variant;
    (variant.*setter)(value);
    return variant;
}

UaVariant boolean(bool value) {
    return made(&UaVariant::setBoolean, value);
}
UaVariant int64(OpcUa_Int64 value) {
    return made(&UaVariant::setInt64, value);
}
UaVariant uint64(OpcUa_UInt64 value) {
    return made(&UaVariant::setUInt64, value);
}
UaVariant real(OpcUa_Double value) {
    return made(&UaVariant::setDouble, value);
}
UaVariant text(const std::string& value) {
    return UaVariant(UaString(value));
}

constexpr OpcUa_StatusCode statusOf(char letter) {
    return letter == 'G' ? OpcUa_Good : letter == 'R' ? OpcUa_BadOutOfRange : OpcUa_BadTypeMismatch;
}

/// `expected` has a letter for each numeric target: Good, out of Range, type Mismatch. A good number equals
/// `value` (as Boolean: is not 0), a refused one is 0.
void expectRow(const UaVariant& source, const char* expected, Exact value) {
    const std::vector<Target>& targets = numericTargets();
    ASSERT_EQ(std::string(expected).size(), targets.size());
    for (std::size_t column = 0; column < targets.size(); ++column) {
        SCOPED_TRACE(source.toString().text() + " of type " + std::to_string(source.type()) + " to " +
                     targets[column].name);
        const Outcome outcome = targets[column].convert(source);
        EXPECT_EQ(outcome.status, statusOf(expected[column]));
        if (expected[column] != 'G')
            EXPECT_EQ(outcome.value, 0);
        else if (column == booleanColumn)
            EXPECT_EQ(outcome.value, value != 0 ? 1 : 0);
        else if (column == floatColumn)
            EXPECT_EQ(outcome.value, static_cast<float>(value));
        else if (targets[column].integer)
            EXPECT_EQ(outcome.value, std::round(value));
        else
            EXPECT_EQ(outcome.value, static_cast<double>(value));
    }
}

template <typename Value>
constexpr Exact greatest = static_cast<Exact>(std::numeric_limits<Value>::max());
template <typename Value>
constexpr Exact least = static_cast<Exact>(std::numeric_limits<Value>::lowest());

TEST(VariantConversion, OneConvertsFromEveryTypeToEveryType) {
    const UaVariant sources[] = {boolean(true),
                                 made<OpcUa_SByte>(&UaVariant::setSByte, 1),
                                 made<OpcUa_Byte>(&UaVariant::setByte, 1),
                                 made<OpcUa_Int16>(&UaVariant::setInt16, 1),
                                 made<OpcUa_UInt16>(&UaVariant::setUInt16, 1),
                                 made<OpcUa_Int32>(&UaVariant::setInt32, 1),
                                 made<OpcUa_UInt32>(&UaVariant::setUInt32, 1),
                                 int64(1),
                                 uint64(1),
                                 made<OpcUa_Float>(&UaVariant::setFloat, 1),
                                 real(1),
                                 text("1")};
    for (const UaVariant& source : sources) {
        expectRow(source, "GGGGGGGGGGG", 1);
        EXPECT_EQ(source.toString(), UaString(source.type() == OpcUaType_Boolean ? "true" : "1"));
    }
}

// Columns: Boolean, SByte, Byte, Int16, UInt16, Int32, UInt32, Int64, UInt64, Float, Double.
TEST(VariantConversion, TheGreatestValueOfEveryType) {
    using V = UaVariant;
    expectRow(made<OpcUa_SByte>(&V::setSByte, INT8_MAX), "GGGGGGGGGGG", greatest<OpcUa_SByte>);
    expectRow(made<OpcUa_Byte>(&V::setByte, UINT8_MAX), "GRGGGGGGGGG", greatest<OpcUa_Byte>);
    expectRow(made<OpcUa_Int16>(&V::setInt16, INT16_MAX), "GRRGGGGGGGG", greatest<OpcUa_Int16>);
    expectRow(made<OpcUa_UInt16>(&V::setUInt16, UINT16_MAX), "GRRRGGGGGGG", greatest<OpcUa_UInt16>);
    expectRow(made<OpcUa_Int32>(&V::setInt32, INT32_MAX), "GRRRRGGGGGG", greatest<OpcUa_Int32>);
    expectRow(made<OpcUa_UInt32>(&V::setUInt32, UINT32_MAX), "GRRRRRGGGGG", greatest<OpcUa_UInt32>);
    expectRow(int64(INT64_MAX), "GRRRRRRGGGG", greatest<OpcUa_Int64>);
    expectRow(uint64(UINT64_MAX), "GRRRRRRRGGG", greatest<OpcUa_UInt64>);
    expectRow(made(&V::setFloat, std::numeric_limits<float>::max()), "GRRRRRRRRGG", greatest<OpcUa_Float>);
    expectRow(real(std::numeric_limits<double>::max()), "GRRRRRRRRRG", greatest<OpcUa_Double>);
}

TEST(VariantConversion, TheLeastValueOfEveryType) {
    using V = UaVariant;
    expectRow(boolean(false), "GGGGGGGGGGG", 0);
    expectRow(made<OpcUa_SByte>(&V::setSByte, INT8_MIN), "GGRGRGRGRGG", least<OpcUa_SByte>);
    expectRow(made<OpcUa_Byte>(&V::setByte, 0), "GGGGGGGGGGG", 0);
    expectRow(made<OpcUa_Int16>(&V::setInt16, INT16_MIN), "GRRGRGRGRGG", least<OpcUa_Int16>);
    expectRow(made<OpcUa_UInt16>(&V::setUInt16, 0), "GGGGGGGGGGG", 0);
    expectRow(made<OpcUa_Int32>(&V::setInt32, INT32_MIN), "GRRRRGRGRGG", least<OpcUa_Int32>);
    expectRow(made<OpcUa_UInt32>(&V::setUInt32, 0), "GGGGGGGGGGG", 0);
    expectRow(int64(INT64_MIN), "GRRRRRRGRGG", least<OpcUa_Int64>);
    expectRow(uint64(0), "GGGGGGGGGGG", 0);
    expectRow(made(&V::setFloat, std::numeric_limits<float>::lowest()), "GRRRRRRRRGG", least<OpcUa_Float>);
    expectRow(real(std::numeric_limits<double>::lowest()), "GRRRRRRRRRG", least<OpcUa_Double>);
}

TEST(VariantConversion, TextConvertsAsTheNumberItDenotes) {
    expectRow(text("0"), "GGGGGGGGGGG", 0);
    expectRow(text("true"), "GMMMMMMMMMM", 1);
    expectRow(text("false"), "GMMMMMMMMMM", 0);
    expectRow(text("2"), "MGGGGGGGGGG", 2);
    expectRow(text("-1"), "MGRGRGRGRGG", -1);
    expectRow(text("-0"), "MGGGGGGGGGG", 0);
    expectRow(text("007"), "MGGGGGGGGGG", 7);
    expectRow(text("-128"), "MGRGRGRGRGG", -128);
    expectRow(text("-129"), "MRRGRGRGRGG", -129);
    expectRow(text("255"), "MRGGGGGGGGG", 255);
    expectRow(text("256"), "MRRGGGGGGGG", 256);
    expectRow(text("9223372036854775807"), "MRRRRRRGGGG", greatest<OpcUa_Int64>);
    expectRow(text("9223372036854775808"), "MRRRRRRRGGG", greatest<OpcUa_Int64> + 1);
    expectRow(text("18446744073709551615"), "MRRRRRRRGGG", greatest<OpcUa_UInt64>);
    expectRow(text("18446744073709551616"), "MRRRRRRRRGG", greatest<OpcUa_UInt64> + 1);
    expectRow(text("-9223372036854775808"), "MRRRRRRGRGG", least<OpcUa_Int64>);
    expectRow(text("-9223372036854777856"), "MRRRRRRRRGG", least<OpcUa_Int64> - 2048);
    expectRow(text("2.5"), "MGGGGGGGGGG", 2.5L);
    expectRow(text("-2.5"), "MGRGRGRGRGG", -2.5L);
    expectRow(text("1e2"), "MGGGGGGGGGG", 100);
    expectRow(text("1E+3"), "MRRGGGGGGGG", 1000);
    expectRow(text("1e39"), "MRRRRRRRRRG", 1e39);
    expectRow(text("1e309"), "MRRRRRRRRRR", 0);
    expectRow(text("-1e309"), "MRRRRRRRRRR", 0);
}

TEST(VariantConversion, TextWithAFractionOrAnExponentIsTheNearestInteger) {
    struct Row {
        std::string source;
        OpcUa_Int64 integer;
    };
    constexpr OpcUa_Int64 highest = std::numeric_limits<OpcUa_Int64>::max();
    constexpr OpcUa_Int64 lowest = std::numeric_limits<OpcUa_Int64>::min();
    const std::string zeros(1000, '0');
    const Row rows[] = {{"9007199254740993.0", 9007199254740993},
                        {"-9007199254740993.0", -9007199254740993},
                        {"9007199254740993e0", 9007199254740993},
                        {"90071992547409.93E+2", 9007199254740993},
                        {"900719925474099300e-2", 9007199254740993},
                        {"9007199254740992.5", 9007199254740993},
                        {"9007199254740992.49999999999999999999999999", 9007199254740992},
                        {"5000000000000000000.3", 5000000000000000000},
                        {"9223372036854775807.0", highest},
                        {"9223372036854775807.4999", highest},
                        {"9223372036854775806.5", highest},
                        {"9223372036854775.807e3", highest},
                        {"-9223372036854775808.0", lowest},
                        {"-9223372036854775808.4", lowest},
                        {"-9223372036854775807.5", lowest},
                        {"0.5", 1},
                        {".5", 1},
                        {"5.", 5},
                        {"5e-1", 1},
                        {"5e-2", 0},
                        {"-0.5", -1},
                        {"-0.49999999999999999999999999", 0},
                        {"2.4999999999999999999999999", 2},
                        {"1e18", 1000000000000000000},
                        {"0e99999999999999999999", 0},
                        {"-0.0e2000000000", 0},
                        {zeros + "7." + zeros + "9", 7},
                        {"0." + zeros + "7e1001", 7},
                        {"7" + zeros + "e-1000", 7}};
    for (const Row& row : rows) {
        OpcUa_Int64 value = 99;
        EXPECT_EQ(text(row.source).toInt64(value), OpcUa_Good) << row.source;
        EXPECT_EQ(value, row.integer) << row.source;
    }
}

TEST(VariantConversion, TextWithAFractionReachesTheEndsOfTheIntegers) {
    expectRow(text("18446744073709551615.0"), "MRRRRRRRGGG", greatest<OpcUa_UInt64>);
    expectRow(text("18446744073709551614.5"), "MRRRRRRRGGG", greatest<OpcUa_UInt64>);
    expectRow(text("9223372036854775808.5e0"), "MRRRRRRRGGG", 9223372036854775809.0L);
    expectRow(text("18446744073709551615.5"), "MRRRRRRRRGG", 18446744073709551616.0L);
    expectRow(text("18446744073709551616.0"), "MRRRRRRRRGG", 18446744073709551616.0L);
    expectRow(text("184467440737095516150e-1"), "MRRRRRRRGGG", greatest<OpcUa_UInt64>);
    OpcUa_Int64 value = 0;
    for (const char* const source :
         {"9223372036854775807.5", "-9223372036854775808.5", "-18446744073709551615.0", "-1e300", "1e300",
          "1e4000", "-1e4000", "1e99999999999999999999"}) {
        EXPECT_EQ(text(source).toInt64(value), OpcUa_BadOutOfRange) << source;
    }
    OpcUa_Byte byte = 99;
    EXPECT_EQ(text("-0.4").toByte(byte), OpcUa_Good);
    EXPECT_EQ(byte, 0);
    EXPECT_EQ(text("255.4").toByte(byte), OpcUa_Good);
    EXPECT_EQ(byte, 255);
    EXPECT_EQ(text("255.5").toByte(byte), OpcUa_BadOutOfRange);
    EXPECT_EQ(text("-0.5").toByte(byte), OpcUa_BadOutOfRange);
}

TEST(VariantConversion, TextThatIsNoNumberIsAMismatch) {
    const char* const texts[] = {"",     " ",    "1 ",   " 1",  "\t1",       "1\n",    "+1",
                                 "--1",  "-",    "1-",   "1,5", "1.5.",      "0x10",   "1e",
                                 "1e+",  "e1",   ".",    "1a",  "a1",        "1_000",  "nan",
                                 "NaN",  "inf",  "-inf", "INF", "infinity",  "nan(1)", "0x1p4",
                                 "1.0e", "True", "TRUE", "yes", "truefalse", "١"};
    for (const char* source : texts)
        expectRow(text(source), "MMMMMMMMMMM", 0);
    expectRow(text(std::string("1\0", 2)), "MMMMMMMMMMM", 0);
    expectRow(text(std::string("true\0", 5)), "MMMMMMMMMMM", 0);
}

TEST(VariantConversion, LimitsOfEveryIntegerAndOneBeyond) {
    for (const Target& target : numericTargets()) {
        if (!target.integer || target.greatest == 1)
            continue;
        SCOPED_TRACE(target.name);
        const auto convertText = [&target](Exact number) {
            return target.convert(text(std::to_string(number).substr(0, std::to_string(number).find('.'))));
        };
        EXPECT_EQ(convertText(target.greatest).status, OpcUa_Good);
        EXPECT_EQ(convertText(target.greatest).value, target.greatest);
        EXPECT_EQ(convertText(target.greatest + 1).status, OpcUa_BadOutOfRange);
        EXPECT_EQ(convertText(target.greatest + 1).value, 0);
        EXPECT_EQ(convertText(target.least).status, OpcUa_Good);
        EXPECT_EQ(convertText(target.least).value, target.least);

        // The nearest Doubles on either side of where the range ends.
        const auto convertReal = [&target](double number) { return target.convert(real(number)); };
        const double tooGreat = static_cast<double>(target.greatest + 1);
        EXPECT_EQ(convertReal(tooGreat).status, OpcUa_BadOutOfRange);
        EXPECT_EQ(convertReal(tooGreat).value, 0);
        const double inside = std::nextafter(tooGreat - 0.5, 0);
        EXPECT_EQ(convertReal(inside).status, OpcUa_Good);
        EXPECT_EQ(convertReal(inside).value, std::round(static_cast<Exact>(inside)));
        const double lowest = static_cast<double>(target.least);
        EXPECT_EQ(convertReal(lowest).status, OpcUa_Good);
        EXPECT_EQ(convertReal(lowest).value, target.least);
        const double tooLow = std::min(lowest - 0.5, std::nextafter(lowest, -1e300));
        EXPECT_EQ(convertReal(tooLow).status, OpcUa_BadOutOfRange);
        EXPECT_EQ(convertReal(tooLow).value, 0);
    }
}

TEST(VariantConversion, FractionsRoundHalfAwayFromZero) {
    const std::vector<std::pair<double, OpcUa_Int32>> pairs = {
        {0.49, 0}, {0.5, 1}, {1.5, 2}, {2.5, 3}, {-0.49, 0}, {-0.5, -1}, {-1.5, -2}, {-2.5, -3}};
    for (const auto& [number, rounded] : pairs) {
        OpcUa_Int32 value = 99;
        EXPECT_EQ(real(number).toInt32(value), OpcUa_Good);
        EXPECT_EQ(value, rounded) << number;
        EXPECT_EQ(made(&UaVariant::setFloat, static_cast<float>(number)).toInt32(value), OpcUa_Good);
        EXPECT_EQ(value, rounded) << number;
    }
    OpcUa_Byte byte = 99;
    EXPECT_EQ(real(-0.4).toByte(byte), OpcUa_Good);
    EXPECT_EQ(byte, 0);
    EXPECT_EQ(real(255.4).toByte(byte), OpcUa_Good);
    EXPECT_EQ(byte, 255);
    EXPECT_EQ(real(255.5).toByte(byte), OpcUa_BadOutOfRange);
    EXPECT_EQ(real(-0.5).toByte(byte), OpcUa_BadOutOfRange);
}

TEST(VariantConversion, OnlyZeroIsFalse) {
    OpcUa_Boolean value = true;
    EXPECT_EQ(real(-0.0).toBoolean(value), OpcUa_Good);
    EXPECT_FALSE(value);
    EXPECT_EQ(real(0.1).toBoolean(value), OpcUa_Good);
    EXPECT_TRUE(value);
    EXPECT_EQ(int64(-1).toBoolean(value), OpcUa_Good);
    EXPECT_TRUE(value);
}

TEST(VariantConversion, InfinityAndNanStayAmongFloatAndDouble) {
    const double infinity = std::numeric_limits<double>::infinity();
    for (const double number : {infinity, -infinity}) {
        expectRow(real(number), "RRRRRRRRRGG", number);
        expectRow(made(&UaVariant::setFloat, static_cast<float>(number)), "RRRRRRRRRGG", number);
    }
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const float floatNan = std::numeric_limits<float>::quiet_NaN();
    const UaVariant nans[] = {real(nan), real(std::copysign(nan, -1)), made(&UaVariant::setFloat, floatNan),
                              made(&UaVariant::setFloat, std::copysign(floatNan, -1.0F))};
    for (const UaVariant& any : nans) {
        for (const Target& target : numericTargets()) {
            const Outcome outcome = target.convert(any);
            EXPECT_EQ(outcome.status, target.integer ? OpcUa_BadOutOfRange : OpcUa_Good) << target.name;
            EXPECT_EQ(std::isnan(outcome.value), !target.integer) << target.name;
        }
        EXPECT_EQ(any.toString(), UaString("nan"));
    }
    EXPECT_EQ(real(-infinity).toString(), UaString("-inf"));
}

TEST(VariantConversion, DoubleToFloatTakesTheFloatRange) {
    const double limit = std::numeric_limits<float>::max();
    OpcUa_Float value = 1;
    EXPECT_EQ(real(std::nextafter(limit, 1e300)).toFloat(value), OpcUa_BadOutOfRange);
    EXPECT_EQ(value, 0.0F);
    EXPECT_EQ(real(0.1).toFloat(value), OpcUa_Good);
    EXPECT_EQ(value, 0.1F);
    EXPECT_EQ(real(1e-300).toFloat(value), OpcUa_Good);
    EXPECT_EQ(value, 0.0F);
    EXPECT_EQ(int64(INT64_MAX).toFloat(value), OpcUa_Good);
    EXPECT_EQ(value, 9223372036854775808.0F);
}

TEST(VariantConversion, NumbersHaveTheirShortestText) {
    const std::pair<UaVariant, const char*> pairs[] = {
        {boolean(false), "false"},
        {boolean(true), "true"},
        {made<OpcUa_SByte>(&UaVariant::setSByte, -128), "-128"},
        {made<OpcUa_Byte>(&UaVariant::setByte, 65), "65"},
        {int64(INT64_MIN), "-9223372036854775808"},
        {uint64(UINT64_MAX), "18446744073709551615"},
        {made(&UaVariant::setFloat, 0.1F), "0.1"},
        {made(&UaVariant::setFloat, 16777216.0F), "16777216"},
        {real(0.1), "0.1"},
        {real(0.1F), "0.10000000149011612"},
        {real(-2.0), "-2"},
        {real(1e22), "1e+22"},
        {real(5e-324), "5e-324"},
        {real(std::numeric_limits<double>::max()), "1.7976931348623157e+308"},
    };
    for (const auto& [variant, expected] : pairs)
        EXPECT_EQ(variant.toString(), UaString(expected));
}

TEST(VariantConversion, TextOfARealReadsBackAsTheSameNumber) {
    for (const double number : {0.1, -1.0 / 3, 1e5, 123456.789, 4.9e-324, 2.2250738585072014e-308, 1e308}) {
        OpcUa_Double value = 0;
        EXPECT_EQ(UaVariant(real(number).toString()).toDouble(value), OpcUa_Good);
        EXPECT_EQ(value, number);
    }
    for (const float number : {0.1F, -1.0F / 3, 1e-45F, std::numeric_limits<float>::max()}) {
        OpcUa_Float value = 0;
        EXPECT_EQ(UaVariant(made(&UaVariant::setFloat, number).toString()).toFloat(value), OpcUa_Good);
        EXPECT_EQ(value, number);
    }
}

TEST(VariantConversion, TheLocaleDoesNotMatter) {
    // The C locale with another decimal point is not installed everywhere; where it is, it must change
    // nothing.
    const locale_t german = ::newlocale(LC_ALL_MASK, "de_DE.UTF-8", nullptr);
    const locale_t previous = german != nullptr ? ::uselocale(german) : nullptr;
    OpcUa_Double value = 0;
    EXPECT_EQ(text("1.5").toDouble(value), OpcUa_Good);
    EXPECT_EQ(value, 1.5);
    EXPECT_EQ(text("1,5").toDouble(value), OpcUa_BadTypeMismatch);
    EXPECT_EQ(real(1.5).toString(), UaString("1.5"));
    if (german != nullptr) {
        ::uselocale(previous);
        ::freelocale(german);
    }
}

UaVariant scalar(const void* value, int typeIndex) {
    OpcUa_Variant variant;
    EXPECT_EQ(UA_Variant_setScalarCopy(&variant, value, &UA_TYPES[typeIndex]), OpcUa_Good);
    UaVariant owner;
    owner.attach(variant);
    return owner;
}

TEST(VariantConversion, OtherTypesHaveATextAtMost) {
    const UA_DateTime time = UA_DATETIME_UNIX_EPOCH;
    const UA_Guid guid = {0x72962b91, 0xfa75, 0x4ae6, {0x8d, 0x28, 0xb4, 0x04, 0xdc, 0x7d, 0xaf, 0x63}};
    UA_Byte bytes[] = {1, 2};
    const UA_ByteString opaque = {sizeof(bytes), bytes};
    const UA_ByteString nothing = {0, nullptr};
    char name[] = "Speed";
    const UA_LocalizedText localized = UA_LOCALIZEDTEXT(name, name);
    const UA_QualifiedName qualified = UA_QUALIFIEDNAME(2, name);
    const UA_NodeId node = UA_NODEID_STRING(2, name);
    const UA_StatusCode status = OpcUa_BadTimeout;
    const std::pair<UaVariant, const char*> pairs[] = {
        {scalar(&time, UA_TYPES_DATETIME), "1970-01-01T00:00:00.000Z"},
        {scalar(&guid, UA_TYPES_GUID), "72962b91-fa75-4ae6-8d28-b404dc7daf63"},
        {scalar(&opaque, UA_TYPES_BYTESTRING), "AQI="},
        {scalar(&nothing, UA_TYPES_BYTESTRING), ""},
        {scalar(&localized, UA_TYPES_LOCALIZEDTEXT), "Speed"},
        {scalar(&qualified, UA_TYPES_QUALIFIEDNAME), "2:Speed"},
        {scalar(&node, UA_TYPES_NODEID), "ns=2;s=Speed"},
        {scalar(&status, UA_TYPES_STATUSCODE), ""},
        {UaVariant(), ""},
    };
    for (const auto& [variant, expected] : pairs) {
        EXPECT_EQ(variant.toString(), UaString(expected));
        expectRow(variant, "MMMMMMMMMMM", 0);
        expectRow(UaVariant(variant), "MMMMMMMMMMM", 0);
    }
}

TEST(VariantConversion, ANullStringIsTheEmptyText) {
    const UA_String null = {0, nullptr};
    const UaVariant variant = scalar(&null, UA_TYPES_STRING);
    EXPECT_TRUE(variant.toString().isEmpty());
    expectRow(variant, "MMMMMMMMMMM", 0);
}

TEST(VariantConversion, ArraysDoNotConvert) {
    const OpcUa_Int32 elements[] = {1};
    OpcUa_Variant array;
    ASSERT_EQ(UA_Variant_setArrayCopy(&array, elements, 1, &UA_TYPES[UA_TYPES_INT32]), OpcUa_Good);
    UaVariant variant;
    variant.attach(array);
    expectRow(variant, "MMMMMMMMMMM", 0);
    EXPECT_TRUE(variant.toString().isEmpty());
}

} // namespace
