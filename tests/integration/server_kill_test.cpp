// The server is killed at random moments while its client is at work: nothing hangs, nothing is used after
// its end, nothing leaks, and the next server is served by the same client or a new one. For the address
// sanitizer.
//
// TEST_KILLS=1000 chooses how often, TEST_SEED the sequence of moments and actions.
#include <chrono>
#include <csignal>
#include <cstdio>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "from_environment.h"
#include "recording_application.h"

namespace {

using Random = std::mt19937;

unsigned below(Random& random, unsigned limit) {
    return std::uniform_int_distribution<unsigned>(0, limit - 1)(random);
}

/// A server that is killed, whatever happens: some time after it was doomed, or at the end.
class DoomedServer {
public:
    DoomedServer() = default;
    ~DoomedServer() {
        if (m_killer.joinable())
            m_killer.join();
        m_server.kill(SIGKILL);
    }
    DoomedServer(const DoomedServer&) = delete;
    DoomedServer& operator=(const DoomedServer&) = delete;

    const std::string& url() const { return m_server.url(); }
    void doom(std::chrono::microseconds delay) {
        m_killer = std::thread([this, delay] {
            std::this_thread::sleep_for(delay);
            ::kill(m_server.pid(), SIGKILL);
        });
    }

private:
    test_support::PlantServer m_server;
    std::thread m_killer;
};

OpcUaNode rackNode(const std::string& name, _OpcUaDataType type) {
    OpcUaNode record{};
    setField(record.nodeId, "ns=3;s=TestRack." + name);
    record.dataType = type;
    return record;
}

/// What a panel does with a connected client, one thing after the other. Each returns the operation's result.
class Panel {
public:
    Panel() {
        client.installOpcUaCallBack(&m_application);
        for (unsigned i = 1; i <= 45; ++i) {
            char name[32];
            std::snprintf(name, sizeof name, "Many.Variable%04u", i);
            m_nodes.push_back(rackNode(name, static_cast<_OpcUaDataType>((i - 1) % 12 + 1)));
        }
    }
    ~Panel() { client.OpcUaDisConnect(); } // the callback must not outlive what it uses

    int act(Random& random) {
        static constexpr int (Panel::* actions[])() = {
            &Panel::read,      &Panel::write,     &Panel::readElement, &Panel::writeElement, &Panel::readMany,
            &Panel::writeMany, &Panel::browse,    &Panel::subscribe,   &Panel::unsubscribe,  &Panel::monitor,
            &Panel::monitor,   &Panel::unmonitor, &Panel::monitorMany, &Panel::monitorMany,  &Panel::clear};
        return (this->*actions[below(random, std::size(actions))])();
    }

private:
    int read() {
        int size = 0;
        return client.OpcUaGetValue(&m_number, &m_value, size);
    }
    int write() {
        int size = sizeof m_value;
        return client.OpcUaSetValue(&m_number, &m_value, size);
    }
    int readElement() {
        int size = 0;
        return client.OpcUaGetArrayValue(&m_matrix, m_index, 2, &m_value, size);
    }
    int writeElement() {
        int size = sizeof m_value;
        return client.OpcUaSetArrayValue(&m_matrix, m_index, 2, &m_value, size);
    }
    int readMany() {
        std::vector<char> texts(m_nodes.size() * 64);
        std::vector<OpcUa_ReadNode> requests;
        for (OpcUaNode& node : m_nodes)
            requests.push_back({&node, &texts[requests.size() * 64], 64});
        return client.OpcUaGetMultiValue(requests.data(), static_cast<int>(requests.size()));
    }
    int writeMany() {
        std::vector<OpcUa_WriteNode> requests(30, OpcUa_WriteNode{&m_number, &m_value, sizeof m_value});
        return client.OpcUaSetMultiValue(requests.data(), static_cast<int>(requests.size()));
    }
    int browse() { return client.OpcUaBrowse(nullptr); }
    int subscribe() { return client.OpcUaCreateSubScription(5); }
    int unsubscribe() { return client.OpcUaDeleteSubScription(); }
    int monitor() { return client.OpcUaAddMonitNode(&m_matrix, m_index, 2); }
    int unmonitor() { return client.OpcUaRemoveMonitNode(&m_matrix, nullptr, 0); }
    int monitorMany() {
        return client.OpcUaAddMultiMonitNode(m_nodes.data(), static_cast<int>(m_nodes.size()));
    }
    int clear() { return client.OpcUaClearMonitNode(); }

    RecordingApplication m_application;

public:
    COpcUaClientInterface client;

private:
    OpcUaNode m_number = rackNode("Scalar.Int32", OpcUaDataType_Int32);
    OpcUaNode m_matrix = rackNode("Moving.Matrix", OpcUaDataType_Int32);
    std::vector<OpcUaNode> m_nodes;
    unsigned long m_index[2] = {1, 2};
    int m_value = 0;
};

/// Up to 131 ms, and more often early than late.
std::chrono::microseconds randomMoment(Random& random) {
    return std::chrono::microseconds(below(random, 1U << (8 + below(random, 10))));
}

/// One server in four dies while it is being connected, if not before. Returns whether there was a
/// connection.
bool useUntilKilled(Panel& panel, DoomedServer& server, Random& random) {
    const bool early = below(random, 4) == 0;
    if (early)
        server.doom(randomMoment(random));
    _OpcUaClientConfig config{};
    setField(config.endpointUrl, server.url());
    config.timeout = 10000;
    const int result = panel.client.OpcUaConnect(config);
    if (result == 0) {
        if (!early)
            server.doom(randomMoment(random));
        while (panel.act(random) != 3) {
        }
    }
    EXPECT_TRUE(result == 0 || (early && result == 1)) << result;
    EXPECT_TRUE(waitUntil([&panel] { return panel.client.OpcUaGetConnectStatus() != 1; }));
    return result == 0;
}

TEST(ServerKills, AtRandomMomentsAreSurvived) {
    const unsigned kills = fromEnvironment("TEST_KILLS", 25);
    const unsigned seed = fromEnvironment("TEST_SEED", std::random_device()());
    std::printf("TEST_KILLS=%u TEST_SEED=%u\n", kills, seed);
    Random random(seed);
    auto panel = std::make_unique<Panel>();
    unsigned connects = 0;
    for (unsigned i = 0; i < kills && !testing::Test::HasFailure(); ++i) {
        SCOPED_TRACE(i);
        DoomedServer server;
        connects += useUntilKilled(*panel, server, random) ? 1 : 0;
        switch (below(random, 3)) {
        case 0:
            EXPECT_THAT(panel->client.OpcUaDisConnect(), testing::AnyOf(0, 3));
            break;
        case 1:
            panel = std::make_unique<Panel>();
            break;
        default: // the next connect drops what is left
            break;
        }
    }
    std::printf("%u servers were killed before they were connected, %u afterwards\n", kills - connects,
                connects);
}

} // namespace
