#include <csignal>
#include <string>

#include "client_fixture.h"

using namespace std::chrono_literals;

namespace {

using ConnectionLoss = ClientTest;

TEST_F(ConnectionLoss, AKilledServerChangesTheStatusByItself) {
    ASSERT_EQ(connect(), 0);
    server().kill(SIGKILL);
    EXPECT_TRUE(waitUntil([this] { return client.OpcUaGetConnectStatus() != connected; }));
}

TEST_F(ConnectionLoss, AfterwardsOperationsAnswerNotConnected) {
    ASSERT_EQ(connect(), 0);
    OpcUaNode* record = node("i=2259", OpcUaDataType_Int32);
    server().kill(SIGKILL);
    ASSERT_TRUE(waitUntil([this] { return client.OpcUaGetConnectStatus() != connected; }));
    int value = 77;
    int size = sizeof value;
    EXPECT_EQ(client.OpcUaGetValue(record, &value, size), 3);
    EXPECT_EQ(errorText(), "服务器未连接");
    EXPECT_EQ(value, 77);
    EXPECT_EQ(client.OpcUaSetValue(record, &value, size), 3);
    EXPECT_EQ(client.OpcUaBrowse(nullptr), 4); // the session is there, its connection is not
}

TEST_F(ConnectionLoss, DisconnectFromADeadServerSucceeds) {
    ASSERT_EQ(connect(), 0);
    server().kill(SIGKILL);
    EXPECT_EQ(client.OpcUaDisConnect(), 0);
    EXPECT_EQ(client.OpcUaGetConnectStatus(), 0);
    EXPECT_EQ(client.OpcUaDisConnect(), 3);
}

TEST_F(ConnectionLoss, AFrozenServerIsNoticedByTheWatchdog) {
    ASSERT_EQ(connect(), 0);
    server().freeze();
    // A probe every 5 s, 5 s for its answer, a second for each to be due.
    EXPECT_TRUE(waitUntil([this] { return client.OpcUaGetConnectStatus() != connected; }, 60s));
    EXPECT_EQ(client.OpcUaDisConnect(), 0);
    EXPECT_EQ(client.OpcUaGetConnectStatus(), 0);
    server().resume();
    ASSERT_EQ(connect(), 0);
    EXPECT_TRUE(
        waitUntil([this] { return diagnostics("CurrentSessions") == 1; })); // ours of before was closed
}

TEST_F(ConnectionLoss, AReadFromAFrozenServerFailsAfterTheCallTimeout) {
    ASSERT_EQ(connect(), 0);
    OpcUaNode* record = node("i=2259", OpcUaDataType_Int32);
    server().freeze();
    int value = 77;
    int size = sizeof value;
    EXPECT_NE(client.OpcUaGetValue(record, &value, size), 0);
    EXPECT_EQ(value, 77);
    server().resume();
}

TEST_F(ConnectionLoss, AServerThatClosesTheConnectionIsNoticed) {
    ASSERT_EQ(connect(), 0);
    ASSERT_EQ(write<unsigned char>("ns=3;s=TestRack.Control.CloseConnections", OpcUaDataType_Boolean, 1), 0);
    EXPECT_TRUE(waitUntil([this] { return client.OpcUaGetConnectStatus() != connected; }));
}

TEST_F(ConnectionLoss, AServerThatClosesTheSessionIsNoticedByTheNextCall) {
    ASSERT_EQ(connect(), 0);
    OpcUaNode* record = node("i=2259", OpcUaDataType_Int32);
    ASSERT_EQ(write<unsigned char>("ns=3;s=TestRack.Control.CloseSessions", OpcUaDataType_Boolean, 1), 0);
    int value = 0;
    int size = 0;
    EXPECT_TRUE(waitUntil([&] { return client.OpcUaGetValue(record, &value, size) != 0; }));
    EXPECT_TRUE(waitUntil([this] { return client.OpcUaGetConnectStatus() != connected; }));
    EXPECT_EQ(client.OpcUaGetValue(record, &value, size), 3);
    EXPECT_EQ(connect(), 0); // reconnecting is the application's to do, and works
    EXPECT_EQ(client.OpcUaGetValue(record, &value, size), 0);
}

TEST_F(ConnectionLoss, ANewServerIsReachedByANewConnect) {
    ASSERT_EQ(connect(), 0);
    const unsigned short port = server().port();
    server().kill(SIGKILL);
    ASSERT_TRUE(waitUntil([this] { return client.OpcUaGetConnectStatus() != connected; }));
    startServer({"--port", std::to_string(port)});
    EXPECT_EQ(connect(), 0);
    EXPECT_EQ(client.OpcUaGetConnectStatus(), connected);
}

TEST_F(ConnectionLoss, AnAnnouncedShutdownShowsInTheStatus) {
    ASSERT_EQ(connect(), 0);
    ASSERT_EQ(write<unsigned>("ns=3;s=TestRack.Control.ShutDown", OpcUaDataType_UInt32, 20), 0);
    EXPECT_TRUE(waitUntil([this] { return client.OpcUaGetConnectStatus() == 4; }));
    EXPECT_EQ(client.OpcUaDisConnect(), 0);
}

} // namespace
