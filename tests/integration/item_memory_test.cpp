// What a monitored item takes in the client, compared with the bare engine that monitors the same.
#include <atomic>
#include <cstddef>
#include <cstdio>
#include <malloc.h>
#include <string>
#include <vector>

#include <open62541/client_subscriptions.h>

#include "recording_application.h"
#include "support/raw_client.h"

namespace {

constexpr int itemCount = 5000;
constexpr int batchSize = 20;

std::string tag(int number) {
    char id[32];
    std::snprintf(id, sizeof id, "ns=2;s=Tags.Tag%05d", number);
    return id;
}

std::size_t memoryInUse() {
    return mallinfo2().uordblks;
}

/// Counts what is delivered and keeps nothing.
class CountingApplication final : public COpcUaClientInterface::OpcUaCallBack {
public:
    void OpcUaDataChange(_OpcUaDataChangeMsg) override { ++delivered; }
    int OpcUaTrustServerCertificate(_OpcUaCertificateMsg) override { return -1; }
    std::atomic<int> delivered{0};
};

class ItemMemory : public ClientTest {
protected:
    /// Bytes that the engine's own client takes for all items.
    std::size_t engineTakes();
    /// Bytes that this client takes for them.
    std::size_t clientTakes();
};

std::size_t ItemMemory::engineTakes() {
    test_support::RawClient raw(server().url());
    UA_CreateSubscriptionRequest parameters = UA_CreateSubscriptionRequest_default();
    parameters.requestedPublishingInterval = 50;
    const UA_UInt32 subscription =
        UA_Client_Subscriptions_create(raw.get(), parameters, nullptr, nullptr, nullptr).subscriptionId;
    static int delivered;
    delivered = 0;
    const std::size_t before = memoryInUse();
    for (int first = 0; first < itemCount; first += batchSize) {
        std::vector<UA_MonitoredItemCreateRequest> items;
        for (int i = 0; i < batchSize; ++i) {
            const std::string id = tag(first + i);
            UA_NodeId node = UA_NODEID_NULL;
            UA_NodeId_parse(&node, UA_STRING(const_cast<char*>(id.c_str())));
            items.push_back(UA_MonitoredItemCreateRequest_default(node));
            items.back().requestedParameters.samplingInterval = 100;
        }
        UA_CreateMonitoredItemsRequest request;
        UA_CreateMonitoredItemsRequest_init(&request);
        request.subscriptionId = subscription;
        request.timestampsToReturn = UA_TIMESTAMPSTORETURN_BOTH;
        request.itemsToCreate = items.data();
        request.itemsToCreateSize = items.size();
        std::vector<void*> contexts(batchSize, nullptr);
        std::vector<UA_Client_DataChangeNotificationCallback> callbacks(
            batchSize, [](UA_Client*, UA_UInt32, void*, UA_UInt32, void*, UA_DataValue*) { ++delivered; });
        std::vector<UA_Client_DeleteMonitoredItemCallback> deletions(batchSize, nullptr);
        UA_CreateMonitoredItemsResponse response = UA_Client_MonitoredItems_createDataChanges(
            raw.get(), request, contexts.data(), callbacks.data(), deletions.data());
        EXPECT_EQ(response.resultsSize, items.size());
        UA_CreateMonitoredItemsResponse_clear(&response);
        for (UA_MonitoredItemCreateRequest& item : items)
            UA_MonitoredItemCreateRequest_clear(&item);
    }
    EXPECT_TRUE(waitUntil([&raw] {
        UA_Client_run_iterate(raw.get(), 0);
        return delivered >= itemCount;
    }));
    return memoryInUse() - before;
}

std::size_t ItemMemory::clientTakes() {
    CountingApplication application;
    COpcUaClientInterface own;
    own.installOpcUaCallBack(&application);
    _OpcUaClientConfig config = configFor(server().url());
    EXPECT_EQ(own.OpcUaConnect(config), 0);
    EXPECT_EQ(own.OpcUaCreateSubScription(50), 0);
    std::vector<OpcUaNode> nodes(itemCount);
    for (int i = 0; i < itemCount; ++i)
        setField(nodes[static_cast<std::size_t>(i)].nodeId, tag(i));
    const std::size_t before = memoryInUse();
    EXPECT_EQ(own.OpcUaAddMultiMonitNode(nodes.data(), itemCount), 0);
    EXPECT_TRUE(waitUntil([&application] { return application.delivered >= itemCount; }));
    return memoryInUse() - before;
}

TEST_F(ItemMemory, AnItemTakesLittleBeyondTheEnginesOwn) {
    startServer({"--tags", std::to_string(itemCount)});
    const std::size_t engine = engineTakes();
    const std::size_t own = clientTakes();
    std::printf("bytes an item: %zu in the bare engine, %zu in the client\n", engine / itemCount,
                own / itemCount);
    EXPECT_GT(engine, std::size_t{itemCount} * 50) << "nothing was measured";
    EXPECT_LE(own, engine + std::size_t{itemCount} * 2500);
}

} // namespace
