#include <gtest/gtest.h>

#include "values/array_table.h"

using namespace opcua_cli;

namespace {

NodeValue numbers(const Shape& shape, int count) {
    NodeValue value(shape, {});
    for (int i = 0; i < count; ++i)
        value.elements.emplace_back(i * 7);
    return value;
}

} // namespace

TEST(ArrayTable, OnlyMatricesAndLongArraysNeedOne) {
    EXPECT_FALSE(needsTable(NodeValue()));
    EXPECT_FALSE(needsTable(NodeValue(Value(std::string(100, 'x')))));
    EXPECT_FALSE(needsTable(numbers({5}, 5)));
    EXPECT_FALSE(needsTable(numbers({0}, 0)));
    EXPECT_FALSE(needsTable(numbers({3, 0}, 0)));
    EXPECT_TRUE(needsTable(numbers({20}, 20)));
    EXPECT_TRUE(needsTable(numbers({1, 1}, 1)));
}

TEST(ArrayTable, NumbersStandTenOnALine) {
    EXPECT_EQ(arrayTable(numbers({12}, 12), {}), "      +0  +1  +2  +3  +4  +5  +6  +7  +8  +9\n"
                                                 " [0]   0   7  14  21  28  35  42  49  56  63\n"
                                                 "[10]  70  77\n");
}

TEST(ArrayTable, TextsStandOneOnALine) {
    const NodeValue texts(
        {3}, {Value(std::string("Füllstand")), Value(std::string("")), Value(std::string("two\nlines"))});
    EXPECT_EQ(arrayTable(texts, {}), "[0]  \"Füllstand\"\n[1]  \"\"\n[2]  \"two\\nlines\"\n");
}

TEST(ArrayTable, AMatrixHasRowsAndColumns) {
    EXPECT_EQ(arrayTable(numbers({2, 3}, 6), {}), "     [0]  [1]  [2]\n"
                                                  "[0]    0    7   14\n"
                                                  "[1]   21   28   35\n");
}

TEST(ArrayTable, MoreDimensionsAreSlices) {
    EXPECT_EQ(arrayTable(numbers({2, 1, 2}, 4), {}), "[0]\n     [0]  [1]\n[0]    0    7\n\n"
                                                     "[1]\n     [0]  [1]\n[0]   14   21\n");
}

TEST(ArrayTable, NumbersAreNeverCut) {
    Terminal narrow;
    narrow.width = 20;
    const NodeValue value({1, 3}, {Value(1234567890.5), Value(2.5), Value(1234567890.25)});
    EXPECT_NE(arrayTable(value, narrow).find("1234567890.25"), std::string::npos);
}
