#include <initializer_list>

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

TEST(WalkReport, WhatIsShownElsewhereHasNothingBelow) {
    Walk walk = chain(3);
    walk.nodes.back().repeated = true;
    EXPECT_FALSE(endsAtDepth(walk, 3));
}
