#include <cstdint>

#include <gtest/gtest.h>

#include "channel/sequence_number.h"

using UaClientSdk::maySequenceNumberFollow;
using UaClientSdk::nextSequenceNumber;

namespace {

// OPC UA Part 6, 6.7.2.4.
constexpr std::uint32_t limit = 4294966271;
constexpr std::uint32_t greatest = 4294967295;

} // namespace

TEST(SequenceNumber, OfTheServerIsOneAboveTheLast) {
    for (const std::uint32_t last : {0U, 1U, 51U, 1023U, 1024U, limit - 1, limit, limit + 1}) {
        EXPECT_TRUE(maySequenceNumberFollow(last, last + 1)) << last;
        EXPECT_FALSE(maySequenceNumberFollow(last, last)) << last;
        EXPECT_FALSE(maySequenceNumberFollow(last, last + 2)) << last;
    }
}

TEST(SequenceNumber, OfTheServerMayStartAnewBelow1024BeyondTheLimit) {
    for (const std::uint32_t last : {limit, limit + 1, limit + 500, greatest - 1, greatest}) {
        for (const std::uint32_t first : {0U, 1U, 2U, 1023U})
            EXPECT_TRUE(maySequenceNumberFollow(last, first)) << last << ", " << first;
        EXPECT_FALSE(maySequenceNumberFollow(last, 1024)) << last;
    }
}

TEST(SequenceNumber, OfTheServerMayNotStartAnewBeforeTheLimit) {
    for (const std::uint32_t last : {2U, 1023U, 1024U, 100000U, limit / 2, limit - 1}) {
        EXPECT_FALSE(maySequenceNumberFollow(last, 0)) << last;
        EXPECT_FALSE(maySequenceNumberFollow(last, 1)) << last;
    }
}

/// The newer rule.
TEST(SequenceNumber, OfTheServerMayBeZeroAfterTheGreatest) {
    EXPECT_TRUE(maySequenceNumberFollow(greatest, 0));
}

/// A server may refuse a start before a number was greater than the limit, and one at 1024 or above.
TEST(SequenceNumber, OfThisSideStartsAnewWhereEveryServerTakesIt) {
    EXPECT_EQ(nextSequenceNumber(0), 1U);
    EXPECT_EQ(nextSequenceNumber(limit - 1), limit);
    EXPECT_EQ(nextSequenceNumber(limit), limit + 1);
    EXPECT_EQ(nextSequenceNumber(limit + 1), 1U);
    EXPECT_TRUE(maySequenceNumberFollow(limit + 1, nextSequenceNumber(limit + 1)));
}
