#include <chrono>
#include <csignal>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "plant_fixture.h"
#include "support/child_process.h"
#include "support/temporary_directory.h"

using namespace cli_test;
using nlohmann::json;
using test_support::ChildProcess;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::UnorderedElementsAre;

namespace {

constexpr std::chrono::seconds limit{60};

class Find : public Plant {
protected:
    using Plant::Plant;

    std::vector<std::string> found(const std::string& name, Arguments rest = {}) const {
        rest.insert(rest.begin(), name);
        std::vector<std::string> ids;
        const json document = cliJson("find", rest);
        for (const json& node : document["nodes"])
            ids.push_back(node["nodeId"]);
        return ids;
    }
};

/// Answers late, so that a long search can be met half-way.
class FindLate : public Find {
protected:
    FindLate() : Find({"--delay", "20"}) {}
};

} // namespace

TEST_F(Find, LooksAtDisplayAndBrowseNames) {
    EXPECT_THAT(found("matrices of 2 *"), ElementsAre(rack + "Matrix2"));
    EXPECT_THAT(found("Matrix2"), ElementsAre(rack + "Matrix2"));
    EXPECT_THAT(found("Tank?"), ElementsAre("ns=2;s=Tanks", "ns=2;s=Tanks.Tank1", "ns=2;s=Tanks.Tank2",
                                            "ns=2;s=Tanks.Tank3", "ns=2;s=Tanks.Tank4"));
    EXPECT_THAT(found("*fan*eed"), ElementsAre("ns=2;s=Boiler.Burner.FanSpeed"));
    EXPECT_THAT(found("FÜLLSTAND"), ElementsAre(rack + "Names.Füllstand"));
    EXPECT_THAT(found("*fanspeed", {"--from", "/Plant/Boiler"}),
                ElementsAre("ns=2;s=Boiler.Burner.FanSpeed"));
}

TEST_F(Find, TellsUpperFromLowerCaseWhenAskedTo) {
    EXPECT_THAT(found("FanSpeed", {"--case"}), ElementsAre("ns=2;s=Boiler.Burner.FanSpeed"));
    EXPECT_EQ(cli("find", {"fanSpeed", "--case"}).exitCode, 1);
}

TEST_F(Find, TellsPathIdAndType) {
    const CliResult text = cli("find", {"*fan*", "--from", "/Plant"});
    EXPECT_EQ(text.exitCode, 0) << text.error;
    EXPECT_EQ(text.error, "");
    EXPECT_EQ(text.output,
              "/Objects/2:Plant/2:Boiler/2:Burner/2:FanSpeed\tns=2;s=Boiler.Burner.FanSpeed\tUInt16\n");
    EXPECT_THAT(cli("find", {"Matrix2"}).output, EndsWith("\tObject\n"));
    EXPECT_THAT(cli("find", {"Recipe"}).output, HasSubstr("\tString[5]\n"));

    const json document = cliJson("find", {"Matrix2"});
    EXPECT_EQ(document["url"], m_server.url());
    EXPECT_EQ(document["name"], "Matrix2");
    EXPECT_EQ(document["from"], "i=85");
    EXPECT_EQ(document["complete"], true);
    EXPECT_GT(document["searched"], 1200);
    const json& node = document["nodes"][0];
    EXPECT_EQ(node["path"], "/Objects/3:TestRack/3:Matrix2");
    EXPECT_EQ(node["displayName"], "Matrices of 2 dimensions");
    EXPECT_EQ(node["class"], "Object");
    EXPECT_TRUE(node["type"].is_null());
}

TEST_F(Find, FromAnIdThePathBeginsThere) {
    EXPECT_EQ(cli("find", {"level", "--from", "ns=2;s=Boiler"}).output,
              "./2:Drum/2:Level\tns=2;s=Boiler.Drum.Level\tDouble\n");
    EXPECT_TRUE(cliJson("find", {"level", "--from", "ns=2;s=Boiler"})["nodes"][0]["path"].is_null());
}

TEST_F(Find, VisitsLoopsOnce) {
    EXPECT_THAT(
        found("*", {"--from", "/TestRack/Loop"}),
        UnorderedElementsAre(rack + "Loop.First", rack + "Loop.First.Second", rack + "Loop.Childless"));
}

TEST_F(Find, CsvNamesNodesThatCanBeRead) {
    const test_support::TemporaryDirectory directory;
    const std::string path = (directory.path() / "nodes.csv").string();
    const CliResult csv = cli("find", {"*level*", "--from", "/Plant", "--csv"});
    EXPECT_EQ(csv.exitCode, 0);
    EXPECT_THAT(
        csv.output,
        AllOf(HasSubstr("node,path,displayName,class,type\n"),
              HasSubstr("ns=2;s=Boiler.Drum.Level,/Objects/2:Plant/2:Boiler/2:Drum/2:Level,Level,Variable,"
                        "Double\n")));
    const CliResult arrays = cli("find", {"Int32", "--from", "/TestRack/Array", "--csv"});
    std::ofstream(path) << csv.output << arrays.output.substr(arrays.output.find('\n') + 1);
    const json nodes = cliJson("read", {"--from", path})["nodes"];
    ASSERT_EQ(nodes.size(), 6u);
    EXPECT_EQ(nodes[5]["value"].size(), 10u) << "an array's type alone would not do";
}

