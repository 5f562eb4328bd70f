// Subscriptions at the mercy of a server: faults, gaps, numbers that make no sense, and what comes too early.
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <future>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "hostile/hostile_fixture.h"
#include "integration/trace_file.h"

using namespace scripted;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Changes = std::vector<Publisher::Change>;

class Publishing : public HostileTest {
protected:
    /// Every value that was delivered of the first node, in order.
    std::vector<std::int32_t> values() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_values;
    }
    void recordValues() {
        application.onEachChange([this](const _OpcUaDataChangeMsg& message) {
            std::int32_t value = 0;
            std::memcpy(&value, message.value, sizeof value);
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_values.push_back(value);
        });
    }
    /// Of the first item.
    std::uint32_t handle() { return server.publisher().items().at(0).clientHandle; }
    /// Makes the publisher answer the next request with these bytes.
    void answerPublish(const std::function<Bytes(const Call&)>& body) {
        const std::optional<Call> call = server.publisher().takeRequest();
        ASSERT_TRUE(call);
        call->answerBody(body(*call));
    }
    /// The status for a while; what differs from the first one ends it.
    int statusFor(std::chrono::milliseconds duration) {
        const int first = status();
        const auto end = std::chrono::steady_clock::now() + duration;
        while (std::chrono::steady_clock::now() < end && status() == first)
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        return status();
    }
    /// All that wait.
    std::vector<Call> takeRequests() {
        std::vector<Call> calls;
        for (int i = 0; i < 10; ++i)
            if (std::optional<Call> call = server.publisher().takeRequest())
                calls.push_back(std::move(*call));
        EXPECT_EQ(calls.size(), 10U);
        return calls;
    }
    void loseRequests() { takeRequests(); }
    /// The server makes the items and says something else.
    void answerCreateItems(const std::function<Bytes(const Call&)>& body) {
        server.on<UA_CreateMonitoredItemsRequest>([body](const Call& call) {
            call.usualBody();
            call.answerBody(body(call));
        });
    }
    /// Their results.
    std::vector<int> addMany(const std::string& name, int count) {
        std::vector<OpcUaNode> nodes(static_cast<std::size_t>(count));
        for (std::size_t i = 0; i < nodes.size(); ++i)
            setField(nodes[i].nodeId, "ns=1;s=" + name + std::to_string(i));
        EXPECT_EQ(client.OpcUaAddMultiMonitNode(nodes.data(), count), 0);
        std::vector<int> results;
        for (const OpcUaNode& node : nodes)
            results.push_back(node.result);
        return results;
    }
    void addUnconfirmed(const char* node, const std::function<Bytes(const Call&)>& body) {
        answerCreateItems(body);
        EXPECT_EQ(add(node), 12);
        server.on<UA_CreateMonitoredItemsRequest>([](const Call& call) { call.answer(); });
    }
    int removeFirst() {
        OpcUaNode node{};
        setField(node.nodeId, "ns=1;s=Item0");
        return client.OpcUaRemoveMonitNode(&node, nullptr, 0);
    }
    void subscribeAnew(const std::string& node) {
        EXPECT_EQ(client.OpcUaDeleteSubScription(), 0);
        ASSERT_EQ(client.OpcUaCreateSubScription(50), 0);
        ASSERT_EQ(add(node), 0);
    }
    void expectStillPublishing() {
        server.publisher().publish(1234);
        EXPECT_TRUE(waitForValue(1234));
        EXPECT_TRUE(waitForStatus(connected)); // told on a thread of its own
        expectUnharmed();
    }

private:
    std::mutex m_mutex;
    std::vector<std::int32_t> m_values;
};

/// What Publish is answered with, each time.
struct PublishAnswer {
    std::string name;
    std::function<Bytes(const Call&)> body;
    std::set<int> statuses; ///< that tell the truth
};

std::ostream& operator<<(std::ostream& stream, const PublishAnswer& answer) {
    return stream << answer.name;
}

PublishAnswer fault(const std::string& name, UA_StatusCode status, const std::set<int>& statuses = {5}) {
    return {name, [status](const Call& call) { return call.faultBody(status); }, statuses};
}

/// A message of the only subscription, with the next of ever new numbers, and with this notification.
Bytes messageWith(const Call& call, UA_ExtensionObject& notification) {
    static std::atomic<std::uint32_t> number{1000000};
    Owned<UA_PublishResponse> response = Publisher::keepAlive(1, ++number);
    UA_NotificationMessage& message = response->notificationMessage;
    resize(message.notificationData, message.notificationDataSize, 1);
    std::swap(message.notificationData[0], notification);
    return call.bodyOf(*response);
}

Bytes unknownNotification(const Call& call) {
    UA_ExtensionObject object{};
    object.encoding = UA_EXTENSIONOBJECT_ENCODED_BYTESTRING;
    object.content.encoded.typeId = UA_NODEID_NUMERIC(1, 987654);
    return messageWith(call, object);
}

Bytes noChanges(const Call& call) {
    UA_ExtensionObject object{};
    const UA_DataType& type = typeOf<UA_DataChangeNotification>();
    UA_ExtensionObject_setValue(&object, UA_new(&type), &type);
    return messageWith(call, object);
}

Bytes unknownHandles(const Call& call) {
    static std::atomic<std::uint32_t> number{2000000};
    return call.bodyOf(*Publisher::dataChange(1, ++number, {{4000, 1}, {4001, 2}}));
}

Bytes knownNumber(const Call& call) {
    return call.bodyOf(*Publisher::dataChange(1, 1, {{1, 7}}));
}

