#include <cmath>
#include <ios>
#include <thread>
#include <vector>

#include "monitoring_test.h"
#include "subscription/callback.h"

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

using standin::CreateSubscriptionRequest;
using standin::DeleteSubscriptionRequest;

using Subscription = MonitoringTest;

UaStatus answer(OpcUa_StatusCode status) {
    return UaStatus(status);
}

} // namespace

TEST_F(Subscription, IsAskedForWithFixedSettings) {
    ASSERT_EQ(m_client->OpcUaDeleteSubScription(), 0);
    watchFromHere();
    EXPECT_EQ(m_client->OpcUaCreateSubScription(250.5), 0);
    EXPECT_THAT(script().operations(), ElementsAre("UaSession::isConnected", "UaSession::createSubscription",
                                                   "UaSubscription::UaSubscription"));
    const auto request = script().requests<CreateSubscriptionRequest>().at(0);
    EXPECT_EQ(request.parameters.publishingInterval, 250.5);
    EXPECT_EQ(request.parameters.lifetimeCount, 100000U);
    EXPECT_EQ(request.parameters.maxKeepAliveCount, 5U);
    EXPECT_EQ(request.parameters.maxNotificationsPerPublish, 0U);
    EXPECT_EQ(request.parameters.priority, 0);
    EXPECT_EQ(request.clientHandle, 1U);
    EXPECT_EQ(request.publishingEnabled, 1);
    EXPECT_EQ(request.settings.callTimeout, UaClientSdk::ServiceSettings().callTimeout);
}

TEST_F(Subscription, ReportsToTheSinkThatTheSessionReportsTo) {
    EXPECT_EQ(dynamic_cast<CCallback*>(script().subscriptionCallback()),
              dynamic_cast<CCallback*>(script().sessionCallback()));
    EXPECT_NE(script().subscriptionCallback(), nullptr);
}

TEST_F(Subscription, AnyIntervalIsPassedOn) {
    for (const double interval : {0.0, -1.0, 1e12, 0.25}) {
        watchFromHere();
        EXPECT_EQ(m_client->OpcUaCreateSubScription(interval), 0);
        EXPECT_EQ(script().requests<CreateSubscriptionRequest>().at(0).parameters.publishingInterval,
                  interval);
    }
    EXPECT_EQ(m_client->OpcUaCreateSubScription(std::nan("")), 0);
    EXPECT_TRUE(
        std::isnan(script().requests<CreateSubscriptionRequest>().back().parameters.publishingInterval));
}

TEST_F(Subscription, IsCreatedUnderTheClientMutex) {
    ASSERT_EQ(m_client->OpcUaDeleteSubScription(), 0);
    watchFromHere();
    EXPECT_EQ(m_client->OpcUaCreateSubScription(100), 0);
    for (const standin::Call& call : script().calls())
        EXPECT_THAT(call.surroundings.heldMutexes, ElementsAre(mutex_watch::clientMutex)) << call.operation;
    EXPECT_THAT(mutex_watch::locked(), ElementsAre(mutex_watch::clientMutex));
}

TEST_F(Subscription, CreateThatFailsLeavesNone) {
    for (const OpcUa_StatusCode status : {badStatus, uncertainStatus, bothBitsStatus}) {
        script().onCreateSubscription = [status](const auto&) { return answer(status); };
        EXPECT_EQ(m_client->OpcUaCreateSubScription(100), 9) << std::hex << status;
        EXPECT_EQ(message(), messages::createSubscriptionFailed);
        EXPECT_EQ(m_client->OpcUaDeleteSubScription(), 11);
        script().onCreateSubscription = nullptr;
        subscribe();
    }
}

TEST_F(Subscription, InformationBitsAreNoFailure) {
    script().onCreateSubscription = [](const auto&) { return answer(goodWithDetails); };
    EXPECT_EQ(m_client->OpcUaCreateSubScription(100), 0);
    script().onDeleteSubscription = [](const auto&) { return answer(goodWithDetails); };
    EXPECT_EQ(m_client->OpcUaDeleteSubScription(), 0);
}

