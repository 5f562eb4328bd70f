#include <array>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <functional>
#include <ios>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "plant_fixture.h"
#include "support/temporary_directory.h"

using namespace cli_test;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;

namespace {

/// "ns=3;s=TestRack.Many.Variable0001" and so on.
std::string manyNode(int number) {
    std::array<char, 16> digits{};
    std::snprintf(digits.data(), digits.size(), "%04d", number);
    return rack + "Many.Variable" + digits.data();
}

class ManyNodes : public Plant {
protected:
    explicit ManyNodes(const std::vector<std::string>& options = {}) : Plant(options) {}

    std::string file(const std::string& text) const {
        const std::string path = (m_directory.path() / "nodes").string();
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }

    test_support::TemporaryDirectory m_directory;
};

/// A server that takes fewer nodes in one request than the library sends.
class StrictServer : public ManyNodes {
protected:
    StrictServer() : ManyNodes({"--max-nodes-per-read", "7", "--max-nodes-per-write", "3"}) {}
};

/// Reads and writes 45 nodes with nothing failing.
void handlesFortyFive(const std::function<CliResult(const std::string&, const Arguments&)>& cli) {
    Arguments nodes;
    Arguments pairs;
    for (int i = 0; i < 45; ++i) {
        nodes.push_back(manyNode(6 + 12 * i)); // every twelfth is an Int32
        pairs.insert(pairs.end(), {nodes.back(), std::to_string(-i)});
    }
    pairs.emplace_back("--json");
    const CliResult written = cli("write", pairs);
    EXPECT_EQ(written.exitCode, 0) << written.error;
    ASSERT_EQ(written.json()["nodes"].size(), 45u);
    nodes.emplace_back("--json");
    const CliResult read = cli("read", nodes);
    EXPECT_EQ(read.exitCode, 0) << read.error;
    const json readings = read.json()["nodes"];
    ASSERT_EQ(readings.size(), 45u);
    for (int i = 0; i < 45; ++i) {
        EXPECT_EQ(readings[static_cast<std::size_t>(i)]["type"], "Int32");
        EXPECT_EQ(readings[static_cast<std::size_t>(i)]["value"], -i);
    }
}

} // namespace

TEST_F(ManyNodes, FortyFiveAreReadAndWritten) {
    handlesFortyFive([&](const std::string& command, const Arguments& rest) { return cli(command, rest); });
}

TEST_F(StrictServer, GetsNoMoreNodesThanItTakes) {
    handlesFortyFive([&](const std::string& command, const Arguments& rest) { return cli(command, rest); });
}

TEST_F(ManyNodes, AreReadFromCsv) {
    const std::string path = file("\xEF\xBB\xBFnode,type,index,remark\r\n"
                                  "ns=2;s=Line1.Batch,,,\"a, b\"\r\n"
                                  "/TestRack/Scalar/Float,Double,,\r\n"
                                  "/TestRack/Matrix2/Int32,,\"1,2\",\r\n"
                                  "/TestRack/Array/Byte,,,\r\n"
                                  "\"ns=3;s=TestRack.Names.with = ; \"\" quotes and blanks\",,,\r\n");
    const json nodes = cliJson("read", {"--from", path})["nodes"];
    ASSERT_EQ(nodes.size(), 5u);
    EXPECT_EQ(nodes[0]["value"], "B-2041");
    EXPECT_EQ(nodes[1]["type"], "Double");
    EXPECT_EQ(nodes[1]["value"], 3.25);
    EXPECT_EQ(nodes[2]["value"], 6);
    EXPECT_EQ(nodes[3]["value"].size(), 10u);
    EXPECT_TRUE(nodes[4]["value"].is_number());
}

TEST_F(ManyNodes, AreReadFromJsonAndStandardInput) {
    const std::string text = R"(["ns=2;s=Line1.Batch", {"node": "/TestRack/Array/Int32", "index": 4}])";
    EXPECT_EQ(cliJson("read", {"--from", file(text)})["nodes"][1]["value"], 4);
    const CliResult piped =
        runInShell("printf '%s' '" + text + R"(' | "$0" "$@")", call("read", {"--from", "-", "--json"}));
    EXPECT_EQ(piped.exitCode, 0) << piped.error;
    EXPECT_EQ(piped.json()["nodes"][0]["value"], "B-2041");
}

TEST_F(ManyNodes, AreWrittenFromCsv) {
    const std::string path = file("node,value\n"
                                  "ns=2;s=Line1.Batch,\"Käse, \"\"alt\"\"\r\nzweite Zeile\"\n"
                                  "/TestRack/Scalar/Double,-1.5e3\n"
                                  "/TestRack/Scalar/Boolean,off\n"
                                  "/TestRack/Array/SByte,\"[9,8,7,6,5,4,3,2,1,0]\"\n");
    const json written = cliJson("write", {"--from", path})["nodes"];
    ASSERT_EQ(written.size(), 4u);
    for (const json& node : written)
        EXPECT_EQ(node["ok"], true);
    EXPECT_EQ(value("ns=2;s=Line1.Batch"), "Käse, \"alt\"\r\nzweite Zeile");
    EXPECT_EQ(value(rack + "Scalar.Double"), -1500);
    EXPECT_EQ(value(rack + "Scalar.Boolean"), false);
    EXPECT_EQ(value(rack + "Array.SByte"), json({9, 8, 7, 6, 5, 4, 3, 2, 1, 0}));
}

