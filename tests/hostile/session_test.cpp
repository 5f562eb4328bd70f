// Sessions with a server that creates and keeps them in its own way.
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "hostile/hostile_fixture.h"

using namespace scripted;

namespace {

class Session : public HostileTest {};

/// What ActivateSession is always answered with.
class RefusedActivation : public HostileTest, public testing::WithParamInterface<std::uint32_t> {};

TEST_P(RefusedActivation, IsNotTriedAgain) {
    server.on<UA_ActivateSessionRequest>([](const Call& call) { call.fault(GetParam()); });
    EXPECT_EQ(connect(5000), connectFailed);
    EXPECT_EQ(server.count<UA_CreateSessionRequest>(), 1);
    EXPECT_EQ(server.count<UA_ActivateSessionRequest>(), 1);
}

TEST_P(RefusedActivation, InTheAnswerItselfIsNotTriedAgain) {
    server.edit<UA_ActivateSessionResponse>(
        [](UA_ActivateSessionResponse& response) { response.responseHeader.serviceResult = GetParam(); });
    EXPECT_EQ(connect(5000), connectFailed);
    EXPECT_EQ(server.count<UA_CreateSessionRequest>(), 1);
    EXPECT_EQ(server.count<UA_ActivateSessionRequest>(), 1);
}

class RefusedCreation : public HostileTest, public testing::WithParamInterface<std::uint32_t> {};

TEST_P(RefusedCreation, IsNotTriedAgain) {
    server.on<UA_CreateSessionRequest>([](const Call& call) { call.fault(GetParam()); });
    EXPECT_EQ(connect(5000), connectFailed);
    EXPECT_EQ(server.count<UA_CreateSessionRequest>(), 1);
    EXPECT_EQ(server.count<UA_ActivateSessionRequest>(), 0);
}

class RefusedChannel : public HostileTest, public testing::WithParamInterface<std::uint32_t> {};

TEST_P(RefusedChannel, IsNotTriedAgain) {
    server.on<UA_OpenSecureChannelRequest>([](const Call& call) { call.fault(GetParam()); });
    EXPECT_EQ(connect(5000), connectFailed);
    EXPECT_EQ(server.count<UA_OpenSecureChannelRequest>(), 1);
    EXPECT_EQ(server.connections(), 1);
}

std::string statusName(const testing::TestParamInfo<std::uint32_t>& info) {
    return UA_StatusCode_name(info.param);
}

const auto refusals = testing::Values(
    UA_STATUSCODE_BADSESSIONIDINVALID, UA_STATUSCODE_BADSESSIONCLOSED, UA_STATUSCODE_BADSESSIONNOTACTIVATED,
    UA_STATUSCODE_BADSECURECHANNELCLOSED, UA_STATUSCODE_BADSECURECHANNELIDINVALID,
    UA_STATUSCODE_BADTOOMANYSESSIONS, UA_STATUSCODE_BADIDENTITYTOKENREJECTED, UA_STATUSCODE_BADNONCEINVALID,
    UA_STATUSCODE_BADTIMEOUT, UA_STATUSCODE_BADCONNECTIONCLOSED, UA_STATUSCODE_BADSHUTDOWN,
    UA_STATUSCODE_BADSERVERNOTCONNECTED);
INSTANTIATE_TEST_SUITE_P(Each, RefusedActivation, refusals, statusName);
INSTANTIATE_TEST_SUITE_P(Each, RefusedCreation, refusals, statusName);
INSTANTIATE_TEST_SUITE_P(Each, RefusedChannel, refusals, statusName);

std::string shown(const UA_String& text) {
    return {reinterpret_cast<const char*>(text.data), text.length};
}

TEST_F(Session, TellsTheServerWhoTheClientIs) {
    ASSERT_EQ(connect(), 0);
    const Owned<UA_CreateSessionRequest> request = server.last<UA_CreateSessionRequest>();
    EXPECT_EQ(shown(request->sessionName), "Kestrova@RK4400");
    EXPECT_EQ(request->requestedSessionTimeout, 1200000);
    const UA_ApplicationDescription& description = request->clientDescription;
    EXPECT_EQ(shown(description.applicationName.text), "HMI_RK4400");
    EXPECT_EQ(shown(description.applicationUri), "urn:HMI:Kestrova::RK4400");
    EXPECT_EQ(shown(description.productUri), "urn:Kestrova::RK4400");
    EXPECT_EQ(description.applicationType, UA_APPLICATIONTYPE_CLIENT);
}

TEST_F(Session, ThatIsNeverCreatedEndsTheConnectInTime) {
    server.on<UA_CreateSessionRequest>([](const Call&) {});
    EXPECT_EQ(connect(500), connectFailed);
}

TEST_F(Session, ThatIsNeverActivatedEndsTheConnectInTime) {
    server.on<UA_ActivateSessionRequest>([](const Call&) {});
    EXPECT_EQ(connect(500), connectFailed);
}

TEST_F(Session, WithoutAnAcknowledgeEndsTheConnectInTime) {
    server.onHello([](Connection&) {});
    EXPECT_EQ(connect(500), connectFailed);
}

TEST_F(Session, WithoutAChannelEndsTheConnectInTime) {
    server.on<UA_OpenSecureChannelRequest>([](const Call&) {});
    EXPECT_EQ(connect(500), connectFailed);
}

TEST_F(Session, OfAServerThatDoesNotReadEndsTheConnectInTime) {
    server.readAtMost(0);
    EXPECT_EQ(connect(500), connectFailed);
    server.readFreely();
}

TEST_F(Session, OfAServerThatDripsItsAnswerEndsTheConnectInTime) {
    server.on<UA_CreateSessionRequest>([](const Call& call) {
        for (const char byte : call.connection().bytesOf(call.chunk('F', call.usualBody()))) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            if (!call.connection().send(Bytes(1, byte)))
                return;
        }
    });
    EXPECT_EQ(connect(1000), connectFailed);
}

