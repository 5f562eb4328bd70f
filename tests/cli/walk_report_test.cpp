#include <cstddef>
#include <initializer_list>
#include <vector>

#include <gtest/gtest.h>

#include "commands/walk_report.h"

using namespace opcua_cli;

namespace {

/// A chain of nodes, each below the one before.
Walk chain(int depth) {
    Walk walk;
    for (int level = 0; level <= depth; ++level)
        walk.nodes.push_back({NodeInfo{}, level == 0 ? 0U : walk.nodes.size() - 1, level});
    return walk;
}

} // namespace

TEST(WalkReport, KnowsThatThereMayBeMoreBelowTheDeepestLevel) {
    EXPECT_FALSE(endsAtDepth(chain(2), 3));
    EXPECT_TRUE(endsAtDepth(chain(3), 3));
}

TEST(WalkReport, CountsTheNodesWhosePathsHaveRoom) {
    Walk walk = chain(3);
    for (std::size_t i = 0; i < 3; ++i) {
        walk.nodes[i].children = {i + 1};
        walk.nodes[i + 1].node.browseName = "A";
    }
    const std::vector<std::size_t> nodes = inTreeOrder(walk);
    EXPECT_EQ(nodes, (std::vector<std::size_t>{1, 2, 3}));
    EXPECT_EQ(countWithin(12, walk, nodes, ""), 3u) << "/A, /A/A and /A/A/A";
    EXPECT_EQ(countWithin(11, walk, nodes, ""), 2u);
    EXPECT_EQ(countWithin(12, walk, nodes, "/S"), 2u) << "/S/A and /S/A/A";
    EXPECT_EQ(countWithin(1, walk, nodes, ""), 0u);
}

TEST(WalkReport, WhatIsShownElsewhereHasNothingBelow) {
    Walk walk = chain(3);
    walk.nodes.back().repeated = true;
    EXPECT_FALSE(endsAtDepth(walk, 3));
}
