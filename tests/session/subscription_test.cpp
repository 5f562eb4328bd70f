#include <atomic>
#include <chrono>
#include <csignal>
#include <cstring>
#include <functional>
#include <future>
#include <map>
#include <mutex>
#include <sys/resource.h>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "session_fixture.h"
#include "uabase/variant.h"

using namespace UaClientSdk;
using namespace std::chrono_literals;
using test_support::MessageProxy;

namespace {

constexpr const char* currentTime = "i=2258";
constexpr unsigned int subscriptionHandle = 1;

/// Counts what is delivered, by client handle.
class ChangeRecorder : public UaSubscriptionCallback {
public:
    void dataChange(unsigned int handle, const UaMonitoredItemNotifications& notifications,
                    const UaDiagnosticInfos&) override {
        std::unique_lock<std::mutex> lock(mutex);
        EXPECT_EQ(handle, subscriptionHandle);
        threads[std::this_thread::get_id()] += 1;
        for (OpcUa_UInt32 i = 0; i < notifications.length(); ++i) {
            counts[notifications[i].clientHandle] += 1;
            EXPECT_FALSE(notifications[i].value.isEmpty());
        }
        changed.notify_all();
        if (onDelivery) {
            auto action = onDelivery;
            lock.unlock();
            action();
        }
    }

    void subscriptionStatusChanged(unsigned int, const UaStatus& status) override {
        const std::lock_guard<std::mutex> lock(mutex);
        ends.push_back(status.statusCode());
        changed.notify_all();
    }

    bool waitForCount(OpcUa_UInt32 clientHandle, int count) {
        std::unique_lock<std::mutex> lock(mutex);
        return changed.wait_for(lock, 30s, [&] { return counts[clientHandle] >= count; });
    }
    void onEachDelivery(std::function<void()> action) {
        const std::lock_guard<std::mutex> lock(mutex);
        onDelivery = std::move(action);
    }
    int count(OpcUa_UInt32 clientHandle) {
        const std::lock_guard<std::mutex> lock(mutex);
        return counts[clientHandle];
    }

    int deliveries() {
        const std::lock_guard<std::mutex> lock(mutex);
        int sum = 0;
        for (const auto& thread : threads)
            sum += thread.second;
        return sum;
    }

    std::mutex mutex;
    std::condition_variable changed;
    std::map<OpcUa_UInt32, int> counts;
    std::map<std::thread::id, int> threads;
    std::vector<OpcUa_StatusCode> ends;
    std::function<void()> onDelivery;
};

/// How often a thread of this process went to sleep.
long voluntarySleeps() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_nvcsw;
}

class SubscriptionTest : public SessionTest {
protected:
    SubscriptionTest() {
        parameters.publishingInterval = 50;
        parameters.lifetimeCount = 100000;
        parameters.maxKeepAliveCount = 5;
    }

    UaStatus createSubscription() {
        ServiceSettings settings;
        return session->createSubscription(settings, &changes, subscriptionHandle, parameters, 1,
                                           &subscription);
    }

    UaStatus deleteSubscription() {
        ServiceSettings settings;
        return session->deleteSubscription(settings, &subscription, 100);
    }

    OpcUa_UInt32 monitor(const char* nodeId, OpcUa_UInt32 clientHandle) {
        ServiceSettings settings;
        UaMonitoredItemCreateRequests items;
        items.create(1);
        UaNodeId::fromXmlString(nodeId).copyTo(&items[0].itemToMonitor.nodeId);
        items[0].itemToMonitor.attributeId = OpcUa_Attributes_Value;
        items[0].monitoringMode = OpcUa_MonitoringMode_Reporting;
        items[0].requestedParameters.clientHandle = clientHandle;
        items[0].requestedParameters.samplingInterval = samplingInterval;
        items[0].requestedParameters.queueSize = queueSize;
        items[0].requestedParameters.discardOldest = true;
        const UaStatus status =
            subscription->createMonitoredItems(settings, OpcUa_TimestampsToReturn_Both, items, created);
        EXPECT_TRUE(status.isGood()) << status.name();
        return status.isGood() && created[0].statusCode == OpcUa_Good ? created[0].monitoredItemId : 0;
    }

    ChangeRecorder changes;
    UaSubscription* subscription = nullptr;
    SubscriptionSettings parameters;
    OpcUa_Double samplingInterval = 50;
    OpcUa_UInt32 queueSize = 1;
    UaMonitoredItemCreateResults created;
};

/// The end of a CreateSubscription response (OPC UA Part 4, 5.14.2).
struct RevisedParameters {
    OpcUa_Double publishingInterval = 0;
    OpcUa_UInt32 lifetimeCount = 0;
    OpcUa_UInt32 maxKeepAliveCount = 0;

