#include <cstddef>
#include <fstream>
#include <ios>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "failure.h"
#include "formats/node_list.h"
#include "support/temporary_directory.h"

using namespace opcua_cli;
using testing::AllOf;
using testing::HasSubstr;

namespace {

class NodeList : public testing::Test {
protected:
    Jobs readText(const std::string& text, bool withValues) const {
        std::ofstream(m_path, std::ios::binary) << text;
        return readNodeList(m_path, withValues);
    }

    std::string refusalOf(const std::string& text, bool withValues) const {
        try {
            readText(text, withValues);
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.exitCode(), ExitCode::Usage) << text;
            return failure.problem().explanation;
        }
        return "none";
    }

    static std::string text(const Job& job) { return std::get<std::string>(*job.givenValue); }
    static Json json(const Job& job) { return *std::get<std::shared_ptr<const Json>>(*job.givenValue); }

    test_support::TemporaryDirectory m_directory;
    std::string m_path = (m_directory.path() / "list").string();
};

} // namespace

TEST_F(NodeList, TakesColumnsInAnyOrderAndLeavesOthersAlone) {
    const auto jobs = readText("Value,comment,NODE,index,type\n"
                               "1.5,\"set, by hand\",ns=2;s=A,\"2,3\",double\n"
                               "\"say \"\"Grüße\"\"\",,/Plant/B,,\n",
                               true);
    ASSERT_EQ(jobs.size(), 2u);
    EXPECT_EQ(jobs[0].given, "ns=2;s=A");
    EXPECT_EQ(std::get<std::string>(jobs[0].reference), "ns=2;s=A");
    EXPECT_EQ(jobs[0].type, OpcUaDataType_Double);
    EXPECT_EQ(jobs[0].index, (Index{2, 3}));
    EXPECT_EQ(text(jobs[0]), "1.5");
    EXPECT_EQ(jobs[0].place, m_path + ", line 2");
    EXPECT_TRUE(std::holds_alternative<NodePath>(jobs[1].reference));
    EXPECT_EQ(jobs[1].type, std::nullopt);
    EXPECT_EQ(jobs[1].index, std::nullopt);
    EXPECT_EQ(text(jobs[1]), "say \"Grüße\"");
}

TEST_F(NodeList, ByteOrderMarkAndCarriageReturnsAreNoPartOfIt) {
    const auto jobs = readText("\xEF\xBB\xBFnode,value\r\ni=1,7\r\n", true);
    ASSERT_EQ(jobs.size(), 1u);
    EXPECT_EQ(jobs[0].given, "i=1");
    EXPECT_EQ(text(jobs[0]), "7");
    EXPECT_EQ(readText("\xEF\xBB\xBF[\"i=1\"]", false).size(), 1u);
}

TEST_F(NodeList, SemicolonsComeWithDecimalCommas) {
    const auto jobs = readText("node;value\r\n\"ns=2;s=A\";1,5\r\n", true);
    ASSERT_EQ(jobs.size(), 1u);
    EXPECT_EQ(jobs[0].given, "ns=2;s=A");
    EXPECT_TRUE(jobs[0].decimalComma);
    EXPECT_EQ(std::get<double>(parseGivenValue(jobs[0], OpcUaDataType_Double, {}).elements[0]), 1.5);
    EXPECT_EQ(std::get<std::string>(parseGivenValue(jobs[0], OpcUaDataType_String, {}).elements[0]), "1,5");
    EXPECT_FALSE(readText("node,value\ni=1,7\n", true)[0].decimalComma);
}

TEST_F(NodeList, TypesThatStateTooLittleAreLookedFor) {
    const auto jobs = readText("node,type\ni=1,Double\ni=2,Double[3]\ni=3,other\ni=4,other[3]\n", false);
    ASSERT_EQ(jobs.size(), 4u);
    EXPECT_EQ(jobs[0].type, OpcUaDataType_Double);
    EXPECT_EQ(jobs[1].type, std::nullopt);
    EXPECT_EQ(jobs[2].type, std::nullopt);
    EXPECT_EQ(jobs[3].type, std::nullopt);
    EXPECT_THAT(refusalOf("node,type\ni=1,Decimal[3]\n", false), HasSubstr("no type is called Decimal;"));
}

