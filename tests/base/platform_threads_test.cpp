#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/temporary_directory.h"
#include "uabase/platform_layer.h"
#include "uabase/trace.h"

namespace {

TEST(PlatformThreads, UsersComeAndGoWithoutClosingTheTraceOfOthers) {
    const test_support::TemporaryDirectory directory;
    const UaString file((directory.path() / "client.log").c_str());
    UaPlatformLayer::init();
    ASSERT_EQ(UaTrace::initTrace(UaTrace::Errors, 10, 1, file, "Application"), 0);
    std::vector<std::thread> users;
    for (int thread = 0; thread < 4; ++thread) {
        users.emplace_back([] {
            for (int round = 0; round < 500; ++round) {
                EXPECT_EQ(UaPlatformLayer::init(), 0);
                UaTrace::closeTrace();
                EXPECT_TRUE(UaTrace::enabled(UaTrace::Errors));
                UaPlatformLayer::cleanup();
            }
        });
    }
    for (std::thread& user : users)
        user.join();
    EXPECT_TRUE(UaTrace::enabled(UaTrace::Errors));
    UaTrace::closeTrace();
    EXPECT_FALSE(UaTrace::enabled(UaTrace::Errors));
    UaPlatformLayer::cleanup();
}

TEST(PlatformThreads, UsersThatLeaveTogetherLeaveNoTraceBehind) {
    const test_support::TemporaryDirectory directory;
    const UaString file((directory.path() / "client.log").c_str());
    for (int round = 0; round < 100; ++round) {
        UaPlatformLayer::init();
        UaPlatformLayer::init();
        ASSERT_EQ(UaTrace::initTrace(UaTrace::Errors, 10, 1, file, "Application"), 0);
        const auto leave = [] {
            UaTrace::closeTrace();
            UaPlatformLayer::cleanup();
        };
        std::thread other(leave);
        leave();
        other.join();
        ASSERT_FALSE(UaTrace::enabled(UaTrace::Errors));
    }
}

} // namespace
