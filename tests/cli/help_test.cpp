#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "command_line/command_line.h"
#include "failure.h"
#include "help.h"

using namespace opcua_cli;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

std::vector<std::string> lineOf(std::vector<std::string> words) {
    Program program;
    for (const char* command : {"browse", "discover", "read", "restore"})
        program.commands.push_back({command, "", "", {}});
    words.insert(words.begin(), "opcua-cli");
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    return commandLine(program, static_cast<int>(arguments.size()), arguments.data());
}

std::string refusalOf(const std::string& word) {
    try {
        lineOf({word});
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.exitCode(), ExitCode::Usage);
        return failure.problem().explanation;
    }
    return "taken";
}

} // namespace

TEST(Help, IsWrappedBelowTheLastColumn) {
    EXPECT_EQ(wrapped("  --json   One document instead of tables\n", 28), "  --json   One document\n"
                                                                          "           instead of tables\n");
    EXPECT_EQ(wrapped("short\n\n", 28), "short\n\n");
}

TEST(Help, IsWrappedBelowTheLineWhereTheColumnIsFarOut) {
    EXPECT_EQ(wrapped("  opcua-cli read plant:4840 i=1   reads it at once\n", 30),
              "  opcua-cli read plant:4840\n"
              "    i=1   reads it at once\n");
}

TEST(Help, KeepsWordsThatAreTooLong) {
    EXPECT_EQ(wrapped("aaaaaaaaaaaa bbbbbbbbbbbbbb cc\n", 10), "aaaaaaaaaaaa bbbbbbbbbbbbbb cc\n");
    EXPECT_EQ(wrapped("", 10), "");
}

TEST(Help, IsACommandForACommand) {
    EXPECT_THAT(lineOf({"help", "read"}), ElementsAre("read", "--help"));
    EXPECT_THAT(lineOf({"help"}), ElementsAre("--help"));
    EXPECT_THAT(lineOf({"read", "help"}), ElementsAre("read", "help"));
    EXPECT_THAT(lineOf({"--version"}), ElementsAre("--version"));
    EXPECT_THAT(lineOf({}), ElementsAre());
}

TEST(Help, GuessesWhatIsMeant) {
    EXPECT_THAT(refusalOf("browes"), HasSubstr("no command \"browes\"; did you mean 'browse'?"));
    EXPECT_THAT(refusalOf("disc"), HasSubstr("did you mean 'discover'?"));
    EXPECT_THAT(refusalOf("rread"), HasSubstr("did you mean 'read'?"));
    EXPECT_THAT(refusalOf("xyz"), Not(HasSubstr("mean")));
    EXPECT_EQ(refusalOf("read"), "taken");
}
