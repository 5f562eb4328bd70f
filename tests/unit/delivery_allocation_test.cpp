// What delivering data changes costs on the heap, from the SDK's call to the application's callback.
#include <cstring>
#include <malloc.h>
#include <memory>
#include <vector>

#include <gtest/gtest.h>
#include <open62541/types_generated_handling.h>

#include "OpcUaClientInterface.h"
#include "protocol_values.h"
#include "support/allocation_counter.h"

using standin::script;
using test_support::allocationsDuring;

namespace {

struct CountingApplication final : COpcUaClientInterface::OpcUaCallBack {
    void OpcUaDataChange(_OpcUaDataChangeMsg message) override {
        ++calls;
        bytes += message.valueSize;
        if (keeps)
            kept = std::make_unique<_OpcUaDataChangeMsg>(message);
    }
    int OpcUaTrustServerCertificate(_OpcUaCertificateMsg) override { return -1; }
    int calls = 0;
    int bytes = 0;
    bool keeps = false;
    std::unique_ptr<_OpcUaDataChangeMsg> kept;
};

class DeliveryAllocation : public testing::Test {
protected:
    DeliveryAllocation() {
        script().reset();
        client.installOpcUaCallBack(&application);
        _OpcUaClientConfig config = {};
        std::strcpy(config.endpointUrl, "opc.tcp://plant:4840");
        EXPECT_EQ(client.OpcUaConnect(config), 0);
        EXPECT_EQ(client.OpcUaCreateSubScription(100), 0);
    }

    void monitor(unsigned long* index = nullptr, int count = 0) {
        OpcUaNode node = {};
        std::strcpy(node.nodeId, "ns=2;s=A");
        ASSERT_EQ(client.OpcUaAddMonitNode(&node, index, count), 0);
    }
    void collect(const UaVariant& value) {
        OpcUa_DataValue change = {};
        value.copyTo(&change.value);
        change.hasValue = true;
        notifications.append(1, change);
        UA_clear(&change, &UA_TYPES[UA_TYPES_DATAVALUE]);
    }
    std::size_t deliver() {
        return allocationsDuring(
            [this] { script().subscriptionCallback()->dataChange(1, notifications, noDiagnostics); });
    }

    CountingApplication application;
    COpcUaClientInterface client;
    UaMonitoredItemNotifications notifications;
    const UaDiagnosticInfos noDiagnostics{};
};

} // namespace

TEST_F(DeliveryAllocation, ScalarsAllocateNothing) {
    monitor();
    collect(booleanVariant(true));
    collect(int32Variant(7));
    collect(doubleVariant(1.5));
    collect(stringVariant("a text that is too long for a string's own memory"));
    collect(UaVariant());
    EXPECT_EQ(deliver(), 0U);
    EXPECT_EQ(application.calls, 5);
    EXPECT_EQ(application.bytes, 1 + 4 + 8 + 49);
}

TEST_F(DeliveryAllocation, WhatTheApplicationAllocatesIsCounted) {
    monitor();
    application.keeps = true;
    collect(int32Variant(7));
    collect(int32Variant(8));
    EXPECT_EQ(deliver(), 2U);
}

TEST_F(DeliveryAllocation, AnElementOfAnArrayAllocatesNothing) {
    unsigned long index[1] = {99999};
    monitor(index, 1);
    const std::vector<OpcUa_Int32> elements(100000, 7);
    collect(arrayVariant(OpcUaType_Int32, elements.data(), elements.size()));
    EXPECT_EQ(deliver(), 0U);
    EXPECT_EQ(application.bytes, 4);
}

TEST_F(DeliveryAllocation, AnItemTakesLittleMemory) {
    constexpr int count = 1000;
    std::vector<OpcUaNode> nodes(count);
    for (OpcUaNode& node : nodes)
        std::strcpy(node.nodeId, "ns=2;s=A");
    const std::size_t before = mallinfo2().uordblks;
    ASSERT_EQ(client.OpcUaAddMultiMonitNode(nodes.data(), count), 0);
    script().forgetCalls();
    EXPECT_LE(mallinfo2().uordblks - before, std::size_t{count} * 2500);
}