/// A time-out that CreateSession revises.
class RevisedTimeout : public HostileTest, public testing::WithParamInterface<double> {};

TEST_P(RevisedTimeout, ThatMakesNoSenseHarmsNothing) {
    server.edit<UA_CreateSessionResponse>(
        [](UA_CreateSessionResponse& response) { response.revisedSessionTimeout = GetParam(); });
    ASSERT_EQ(connect(), 0);
    std::this_thread::sleep_for(std::chrono::seconds(2));
    EXPECT_LT(server.requests(), 100);
    expectUnharmed();
}

INSTANTIATE_TEST_SUITE_P(Each, RevisedTimeout,
                         testing::Values(std::numeric_limits<double>::quiet_NaN(),
                                         std::numeric_limits<double>::infinity(),
                                         -std::numeric_limits<double>::infinity(), -1.0, 0.0, 1e-300, 1.0,
                                         1e300));

TEST_F(Session, TakesAnyAuthenticationToken) {
    server.edit<UA_CreateSessionResponse>([](UA_CreateSessionResponse& response) {
        response.authenticationToken.identifierType = UA_NODEIDTYPE_BYTESTRING;
        response.authenticationToken.identifier.byteString = UA_BYTESTRING_NULL;
        assign(response.authenticationToken.identifier.byteString, Bytes(4000, '\x7F'));
    });
    ASSERT_EQ(connect(), 0);
    expectUnharmed();
    const Owned<UA_ReadRequest> last = server.last<UA_ReadRequest>();
    ASSERT_EQ(last->requestHeader.authenticationToken.identifierType, UA_NODEIDTYPE_BYTESTRING);
    EXPECT_EQ(last->requestHeader.authenticationToken.identifier.byteString.length, 4000U);
}

TEST_F(Session, EndsWhenTheServerForgetsIt) {
    ASSERT_EQ(connect(), 0);
    server.on<UA_ReadRequest>([](const Call& call) { call.fault(UA_STATUSCODE_BADSESSIONIDINVALID); });
    EXPECT_NE(read(), 0);
    EXPECT_TRUE(waitForStatus(lost));
    EXPECT_EQ(server.count<UA_CreateSessionRequest>(), 1);
}

TEST_F(Session, EndsWhenTheServerClosedIt) {
    ASSERT_EQ(connect(), 0);
    server.on<UA_ReadRequest>([](const Call& call) { call.fault(UA_STATUSCODE_BADSESSIONCLOSED); });
    EXPECT_NE(read(), 0);
    EXPECT_TRUE(waitForStatus(lost));
}

TEST_F(Session, MayHaveNoNonceWithoutSecurity) {
    server.edit<UA_CreateSessionResponse>(
        [](UA_CreateSessionResponse& response) { UA_ByteString_clear(&response.serverNonce); });
    server.edit<UA_ActivateSessionResponse>(
        [](UA_ActivateSessionResponse& response) { UA_ByteString_clear(&response.serverNonce); });
    ASSERT_EQ(connect(), 0);
    expectUnharmed();
}

TEST_F(Session, MayShowRubbishAsACertificateWithoutSecurity) {
    server.edit<UA_CreateSessionResponse>([](UA_CreateSessionResponse& response) {
        assign(response.serverCertificate, Bytes(100000, '\x30'));
        assign(response.serverNonce, Bytes(100000, '\x30'));
        assign(response.serverSignature.signature, Bytes(100000, '\x30'));
    });
    if (connect() == 0)
        expectUnharmed();
}

TEST_F(Session, MayComeWithThousandsOfEndpoints) {
    server.edit<UA_CreateSessionResponse>([](UA_CreateSessionResponse& response) {
        resize(response.serverEndpoints, response.serverEndpointsSize, 5000);
    });
    connect(); // refused or not
}

/// Requests that the server's session takes.
class MaxRequestMessageSize : public HostileTest {};

TEST_F(MaxRequestMessageSize, KeepsALargerWriteBack) {
    server.edit<UA_CreateSessionResponse>(
        [](UA_CreateSessionResponse& response) { response.maxRequestMessageSize = 8192; });
    ASSERT_EQ(connect(), 0);
    EXPECT_EQ(writeText(std::string(10000, 'x')), writeFailed);
    EXPECT_EQ(server.count<UA_WriteRequest>(), 0);
    EXPECT_EQ(writeText(std::string(1000, 'x')), 0);
    expectUnharmed();
}

