#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "failure.h"
#include "shell/completion.h"
#include "shell/position.h"
#include "shell/words.h"

using namespace opcua_cli;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// A line, and what lies below "/Plant/", "" and "Line 1/".
Completion completed(const std::string& before) {
    return complete(before, {{"read", "restore", "help"}, [](const std::string& node) {
                                 if (node == "/Plant/")
                                     return std::vector<std::string>{"Boiler/", "Line1/", "Line2/", "Listen"};
                                 if (node.empty())
                                     return std::vector<std::string>{"Käse", "Köln", "Line 1/", "\x1b[H"};
                                 return std::vector<std::string>{node == "Line 1/" ? "Speed" : "A&/B"};
                             }});
}

} // namespace

TEST(ShellWords, ArePartedAsInAShell) {
    EXPECT_THAT(wordsOf("read 'ns=2;s=A b'  \"x \\\"y\\\"\" a\\ b\r"),
                ElementsAre("read", "ns=2;s=A b", "x \"y\"", "a b"));
    EXPECT_THAT(wordsOf("write i=1 '' a'b'\"c\" 'back\\slash'"),
                ElementsAre("write", "i=1", "", "abc", "back\\slash"));
    EXPECT_THAT(wordsOf("read a#b # and a 'remark"), ElementsAre("read", "a#b"));
    EXPECT_THAT(wordsOf(" \t "), IsEmpty());
    EXPECT_THROW(wordsOf("read 'open"), Failure);
    EXPECT_THROW(wordsOf("read \"open\\\""), Failure);
}

TEST(ShellPosition, PathsBeginThere) {
    EXPECT_EQ(nodeFrom("/Plant/Line1", "Speed"), "/Plant/Line1/Speed");
    EXPECT_EQ(nodeFrom("/Plant/Line1", "./Zones/"), "/Plant/Line1/Zones");
    EXPECT_EQ(nodeFrom("/Plant/Line1", "../Line2"), "/Plant/Line2");
    EXPECT_EQ(nodeFrom("/Plant/Line1", "/Views/"), "/Views");
    EXPECT_EQ(nodeFrom("/Plant/Line1", "ns=2;s=A/.."), "ns=2;s=A/..");
    EXPECT_EQ(nodeFrom("/Plant/A&/B", ".."), "/Plant");
    EXPECT_EQ(nodeFrom("/Plant", "A&&/B"), "/Plant/A&&/B");
    EXPECT_EQ(nodeFrom("/Plant", "../../.."), "");
    EXPECT_EQ(nodeFrom("/Plant", "/"), "");
    EXPECT_EQ(nodeFrom("", "2:Plant"), "/2:Plant");
}

TEST(ShellPosition, AStepNeedsNoIndexUnlessItLooksLikeOne) {
    EXPECT_EQ(shortStep("2:Speed"), "Speed");
    EXPECT_EQ(shortStep("Objects"), "Objects");
    EXPECT_EQ(shortStep("2:A/B"), "A&/B");
    EXPECT_EQ(shortStep("2:3:Speed"), "2:3:Speed");
    EXPECT_EQ(shortStep("2:4711"), "4711");
}

TEST(ShellCompletion, CommandsComeFirst) {
    EXPECT_EQ(completed("rea").rest, "d ");
    EXPECT_EQ(completed("r").rest, "e");
    EXPECT_THAT(completed("re").candidates, ElementsAre("read", "restore"));
    EXPECT_EQ(completed("re").rest, "");
    EXPECT_EQ(completed("help rest").rest, "ore ");
    EXPECT_THAT(completed("x").candidates, IsEmpty());
}

TEST(ShellCompletion, NamesOfNodesFollow) {
    EXPECT_EQ(completed("read /Plant/B").rest, "oiler/");
    EXPECT_EQ(completed("read /Plant/L").rest, "i");
    EXPECT_EQ(completed("read /Plant/Li").rest, "");
    EXPECT_THAT(completed("read /Plant/Li").candidates, ElementsAre("Line1/", "Line2/", "Listen"));
    EXPECT_EQ(completed("read i=1 /Plant/Lis").rest, "ten ");
    EXPECT_EQ(completed("read K").rest, "") << "no half of a character";
    EXPECT_EQ(completed("read Kä").rest, "se ");
    EXPECT_THAT(completed("read ").candidates, ElementsAre("Käse", "Köln", "Line 1/"))
        << "nothing that steers the terminal";
    EXPECT_EQ(completed("read /Other/A&/").rest, "B ");
}

TEST(ShellCompletion, KeepsQuotes) {
    EXPECT_EQ(completed("read L").rest, "ine\\ 1/");
    EXPECT_EQ(completed("read 'L").rest, "ine 1/");
    EXPECT_EQ(completed("read 'Line 1/S").rest, "peed' ");
    EXPECT_EQ(completed("read Line\\ 1/S").rest, "peed ");
    EXPECT_EQ(completed("read \"Line 1/S").rest, "peed\" ");
}
