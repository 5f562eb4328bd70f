#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <open62541/types_generated_handling.h>

#include "subscription/notification_order.h"
#include "support/temporary_directory.h"
#include "support/text_file.h"
#include "uabase/trace.h"

using testing::ElementsAre;
using testing::IsEmpty;
using UaClientSdk::NotificationOrder;

namespace {

class NotificationOrderTest : public testing::Test {
protected:
    using Take = void (NotificationOrder::*)(UA_NotificationMessage&, const NotificationOrder::Deliver&);

    void arrive(std::uint32_t number, std::size_t size = 1, Take take = &NotificationOrder::arrived) {
        UA_NotificationMessage message;
        UA_NotificationMessage_init(&message);
        message.sequenceNumber = number;
        message.publishTime = publishTime;
        message.notificationDataSize = 1;
        message.notificationData = UA_ExtensionObject_new();
        UA_ByteString body;
        UA_ByteString_allocBuffer(&body, size);
        UA_ExtensionObject& data = *message.notificationData;
        data.encoding = UA_EXTENSIONOBJECT_ENCODED_BYTESTRING;
        data.content.encoded.body = body;
        (order.*take)(message, deliver);
        UA_NotificationMessage_clear(&message);
    }

    void comeAgain(std::uint32_t number) { arrive(number, 1, &NotificationOrder::cameAgain); }

    NotificationOrder order;
    UA_DateTime publishTime = 0;
    std::vector<std::uint32_t> delivered;
    const NotificationOrder::Deliver deliver = [this](UA_NotificationMessage& message) {
        if (message.notificationDataSize > 0)
            delivered.push_back(message.sequenceNumber);
    };
};

} // namespace

TEST_F(NotificationOrderTest, DeliversWhatComesInOrderAtOnce) {
    for (const std::uint32_t number : {1U, 2U, 3U})
        arrive(number);
    EXPECT_THAT(delivered, ElementsAre(1, 2, 3));
    EXPECT_THAT(order.takeMissing(), IsEmpty());
}

TEST_F(NotificationOrderTest, HoldsBackWhatComesBehindAGapUntilItIsFilled) {
    arrive(1);
    arrive(4);
    arrive(5);
    EXPECT_THAT(delivered, ElementsAre(1));
    EXPECT_THAT(order.takeMissing(), ElementsAre(2, 3));
    EXPECT_THAT(order.takeMissing(), IsEmpty());
    arrive(3);
    EXPECT_THAT(delivered, ElementsAre(1));
    arrive(2);
    EXPECT_THAT(delivered, ElementsAre(1, 2, 3, 4, 5));
}

TEST_F(NotificationOrderTest, GoesOnWithoutWhatIsGivenUp) {
    arrive(2);
    arrive(4);
    EXPECT_THAT(order.takeMissing(), ElementsAre(1, 3));
    order.givenUp(3, deliver);
    EXPECT_THAT(delivered, IsEmpty());
    order.givenUp(1, deliver);
    EXPECT_THAT(delivered, ElementsAre(2, 4));
    order.givenUp(1, deliver);
    arrive(3);
    EXPECT_THAT(delivered, ElementsAre(2, 4));
    arrive(5);
    EXPECT_THAT(delivered, ElementsAre(2, 4, 5));
}

TEST_F(NotificationOrderTest, DeliversWhatComesTwiceOnce) {
    arrive(1);
    arrive(1);
    arrive(3);
    arrive(3);
    arrive(2);
    arrive(2);
    arrive(3);
    EXPECT_THAT(delivered, ElementsAre(1, 2, 3));
}

TEST_F(NotificationOrderTest, AKeepAliveShowsThatTheLastOneIsMissing) {
    arrive(1);
    order.keptAlive(2, deliver);
    EXPECT_THAT(order.takeMissing(), IsEmpty());
    order.keptAlive(3, deliver);
    EXPECT_THAT(order.takeMissing(), ElementsAre(2));
    arrive(4);
    EXPECT_THAT(order.takeMissing(), ElementsAre(3));
    arrive(3);
    arrive(2);
    EXPECT_THAT(delivered, ElementsAre(1, 2, 3, 4));
}

TEST_F(NotificationOrderTest, AKeepAliveWithoutANumberShowsNothing) {
    order.keptAlive(0, deliver);
    arrive(1);
    EXPECT_THAT(order.takeMissing(), IsEmpty());
    for (std::uint32_t number = 2; number <= 1100; ++number)
        arrive(number);
    order.keptAlive(0, deliver);
    arrive(1101);
    arrive(1101);
    EXPECT_THAT(order.takeMissing(), IsEmpty());
    EXPECT_EQ(delivered.size(), 1101U);
}

