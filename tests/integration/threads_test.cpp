#include <atomic>
#include <thread>
#include <vector>

#include "client_fixture.h"

namespace {

using Threads = ClientTest;

TEST_F(Threads, StatusAndReadsFromManyThreads) {
    ASSERT_EQ(connect(), 0);
    OpcUaNode* record = node("ns=3;s=TestRack.Moving.Counter", OpcUaDataType_UInt32);
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 3; ++t) {
        threads.emplace_back([&] {
            OpcUaNode own = *record;
            for (int i = 0; i < 300; ++i) {
                unsigned value = 0;
                int size = 0;
                failures += client.OpcUaGetValue(&own, &value, size) == 0 && size == 4 ? 0 : 1;
            }
        });
    }
    threads.emplace_back([&] {
        for (int i = 0; i < 3000; ++i)
            failures += client.OpcUaGetConnectStatus() == connected ? 0 : 1;
    });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(failures, 0);
}

TEST_F(Threads, ReadersAndABrowserShareTheClient) {
    ASSERT_EQ(connect(), 0);
    OpcUaNode* record = node("ns=3;s=TestRack.Scalar.Double", OpcUaDataType_Double);
    std::atomic<bool> stop{false};
    std::atomic<int> failures{0};
    std::thread reader([&] {
        OpcUaNode own = *record;
        while (!stop) {
            double value = 0;
            int size = 0;
            failures += client.OpcUaGetValue(&own, &value, size) == 0 ? 0 : 1;
        }
    });
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(client.OpcUaBrowse(nullptr), 0);
    stop = true;
    reader.join();
    EXPECT_EQ(failures, 0);
}

TEST_F(Threads, TheStatusIsPolledWhileTheServerDies) {
    ASSERT_EQ(connect(), 0);
    std::atomic<bool> stop{false};
    std::thread poller([&] {
        while (!stop)
            client.OpcUaGetConnectStatus();
    });
    server().kill(9);
    EXPECT_TRUE(waitUntil([this] { return client.OpcUaGetConnectStatus() != connected; }));
    EXPECT_EQ(client.OpcUaDisConnect(), 0);
    stop = true;
    poller.join();
}

} // namespace
