#include <algorithm>
#include <chrono>
#include <cstddef>
#include <deque>
#include <vector>

#include <gtest/gtest.h>

#include "calls/requests_ahead.h"
#include "calls/window.h"

using namespace UaClientSdk;

namespace {

using std::chrono::milliseconds;

constexpr milliseconds timeOut(10000);

/// A request that was refused, or not answered, with so many on their way.
Window::Flight failure(std::size_t together) {
    return {together, milliseconds(1), together, true};
}

/// Answers as many requests as are on their way, each of which takes this long.
void round(Window& window, milliseconds took) {
    const std::size_t sent = window.size();
    for (std::size_t i = 0; i < sent; ++i)
        window.answered({sent, took});
}

TEST(Window, BeginsWithTwoAndDoublesUpToSixteen) {
    Window window(Window::most, timeOut);
    std::vector<std::size_t> sizes;
    for (int i = 0; i < 6; ++i) {
        sizes.push_back(window.size());
        round(window, milliseconds(1));
    }
    EXPECT_EQ(sizes, (std::vector<std::size_t>{2, 4, 8, 16, 16, 16}));
}

TEST(Window, IsNeverBeyondItsCeiling) {
    for (std::size_t ceiling = 1; ceiling <= 20; ++ceiling) {
        Window window(ceiling, timeOut);
        for (int i = 0; i < 6; ++i) {
            round(window, milliseconds(1));
            EXPECT_LE(window.size(), ceiling);
        }
        EXPECT_EQ(window.size(), std::min<std::size_t>(ceiling, 16));
    }
    EXPECT_EQ(Window(0, timeOut).size(), 1U);
}

TEST(Window, HalvesWhenAnAnswerTakesMoreThanFourTimesAsLongAsTheFirst) {
    Window window(Window::most, timeOut);
    round(window, milliseconds(10));
    round(window, milliseconds(40));
    EXPECT_EQ(window.size(), 8U);
    window.answered({8, milliseconds(41)});
    EXPECT_EQ(window.size(), 4U);
}

TEST(Window, HalvesOnceForRequestsThatWentOutTogether) {
    Window window(Window::most, timeOut);
    round(window, milliseconds(1));
    round(window, milliseconds(1));
    ASSERT_EQ(window.size(), 8U);
    for (int i = 0; i < 8; ++i)
        window.answered({8, milliseconds(5)});
    EXPECT_EQ(window.size(), 4U);
    window.late({8, milliseconds(10000)});
    EXPECT_EQ(window.size(), 4U);
    window.answered({4, milliseconds(5)});
    EXPECT_EQ(window.size(), 2U);
}

TEST(Window, IsNeverBelowOne) {
    Window window(Window::most, timeOut);
    window.answered({2, milliseconds(1)});
    for (int i = 0; i < 5; ++i) {
        window.late({window.size(), milliseconds(100)});
        EXPECT_GE(window.size(), 1U);
    }
    EXPECT_EQ(window.size(), 1U);
}

TEST(Window, GrowsAgainAfterSlowness) {
    Window window(Window::most, timeOut);
    round(window, milliseconds(1));
    window.late({4, milliseconds(100)});
    ASSERT_EQ(window.size(), 2U);
    round(window, milliseconds(1));
    round(window, milliseconds(1));
    EXPECT_EQ(window.size(), 8U);
}

TEST(Window, IsMeasuredByWellAnsweredRequestsAlone) {
    Window window(Window::most, timeOut);
    window.refused({2, milliseconds(1), 1, true});
    window.late({2, milliseconds(1)});
    round(window, milliseconds(10));
    EXPECT_EQ(window.size(), 2U);
    round(window, milliseconds(10));
    EXPECT_EQ(window.size(), 4U);
}

TEST(Window, StaysBelowWhatWasRefused) {
    Window window(Window::most, timeOut);
    round(window, milliseconds(1));
    round(window, milliseconds(1));
    EXPECT_TRUE(window.refused(failure(8)));
    EXPECT_EQ(window.ceiling(), 4U);
    for (int i = 0; i < 6; ++i)
        round(window, milliseconds(1));
    EXPECT_EQ(window.size(), 4U);
    EXPECT_TRUE(window.wasRefused());
}

TEST(Window, IsLoweredOnceByRefusalsOfRequestsThatWereOnTheirWayTogether) {
    Window window(Window::most, timeOut);
    EXPECT_TRUE(window.refused(failure(16)));
    for (int i = 0; i < 15; ++i)
        EXPECT_FALSE(window.refused(failure(16)));
    EXPECT_EQ(window.ceiling(), 8U);
}

/// Slowness is no reason to stay below what it has left.
TEST(Window, IsLoweredByRefusalsToHalfOfWhatWasOnItsWay) {
    Window window(Window::most, timeOut);
    window.late({2, milliseconds(1)});
    ASSERT_EQ(window.size(), 1U);
    window.refused(failure(12));
    EXPECT_EQ(window.ceiling(), 6U);
    EXPECT_EQ(window.size(), 1U);
}

TEST(Window, LearnsNothingFromALoneRequest) {
    Window window(Window::most, timeOut);
    EXPECT_FALSE(window.refused(failure(1)));
    EXPECT_FALSE(window.unanswered(failure(1)));
    EXPECT_EQ(window.ceiling(), Window::most);
    EXPECT_FALSE(window.wasRefused());
    EXPECT_FALSE(window.wasUnanswered());
}

TEST(Window, IsLoweredByAnAnswerThatDidNotCome) {
    Window window(Window::most, timeOut);
    EXPECT_TRUE(window.unanswered(failure(2)));
    EXPECT_EQ(window.ceiling(), 1U);
    EXPECT_TRUE(window.wasUnanswered());
}

TEST(Window, LearnsNothingFromAServerThatIsSilent) {
    Window window(Window::most, timeOut);
    EXPECT_FALSE(window.unanswered({2, timeOut, 2, false}));
    EXPECT_EQ(window.ceiling(), Window::most);
    EXPECT_FALSE(window.wasUnanswered());
}

TEST(Window, GrowsWhileAnAnswerTakesAQuarterOfTheTimeOutAtTheMost) {
    Window window(Window::most, timeOut);
    round(window, timeOut / 4);
    EXPECT_EQ(window.size(), 4U);
    window.answered({4, timeOut / 4 + milliseconds(1)});
    EXPECT_EQ(window.size(), 2U);
}

/// A server that does one thing at a time never waits for the next request, and its line is short.
TEST(Window, KeepsAServerBusyThatDoesOneThingAtATime) {
    for (const int roundTrip : {0, 1, 5, 20, 100}) {
        constexpr int own = 5;
        Window window(Window::most, timeOut);
        const std::size_t needed = std::min(1 + static_cast<std::size_t>(roundTrip / own), Window::most);
        for (int i = 0; i < 100; ++i) {
            const auto line = static_cast<int>(window.size());
            window.answered({window.size(), milliseconds(std::max(roundTrip + own, line * own))});
            EXPECT_TRUE(i < 30 || window.size() >= needed) << roundTrip << " " << window.size();
        }
    }
}

/// What became of requests to a server that does one thing at a time.
struct Line {
    int failures = 0;
    std::size_t longest = 0; ///< requests on their way
    milliseconds duration{0};
    bool wasUnanswered = false;
};

Line standInLine(milliseconds own, int requests) {
    struct Request {
        milliseconds sent;
        milliseconds answered;
        std::size_t window;
        std::size_t together;
    };
    Window window(Window::most, timeOut);
    std::deque<Request> out;
    Line line;
    milliseconds now(0);
    milliseconds serverIsFree(0);
    for (int left = requests; left > 0 || !out.empty();) {
        while (left > 0 && out.size() < window.size()) {
            serverIsFree = std::max(now, serverIsFree) + own;
            out.push_back({now, serverIsFree, window.size(), out.size() + 1});
            line.longest = std::max(line.longest, out.size());
            --left;
        }
        const Request first = out.front();
        out.pop_front();
        const milliseconds took = first.answered - first.sent;
        now = std::max(now, std::min(first.answered, first.sent + timeOut));
        if (took > timeOut) {
            ++line.failures;
            window.unanswered({first.window, timeOut, first.together, true});
        } else {
            window.answered({first.window, took, first.together, true});
        }
    }
    line.duration = now;
    line.wasUnanswered = window.wasUnanswered();
    return line;
}

class ServerWithALine : public testing::TestWithParam<int> {};

INSTANTIATE_TEST_SUITE_P(Needs, ServerWithALine, testing::Values(1, 100, 500, 1300, 2000, 3000, 4000));

/// As none does that is asked one thing after the other.
TEST_P(ServerWithALine, LeavesNoRequestUnanswered) {
    const milliseconds own(GetParam());
    const Line line = standInLine(own, 500);
    EXPECT_EQ(line.failures, 0);
    EXPECT_EQ(line.duration, 500 * own);
    EXPECT_FALSE(line.wasUnanswered);
}

/// Two are out before it can be known: the second one is lost, and no further one ever.
TEST(Window, OfAServerThatNeedsMoreThanHalfTheTimeOutLosesOneRequest) {
    const Line line = standInLine(milliseconds(6000), 500);
    EXPECT_EQ(line.failures, 1);
    EXPECT_EQ(line.longest, 2U);
    EXPECT_TRUE(line.wasUnanswered);
}

/// A series with this ceiling that goes well.
Window wellAnswered(const RequestsAhead& limit, std::size_t answers) {
    Window window(limit.current(), timeOut);
    for (std::size_t i = 0; i < answers; ++i)
        window.answered({1, milliseconds(1)});
    return window;
}

Window refused(const RequestsAhead& limit, std::size_t together) {
    Window window(limit.current(), timeOut);
    window.refused(failure(together));
    return window;
}

TEST(RequestsAhead, AreHalfAsManyAfterARefusalAndDoubleWithEachSeriesThatGoesWell) {
    RequestsAhead limit(16);
    limit.learnFrom(refused(limit, 4));
    std::vector<std::size_t> numbers;
    for (int i = 0; i < 5; ++i) {
        numbers.push_back(limit.current());
        limit.learnFrom(wellAnswered(limit, 100));
    }
    EXPECT_EQ(numbers, (std::vector<std::size_t>{2, 4, 8, 16, 16}));
}

TEST(RequestsAhead, AreTriedLessOftenTheMoreOftenTheyWereRefused) {
    RequestsAhead limit(16);
    std::vector<int> waits;
    for (int i = 0; i < 5; ++i) {
        limit.learnFrom(refused(limit, 2));
        int series = 0;
        for (; limit.current() == 1 && series < 1000; ++series)
            limit.learnFrom(wellAnswered(limit, 100));
        waits.push_back(series);
    }
    EXPECT_EQ(waits, (std::vector<int>{1, 2, 4, 8, 16}));
}

TEST(RequestsAhead, LearnNothingFromASeriesThatWasTooShort) {
    RequestsAhead limit(16);
    limit.learnFrom(refused(limit, 4));
    for (int i = 0; i < 10; ++i)
        limit.learnFrom(wellAnswered(limit, 3));
    EXPECT_EQ(limit.current(), 2U);
}

TEST(RequestsAhead, StayBelowWhatCostARequestItsAnswer) {
    RequestsAhead limit(16);
    Window window(limit.current(), timeOut);
    window.unanswered(failure(4));
    limit.learnFrom(window);
    for (int i = 0; i < 1000; ++i) {
        EXPECT_EQ(limit.current(), 2U);
        limit.learnFrom(wellAnswered(limit, 100));
    }
}

TEST(RequestsAhead, BeginAnewWithAConnection) {
    RequestsAhead limit(16);
    for (int i = 0; i < 3; ++i)
        limit.learnFrom(refused(limit, 2));
    limit.begin(4);
    EXPECT_EQ(limit.current(), 4U);
    limit.learnFrom(refused(limit, 2));
    limit.learnFrom(wellAnswered(limit, 100));
    limit.learnFrom(wellAnswered(limit, 100));
    limit.learnFrom(wellAnswered(limit, 100));
    EXPECT_EQ(limit.current(), 4U);
}

TEST(RequestsAhead, AreOneAtLeastAndSixteenAtTheMost) {
    EXPECT_EQ(RequestsAhead(0).current(), 1U);
    EXPECT_EQ(RequestsAhead(100).current(), 16U);
}

} // namespace
