#include "calls/window.h"

#include <gtest/gtest.h>

#include <vector>

using namespace UaClientSdk;

namespace {

using std::chrono::milliseconds;

/// Answers as many requests as are on their way, each of which takes this long.
void round(Window& window, milliseconds took) {
    const std::size_t sent = window.size();
    for (std::size_t i = 0; i < sent; ++i) {
        window.answered({sent, took});
    }
}

TEST(Window, BeginsWithTwoAndDoublesUpToSixteen) {
    Window window(Window::most);
    std::vector<std::size_t> sizes;
    for (int i = 0; i < 6; ++i) {
        sizes.push_back(window.size());
        round(window, milliseconds(1));
    }
    EXPECT_EQ(sizes, (std::vector<std::size_t>{2, 4, 8, 16, 16, 16}));
}

TEST(Window, IsNeverBeyondItsCeiling) {
    for (std::size_t ceiling = 1; ceiling <= 20; ++ceiling) {
        Window window(ceiling);
        for (int i = 0; i < 6; ++i) {
            round(window, milliseconds(1));
            EXPECT_LE(window.size(), ceiling);
        }
        EXPECT_EQ(window.size(), std::min<std::size_t>(ceiling, 16));
    }
    EXPECT_EQ(Window(0).size(), 1U);
}

TEST(Window, HalvesWhenAnAnswerTakesMoreThanFourTimesAsLongAsTheFirst) {
    Window window(Window::most);
    round(window, milliseconds(10));
    round(window, milliseconds(40));
    EXPECT_EQ(window.size(), 8U);
    window.answered({8, milliseconds(41)});
    EXPECT_EQ(window.size(), 4U);
}

TEST(Window, HalvesOnceForRequestsThatWentOutTogether) {
    Window window(Window::most);
    round(window, milliseconds(1));
    round(window, milliseconds(1));
    ASSERT_EQ(window.size(), 8U);
    for (int i = 0; i < 8; ++i) {
        window.answered({8, milliseconds(5)});
    }
    EXPECT_EQ(window.size(), 4U);
    window.late({8, milliseconds(10000)});
    EXPECT_EQ(window.size(), 4U);
    window.answered({4, milliseconds(5)});
    EXPECT_EQ(window.size(), 2U);
}

TEST(Window, IsNeverBelowOne) {
    Window window(Window::most);
    window.answered({2, milliseconds(1)});
    for (int i = 0; i < 5; ++i) {
        window.late({window.size(), milliseconds(100)});
        EXPECT_GE(window.size(), 1U);
    }
    EXPECT_EQ(window.size(), 1U);
}

TEST(Window, GrowsAgainAfterSlowness) {
    Window window(Window::most);
    round(window, milliseconds(1));
    window.late({4, milliseconds(100)});
    ASSERT_EQ(window.size(), 2U);
    round(window, milliseconds(1));
    round(window, milliseconds(1));
    EXPECT_EQ(window.size(), 8U);
}

TEST(Window, StaysBelowWhatWasRefused) {
    Window window(Window::most);
    round(window, milliseconds(1));
    round(window, milliseconds(1));
    window.refused({8, milliseconds(1)});
    EXPECT_EQ(window.ceiling(), 4U);
    for (int i = 0; i < 6; ++i) {
        round(window, milliseconds(1));
    }
    EXPECT_EQ(window.size(), 4U);
}

/// A server that does one thing at a time never waits for the next request, and its line is short.
TEST(Window, KeepsAServerBusyThatDoesOneThingAtATime) {
    for (const int roundTrip : {0, 1, 5, 20, 100}) {
        constexpr int own = 5;
        Window window(Window::most);
        const std::size_t needed = std::min<std::size_t>(1 + roundTrip / own, Window::most);
        for (int i = 0; i < 100; ++i) {
            const auto line = static_cast<int>(window.size());
            window.answered({window.size(), milliseconds(std::max(roundTrip + own, line * own))});
            EXPECT_TRUE(i < 30 || window.size() >= needed) << roundTrip << " " << window.size();
        }
    }
}

} // namespace
