// One client, many threads: reads, status queries and several clients at once are allowed.
#include <atomic>
#include <csignal>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "operations.h"
#include "support/server_process.h"

using namespace test_support;

namespace {

constexpr int threadCount = 4;
constexpr int callsPerThread = 100;

template <class Work>
void onThreads(const Work& work) {
    std::vector<std::thread> threads;
    for (int number = 0; number < threadCount; ++number)
        threads.emplace_back(work, number);
    for (std::thread& thread : threads)
        thread.join();
}

bool readsServiceLevel(COpcUaClientInterface& client) {
    OpcUaNode node = serviceLevelNode();
    unsigned char level = 0;
    int size = 0;
    return client.OpcUaGetValue(&node, &level, size) == 0 && size == 1 && level == 255;
}

// How many of a thread's reads were good.
int readOften(COpcUaClientInterface& client) {
    int good = 0;
    for (int call = 0; call < callsPerThread; ++call)
        good += readsServiceLevel(client) ? 1 : 0;
    return good;
}

class Threads : public testing::Test {
protected:
    void connect() { ASSERT_EQ(client.OpcUaConnect(config), 0) << server.standardError(); }

    PlantServer server;
    _OpcUaClientConfig config = connectionTo(server.url());
    COpcUaClientInterface client;
    std::atomic<int> good = 0;
};

TEST_F(Threads, ReadThroughOneClient) {
    connect();
    onThreads([&](int) { good += readOften(client); });
    EXPECT_EQ(good, threadCount * callsPerThread);
}

TEST_F(Threads, AskForTheStatusWhileAnotherConnectsAndDisconnects) {
    std::atomic<bool> done = false;
    std::atomic<int> outOfRange = 0;
    std::thread watcher([&] {
        while (!done) {
            const int status = client.OpcUaGetConnectStatus();
            outOfRange += status < 0 || status > 5 ? 1 : 0;
        }
    });
    for (int cycle = 0; cycle < 5; ++cycle) {
        EXPECT_EQ(client.OpcUaConnect(config), 0);
        EXPECT_EQ(client.OpcUaGetConnectStatus(), 1);
        EXPECT_EQ(client.OpcUaDisConnect(), 0);
        EXPECT_EQ(client.OpcUaGetConnectStatus(), 0);
    }
    done = true;
    watcher.join();
    EXPECT_EQ(outOfRange, 0);
}

TEST_F(Threads, HaveAClientEach) {
    onThreads([&](int) {
        COpcUaClientInterface own;
        _OpcUaClientConfig ownConfig = config;
        if (own.OpcUaConnect(ownConfig) == 0) {
            good += readOften(own);
            good += own.OpcUaDisConnect() == 0 ? 1 : 0;
        }
    });
    EXPECT_EQ(good, threadCount * (callsPerThread + 1));
}

TEST_F(Threads, DiscoverWhileOthersRead) {
    connect();
    onThreads([&](int number) {
        if (number > 0) {
            good += readOften(client);
            return;
        }
        std::string url = server.url();
        const auto servers = std::make_unique<_OpcUa_ServerConfigMsg>();
        good += client.OpcUaDiscover(url.data(), *servers) == 0 ? 1 : 0;
    });
    EXPECT_EQ(good, (threadCount - 1) * callsPerThread + 1);
}

TEST_F(Threads, AllEndWhenTheServerDies) {
    connect();
    std::atomic<int> reading = 0;
    std::thread killer([&] {
        while (reading < threadCount)
            std::this_thread::yield();
        ::kill(server.pid(), SIGKILL);
    });
    onThreads([&](int) {
        reading += readsServiceLevel(client) ? 1 : threadCount;
        while (readsServiceLevel(client)) {
        }
    });
    killer.join();
    EXPECT_EQ(reading, threadCount);
    EXPECT_EQ(client.OpcUaDisConnect(), 0);
}

} // namespace
