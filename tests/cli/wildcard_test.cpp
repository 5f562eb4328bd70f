#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "text/wildcard.h"

using opcua_cli::Wildcard;

namespace {

bool matches(std::string_view pattern, std::string_view name) {
    return Wildcard(pattern, false).matches(name);
}

} // namespace

TEST(Wildcard, HasToFitTheWholeName) {
    EXPECT_TRUE(matches("Speed", "Speed"));
    EXPECT_FALSE(matches("Speed", "SpeedSetpoint"));
    EXPECT_FALSE(matches("Speed", "Spee"));
    EXPECT_FALSE(matches("", "Speed"));
    EXPECT_TRUE(matches("", ""));
}

TEST(Wildcard, AStarStandsForAnyText) {
    EXPECT_TRUE(matches("*", ""));
    EXPECT_TRUE(matches("*", "Speed"));
    EXPECT_TRUE(matches("*point", "SpeedSetpoint"));
    EXPECT_TRUE(matches("S*p**t", "SpeedSetpoint"));
    EXPECT_TRUE(matches("*ab*abc", "ababab abc"));
    EXPECT_FALSE(matches("S*x*t", "SpeedSetpoint"));
    EXPECT_FALSE(matches("*Speed", "SpeedSetpoint"));
}

TEST(Wildcard, AQuestionMarkStandsForOneCharacter) {
    EXPECT_TRUE(matches("Tank?", "Tank1"));
    EXPECT_FALSE(matches("Tank?", "Tank"));
    EXPECT_FALSE(matches("Tank?", "Tank10"));
    EXPECT_TRUE(matches("F?llstand", "Füllstand"));
    EXPECT_TRUE(matches("锅?压*", "锅炉压力"));
    EXPECT_TRUE(matches("a?c", "a\xFF"
                               "c"))
        << "a broken byte is a character";
}

TEST(Wildcard, UpperAndLowerCaseAreAlikeUnlessTold) {
    EXPECT_TRUE(matches("FÜLL*", "füllstand"));
    EXPECT_TRUE(matches("котёл", "КОТЁЛ"));
    EXPECT_FALSE(Wildcard("speed", true).matches("Speed"));
    EXPECT_TRUE(Wildcard("Sp*", true).matches("Speed"));
}

TEST(Wildcard, ManyStarsTakeNoLongerThanTheyMust) {
    std::string pattern;
    for (int i = 0; i < 100; ++i)
        pattern += "*a";
    EXPECT_FALSE(matches(pattern + "b", std::string(255, 'a')));
}
