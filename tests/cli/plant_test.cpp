#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <limits>
#include <map>
#include <string>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "plant_fixture.h"
#include "support/child_process.h"
#include "support/raw_client.h"
#include "support/temporary_directory.h"

using namespace cli_test;
using nlohmann::json;
using test_support::ChildProcess;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

std::string scalar(const std::string& type) {
    return rack + "Scalar." + type;
}

/// Answers late, so that a long job can be met half-way.
class LatePlant : public Plant {
protected:
    LatePlant() : Plant({"--delay", "20"}) {}

    void awaitSecondSession() const {
        while (sessions() < 2) {
        }
    }
};

std::map<std::string, json> byName(const json& nodes) {
    std::map<std::string, json> result;
    for (const json& node : nodes)
        result.emplace(node["displayName"], node);
    return result;
}

std::vector<std::string> column(const json& nodes, const std::string& key) {
    std::vector<std::string> result;
    for (const json& node : nodes)
        result.push_back(node[key]);
    return result;
}

} // namespace

TEST_F(Plant, DiscoverShowsEndpoints) {
    const CliResult table = cli("discover");
    EXPECT_EQ(table.exitCode, 0) << table.error;
    EXPECT_THAT(table.output, AllOf(HasSubstr("Endpoint"), HasSubstr(m_server.url()), HasSubstr("None")));

    const json document = cliJson("discover");
    EXPECT_EQ(document["url"], m_server.url());
    ASSERT_EQ(document["servers"].size(), 1u);
    const json& server = document["servers"][0];
    EXPECT_EQ(server["applicationUri"], "urn:kestrova:plant-server");
    ASSERT_FALSE(server["discoveryUrls"].empty());
    const json& url = server["discoveryUrls"][0];
    EXPECT_EQ(url["answered"], true);
    ASSERT_FALSE(url["endpoints"].empty());
    EXPECT_EQ(url["endpoints"][0]["url"], url["url"]);
    EXPECT_EQ(url["endpoints"][0]["securityPolicy"], "None");
    EXPECT_EQ(url["endpoints"][0]["securityMode"], "None");
}

TEST_F(Plant, BrowseDrawsATree) {
    const CliResult result = cli("browse", {"/Plant", "--depth", "2", "--values"});
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_EQ(result.error, "");
    EXPECT_THAT(result.output, StartsWith("Name "));
    EXPECT_THAT(result.output,
                AllOf(HasSubstr("├─ Line 1 "), HasSubstr("│  ├─ "), HasSubstr("│  └─ "), HasSubstr("└─ "),
                      HasSubstr("ns=2;s=Line1.Speed "), HasSubstr("String[5]"), HasSubstr("\"B-2041\""),
                      HasSubstr(" nodes below\n")));
    EXPECT_THAT(result.output, Not(HasSubstr("\x1b")));
}

TEST_F(Plant, BrowseStartsAtTheObjectsFolder) {
    const json document = cliJson("browse");
    EXPECT_EQ(document["start"], "i=85");
    EXPECT_EQ(document["complete"], true);
    EXPECT_THAT(column(document["nodes"], "browseName"), AllOf(Contains("0:Server"), Contains("2:Plant")));
    for (const json& node : document["nodes"]) {
        EXPECT_EQ(node["parentId"], "i=85");
        EXPECT_EQ(node["depth"], 1);
    }
}

TEST_F(Plant, BrowseTellsShapesAndTypes) {
    const auto nodes = byName(cliJson("browse", {"/TestRack", "--depth", "2"})["nodes"]);
    const json& matrices = nodes.at("Matrices of 2 dimensions");
    EXPECT_EQ(matrices["class"], "Object");
    EXPECT_TRUE(matrices["type"].is_null());
    const json matrix = byName(cliJson("browse", {matrices["nodeId"]})["nodes"]).at("Double");
    EXPECT_EQ(matrix["type"], "Double");
    EXPECT_EQ(matrix["shape"], json({3, 4}));
    EXPECT_EQ(byName(cliJson("browse", {"/TestRack/Special"})["nodes"]).at("DateTime")["type"], "other");
}

