#include <fstream>
#include <ios>
#include <string>

#include <gmock/gmock.h>

#include "plant_fixture.h"
#include "support/raw_client.h"
#include "support/temporary_directory.h"
#include "support/text_file.h"

using namespace cli_test;
using nlohmann::json;
using testing::AllOf;
using testing::AnyOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

const std::string heading = "node,nodeId,displayName,type,index,value,error\n";

class CsvOutput : public Plant {
protected:
    std::string file(const std::string& text) const {
        const std::string path = (m_directory.path() / "values.csv").string();
        std::ofstream(path, std::ios::binary) << text;
        return path;
    }

    test_support::TemporaryDirectory m_directory;
};

} // namespace

TEST_F(CsvOutput, OfReadHasALineForEachNode) {
    EXPECT_EQ(cli("write", {"ns=2;s=Line1.Batch", "Käse, \"alt\"\nzwei"}).exitCode, 0);
    const CliResult result =
        cli("read", {"/Plant/Line1/Batch", "/TestRack/Scalar/Float", "/TestRack/Matrix2/Int32", "--csv"});
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_EQ(result.output,
              heading + "/Plant/Line1/Batch,ns=2;s=Line1.Batch,Batch,String,,\"Käse, \"\"alt\"\"\nzwei\",\n" +
                  "/TestRack/Scalar/Float," + rack + "Scalar.Float,Float,Float,,3.25,\n" +
                  "/TestRack/Matrix2/Int32," + rack +
                  "Matrix2.Int32,Int32,Int32[3][4],,\"[[0,1,2,3],[4,5,6,7],[8,9,10,11]]\",\n");
    EXPECT_EQ(cli("read", {"/TestRack/Matrix2/Int32", "--index", "1,2", "--csv"}).output,
              heading + "/TestRack/Matrix2/Int32," + rack + "Matrix2.Int32,Int32,Int32[3][4],[1][2],6,\n");
}

TEST_F(CsvOutput, OfReadCanBeWrittenBack) {
    const Arguments nodes{"/TestRack/Scalar/UInt64", rack + "Scalar.Float",         rack + "Matrix2.String",
                          rack + "Limits.DoubleNaN", rack + "Text.NonAscii",        rack + "Array.Boolean",
                          rack + "Text.Empty",       rack + "Limits.FloatInfinity", "--csv"};
    const CliResult before = cli("read", nodes);
    EXPECT_EQ(before.exitCode, 0) << before.error;
    EXPECT_EQ(
        cli("write", {nodes[0], "0", nodes[1], "0", nodes[3], "0", nodes[4], "x", nodes[6], "x"}).exitCode,
        0);
    EXPECT_EQ(cli("write", {nodes[2], "x", "--index", "2,3"}).exitCode, 0);
    EXPECT_EQ(cli("write", {nodes[5], "on", "--index", "0"}).exitCode, 0);
    ASSERT_NE(cli("read", nodes).output, before.output);
    const CliResult written = cli("write", {"--from", file(before.output)});
    EXPECT_EQ(written.exitCode, 0) << written.error;
    EXPECT_EQ(cli("read", nodes).output, before.output);
}