TEST_F(MaxRequestMessageSize, OfOneByteCrashesNothing) {
    server.edit<UA_CreateSessionResponse>(
        [](UA_CreateSessionResponse& response) { response.maxRequestMessageSize = 1; });
    EXPECT_EQ(connect(3000), connectFailed);
    EXPECT_EQ(server.count<UA_ActivateSessionRequest>(), 0);
}

/// Answers with another number of results than was asked for: each way is wrong.
class NumberOfResults : public HostileTest, public testing::WithParamInterface<std::size_t> {
protected:
    template <class Response>
    void answerWithOtherNumber() {
        server.edit<Response>(
            [](Response& response) { resize(response.results, response.resultsSize, GetParam()); });
    }
};

TEST_P(NumberOfResults, FailsARead) {
    ASSERT_EQ(connect(), 0);
    answerWithOtherNumber<UA_ReadResponse>();
    EXPECT_EQ(read(), readFailed);
    server.behave();
    expectUnharmed();
}

TEST_P(NumberOfResults, OfAReadFailsTheBrowse) {
    ASSERT_EQ(connect(), 0);
    answerWithOtherNumber<UA_ReadResponse>();
    EXPECT_EQ(browse(), 4);
    server.behave();
    expectUnharmed();
}

TEST_P(NumberOfResults, FailsAWrite) {
    ASSERT_EQ(connect(), 0);
    answerWithOtherNumber<UA_WriteResponse>();
    EXPECT_EQ(writeText("text"), writeFailed);
    server.behave();
    expectUnharmed();
}

TEST_P(NumberOfResults, FailsABrowse) {
    ASSERT_EQ(connect(), 0);
    answerWithOtherNumber<UA_BrowseResponse>();
    EXPECT_EQ(browse(), 4);
    server.behave();
    expectUnharmed();
}

TEST_P(NumberOfResults, FailsABrowseNext) {
    ASSERT_EQ(connect(), 0);
    server.edit<UA_BrowseResponse>(
        [](UA_BrowseResponse& response) { assign(response.results[0].continuationPoint, "more"); });
    answerWithOtherNumber<UA_BrowseNextResponse>();
    EXPECT_EQ(browse(), 4);
    server.behave();
    expectUnharmed();
}

TEST_P(NumberOfResults, FailsToAddAnItem) {
    monitor();
    answerWithOtherNumber<UA_CreateMonitoredItemsResponse>();
    EXPECT_EQ(add("ns=1;s=Another"), 12);
    server.behave();
    expectUnharmed();
}

TEST_P(NumberOfResults, FailsToRemoveAnItem) {
    monitor();
    answerWithOtherNumber<UA_DeleteMonitoredItemsResponse>();
    OpcUaNode node{};
    setField(node.nodeId, "ns=1;s=Item0");
    EXPECT_EQ(client.OpcUaRemoveMonitNode(&node, nullptr, 0), 13);
    EXPECT_EQ(client.OpcUaClearMonitNode(), 14);
    server.behave();
    expectUnharmed();
}

TEST_P(NumberOfResults, FailsToDeleteASubscription) {
    monitor();
    answerWithOtherNumber<UA_DeleteSubscriptionsResponse>();
    EXPECT_EQ(client.OpcUaDeleteSubScription(), 9);
    server.behave();
    expectUnharmed();
}

TEST_P(NumberOfResults, OfDiagnosticsDoesNotMatter) {
    server.edit<UA_ReadResponse>([](UA_ReadResponse& response) {
        resize(response.diagnosticInfos, response.diagnosticInfosSize, GetParam());
    });
    ASSERT_EQ(connect(), 0);
    expectUnharmed();
}

INSTANTIATE_TEST_SUITE_P(Number, NumberOfResults, testing::Values(0, 2, 3, 1000));

/// Of many nodes at a time.
TEST_F(Session, FailsAMultipleReadWithAnotherNumberOfResults) {
    ASSERT_EQ(connect(), 0);
    std::vector<OpcUaNode> nodes(20);
    std::vector<std::int32_t> values(20);
    std::vector<OpcUa_ReadNode> requests;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        setField(nodes[i].nodeId, "ns=1;s=Value");
        nodes[i].dataType = OpcUaDataType_Int32;
        requests.push_back({&nodes[i], &values[i], sizeof(std::int32_t)});
    }
    for (const std::size_t number : {0U, 1U, 19U, 21U, 40U}) {
        server.edit<UA_ReadResponse>(
            [number](UA_ReadResponse& response) { resize(response.results, response.resultsSize, number); });
        EXPECT_EQ(client.OpcUaGetMultiValue(requests.data(), 20), 0);
        for (const OpcUaNode& node : nodes)
            EXPECT_EQ(node.result, readFailed) << number;
    }
    server.behave();
    expectUnharmed();
}

} // namespace