TEST_F(Plant, BrowsePathsLeadBack) {
    const json names = cliJson("browse", {"/TestRack/Names"});
    for (const json& node : names["nodes"]) {
        const bool cut = node["browseName"].get<std::string>().size() >= 256;
        if (cut || node["nodeId"].get<std::string>().size() >= 256)
            continue;
        const std::string path = node["path"];
        EXPECT_EQ(cliJson("read", {path})["nodes"][0]["nodeId"], node["nodeId"]) << path;
    }
}

TEST_F(Plant, BrowseEndsInACircle) {
    const json nodes = cliJson("browse", {"/TestRack/Loop", "--depth", "100"})["nodes"];
    EXPECT_THAT(column(nodes, "nodeId"), ElementsAre(rack + "Loop.First", rack + "Loop.First.Second",
                                                     rack + "Loop.First", rack + "Loop.Childless"));
    EXPECT_EQ(nodes[0]["repeated"], false);
    EXPECT_EQ(nodes[2]["repeated"], true);
    EXPECT_EQ(nodes[2]["parentId"], rack + "Loop.First.Second");
    EXPECT_THAT(cli("browse", {"/TestRack/Loop", "--depth", "100"}).output, HasSubstr("see above"));
}

TEST_F(Plant, BrowseReachesTheBottom) {
    const json nodes = cliJson("browse", {"/TestRack/Deep", "--depth", "31", "--values"})["nodes"];
    ASSERT_EQ(nodes.size(), 31u);
    EXPECT_EQ(nodes[30]["depth"], 31);
    EXPECT_EQ(nodes[30]["type"], "String");
    // Its id has more than the 256 bytes of a record: what is left of it names no node.
    EXPECT_EQ(nodes[30]["readable"], false);
    EXPECT_TRUE(nodes[30]["value"].is_null());
}

TEST_F(Plant, BrowseShowsManyNodesInTheServersOrder) {
    const json nodes = cliJson("browse", {rack + "Many"})["nodes"];
    ASSERT_EQ(nodes.size(), 1200u);
    EXPECT_EQ(nodes[0]["displayName"], "Variable0001");
    EXPECT_EQ(nodes[1199]["displayName"], "Variable1200");
    EXPECT_TRUE(nodes[0]["path"].is_null()) << "where an id lies in the tree is not known";
}

TEST_F(Plant, BrowseStopsAtItsBound) {
    const CliResult result = cli("browse", {rack + "Many", "--max-nodes", "10", "--json"});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.json()["nodes"].size(), 10u);
    EXPECT_EQ(result.json()["complete"], false);
    EXPECT_THAT(result.error, HasSubstr("stopped after 10 nodes"));
}

TEST_F(Plant, BrowseOfAnUnknownNodeFails) {
    const CliResult id = cli("browse", {"ns=2;s=Nowhere", "--json"});
    EXPECT_EQ(id.exitCode, 1);
    EXPECT_EQ(id.json()["error"]["code"], 4);
    EXPECT_THAT(id.error, AllOf(HasSubstr("ns=2;s=Nowhere"), HasSubstr("浏览服务器出错")));

    const CliResult path = cli("browse", {"/Plant/Line9"});
    EXPECT_EQ(path.exitCode, 1);
    EXPECT_EQ(path.output, "");
    EXPECT_THAT(path.error, AllOf(HasSubstr("no \"Line9\" below Plant"), HasSubstr("2:Line1")));
}

TEST_F(Plant, BrowseShowsUnreadableValuesAsSuch) {
    const auto nodes = byName(cliJson("browse", {"/TestRack/Access", "--values"})["nodes"]);
    EXPECT_EQ(nodes.at("ReadOnly")["value"], 42);
    EXPECT_EQ(nodes.at("ReadOnly")["readable"], true);
    EXPECT_EQ(nodes.at("WriteOnly")["readable"], false);
    EXPECT_TRUE(nodes.at("WriteOnly")["value"].is_null());
    EXPECT_THAT(cli("browse", {"/TestRack/Access", "--values"}).output, HasSubstr("not readable"));
}