TEST_F(Subscription, ASecondOneReplacesTheFirst) {
    ASSERT_EQ(add("ns=2;s=A"), 0);
    watchFromHere();
    EXPECT_EQ(m_client->OpcUaCreateSubScription(200), 0);
    EXPECT_THAT(script().operations(),
                ElementsAre("UaSession::isConnected", "UaSession::isConnected",
                            "UaSession::deleteSubscription", "UaSubscription::~UaSubscription",
                            "UaSession::createSubscription", "UaSubscription::UaSubscription"));
    EXPECT_THAT(items(), IsEmpty());
    EXPECT_EQ(script().requests<CreateSubscriptionRequest>().at(0).clientHandle, 1U);
    EXPECT_THAT(mutex_watch::locked(), ElementsAre(mutex_watch::clientMutex, mutex_watch::bookkeepingMutex));
}

TEST_F(Subscription, WhatCannotBeDeletedIsNotReplaced) {
    script().onDeleteSubscription = [](const auto&) { return answer(badStatus); };
    EXPECT_EQ(m_client->OpcUaCreateSubScription(200), 10);
    EXPECT_EQ(message(), messages::deleteSubscriptionFailed);
    EXPECT_THAT(script().requests<CreateSubscriptionRequest>(), IsEmpty());
    EXPECT_EQ(m_client->OpcUaDeleteSubScription(), 11) << "the old one is forgotten all the same";
    EXPECT_EQ(m_client->OpcUaCreateSubScription(200), 0);
}

TEST_F(Subscription, TheConnectionMayBreakBetweenDeleteAndCreate) {
    int asked = 0;
    script().onIsConnected = [&asked] { return asked++ == 0; };
    EXPECT_EQ(m_client->OpcUaCreateSubScription(200), 10);
    EXPECT_EQ(message(), messages::notConnected);
    script().onIsConnected = nullptr;
}

namespace {

class OwnDelete : public COpcUaClient {
public:
    int OpcUaDeleteSubScription() override {
        ++calls;
        return code;
    }
    int calls = 0;
    int code = 77;
};

} // namespace

TEST_F(Subscription, IsReplacedThroughTheVirtualSlot) {
    OwnDelete client;
    _OpcUaClientConfig config = makeConfig();
    ASSERT_EQ(client.OpcUaConnect(config), 0);
    ASSERT_EQ(client.OpcUaCreateSubScription(100), 0);
    EXPECT_EQ(client.calls, 0);
    EXPECT_EQ(client.OpcUaCreateSubScription(100), 10);
    EXPECT_EQ(client.calls, 1);
    client.code = 0;
    EXPECT_EQ(client.OpcUaCreateSubScription(100), 0);
}

TEST_F(Subscription, IsDeletedUnderTheBookkeepingMutexAlone) {
    ASSERT_EQ(add("ns=2;s=A"), 0);
    ASSERT_EQ(add("ns=2;s=B"), 0);
    watchFromHere();
    EXPECT_EQ(m_client->OpcUaDeleteSubScription(), 0);
    EXPECT_THAT(script().operations(), ElementsAre("UaSession::isConnected", "UaSession::deleteSubscription",
                                                   "UaSubscription::~UaSubscription"));
    EXPECT_EQ(script().requests<DeleteSubscriptionRequest>().at(0).wait, 100U);
    EXPECT_EQ(script().requests<DeleteSubscriptionRequest>().at(0).settings.callTimeout,
              UaClientSdk::ServiceSettings().callTimeout);
    const standin::Call call = script().calls()[1];
    EXPECT_THAT(call.surroundings.heldMutexes, ElementsAre(mutex_watch::bookkeepingMutex));
    EXPECT_EQ(call.surroundings.liveRecords, 2) << "items go after the service call";
    EXPECT_THAT(mutex_watch::locked(), ElementsAre(mutex_watch::bookkeepingMutex));
    EXPECT_THAT(items(), IsEmpty());
    EXPECT_EQ(record_census::live(), 0);
}