TEST_F(NotificationOrderTest, TakesALeapAsItComes) {
    arrive(1);
    arrive(1000000);
    EXPECT_THAT(delivered, ElementsAre(1, 1000000));
    arrive(4000000000U);
    arrive(4000000001U);
    EXPECT_THAT(delivered, ElementsAre(1, 1000000, 4000000000U, 4000000001U));
    EXPECT_THAT(order.takeMissing(), IsEmpty());
}

TEST_F(NotificationOrderTest, LeapAfterLeapIsTracedOnce) {
    const test_support::TemporaryDirectory directory;
    const std::string file = (directory.path() / "trace.log").string();
    ASSERT_EQ(UaTrace::initTrace(UaTrace::Errors, 1000, 1, UaString(file.c_str()), "test"), 0);
    for (std::uint32_t number = 1000; number <= 10000; number += 1000)
        arrive(number);
    EXPECT_EQ(test_support::linesWith(file, "are lost"), 1);
    for (std::uint32_t number = 10001; number <= 10100; ++number)
        arrive(number);
    arrive(20000);
    EXPECT_EQ(test_support::linesWith(file, "are lost"), 2);
    UaTrace::closeTrace();
}

TEST_F(NotificationOrderTest, ALeapDeliversWhatWasHeldBefore) {
    arrive(1);
    arrive(3);
    arrive(1000);
    EXPECT_THAT(delivered, ElementsAre(1, 3, 1000));
    arrive(1001);
    EXPECT_THAT(delivered, ElementsAre(1, 3, 1000, 1001));
}

TEST_F(NotificationOrderTest, WhatWasMissingBeforeALeapIsNotTakenAnyMore) {
    arrive(1);
    arrive(4);
    EXPECT_THAT(order.takeMissing(), ElementsAre(2, 3));
    comeAgain(2);
    arrive(1000);
    comeAgain(3);
    order.givenUp(3, deliver);
    arrive(1001);
    EXPECT_THAT(delivered, ElementsAre(1, 2, 4, 1000, 1001));
}

TEST_F(NotificationOrderTest, BeginsAnewAfterTheLastNumberWithout0) {
    arrive(1);
    arrive(UINT32_MAX - 1);
    arrive(UINT32_MAX);
    arrive(1);
    arrive(2);
    EXPECT_THAT(delivered, ElementsAre(1, UINT32_MAX - 1, UINT32_MAX, 1, 2));
    EXPECT_THAT(order.takeMissing(), IsEmpty());
}

TEST_F(NotificationOrderTest, WhatIsHeldComesInOrderAcrossTheLastNumber) {
    arrive(UINT32_MAX - 3);
    arrive(1);
    arrive(UINT32_MAX - 1);
    arrive(1000000);
    EXPECT_THAT(delivered, ElementsAre(UINT32_MAX - 3, UINT32_MAX - 1, 1, 1000000));
}

TEST_F(NotificationOrderTest, AMessageNumbered0BeforeTheLastNumberHoldsNothingUp) {
    arrive(UINT32_MAX - 1);
    arrive(0);
    arrive(1);
    EXPECT_THAT(delivered, ElementsAre(UINT32_MAX - 1, 0, 1));
    EXPECT_THAT(order.takeMissing(), IsEmpty());
}

TEST_F(NotificationOrderTest, AServerThatCountsAnewIsFollowed) {
    for (std::uint32_t number = 1; number <= 500; ++number)
        arrive(number);
    for (std::uint32_t number = 1; number <= 20; ++number)
        arrive(number);
    EXPECT_EQ(delivered.size(), 511U) << "the tenth in order shows it";
    EXPECT_EQ(delivered.back(), 20U);
}

TEST_F(NotificationOrderTest, AServerThatCountsAnewIsFollowedByTheTimeOfItsMessages) {
    for (std::uint32_t number = 1; number <= 500; ++number, ++publishTime)
        arrive(number);
    publishTime -= 30; // another server's clock
    for (std::uint32_t number = 1; number <= 60; ++number, ++publishTime)
        arrive(number);
    EXPECT_EQ(delivered.size(), 521U) << "the tenth that is newer shows it";
    EXPECT_EQ(delivered.back(), 60U);
}

