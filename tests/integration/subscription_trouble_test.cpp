// What becomes of a subscription when the server, or the way to it, is in trouble.
#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "recording_application.h"
#include "support/message_proxy.h"
#include "trace_file.h"

using namespace std::chrono_literals;
using test_support::MessageProxy;

namespace {

using Message = _OpcUaDataChangeMsg;

constexpr int subscriptionLost = 5;

class SubscriptionTrouble : public MonitoringTest {
protected:
    SubscriptionTrouble() { client.OpcUaInit(OpcUaTraceLevel_Warnings); }

    void subscribeThrough(const MessageProxy& proxy) {
        ASSERT_EQ(client.installOpcUaCallBack(&application), 0);
        ASSERT_EQ(connect(proxy.url()), 0);
        ASSERT_EQ(client.OpcUaCreateSubScription(50), 0);
    }
    bool statusBecomes(int status) {
        return waitUntil([&] { return client.OpcUaGetConnectStatus() == status; }, 60s);
    }
    bool valueArrives(const std::string& id, int value) {
        return application.waitForValue(
            id, [value](const Message& message) { return valueOf<int>(message) == value; });
    }
    /// Whether what has moved until now goes on moving.
    bool moves(const std::string& id) { return application.waitForCount(id, application.count(id) + 3); }

