// How deliveries end, whoever ends them and on whatever thread.
#include <array>
#include <atomic>
#include <chrono>
#include <cstring>
#include <fstream>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <unistd.h>
#include <utility>

#include <gtest/gtest.h>

#include "OpcUaClientInterface.h"
#include "standin/standin.h"
#include "subscription/delivery_gate.h"
#include "subscription/notification_queue.h"

using standin::script;
using UaClientSdk::CallbackThread;
using UaClientSdk::NotificationQueue;

namespace {

constexpr int rounds = 100;

struct Application final : COpcUaClientInterface::OpcUaCallBack {
    void OpcUaDataChange(_OpcUaDataChangeMsg) override {
        ++calls;
        if (onChange)
            onChange();
    }
    int OpcUaTrustServerCertificate(_OpcUaCertificateMsg) override { return -1; }

    std::atomic<int> calls{0};
    std::function<void()> onChange;
};

/// Until a thread of this process waits for something.
void waitUntilAsleep(pid_t thread) {
    std::string state;
    while (state != "S") {
        std::ifstream status("/proc/self/task/" + std::to_string(thread) + "/stat");
        std::string number;
        std::string name;
        status >> number >> name >> state;
    }
}

/// Publishes and ends as a real session does.
class Publisher {
public:
    Publisher() {
        script().onCreateSubscription = [this](const standin::CreateSubscriptionRequest& request) {
            UaStatus status;
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_queue = std::make_shared<NotificationQueue>(request.callback, request.clientHandle);
            m_thread = CallbackThread::start(status);
            return status;
        };
        script().onDeleteSubscription = [this](const standin::DeleteSubscriptionRequest&) {
            queue()->close();
            return UaStatus();
        };
        script().onDisconnect = [this](const standin::DisconnectRequest&) {
            end();
            return UaStatus();
        };
    }
    ~Publisher() { end(); }

    /// One publish answer with so many changes of the first item.
    void publish(int count) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_queue)
            return;
        for (OpcUa_Int32 i = 0; i < count; ++i) {
            OpcUa_DataValue change = {};
            UA_Variant_setScalar(&change.value, &i, &UA_TYPES[UA_TYPES_INT32]);
            m_queue->collect(m_clientHandle, change);
        }
        m_queue->handOver(*m_thread);
    }
    void publishTo(OpcUa_UInt32 clientHandle) { m_clientHandle = clientHandle; }

private:
    std::shared_ptr<NotificationQueue> queue() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_queue;
    }
    void end() {
        std::unique_ptr<CallbackThread> thread;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            if (m_queue)
                m_queue->close();
            m_queue.reset();
            thread = std::move(m_thread);
        }
    }

    std::mutex m_mutex;
    std::shared_ptr<NotificationQueue> m_queue;
    std::unique_ptr<CallbackThread> m_thread;
    std::atomic<OpcUa_UInt32> m_clientHandle{1};
};

class DeliveryEnd : public testing::Test {
protected:
    DeliveryEnd() { script().reset(); }
    ~DeliveryEnd() override {
        client.reset();
        script().reset();
    }

    int connect() {
        _OpcUaClientConfig config = {};
        std::strcpy(config.endpointUrl, "opc.tcp://plant:4840");
        return client->OpcUaConnect(config);
    }
    int add() {
        OpcUaNode node = {};
        std::strcpy(node.nodeId, "ns=2;s=A");
        return client->OpcUaAddMonitNode(&node, nullptr, 0);
    }
    /// A new client with one item.
    void begin() {
        client = std::make_unique<COpcUaClientInterface>();
        application.calls = 0;
        publisher = std::make_unique<Publisher>();
        ASSERT_EQ(client->installOpcUaCallBack(&application), 0);
        ASSERT_EQ(connect(), 0);
        ASSERT_EQ(client->OpcUaCreateSubScription(100), 0);
        ASSERT_EQ(add(), 0);
    }
    /// More changes than could be delivered while the test runs.
    void publishABacklog() {
        std::promise<void> first;
        application.onChange = [this, &first] {
            if (application.calls == 1)
                first.set_value();
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        };
        publisher->publish(100000);
        first.get_future().wait();
    }
    /// The result of a call that waits for a callback which acts.
    int whileACallback(const std::function<void()>& acts, const std::function<int()>& call) {
        std::promise<void> inside;
        std::atomic<bool> isCalling{false};
        application.onChange = [&] {
            inside.set_value();
            while (!isCalling)
                std::this_thread::yield();
            std::this_thread::sleep_for(std::chrono::milliseconds(50)); // it waits by now, or has gone on
            acts();
        };
        publisher->publish(1);
        inside.get_future().wait();
        isCalling = true;
        return call();
    }
    void expectSilence() {
        const int calls = application.calls;
        EXPECT_LT(calls, 100000);
        publisher->publish(10);
        EXPECT_EQ(application.calls, calls);
    }