TEST_F(CsvOutput, OfANodeThatFailsIsNoValueToWrite) {
    const CliResult result = cli("read", {"ns=2;s=Line1.Batch", rack + "Access.WriteOnly", "--csv"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.output, AllOf(StartsWith(heading + "ns=2;s=Line1.Batch,"),
                                     HasSubstr("\n" + rack + "Access.WriteOnly,,,,,,")));
    const CliResult written = cli("write", {"--from", file(result.output)});
    EXPECT_EQ(written.exitCode, 2);
    EXPECT_THAT(written.error, HasSubstr("line 3: there is no value: "));
}

TEST_F(CsvOutput, OfATextThatCannotBeWrittenBackIsNoValueToWrite) {
    test_support::RawClient(m_server.url()).writeText(rack + "Scalar.String", "caf\xE9\nzwei");
    const CliResult result = cli("read", {rack + "Scalar.String", "ns=2;s=Line1.Batch", "--csv"});
    EXPECT_EQ(result.exitCode, 1);
    EXPECT_THAT(result.output, AllOf(HasSubstr("String,String,,,"), HasSubstr("it is not UTF-8"),
                                     HasSubstr("Batch,String,,B-2041,\n")));
    EXPECT_EQ(cli("write", {"--from", file(result.output)}).exitCode, 2);

    const CliResult document = cli("read", {rack + "Scalar.String", rack + "Text.EmbeddedZero", "--json"});
    EXPECT_EQ(document.exitCode, 1);
    const json nodes = document.json()["nodes"];
    EXPECT_EQ(nodes.size(), 2U);
    for (const json& node : nodes) {
        EXPECT_EQ(node["ok"], false);
        EXPECT_TRUE(node["value"].is_null());
        EXPECT_THAT(node["error"]["explanation"].get<std::string>(),
                    AnyOf(HasSubstr("it is not UTF-8"), HasSubstr("it holds a zero byte")));
    }
    EXPECT_EQ(cli("write", {"--from", file(document.output)}).exitCode, 2);
    EXPECT_EQ(cli("read", {rack + "Scalar.String"}).exitCode, 0) << "a table shows it";
}

TEST_F(CsvOutput, OfASnapshotHoldsItsValues) {
    const CliResult result = cli("snapshot", {"/TestRack/Scalar", "--csv"});
    EXPECT_EQ(result.exitCode, 0) << result.error;
    EXPECT_THAT(result.output, StartsWith(heading + rack + "Scalar.Boolean," + rack +
                                          "Scalar.Boolean,Boolean,Boolean,,true,\n"));
    const std::string path = file("");
    const CliResult stored = cli("snapshot", {"/TestRack/Scalar", "--csv", "--output", path});
    EXPECT_THAT(stored.output, HasSubstr("12 values in " + path));
    EXPECT_EQ(test_support::contentOf(path), result.output);
}

TEST_F(CsvOutput, IsMadeHarmlessForATerminalAlone) {
    EXPECT_EQ(cli("write", {rack + "Scalar.String", "\x1b[31mred"}).exitCode, 0);
    const Arguments arguments = call("read", {rack + "Scalar.String", "--csv"});
    PseudoTerminal terminal(200);
    EXPECT_EQ(runInShell(R"("$0" "$@" >)" + terminal.path(), arguments).exitCode, 0);
    EXPECT_THAT(terminal.text(), AllOf(HasSubstr(R"(\x1b[31mred)"), Not(HasSubstr("\x1b"))));
    EXPECT_THAT(run(arguments).output, HasSubstr(",\x1b[31mred,"));
}

TEST_F(CsvOutput, OfARecordingIsMadeHarmlessAsWell) {
    const test_support::TemporaryDirectory directory;
    const std::string file = (directory.path() / "week.sqlite").string();
    EXPECT_EQ(cli("write", {rack + "Scalar.String", "\x1b[31mred"}).exitCode, 0);
    EXPECT_EQ(cli("record", {file, rack + "Scalar.String", "--duration", "1"}).exitCode, 0);
    PseudoTerminal terminal(200);
    EXPECT_EQ(runInShell(R"("$0" "$@" >)" + terminal.path(), {"export", file}).exitCode, 0);
    EXPECT_THAT(terminal.text(), AllOf(HasSubstr(R"(\x1b[31mred)"), Not(HasSubstr("\x1b"))));
}

TEST_F(CsvOutput, ExcludesJson) {
    for (const char* command : {"read", "find", "snapshot", "monitor"}) {
        const CliResult result = cli(command, {"i=2261", "--csv", "--json"});
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_THAT(result.error, HasSubstr("--csv"));
    }
}

TEST_F(CsvOutput, WithSemicolonsIsUnderstood) {
    const std::string path =
        file("\xEF\xBB\xBFnode;value;remark\r\n"
             "/TestRack/Scalar/Double;-1,5e3;as a spreadsheet writes it, with a comma\r\n"
             "\"ns=3;s=TestRack.Scalar.Float\";2,5;\r\n"
             "\"ns=2;s=Line1.Batch\";\"a;b\";\r\n"
             "/TestRack/Text/NonAscii;1,5;\r\n"
             "/TestRack/Array/Float;[1,2,3,4,5,6,7,8,9,10.5];\r\n");
    const CliResult written = cli("write", {"--from", path});
    EXPECT_EQ(written.exitCode, 0) << written.error;
    EXPECT_EQ(value(rack + "Scalar.Double"), -1500);
    EXPECT_EQ(value(rack + "Scalar.Float"), 2.5);
    EXPECT_EQ(value("ns=2;s=Line1.Batch"), "a;b");
    EXPECT_EQ(value(rack + "Text.NonAscii"), "1,5") << "a text is a text";
    EXPECT_EQ(value(rack + "Array.Float")[9], 10.5);
    EXPECT_EQ(cliJson("read", {"--from", path})["nodes"].size(), 5u);
    const CliResult thousands =
        cli("write", {"--from", file("node;value\n/TestRack/Scalar/Double;1.234,5\n")});
    EXPECT_EQ(thousands.exitCode, 2);
    EXPECT_THAT(thousands.error, HasSubstr("it is no number"));
    EXPECT_EQ(cli("write", {"--from", file("node,value\n/TestRack/Scalar/Double,\"1,5\"\n")}).exitCode, 2);
}