TEST_F(NotificationOrderTest, AServerThatCountsAnewIsFollowedWhateverItsClockSays) {
    publishTime = 1000000;
    for (std::uint32_t number = 1; number <= 500; ++number, ++publishTime)
        arrive(number);
    publishTime = 1;
    for (std::uint32_t number = 1; number <= 100; ++number, ++publishTime)
        arrive(number);
    EXPECT_EQ(delivered.size(), 536U) << "more in order than can have been asked for";
    EXPECT_EQ(delivered.back(), 100U);
    for (std::uint32_t number = 70; number <= 90; ++number, ++publishTime)
        arrive(number);
    EXPECT_EQ(delivered.size(), 548U) << "its clock counts from then on";
}

TEST_F(NotificationOrderTest, NumbersThatAreNoneAreFollowedByTheirTime) {
    for (std::uint32_t number = 1; number <= 200; ++number, ++publishTime)
        arrive(number);
    for (int i = 0; i < 50; ++i, ++publishTime)
        arrive(0);
    EXPECT_EQ(delivered.size(), 250U) << "no message has number 0";
    for (std::uint32_t i = 0; i < 200; ++i, ++publishTime)
        arrive(1 + i % 9);
    EXPECT_GT(delivered.size(), 250U + 50U) << "a new beginning is found in every ten";
}

TEST_F(NotificationOrderTest, OneNumberOverAndOverIsNoBeginning) {
    arrive(1);
    for (int i = 0; i < 100; ++i, ++publishTime)
        arrive(1);
    EXPECT_THAT(delivered, ElementsAre(1));
}

// A server that kept them back, and was asked for them again.
TEST_F(NotificationOrderTest, ManyThatComeLateInOrderAreNoServerThatCountsAnew) {
    const auto arriveAt = [this](std::uint32_t number) {
        publishTime = 1000 + number;
        arrive(number);
    };
    for (std::uint32_t number = 1; number <= 40; ++number)
        arriveAt(number);
    for (std::uint32_t number = 51; number <= 60; ++number)
        arriveAt(number);
    for (std::uint32_t number = 41; number <= 50; ++number) {
        publishTime = 1000 + number;
        comeAgain(number);
    }
    ASSERT_EQ(delivered.back(), 60U);
    for (std::uint32_t number = 31; number <= 60; ++number)
        arriveAt(number);
    EXPECT_EQ(delivered.back(), 60U);
    EXPECT_EQ(delivered.size(), 60U);
    arriveAt(61);
    EXPECT_EQ(delivered.back(), 61U);
}

TEST_F(NotificationOrderTest, WhatComesAgainHoweverLateOrOftenIsNotDelivered) {
    for (std::uint32_t number = 1; number <= 500; ++number)
        arrive(number);
    for (int i = 0; i < 30; ++i)
        arrive(100);
    for (std::uint32_t number = 200; number < 209; ++number)
        arrive(number);
    arrive(501);
    arrive(209);
    EXPECT_EQ(delivered.size(), 501U);
    EXPECT_THAT(order.takeMissing(), IsEmpty());
}

TEST_F(NotificationOrderTest, HoldsBackNoMoreThanItsBound) {
    arrive(1);
    for (std::uint32_t number = 3; number < 30; ++number)
        arrive(number, std::size_t{1} << 20U);
    ASSERT_GE(delivered.size(), 10U);
    arrive(30);
    EXPECT_EQ(delivered.back(), 30U);
}

TEST_F(NotificationOrderTest, WhatIsHeldCountsAsItLiesInMemory) {
    arrive(1);
    const auto arriveDense = [this](std::uint32_t number) {
        constexpr std::size_t changes = 20000;
        UA_NotificationMessage message;
        UA_NotificationMessage_init(&message);
        message.sequenceNumber = number;
        message.notificationDataSize = 1;
        message.notificationData = UA_ExtensionObject_new();
        UA_DataChangeNotification* const change = UA_DataChangeNotification_new();
        change->monitoredItems = static_cast<UA_MonitoredItemNotification*>(
            UA_Array_new(changes, &UA_TYPES[UA_TYPES_MONITOREDITEMNOTIFICATION]));
        change->monitoredItemsSize = changes;
        UA_ExtensionObject_setValue(message.notificationData, change,
                                    &UA_TYPES[UA_TYPES_DATACHANGENOTIFICATION]);
        order.arrived(message, deliver);
        UA_NotificationMessage_clear(&message);
    };
    for (std::uint32_t number = 3; number < 7; ++number)
        arriveDense(number);
    EXPECT_THAT(delivered, ElementsAre(1)); // 7 MB
    for (std::uint32_t number = 7; number < 11; ++number)
        arriveDense(number);
    EXPECT_GE(delivered.size(), 6U); // 14 MB
}
