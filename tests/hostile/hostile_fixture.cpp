#include "hostile/hostile_fixture.h"

#include <cstdint>
#include <cstring>
#include <string>

using namespace scripted;

void HostileTest::TearDown() {
    client.OpcUaDisConnect();
    EXPECT_EQ(status(), 0);
    EXPECT_TRUE(server.waitForOpenConnections(0));
    EXPECT_THAT(server.violations(), testing::IsEmpty());
    server.behave();
    EXPECT_EQ(connect(), 0);
    EXPECT_EQ(status(), connected);
    EXPECT_EQ(read(), 0);
    EXPECT_EQ(client.OpcUaDisConnect(), 0);
}

int HostileTest::connect(int timeout) {
    _OpcUaClientConfig config{};
    setField(config.endpointUrl, server.url());
    config.timeout = timeout;
    return client.OpcUaConnect(config);
}

bool HostileTest::waitForStatus(int expected) {
    return waitUntil([this, expected] { return status() == expected; });
}

int HostileTest::read() {
    std::int32_t value = 0;
    return read(value);
}

int HostileTest::read(std::int32_t& value) {
    OpcUaNode node{};
    setField(node.nodeId, "ns=1;s=Value");
    node.dataType = OpcUaDataType_Int32;
    int size = 0;
    return client.OpcUaGetValue(&node, &value, size);
}

int HostileTest::writeText(const std::string& text) {
    OpcUaNode node{};
    setField(node.nodeId, "ns=1;s=Value");
    node.dataType = OpcUaDataType_String;
    int size = 0;
    return client.OpcUaSetValue(&node, text.c_str(), size);
}

void HostileTest::monitor(int nodes, double publishingInterval) {
    ASSERT_EQ(client.installOpcUaCallBack(&application), 0);
    ASSERT_EQ(connect(), 0);
    ASSERT_EQ(client.OpcUaCreateSubScription(publishingInterval), 0);
    for (int i = 0; i < nodes; ++i)
        ASSERT_EQ(add("ns=1;s=Item" + std::to_string(i)), 0);
}

int HostileTest::add(const std::string& nodeId) {
    OpcUaNode node{};
    setField(node.nodeId, nodeId);
    return client.OpcUaAddMonitNode(&node, nullptr, 0);
}

bool HostileTest::waitForChanges(int count) {
    return waitUntil([this, count] { return changes() >= count; });
}

bool HostileTest::waitForValue(std::int32_t value, const std::string& nodeId) {
    return waitUntil([&] {
        const _OpcUaDataChangeMsg message = application.last(nodeId);
        std::int32_t got = 0;
        std::memcpy(&got, message.value, sizeof got);
        return message.valueSize == sizeof got && got == value;
    });
}

void HostileTest::expectUnharmed() {
    EXPECT_EQ(status(), connected);
    std::int32_t value = 0;
    EXPECT_EQ(read(value), 0);
    EXPECT_EQ(value, 42);
    EXPECT_EQ(server.connections(), 1);
}

void HostileTest::expectLost() {
    EXPECT_TRUE(waitForStatus(lost));
    EXPECT_EQ(read(), notConnected);
    EXPECT_TRUE(server.waitForOpenConnections(0));
}
