#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "plant_fixture.h"

using namespace cli_test;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;

namespace {

class Arrays : public Plant {};

json flat(const json& nested) {
    if (!nested.is_array())
        return json::array({nested});
    json elements = json::array();
    for (const json& inner : nested)
        for (const json& element : flat(inner))
            elements.push_back(element);
    return elements;
}

/// Element k of the test rack's arrays.
json element(const std::string& type, int k) {
    if (type == "Boolean")
        return k % 2 == 1;
    if (type == "String")
        return "Element " + std::to_string(k);
    if (type == "Float" || type == "Double")
        return k + 0.5;
    return k;
}

const std::vector<std::string> types{"Boolean", "SByte", "Byte",   "Int16", "UInt16", "Int32",
                                     "UInt32",  "Int64", "UInt64", "Float", "Double", "String"};

} // namespace

TEST_F(Arrays, OfEveryTypeAreReadWhole) {
    Arguments nodes;
    for (const std::string& type : types) {
        nodes.push_back("/TestRack/Array/" + type);
        nodes.push_back("/TestRack/Matrix2/" + type);
        nodes.push_back("/TestRack/Matrix3/" + type);
    }
    const json readings = cliJson("read", nodes)["nodes"];
    ASSERT_EQ(readings.size(), nodes.size());
    for (std::size_t i = 0; i < readings.size(); ++i) {
        const std::string& type = types[i / 3];
        EXPECT_EQ(readings[i]["type"], type);
        EXPECT_TRUE(readings[i]["index"].is_null());
        const json elements = flat(readings[i]["value"]);
        std::size_t count = 1;
        for (const json& length : readings[i]["shape"])
            count *= length.get<std::size_t>();
        ASSERT_EQ(elements.size(), count) << nodes[i];
        for (std::size_t k = 0; k < count; ++k)
            EXPECT_EQ(elements[k], element(type, static_cast<int>(k))) << nodes[i];
    }
    EXPECT_EQ(readings[18]["value"], json({0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
    EXPECT_EQ(readings[19]["value"], json({{0, 1, 2, 3}, {4, 5, 6, 7}, {8, 9, 10, 11}}));
    EXPECT_EQ(readings[20]["value"].size(), 2u);
    EXPECT_EQ(readings[20]["value"][1].size(), 3u);
    EXPECT_EQ(readings[20]["value"][1][2], json({20, 21, 22, 23}));
}

TEST_F(Arrays, WithoutElementsAndWithSixteenDimensions) {
    EXPECT_EQ(value("/TestRack/EmptyArray/Double"), json::array());
    const json reading = cliJson("read", {"/TestRack/Matrix16/Int32"})["nodes"][0];
    EXPECT_EQ(reading["shape"].size(), 16u);
    EXPECT_EQ(flat(reading["value"]), json({0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}));
    EXPECT_EQ(cli("read", {"/TestRack/Matrix17/Int32"}).exitCode, 1);
}

TEST_F(Arrays, StandInTheRowOrBelowTheTable) {
    const CliResult result = cli("read", {"/TestRack/Array/Int32", "/TestRack/Array/String",
                                          "/TestRack/Matrix2/Double", "/TestRack/EmptyArray/Byte"});
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_THAT(result.output,
                AllOf(HasSubstr("Int32[10]     [0, 1, 2, 3, 4, 5, 6, 7, 8, 9]\n"),
                      HasSubstr("String[10]    see below\n"), HasSubstr("Double[3][4]  see below\n"),
                      HasSubstr("Byte[0]       []\n")));
    EXPECT_THAT(result.output, HasSubstr("\n\n/TestRack/Array/String  String[10]\n[0]  \"Element 0\"\n"));
    EXPECT_THAT(result.output, HasSubstr("\n\n/TestRack/Matrix2/Double  Double[3][4]\n"
                                         "     [0]  [1]   [2]   [3]\n"
                                         "[0]  0.5  1.5   2.5   3.5\n"
                                         "[1]  4.5  5.5   6.5   7.5\n"
                                         "[2]  8.5  9.5  10.5  11.5\n"));
    EXPECT_THAT(cli("read", {"/TestRack/Matrix3/Int32"}).output,
                HasSubstr("\n[1]\n     [0]  [1]  [2]  [3]\n[0]   12   13   14   15\n"));
}

TEST_F(Arrays, OneElementIsReadByItsPositions) {
    const json reading = cliJson("read", {"/TestRack/Matrix2/Double", "--index", "2,3"})["nodes"][0];
    EXPECT_EQ(reading["value"], 11.5);
    EXPECT_EQ(reading["index"], json({2, 3}));
    EXPECT_EQ(reading["shape"], json({3, 4}));
    EXPECT_EQ(cliJson("read", {rack + "Array.String", "--index", "9"})["nodes"][0]["value"], "Element 9");
    EXPECT_EQ(cliJson("read", {rack + "Matrix3.Int64", "--index", "1,0,3"})["nodes"][0]["value"], 15);
    EXPECT_EQ(
        cliJson("read", {rack + "Array.Int32", "--index", "4", "--type", "Double"})["nodes"][0]["value"],
        4.0);
    EXPECT_THAT(cli("read", {"/TestRack/Matrix2/Double", "--index", "2,3"}).output,
                HasSubstr("Double[3][4]  [2][3]  11.5\n"));
}

TEST_F(Arrays, AnIndexOutsideIsRefused) {
    const std::pair<Arguments, const char*> cases[] = {
        {{"/TestRack/Array/Int32", "--index", "10"}, "no element [10] in a value of [10]"},
        {{"/TestRack/Matrix2/Int32", "--index", "0,5"}, "no element [0][5] in a value of [3][4]"},
        {{"/TestRack/Matrix2/Int32", "--index", "5"}, "2 dimensions: [3][4]"},
        {{"/TestRack/Array/Int32", "--index", "1,1"}, "1 dimension: [10]"},
        {{"/TestRack/EmptyArray/Int32", "--index", "0"}, "no element [0] in a value of [0]"},
        {{"/TestRack/Scalar/Int32", "--index", "0"}, "single value"},
        {{rack + "Matrix2.Int32", "--index", "0,5", "--type", "Int32"}, "no element [0][5]"},
    };
    for (const auto& [arguments, message] : cases) {
        Arguments all = arguments;
        all.emplace_back("--json");
        const CliResult read = cli("read", all);
        EXPECT_EQ(read.exitCode, 1) << message;
        EXPECT_EQ(read.json()["nodes"][0]["ok"], false);
        EXPECT_THAT(read.error, HasSubstr(message));
        all.insert(all.begin() + 1, "1");
        const CliResult write = cli("write", all);
        EXPECT_EQ(write.exitCode, 1) << message;
        EXPECT_THAT(write.error, HasSubstr(message));
    }
    EXPECT_EQ(value("/TestRack/Matrix2/Int32"), json({{0, 1, 2, 3}, {4, 5, 6, 7}, {8, 9, 10, 11}}));
}

TEST_F(Arrays, OneElementIsWritten) {
    for (const std::string& type : types) {
        const std::string text = type == "Boolean" ? "true" : type == "String" ? "Käse, \"alt\"" : "99";
        const json written = cliJson("write", {rack + "Matrix2." + type, text, "--index", "1,2"});
        EXPECT_EQ(written["index"], json({1, 2}));
        EXPECT_EQ(written["shape"], json({3, 4}));
        const json matrix = value(rack + "Matrix2." + type);
        for (std::size_t k = 0; k < 12; ++k) {
            const json& found = matrix[k / 4][k % 4];
            if (k == 6)
                EXPECT_EQ(found, written["value"]) << type;
            else
                EXPECT_EQ(found, element(type, static_cast<int>(k))) << type;
        }
    }
    const CliResult table = cli("write", {rack + "Array.Int32", "-7", "--index", "3"});
    EXPECT_THAT(table.output, AllOf(HasSubstr("Int32[10]  [3]    -7     written")));
    EXPECT_EQ(value(rack + "Array.Int32"), json({0, 1, 2, -7, 4, 5, 6, 7, 8, 9}));
}

TEST_F(Arrays, AreWrittenWholeFromJson) {
    const std::string matrix = "[[1.5, -2, 3, 4], [5, 6, 7, 8], [9, 10, \"NaN\", 12]]";
    EXPECT_EQ(cliJson("write", {rack + "Matrix2.Double", matrix})["value"],
              json({{1.5, -2, 3, 4}, {5, 6, 7, 8}, {9, 10, "NaN", 12}}));
    EXPECT_EQ(value(rack + "Matrix2.Double"), json({{1.5, -2, 3, 4}, {5, 6, 7, 8}, {9, 10, "NaN", 12}}));
    EXPECT_EQ(cli("write", {"ns=2;s=Line1.Recipe", R"(["a", "b,c", "d\"e", "Öl", ""])"}).exitCode, 0);
    EXPECT_EQ(value("ns=2;s=Line1.Recipe"), json({"a", "b,c", "d\"e", "Öl", ""}));
    EXPECT_EQ(cli("write", {rack + "EmptyArray.Int32", "[]"}).exitCode, 0);
}

TEST_F(Arrays, WhatIsNoSuchArrayIsRefusedBeforeAnythingIsWritten) {
    const std::pair<const char*, const char*> cases[] = {{"1", "a JSON number where an array should be"},
                                                         {"1,2,3", "no JSON"},
                                                         {"[1, 2]", "2 elements where 10 should be"},
                                                         {"[0,0,0,0,0,0,0,0,0,1.5]", "no whole number"},
                                                         {"[[0,0,0,0,0,0,0,0,0,0]]", "1 elements"}};
    for (const auto& [text, message] : cases) {
        const CliResult result = cli("write", {"/TestRack/Array/Int32", text});
        EXPECT_EQ(result.exitCode, 2) << text;
        EXPECT_THAT(result.error, HasSubstr(message));
    }
    EXPECT_EQ(value(rack + "Array.Int32"), json({0, 1, 2, 3, 4, 5, 6, 7, 8, 9}));
}

TEST_F(Arrays, LongOnesAreLeftAloneUnlessAskedFor) {
    cli("write", {rack + "Control.ArrayLength", "30"});
    const CliResult refused = cli("read", {rack + "Changing.Array", "--max-elements", "29", "--json"});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_EQ(refused.json()["nodes"][0]["shape"], json({30}));
    EXPECT_THAT(refused.error, AllOf(HasSubstr("more than 29 elements"), HasSubstr("--index")));
    EXPECT_EQ(cliJson("read", {rack + "Changing.Array", "--max-elements", "30"})["nodes"][0]["value"].size(),
              30u);
    EXPECT_THAT(cli("read", {rack + "Changing.Array"}).output, HasSubstr("\n[20]  "));
    EXPECT_EQ(cli("write", {rack + "Changing.Array", "[]", "--max-elements", "29"}).exitCode, 2);
}

TEST_F(Arrays, ThatCannotBeWrittenSayHowFarItWent) {
    const CliResult result = cli("write", {rack + "Moving.Array", "[1,2,3,4,5,6,7,8,9,10]"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.error, AllOf(HasSubstr("element [0] = 1"), HasSubstr("written before: 0")));
}
