// docs/values.md: its code is that of the example, its output what the example prints, its table what the
// library does.
#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "documents/document.h"
#include "support/child_process.h"
#include "support/server_process.h"
#include "uabase/variant.h"

using testing::HasSubstr;

namespace {

TEST(ValuesDocument, ItsCodeIsTheExamples) {
    const std::string source = unindented(textOf("examples/values/main.cpp"));
    const std::vector<std::string> blocks = blocksOf(textOf("docs/values.md"), "cpp");
    EXPECT_GE(blocks.size(), 7U);
    for (const std::string& block : blocks)
        EXPECT_THAT(source, HasSubstr(unindented(block)));
}

TEST(ValuesDocument, ItsOutputIsWhatTheExamplePrints) {
    const test_support::PlantServer server;
    const test_support::ProgramResult run = test_support::runProgram(VALUES_EXAMPLE, {server.url()});
    EXPECT_EQ(run.end.exitCode, 0);
    const std::vector<std::string> blocks = blocksOf(textOf("docs/values.md"), "");
    ASSERT_GE(blocks.size(), 4U);
    EXPECT_EQ(run.standardOutput, blocks.back());
    for (const std::string& block : blocks)
        EXPECT_THAT(run.standardOutput, HasSubstr(block));
}

/// Holds every 64-bit integer and every Double exactly.
using Exact = long double;

struct Sample {
    UaVariant variant;
    Exact value;
};

/// One of the eleven number types.
struct NumberType {
    const char* name;
    std::vector<Sample> samples;
    std::function<bool(const UaVariant&, Exact&)> convert; ///< false when it refuses
};

/// Values on either side of what the other types hold.
template <typename Value>
std::vector<Value> criticalValues() {
    std::vector<Value> values{std::numeric_limits<Value>::lowest(), std::numeric_limits<Value>::max()};
    for (const long number : {-16777217L, -129L, -1L, 0L, 1L, 2L, 127L, 128L, 255L, 256L, 16777217L})
        if (static_cast<long>(static_cast<Value>(number)) == number)
            values.push_back(static_cast<Value>(number));
    if (!std::numeric_limits<Value>::is_integer)
        values.push_back(static_cast<Value>(0.4));
    return values;
}

template <typename Value>
NumberType numberType(const char* name, void (UaVariant::*setter)(Value),
                      OpcUa_StatusCode (UaVariant::*conversion)(Value&) const) {
    NumberType type{name, {}, [conversion](const UaVariant& variant, Exact& result) {
                        Value value{};
                        const bool converted = (variant.*conversion)(value) == OpcUa_Good;
                        result = static_cast<Exact>(value);
                        return converted;
                    }};
    for (const Value value : criticalValues<Value>()) {
        UaVariant variant;
        (variant.*setter)(value);
        type.samples.push_back({variant, static_cast<Exact>(value)});
    }
    return type;
}

std::vector<NumberType> numberTypes() {
    using V = UaVariant;
    return {numberType<OpcUa_Boolean>("Boolean", &V::setBoolean, &V::toBoolean),
            numberType<OpcUa_SByte>("SByte", &V::setSByte, &V::toSByte),
            numberType<OpcUa_Byte>("Byte", &V::setByte, &V::toByte),
            numberType<OpcUa_Int16>("Int16", &V::setInt16, &V::toInt16),
            numberType<OpcUa_UInt16>("UInt16", &V::setUInt16, &V::toUInt16),
            numberType<OpcUa_Int32>("Int32", &V::setInt32, &V::toInt32),
            numberType<OpcUa_UInt32>("UInt32", &V::setUInt32, &V::toUInt32),
            numberType<OpcUa_Int64>("Int64", &V::setInt64, &V::toInt64),
            numberType<OpcUa_UInt64>("UInt64", &V::setUInt64, &V::toUInt64),
            numberType<OpcUa_Float>("Float", &V::setFloat, &V::toFloat),
            numberType<OpcUa_Double>("Double", &V::setDouble, &V::toDouble)};
}

/// The table's word for what becomes of all samples.
std::string outcome(const NumberType& from, const NumberType& to) {
    const bool toBoolean = std::string(to.name) == "Boolean";
    bool refuses = false;
    bool rounds = false;
    bool tellsZero = true;
    for (const Sample& sample : from.samples) {
        Exact result = 0;
        const bool converted = to.convert(sample.variant, result);
        EXPECT_TRUE(converted || result == 0);
        refuses = refuses || !converted;
        rounds = rounds || (converted && result != sample.value);
        tellsZero = tellsZero && converted && result == (sample.value != 0 ? 1 : 0);
    }
    if (toBoolean && rounds)
        return tellsZero ? "≠0" : "?";
    return refuses ? (rounds ? "~<" : "<") : (rounds ? "~" : "=");
}

std::string conversionTable() {
    const std::vector<NumberType> types = numberTypes();
    std::string head = "| |";
    std::string rule = "|---|";
    std::string body;
    std::string last = "| String |";
    for (const NumberType& from : types) {
        head += std::string(" ") + from.name + " |";
        rule += "---|";
        last += " number |";
        body += std::string("| ") + from.name + " |";
        for (const NumberType& to : types)
            body += " " + outcome(from, to) + " |";
        body += " text |\n";
    }
    return head + " String |\n" + rule + "---|\n" + body + last + " = |\n";
}

TEST(ValuesDocument, ItsTableOfConversionsHolds) {
    EXPECT_THAT(textOf("docs/values.md"),
                HasSubstr("<!-- conversions -->\n" + conversionTable() + "<!-- /conversions -->\n"));
}

} // namespace
