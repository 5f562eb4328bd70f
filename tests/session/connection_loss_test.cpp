#include <atomic>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <future>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "session_fixture.h"

using namespace UaClientSdk;
using test_support::MessageProxy;
using namespace std::chrono_literals;

namespace {

using ConnectionLossTest = SessionTest;

TEST_F(ConnectionLossTest, AKilledServerIsNoticedWithoutACall) {
    ASSERT_TRUE(connect().isGood());
    server().kill(SIGKILL);
    EXPECT_TRUE(recorder.waitFor(UaClient::ConnectionLost, 20s));
    EXPECT_FALSE(session->isConnected());
    EXPECT_EQ(readServerState().statusCode(), OpcUa_BadServerNotConnected);
}

TEST_F(ConnectionLossTest, AClosedConnectionIsReportedOnTheSdkThread) {
    MessageProxy proxy(server().port());
    ASSERT_TRUE(connect(proxy.url()).isGood());
    proxy.closeAll();
    ASSERT_TRUE(recorder.waitFor(UaClient::ConnectionLost, 20s));
    EXPECT_EQ(recorder.threads()[0], recorder.threads()[1]);
    EXPECT_NE(recorder.threads()[1], std::this_thread::get_id());
}

TEST_F(ConnectionLossTest, NothingReconnectsByItself) {
    MessageProxy proxy(server().port());
    ASSERT_TRUE(connect(proxy.url()).isGood());
    const int connections = proxy.connections();
    proxy.closeAll();
    ASSERT_TRUE(recorder.waitFor(UaClient::ConnectionLost, 20s));
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(readServerState().statusCode(), OpcUa_BadServerNotConnected);
    EXPECT_EQ(proxy.connections(), connections);
}

TEST_F(ConnectionLossTest, ASilentNetworkIsNoticedByTheWatchdog) {
    connectInfo.watchdogInterval = 300;
    connectInfo.watchdogTimeout = 300;
    ASSERT_TRUE(connect().isGood());
    server().freeze();
    EXPECT_TRUE(recorder.waitFor(UaClient::WatchdogExpired, 30s));
    EXPECT_FALSE(session->isConnected());
    server().resume();
}

/// Sends the next answer to nobody.
class LostAnswer {
public:
    void operator()(std::vector<char>& body) {
        constexpr std::size_t requestId = 12; // behind channel, token and sequence number
        if (!m_done) {
            body.at(requestId + 3) = '\x7F';
            m_done = true;
        }
    }

private:
    bool m_done = false;
};

TEST_F(ConnectionLossTest, ACallWithoutAnswerIsNoSilenceWhileOthersAreAnswered) {
    connectInfo.watchdogInterval = 3000;
    connectInfo.watchdogTimeout = 2000;
    MessageProxy proxy(server().port());
    ASSERT_TRUE(connect(proxy.url()).isGood());
    proxy.changeServerMessages(LostAnswer());
    UaDataValues values;
    EXPECT_EQ(readValue("i=2259", values, 7000).statusCode(), OpcUa_BadTimeout);
    EXPECT_TRUE(session->isConnected());
    EXPECT_EQ(recorder.reports().size(), 1U);
}

TEST_F(ConnectionLossTest, AnAnsweringServerSatisfiesTheWatchdog) {
    connectInfo.watchdogInterval = 50;
    connectInfo.watchdogTimeout = 5000;
    MessageProxy proxy(server().port());
    ASSERT_TRUE(connect(proxy.url()).isGood());
    proxy.unlimited();
    const auto limit = std::chrono::steady_clock::now() + 30s;
    while (proxy.forwardedMessages() < 3 && std::chrono::steady_clock::now() < limit)
        std::this_thread::yield();
    EXPECT_GE(proxy.forwardedMessages(), 3); // nobody called: these are answers to probes
    EXPECT_TRUE(session->isConnected());
    EXPECT_EQ(recorder.reports().size(), 1U);
}

TEST_F(ConnectionLossTest, ACallToASilentServerTimesOut) {
    ASSERT_TRUE(connect().isGood());
    server().freeze();
    UaDataValues values;
    EXPECT_EQ(readValue("i=2259", values, 300).statusCode(), OpcUa_BadTimeout);
    server().resume();
}

TEST_F(ConnectionLossTest, ACallInProgressFailsWhenTheConnectionCloses) {
    MessageProxy proxy(server().port());
    ASSERT_TRUE(connect(proxy.url()).isGood());
    server().freeze();
    auto answer = std::async(std::launch::async, [this] { return readServerState(); });
    proxy.closeAll();
    EXPECT_TRUE(answer.get().isBad());
    EXPECT_TRUE(recorder.waitFor(UaClient::ConnectionLost, 20s));
    server().resume();
}

TEST_F(ConnectionLossTest, DisconnectFromAServerThatIsGoneSucceeds) {
    ASSERT_TRUE(connect().isGood());
    server().kill(SIGKILL);
    ASSERT_TRUE(recorder.waitFor(UaClient::ConnectionLost, 20s));
    EXPECT_TRUE(disconnect().isGood());
    EXPECT_EQ(recorder.reports().back(), UaClient::Disconnected);
}

TEST_F(ConnectionLossTest, DisconnectRightAfterTheServerDiedSucceeds) {
    ASSERT_TRUE(connect().isGood());
    server().kill(SIGKILL);
    EXPECT_TRUE(disconnect().isGood());
    EXPECT_EQ(recorder.reports().back(), UaClient::Disconnected);
}

TEST_F(ConnectionLossTest, DisconnectFromAServerGivenUpByTheWatchdogWaitsForNothing) {
    connectInfo.watchdogInterval = 200;
    connectInfo.watchdogTimeout = 200;
    ASSERT_TRUE(connect().isGood());
    server().freeze();
    ASSERT_TRUE(recorder.waitFor(UaClient::WatchdogExpired, 30s));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(disconnect().isGood());
    EXPECT_LT(std::chrono::steady_clock::now() - start, 8s); // the call time-out would be 10 s
    server().resume();
}

TEST_F(ConnectionLossTest, ConnectsToTheNextServerAfterALoss) {
    MessageProxy proxy(server().port());
    ASSERT_TRUE(connect(proxy.url()).isGood());
    proxy.closeAll();
    ASSERT_TRUE(recorder.waitFor(UaClient::ConnectionLost, 20s));
    ASSERT_TRUE(disconnect().isGood());
    ASSERT_TRUE(connect(proxy.url()).isGood());
    EXPECT_TRUE(readServerState().isGood());
}

TEST_F(ConnectionLossTest, ADisconnectEndsTheCallsOfOtherThreads) {
    for (int round = 0; round < 20; ++round) {
        ASSERT_TRUE(connect().isGood());
        std::atomic<int> calls{0};
        std::vector<std::thread> readers;
        for (int t = 0; t < 3; ++t) {
            readers.emplace_back([this, &calls] {
                while (readServerState().isGood())
                    ++calls;
            });
        }
        while (calls < 50)
            std::this_thread::yield();
        EXPECT_TRUE(disconnect().isGood());
        for (std::thread& reader : readers)
            reader.join();
    }
}

/// Ends its session from inside the report.
class DisconnectingCallback : public UaSessionCallback {
public:
    explicit DisconnectingCallback(bool destroy) : m_destroy(destroy) {}

