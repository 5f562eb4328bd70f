#include <cstddef>
#include <optional>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "output/table.h"

using namespace opcua_cli;

namespace {

Terminal pipe() {
    return {};
}

Terminal screen(std::size_t width, bool colours = false) {
    return {true, colours, true, true, width, std::nullopt};
}

} // namespace

TEST(Table, AlignsByWhatTextsTakeOnATerminal) {
    Table table({{"Name"}, {"Value"}});
    table.add({"温度", "1"});
    table.add({"Füllstand", "22"});
    EXPECT_EQ(table.render(pipe()), "Name       Value\n"
                                    "温度       1\n"
                                    "Füllstand  22\n");
}

TEST(Table, PutsNumbersToTheRight) {
    Table table({{"Count", true, true}, {"Name"}});
    table.add({"7", "a"});
    table.add({"1200", "b"});
    EXPECT_EQ(table.render(pipe()), "Count  Name\n"
                                    "    7  a\n"
                                    " 1200  b\n");
}

TEST(Table, LeavesOutEmptyColumnsAndTrailingBlanks) {
    Table table({{"A"}, {"B"}, {"C"}});
    table.add({"x", "", "1"});
    table.add({"yy"});
    EXPECT_EQ(table.render(pipe()), "A   C\n"
                                    "x   1\n"
                                    "yy\n");
}

TEST(Table, HasNoHeadingLineWithoutTitles) {
    Table table({{""}, {""}});
    table.add({"Server", "Plant"});
    EXPECT_EQ(table.render(pipe()), "Server  Plant\n");
}

TEST(Table, FitsTheTerminalButKeepsNodeIdsWhole) {
    Table table({{"Name"}, {"Node id", false}});
    table.add({"a name that is rather long", "ns=2;s=Line1.Speed"});
    EXPECT_EQ(table.render(screen(30)), "Name        Node id\n"
                                        "a name th…  ns=2;s=Line1.Speed\n");
    EXPECT_EQ(table.render(screen(10)), "Name      Node id\n"
                                        "a name …  ns=2;s=Line1.Speed\n");
}

TEST(Table, BoundsCellsWhereThereIsNoTerminal) {
    Table table({{"Text"}, {"End"}});
    table.add({std::string(1000, 'x'), "!"});
    const std::string text = table.render(pipe());
    EXPECT_EQ(text, "Text" + std::string(78, ' ') + "End\n" + std::string(79, 'x') + "…  !\n");
}

TEST(Table, ShowsNoRawControlCharacters) {
    Table table({{"Text"}});
    table.add({"a\x1b[2Jb\nc"});
    EXPECT_EQ(table.render(screen(80, true)), "\x1b[1mText\x1b[0m\na\\x1b[2Jb\\nc\n");
}

TEST(Table, ColoursOnlyWhereAsked) {
    Table table({{"Result"}});
    table.add({{"written", Tone::Good}});
    EXPECT_EQ(table.render(screen(80, true)), "\x1b[1mResult\x1b[0m\n\x1b[32mwritten\x1b[0m\n");
    EXPECT_EQ(table.render(screen(80)), "Result\nwritten\n");
}

TEST(Table, ColoursDoNotCountAsWidth) {
    Table table({{"A"}, {"B"}});
    table.add({{"x", Tone::Bad}, "1"});
    table.add({"yy", "2"});
    EXPECT_EQ(table.render(screen(80, true)), "\x1b[1mA\x1b[0m   \x1b[1mB\x1b[0m\n"
                                              "\x1b[31mx\x1b[0m   1\n"
                                              "yy  2\n");
}

TEST(Table, ALongNodeIdMovesItsOwnRowOnly) {
    Table table({{"Node id", false}, {"Class"}});
    table.add({"i=85", "Object"});
    table.add({std::string(200, 'x'), "Variable"});
    const std::string pad(60 - 7, ' ');
    EXPECT_EQ(table.render(pipe()), "Node id" + pad + "  Class\n" + "i=85   " + pad + "  Object\n" +
                                        std::string(200, 'x') + "  Variable\n");
}

TEST(Table, FoldsItsRowsWhereTheTerminalIsTooNarrow) {
    Table table({{"Name"}, {"Node id", false}, {"Class"}, {"Type"}});
    table.add({"├─ SpeedSetpoint", "ns=2;s=Line1.SpeedSetpoint", "Variable", {"Double", Tone::Good}});
    table.add({"└─ a name that is longer than all that", "i=1", "Object"});
    EXPECT_EQ(table.renderFolded(screen(40, true)), "\x1b[1mName\x1b[0m\n"
                                                    "    \x1b[1mNode id\x1b[0m  \x1b[1mClass\x1b[0m  "
                                                    "\x1b[1mType\x1b[0m\n"
                                                    "├─ SpeedSetpoint\n"
                                                    "    ns=2;s=Line1.SpeedSetpoint  Variable\n"
                                                    "    \x1b[32mDouble\x1b[0m\n"
                                                    "└─ a name that is longer than all that\n"
                                                    "    i=1  Object\n");
    EXPECT_THAT(table.renderFolded(screen(30)), testing::HasSubstr("└─ a name that is longer than…\n"));
}

TEST(Table, FoldsNothingThatFits) {
    Table table({{"Name"}, {"Node id", false}});
    table.add({"Speed", "ns=2;s=Line1.Speed"});
    EXPECT_EQ(table.renderFolded(screen(40)), table.render(screen(40)));
    EXPECT_EQ(table.renderFolded(pipe()), table.render(pipe()));
    EXPECT_NE(table.renderFolded(screen(20)), table.render(screen(20)));
}

TEST(Table, SteersNoTerminalThatReadsBytes) {
    Table table({{"Text"}, {"End"}});
    table.add({"\u00DB31mred", "\u00FC!"});
    Terminal latin = screen(80);
    latin.utf8 = false;
    EXPECT_EQ(table.render(latin), "Text     End\n"
                                   "?31mred  \u00FC!\n");
    EXPECT_EQ(table.renderFolded(latin), table.render(latin));
    latin.width = 8;
    EXPECT_THAT(table.renderFolded(latin), testing::Not(testing::HasSubstr("\x9B")));
    EXPECT_THAT(table.render(pipe()), testing::HasSubstr("\u00DB31mred"));
}