const std::vector<PublishAnswer> publishAnswers{
    {"UnknownNotification", unknownNotification, {1}},
    {"NoChanges", noChanges, {1}},
    {"UnknownHandles", unknownHandles, {1}},
    {"KnownNumber", knownNumber, {1}},
    fault("TooManyPublishRequests", UA_STATUSCODE_BADTOOMANYPUBLISHREQUESTS),
    fault("InternalError", UA_STATUSCODE_BADINTERNALERROR),
    fault("SubscriptionIdInvalid", UA_STATUSCODE_BADSUBSCRIPTIONIDINVALID),
    fault("NoSubscription", UA_STATUSCODE_BADNOSUBSCRIPTION),
    fault("Timeout", UA_STATUSCODE_BADTIMEOUT),
    fault("ServiceUnsupported", UA_STATUSCODE_BADSERVICEUNSUPPORTED),
    fault("NotImplemented", UA_STATUSCODE_BADNOTIMPLEMENTED),
    fault("OutOfMemory", UA_STATUSCODE_BADOUTOFMEMORY),
    fault("TooManyOperations", UA_STATUSCODE_BADTOOMANYOPERATIONS),
    fault("UserAccessDenied", UA_STATUSCODE_BADUSERACCESSDENIED),
    fault("Good", UA_STATUSCODE_GOOD),
    fault("Uncertain", UA_STATUSCODE_UNCERTAIN),
    {"OneByte", [](const Call&) { return hex("07"); }, {5}},
    {"Nothing", [](const Call&) { return Bytes(); }, {5}},
    {"Truncated", [](const Call& call) { return call.usualBody().substr(0, 30); }, {5}},
    {"OtherType",
     [](const Call& call) {
         Owned<UA_ReadResponse> response;
         return call.bodyOf(*response);
     },
     {5}},
    {"AnotherSubscription",
     [](const Call& call) { return call.bodyOf(*Publisher::keepAlive(987654, 1)); },
     {5}},
};

/// What these end is more than a subscription.
const std::vector<PublishAnswer> endingAnswers{
    fault("Shutdown", UA_STATUSCODE_BADSHUTDOWN, {3, 4, 5}),
    fault("SessionIdInvalid", UA_STATUSCODE_BADSESSIONIDINVALID, {3, 5}),
    fault("SessionClosed", UA_STATUSCODE_BADSESSIONCLOSED, {3, 5}),
    fault("ChannelIdInvalid", UA_STATUSCODE_BADSECURECHANNELIDINVALID, {3, 5}),
};

class PublishAnswers : public Publishing, public testing::WithParamInterface<PublishAnswer> {};

TEST_P(PublishAnswers, WithoutEndAreAskedForSlowlyAndTold) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    const int before = server.count<UA_PublishRequest>();
    server.on<UA_PublishRequest>([](const Call& call) { call.answerBody(GetParam().body(call)); });
    while (server.publisher().waiting() > 0)
        answerPublish(GetParam().body);
    std::this_thread::sleep_for(std::chrono::seconds(5));
    EXPECT_LT(server.count<UA_PublishRequest>() - before, 100);
    EXPECT_TRUE(waitUntil([this] { return GetParam().statuses.count(status()) == 1; })) << status();
    EXPECT_LT(server.count<UA_PublishRequest>() - before, 500);
}

class PublishAnswersOnce : public PublishAnswers {};

TEST_P(PublishAnswersOnce, CostNothingElse) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    answerPublish(GetParam().body);
    expectStillPublishing();
}

INSTANTIATE_TEST_SUITE_P(Ending, PublishAnswers, testing::ValuesIn(endingAnswers),
                         [](const auto& one) { return one.param.name; });
INSTANTIATE_TEST_SUITE_P(Each, PublishAnswersOnce, testing::ValuesIn(publishAnswers),
                         [](const auto& one) { return one.param.name; });
INSTANTIATE_TEST_SUITE_P(Each, PublishAnswers, testing::ValuesIn(publishAnswers),
                         [](const auto& one) { return one.param.name; });

/// What CreateSubscription revises.
struct Revision {
    std::string name;
    double interval;
    std::uint32_t keepAliveCount;
    std::uint32_t lifetimeCount;
};

std::ostream& operator<<(std::ostream& stream, const Revision& revision) {
    return stream << revision.name;
}

constexpr std::uint32_t mostCount = 0xFFFFFFFF;
const std::vector<Revision> revisions{
    {"NoNumber", std::numeric_limits<double>::quiet_NaN(), 5, 15},
    {"SignallingNoNumber", std::numeric_limits<double>::signaling_NaN(), 5, 15},
    {"Infinite", std::numeric_limits<double>::infinity(), 5, 15},
    {"NegativeInfinite", -std::numeric_limits<double>::infinity(), 5, 15},
    {"Negative", -1, 5, 15},
    {"VeryNegative", -1e300, 5, 15},
    {"Huge", 1e300, 5, 15},
    {"Zero", 0, 5, 15},
    {"NegativeZero", -0.0, 5, 15},
    {"Denormal", std::numeric_limits<double>::denorm_min(), 5, 15},
    {"ZeroWithoutKeepAlive", 0, 0, 0},
    {"MostKeepAlive", 50, mostCount, mostCount},
    {"HugeAndMostKeepAlive", 1e300, mostCount, mostCount},
    {"NoKeepAlive", 50, 0, 0},
};

class RevisedIntervals : public Publishing, public testing::WithParamInterface<Revision> {};

TEST_P(RevisedIntervals, ThatMakeNoSenseDoNotEndASubscription) {
    server.edit<UA_CreateSubscriptionResponse>([](UA_CreateSubscriptionResponse& response) {
        response.revisedPublishingInterval = GetParam().interval;
        response.revisedMaxKeepAliveCount = GetParam().keepAliveCount;
        response.revisedLifetimeCount = GetParam().lifetimeCount;
    });
    monitor();
    ASSERT_TRUE(waitForValue(42));
    EXPECT_EQ(statusFor(std::chrono::seconds(4)), connected);
    EXPECT_LT(server.requests(), 100);
    expectStillPublishing();
}

INSTANTIATE_TEST_SUITE_P(Each, RevisedIntervals, testing::ValuesIn(revisions),
                         [](const auto& one) { return one.param.name; });

/// A first value that overtakes the answer to CreateMonitoredItems, with the publishing interval asked for.
class EarlyValues : public Publishing, public testing::WithParamInterface<int> {
protected:
    void publishBeforeTheAnswer() {
        server.on<UA_CreateMonitoredItemsRequest>([this](const Call& call) {
            const Bytes body = call.usualBody();
            server.publisher().flush();
            call.answerBody(body);
        });
    }
    void subscribe() {
        ASSERT_EQ(client.installOpcUaCallBack(&application), 0);
        ASSERT_EQ(connect(), 0);
        ASSERT_EQ(client.OpcUaCreateSubScription(GetParam()), 0);
        ASSERT_TRUE(server.publisher().waitForWaiting(1));
    }
};

TEST_P(EarlyValues, AreDelivered) {
    recordValues();
    publishBeforeTheAnswer();
    subscribe();
    ASSERT_EQ(add("ns=1;s=Item0"), 0);
    EXPECT_TRUE(waitForValue(42));
    expectStillPublishing();
    EXPECT_THAT(values(), ElementsAre(42, 1234));
}