    void takeFrom(const std::vector<char>& message) {
        constexpr std::size_t sequenceHeader = 16;
        constexpr char responseType[] = {1, 0, 0x16, 3}; // NodeId i=790 in four bytes
        if (message.size() < sequenceHeader + sizeof responseType + 20 ||
            std::memcmp(message.data() + sequenceHeader, responseType, sizeof responseType) != 0) {
            return;
        }
        const char* const end = message.data() + message.size();
        std::memcpy(&publishingInterval, end - 16, sizeof publishingInterval);
        std::memcpy(&lifetimeCount, end - 8, sizeof lifetimeCount);
        std::memcpy(&maxKeepAliveCount, end - 4, sizeof maxKeepAliveCount);
    }
};

TEST_F(SubscriptionTest, TheServerGetsTheParameters) {
    MessageProxy proxy(server().port());
    ASSERT_TRUE(connect(proxy.url()).isGood());
    RevisedParameters revised;
    proxy.changeServerMessages([&revised](const std::vector<char>& message) { revised.takeFrom(message); });
    parameters.publishingInterval = 70.5;
    parameters.lifetimeCount = 1234;
    parameters.maxKeepAliveCount = 7;
    ASSERT_TRUE(createSubscription().isGood());
    samplingInterval = 250.25;
    queueSize = 3;
    ASSERT_NE(monitor(currentTime, 1), 0U);
    EXPECT_EQ(created[0].revisedSamplingInterval, 250.25);
    EXPECT_EQ(created[0].revisedQueueSize, 3U);
    proxy.changeServerMessages(nullptr);
    EXPECT_EQ(revised.publishingInterval, 70.5);
    EXPECT_EQ(revised.lifetimeCount, 1234U);
    EXPECT_EQ(revised.maxKeepAliveCount, 7U);
    EXPECT_TRUE(changes.waitForCount(1, 1)) << "publishing is enabled";
}

TEST_F(SubscriptionTest, DeliversChangesUnderTheClientHandleOfTheRequest) {
    ASSERT_TRUE(connect().isGood());
    ASSERT_TRUE(createSubscription().isGood());
    ASSERT_NE(subscription, nullptr);
    EXPECT_NE(monitor(currentTime, 7001), 0U);
    EXPECT_TRUE(changes.waitForCount(7001, 3));
}

TEST_F(SubscriptionTest, DeliversOnAThreadOfItsOwnWhileTheApplicationReads) {
    ASSERT_TRUE(connect().isGood());
    ASSERT_TRUE(createSubscription().isGood());
    ASSERT_NE(monitor(currentTime, 1), 0U);
    while (changes.count(1) < 5)
        ASSERT_TRUE(readServerState().isGood());
    EXPECT_EQ(changes.threads.size(), 1U);
    EXPECT_NE(changes.threads.begin()->first, std::this_thread::get_id());
    EXPECT_NE(changes.threads.begin()->first, recorder.threads().front());
}

TEST_F(SubscriptionTest, AfterABurstOfCallsEachChangeIsDeliveredWhenItArrives) {
    ASSERT_TRUE(connect().isGood());
    ASSERT_TRUE(createSubscription().isGood());
    ASSERT_NE(monitor(currentTime, 1), 0U);
    ASSERT_TRUE(changes.waitForCount(1, 1));
    constexpr int bursts = 10;
    const int before = changes.count(1);
    const int deliveriesBefore = changes.deliveries();
    long sleeps = 0;
    for (int burst = 0; burst < bursts; ++burst) {
        for (int i = 0; i < 50; ++i)
            ASSERT_TRUE(readServerState().isGood());
        const long sleepsBefore = voluntarySleeps();
        ASSERT_TRUE(changes.waitForCount(1, changes.count(1) + 2));
        sleeps += voluntarySleeps() - sleepsBefore;
    }
    // A socket that nobody watches is looked at once a second, when ten changes have come.
    EXPECT_LT(changes.count(1) - before, 4 * (changes.deliveries() - deliveriesBefore));
    // A thread that goes on to look every few milliseconds sleeps a thousand times.
    EXPECT_LT(sleeps, 300);
}

TEST_F(SubscriptionTest, DeletedItemsFallSilent) {
    ASSERT_TRUE(connect().isGood());
    ASSERT_TRUE(createSubscription().isGood());
    const OpcUa_UInt32 id = monitor(currentTime, 1);
    ASSERT_NE(monitor(currentTime, 2), 0U);
    ASSERT_TRUE(changes.waitForCount(1, 1));
    ServiceSettings settings;
    UaUInt32Array ids;
    ids.create(1);
    ids[0] = id;
    UaStatusCodeArray results;
    ASSERT_TRUE(subscription->deleteMonitoredItems(settings, ids, results).isGood());
    EXPECT_EQ(results[0], OpcUa_Good);
    const int before = changes.count(1);
    const int other = changes.count(2);
    ASSERT_TRUE(changes.waitForCount(2, other + 3));
    EXPECT_LE(changes.count(1), before + 1); // one may have been on its way
}