    void connectionStatusChanged(unsigned int, UaClient::ServerStatus status) override {
        reports.push_back(status);
        if (status == UaClient::ConnectionLost) {
            if (m_destroy) {
                session.reset();
            } else {
                ServiceSettings settings;
                result = session->disconnect(settings, true);
            }
            ended.set_value();
        }
    }

    std::unique_ptr<UaSession> session = std::make_unique<UaSession>();
    std::vector<UaClient::ServerStatus> reports;
    UaStatus result = OpcUa_BadUnexpectedError;
    std::promise<void> ended;

private:
    bool m_destroy;
};

class EndInsideCallbackTest : public SessionTest, public testing::WithParamInterface<bool> {};

TEST_P(EndInsideCallbackTest, ReportsDisconnectedAndNothingMore) {
    DisconnectingCallback callback(GetParam());
    MessageProxy proxy(server().port());
    ASSERT_TRUE(
        callback.session->connect(UaString(proxy.url()), connectInfo, securityInfo, &callback).isGood());
    proxy.closeAll();
    ASSERT_EQ(callback.ended.get_future().wait_for(20s), std::future_status::ready);
    EXPECT_EQ(callback.reports, (std::vector<UaClient::ServerStatus>{
                                    UaClient::Connected, UaClient::ConnectionLost, UaClient::Disconnected}));
    EXPECT_EQ(callback.result.isGood(), !GetParam());
}

INSTANTIATE_TEST_SUITE_P(Session, EndInsideCallbackTest, testing::Values(false, true),
                         [](const testing::TestParamInfo<bool>& destroy) {
                             return destroy.param ? "ByDestroyingTheSession" : "ByDisconnecting";
                         });

} // namespace