TEST_F(Plant, ReadsEveryTypeByIdAndByPath) {
    const std::vector<std::pair<std::string, json>> cases{{"Boolean", true},
                                                          {"SByte", -12},
                                                          {"Byte", 200},
                                                          {"Int16", -1234},
                                                          {"UInt16", 54321},
                                                          {"Int32", -123456789},
                                                          {"UInt32", 4000000000},
                                                          {"Int64", -9000000000000000000},
                                                          {"UInt64", 18000000000000000000u},
                                                          {"Float", 3.25},
                                                          {"Double", -2.718281828459045},
                                                          {"String", "Hello"}};
    Arguments nodes;
    for (const auto& [type, expected] : cases) {
        nodes.push_back(scalar(type));
        nodes.push_back("/TestRack/Scalar/" + type);
    }
    const json readings = cliJson("read", nodes)["nodes"];
    ASSERT_EQ(readings.size(), nodes.size());
    for (std::size_t i = 0; i < readings.size(); ++i) {
        const auto& [type, expected] = cases[i / 2];
        EXPECT_EQ(readings[i]["node"], nodes[i]);
        EXPECT_EQ(readings[i]["nodeId"], scalar(type));
        EXPECT_EQ(readings[i]["type"], type);
        EXPECT_EQ(readings[i]["shape"], json::array());
        EXPECT_EQ(readings[i]["value"], expected);
        EXPECT_EQ(readings[i]["ok"], true);
        EXPECT_TRUE(readings[i]["error"].is_null());
    }
}

TEST_F(Plant, ReadShowsATable) {
    const CliResult result = cli("read", {"ns=2;s=Line1.Batch", "i=2261"});
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_THAT(result.output, AllOf(HasSubstr("Node                Name         Type    Value\n"),
                                     HasSubstr("ns=2;s=Line1.Batch  Batch        String  \"B-2041\"\n"),
                                     HasSubstr("i=2261              ProductName  String  \"")));
}

TEST_F(Plant, ReadShowsNumbersThatJsonHasNot) {
    EXPECT_EQ(value(rack + "Limits.DoubleNaN"), "NaN");
    EXPECT_EQ(value(rack + "Limits.FloatInfinity"), "Infinity");
    EXPECT_EQ(value(rack + "Limits.UInt64Max"), 18446744073709551615u);
    EXPECT_EQ(value(rack + "Limits.Int64Min"), std::numeric_limits<std::int64_t>::min());
}

TEST_F(Plant, ReadsWholeTexts) {
    EXPECT_EQ(value(rack + "Text.Empty"), "");
    EXPECT_EQ(value(rack + "Text.NonAscii"), "Füllstand 锅炉 °C €");
    EXPECT_EQ(value(rack + "Text.Bytes256").get<std::string>().size(), 256u);
    std::string expected;
    for (int i = 0; i < 100; ++i)
        expected += "锅";
    EXPECT_EQ(value(rack + "Text.Chinese300"), expected);
}

TEST_F(Plant, ReadsTextsThatFillTheFirstBuffer) {
    for (const std::size_t size : {1022u, 1023u, 1024u, 1025u, 20000u}) {
        const std::string text = std::string(size - 1, 'x') + "!";
        EXPECT_EQ(cli("write", {rack + "Scalar.String", text}).exitCode, 0);
        EXPECT_EQ(value(rack + "Scalar.String"), text) << size;
    }
}

TEST_F(Plant, ReadsTextsWithAZeroByteInTheLastPlaceOfTheFirstBuffer) {
    std::string text(1100, 'x');
    text[1023] = '\0';
    test_support::RawClient(m_server.url()).writeText(scalar("String"), text);
    const auto nodes = byName(cliJson("browse", {"/TestRack/Scalar", "--values"})["nodes"]);
    EXPECT_EQ(nodes.at("String")["value"], text);
}

TEST_F(Plant, ReadsNodesWithStrangeNames) {
    for (const char* name : {"Füllstand", "Kesseldruck ÄÖÜß", "锅炉压力", "with = ; \" quotes and blanks"}) {
        EXPECT_TRUE(value(rack + "Names." + name).is_number()) << name;
        EXPECT_TRUE(value(std::string("/TestRack/Names/") + name).is_number()) << name;
    }
    for (const char* id : {"ns=1;i=70001", "ns=2;g=72962B91-FA75-4AE6-8D28-B404DC7DAF63", "ns=3;b=AAEC/v8="})
        EXPECT_TRUE(value(id).is_string()) << id;
}

