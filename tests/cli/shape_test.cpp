#include <cstddef>
#include <limits>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "addressing/shape.h"
#include "failure.h"

using namespace opcua_cli;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

std::string refusalOf(const Index& index, const Shape& shape) {
    try {
        throwIfOutside(index, shape);
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.exitCode(), ExitCode::Failed);
        return failure.problem().explanation + " / " + failure.problem().advice;
    }
    return "none";
}

} // namespace

TEST(Shape, IndexesAreReadAsWrittenAndAsShown) {
    EXPECT_THAT(parseIndex("4"), ElementsAre(4));
    EXPECT_THAT(parseIndex("2,3"), ElementsAre(2, 3));
    EXPECT_THAT(parseIndex("[2,3]"), ElementsAre(2, 3));
    EXPECT_THAT(parseIndex("[2][3][0]"), ElementsAre(2, 3, 0));
    EXPECT_THAT(parseIndex("4294967295"), ElementsAre(4294967295u));
    EXPECT_EQ(parseIndex(indexText({2, 3, 0})), (Index{2, 3, 0}));
    EXPECT_EQ(parseIndex("0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0").size(), 16u);
}

TEST(Shape, WhatIsNoIndexIsRefused) {
    for (const char* text : {"", ",", "1,", ",1", "-1", "+1", "1.5", " 1", "1 ", "1, 2", "x", "[1", "[]",
                             "[1][]", "4294967296", "0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0"}) {
        try {
            parseIndex(text);
            ADD_FAILURE() << "was taken: " << text;
        } catch (const Failure& failure) {
            EXPECT_EQ(failure.exitCode(), ExitCode::Usage) << text;
            EXPECT_THAT(failure.problem().advice, HasSubstr("2,3")) << text;
        }
    }
}

TEST(Shape, CountsElements) {
    EXPECT_EQ(elementCount({}), 1u);
    EXPECT_EQ(elementCount({10}), 10u);
    EXPECT_EQ(elementCount({2, 3, 4}), 24u);
    EXPECT_EQ(elementCount({5, 0, 7}), 0u);
    EXPECT_EQ(elementCount({1ul << 40, 0, 1ul << 40}), 0u);
    EXPECT_EQ(elementCount({1ul << 40, 1ul << 40}), std::numeric_limits<std::size_t>::max());
}

TEST(Shape, TheLastPositionMovesFastest) {
    EXPECT_THAT(indexAt(0, {3, 4}), ElementsAre(0, 0));
    EXPECT_THAT(indexAt(6, {3, 4}), ElementsAre(1, 2));
    EXPECT_THAT(indexAt(79, {4, 5, 6}), ElementsAre(2, 3, 1));
}

TEST(Shape, EveryPositionHasItsOwnBound) {
    EXPECT_EQ(refusalOf({2, 3}, {3, 4}), "none");
    EXPECT_THAT(refusalOf({0, 5}, {3, 4}), HasSubstr("dimension 2 has 0 to 3")) << "flat place 5 would exist";
    EXPECT_THAT(refusalOf({3, 0}, {3, 4}), HasSubstr("dimension 1 has 0 to 2"));
    EXPECT_THAT(refusalOf({0}, {0}), HasSubstr("has none"));
    EXPECT_THAT(refusalOf({1}, {3, 4}), HasSubstr("[1] has 1 dimension, the value 2 dimensions: [3][4]"));
    EXPECT_THAT(refusalOf({1, 1}, {3}), HasSubstr("the value 1 dimension"));
    EXPECT_THAT(refusalOf({0}, {}), HasSubstr("single value"));
}