TEST_F(Subscription, DeleteThatFailsForgetsItAllTheSame) {
    for (const OpcUa_StatusCode status : {badStatus, uncertainStatus, bothBitsStatus}) {
        ASSERT_EQ(add("ns=2;s=A"), 0);
        script().onDeleteSubscription = [status](const auto&) { return answer(status); };
        EXPECT_EQ(m_client->OpcUaDeleteSubScription(), 9);
        EXPECT_EQ(message(), messages::deleteSubscriptionFailed);
        EXPECT_THAT(items(), IsEmpty());
        EXPECT_EQ(add("ns=2;s=A"), 11);
        subscribe();
    }
}

TEST_F(Subscription, DeleteWithoutOneTakesNoLock) {
    ASSERT_EQ(m_client->OpcUaDeleteSubScription(), 0);
    watchFromHere();
    EXPECT_EQ(m_client->OpcUaDeleteSubScription(), 11);
    EXPECT_EQ(message(), messages::noSubscription);
    EXPECT_THAT(mutex_watch::locked(), IsEmpty());
    EXPECT_THAT(script().operations(), ElementsAre("UaSession::isConnected"));
}

TEST_F(Subscription, EarlierItemsAreUnknownToTheNextOne) {
    ASSERT_EQ(add("ns=2;s=A"), 0);
    ASSERT_EQ(m_client->OpcUaDeleteSubScription(), 0);
    subscribe();
    EXPECT_EQ(remove("ns=2;s=A"), 15);
    ASSERT_EQ(add("ns=2;s=B"), 0);
    EXPECT_EQ(items().at(0).clientHandle, 2U) << "handles go on";
}

TEST_F(Subscription, SuccessKeepsTheEarlierMessage) {
    ASSERT_EQ(m_client->installOpcUaCallBack(nullptr), 29);
    EXPECT_EQ(m_client->OpcUaCreateSubScription(100), 0);
    EXPECT_EQ(m_client->OpcUaDeleteSubScription(), 0);
    EXPECT_EQ(message(), messages::invalidArgument);
}

TEST_F(Subscription, GoesWithADisconnect) {
    ASSERT_EQ(add("ns=2;s=A"), 0);
    watchFromHere();
    EXPECT_EQ(m_client->OpcUaDisConnect(), 0);
    EXPECT_THAT(script().operations(), ElementsAre("UaSession::disconnect", "UaSubscription::~UaSubscription",
                                                   "UaSession::~UaSession"));
    EXPECT_THAT(mutex_watch::locked(), IsEmpty());
    EXPECT_EQ(record_census::live(), 0);
    connect();
    EXPECT_EQ(m_client->OpcUaDeleteSubScription(), 11);
    subscribe();
    EXPECT_THAT(items(), IsEmpty());
}

TEST_F(Subscription, StaysWhenTheDisconnectFails) {
    ASSERT_EQ(add("ns=2;s=A"), 0);
    script().onDisconnect = [](const auto&) { return answer(badStatus); };
    EXPECT_EQ(m_client->OpcUaDisConnect(), 2);
    EXPECT_THAT(items(), SizeIs(1));
    EXPECT_EQ(remove("ns=2;s=A"), 0);
    script().onDisconnect = nullptr;
}

TEST_F(Subscription, ANewConnectionHasNone) {
    ASSERT_EQ(add("ns=2;s=A"), 0);
    connect();
    EXPECT_EQ(add("ns=2;s=A"), 11);
    EXPECT_EQ(record_census::live(), 0);
}