TEST_F(Plant, ReadGoesOnAfterANodeThatFails) {
    const CliResult result = cli("read", {"ns=2;s=Nowhere", "/Plant/Nowhere", "/Plant", rack + "Status.Bad",
                                          "ns=2;s=Line1.Batch", "--json"});
    EXPECT_EQ(result.exitCode, 1);
    const json nodes = result.json()["nodes"];
    ASSERT_EQ(nodes.size(), 5u);
    EXPECT_EQ(nodes[0]["error"]["code"], 7);
    EXPECT_EQ(nodes[0]["error"]["message"], "读节点值出错");
    EXPECT_TRUE(nodes[0]["value"].is_null());
    EXPECT_THAT(nodes[1]["error"]["explanation"].get<std::string>(), HasSubstr("no \"Nowhere\" below Plant"));
    EXPECT_THAT(nodes[2]["error"]["explanation"].get<std::string>(), HasSubstr("class Object"));
    EXPECT_EQ(nodes[3]["error"]["code"], 7);
    EXPECT_EQ(nodes[4]["value"], "B-2041");
    EXPECT_THAT(result.error, AllOf(HasSubstr("ns=2;s=Nowhere: "), HasSubstr("try: ")));
}

TEST_F(Plant, ReadFallsBackToTextWhenTheTypeIsOutOfReach) {
    const CliResult result = cli("read", {rack + "Scalar.Double", "--max-nodes", "1", "--json"});
    EXPECT_EQ(result.exitCode, 0);
    const json reading = result.json()["nodes"][0];
    EXPECT_TRUE(reading["type"].is_null());
    EXPECT_EQ(reading["value"], "-2.718281828459045");
    EXPECT_THAT(result.error, HasSubstr("type was not found"));
}

TEST_F(Plant, ReadTakesTheStatedType) {
    const json reading = cliJson("read", {rack + "Scalar.Float", "--type", "double"})["nodes"][0];
    EXPECT_EQ(reading["type"], "Double");
    EXPECT_EQ(reading["value"], 3.25);
}

TEST_F(Plant, WritesEveryType) {
    const std::vector<std::tuple<std::string, std::string, json>> cases{
        {"Boolean", "off", false},
        {"SByte", "-128", -128},
        {"Byte", "0xFF", 255},
        {"Int16", "-32768", -32768},
        {"UInt16", "65535", 65535},
        {"Int32", "2147483647", 2147483647},
        {"UInt32", "4294967295", 4294967295},
        {"Int64", "-9223372036854775808", std::numeric_limits<std::int64_t>::min()},
        {"UInt64", "18446744073709551615", 18446744073709551615u},
        {"Float", "-0.1", -0.1},
        {"Double", "1e-300", 1e-300},
        {"String", "温度 °C", "温度 °C"}};
    for (const auto& [type, text, expected] : cases) {
        const json written = cliJson("write", {scalar(type), text});
        EXPECT_EQ(written["ok"], true);
        EXPECT_EQ(written["nodeId"], scalar(type));
        EXPECT_EQ(written["type"], type);
        EXPECT_EQ(written["value"], expected);
        EXPECT_EQ(value(scalar(type)), expected);
    }
}

TEST_F(Plant, WriteShowsWhatItWrote) {
    const CliResult result = cli("write", {"/Plant/Line1/SpeedSetpoint", "1.25"});
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_THAT(result.output, AllOf(HasSubstr("Double"), HasSubstr("1.25"), HasSubstr("written")));
    EXPECT_EQ(value("ns=2;s=Line1.SpeedSetpoint"), 1.25);
}

TEST_F(Plant, WriteTakesTextsThatLookLikeSomethingElse) {
    const std::string node = rack + "Scalar.String";
    EXPECT_EQ(cli("write", {node, "read"}).exitCode, 0);
    EXPECT_EQ(value(node), "read");
    EXPECT_EQ(cli("write", {node, ""}).exitCode, 0);
    EXPECT_EQ(value(node), "");
    EXPECT_EQ(cli("write", {node, "--", "--json"}).exitCode, 0);
    EXPECT_EQ(value(node), "--json");
    EXPECT_EQ(cli("write", {node, "-7"}).exitCode, 0);
    EXPECT_EQ(value(node), "-7");
    EXPECT_EQ(cli("write", {rack + "Scalar.Double", "--", "-.5"}).exitCode, 0);
    EXPECT_EQ(value(rack + "Scalar.Double"), -0.5);
}

