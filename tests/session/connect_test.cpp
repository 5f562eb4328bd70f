#include <algorithm>
#include <chrono>
#include <netinet/in.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "session_fixture.h"
#include "support/process_holdings.h"

using namespace UaClientSdk;
using test_support::MessageProxy;
using test_support::openDescriptors;
using test_support::threadCount;
using test_support::waitForThreadCount;
using Clock = std::chrono::steady_clock;

namespace {

using ConnectTest = SessionTest;

/// A loopback port on which nothing listens.
int unusedPort() {
    const int probe = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    EXPECT_EQ(bind(probe, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(getsockname(probe, reinterpret_cast<sockaddr*>(&address), &length), 0);
    close(probe);
    return ntohs(address.sin_port);
}

class ErrorRecorder : public UaSessionCallback {
public:
    void connectError(unsigned int, const UaStatus& reason) override {
        reasons.emplace_back(reason.name());
        thread = std::this_thread::get_id();
    }
    std::vector<std::string> reasons;
    std::thread::id thread;
};

TEST_F(ConnectTest, TellsAnErrorOnTheThreadThatConnects) {
    ErrorRecorder errors;
    UaSession nobody;
    const UaStatus status = nobody.connect(UaString("opc.tcp://127.0.0.1:" + std::to_string(unusedPort())),
                                           connectInfo, securityInfo, &errors);
    EXPECT_TRUE(status.isBad());
    EXPECT_EQ(errors.reasons, std::vector<std::string>{status.name()});
    EXPECT_EQ(errors.thread, std::this_thread::get_id());
}

TEST_F(ConnectTest, ReportsConnectedBeforeItReturns) {
    ASSERT_TRUE(connect().isGood());
    EXPECT_EQ(recorder.reports(), std::vector<StatusRecorder::Status>{UaClient::Connected});
    EXPECT_TRUE(session->isConnected());
    EXPECT_NE(recorder.threads().front(), std::this_thread::get_id());
}

TEST_F(ConnectTest, DisconnectReportsDisconnectedBeforeItReturns) {
    ASSERT_TRUE(connect().isGood());
    EXPECT_TRUE(disconnect().isGood());
    EXPECT_EQ(recorder.reports().back(), UaClient::Disconnected);
    EXPECT_EQ(recorder.reports().size(), 2U);
    EXPECT_FALSE(session->isConnected());
}

TEST_F(ConnectTest, ConnectsAgainAfterDisconnect) {
    ASSERT_TRUE(connect().isGood());
    ASSERT_TRUE(disconnect().isGood());
    ASSERT_TRUE(connect().isGood());
    EXPECT_TRUE(readServerState().isGood());
}

TEST_F(ConnectTest, WithoutCallbackConnectsReadsAndDisconnects) {
    ASSERT_TRUE(session->connect(UaString(server().url()), connectInfo, securityInfo, nullptr).isGood());
    EXPECT_TRUE(readServerState().isGood());
    EXPECT_TRUE(disconnect().isGood());
}

TEST_F(ConnectTest, ByHostNameTriesEveryAddress) {
    // The server listens on 127.0.0.1 only; localhost commonly means ::1 first.
    EXPECT_TRUE(connect("opc.tcp://localhost:" + std::to_string(server().port())).isGood());
}

TEST_F(ConnectTest, ARefusedPortFailsWellBeforeTheTimeout) {
    connectInfo.connectTimeout = 60000;
    const auto start = Clock::now();
    EXPECT_TRUE(connect("opc.tcp://127.0.0.1:" + std::to_string(unusedPort())).isBad());
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(30));
    EXPECT_TRUE(recorder.reports().empty());
}

TEST_F(ConnectTest, ANameThatDoesNotResolveFails) {
    EXPECT_TRUE(connect("opc.tcp://no-such-host.invalid:4840").isBad());
}

TEST_F(ConnectTest, UrlsThatAreNoneFail) {
    for (const char* url : {"", "opc.tcp://", "http://127.0.0.1:4840", "127.0.0.1:4840", "opc.tcp://:4840",
                            "opc.tcp://127.0.0.1:99999", "opc.tcp://127.0.0.1:x"}) {
        EXPECT_TRUE(connect(url).isBad()) << url;
    }
}

TEST_F(ConnectTest, AServerThatFallsSilentAtAnyStepIsGivenUpInTime) {
    MessageProxy proxy(server().port());
    connectInfo.connectTimeout = 400;
    int steps = 0;
    for (;; ++steps) {
        ASSERT_LT(steps, 50);
        proxy.limitServerMessages(steps, MessageProxy::Afterwards::Stall);
        const auto start = Clock::now();
        const UaStatus status = connect(proxy.url());
        if (status.isGood())
            break;
        EXPECT_EQ(status.statusCode(), OpcUa_BadTimeout) << "after message " << steps;
        EXPECT_LT(Clock::now() - start, std::chrono::seconds(10)) << "after message " << steps;
        EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(390)) << "after message " << steps;
    }
    EXPECT_GE(steps, 4); // acknowledge, channel, session, activation at the least
    proxy.unlimited();
}

TEST_F(ConnectTest, AServerThatHangsUpAtAnyStepFailsTheConnectWithoutEndlessAttempts) {
    MessageProxy proxy(server().port());
    connectInfo.connectTimeout = 60000;
    for (int steps = 0;; ++steps) {
        ASSERT_LT(steps, 50);
        const int before = proxy.connections();
        proxy.limitServerMessages(steps, MessageProxy::Afterwards::Close);
        if (connect(proxy.url()).isGood()) {
            EXPECT_GE(steps, 4);
            break;
        }
        EXPECT_LE(proxy.connections() - before, 3) << "after message " << steps;
    }
    proxy.unlimited();
}

TEST_F(ConnectTest, ZeroAndNegativeTimeoutStandForTheDefault) {
    for (const OpcUa_Int32 timeout : {0, -1, -2147483647 - 1}) {
        connectInfo.connectTimeout = timeout;
        ASSERT_TRUE(connect().isGood()) << timeout;
        ASSERT_TRUE(disconnect().isGood());
    }
}

TEST_F(ConnectTest, TheCallersAddressIsUsedWhateverTheServerAnnounces) {
    // Through the proxy the server announces its own port: every connection must still come through the
    // proxy.
    MessageProxy proxy(server().port());
    ASSERT_TRUE(connect(proxy.url()).isGood());
    EXPECT_GE(proxy.connections(), 1);
    proxy.limitServerMessages(0, MessageProxy::Afterwards::Close);
    EXPECT_TRUE(readServerState().isBad());
}

TEST_F(ConnectTest, ASecondConnectOnTheSameSessionIsRefused) {
    ASSERT_TRUE(connect().isGood());
    EXPECT_TRUE(connect().isBad());
    EXPECT_TRUE(session->isConnected());
}

TEST_F(ConnectTest, FailedConnectsLeaveNoThreadAndNoDescriptor) {
    const std::string refused = "opc.tcp://127.0.0.1:" + std::to_string(unusedPort());
    const int threads = threadCount();
    ASSERT_TRUE(connect(refused).isBad());
    const int descriptors = openDescriptors();
    for (int i = 0; i < 20; ++i)
        ASSERT_TRUE(connect(refused).isBad());
    EXPECT_TRUE(waitForThreadCount(threads)) << threadCount() << " instead of " << threads;
    EXPECT_EQ(openDescriptors(), descriptors);
}

TEST_F(ConnectTest, CyclesLeaveNoThreadAndNoDescriptor) {
    const int threads = threadCount();
    ASSERT_TRUE(connect().isGood());
    ASSERT_TRUE(disconnect().isGood());
    const int descriptors = openDescriptors();
    for (int i = 0; i < 50; ++i) {
        ASSERT_TRUE(connect().isGood()) << i;
        ASSERT_TRUE(disconnect().isGood()) << i;
    }
    EXPECT_TRUE(waitForThreadCount(threads)) << threadCount() << " instead of " << threads;
    EXPECT_EQ(openDescriptors(), descriptors);
}

TEST_F(ConnectTest, DestroyingAConnectedSessionReportsDisconnected) {
    ASSERT_TRUE(connect().isGood());
    session.reset();
    EXPECT_EQ(recorder.reports().back(), UaClient::Disconnected);
}

} // namespace
