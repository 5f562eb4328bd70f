#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "client_fixture.h"
#include "trace_file.h"

namespace {

/// Reads and writes of many nodes in one call: the rack's twelve types in turn.
class ManyNodes : public ClientTest {
protected:
    void connectTo(const std::vector<std::string>& options) {
        startServer(options);
        client.OpcUaInit(OpcUaTraceLevel_Errors);
        ASSERT_EQ(connect(), 0);
    }

    /// `count` variables as texts, in a buffer each.
    void prepare(std::size_t count) {
        m_nodes.assign(count, OpcUaNode{});
        m_buffers.assign(count, std::string(width, '\0'));
        m_reads.clear();
        m_writes.clear();
        for (std::size_t i = 0; i < count; ++i) {
            char id[64];
            std::snprintf(id, sizeof id, "ns=3;s=TestRack.Many.Variable%04zu", i + 1);
            setField(m_nodes[i].nodeId, id);
            m_nodes[i].dataType = OpcUaDataType_String;
            m_nodes[i].result = 99;
            m_reads.push_back({&m_nodes[i], m_buffers[i].data(), width});
            m_writes.push_back({&m_nodes[i], m_buffers[i].data(), width});
        }
    }
    int readAll() { return client.OpcUaGetMultiValue(m_reads.data(), static_cast<int>(m_reads.size())); }
    int writeAll() { return client.OpcUaSetMultiValue(m_writes.data(), static_cast<int>(m_writes.size())); }
    /// Every node in its own type, which servers want.
    void useOwnTypes() {
        for (std::size_t i = 0; i < m_nodes.size(); ++i)
            m_nodes[i].dataType = static_cast<_OpcUaDataType>(i % 12 + 1);
    }
    std::vector<int> results() const {
        std::vector<int> codes;
        for (const OpcUaNode& node : m_nodes)
            codes.push_back(node.result);
        return codes;
    }

    static constexpr int width = 64;
    std::vector<OpcUaNode> m_nodes;
    std::vector<std::string> m_buffers;
    std::vector<OpcUa_ReadNode> m_reads;
    std::vector<OpcUa_WriteNode> m_writes;
};

TEST_F(ManyNodes, AreReadWrittenAndReadBack) {
    connectTo({});
    for (const std::size_t count : {1U, 19U, 20U, 21U, 40U, 45U, 1200U}) {
        prepare(count);
        useOwnTypes();
        ASSERT_EQ(readAll(), 0);
        EXPECT_EQ(results(), std::vector<int>(count, 0));
        const std::vector<std::string> before = m_buffers;
        for (std::size_t i = 0; i < count; ++i) {
            m_buffers[i][0] = i % 12 == 11 ? 'x' : '\1';
            m_writes[i].size = width;
        }
        const std::vector<std::string> written = m_buffers;
        ASSERT_EQ(writeAll(), 0);
        EXPECT_EQ(results(), std::vector<int>(count, 0));
        for (std::size_t i = 0; i < count; ++i) {
            std::fill(m_buffers[i].begin(), m_buffers[i].end(), '\0');
            m_reads[i].size = width;
        }
        ASSERT_EQ(readAll(), 0);
        EXPECT_EQ(m_buffers, written) << count;
    }
}

TEST_F(ManyNodes, ThatFailDoSoAlone) {
    connectTo({});
    prepare(45);
    setField(m_nodes[0].nodeId, "ns=3;s=No.Such.Node");
    setField(m_nodes[30].nodeId, "no node id");
    setField(m_nodes[44].nodeId, "ns=3;s=TestRack.Status.Uncertain");
    EXPECT_EQ(readAll(), 0);
    std::vector<int> expected(45, 0);
    expected[0] = expected[30] = expected[44] = 7;
    EXPECT_EQ(results(), expected);
    EXPECT_EQ(errorText(), "读节点值出错");
}

TEST_F(ManyNodes, OfABatchThatTheServerFindsTooLongFailTogether) {
    connectTo({"--max-nodes-per-read", "10", "--max-nodes-per-write", "19"});
    const TraceFile trace;
    prepare(45);
    EXPECT_EQ(readAll(), 0);
    std::vector<int> expected(45, 7);
    std::fill(expected.begin() + 40, expected.end(), 0);
    EXPECT_EQ(results(), expected);
    EXPECT_EQ(errorText(), "读节点值出错");
    EXPECT_EQ(trace.linesWith("reading of 20 nodes from ns=3;s=TestRack.Many.Variable0001 on failed: "
                              "BadTooManyOperations: the server's operation limit"),
              1);
    EXPECT_EQ(trace.linesWith("Variable0021 on failed"), 1);

    useOwnTypes();
    EXPECT_EQ(writeAll(), 0);
    std::fill(expected.begin(), expected.begin() + 40, 8);
    EXPECT_EQ(results(), expected);
    EXPECT_EQ(errorText(), "写节点值出错");
    EXPECT_EQ(trace.linesWith("writing of 20 nodes from ns=3;s=TestRack.Many.Variable0001 on failed: "
                              "BadTooManyOperations: the server's operation limit"),
              1);
}

TEST_F(ManyNodes, OfALostConnectionAllHaveThree) {
    connectTo({});
    server().kill(9);
    ASSERT_TRUE(waitUntil([this] { return client.OpcUaGetConnectStatus() != connected; }));
    prepare(21);
    EXPECT_EQ(readAll(), 3);
    EXPECT_EQ(results(), std::vector<int>(21, 3));
    prepare(21);
    EXPECT_EQ(writeAll(), 3);
    EXPECT_EQ(results(), std::vector<int>(21, 3));
    ASSERT_EQ(client.OpcUaDisConnect(), 0);
    prepare(21);
    EXPECT_EQ(readAll(), 0) << "without a session the nodes tell";
    EXPECT_EQ(results(), std::vector<int>(21, 3));
}

} // namespace