TEST_F(NodeList, SoAreThoseOfTheProgramsOwnDocuments) {
    const auto jobs = readText(R"({"nodes": [{"node": "i=1", "type": "Double", "shape": []},
      {"node": "i=2", "type": "Double", "shape": [10]}, {"node": "i=3", "type": "other", "shape": []},
      {"node": "i=4", "type": "other", "shape": [10]}, {"node": "i=5", "type": null, "shape": null}]})",
                               false);
    ASSERT_EQ(jobs.size(), 5u);
    EXPECT_EQ(jobs[0].type, OpcUaDataType_Double);
    for (std::size_t i = 1; i < jobs.size(); ++i)
        EXPECT_EQ(jobs[i].type, std::nullopt) << jobs[i].given;
}

TEST_F(NodeList, AnErrorIsNoValue) {
    const std::string text = "node,value,error\ni=1,7,\ni=2,,no such node\n";
    EXPECT_EQ(readText(text, false).size(), 2u);
    EXPECT_THAT(refusalOf(text, true), AllOf(HasSubstr("line 3"), HasSubstr("no value: no such node")));
}

TEST_F(NodeList, ReadingNeedsNoValues) {
    const auto jobs = readText("node,value\ni=1,7\n", false);
    ASSERT_EQ(jobs.size(), 1u);
    EXPECT_FALSE(jobs[0].givenValue);
}

TEST_F(NodeList, TakesJson) {
    const auto jobs = readText(R"(
      [{"node": "ns=2;s=A", "value": [1, 2], "type": "Int32"},
       {"nodeId": "ns=2;s=B", "value": "x", "index": [2, 3], "error": null}])",
                               true);
    ASSERT_EQ(jobs.size(), 2u);
    EXPECT_EQ(json(jobs[0]), Json({1, 2}));
    EXPECT_EQ(jobs[0].type, OpcUaDataType_Int32);
    EXPECT_EQ(jobs[0].place, m_path + ", line 2");
    EXPECT_EQ(jobs[1].given, "ns=2;s=B");
    EXPECT_EQ(jobs[1].index, (Index{2, 3}));
    EXPECT_EQ(jobs[1].place, m_path + ", line 3");
    EXPECT_EQ(readText(R"(["i=1", {"node": "/A", "index": 4}])", false)[1].index, Index{4});
}

TEST_F(NodeList, TakesTheProgramsOwnDocuments) {
    const auto jobs =
        readText("{\"url\": \"x\", \"more\": [[1],\n{\"nodes\": [1]}],\n\"nodes\": [\n{\"node\": \"i=1\", "
                 "\"value\": 1,\n\"shape\": []}, {\"node\": \"i=2\", \"value\": 2}\n]}",
                 true);
    ASSERT_EQ(jobs.size(), 2u);
    EXPECT_EQ(jobs[0].place, m_path + ", line 4");
    EXPECT_EQ(jobs[1].place, m_path + ", line 5");
}

TEST_F(NodeList, FilesWithoutNodesAreRefused) {
    for (const char* empty : {"", "\xEF\xBB\xBF", "\r\n\n"})
        EXPECT_THAT(refusalOf(empty, false), HasSubstr("is empty"));
    for (const char* text : {"node,value\r\n", "[]", R"({"nodes": []})"})
        EXPECT_THAT(refusalOf(text, true), HasSubstr("names no node")) << text;
}