TEST_F(Subscription, OfALostConnectionCannotBeUsed) {
    ASSERT_EQ(add("ns=2;s=A"), 0);
    script().onIsConnected = [] { return false; };
    EXPECT_EQ(m_client->OpcUaDeleteSubScription(), 3);
    EXPECT_EQ(m_client->OpcUaCreateSubScription(100), 3);
    EXPECT_EQ(message(), messages::notConnected);
    script().onIsConnected = nullptr;
    EXPECT_EQ(remove("ns=2;s=A"), 0) << "a refusal changes nothing";
}

TEST_F(Subscription, TheDestructorClearsThenDeletesThenDisconnects) {
    ASSERT_EQ(add("ns=2;s=A"), 0);
    ASSERT_EQ(add("ns=2;s=B"), 0);
    watchFromHere();
    m_client.reset();
    std::vector<std::string> operations;
    for (const std::string& operation : script().operations())
        if (operation.find("isConnected") == std::string::npos && operation.find("Ua") == 0)
            operations.push_back(operation);
    EXPECT_THAT(operations,
                ElementsAre("UaSubscription::deleteMonitoredItems", "UaSession::deleteSubscription",
                            "UaSubscription::~UaSubscription", "UaSession::disconnect",
                            "UaSession::~UaSession", "UaTrace::closeTrace", "UaPlatformLayer::cleanup"));
    EXPECT_THAT(script().requests<standin::DeleteItemsRequest>().at(0).ids, ElementsAre(5001U, 5002U));
}

TEST_F(Subscription, TheDestructorWaitsForNoSilentServer) {
    ASSERT_EQ(add("ns=2;s=A"), 0);
    watchFromHere();
    m_client.reset();
    EXPECT_EQ(script().requests<standin::DeleteItemsRequest>().at(0).settings.callTimeout, 300);
    EXPECT_EQ(script().requests<DeleteSubscriptionRequest>().at(0).settings.callTimeout, 300);
}

TEST_F(Subscription, TheDestructorWaitsForASilentServerButOnce) {
    ASSERT_EQ(add("ns=2;s=A"), 0);
    script().onDeleteItems = [](const auto&, UaStatusCodeArray&) { return UaStatus(OpcUa_BadTimeout); };
    watchFromHere();
    m_client.reset();
    EXPECT_EQ(script().requests<standin::DeleteItemsRequest>().at(0).settings.callTimeout, 300);
    EXPECT_EQ(script().requests<DeleteSubscriptionRequest>().at(0).settings.callTimeout, 1);
}

TEST_F(Subscription, TheDestructorFreesItemsOfALostConnection) {
    ASSERT_EQ(add("ns=2;s=A"), 0);
    script().onIsConnected = [] { return false; };
    m_client.reset();
    EXPECT_EQ(record_census::live(), 0);
}

TEST_F(Subscription, ADeliveryThatWaitsForTheDeleteFindsNothing) {
    ASSERT_EQ(add("ns=2;s=A"), 0);
    std::thread delivery;
    script().onDeleteSubscription = [&delivery](const auto&) {
        delivery = std::thread([] { Changes().add(1, int32Variant(7)).deliver(); });
        return UaStatus();
    };
    EXPECT_EQ(m_client->OpcUaDeleteSubScription(), 0);
    delivery.join();
    EXPECT_THAT(m_application.messages, IsEmpty());
}

TEST_F(Subscription, ItsEndAndEventsAreNoConcernOfTheApplication) {
    ASSERT_EQ(add("ns=2;s=A"), 0);
    watchFromHere();
    UaEventFieldLists events;
    script().subscriptionCallback()->subscriptionStatusChanged(1, UaStatus(badStatus));
    script().subscriptionCallback()->newEvents(1, events);
    EXPECT_THAT(m_application.messages, IsEmpty());
    EXPECT_THAT(mutex_watch::locked(), IsEmpty());
    EXPECT_THAT(items(), SizeIs(1));
}
