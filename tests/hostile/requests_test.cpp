// What operations ask the server for.
#include <atomic>
#include <string>

#include "hostile/hostile_fixture.h"

using namespace scripted;

namespace {

class Requests : public HostileTest {
protected:
    /// In milliseconds, and of a call that has only begun.
    static void expectTimeoutHint(const UA_RequestHeader& header) {
        constexpr UA_UInt32 callTimeout = 10000;
        EXPECT_GT(header.timeoutHint, callTimeout / 1000);
        EXPECT_LE(header.timeoutHint, callTimeout);
    }
    /// Reads the value; the server's state is read beside it.
    void expectRead() {
        std::atomic<int> reads{0};
        server.on<UA_ReadRequest>([&reads](const Call& call) {
            const auto& request = call.request<UA_ReadRequest>();
            if (request.nodesToReadSize == 1 && textOf(request.nodesToRead[0].nodeId) == "ns=1;s=Value") {
                ++reads;
                expectTimeoutHint(request.requestHeader);
                EXPECT_EQ(request.nodesToRead[0].attributeId, UA_ATTRIBUTEID_VALUE);
                EXPECT_EQ(request.timestampsToReturn, UA_TIMESTAMPSTORETURN_BOTH);
                EXPECT_EQ(request.maxAge, 0);
            }
            call.answer();
        });
        EXPECT_EQ(read(), 0);
        server.asUsual<UA_ReadRequest>();
        EXPECT_EQ(reads, 1);
    }
};

TEST_F(Requests, CarryWhatTheLibraryAsksFor) {
    monitor(1, 250);
    const Owned<UA_CreateSubscriptionRequest> subscription = server.last<UA_CreateSubscriptionRequest>();
    expectTimeoutHint(subscription->requestHeader);
    EXPECT_EQ(subscription->requestedPublishingInterval, 250);
    EXPECT_EQ(subscription->requestedLifetimeCount, 100000U);
    EXPECT_EQ(subscription->requestedMaxKeepAliveCount, 5U);
    EXPECT_EQ(subscription->maxNotificationsPerPublish, 0U);
    EXPECT_TRUE(subscription->publishingEnabled);
    EXPECT_EQ(subscription->priority, 0);

    const Owned<UA_CreateMonitoredItemsRequest> items = server.last<UA_CreateMonitoredItemsRequest>();
    expectTimeoutHint(items->requestHeader);
    EXPECT_EQ(items->timestampsToReturn, UA_TIMESTAMPSTORETURN_BOTH);

    expectRead();

    ASSERT_EQ(browse(), 0);
    const Owned<UA_BrowseRequest> browsed = server.last<UA_BrowseRequest>();
    expectTimeoutHint(browsed->requestHeader);
    EXPECT_EQ(browsed->requestedMaxReferencesPerNode, 0U);
    ASSERT_EQ(browsed->nodesToBrowseSize, 1U);
    const UA_BrowseDescription& asked = browsed->nodesToBrowse[0];
    const UA_NodeId hierarchical = UA_NODEID_NUMERIC(0, UA_NS0ID_HIERARCHICALREFERENCES); // i=33
    EXPECT_EQ(asked.browseDirection, UA_BROWSEDIRECTION_FORWARD);
    EXPECT_TRUE(UA_NodeId_equal(&asked.referenceTypeId, &hierarchical));
    EXPECT_TRUE(asked.includeSubtypes);
    EXPECT_EQ(asked.nodeClassMask, 0U);
    EXPECT_EQ(asked.resultMask, 0x3FU);
}

} // namespace
