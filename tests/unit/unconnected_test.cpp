#include <string>

#include "client_test.h"

using ::testing::Each;
using ::testing::IsEmpty;

namespace {

/// Operations that need a connection, without one: the arguments are in order, nothing is sent.
class Unconnected : public ClientTest {
protected:
    Unconnected() {
        for (int i = 0; i < 3; ++i) {
            m_nodes[i] = makeNode("ns=2;s=" + std::to_string(i), OpcUaDataType_Int32);
            m_nodes[i].result = 99;
            m_reads[i] = {&m_nodes[i], &m_values[i], 4};
            m_writes[i] = {&m_nodes[i], &m_values[i], 4};
        }
    }
    ~Unconnected() override {
        EXPECT_THAT(m_values, Each(5)) << "a value buffer was touched";
        EXPECT_THAT(script().operations(), Each("UaSession::isConnected"));
    }

    void loseConnection() {
        connect();
        script().onIsConnected = [] { return false; };
    }
    void expectRefused(int code) {
        EXPECT_EQ(code, 3);
        EXPECT_EQ(message(), messages::notConnected);
        storeEarlierMessage();
    }
    void expectEveryResult(int result) {
        for (OpcUaNode& node : m_nodes) {
            EXPECT_EQ(node.result, result);
            node.result = 99;
        }
    }
    void expectAllRefused() {
        storeEarlierMessage();
        expectRefused(m_client->OpcUaGetArrayValue(m_nodes, m_index, 2, m_values, m_size));
        expectRefused(m_client->OpcUaSetArrayValue(m_nodes, m_index, 2, m_values, m_size));
        expectRefused(m_client->OpcUaCreateSubScription(100));
        expectRefused(m_client->OpcUaDeleteSubScription());
        expectRefused(m_client->OpcUaAddMonitNode(m_nodes, nullptr, 0));
        expectRefused(m_client->OpcUaAddMonitNode(m_nodes, m_index, 2));
        expectRefused(m_client->OpcUaAddMonitNode(m_nodes, m_index, 17)); // the connection comes first
        expectRefused(m_client->OpcUaRemoveMonitNode(m_nodes, nullptr, 0));
        expectRefused(m_client->OpcUaRemoveMonitNode(m_nodes, m_index, 17));
        expectRefused(m_client->OpcUaClearMonitNode());
        EXPECT_EQ(m_size, 4);
        expectEveryResult(99);
    }

    OpcUaNode m_nodes[3];
    int m_values[3] = {5, 5, 5};
    OpcUa_ReadNode m_reads[3];
    OpcUa_WriteNode m_writes[3];
    unsigned long m_index[16] = {};
    int m_size = 4;
};

} // namespace

TEST_F(Unconnected, WithoutSessionOperationsAreRefused) {
    expectAllRefused();
}

TEST_F(Unconnected, AfterALostConnectionOperationsAreRefused) {
    loseConnection();
    expectAllRefused();
}

TEST_F(Unconnected, WithoutSessionMultiNodeOperationsReportByNodeAlone) {
    storeEarlierMessage();
    EXPECT_EQ(m_client->OpcUaGetMultiValue(m_reads, 3), 0);
    EXPECT_EQ(message(), messages::notConnected);
    expectEveryResult(3);
    EXPECT_EQ(m_client->OpcUaSetMultiValue(m_writes, 3), 0);
    expectEveryResult(3);
    EXPECT_EQ(m_client->OpcUaAddMultiMonitNode(m_nodes, 3), 0);
    expectEveryResult(3);
    EXPECT_EQ(message(), messages::notConnected);
}

TEST_F(Unconnected, AfterALostConnectionMultiNodeOperationsAreRefused) {
    loseConnection();
    EXPECT_EQ(m_client->OpcUaGetMultiValue(m_reads, 3), 3);
    EXPECT_EQ(message(), messages::notConnected);
    expectEveryResult(3);
    EXPECT_EQ(m_client->OpcUaSetMultiValue(m_writes, 3), 3);
    expectEveryResult(3);
    EXPECT_EQ(m_client->OpcUaAddMultiMonitNode(m_nodes, 3), 3);
    expectEveryResult(3);
}

