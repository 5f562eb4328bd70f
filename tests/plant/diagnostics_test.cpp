#include <string>

#include <open62541/client_subscriptions.h>

#include "plant_fixture.h"

using test_support::RawClient;
using test_support::waitUntil;

class PlantDiagnostics : public PlantTest {
protected:
    UA_UInt64 count(const std::string& name) { return client->value<UA_UInt64>(rack("Diagnostics." + name)); }

    static void subscribe(RawClient& other, UA_UInt32& subscription) {
        const UA_CreateSubscriptionResponse created = UA_Client_Subscriptions_create(
            other.get(), UA_CreateSubscriptionRequest_default(), nullptr, nullptr, nullptr);
        ASSERT_EQ(created.responseHeader.serviceResult, UA_STATUSCODE_GOOD);
        subscription = created.subscriptionId;
    }

    static void monitorCounter(RawClient& other, UA_UInt32 subscription, double samplingInterval,
                               UA_MonitoredItemCreateResult& item) {
        UA_MonitoredItemCreateRequest request = UA_MonitoredItemCreateRequest_default(
            UA_NODEID_STRING(3, const_cast<char*>("TestRack.Moving.Counter")));
        request.requestedParameters.samplingInterval = samplingInterval;
        const auto ignore = [](UA_Client*, UA_UInt32, void*, UA_UInt32, void*, UA_DataValue*) {};
        item = UA_Client_MonitoredItems_createDataChange(
            other.get(), subscription, UA_TIMESTAMPSTORETURN_BOTH, request, nullptr, ignore, nullptr);
        ASSERT_EQ(item.statusCode, UA_STATUSCODE_GOOD);
    }
};

TEST_F(PlantDiagnostics, CountsSessionsChannelsAndConnections) {
    start();
    EXPECT_EQ(count("CurrentSessions"), 1U);
    EXPECT_EQ(count("CreatedSessions"), 1U);
    EXPECT_EQ(count("CurrentChannels"), 1U);
    EXPECT_EQ(count("OpenConnections"), 1U);
    {
        RawClient other(server->url());
        EXPECT_EQ(count("CurrentSessions"), 2U);
        EXPECT_EQ(count("CreatedSessions"), 2U);
        EXPECT_EQ(count("CurrentChannels"), 2U);
        EXPECT_EQ(count("OpenConnections"), 2U);
        other.disconnect();
    }
    EXPECT_EQ(count("CurrentSessions"), 1U);
    EXPECT_EQ(count("CreatedSessions"), 2U);
    EXPECT_TRUE(waitUntil([&] { return count("CurrentChannels") == 1 && count("OpenConnections") == 1; }));
}

TEST_F(PlantDiagnostics, CountsSubscriptionsAndMonitoredItems) {
    start();
    RawClient other(server->url());
    UA_UInt32 subscription = 0;
    ASSERT_NO_FATAL_FAILURE(subscribe(other, subscription));
    EXPECT_EQ(count("CurrentSubscriptions"), 1U);
    UA_MonitoredItemCreateResult item;
    ASSERT_NO_FATAL_FAILURE(monitorCounter(other, subscription, 100, item));
    EXPECT_EQ(count("MonitoredItems"), 1U);
    ASSERT_EQ(UA_Client_Subscriptions_deleteSingle(other.get(), subscription), UA_STATUSCODE_GOOD);
    EXPECT_EQ(count("CurrentSubscriptions"), 0U);
    EXPECT_EQ(count("MonitoredItems"), 0U);
}

TEST_F(PlantDiagnostics, LooksAtAnItemAsSeldomAsItIsTold) {
    start({"--min-sampling", "700"});
    RawClient other(server->url());
    UA_UInt32 subscription = 0;
    ASSERT_NO_FATAL_FAILURE(subscribe(other, subscription));
    UA_MonitoredItemCreateResult item;
    ASSERT_NO_FATAL_FAILURE(monitorCounter(other, subscription, 100, item));
    EXPECT_EQ(item.revisedSamplingInterval, 700);
}

TEST_F(PlantDiagnostics, CountsValueAccesses) {
    start();
    const UA_UInt64 before = count("ValueAccesses");
    client->readAll({rack("Scalar.Int32"), rack("Scalar.Double")});
    ASSERT_EQ(client->write(rack("Scalar.Int32"), UA_Int32{1}), UA_STATUSCODE_GOOD);
    // The read that tells is one more.
    EXPECT_EQ(count("ValueAccesses"), before + 4);
}

TEST_F(PlantDiagnostics, CountsRefusedSessions) {
    start({"--max-sessions", "2"});
    const RawClient second(server->url());
    RawClient third;
    EXPECT_EQ(third.connect(server->url()), UA_STATUSCODE_BADTOOMANYSESSIONS);
    EXPECT_EQ(count("CurrentSessions"), 2U);
    EXPECT_EQ(count("RejectedSessions"), 1U);
}