TEST_F(SubscriptionTest, AnUnknownNodeFailsAlone) {
    ASSERT_TRUE(connect().isGood());
    ASSERT_TRUE(createSubscription().isGood());
    EXPECT_EQ(monitor("ns=1;s=No.Such.Node", 1), 0U);
    EXPECT_NE(monitor(currentTime, 2), 0U);
}

TEST_F(SubscriptionTest, DeleteDoesNotWaitForARunningCallback) {
    ASSERT_TRUE(connect().isGood());
    ASSERT_TRUE(createSubscription().isGood());
    std::promise<void> entered;
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    std::atomic<int> deliveries{0};
    changes.onEachDelivery([&] {
        if (deliveries++ == 0) {
            entered.set_value();
            released.wait();
        }
    });
    ASSERT_NE(monitor(currentTime, 1), 0U);
    ASSERT_EQ(entered.get_future().wait_for(30s), std::future_status::ready);
    EXPECT_TRUE(deleteSubscription().isGood());
    EXPECT_EQ(subscription, nullptr);
    release.set_value();
    EXPECT_TRUE(readServerState().isGood());
    EXPECT_TRUE(disconnect().isGood());
    EXPECT_EQ(deliveries, 1); // what waited went with the subscription
}

TEST_F(SubscriptionTest, ABlockedCallbackKeepsTheConnectionAlive) {
    connectInfo.watchdogInterval = 100;
    connectInfo.watchdogTimeout = 1000;
    ASSERT_TRUE(connect().isGood());
    ASSERT_TRUE(createSubscription().isGood());
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    changes.onEachDelivery([&] { released.wait(); });
    ASSERT_NE(monitor(currentTime, 1), 0U);
    ASSERT_TRUE(changes.waitForCount(1, 1));
    const auto end = std::chrono::steady_clock::now() + 2s;
    while (std::chrono::steady_clock::now() < end)
        ASSERT_TRUE(readServerState().isGood());
    EXPECT_TRUE(session->isConnected());
    changes.onEachDelivery(nullptr);
    release.set_value();
    EXPECT_TRUE(changes.waitForCount(1, 20)); // what came in the meantime was kept
}

TEST_F(SubscriptionTest, ACallbackMayReadAndWrite) {
    ASSERT_TRUE(connect().isGood());
    ASSERT_TRUE(createSubscription().isGood());
    std::atomic<int> good{0};
    changes.onEachDelivery([&] { good += readServerState().isGood() ? 1 : 0; });
    ASSERT_NE(monitor(currentTime, 1), 0U);
    ASSERT_TRUE(changes.waitForCount(1, 5));
    EXPECT_GE(good, 4);
    ASSERT_TRUE(disconnect().isGood());
}

TEST_F(SubscriptionTest, DisconnectInsideACallbackEndsEverything) {
    ASSERT_TRUE(connect().isGood());
    ASSERT_TRUE(createSubscription().isGood());
    std::promise<bool> done;
    std::atomic<int> deliveries{0};
    changes.onEachDelivery([&] {
        if (deliveries++ == 0)
            done.set_value(disconnect().isGood());
    });
    ASSERT_NE(monitor(currentTime, 1), 0U);
    EXPECT_TRUE(done.get_future().get());
    EXPECT_EQ(recorder.reports().back(), UaClient::Disconnected);
    EXPECT_EQ(deliveries, 1);
}

TEST_F(SubscriptionTest, AKilledServerIsNoticedWithoutACall) {
    ASSERT_TRUE(connect().isGood());
    ASSERT_TRUE(createSubscription().isGood());
    ASSERT_NE(monitor(currentTime, 1), 0U);
    ASSERT_TRUE(changes.waitForCount(1, 1));
    server().kill(SIGKILL);
    EXPECT_TRUE(recorder.waitFor(UaClient::ConnectionLost, 20s));
    EXPECT_TRUE(deleteSubscription().isBad());
    EXPECT_EQ(subscription, nullptr);
    EXPECT_TRUE(disconnect().isGood());
}

TEST_F(SubscriptionTest, CreateAndDeleteManyTimes) {
    ASSERT_TRUE(connect().isGood());
    for (int i = 0; i < 50; ++i) {
        ASSERT_TRUE(createSubscription().isGood()) << i;
        ASSERT_NE(monitor(currentTime, 1), 0U);
        ASSERT_TRUE(deleteSubscription().isGood()) << i;
    }
    EXPECT_TRUE(changes.ends.empty());
    EXPECT_EQ(recorder.reports().size(), 1U);
}

} // namespace