    const TraceFile trace;
    const std::string counter = rack("Moving.Counter");
    const std::string number = rack("Scalar.Int32");
};

TEST_F(SubscriptionTrouble, AServerThatFreezesForAMomentLosesNothing) {
    subscribe();
    ASSERT_EQ(add(number), 0);
    ASSERT_TRUE(application.waitForCount(number, 1));
    constexpr int changes = 12;
    for (int i = 1; i <= changes; ++i) {
        ASSERT_EQ(write(number, OpcUaDataType_Int32, i), 0);
        if (i % 4 == 0) {
            server().freeze();
            std::this_thread::sleep_for(1s); // the length of the moment
            server().resume();
        }
        ASSERT_TRUE(valueArrives(number, i)) << i;
    }
    EXPECT_EQ(application.count(number), changes + 1);
    EXPECT_EQ(client.OpcUaGetConnectStatus(), connected);
}

TEST_F(SubscriptionTrouble, AServerThatStaysFrozenIsGivenUp) {
    subscribe();
    ASSERT_EQ(add(counter), 0);
    ASSERT_TRUE(moves(counter));
    server().freeze();
    ASSERT_TRUE(waitUntil([this] { return client.OpcUaGetConnectStatus() != connected; }, 60s));
    EXPECT_EQ(add(number), 3);
    EXPECT_EQ(client.OpcUaDeleteSubScription(), 3);
    server().resume(); // a sign of life would be enough to go on
    ASSERT_EQ(connect(), 0);
    const int delivered = application.count(counter);
    EXPECT_EQ(add(number), 11) << "a new connection begins without a subscription";
    EXPECT_TRUE(waitUntil([this] { return diagnostics("CurrentSessions") == 1; }));
    EXPECT_TRUE(waitUntil([this] { return diagnostics("CurrentSubscriptions") == 0; }));
    EXPECT_EQ(application.count(counter), delivered);
    ASSERT_EQ(client.OpcUaCreateSubScription(50), 0);
    ASSERT_EQ(add(counter), 0);
    EXPECT_TRUE(moves(counter));
}

TEST_F(SubscriptionTrouble, ARestartedServerNeedsANewSubscription) {
    subscribe();
    const std::string port = std::to_string(server().port());
    for (int restart = 0; restart < 3; ++restart) {
        ASSERT_EQ(add(counter), 0);
        ASSERT_TRUE(moves(counter));
        server().kill(restart == 1 ? SIGTERM : SIGKILL);
        ASSERT_TRUE(waitUntil([this] { return client.OpcUaGetConnectStatus() != connected; }));
        startServer({"--port", port});
        ASSERT_EQ(connect(), 0);
        EXPECT_EQ(add(counter), 11);
        ASSERT_EQ(client.OpcUaCreateSubScription(50), 0);
    }
}

TEST_F(SubscriptionTrouble, ASubscriptionThatOutlivedItsLifetimeIsReported) {
    startServer({"--max-lifetime", "20"});
    MessageProxy proxy(server().port());
    subscribeThrough(proxy);
    COpcUaClientInterface observer;
    _OpcUaClientConfig config = configFor(server().url());
    ASSERT_EQ(observer.OpcUaConnect(config), 0);
    ASSERT_EQ(add(counter), 0);
    ASSERT_TRUE(moves(counter));

    proxy.pause();
    const auto subscriptions = [&observer] {
        OpcUaNode node = recordOf(rack("Diagnostics.CurrentSubscriptions"));
        node.dataType = OpcUaDataType_UInt64;
        unsigned long count = 77;
        int size = 0;
        EXPECT_EQ(observer.OpcUaGetValue(&node, &count, size), 0);
        return count;
    };
    ASSERT_TRUE(waitUntil([&] { return subscriptions() == 0; }));
    proxy.resume();

    EXPECT_TRUE(statusBecomes(subscriptionLost));
    EXPECT_EQ(trace.linesWith("the server has ended the subscription: BadNoSubscription"), 1);
    EXPECT_LT(trace.lines().size(), 10U) << "the server was asked again and again";
    EXPECT_EQ(read<int>(number, OpcUaDataType_Int32), -123456789) << "the session is as good as ever";
    EXPECT_EQ(add(number), 12);
    EXPECT_EQ(client.OpcUaDeleteSubScription(), 9);
    ASSERT_EQ(client.OpcUaCreateSubScription(50), 0);
    EXPECT_TRUE(statusBecomes(connected));
    ASSERT_EQ(add(counter), 0);
    EXPECT_TRUE(moves(counter));
}

/// Changes the sequence number of the first notification that passes (OPC UA Part 4, 7.26; unsecured,
/// binary).
class SkippedSequenceNumber {
public:
    void operator()(std::vector<char>& body) {
        constexpr std::size_t typeId = 16;
        constexpr std::size_t sequenceNumbersThere = 48;
        const std::string publishResponse{1, 0, '\x3d', '\x03'};
        if (m_done || body.size() < sequenceNumbersThere + 4 ||
            publishResponse.compare(0, 4, &body[typeId], 4) != 0) {
            return;
        }
        std::int32_t count = 0;
        std::memcpy(&count, &body[sequenceNumbersThere], sizeof count);
        const std::size_t number =
            sequenceNumbersThere + sizeof count + static_cast<std::size_t>(std::max(count, 0)) * 4 + 1;
        body.at(number) = static_cast<char>(body.at(number) + 1);
        m_done = true;
    }

private:
    bool m_done = false;
};

TEST_F(SubscriptionTrouble, AGapInTheSequenceIsTracedAndDeliveryGoesOn) {
    MessageProxy proxy(server().port());
    subscribeThrough(proxy);
    ASSERT_EQ(add(counter), 0);
    ASSERT_TRUE(moves(counter));
    proxy.changeServerMessages(SkippedSequenceNumber());
    ASSERT_TRUE(moves(counter));
    EXPECT_GT(trace.linesWith("is missing and asked for again"), 0);
    EXPECT_EQ(client.OpcUaGetConnectStatus(), connected);
}

TEST_F(SubscriptionTrouble, ItemsBeyondTheServersLimitFailOneByOne) {
    subscribe({"--max-items", "10", "--tags", "25"});
    std::vector<OpcUaNode> nodes;
    for (int i = 0; i < 25; ++i)
        nodes.push_back(recordOf("ns=2;s=Tags.Tag000" + std::string(i < 10 ? "0" : "") + std::to_string(i)));
    EXPECT_EQ(client.OpcUaAddMultiMonitNode(nodes.data(), 25), 0);
    for (std::size_t i = 0; i < nodes.size(); ++i)
        EXPECT_EQ(nodes[i].result, i < 10 ? 0 : 12) << i;
    EXPECT_EQ(trace.linesWith("BadTooManyMonitoredItems"), 15);
    EXPECT_TRUE(application.waitForNodes(10));
    EXPECT_EQ(add(counter), 12);
    EXPECT_EQ(remove(fieldText(nodes[0].nodeId)), 0);
    EXPECT_EQ(add(counter), 0);
    EXPECT_TRUE(moves(counter));
}

TEST_F(SubscriptionTrouble, AnElementIsDeliveredWhileTheShapeFits) {
    subscribe();
    const std::string id = rack("Changing.Value");
    const auto becomes = [this](const char* shape) { return writeText(rack("Control.Shape"), shape) == 0; };
    ASSERT_TRUE(becomes("Int32[3,4]"));
    ASSERT_EQ(add(id, {1, 2}), 0);
    ASSERT_EQ(add(counter), 0);
    ASSERT_TRUE(valueArrives(id, 6));
    for (const char* shape : {"Int32", "Int32[20]", "Int32[2,3,4]", "Null", "Int32[1,1]", "Double[2,2]"}) {
        ASSERT_TRUE(becomes(shape)) << shape;
        ASSERT_TRUE(moves(counter)); // sampled and published together
        EXPECT_EQ(application.count(id), 1) << shape;
    }
    ASSERT_TRUE(becomes("String[2,3]"));
    ASSERT_TRUE(application.waitForCount(id, 2));
    EXPECT_EQ(application.last(id).dataType, OpcUaDataType_String);
    EXPECT_EQ(textOf(application.last(id)), "Element 5");
}

TEST_F(SubscriptionTrouble, AValueThatTurnsBadIsSilentUntilItIsGoodAgain) {
    subscribe();
    const std::string id = rack("Changing.Status");
    constexpr unsigned bad = 0x808C0000;
    constexpr unsigned uncertain = 0x40900000;
    ASSERT_EQ(add(id), 0);
    ASSERT_EQ(add(counter), 0);
    ASSERT_TRUE(application.waitForCount(id, 1));
    int delivered = 1;
    for (const unsigned status : {bad, uncertain}) {
        ASSERT_EQ(write(rack("Control.StatusCode"), OpcUaDataType_UInt32, status), 0);
        ASSERT_TRUE(moves(counter));
        EXPECT_EQ(application.count(id), delivered);
        ASSERT_EQ(write(rack("Control.StatusCode"), OpcUaDataType_UInt32, 0U), 0);
        EXPECT_TRUE(application.waitForCount(id, ++delivered));
    }
}

TEST_F(SubscriptionTrouble, AnEmptyValueArrivesAsNull) {
    subscribe();
    const std::string id = rack("Special.Empty");
    ASSERT_EQ(add(id), 0);
    ASSERT_TRUE(application.waitForCount(id, 1));
    EXPECT_EQ(application.last(id).dataType, OpcUaDataType_Null);
    EXPECT_EQ(application.last(id).valueSize, 0);
}

} // namespace