TEST_F(Find, StopsAtItsBounds) {
    const CliResult few = cli("find", {"Variable*", "--limit", "3", "--json"});
    EXPECT_EQ(few.exitCode, 0);
    EXPECT_EQ(few.json()["nodes"].size(), 3u);
    EXPECT_EQ(few.json()["complete"], false);
    EXPECT_THAT(few.error, HasSubstr("stopped after 3 finds"));
    const CliResult near = cli("find", {"Bottom", "--max-nodes", "50"});
    EXPECT_EQ(near.exitCode, 1);
    EXPECT_THAT(near.error,
                AllOf(HasSubstr("stopped after 50 nodes"), HasSubstr("nothing is called Bottom")));
}

TEST_F(Find, NothingIsExitCode1) {
    const CliResult result = cli("find", {"anSpeed"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.error, AllOf(HasSubstr("nothing is called anSpeed"), HasSubstr("'*anSpeed*'")));
    EXPECT_EQ(cli("find", {"*", "--from", "/Plant/Nowhere"}).exitCode, 1);
    EXPECT_EQ(cli("find", {"*", "--from", "Plant"}).exitCode, 2);
    const CliResult document = cli("find", {"anSpeed", "--json"});
    EXPECT_EQ(document.exitCode, 1);
    EXPECT_EQ(document.json()["nodes"], json::array());
}

TEST_F(FindLate, ShowsOnATerminalWhereItIs) {
    PseudoTerminal terminal(200);
    const Arguments arguments = call("find", {"Level?", "--from", "/TestRack/Deep"});
    const CliResult result = runInShell(R"("$0" "$@" 2>)" + terminal.path(), arguments);
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.output, HasSubstr("\t" + rack + "Deep.Level1.Level2\tObject\n"));
    const std::string shown = terminal.text();
    EXPECT_THAT(shown,
                AllOf(HasSubstr(" nodes, "), HasSubstr(" found, at Objects/3:TestRack/3:Deep/3:Level1"),
                      EndsWith("\r\x1b[K")));
    EXPECT_EQ(run(arguments).error, "");
}

TEST_F(FindLate, OnOneTerminalFindsAndProgressKeepApart) {
    PseudoTerminal terminal(200);
    const CliResult result = runInShell(R"(TERM=xterm "$0" "$@" >)" + terminal.path() + " 2>&1",
                                        call("find", {"*", "--from", "/TestRack/Deep"}));
    EXPECT_EQ(result.exitCode, 0);
    const std::string shown = terminal.text();
    EXPECT_THAT(shown,
                AllOf(HasSubstr(" found, at Objects/3:TestRack/3:Deep/3:Level1"),
                      HasSubstr("\r\x1b[K/Objects/3:TestRack/3:Deep/3:Level1/"), EndsWith("  String\r\n")));
}

TEST_F(FindLate, ShowsWhatItFindsAtOnceAndEndsWithCtrlC) {
    ChildProcess find(program(), call("find", {"*"}));
    EXPECT_THAT(find.waitForLine(limit), HasSubstr("\t"));
    find.signal(SIGINT);
    const auto end = find.wait(limit);
    ASSERT_TRUE(end);
    EXPECT_EQ(end->exitCode, 130) << find.standardError();
    EXPECT_THAT(find.standardError(), HasSubstr("interrupted"));
    EXPECT_THAT(find.standardOutput(), Not(HasSubstr("Bottom")));
    EXPECT_EQ(sessions(), 1u);
}

TEST_F(FindLate, ADocumentHoldsWhatWasFoundWhenItEnds) {
    PseudoTerminal terminal(200);
    ChildProcess find("sh", [&] {
        Arguments all{"-c", R"(exec "$0" "$@" 2>)" + terminal.path(), program()};
        for (const std::string& argument : call("find", {"*", "--json"}))
            all.push_back(argument);
        return all;
    }());
    terminal.awaitText(" found, at Objects/2:Plant");
    find.signal(SIGINT);
    const auto end = find.wait(limit);
    ASSERT_TRUE(end);
    EXPECT_EQ(end->exitCode, 130);
    const json document = json::parse(find.standardOutput());
    EXPECT_FALSE(document["nodes"].empty());
    EXPECT_EQ(document["complete"], false);
    EXPECT_EQ(document["error"]["explanation"], "interrupted");
}

TEST_F(FindLate, ALostServerIsExitCode3) {
    ChildProcess find(program(), call("find", {"*"}));
    find.waitForLine(limit);
    m_server.kill(SIGKILL);
    const auto end = find.wait(limit);
    ASSERT_TRUE(end);
    EXPECT_EQ(end->exitCode, 3) << find.standardError();
}

TEST_F(Find, AReaderThatLeavesIsNoError) {
    const CliResult result =
        runInShell(R"({ "$0" "$@"; echo "exit $?" >&2; } | head -n 1)", call("find", {"*"}));
    EXPECT_THAT(result.output, EndsWith("\n"));
    EXPECT_EQ(result.error, "exit 141\n");
    EXPECT_EQ(runInShell(R"("$0" "$@" >/dev/full)", call("find", {"*"})).exitCode, 4);
    EXPECT_EQ(sessions(), 1u);
}