TEST_P(EarlyValues, OfManyItemsAreDelivered) {
    publishBeforeTheAnswer();
    subscribe();
    constexpr int count = 50; // several requests
    std::vector<OpcUaNode> nodes(count);
    for (int i = 0; i < count; ++i)
        setField(nodes[static_cast<std::size_t>(i)].nodeId, "ns=1;s=Item" + std::to_string(i));
    ASSERT_EQ(client.OpcUaAddMultiMonitNode(nodes.data(), count), 0);
    for (const OpcUaNode& node : nodes) {
        EXPECT_EQ(node.result, 0);
        ASSERT_TRUE(waitForValue(42, fieldText(node.nodeId))) << fieldText(node.nodeId);
    }
}

TEST_P(EarlyValues, OfARefusedItemAreNot) {
    publishBeforeTheAnswer();
    server.edit<UA_CreateMonitoredItemsResponse>([](UA_CreateMonitoredItemsResponse& response) {
        response.results[0].statusCode = UA_STATUSCODE_BADNODEIDUNKNOWN;
    });
    subscribe();
    EXPECT_EQ(add("ns=1;s=Refused"), 12);
    server.behave();
    ASSERT_EQ(add("ns=1;s=Item0"), 0);
    EXPECT_TRUE(waitForValue(42));
    EXPECT_EQ(application.count("ns=1;s=Refused"), 0);
}

TEST_P(EarlyValues, FollowedByLaterOnesAreDeliveredInOrder) {
    recordValues();
    server.on<UA_CreateMonitoredItemsRequest>([this](const Call& call) {
        const Bytes body = call.usualBody();
        server.publisher().flush(); // 42 goes first
        server.publisher().publish(43);
        call.answerBody(body);
    });
    subscribe();
    ASSERT_TRUE(server.publisher().waitForWaiting(2));
    ASSERT_EQ(add("ns=1;s=Item0"), 0);
    EXPECT_TRUE(waitForValue(43));
    EXPECT_THAT(values(), ElementsAre(42, 43));
}

INSTANTIATE_TEST_SUITE_P(Interval, EarlyValues, testing::Values(0, -1, 50));

TEST_F(Publishing, AcknowledgesEachNotificationOnce) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    std::vector<std::uint32_t> expected{1};
    for (std::uint32_t number = 2; number <= 20; ++number) {
        server.publisher().publish(static_cast<std::int32_t>(number));
        ASSERT_TRUE(waitForValue(static_cast<std::int32_t>(number)));
        expected.push_back(number);
    }
    ASSERT_TRUE(server.publisher().waitForAcknowledged(19));
    server.publisher().keepAlive();
    ASSERT_TRUE(server.publisher().waitForAcknowledged(20));
    EXPECT_EQ(server.publisher().acknowledged(), expected);
    EXPECT_THAT(server.publisher().unacknowledged(), IsEmpty());
}

/// How a server does not serve the request that acknowledges.
struct Unserved {
    std::string name;
    Script script;
};

std::ostream& operator<<(std::ostream& stream, const Unserved& unserved) {
    return stream << unserved.name;
}

class UnservedPublish : public Publishing, public testing::WithParamInterface<Unserved> {};

TEST_P(UnservedPublish, IsFollowedByTheSameAcknowledgements) {
    monitor();
    ASSERT_TRUE(server.publisher().waitForAcknowledged(1));
    ASSERT_TRUE(server.publisher().waitForWaiting(10));
    const auto answered = std::make_shared<std::promise<void>>();
    server.onNext<UA_PublishRequest>([answered, script = GetParam().script](const Call& call) {
        script(call);
        answered->set_value();
    });
    server.publisher().publish(43);
    ASSERT_EQ(answered->get_future().wait_for(std::chrono::seconds(30)), std::future_status::ready);
    server.publisher().keepAlive(); // one that is served
    ASSERT_TRUE(server.publisher().waitForAcknowledged(2));
    EXPECT_THAT(server.publisher().acknowledged(), ElementsAre(1U, 2U));
    EXPECT_THAT(server.publisher().unacknowledged(), IsEmpty());
    expectStillPublishing();
}

INSTANTIATE_TEST_SUITE_P(
    Each, UnservedPublish,
    testing::Values(Unserved{"Refused", [](const Call& call) { call.fault(UA_STATUSCODE_BADINTERNALERROR); }},
                    Unserved{"OneOfTooMany",
                             [](const Call& call) { call.fault(UA_STATUSCODE_BADTOOMANYPUBLISHREQUESTS); }},
                    Unserved{"TimedOut", [](const Call& call) { call.fault(UA_STATUSCODE_BADTIMEOUT); }},
                    Unserved{"BrokenOff",
                             [](const Call& call) {
                                 call.connection().send(
                                     call.chunk('A', u32(UA_STATUSCODE_BADTIMEOUT) + nullText()));
                             }}),
    [](const auto& one) { return one.param.name; });

TEST_F(Publishing, AHungCallbackHoldsUpNoStatus) {
    std::promise<void> goOn;
    application.onEachChange([held = goOn.get_future().share()](const _OpcUaDataChangeMsg&) { held.wait(); });
    monitor();
    ASSERT_TRUE(application.waitForCount("ns=1;s=Item0", 1));
    server.on<UA_ReadRequest>([](const Call&) {}); // the watchdog's
    EXPECT_TRUE(waitForStatus(silent));
    server.connection()->close();
    EXPECT_TRUE(waitForStatus(lost));
    EXPECT_EQ(changes(), 1);
    goOn.set_value();
}

TEST_F(Publishing, DoesNotAcknowledgeKeepAlives) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    for (int i = 0; i < 5; ++i)
        server.publisher().keepAlive();
    expectStillPublishing();
    server.publisher().keepAlive();
    ASSERT_TRUE(server.publisher().waitForAcknowledged(2));
    EXPECT_THAT(server.publisher().acknowledged(), ElementsAre(1U, 2U));
    EXPECT_THAT(server.publisher().askedAgain(), IsEmpty());
}

