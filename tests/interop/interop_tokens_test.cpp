// Security tokens that are renewed all the time, with subscriptions that must not notice.
#include <chrono>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "interop_fixture.h"
#include "recording_application.h"

namespace {

const char* const scratch = "ns=2;s=Scratch";        // stands still
const char* const counter = "ns=2;s=Moving.Counter"; // moves with each sampling

/// A client of its own with a subscription to one node.
class Subscriber {
public:
    Subscriber(std::string called, const char* nodeId) : name(std::move(called)) {
        setField(m_node.nodeId, nodeId);
    }
    ~Subscriber() { client.OpcUaDisConnect(); } // the callback must not outlive what it uses

    void begin(_OpcUaClientConfig config, double publishingInterval) {
        ASSERT_EQ(client.installOpcUaCallBack(&application), 0) << name;
        ASSERT_EQ(client.OpcUaConnect(config), 0) << name;
        ASSERT_EQ(client.OpcUaCreateSubScription(publishingInterval), 0) << name;
        ASSERT_EQ(client.OpcUaAddMonitNode(&m_node, nullptr, 0), 0) << name;
    }
    int read() {
        int value = 0;
        int size = 0;
        m_node.dataType = OpcUaDataType_Int32;
        return client.OpcUaGetValue(&m_node, &value, size);
    }

    const std::string name;
    RecordingApplication application;
    COpcUaClientInterface client;

private:
    OpcUaNode m_node{};
};

int numberOf(const _OpcUaDataChangeMsg& message) {
    int number = 0;
    std::memcpy(&number, message.value, sizeof number);
    return number;
}

class InteropTokens : public InteropTest {
protected:
    static constexpr int sign = 1;
    static constexpr int signAndEncrypt = 2;

    /// Quiet, with so long a publishing interval that each Publish request waits longer than a token lives.
    void subscribeQuietly(unsigned lifetime, int policy, int mode) {
        add(lifetime, policy, mode, "quiet", scratch, 500, m_quiet);
    }
    void subscribeBusily(unsigned lifetime, int policy, int mode) {
        add(lifetime, policy, mode, "busy", counter, 50, m_busy);
    }
    /// Until each of the channels has had that many tokens; the busy clients read all the while.
    bool readUntilIssued(unsigned tokens) {
        return waitUntil(
            [&] {
                for (const auto& subscriber : m_busy)
                    m_failedReads += subscriber->read() != 0;
                return counted("Tokens.Issued") >= tokens;
            },
            std::chrono::seconds(90));
    }

    std::vector<std::unique_ptr<Subscriber>> m_quiet;
    std::vector<std::unique_ptr<Subscriber>> m_busy;
    int m_failedReads = 0;

private:
    void add(unsigned lifetime, int policy, int mode, const std::string& kind, const char* nodeId,
             double publishingInterval, std::vector<std::unique_ptr<Subscriber>>& to) {
        ASSERT_EQ(write("ns=2;s=Tokens.Lifetime", OpcUaDataType_UInt32, lifetime), 0);
        _OpcUaClientConfig config = configFor(url());
        config.timeout = 20000;
        config.securityPolicy = policy;
        config.securityMode = mode;
        to.push_back(std::make_unique<Subscriber>(kind + ", policy " + std::to_string(policy) + ", mode " +
                                                      std::to_string(mode) + ", " + std::to_string(lifetime) +
                                                      " ms",
                                                  nodeId));
        to.back()->begin(config, publishingInterval);
        ASSERT_EQ(write("ns=2;s=Tokens.Lifetime", OpcUaDataType_UInt32, 0U), 0);
    }
};

TEST_F(InteropTokens, AreRenewedWhileSubscriptionsGoOn) {
    _OpcUaClientConfig config = configFor(url());
    config.timeout = 20000;
    config.securityPolicy = 3;
    config.securityMode = signAndEncrypt;
    ASSERT_EQ(client.OpcUaConnect(config), 0); // the certificate is trusted from here on
    ASSERT_EQ(write(scratch, OpcUaDataType_Int32, 1), 0);
    for (const unsigned lifetime : {8000U, 2000U}) {
        for (const auto& [policy, mode] :
             {std::pair(0, 0), std::pair(3, sign), std::pair(3, signAndEncrypt)}) {
            subscribeQuietly(lifetime, policy, mode);
            subscribeBusily(lifetime, policy, mode);
        }
    }
    for (const int policy : {1, 2, 4, 5})
        for (const int mode : {sign, signAndEncrypt})
            subscribeQuietly(2000, policy, mode);
    for (const auto& subscriber : m_quiet)
        ASSERT_TRUE(subscriber->application.waitForCount(scratch, 1)) << subscriber->name;
    EXPECT_TRUE(readUntilIssued(3));
    EXPECT_EQ(m_failedReads, 0);

    ASSERT_EQ(write(scratch, OpcUaDataType_Int32, 2), 0);
    for (const auto& subscriber : m_quiet) {
        SCOPED_TRACE(subscriber->name);
        EXPECT_EQ(subscriber->client.OpcUaGetConnectStatus(), connected);
        EXPECT_EQ(subscriber->read(), 0);
        if (subscriber->client.OpcUaGetConnectStatus() == connected) {
            EXPECT_TRUE(subscriber->application.waitForCount(scratch, 2));
            EXPECT_EQ(numberOf(subscriber->application.last(scratch)), 2);
        }
    }
    for (const auto& subscriber : m_busy) {
        SCOPED_TRACE(subscriber->name);
        EXPECT_EQ(subscriber->client.OpcUaGetConnectStatus(), connected);
        if (subscriber->client.OpcUaGetConnectStatus() == connected) {
            const int before = subscriber->application.count(counter);
            EXPECT_TRUE(subscriber->application.waitForCount(counter, before + 3));
        }
    }
}

} // namespace