TEST_F(Plant, WriteTakesStandardInput) {
    const Arguments arguments = call("write", {rack + "Scalar.String", "-"});
    EXPECT_EQ(runInShell(R"(printf 'two\nlines\n' | "$0" "$@")", arguments).exitCode, 0);
    EXPECT_EQ(value(rack + "Scalar.String"), "two\nlines");
    EXPECT_EQ(runInShell(R"(printf '' | "$0" "$@")", arguments).exitCode, 0);
    EXPECT_EQ(value(rack + "Scalar.String"), "");

    const CliResult broken = runInShell(R"(printf 'F\374ll' | "$0" "$@")", arguments);
    EXPECT_EQ(broken.exitCode, 2);
    EXPECT_THAT(broken.error, HasSubstr("not UTF-8"));
    EXPECT_EQ(runInShell(R"(printf 'a\0b' | "$0" "$@")", arguments).exitCode, 2);
    EXPECT_EQ(runInShell(R"("$0" "$@" <&-)", arguments).exitCode, 2);
    EXPECT_EQ(value(rack + "Scalar.String"), "");
}

TEST_F(Plant, WriteRefusesWhatDoesNotFitBeforeSending) {
    const CliResult result = cli("write", {rack + "Scalar.Byte", "256", "--json"});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.json()["error"]["explanation"].get<std::string>(), HasSubstr("out of range"));
    EXPECT_EQ(value(rack + "Scalar.Byte"), 200);
}