TEST_F(Publishing, AsksForALostNotificationAgain) {
    recordValues();
    monitor();
    ASSERT_TRUE(waitForValue(42));
    server.publisher().lose({{handle(), 7}});
    server.publisher().publish(8);
    ASSERT_TRUE(waitUntil([this] { return values().size() >= 3; }));
    EXPECT_THAT(values(), testing::UnorderedElementsAre(42, 7, 8));
    EXPECT_THAT(server.publisher().askedAgain(), ElementsAre(2U));
    server.publisher().keepAlive();
    EXPECT_TRUE(waitUntil([this] { return server.publisher().unacknowledged().empty(); }));
    EXPECT_THAT(server.publisher().acknowledged(), testing::UnorderedElementsAre(1U, 2U, 3U));
    expectStillPublishing();
}

TEST_F(Publishing, AsksForALostNotificationAgainWhenAKeepAliveTellsOfIt) {
    recordValues();
    monitor();
    ASSERT_TRUE(waitForValue(42));
    server.publisher().lose({{handle(), 7}});
    server.publisher().keepAlive();
    ASSERT_TRUE(waitForValue(7));
    EXPECT_THAT(values(), ElementsAre(42, 7));
    EXPECT_THAT(server.publisher().askedAgain(), ElementsAre(2U));
    expectStillPublishing();
}

TEST_F(Publishing, AsksForSeveralLostNotificationsAgain) {
    recordValues();
    monitor();
    ASSERT_TRUE(waitForValue(42));
    for (int value = 1; value <= 5; ++value)
        server.publisher().lose({{handle(), value}});
    server.publisher().publish(6);
    ASSERT_TRUE(waitUntil([this] { return values().size() >= 7; }));
    EXPECT_THAT(values(), testing::UnorderedElementsAre(42, 1, 2, 3, 4, 5, 6));
    EXPECT_THAT(server.publisher().askedAgain(), ElementsAre(2U, 3U, 4U, 5U, 6U));
    server.publisher().keepAlive();
    EXPECT_TRUE(waitUntil([this] { return server.publisher().unacknowledged().empty(); }));
}

/// What Republish is answered with.
class LostForGood : public Publishing, public testing::WithParamInterface<PublishAnswer> {};

TEST_P(LostForGood, NotificationsDoNotHoldTheNextBack) {
    server.on<UA_RepublishRequest>([](const Call& call) { call.answerBody(GetParam().body(call)); });
    monitor();
    ASSERT_TRUE(waitForValue(42));
    server.publisher().lose({{handle(), 7}});
    server.publisher().publish(8);
    EXPECT_TRUE(waitForValue(8));
    expectStillPublishing();
    EXPECT_GE(server.count<UA_RepublishRequest>(), 1);
    EXPECT_LE(server.count<UA_RepublishRequest>(), 3);
}

INSTANTIATE_TEST_SUITE_P(Each, LostForGood,
                         testing::Values(fault("NotAvailable", UA_STATUSCODE_BADMESSAGENOTAVAILABLE),
                                         fault("SubscriptionUnknown", UA_STATUSCODE_BADSUBSCRIPTIONIDINVALID),
                                         fault("Unsupported", UA_STATUSCODE_BADSERVICEUNSUPPORTED),
                                         fault("Good", UA_STATUSCODE_GOOD),
                                         PublishAnswer{"OneByte", [](const Call&) { return hex("07"); }, {}},
                                         PublishAnswer{"Nothing", [](const Call&) { return Bytes(); }, {}}),
                         [](const auto& one) { return one.param.name; });

TEST_F(Publishing, SurvivesARepublishThatIsNeverAnswered) {
    client.OpcUaInit(OpcUaTraceLevel_Warnings);
    const TraceFile trace;
    server.on<UA_RepublishRequest>([](const Call&) {});
    monitor();
    ASSERT_TRUE(waitForValue(42));
    server.publisher().lose({{handle(), 7}});
    server.publisher().publish(8);
    EXPECT_TRUE(waitForValue(8));
    EXPECT_EQ(trace.linesWith("message 2 of the server is lost: BadTimeout"), 1);
    expectStillPublishing();
}

TEST_F(Publishing, TellsOfALossAlsoWhenTheNextIsNotedBeforeIt) {
    client.OpcUaInit(OpcUaTraceLevel_Warnings);
    const TraceFile trace;
    std::vector<Call> asked;
    std::mutex mutex;
    server.on<UA_RepublishRequest>([&](const Call& call) {
        const std::lock_guard<std::mutex> lock(mutex);
        asked.push_back(call);
        if (asked.size() == 2)
            for (const Call& one : asked)
                one.fault(UA_STATUSCODE_BADMESSAGENOTAVAILABLE);
    });
    monitor();
    ASSERT_TRUE(waitForValue(42));
    server.publisher().lose({{handle(), 7}});
    server.publisher().publish(8);
    server.publisher().lose({{handle(), 9}});
    server.publisher().publish(10);
    EXPECT_TRUE(waitForValue(10));
    EXPECT_EQ(trace.linesWith("is lost: BadMessageNotAvailable"), 1);
}

TEST_F(Publishing, DeliversNothingThatWasAskedForBeforeALeap) {
    std::optional<Call> asked;
    std::mutex mutex;
    server.on<UA_RepublishRequest>([&](const Call& call) {
        const std::lock_guard<std::mutex> lock(mutex);
        asked = call;
    });
    recordValues();
    monitor();
    ASSERT_TRUE(waitForValue(42));
    const std::uint32_t id = server.publisher().subscriptionId();
    server.publisher().lose({{handle(), 7}});
    server.publisher().publish(8);
    ASSERT_TRUE(server.waitForCount<UA_RepublishRequest>(1));
    const auto say = [&](std::uint32_t number, std::int32_t value) {
        answerPublish([&](const Call& call) {
            return call.bodyOf(*Publisher::dataChange(id, number, {{handle(), value}}));
        });
        EXPECT_TRUE(waitForValue(value));
    };
    say(1000, 9);
    {
        const std::lock_guard<std::mutex> lock(mutex);
        Owned<UA_RepublishResponse> late;
        std::swap(late->notificationMessage,
                  Publisher::dataChange(id, 2, {{handle(), 7}})->notificationMessage);
        asked->answer(*late);
    }
    say(1001, 10);
    EXPECT_THAT(values(), ElementsAre(42, 8, 9, 10));
}

TEST_F(Publishing, AsksForGapAfterGapNotWithoutEnd) {
    server.on<UA_RepublishRequest>([](const Call&) {});
    monitor();
    ASSERT_TRUE(waitForValue(42));
    const std::uint32_t id = server.publisher().subscriptionId();
    constexpr std::uint32_t gap = 60;
    for (std::uint32_t number = 1000; number < 40000; number += 1000) {
        for (const std::uint32_t next : {number, number + gap}) {
            answerPublish([&](const Call& call) {
                return call.bodyOf(*Publisher::dataChange(id, next, {{handle(), 8}}));
            });
        }
    }
    EXPECT_EQ(read(), 0); // behind them
    EXPECT_LE(server.count<UA_RepublishRequest>(), 256);
    EXPECT_EQ(status(), connected);
}