TEST_F(ManyNodes, WhatReadPrintsCanBeWritten) {
    const Arguments nodes{"/TestRack/Scalar/UInt64", rack + "Scalar.Float", "/TestRack/Matrix2/String",
                          rack + "Limits.DoubleNaN", rack + "Text.NonAscii"};
    const CliResult before = cli("read", {nodes[0], nodes[1], nodes[2], nodes[3], nodes[4], "--json"});
    const std::string path = file(before.output);
    cli("write", {nodes[0], "0", nodes[1], "0", rack + "Limits.DoubleNaN", "0", rack + "Text.NonAscii", ""});
    cli("write", {nodes[2], "x", "--index", "2,3"});
    ASSERT_NE(cli("read", {nodes[0], nodes[1], nodes[2], nodes[3], nodes[4], "--json"}).output,
              before.output);
    EXPECT_EQ(cli("write", {"--from", path}).exitCode, 0);
    EXPECT_EQ(cli("read", {nodes[0], nodes[1], nodes[2], nodes[3], nodes[4], "--json"}).output,
              before.output);
}

TEST_F(ManyNodes, SomeThatFailAreExitCode1AndTheOthersAreWritten) {
    const std::string path = file("node,value\nns=2;s=Nowhere,1\n/Plant/Nowhere,1\n"
                                  "ns=3;s=TestRack.Access.ReadOnly,7\nns=3;s=TestRack.Scalar.Int32,7\n");
    const CliResult result = cli("write", {"--from", path, "--json"});
    EXPECT_EQ(result.exitCode, 1);
    const json nodes = result.json()["nodes"];
    ASSERT_EQ(nodes.size(), 4u);
    EXPECT_EQ(nodes[0]["error"]["code"], 7);
    EXPECT_TRUE(nodes[0]["nodeId"].is_null());
    EXPECT_THAT(nodes[1]["error"]["explanation"].get<std::string>(), HasSubstr("no \"Nowhere\""));
    EXPECT_EQ(nodes[2]["error"]["code"], 8);
    EXPECT_EQ(nodes[3]["ok"], true);
    EXPECT_EQ(value(rack + "Scalar.Int32"), 7);
    EXPECT_EQ(value(rack + "Access.ReadOnly"), 42);
    EXPECT_THAT(cli("write", {"--from", path}).output,
                AllOf(HasSubstr("the value is read-only"), HasSubstr("written\n")));
}

TEST_F(ManyNodes, AValueThatDoesNotFitLeavesEverythingUnwritten) {
    const CliResult csv =
        cli("write", {"--from", file("node,value\n/TestRack/Scalar/Int32,7\n\n/TestRack/Scalar/Byte,256\n")});
    EXPECT_EQ(csv.exitCode, 2);
    EXPECT_EQ(csv.output, "");
    EXPECT_THAT(csv.error, AllOf(HasSubstr("nodes, line 4: "), HasSubstr("out of range")));
    const CliResult jsonFile =
        cli("write", {"--from", file(R"([{"node": "/TestRack/Scalar/Int32", "value": 7},
{"node": "/TestRack/Scalar/String", "value": 7}])"),
                      "--json"});
    EXPECT_EQ(jsonFile.exitCode, 2);
    EXPECT_THAT(jsonFile.json()["error"]["explanation"].get<std::string>(),
                AllOf(HasSubstr("line 2"), HasSubstr("a JSON number")));
    EXPECT_EQ(value(rack + "Scalar.Int32"), -123456789);
}

TEST_F(ManyNodes, AWrongFileIsExitCode2BeforeAnyConnection) {
    m_server.kill(SIGKILL);
    for (const char* text : {"", "node,value\n", "node,value\nns=2;s=A\n", "[{]", "node\nns=2;s=A\n"}) {
        const CliResult result = cli("write", {"--from", file(text)});
        EXPECT_EQ(result.exitCode, 2) << text;
        EXPECT_EQ(result.output, "");
    }
    EXPECT_EQ(cli("read", {"--from", "/nowhere/nodes.csv"}).exitCode, 2);
    EXPECT_EQ(cli("read", {"--from", file("node\ni=1\n"), "i=1"}).exitCode, 2);
    EXPECT_EQ(cli("write", {"--from", file("node,value\ni=1,1\n"), "i=1", "1"}).exitCode, 2);
    EXPECT_EQ(cli("write", {"i=1", "1", "i=2"}).exitCode, 2);
    EXPECT_EQ(cli("read", {"i=1", "--index", "x"}).exitCode, 2);
    EXPECT_EQ(cli("read", {"--from", file("node\ni=1\n")}).exitCode, 3) << "a right one is sent";
}

TEST_F(ManyNodes, LongTextsAreWholeAmongOthers) {
    const std::string text(5000, 'x');
    EXPECT_EQ(cli("write", {rack + "Scalar.String", text, rack + "Scalar.Int32", "1"}).exitCode, 0);
    const json nodes = cliJson("read", {rack + "Scalar.Int32", rack + "Scalar.String", "i=2261"})["nodes"];
    EXPECT_EQ(nodes[1]["value"], text);
    EXPECT_TRUE(nodes[2]["value"].is_string());
}