    Application application;
    std::unique_ptr<Publisher> publisher;
    std::unique_ptr<COpcUaClientInterface> client;
};

} // namespace

TEST_F(DeliveryEnd, ADisconnectWaitsForTheRunningChangeAndNotForTheBacklog) {
    begin();
    publishABacklog();
    EXPECT_EQ(client->OpcUaDisConnect(), 0);
    expectSilence();
}

TEST_F(DeliveryEnd, SoDoesConnectingAnew) {
    begin();
    publishABacklog();
    EXPECT_EQ(connect(), 0);
    expectSilence();
}

TEST_F(DeliveryEnd, SoDoesDeletingTheSubscription) {
    begin();
    publishABacklog();
    EXPECT_EQ(client->OpcUaDeleteSubScription(), 0);
    expectSilence();
}

TEST_F(DeliveryEnd, SoDoesReplacingTheSubscription) {
    begin();
    publishABacklog();
    EXPECT_EQ(client->OpcUaCreateSubScription(100), 0);
    expectSilence();
}

TEST_F(DeliveryEnd, SoDoesDestroyingTheClient) {
    begin();
    publishABacklog();
    client.reset();
    expectSilence();
}

TEST_F(DeliveryEnd, WhoWaitsForTheItemsIsNextHoweverCloselyDeliveriesFollow) {
    begin();
    std::promise<pid_t> adder;
    application.onChange = [this, &adder] {
        if (application.calls == 1)
            waitUntilAsleep(adder.get_future().get());
    };
    std::atomic<bool> goesOn{true};
    std::thread server([&goesOn, sink = script().subscriptionCallback()] {
        UaMonitoredItemNotifications changes;
        OpcUa_DataValue value{};
        changes.append(1, value);
        while (goesOn)
            sink->dataChange(1, changes, UaDiagnosticInfos());
    });
    while (application.calls == 0)
        std::this_thread::yield();
    int callsBefore = 0;
    script().onCreateItems = [this, &callsBefore](const standin::CreateItemsRequest&,
                                                  UaMonitoredItemCreateResults& results) {
        callsBefore = application.calls;
        results.create(1);
        return UaStatus();
    };
    adder.set_value(gettid());
    EXPECT_EQ(add(), 0);
    EXPECT_EQ(callsBefore, 1);
    goesOn = false;
    server.join();
}

TEST_F(DeliveryEnd, WhatComesAfterwardsIsDelivered) {
    begin();
    publishABacklog();
    ASSERT_EQ(client->OpcUaDeleteSubScription(), 0);
    std::promise<void> delivered;
    application.onChange = [&delivered] { delivered.set_value(); };
    ASSERT_EQ(client->OpcUaCreateSubScription(100), 0);
    ASSERT_EQ(add(), 0);
    publisher->publishTo(2);
    publisher->publish(1);
    delivered.get_future().wait();
    EXPECT_EQ(client->OpcUaDisConnect(), 0);
}

TEST_F(DeliveryEnd, ACallbackThatConnectsAnewIsFollowedByTheNewSession) {
    begin();
    std::promise<void> connected;
    std::promise<void> delivered;
    application.onChange = [this, &connected, &delivered] {
        if (application.calls == 1) {
            EXPECT_EQ(client->OpcUaDisConnect(), 0);
            EXPECT_EQ(connect(), 0);
            EXPECT_EQ(client->OpcUaCreateSubScription(100), 0);
            connected.set_value();
        } else if (application.calls == 6) {
            delivered.set_value();
        }
    };
    publisher->publish(1000);
    connected.get_future().wait();
    ASSERT_EQ(add(), 0);
    EXPECT_EQ(application.calls, 1) << "the rest went with the session";
    publisher->publishTo(2);
    publisher->publish(5);
    delivered.get_future().wait();
}

TEST_F(DeliveryEnd, ACallbackDisconnectsWhileAnotherThreadDestroysTheClient) {
    for (int round = 0; round < rounds; ++round) {
        begin();
        std::promise<void> inside;
        application.onChange = [this, &inside, own = client.get()] {
            inside.set_value();
            EXPECT_EQ(own->OpcUaDisConnect(), 0);
            EXPECT_EQ(application.calls, 1);
        };
        publisher->publish(3);
        inside.get_future().wait();
        client.reset();
        EXPECT_EQ(application.calls, 1);
    }
}