TEST_F(Publishing, ASpellOfLossesAndRefusalsIsTracedOnce) {
    client.OpcUaInit(OpcUaTraceLevel_Warnings);
    const TraceFile trace;
    server.on<UA_RepublishRequest>(
        [](const Call& call) { call.fault(UA_STATUSCODE_BADMESSAGENOTAVAILABLE); });
    monitor();
    ASSERT_TRUE(waitForValue(42));
    const std::uint32_t id = server.publisher().subscriptionId();
    std::int32_t value = 1000;
    for (std::uint32_t number = 3; number < 43; number += 2) {
        answerPublish([&](const Call& call) {
            return call.bodyOf(*Publisher::dataChange(id, number, {{handle(), ++value}}));
        });
        ASSERT_TRUE(waitForValue(value));
        answerPublish([](const Call& call) { return call.faultBody(UA_STATUSCODE_BADOUTOFMEMORY); });
    }
    EXPECT_EQ(trace.linesWith("is missing and asked for again"), 1);
    EXPECT_EQ(trace.linesWith("is lost: BadMessageNotAvailable"), 1);
    EXPECT_EQ(trace.linesWith("no answer to a publish request"), 1);
}

TEST_F(Publishing, TellsWhyItEndsAlsoSoonAfterARefusalThatPassed) {
    client.OpcUaInit(OpcUaTraceLevel_Warnings);
    const TraceFile trace;
    monitor();
    ASSERT_TRUE(waitForValue(42));
    answerPublish([](const Call& call) { return call.faultBody(UA_STATUSCODE_BADOUTOFMEMORY); });
    server.publisher().publish(43);
    ASSERT_TRUE(waitForValue(43));
    const auto refuse = [](const Call& call) { return call.faultBody(UA_STATUSCODE_BADINTERNALERROR); };
    server.on<UA_PublishRequest>([refuse](const Call& call) { call.answerBody(refuse(call)); });
    while (server.publisher().waiting() > 0)
        answerPublish(refuse);
    ASSERT_TRUE(waitForStatus(subscriptionLost));
    EXPECT_TRUE(waitUntil([&] {
        return trace.linesWith("no answer to a publish request: BadOutOfMemory") == 1 &&
               trace.linesWith("no answer to a publish request: BadInternalError") == 1;
    }));
}

TEST_F(Publishing, WaitsForALostNotificationThroughASilence) {
    std::vector<Call> reads;
    std::optional<Call> again;
    std::mutex mutex;
    server.on<UA_RepublishRequest>([&](const Call& call) {
        const std::lock_guard<std::mutex> lock(mutex);
        again = call;
    });
    recordValues();
    monitor();
    ASSERT_TRUE(waitForValue(42));
    server.on<UA_ReadRequest>([&](const Call& call) {
        const std::lock_guard<std::mutex> lock(mutex);
        reads.push_back(call);
    });
    server.publisher().lose({{handle(), 7}});
    server.publisher().publish(8);
    ASSERT_TRUE(server.waitForCount<UA_RepublishRequest>(1));
    ASSERT_TRUE(waitForStatus(2));
    EXPECT_EQ(statusFor(std::chrono::seconds(7)), 2); // longer than a server is waited for that speaks
    const std::lock_guard<std::mutex> lock(mutex);
    ASSERT_FALSE(reads.empty());
    reads.front().answer();
    EXPECT_TRUE(waitForStatus(connected));
    EXPECT_EQ(statusFor(std::chrono::milliseconds(500)), connected);
    again->answer();
    EXPECT_TRUE(waitForValue(8));
    EXPECT_THAT(values(), ElementsAre(42, 7, 8));
}

TEST_F(Publishing, AsksForAnEndlessGapNotWithoutEnd) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    const std::uint32_t id = server.publisher().subscriptionId();
    answerPublish([&](const Call& call) {
        return call.bodyOf(*Publisher::dataChange(id, 4000000000U, {{handle(), 8}}));
    });
    EXPECT_TRUE(waitForValue(8));
    answerPublish([&](const Call& call) {
        return call.bodyOf(*Publisher::dataChange(id, 4000000001U, {{handle(), 9}}));
    });
    EXPECT_TRUE(waitForValue(9));
    EXPECT_LT(server.count<UA_RepublishRequest>(), 200);
    EXPECT_EQ(status(), connected);
}

TEST_F(Publishing, GoesOnAfterTheLastSequenceNumber) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    const std::uint32_t id = server.publisher().subscriptionId();
    const auto say = [&](std::uint32_t number, std::int32_t value) {
        answerPublish([&](const Call& call) {
            return call.bodyOf(*Publisher::dataChange(id, number, {{handle(), value}}));
        });
        EXPECT_TRUE(waitForValue(value));
    };
    say(0xFFFFFFFE, 1);
    const int asked = server.count<UA_RepublishRequest>();
    say(0xFFFFFFFF, 2);
    say(1, 3); // 0 is not used (OPC UA Part 4, 7.29)
    say(2, 4);
    EXPECT_EQ(server.count<UA_RepublishRequest>(), asked);
}

TEST_F(Publishing, DeliversANotificationThatComesTwiceOnce) {
    recordValues();
    monitor();
    ASSERT_TRUE(waitForValue(42));
    const std::uint32_t id = server.publisher().subscriptionId();
    for (int i = 0; i < 2; ++i) {
        answerPublish(
            [&](const Call& call) { return call.bodyOf(*Publisher::dataChange(id, 2, {{handle(), 7}})); });
    }
    answerPublish(
        [&](const Call& call) { return call.bodyOf(*Publisher::dataChange(id, 3, {{handle(), 8}})); });
    ASSERT_TRUE(waitForValue(8));
    EXPECT_THAT(values(), ElementsAre(42, 7, 8));
}

/// Answers that no server gives, but which hold no harm.
struct OddAnswer {
    std::string name;
    std::function<void(UA_PublishResponse&)> change;
};

std::ostream& operator<<(std::ostream& stream, const OddAnswer& answer) {
    return stream << answer.name;
}