TEST_F(Unconnected, MultiNodeOperationsTouchOnlyTheCountedNodes) {
    EXPECT_EQ(m_client->OpcUaGetMultiValue(m_reads, 1), 0);
    EXPECT_EQ(m_client->OpcUaSetMultiValue(m_writes, 1), 0);
    EXPECT_EQ(m_client->OpcUaAddMultiMonitNode(m_nodes, 1), 0);
    EXPECT_EQ(m_nodes[0].result, 3);
    EXPECT_EQ(m_nodes[1].result, 99);
    EXPECT_EQ(m_nodes[2].result, 99);
}

TEST_F(Unconnected, InvalidArgumentsAreRefusedFirstAndWithoutLock) {
    EXPECT_EQ(m_client->OpcUaGetArrayValue(nullptr, m_index, 1, m_values, m_size), 29);
    EXPECT_EQ(message(), messages::invalidArgument);
    EXPECT_EQ(m_client->OpcUaGetArrayValue(m_nodes, nullptr, 1, m_values, m_size), 29);
    EXPECT_EQ(m_client->OpcUaGetArrayValue(m_nodes, m_index, 1, nullptr, m_size), 29);
    EXPECT_EQ(m_client->OpcUaSetArrayValue(nullptr, m_index, 1, m_values, m_size), 29);
    EXPECT_EQ(m_client->OpcUaSetArrayValue(m_nodes, nullptr, 1, m_values, m_size), 29);
    EXPECT_EQ(m_client->OpcUaSetArrayValue(m_nodes, m_index, 1, nullptr, m_size), 29);
    for (const int count : {0, 17, -1}) {
        EXPECT_EQ(m_client->OpcUaGetArrayValue(m_nodes, m_index, count, m_values, m_size), 29);
        EXPECT_EQ(m_client->OpcUaSetArrayValue(m_nodes, m_index, count, m_values, m_size), 29);
    }
    EXPECT_EQ(m_client->OpcUaGetMultiValue(nullptr, 1), 29);
    EXPECT_EQ(m_client->OpcUaSetMultiValue(nullptr, 1), 29);
    EXPECT_EQ(m_client->OpcUaAddMultiMonitNode(nullptr, 1), 29);
    for (const int count : {0, -1}) {
        EXPECT_EQ(m_client->OpcUaGetMultiValue(m_reads, count), 29);
        EXPECT_EQ(m_client->OpcUaSetMultiValue(m_writes, count), 29);
        EXPECT_EQ(m_client->OpcUaAddMultiMonitNode(m_nodes, count), 29);
    }
    EXPECT_EQ(m_client->OpcUaAddMonitNode(nullptr, nullptr, 0), 29);
    EXPECT_EQ(m_client->OpcUaRemoveMonitNode(nullptr, nullptr, 0), 29);
    EXPECT_EQ(message(), messages::invalidArgument);
    EXPECT_THAT(mutex_watch::locked(), IsEmpty());
    expectEveryResult(99);
}

TEST_F(Unconnected, ArrayOperationsTakeUpToSixteenIndices) {
    expectRefused(m_client->OpcUaGetArrayValue(m_nodes, m_index, 16, m_values, m_size));
    expectRefused(m_client->OpcUaSetArrayValue(m_nodes, m_index, 16, m_values, m_size));
}

TEST_F(Unconnected, DeletingAndClearingTakeNoLock) {
    EXPECT_EQ(m_client->OpcUaDeleteSubScription(), 3);
    EXPECT_EQ(m_client->OpcUaClearMonitNode(), 3);
    EXPECT_THAT(mutex_watch::locked(), IsEmpty());
}
