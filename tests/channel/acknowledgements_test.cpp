#include <cstddef>
#include <cstdint>

#include <gtest/gtest.h>

#include "subscription/acknowledgements.h"

using UaClientSdk::Acknowledgements;

TEST(Acknowledgements, AreGivenOutOnce) {
    Acknowledgements acknowledgements;
    acknowledgements.note(1, 7);
    acknowledgements.note(2, 8);
    const Acknowledgements::List taken = acknowledgements.takeAll();
    ASSERT_EQ(taken.size(), 2U);
    EXPECT_EQ(taken[0].subscriptionId, 1U);
    EXPECT_EQ(taken[0].sequenceNumber, 7U);
    EXPECT_EQ(taken[1].subscriptionId, 2U);
    EXPECT_EQ(taken[1].sequenceNumber, 8U);
    EXPECT_TRUE(acknowledgements.takeAll().empty());
}

TEST(Acknowledgements, OfOneSubscriptionAreForgottenAlone) {
    Acknowledgements acknowledgements;
    acknowledgements.note(1, 7);
    acknowledgements.note(2, 8);
    acknowledgements.note(1, 9);
    acknowledgements.forget(1);
    const Acknowledgements::List taken = acknowledgements.takeAll();
    ASSERT_EQ(taken.size(), 1U);
    EXPECT_EQ(taken[0].sequenceNumber, 8U);
}

TEST(Acknowledgements, AreNotKeptWithoutEnd) {
    Acknowledgements acknowledgements;
    constexpr auto most = static_cast<std::uint32_t>(Acknowledgements::most);
    for (std::uint32_t number = 1; number <= most + 5; ++number)
        acknowledgements.note(1, number);
    const Acknowledgements::List taken = acknowledgements.takeAll();
    ASSERT_EQ(taken.size(), Acknowledgements::most);
    EXPECT_EQ(taken.front().sequenceNumber, 6U);
    EXPECT_EQ(taken.back().sequenceNumber, most + 5);
}