void addUndecodable(UA_PublishResponse& response, std::uint32_t typeId, const Bytes& body) {
    UA_NotificationMessage& message = response.notificationMessage;
    resize(message.notificationData, message.notificationDataSize, message.notificationDataSize + 1);
    UA_ExtensionObject& object = message.notificationData[message.notificationDataSize - 1];
    object.encoding = UA_EXTENSIONOBJECT_ENCODED_BYTESTRING;
    object.content.encoded.typeId.identifier.numeric = typeId;
    assign(object.content.encoded.body, body);
}

const std::uint32_t dataChangeEncoding =
    typeOf<UA_DataChangeNotification>().binaryEncodingId.identifier.numeric;

const std::vector<OddAnswer> oddAnswers{
    {"MoreNotifications", [](UA_PublishResponse& response) { response.moreNotifications = true; }},
    {"ManyResults",
     [](UA_PublishResponse& response) { resize(response.results, response.resultsSize, 1000); }},
    {"NoResults", [](UA_PublishResponse& response) { resize(response.results, response.resultsSize, 0); }},
    {"BadResults",
     [](UA_PublishResponse& response) {
         for (std::size_t i = 0; i < response.resultsSize; ++i)
             response.results[i] = UA_STATUSCODE_BADSEQUENCENUMBERUNKNOWN;
     }},
    {"ManyAvailable",
     [](UA_PublishResponse& response) {
         resize(response.availableSequenceNumbers, response.availableSequenceNumbersSize, 10000);
     }},
    {"UnknownNotification", [](UA_PublishResponse& response) { addUndecodable(response, 77777, "body"); }},
    {"EmptyNotification", [](UA_PublishResponse& response) { addUndecodable(response, 0, ""); }},
    {"ReadResponseAsNotification",
     [](UA_PublishResponse& response) {
         Owned<UA_ReadResponse> other;
         addUndecodable(response, typeOf<UA_ReadResponse>().binaryEncodingId.identifier.numeric,
                        encode(*other));
     }},
    {"Events",
     [](UA_PublishResponse& response) {
         Owned<UA_EventNotificationList> events;
         addUndecodable(response, typeOf<UA_EventNotificationList>().binaryEncodingId.identifier.numeric,
                        encode(*events));
     }},
    {"NoTime", [](UA_PublishResponse& response) { response.notificationMessage.publishTime = 0; }},
    {"LatestTime",
     [](UA_PublishResponse& response) { response.notificationMessage.publishTime = INT64_MAX; }},
    {"DiagnosticsOfNothing",
     [](UA_PublishResponse& response) {
         resize(response.diagnosticInfos, response.diagnosticInfosSize, 10);
     }},
};

class OddPublishAnswers : public Publishing, public testing::WithParamInterface<OddAnswer> {};

TEST_P(OddPublishAnswers, DoNotDisturb) {
    server.edit<UA_PublishResponse>([](UA_PublishResponse& response) { GetParam().change(response); });
    monitor();
    EXPECT_EQ(statusFor(std::chrono::milliseconds(200)), connected);
    server.behave();
    expectStillPublishing();
}

INSTANTIATE_TEST_SUITE_P(Each, OddPublishAnswers, testing::ValuesIn(oddAnswers),
                         [](const auto& one) { return one.param.name; });

TEST_F(Publishing, DropsANotificationThatCannotBeDecoded) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    const std::uint32_t id = server.publisher().subscriptionId();
    for (const Bytes& body : {hex("07"), Bytes(), hex("FFFFFF7F"), hex("01000000 01000000 0D 1F FF")}) {
        answerPublish([&](const Call& call) {
            Owned<UA_PublishResponse> response = Publisher::keepAlive(id, 2);
            addUndecodable(*response, dataChangeEncoding, body);
            return call.bodyOf(*response);
        });
    }
    EXPECT_TRUE(server.publisher().waitForWaiting(1));
    expectStillPublishing();
}

TEST_F(Publishing, IgnoresHandlesThatItNeverGave) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    Changes changes;
    for (std::uint32_t i = 0; i < 1000; ++i)
        changes.push_back({handle() + 1 + i * 4000000U, 5});
    server.publisher().publish(changes);
    expectStillPublishing();
    EXPECT_EQ(application.count("ns=1;s=Item0"), 2);
}

TEST_F(Publishing, PacesAServerThatSendsChangesOfNoItem) {
    connect();
    ASSERT_EQ(client.OpcUaCreateSubScription(50), 0);
    const std::uint32_t id = server.publisher().subscriptionId();
    std::atomic<std::uint32_t> sent{0};
    server.on<UA_PublishRequest>(
        [&sent, id](const Call& call) { call.answer(*Publisher::dataChange(id, ++sent, {{0, 5}})); });
    EXPECT_EQ(statusFor(std::chrono::seconds(1)), connected);
    EXPECT_LE(sent, 40U);
}

TEST_F(Publishing, AnItemThatWasDeletedWithoutAnAnswerCanBeRemoved) {
    monitor();
    server.on<UA_DeleteMonitoredItemsRequest>([](const Call& call) {
        call.usualBody();
        call.answerBody(hex("07"));
    });
    EXPECT_EQ(removeFirst(), 13);
    server.on<UA_DeleteMonitoredItemsRequest>([](const Call& call) { call.answer(); });
    EXPECT_EQ(removeFirst(), 0);
    EXPECT_EQ(removeFirst(), 15);
}

TEST_F(Publishing, AnItemThatTheServerHasLostStays) {
    monitor();
    ASSERT_TRUE(server.publisher().removeItem(server.publisher().items().at(0).itemId));
    EXPECT_EQ(removeFirst(), 13);
    EXPECT_EQ(removeFirst(), 13);
}

TEST_F(Publishing, TellsWhenTheServerEndsTheSubscription) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    const std::uint32_t id = server.publisher().subscriptionId();
    answerPublish([&](const Call& call) {
        Owned<UA_StatusChangeNotification> change;
        change->status = UA_STATUSCODE_BADTIMEOUT;
        Owned<UA_PublishResponse> response = Publisher::keepAlive(id, 2);
        addUndecodable(*response, typeOf<UA_StatusChangeNotification>().binaryEncodingId.identifier.numeric,
                       encode(*change));
        return call.bodyOf(*response);
    });
    EXPECT_TRUE(waitForStatus(subscriptionLost));
    EXPECT_EQ(read(), 0);
    client.OpcUaDeleteSubScription();
    EXPECT_EQ(client.OpcUaCreateSubScription(50), 0);
    EXPECT_TRUE(waitForStatus(connected));
}

