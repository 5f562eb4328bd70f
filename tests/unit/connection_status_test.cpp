#include <climits>
#include <cstring>

#include "client_test.h"

using ::testing::ElementsAre;
using UaClientSdk::UaClient;

namespace {

class ConnectionStatus : public ClientTest {
protected:
    ConnectionStatus() { connect(); }

    void report(int status) {
        UaClient::ServerStatus reported;
        static_assert(sizeof(reported) == sizeof(status), "the status is 32 bits wide");
        std::memcpy(&reported, &status, sizeof(reported));
        ASSERT_NE(script().sessionCallback(), nullptr);
        script().sessionCallback()->connectionStatusChanged(7, reported);
    }
};

} // namespace

TEST_F(ConnectionStatus, IsNotChangedByConnectOrDisconnect) {
    EXPECT_EQ(m_client->OpcUaGetConnectStatus(), 0);
    report(UaClient::Connected);
    EXPECT_EQ(m_client->OpcUaDisConnect(), 0);
    EXPECT_EQ(m_client->OpcUaGetConnectStatus(), 1);
    connect();
    EXPECT_EQ(m_client->OpcUaGetConnectStatus(), 1);
}

TEST_F(ConnectionStatus, IsNotChangedByAFailedConnect) {
    report(UaClient::ConnectionLost);
    script().onConnect = [](const standin::ConnectRequest&) { return UaStatus(badStatus); };
    _OpcUaClientConfig config = makeConfig();
    EXPECT_EQ(m_client->OpcUaConnect(config), 1);
    EXPECT_EQ(m_client->OpcUaGetConnectStatus(), 3);
}

TEST_F(ConnectionStatus, IsTheLastOneReported) {
    for (const int status : {1, 2, 3, 4, 5, 0, 5, 1}) {
        report(status);
        EXPECT_EQ(m_client->OpcUaGetConnectStatus(), status);
    }
}

TEST_F(ConnectionStatus, IgnoresReportsAboveFive) {
    report(4);
    for (const int status : {6, 7}) {
        report(status);
        EXPECT_EQ(m_client->OpcUaGetConnectStatus(), 4) << status;
    }
}

TEST_F(ConnectionStatus, IgnoresReportsBelowZero) {
    report(4);
    for (const int status : {-1, INT_MIN}) {
        report(status);
        EXPECT_EQ(m_client->OpcUaGetConnectStatus(), 4) << status;
    }
}

TEST_F(ConnectionStatus, IsWrittenAndReadUnderItsOwnMutexOnly) {
    mutex_watch::forgetLocks();
    report(1);
    EXPECT_THAT(mutex_watch::locked(), ElementsAre(mutex_watch::statusMutex));
    m_client->OpcUaGetConnectStatus();
    EXPECT_THAT(mutex_watch::locked(), ElementsAre(mutex_watch::statusMutex, mutex_watch::statusMutex));
}

TEST_F(ConnectionStatus, IsLockedForAnIgnoredReportToo) {
    mutex_watch::forgetLocks();
    report(6);
    EXPECT_THAT(mutex_watch::locked(), ElementsAre(mutex_watch::statusMutex));
}

TEST_F(ConnectionStatus, CanBeReportedWhileAConnectIsRunning) {
    script().onConnect = [this](const standin::ConnectRequest& request) {
        request.callback->connectionStatusChanged(1, UaClient::Connected);
        EXPECT_EQ(m_client->OpcUaGetConnectStatus(), 1) << "reading the status must not wait for the connect";
        return UaStatus();
    };
    connect();
    EXPECT_EQ(m_client->OpcUaGetConnectStatus(), 1);
}

TEST_F(ConnectionStatus, IsEachClientsOwn) {
    COpcUaClientInterface other;
    report(1);
    EXPECT_EQ(other.OpcUaGetConnectStatus(), 0);
}
