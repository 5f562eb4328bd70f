// A sequence of requests as the session layer serves it.
#include <algorithm>
#include <cstddef>
#include <vector>

#include "overlap/sequence_fixture.h"

using namespace scripted;
using namespace UaClientSdk;

namespace {

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
    for (const int one : GetParam())
        statuses[static_cast<std::size_t>(one)] = OpcUa_BadTimeout;
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
    for (const int end : {1, 2, 7})
        EXPECT_EQ(read(50, 10000, end), good(end));
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
        for (const Call& call : calls)
            call.fault(UA_STATUSCODE_BADSESSIONIDINVALID);
    });
    EXPECT_EQ(read(5).front(), UA_STATUSCODE_BADSESSIONIDINVALID);
    EXPECT_FALSE(session.isConnected());
    EXPECT_FALSE(session.wasLostAhead());
}

} // namespace