TEST_F(NodeList, WrongCsvIsRefusedWithItsLine) {
    const std::pair<const char*, const char*> cases[] = {
        {"ns=2;s=A,5\n", "line 1: no column is called \"node\""},
        {"node,type\ni=1,Int32\n", "line 1: no column is called \"value\""},
        {"node,value,Node\n", "line 1: several columns are called \"node\""},
        {"node,value\ni=1,5\ni=2\n", "line 3: there are 1 fields, but the first line has 2"},
        {"node,value\ni=1,5\n\ni=2,1,5\n", "line 4: there are 3 fields"},
        {"node,value\nLine1.Speed,5\n", "line 2: \"Line1.Speed\" is no node"},
        {"node,value\n,5\n", "line 2: \"\" is no node"},
        {"node,value,type\ni=1,5,Decimal\n", "line 2: no type is called Decimal"},
        {"node,value,index\ni=1,5,first\n", "line 2: \"first\" is no index"},
        {"node,value\ni=1,\"5\n", "line 2: a quote is not closed"},
        {"node,value\ni=1,5\ni=2,F\xFCll\n", "line 3: this is not UTF-8"},
    };
    for (const auto& [text, message] : cases)
        EXPECT_THAT(refusalOf(text, true), AllOf(HasSubstr(m_path), HasSubstr(message))) << text;
}

TEST_F(NodeList, WrongJsonIsRefusedWithItsLine) {
    const std::pair<const char*, const char*> cases[] = {
        {"[\n{\"node\": \"i=1\",\n \"value\" 5}]", "line 3: syntax error"},
        {"[{\"node\": \"i=1\", \"value\": 5}", "line 1: syntax error"},
        {"{\"node\": \"i=1\"}", "neither an array nor"},
        {"{\"nodes\": 5}", "neither an array nor"},
        {"[\n\"i=1\"\n]", "line 2: the entry is no object"},
        {"[\n\n5\n]", "line 3: the entry is no object"},
        {"[{\"value\": 5}]", "line 1: there is no \"node\""},
        {"[{\"node\": 5, \"value\": 5}]", "line 1: \"node\" is no text"},
        {"[{\"node\": \"i=1\", \"value\": 1},\n{\"node\": \"i=1\"}]", "line 2: there is no \"value\""},
        {"[{\"node\": \"i=1\", \"value\": null}]", "line 1: there is no \"value\""},
        {"[{\"node\": \"x\", \"value\": 5}]", "line 1: \"x\" is no node"},
        {"[{\"node\": \"i=1\", \"value\": 5, \"type\": \"Decimal\"}]", "line 1: no type is called Decimal"},
        {"[{\"node\": \"i=1\", \"value\": 5, \"index\": [-1]}]", "line 1: \"[-1]\" is no index"},
        {"[{\"node\": \"i=1\", \"value\": 5, \"index\": {}}]", "line 1: \"index\" is no text"},
        {"[\n{\"node\": \"i=1\",\n\"value\": 1e400\n}]", "line 3: number overflow"},
    };
    for (const auto& [text, message] : cases)
        EXPECT_THAT(refusalOf(text, true), AllOf(HasSubstr(m_path), HasSubstr(message))) << text;
}

TEST_F(NodeList, JsonIsNestedAsDeepAsArraysAreAtMost) {
    const auto nested = [](std::size_t levels) {
        return "[{\"node\": \"i=1\",\n\"value\": " + std::string(levels - 2, '[') +
               std::string(levels - 2, ']') + "}]";
    };
    EXPECT_EQ(readText(nested(32), true).size(), 1u);
    EXPECT_THAT(refusalOf(nested(33), true), HasSubstr("line 2: there are more than 32 levels"));
    EXPECT_THAT(refusalOf(nested(1000000), true), HasSubstr("line 2: there are more than 32 levels"));
    EXPECT_THAT(refusalOf(std::string(1000000, '['), true), HasSubstr("line 1: there are more than 32"));
}

TEST_F(NodeList, FilesThatCannotBeReadAreRefused) {
    EXPECT_THROW(readNodeList(m_path + "/nowhere", false), Failure);
    EXPECT_THROW(readNodeList(m_directory.path().string(), false), Failure);
}