TEST_F(Publishing, IgnoresTheEndOfAnotherSubscription) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    answerPublish([&](const Call& call) {
        Owned<UA_StatusChangeNotification> change;
        change->status = UA_STATUSCODE_BADTIMEOUT;
        Owned<UA_PublishResponse> response = Publisher::keepAlive(4711, 2);
        addUndecodable(*response, typeOf<UA_StatusChangeNotification>().binaryEncodingId.identifier.numeric,
                       encode(*change));
        return call.bodyOf(*response);
    });
    expectStillPublishing();
}

TEST_F(Publishing, DropsASecondAnswerToOneRequest) {
    recordValues();
    monitor();
    ASSERT_TRUE(waitForValue(42));
    const std::uint32_t id = server.publisher().subscriptionId();
    const std::optional<Call> call = server.publisher().takeRequest();
    ASSERT_TRUE(call);
    call->answerBody(call->bodyOf(*Publisher::dataChange(id, 2, {{handle(), 7}})));
    call->answerBody(call->bodyOf(*Publisher::dataChange(id, 2, {{handle(), 99}})));
    ASSERT_TRUE(waitForValue(7));
    EXPECT_EQ(read(), 0);
    EXPECT_THAT(values(), ElementsAre(42, 7));
}

TEST_F(Publishing, TakesAnswersInAnotherOrder) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    ASSERT_TRUE(server.publisher().waitForWaiting(2));
    const std::uint32_t id = server.publisher().subscriptionId();
    const std::optional<Call> first = server.publisher().takeRequest();
    const std::optional<Call> second = server.publisher().takeRequest();
    ASSERT_TRUE(first && second);
    second->answerBody(second->bodyOf(*Publisher::dataChange(id, 2, {{handle(), 7}})));
    ASSERT_TRUE(waitForValue(7));
    first->answerBody(first->bodyOf(*Publisher::dataChange(id, 3, {{handle(), 8}})));
    EXPECT_TRUE(waitForValue(8));
    EXPECT_THAT(server.publisher().askedAgain(), IsEmpty());
}

TEST_F(Publishing, KeepsFewRequestsWaiting) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    ASSERT_TRUE(server.publisher().waitForWaiting(1));
    EXPECT_EQ(read(), 0);
    EXPECT_LE(server.publisher().waiting(), 20U);
}

TEST_F(Publishing, AnItemThatWasNeverConfirmedIsNotTakenForTheNextOne) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    addUnconfirmed("ns=1;s=Unconfirmed", [](const Call&) { return hex("07"); });
    ASSERT_EQ(add("ns=1;s=BehindUnconfirmed"), 0);
    addUnconfirmed("ns=1;s=Uncertain", [](const Call& call) {
        Owned<UA_CreateMonitoredItemsResponse> response;
        resize(response->results, response->resultsSize, 1);
        response->results[0].statusCode = UA_STATUSCODE_UNCERTAIN;
        return call.bodyOf(*response);
    });
    ASSERT_EQ(add("ns=1;s=BehindUncertain"), 0);
    addUnconfirmed("ns=1;s=UncertainService", [](const Call& call) {
        Owned<UA_CreateMonitoredItemsResponse> response;
        response->responseHeader.serviceResult = UA_STATUSCODE_UNCERTAIN;
        resize(response->results, response->resultsSize, 1);
        return call.bodyOf(*response);
    });
    ASSERT_EQ(add("ns=1;s=Next"), 0);
    ASSERT_TRUE(waitForValue(42, "ns=1;s=Next"));
    const std::vector<Publisher::Item> items = server.publisher().items();
    ASSERT_EQ(items.size(), 7U);
    recordValues();
    server.publisher().publish({{items[1].clientHandle, 97},
                                {items[3].clientHandle, 98},
                                {items[5].clientHandle, 99},
                                {items[6].clientHandle, 7}});
    EXPECT_TRUE(waitForValue(7, "ns=1;s=Next"));
    EXPECT_THAT(values(), ElementsAre(7));
    expectStillPublishing();
}

TEST_F(Publishing, ABatchThatWasNeverConfirmedIsNotTakenForALaterOne) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    server.publisher().firstValues(false);
    answerCreateItems([](const Call&) { return hex("07"); });
    EXPECT_THAT(addMany("Lost", 2), ElementsAre(12, 12));
    server.on<UA_CreateMonitoredItemsRequest>([](const Call& call) { call.answer(); });
    const std::vector<Publisher::Item> lostItems = server.publisher().items();
    ASSERT_EQ(lostItems.size(), 3U);
    addMany("Filling", 19997); // the handles begin anew
    EXPECT_THAT(addMany("Later", 3), ElementsAre(0, 0, 0));
    const std::vector<Publisher::Item> items = server.publisher().items();
    recordValues();
    server.publisher().publish({{lostItems[1].clientHandle, 98},
                                {lostItems[2].clientHandle, 99},
                                {items[items.size() - 2].clientHandle, 7}});
    EXPECT_TRUE(waitForValue(7, "ns=1;s=Later1"));
    EXPECT_THAT(values(), ElementsAre(7));
}

TEST_F(Publishing, AnUncertainDeletionIsNone) {
    monitor();
    server.edit<UA_DeleteSubscriptionsResponse>([](UA_DeleteSubscriptionsResponse& response) {
        response.responseHeader.serviceResult = UA_STATUSCODE_UNCERTAIN;
    });
    EXPECT_EQ(client.OpcUaDeleteSubScription(), 9);
}

TEST_F(Publishing, AnItemThatIsAskedForAgainComesOnce) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    addUnconfirmed("ns=1;s=Again", [](const Call&) { return hex("07"); });
    ASSERT_EQ(add("ns=1;s=Again"), 0);
    ASSERT_TRUE(waitForValue(42, "ns=1;s=Again"));
    server.publisher().publish(7);
    EXPECT_TRUE(waitForValue(7, "ns=1;s=Again"));
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(application.count("ns=1;s=Again"), 2);
}

TEST_F(Publishing, GoesOnWithANewSubscriptionWheneverTheOldRequestsAreLost) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    for (int i = 2; i < 20; ++i) { // more of them than are counted as lost
        const std::string node = "ns=1;s=Item" + std::to_string(i);
        loseRequests();
        subscribeAnew(node);
        ASSERT_TRUE(waitForValue(42, node)) << i;
    }
    EXPECT_EQ(status(), connected);
}

