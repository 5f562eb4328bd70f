#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <thread>
#include <utility>

#include "from_environment.h"
#include "recording_application.h"

namespace {

using DataChangeThreads = MonitoringTest;

// For two seconds, or as long as TEST_THREADS_SECONDS says.
TEST_F(DataChangeThreads, ReadersWritersAndAChangingSubscriptionShareTheClient) {
    subscribe();
    ASSERT_EQ(add(rack("Moving.Counter")), 0);
    const auto end =
        std::chrono::steady_clock::now() + std::chrono::seconds(fromEnvironment("TEST_THREADS_SECONDS", 2));
    const auto goesOn = [end](int round) { return round < 10 || std::chrono::steady_clock::now() < end; };
    std::atomic<int> failures{0};
    const auto readAndWrite = [this, &failures, &goesOn](const char* name) {
        OpcUaNode record = recordOf(rack(name));
        record.dataType = OpcUaDataType_Int32;
        for (int i = 0; goesOn(i); ++i) {
            int value = i;
            int size = 4;
            failures += client.OpcUaSetValue(&record, &value, size) == 0 ? 0 : 1;
            failures += client.OpcUaGetValue(&record, &value, size) == 0 && value == i ? 0 : 1;
        }
    };
    std::thread first(readAndWrite, "Scalar.Int32");
    std::thread second(readAndWrite, "Changing.Status");
    std::thread changer([this, &failures, &goesOn] {
        OpcUaNode nodes[3] = {recordOf(rack("Moving.Sine")), recordOf(rack("Moving.Array")),
                              recordOf(rack("Moving.Text"))};
        for (int i = 0; goesOn(i); ++i) {
            failures += client.OpcUaAddMultiMonitNode(nodes, 3) == 0 && nodes[2].result == 0 ? 0 : 1;
            failures += remove(rack("Moving.Sine")) == 0 ? 0 : 1;
            failures += remove(rack("Moving.Array")) == 0 ? 0 : 1;
            failures += remove(rack("Moving.Text")) == 0 ? 0 : 1;
        }
    });
    first.join();
    second.join();
    changer.join();
    EXPECT_EQ(failures, 0);
    EXPECT_TRUE(application.waitForCount(rack("Moving.Counter"), 3));
}

TEST_F(DataChangeThreads, SubscriptionsAreReplacedWhileChangesArrive) {
    subscribe();
    for (int i = 0; i < 10; ++i) {
        ASSERT_EQ(add(rack("Moving.Counter")), 0);
        ASSERT_TRUE(application.waitForCount(rack("Moving.Counter"), i + 1));
        ASSERT_EQ(i % 2 ? client.OpcUaDeleteSubScription() : 0, 0);
        ASSERT_EQ(client.OpcUaCreateSubScription(50), 0);
    }
}

TEST_F(DataChangeThreads, TheServerDiesWhileChangesArrive) {
    subscribe();
    ASSERT_EQ(add(rack("Moving.Counter")), 0);
    ASSERT_TRUE(application.waitForCount(rack("Moving.Counter"), 1));
    server().kill(9);
    EXPECT_TRUE(waitUntil([this] { return client.OpcUaGetConnectStatus() != connected; }));
    EXPECT_EQ(client.OpcUaDisConnect(), 0);
}

/// A client of its own for each round, with a callback that is told of its first change.
class EndsOfClients : public MonitoringTest {
protected:
    static constexpr int rounds = 10;

    void begin(std::function<void(COpcUaClientInterface&)> inCallback) {
        own = std::make_unique<COpcUaClientInterface>();
        inside = std::make_shared<std::promise<void>>();
        application.onEachChange([signal = inside, action = std::move(inCallback), client = own.get(),
                                  first = std::make_shared<std::atomic<bool>>(true)](const auto&) {
            if (first->exchange(false)) {
                signal->set_value();
                action(*client);
            }
        });
        ASSERT_EQ(own->installOpcUaCallBack(&application), 0);
        ASSERT_EQ(connectOwn(), 0);
        ASSERT_EQ(own->OpcUaCreateSubScription(50), 0);
        OpcUaNode record = recordOf(rack("Moving.Counter"));
        ASSERT_EQ(own->OpcUaAddMonitNode(&record, nullptr, 0), 0);
    }
    int connectOwn() {
        _OpcUaClientConfig config = configFor(server().url());
        return own->OpcUaConnect(config);
    }

    std::unique_ptr<COpcUaClientInterface> own;
    std::shared_ptr<std::promise<void>> inside;
};

TEST_F(EndsOfClients, ACallbackDisconnectsWhileAnotherThreadDestroysTheClient) {
    for (int round = 0; round < rounds; ++round) {
        std::atomic<bool> over{false};
        begin([&over](COpcUaClientInterface& itself) {
            EXPECT_EQ(itself.OpcUaDisConnect(), 0);
            over = true;
        });
        inside->get_future().wait();
        own.reset();
        EXPECT_TRUE(over) << "the callback is waited for";
    }
}

TEST_F(EndsOfClients, ACallbackDisconnectsWhileAnotherThreadConnects) {
    for (int round = 0; round < rounds; ++round) {
        begin([](COpcUaClientInterface& itself) { EXPECT_EQ(itself.OpcUaDisConnect(), 0); });
        inside->get_future().wait();
        EXPECT_EQ(connectOwn(), 0);
        EXPECT_EQ(own->OpcUaGetConnectStatus(), connected);
        EXPECT_EQ(own->OpcUaDisConnect(), 0);
    }
}

TEST_F(EndsOfClients, ACallbackMayDestroyItsClient) {
    for (int round = 0; round < rounds; ++round) {
        const auto destroyed = std::make_shared<std::promise<void>>();
        begin([this, destroyed](COpcUaClientInterface&) {
            own.reset();
            destroyed->set_value();
        });
        destroyed->get_future().wait();
    }
}

} // namespace