TEST_F(Plant, WriteSaysWhyTheServerRefused) {
    const CliResult result = cli("write", {rack + "Access.ReadOnly", "1", "--json"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.json()["error"]["code"], 8);
    EXPECT_THAT(result.error, AllOf(HasSubstr("写节点值出错"), HasSubstr("may write it")));
    EXPECT_EQ(cli("write", {"ns=2;s=Nowhere", "1", "--type", "Int32"}).exitCode, 1);
    EXPECT_EQ(cli("write", {rack + "Scalar.Int32", "1", "--type", "Double"}).exitCode, 1);
}

TEST_F(Plant, WriteNeedsTheTypeOfWhatCannotBeRead) {
    const CliResult result = cli("write", {rack + "Access.WriteOnly", "7"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.error, HasSubstr("--type"));
    EXPECT_EQ(cli("write", {rack + "Access.WriteOnly", "7", "--type", "Int32"}).exitCode, 0);
}

TEST_F(Plant, WriteLeavesOtherTypesAlone) {
    const CliResult time = cli("write", {"/TestRack/Special/DateTime", "1"});
    EXPECT_EQ(time.exitCode, 1);
    EXPECT_THAT(time.error, HasSubstr("cannot be written"));
}

TEST_F(Plant, InfoTellsWhoTheServerIs) {
    const json info = cliJson("info");
    EXPECT_EQ(info["url"], m_server.url());
    EXPECT_EQ(info["connected"], true);
    EXPECT_EQ(info["securityPolicy"], "None");
    EXPECT_TRUE(info["server"]["productName"].is_string());
    EXPECT_EQ(info["server"]["state"], 0);
    EXPECT_EQ(info["server"]["namespaceCount"], 4);
    const std::string directory = program().substr(0, program().rfind('/'));
    EXPECT_EQ(info["files"]["trace"], directory + "/OpcUaClient.log");
    EXPECT_EQ(info["files"]["configuration"], directory + "/OpcUaClientConfig.ini");
    EXPECT_THAT(cli("info").output, AllOf(HasSubstr("Running"), HasSubstr("OpcUaClient.log")));
}

TEST_F(Plant, CommandsLeaveNoSessionBehind) {
    for (const Arguments& arguments : {Arguments{"/Plant", "--depth", "2"}, Arguments{"i=1234567"}})
        cli("browse", arguments);
    cli("read", {"ns=2;s=Nowhere", "i=2261"});
    cli("write", {rack + "Access.ReadOnly", "1"});
    cli("info");
    EXPECT_EQ(sessions(), 1u);
}

TEST_F(Plant, AReaderThatLeavesIsNoError) {
    // More than a pipe holds: the program is still writing when head is gone.
    const CliResult result = runInShell(R"({ "$0" "$@"; echo "exit $?" >&2; } | head -c 1)",
                                        call("browse", {rack + "Many", "--json"}));
    EXPECT_EQ(result.output, "{");
    EXPECT_EQ(result.error, "exit 141\n");
    EXPECT_EQ(sessions(), 1u);
}

TEST_F(Plant, OutputThatCannotBeWrittenIsExitCode4) {
    for (const char* target : {">/dev/full", ">&-"}) {
        const CliResult result = runInShell(std::string(R"("$0" "$@" )") + target, call("read", {"i=2261"}));
        EXPECT_EQ(result.exitCode, 4) << target;
        EXPECT_THAT(result.error, HasSubstr("cannot write the result")) << target;
    }
}

TEST_F(Plant, AllStreamsMayBeClosed) {
    EXPECT_EQ(runInShell(R"("$0" "$@" <&- >&- 2>&-)", call("read", {"i=2261"})).exitCode, 4);
}

TEST_F(Plant, ColoursAreForTerminals) {
    PseudoTerminal terminal(200);
    const Arguments arguments = call("read", {"i=2261"});
    const auto onTerminal = [&](const std::string& environment, const Arguments& rest) {
        const CliResult result = runInShell(environment + R"( "$0" "$@" >)" + terminal.path(), rest);
        EXPECT_EQ(result.exitCode, 0);
        return terminal.text();
    };
    EXPECT_THAT(onTerminal("TERM=xterm NO_COLOR=", arguments),
                AllOf(HasSubstr("\x1b[1mNode"), HasSubstr("i=2261")));
    EXPECT_THAT(onTerminal("TERM=xterm NO_COLOR=1", arguments),
                AllOf(Not(HasSubstr("\x1b")), HasSubstr("i=2261")));
    EXPECT_THAT(onTerminal("TERM=dumb NO_COLOR=", arguments),
                AllOf(Not(HasSubstr("\x1b")), HasSubstr("i=2261")));
    EXPECT_THAT(onTerminal("TERM=xterm NO_COLOR=", call("read", {"i=2261", "--json"})),
                AllOf(Not(HasSubstr("\x1b")), HasSubstr("i=2261")));
    EXPECT_THAT(run(arguments).output, Not(HasSubstr("\x1b")));
}

TEST_F(Plant, TablesFitTheTerminal) {
    PseudoTerminal terminal(70);
    runInShell(R"(TERM=dumb "$0" "$@" >)" + terminal.path(), call("read", {rack + "Text.Bytes300"}));
    const std::string text = terminal.text();
    EXPECT_THAT(text, AllOf(HasSubstr(rack + "Text.Bytes300"), HasSubstr("…\r\n")));
    EXPECT_LE(text.find("\r\n", text.find(rack)) - text.find(rack), 72u); // the ellipsis has three bytes
}

TEST_F(Plant, NarrowTerminalsAreReadable) {
    const auto onFortyColumns = [&](const std::string& command, const Arguments& rest) {
        PseudoTerminal terminal(40);
        const CliResult result =
            runInShell(R"(TERM=dumb "$0" "$@" >)" + terminal.path(), call(command, rest));
        EXPECT_EQ(result.exitCode, 0) << result.error;
        return terminal.text();
    };
    EXPECT_THAT(
        onFortyColumns("browse", {"/Plant/Line1", "--values"}),
        AllOf(HasSubstr("├─ SpeedSetpoint\r\n    ns=2;s=Line1.SpeedSetpoint  Variable\r\n    Double  "),
              HasSubstr(" nodes below")));
    EXPECT_THAT(onFortyColumns("discover", {}), HasSubstr(m_server.url() + "\r\n    None  None\r\n"));
    EXPECT_THAT(onFortyColumns("read", {"/Plant/Line1/SpeedSetpoint"}),
                HasSubstr("/Plant/Line1/SpeedSetpoint\r\n    Speed"));
}

TEST_F(Plant, DrawsInAsciiWhereTheLocaleHasNothingElse) {
    PseudoTerminal terminal(100);
    const Arguments arguments = call("browse", {"/Plant/Line1", "--values"});
    const auto drawnIn = [&](const std::string& locale) {
        runInShell("env -u LC_ALL -u LC_CTYPE -u LANG " + locale + R"( TERM=dumb "$0" "$@" >)" +
                       terminal.path(),
                   arguments);
        return terminal.text();
    };
    for (const char* locale :
         {"", "LANG=C", "LC_ALL=de_DE LANG=de_DE.UTF-8", "LC_CTYPE=POSIX LANG=C.UTF-8"}) {
        const std::string drawn = drawnIn(locale);
        EXPECT_THAT(drawn, AllOf(HasSubstr("|- "), HasSubstr("`- ")));
        EXPECT_TRUE(std::all_of(drawn.begin(), drawn.end(), [](char c) { return c > 0; })) << drawn;
    }
    for (const char* locale : {"LANG=C.UTF-8", "LC_ALL=en_US.utf8 LANG=C", "LC_CTYPE=de_DE.UTF-8"})
        EXPECT_THAT(drawnIn(locale), AllOf(HasSubstr("├─ "), HasSubstr("└─ ")));
}

TEST_F(LatePlant, ALongBrowseShowsProgressOnATerminal) {
    PseudoTerminal terminal(80);
    const Arguments arguments = call("browse", {"/TestRack/Deep", "--depth", "12", "--json"});
    const CliResult result = runInShell(R"("$0" "$@" 2>)" + terminal.path(), arguments);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_EQ(result.json()["nodes"].size(), 12u);
    const std::string shown = terminal.text();
    EXPECT_THAT(shown, HasSubstr("browsing: "));
    EXPECT_THAT(shown, testing::EndsWith("\r\x1b[K")) << "nothing of it stays";
    EXPECT_EQ(run(arguments).error, "");
}

TEST_F(LatePlant, CtrlCEndsALongBrowseAndItsSession) {
    ChildProcess browse(program(), call("browse", {"/TestRack", "--depth", "9", "--json"}));
    awaitSecondSession();
    browse.signal(SIGINT);
    const auto end = browse.wait(std::chrono::seconds(60));
    ASSERT_TRUE(end);
    EXPECT_EQ(end->exitCode, 130) << browse.standardError();
    EXPECT_TRUE(json::parse(browse.standardOutput()).contains("error"));
    EXPECT_EQ(sessions(), 1u);
}

TEST_F(Plant, CtrlCEndsAnOutputThatNobodyReads) {
    const test_support::TemporaryDirectory directory;
    const std::string path = (directory.path() / "pipe").string();
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const test_support::Descriptor pipe(open(path.c_str(), O_RDWR | O_CLOEXEC));
    const int room = fcntl(pipe.get(), F_GETPIPE_SZ);
    Arguments arguments{"-c", "exec \"$0\" \"$@\" >" + path, program()};
    for (const std::string& word : call("browse", {"/TestRack", "--depth", "3", "--json"}))
        arguments.push_back(word);
    ChildProcess browse("sh", arguments);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    for (int waiting = 0; waiting < room;) {
        ASSERT_LT(std::chrono::steady_clock::now(), deadline) << waiting << " of " << room;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        ASSERT_EQ(ioctl(pipe.get(), FIONREAD, &waiting), 0);
    }
    browse.signal(SIGINT);
    const auto end = browse.wait(std::chrono::seconds(60));
    ASSERT_TRUE(end);
    EXPECT_EQ(end->exitCode, 130);
    EXPECT_THAT(browse.standardError(), AllOf(HasSubstr("interrupted"), Not(HasSubstr("has not answered"))));
    EXPECT_EQ(sessions(), 1u);
}

TEST_F(LatePlant, ALostServerEndsALongBrowse) {
    ChildProcess browse(program(), call("browse", {"/TestRack", "--depth", "9", "--json"}));
    awaitSecondSession();
    m_server.kill(SIGKILL);
    const auto end = browse.wait(std::chrono::seconds(60));
    ASSERT_TRUE(end);
    EXPECT_EQ(end->exitCode, 3) << browse.standardError();
    EXPECT_TRUE(json::parse(browse.standardOutput()).contains("error"));
}