TEST_F(DeliveryEnd, ACallbackDisconnectsWhileAnotherThreadConnects) {
    for (int round = 0; round < rounds; ++round) {
        begin();
        std::promise<void> inside;
        application.onChange = [this, &inside] {
            inside.set_value();
            EXPECT_EQ(client->OpcUaDisConnect(), 0);
        };
        publisher->publish(3);
        inside.get_future().wait();
        EXPECT_EQ(connect(), 0);
        EXPECT_EQ(application.calls, 1);
        EXPECT_EQ(client->OpcUaCreateSubScription(100), 0);
        EXPECT_EQ(client->OpcUaDisConnect(), 0);
    }
}

TEST_F(DeliveryEnd, ACallbackThatReadsDoesNotHoldUpAConnect) {
    begin();
    const auto read = [this] {
        OpcUaNode node = {};
        std::strcpy(node.nodeId, "ns=2;s=A");
        std::array<char, 8> value{};
        int size = value.size();
        EXPECT_NE(client->OpcUaGetValue(&node, value.data(), size), 3);
    };
    EXPECT_EQ(whileACallback(read, [this] { return connect(); }), 0);
    EXPECT_EQ(application.calls, 1);
}

TEST_F(DeliveryEnd, ADeleteFindsNoSubscriptionBehindACallbackThatConnectedAnew) {
    begin();
    const auto connectAnew = [this] {
        EXPECT_EQ(client->OpcUaDisConnect(), 0);
        EXPECT_EQ(connect(), 0);
    };
    EXPECT_EQ(whileACallback(connectAnew, [this] { return client->OpcUaDeleteSubScription(); }), 11);
    EXPECT_TRUE(script().requests<standin::DeleteSubscriptionRequest>().empty());
}

TEST_F(DeliveryEnd, ARemovalFindsNoSubscriptionBehindACallbackThatDisconnected) {
    begin();
    const auto disconnect = [this] { EXPECT_EQ(client->OpcUaDisConnect(), 0); };
    const auto remove = [this] {
        OpcUaNode node = {};
        std::strcpy(node.nodeId, "ns=2;s=A");
        return client->OpcUaRemoveMonitNode(&node, nullptr, 0);
    };
    EXPECT_EQ(whileACallback(disconnect, remove), 11);
    EXPECT_TRUE(script().requests<standin::DeleteItemsRequest>().empty());
}

TEST(DeliveryGate, ADeliveryThatBeginsWhileItIsClosedStaysOutside) {
    DeliveryGate gate;
    std::optional<DeliveryGate::Closure> closure(std::in_place, gate);
    {
        const DeliveryGate::Passage early(gate);
        closure.reset();
        EXPECT_FALSE(early.isOpen());
    }
    EXPECT_TRUE(DeliveryGate::Passage(gate).isOpen());
}

TEST_F(DeliveryEnd, OneOfTwoDisconnectsFindsTheSession) {
    for (int round = 0; round < rounds; ++round) {
        begin();
        std::promise<void> inside;
        std::atomic<int> first{-1};
        application.onChange = [this, &inside, &first] {
            inside.set_value();
            std::this_thread::yield();
            first = client->OpcUaDisConnect();
        };
        publisher->publish(3);
        inside.get_future().wait();
        std::thread other([this] { EXPECT_EQ(client->OpcUaDisConnect(), 3); });
        EXPECT_EQ(client->OpcUaDisConnect(), 3);
        EXPECT_EQ(first, 0) << "the callback is waited for";
        other.join();
    }
}

TEST_F(DeliveryEnd, ACallbackMayDestroyItsClient) {
    for (int round = 0; round < rounds; ++round) {
        begin();
        // The callback's thread ends by itself: what it uses last belongs to both.
        const auto destroyed = std::make_shared<std::promise<void>>();
        application.onChange = [this, destroyed] {
            client.reset();
            destroyed->set_value();
        };
        publisher->publish(3);
        destroyed->get_future().wait();
        EXPECT_EQ(application.calls, 1);
    }
}

TEST_F(DeliveryEnd, SubscriptionsComeAndGoWhileChangesArrive) {
    begin();
    std::atomic<bool> stop{false};
    std::thread server([this, &stop] {
        while (!stop) {
            publisher->publish(10);
            std::this_thread::yield();
        }
    });
    for (int round = 0; round < rounds; ++round) {
        EXPECT_EQ(round % 2 == 0 ? client->OpcUaDeleteSubScription() : client->OpcUaDisConnect(), 0);
        if (round % 2 != 0)
            EXPECT_EQ(connect(), 0);
        EXPECT_EQ(client->OpcUaCreateSubScription(100), 0);
        publisher->publishTo(static_cast<OpcUa_UInt32>(round) + 2);
        EXPECT_EQ(add(), 0);
    }
    client.reset();
    stop = true;
    server.join();
}
