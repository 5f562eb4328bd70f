// A sequence of requests as the session layer serves it.
#include <algorithm>
#include <memory>
#include <mutex>
#include <vector>

#include "overlap/overlap_fixture.h"
#include "uaclient/session.h"

using namespace scripted;
using namespace UaClientSdk;

namespace {

class Sequence : public OverlapTest {
protected:
    void connectSession(unsigned int requestsAhead = SessionConnectInfo::defaultRequestsAhead) {
        SessionConnectInfo info;
        info.requestsAhead = requestsAhead;
        SessionSecurityInfo security;
        ASSERT_TRUE(session.connect(UaString(server.url()), info, security, nullptr).isGood());
    }
    /// Reads so many nodes, one a request. The status of each, and of its value.
    std::vector<OpcUa_StatusCode> read(int count, int limit = 10000, int stopAfter = -1) {
        int asked = 0;
        std::vector<OpcUa_StatusCode> statuses;
        ReadSequence sequence;
        sequence.next = [&](UaReadValueIds& nodes) {
            if (asked == count) {
                return false;
            }
            nodes.create(1);
            UaNodeId(static_cast<OpcUa_UInt32>(1000 + asked)).copyTo(&nodes[0].nodeId);
            nodes[0].attributeId = OpcUa_Attributes_Value;
            ++asked;
            return true;
        };
        sequence.answered = [&](UaStatus status, UaDataValues& values) {
            const auto number = static_cast<OpcUa_UInt32>(statuses.size());
            if (status.isGood()) {
                EXPECT_EQ(values.length(), 1U);
                EXPECT_EQ(UaVariant(values[0].value).arraySize(), number + 1);
            } else {
                EXPECT_EQ(values.length(), 0U);
            }
            statuses.push_back(status.statusCode());
            return static_cast<int>(statuses.size()) != stopAfter;
        };
        ServiceSettings settings;
        settings.callTimeout = limit;
        session.read(settings, 0, OpcUa_TimestampsToReturn_Both, sequence);
        return statuses;
    }
    static std::vector<OpcUa_StatusCode> good(int count) {
        return std::vector<OpcUa_StatusCode>(static_cast<std::size_t>(count), OpcUa_Good);
    }
    /// Leaves the requests with these numbers without an answer, until afterwards.
    void leaveOut(const std::vector<int>& numbers) {
        server.on<UA_ReadRequest>([this, numbers, number = std::make_shared<int>(0)](const Call& call) {
            const bool isOne =
                !isProbe(call) && std::find(numbers.begin(), numbers.end(), (*number)++) != numbers.end();
            if (isOne) {
                const std::lock_guard<std::mutex> lock(m_mutex);
                m_left.push_back(call);
            } else {
                answerWell(call);
            }
        });
    }
    void answerWhatWasLeft() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        std::for_each(m_left.begin(), m_left.end(), answerWell);
    }

    void TearDown() override {
        ServiceSettings settings;
        session.disconnect(settings, true);
        EXPECT_THAT(server.violations(), testing::IsEmpty());
    }

    UaSession session;

private:
    std::mutex m_mutex;
    std::vector<Call> m_left;
};

TEST_F(Sequence, IsAnsweredInOrder) {
    connectSession();
    EXPECT_EQ(read(100), good(100));
    EXPECT_EQ(server.count<UA_ReadRequest>(), 100);
}

TEST_F(Sequence, OfNothingAsksForNothing) {
    connectSession();
    EXPECT_EQ(read(0), good(0));
    EXPECT_EQ(server.count<UA_ReadRequest>(), 0);
}

TEST_F(Sequence, OnASessionWithoutAConnectionFailsOneByOne) {
    EXPECT_EQ(read(5), std::vector<OpcUa_StatusCode>(5, OpcUa_BadServerNotConnected));
    EXPECT_EQ(read(5, 1000, 2), std::vector<OpcUa_StatusCode>(2, OpcUa_BadServerNotConnected));
    connectSession();
    ServiceSettings settings;
    session.disconnect(settings, true);
    EXPECT_EQ(read(5), std::vector<OpcUa_StatusCode>(5, OpcUa_BadServerNotConnected));
}

class TimedOut : public Sequence, public testing::WithParamInterface<std::vector<int>> {};

TEST_P(TimedOut, RequestsFailAlone) {
    connectSession();
    leaveOut(GetParam());
    std::vector<OpcUa_StatusCode> statuses = good(12);
    for (const int one : GetParam()) {
        statuses[static_cast<std::size_t>(one)] = OpcUa_BadTimeout;
    }
    EXPECT_EQ(read(12, 500), statuses);
    answerWhatWasLeft(); // too late
    server.on<UA_ReadRequest>(answerWell);
    EXPECT_EQ(read(12), good(12));
    EXPECT_TRUE(session.isConnected());
}

INSTANTIATE_TEST_SUITE_P(Of, TimedOut,
                         testing::Values(std::vector<int>{0}, std::vector<int>{1}, std::vector<int>{5},
                                         std::vector<int>{11}, std::vector<int>{0, 1},
                                         std::vector<int>{3, 7, 8}));

TEST_F(Sequence, ThatIsEndedDropsWhatIsOnItsWay) {
    connectSession();
    for (const int end : {1, 2, 7}) {
        EXPECT_EQ(read(50, 10000, end), good(end));
    }
    EXPECT_EQ(read(50), good(50));
    EXPECT_TRUE(session.isConnected());
}

TEST_F(Sequence, OneRequestAtATimeWhenTheSessionIsToldSo) {
    connectSession(1);
    const HeldRequests held(
        server, typeOf<UA_ReadRequest>(),
        [](HeldRequests::Calls& calls) { std::for_each(calls.begin(), calls.end(), answerWell); }, 1);
    EXPECT_EQ(read(5), good(5));
    EXPECT_EQ(held.most(), 1U);
}

TEST_F(Sequence, TellsOfAConnectionThatBrokeWithSeveralOnTheirWay) {
    connectSession();
    EXPECT_FALSE(session.wasLostAhead());
    const HeldRequests held(server, typeOf<UA_ReadRequest>(),
                            [](HeldRequests::Calls& calls) { calls.front().connection().close(); });
    EXPECT_EQ(read(5).front(), UA_STATUSCODE_BADCONNECTIONCLOSED);
    EXPECT_TRUE(session.wasLostAhead());
}

TEST_F(Sequence, OfOneRequestIsNoReasonToGoOneByOne) {
    connectSession();
    server.on<UA_ReadRequest>([](const Call& call) { call.connection().close(); });
    EXPECT_EQ(read(1).front(), UA_STATUSCODE_BADCONNECTIONCLOSED);
    EXPECT_FALSE(session.wasLostAhead());
}

TEST_F(Sequence, ASessionThatTheServerForgotIsNoReasonToGoOneByOne) {
    connectSession();
    const HeldRequests held(server, typeOf<UA_ReadRequest>(), [](HeldRequests::Calls& calls) {
        for (const Call& call : calls) {
            call.fault(UA_STATUSCODE_BADSESSIONIDINVALID);
        }
    });
    EXPECT_EQ(read(5).front(), UA_STATUSCODE_BADSESSIONIDINVALID);
    EXPECT_FALSE(session.isConnected());
    EXPECT_FALSE(session.wasLostAhead());
}

} // namespace