TEST_F(Publishing, DoesNotPressAServerThatKeepsTheOldRequests) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    const std::vector<Call> kept = takeRequests();
    std::atomic<int> refused{0};
    server.on<UA_PublishRequest>([&refused](const Call& call) {
        ++refused;
        call.fault(UA_STATUSCODE_BADTOOMANYPUBLISHREQUESTS);
    });
    subscribeAnew("ns=1;s=Second");
    EXPECT_EQ(statusFor(std::chrono::seconds(3)), connected);
    EXPECT_LE(refused, 20);
    const std::uint32_t handle = server.publisher().items().back().clientHandle;
    kept.front().answerBody(kept.front().bodyOf(
        *Publisher::dataChange(server.publisher().subscriptionId(), 1, {{handle, 1234}})));
    EXPECT_TRUE(waitForValue(1234, "ns=1;s=Second"));
}

TEST_F(Publishing, KeepsFewRequestsWaitingWhereOldOnesAreAnsweredLate) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    const std::vector<Call> kept = takeRequests();
    subscribeAnew("ns=1;s=Second");
    ASSERT_TRUE(waitForValue(42, "ns=1;s=Second"));
    ASSERT_TRUE(server.publisher().waitForWaiting(10));
    for (const Call& call : kept)
        call.answerBody(call.faultBody(UA_STATUSCODE_BADNOSUBSCRIPTION));
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(statusFor(std::chrono::milliseconds(500)), connected);
    EXPECT_EQ(server.publisher().waiting(), 10U);
}

TEST_F(Publishing, AsksAnewWhereTheServerFellSilentOnTheSubscription) {
    server.edit<UA_CreateSubscriptionResponse>(
        [](UA_CreateSubscriptionResponse& response) { response.revisedMaxKeepAliveCount = 1; });
    monitor();
    for (int i = 0; i < 3; ++i) {
        server.publisher().publish(42 + i);
        ASSERT_TRUE(waitForValue(42 + i));
        ASSERT_TRUE(server.publisher().waitForWaiting(10));
        loseRequests();
        EXPECT_TRUE(waitForStatus(subscriptionLost)) << i;
        expectStillPublishing();
    }
}

TEST_F(Publishing, OneRefusalBehindManyMessagesCostsOneRequest) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    const std::uint32_t subscription = server.publisher().subscriptionId();
    const std::vector<Call> calls = takeRequests();
    Bytes answers; // at once, so that no request goes out in between
    for (std::uint32_t i = 0; i < 8; ++i) {
        const auto value = static_cast<std::int32_t>(100 + i);
        answers += calls[i].connection().bytesOf(calls[i].chunk(
            'F', calls[i].bodyOf(*Publisher::dataChange(subscription, 2 + i, {{handle(), value}}))));
    }
    answers += calls[8].connection().bytesOf(
        calls[8].chunk('F', calls[8].faultBody(UA_STATUSCODE_BADTOOMANYPUBLISHREQUESTS)));
    calls.front().connection().send(answers);
    ASSERT_TRUE(waitForValue(107));
    EXPECT_TRUE(server.publisher().waitForWaiting(8)) << "and the tenth, which the test holds";
}

TEST_F(Publishing, GoesOnWhereItsAcknowledgementsDoNotFitIntoARequest) {
    server.edit<UA_CreateSessionResponse>(
        [](UA_CreateSessionResponse& response) { response.maxRequestMessageSize = 112; });
    monitor();
    ASSERT_TRUE(waitForValue(42));
    const std::uint32_t subscription = server.publisher().subscriptionId();
    std::vector<Call> calls;
    for (int i = 0; i < 10; ++i) {
        const std::optional<Call> call = server.publisher().takeRequest();
        ASSERT_TRUE(call);
        calls.push_back(*call);
    }
    Bytes answers; // at once, so that the next request has all of them to acknowledge
    std::uint32_t number = 1;
    for (const Call& call : calls) {
        const auto value = static_cast<std::int32_t>(++number);
        answers += call.connection().bytesOf(
            call.chunk('F', call.bodyOf(*Publisher::dataChange(subscription, number, {{handle(), value}}))));
    }
    calls.front().connection().send(answers);
    EXPECT_TRUE(waitForValue(11));
    answerPublish([&](const Call& call) {
        return call.bodyOf(*Publisher::dataChange(subscription, 12, {{handle(), 1234}}));
    });
    EXPECT_TRUE(waitForValue(1234));
    expectUnharmed();
}

TEST_F(Publishing, EndsWithoutAWarning) {
    client.OpcUaInit(OpcUaTraceLevel_Warnings);
    const TraceFile trace;
    monitor();
    ASSERT_TRUE(waitForValue(42));
    EXPECT_EQ(client.OpcUaDisConnect(), 0);
    EXPECT_THAT(trace.lines(), IsEmpty());
}

TEST_F(Publishing, OfADeletedSubscriptionEndsWithoutAWarning) {
    client.OpcUaInit(OpcUaTraceLevel_Warnings);
    const TraceFile trace;
    monitor();
    ASSERT_TRUE(waitForValue(42));
    EXPECT_EQ(client.OpcUaDeleteSubScription(), 0);
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(client.OpcUaDisConnect(), 0);
    EXPECT_THAT(trace.lines(), IsEmpty());
}

TEST_F(Publishing, OfAForgottenSubscriptionIsNotDelivered) {
    monitor();
    ASSERT_TRUE(waitForValue(42));
    const std::uint32_t forgotten = server.publisher().subscriptionId();
    const std::uint32_t itsHandle = handle();
    server.on<UA_DeleteSubscriptionsRequest>(
        [](const Call& call) { call.fault(UA_STATUSCODE_BADINTERNALERROR); });
    EXPECT_EQ(client.OpcUaDeleteSubScription(), 9);
    const int before = changes();
    ASSERT_EQ(client.OpcUaCreateSubScription(50), 0);
    ASSERT_EQ(add("ns=1;s=Later"), 0);
    ASSERT_TRUE(waitForValue(42, "ns=1;s=Later"));
    answerPublish([&](const Call& call) {
        return call.bodyOf(*Publisher::dataChange(forgotten, 2, {{itsHandle, 7}}));
    });
    server.publisher().publish(43);
    EXPECT_TRUE(waitForValue(43, "ns=1;s=Later"));
    EXPECT_EQ(changes(), before);
}

} // namespace
