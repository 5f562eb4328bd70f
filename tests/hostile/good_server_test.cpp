// The scripted server itself, while it is good: what the other cases turn against the client works.
#include <memory>

#include "hostile/hostile_fixture.h"

using namespace scripted;

namespace {

class GoodServer : public HostileTest {};

TEST_F(GoodServer, ServesAConnection) {
    ASSERT_EQ(connect(), 0);
    expectUnharmed();
    EXPECT_EQ(writeText("text"), 0);
    EXPECT_EQ(browse(), 0);
    ASSERT_NE(client.OpcUaReadRootNode()->child, nullptr);
    EXPECT_EQ(fieldText(client.OpcUaReadRootNode()->child->nodeId), "ns=1;s=Child1");
    EXPECT_EQ(client.OpcUaDisConnect(), 0);
    EXPECT_EQ(server.count<UA_CloseSessionRequest>(), 1);
}

TEST_F(GoodServer, IsToldToDeleteTheSubscriptionsWithTheSession) {
    monitor();
    EXPECT_EQ(client.OpcUaDisConnect(), 0);
    EXPECT_TRUE(server.last<UA_CloseSessionRequest>()->deleteSubscriptions);
}

TEST_F(GoodServer, ServesDiscovery) {
    const auto found = std::make_unique<_OpcUa_ServerConfigMsg>();
    std::string url = server.url();
    ASSERT_EQ(client.OpcUaDiscover(url.data(), *found), 0);
    EXPECT_EQ(found->serverCount, 1U);
    EXPECT_EQ(fieldText(found->servers[0].discoveryUrls[0].endpoints[0].endpointUrl), url);
}

TEST_F(GoodServer, ServesASubscription) {
    monitor(2);
    EXPECT_TRUE(waitForValue(42));
    EXPECT_TRUE(waitForValue(42, "ns=1;s=Item1"));
    server.publisher().publish(43);
    EXPECT_TRUE(waitForValue(43));
    server.publisher().keepAlive();
    OpcUaNode node{};
    setField(node.nodeId, "ns=1;s=Item0");
    EXPECT_EQ(client.OpcUaRemoveMonitNode(&node, nullptr, 0), 0);
    EXPECT_EQ(server.publisher().items().size(), 1U);
    EXPECT_EQ(client.OpcUaDeleteSubScription(), 0);
    EXPECT_EQ(status(), connected);
}

} // namespace
