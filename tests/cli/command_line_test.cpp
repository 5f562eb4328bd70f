#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "command_line/command_line.h"
#include "failure.h"

using namespace opcua_cli;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

class CommandLine : public testing::Test {
protected:
    Program program{};
    int calls = 0;
    Command& command = program.commands.emplace_back(Command{"read", "Reads", "", [this] { ++calls; }});

    std::optional<std::string> take(std::vector<std::string> words) {
        words.insert(words.begin(), "read");
        return takeWords(program, words, "help");
    }

    /// Why the words are refused.
    std::string refusal(const std::vector<std::string>& words) {
        try {
            take(words);
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.exitCode(), ExitCode::Usage);
            EXPECT_EQ(failure.problem().advice, "help");
            return failure.problem().explanation;
        }
        return "taken";
    }
};

} // namespace

TEST_F(CommandLine, StoresValuesAndCallsTheCommand) {
    bool csv = false;
    int depth = 1;
    std::size_t count = 7;
    std::string url;
    std::optional<double> duration;
    std::optional<std::string> user;
    int rule = 0;
    command.addPositional("URL", &url, "");
    command.addFlag("--csv", &csv, "");
    command.addOption("--depth", "N", &depth, "");
    command.addOption("-n,--count", "N", &count, "");
    command.addOption("--duration", "S", &duration, "");
    command.addOption("--user", "NAME", &user, "");
    command.addOption("--rule", "RULE", [&](int given) { rule = given; }, "", numberOf({{"once", 3}}));
    EXPECT_EQ(take({"plant", "--csv", "--depth", "4", "--duration=1.5", "--rule", "ONCE"}), std::nullopt);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(url, "plant");
    EXPECT_TRUE(csv);
    EXPECT_EQ(depth, 4);
    EXPECT_EQ(count, 7u);
    EXPECT_EQ(duration, 1.5);
    EXPECT_EQ(user, std::nullopt);
    EXPECT_EQ(rule, 3);
}

TEST_F(CommandLine, RefusesWhatDoesNotFit) {
    std::string file;
    int depth = 1;
    double tolerance = 0;
    bool json = false;
    bool csv = false;
    int level = 0;
    command.addPositional("FILE", &file, "").required = true;
    command.addOption("--depth", "N", &depth, "", inRange(1, 100));
    command.addOption("--tolerance", "X", &tolerance, "", notNegative());
    command.addOption("--trace", "LEVEL", &level, "", numberOf({{"none", 0}}));
    command.addFlag("--json", &json, "");
    command.addFlag("--csv", &csv, "").excludes = "--json";
    EXPECT_THAT(refusal({}), HasSubstr("FILE is required"));
    EXPECT_THAT(refusal({"f", "--depth", "101"}), AllOf(HasSubstr("--depth"), HasSubstr("101")));
    EXPECT_THAT(refusal({"f", "--tolerance", "-1"}), HasSubstr("--tolerance"));
    EXPECT_THAT(refusal({"f", "--trace", "loud"}), AllOf(HasSubstr("--trace"), HasSubstr("loud")));
    EXPECT_THAT(refusal({"f", "--csv", "--json"}), AllOf(HasSubstr("--csv"), HasSubstr("--json")));
    EXPECT_THAT(refusal({"f", "g"}), HasSubstr("g"));
    EXPECT_EQ(calls, 0);
}

TEST_F(CommandLine, ChecksMayReplaceAndRefuse) {
    std::string node;
    command.addPositional("NODE", &node, "", [](std::string& text) {
        text.insert(0, "/");
        return std::string(text == "/bad" ? "not that one" : "");
    });
    EXPECT_EQ(refusal({"good"}), "taken");
    EXPECT_EQ(node, "/good");
    EXPECT_THAT(refusal({"bad"}), HasSubstr("not that one"));
}

TEST_F(CommandLine, AFlagMayStandForAText) {
    std::string wait;
    std::string url;
    command.addFlag("--wait{endlessly}", &wait, "");
    command.addPositional("URL", &url, "");
    take({"--wait", "plant"});
    EXPECT_EQ(wait, "endlessly");
    EXPECT_EQ(url, "plant");
    take({"--wait=5"});
    EXPECT_EQ(wait, "5");
    EXPECT_THAT(take({"--help"}).value_or(""), AllOf(HasSubstr("--wait "), Not(HasSubstr("endlessly"))));
}

TEST_F(CommandLine, TakesListsWordByWordWhereItIsToldTo) {
    std::vector<std::string> pairs;
    command.addPositional("NODE_VALUE", &pairs, "").wordByWord = true;
    take({"i=1", "[1,2]", "i=2", "-7"});
    EXPECT_THAT(pairs, ElementsAre("i=1", "[1,2]", "i=2", "-7"));
}

TEST_F(CommandLine, HelpNamesWhatThereIs) {
    std::string from;
    std::string policy;
    command.addOption("--from", "NODE", &from, "Where to start").standard = "/Plant";
    command.addOption("--policy", "NAME", &policy, "Not clear text").group = "Security";
    const std::string help = helpOf(program, command);
    EXPECT_THAT(help, AllOf(HasSubstr("--from NODE=/Plant"), HasSubstr("Where to start"),
                            HasSubstr("Security:\n"), HasSubstr("--policy NAME")));
    EXPECT_EQ(take({"--help"}), help);
    EXPECT_EQ(calls, 0);
    take({});
    EXPECT_EQ(from, "/Plant");
    command.remove("--policy");
    EXPECT_THAT(helpOf(program, command), Not(HasSubstr("--policy")));
    EXPECT_EQ(command.find("--policy"), nullptr);
    EXPECT_THAT(refusal({"--policy", "None"}), HasSubstr("--policy"));
}
