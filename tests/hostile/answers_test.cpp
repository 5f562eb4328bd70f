// Whatever stands where an answer should: it costs that one operation, and neither more nor less.
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <ostream>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "hostile/hostile_fixture.h"
#include "integration/trace_file.h"

using namespace scripted;

namespace {

/// An operation of the library and the service that it needs.
struct Operation {
    std::string name;
    const UA_DataType* request;
    int failure;
    bool needsSession;
};

std::ostream& operator<<(std::ostream& stream, const Operation& operation) {
    return stream << operation.name;
}

/// What a server says instead.
struct Answer {
    std::string name;
    std::function<Bytes(const Call&)> body;
};

std::ostream& operator<<(std::ostream& stream, const Answer& answer) {
    return stream << answer.name;
}

const std::vector<Operation> operations{
    {"OpenSecureChannel", &typeOf<UA_OpenSecureChannelRequest>(), 1, false},
    {"CreateSession", &typeOf<UA_CreateSessionRequest>(), 1, false},
    {"ActivateSession", &typeOf<UA_ActivateSessionRequest>(), 1, false},
    {"FindServers", &typeOf<UA_FindServersRequest>(), 18, false},
    {"GetEndpoints", &typeOf<UA_GetEndpointsRequest>(), 19, false},
    {"Read", &typeOf<UA_ReadRequest>(), 7, true},
    {"ReadMany", &typeOf<UA_ReadRequest>(), 7, true},
    {"Write", &typeOf<UA_WriteRequest>(), 8, true},
    {"Browse", &typeOf<UA_BrowseRequest>(), 4, true},
    {"BrowseNext", &typeOf<UA_BrowseNextRequest>(), 4, true},
    {"CreateSubscription", &typeOf<UA_CreateSubscriptionRequest>(), 9, true},
    {"DeleteSubscriptions", &typeOf<UA_DeleteSubscriptionsRequest>(), 9, true},
    {"CreateMonitoredItems", &typeOf<UA_CreateMonitoredItemsRequest>(), 12, true},
    {"DeleteMonitoredItems", &typeOf<UA_DeleteMonitoredItemsRequest>(), 13, true},
    {"ClearMonitoredItems", &typeOf<UA_DeleteMonitoredItemsRequest>(), 14, true},
};

Bytes otherType(const Call& call) {
    if (call.is<UA_FindServersRequest>()) {
        Owned<UA_GetEndpointsResponse> response;
        return call.bodyOf(*response);
    }
    Owned<UA_FindServersResponse> response;
    return call.bodyOf(*response);
}

/// The type id of the usual answer, and its header up to the diagnostics.
Bytes beginOf(const Call& call) {
    const Bytes body = call.usualBody();
    Reader reader(body);
    takeTypeId(reader);
    return body.substr(0, reader.position() + 16);
}

Bytes behindHeader(const Call& call, const Bytes& rest) {
    const Bytes emptyDiagnosticsNamesAndAddition = hex("00 FFFFFFFF 0000 00");
    return beginOf(call) + emptyDiagnosticsNamesAndAddition + rest;
}

Bytes noise() {
    std::mt19937 numbers(1);
    Bytes bytes;
    for (int i = 0; i < 64; ++i)
        bytes += u8(numbers() & 0xFF);
    return bytes;
}

const std::vector<Answer> failures{
    {"OneByte", [](const Call&) { return hex("07"); }},
    {"Nothing", [](const Call&) { return Bytes(); }},
    {"Noise", [](const Call&) { return noise(); }},
    {"OtherType", otherType},
    {"UnknownType", [](const Call& call) { return hex("0100FFFF") + call.usualBody().substr(4); }},
    {"TypeWithAText", [](const Call& call) { return hex("03 0000 02000000 4142") + call.usualBody(); }},
    {"TypeWithAnEndlessText", [](const Call&) { return hex("03 0000 FFFFFF7F 4142"); }},
    {"TypeAlone", [](const Call& call) { return call.usualBody().substr(0, 4); }},
    {"HeaderAlone", [](const Call& call) { return behindHeader(call, {}).substr(0, 24); }},
    {"EndlessArray", [](const Call& call) { return behindHeader(call, hex("FFFFFF7F")); }},
    {"EndlessNames", [](const Call& call) { return beginOf(call) + hex("00 FFFFFF7F"); }},
    {"NestedDiagnostics", [](const Call& call) { return beginOf(call) + repeated(hex("40"), 60000); }},
    {"AdditionOfUnknownType",
     [](const Call& call) { return beginOf(call) + hex("00 FFFFFFFF 0100FFFF 01 FFFFFF7F"); }},
    {"GoodFault", [](const Call& call) { return call.faultBody(UA_STATUSCODE_GOOD); }},
    {"BadFault", [](const Call& call) { return call.faultBody(UA_STATUSCODE_BADINTERNALERROR); }},
    {"UncertainFault", [](const Call& call) { return call.faultBody(UA_STATUSCODE_UNCERTAIN); }},
    {"TruncatedFault",
     [](const Call& call) { return call.faultBody(UA_STATUSCODE_BADINTERNALERROR).substr(0, 18); }},
};

class Answers : public HostileTest {
protected:
    /// Prepares the operation while the server is good.
    void prepare(const Operation& operation) {
        server.edit<UA_BrowseResponse>([&operation](UA_BrowseResponse& response) {
            if (operation.name == "BrowseNext")
                assign(response.results[0].continuationPoint, "more");
        });
        if (!operation.needsSession)
            return;
        if (operation.name.find("Monitored") == std::string::npos &&
            operation.name.find("Subscription") == std::string::npos) {
            ASSERT_EQ(connect(), 0);
        } else {
            monitor();
        }
    }

    int run(const std::string& name) {
        if (name == "FindServers" || name == "GetEndpoints")
            return discover();
        if (name == "Read")
            return read();
        if (name == "ReadMany")
            return readMany();
        if (name == "Write")
            return writeText("text");
        if (name == "Browse" || name == "BrowseNext")
            return browse();
        if (name == "CreateSubscription") {
            client.OpcUaDeleteSubScription();
            return client.OpcUaCreateSubScription(50);
        }
        if (name == "DeleteSubscriptions") {
            const int code = client.OpcUaDeleteSubScription();
            client.OpcUaCreateSubScription(50); // for the next time: it is gone whatever was answered
            return code;
        }
        if (name == "CreateMonitoredItems")
            return add("ns=1;s=Another");
        if (name == "DeleteMonitoredItems")
            return remove();
        if (name == "ClearMonitoredItems")
            return client.OpcUaClearMonitNode();
        return connect(3000);
    }

    int discover() {
        const auto found = std::make_unique<_OpcUa_ServerConfigMsg>();
        std::string url = server.url();
        return client.OpcUaDiscover(url.data(), *found);
    }

    int readMany() {
        OpcUaNode node{};
        setField(node.nodeId, "ns=1;s=Value");
        node.dataType = OpcUaDataType_Int32;
        std::int32_t value = 0;
        OpcUa_ReadNode request{&node, &value, sizeof value};
        const int code = client.OpcUaGetMultiValue(&request, 1);
        return code != 0 ? code : node.result;
    }

    int remove() {
        OpcUaNode node{};
        setField(node.nodeId, "ns=1;s=Item0");
        return client.OpcUaRemoveMonitNode(&node, nullptr, 0);
    }

    void say(const Operation& operation, const Script& script) { server.onType(*operation.request, script); }
};

class FailingAnswers : public Answers, public testing::WithParamInterface<std::tuple<Operation, Answer>> {};

TEST_P(FailingAnswers, CostThatOperationAlone) {
    const auto& [operation, answer] = GetParam();
    prepare(operation);
    say(operation, [&body = answer.body](const Call& call) { call.answerBody(body(call)); });
    EXPECT_EQ(run(operation.name), operation.failure);
    server.behave();
    if (operation.needsSession)
        expectUnharmed();
}

std::string nameOf(const testing::TestParamInfo<std::tuple<Operation, Answer>>& info) {
    return std::get<0>(info.param).name + "_" + std::get<1>(info.param).name;
}

INSTANTIATE_TEST_SUITE_P(Each, FailingAnswers,
                         testing::Combine(testing::ValuesIn(operations), testing::ValuesIn(failures)),
                         nameOf);

class EachOperation : public Answers, public testing::WithParamInterface<Operation> {};

TEST_P(EachOperation, FailsWithAnAnswerOfAnyShorterLength) {
    const Operation& operation = GetParam();
    prepare(operation);
    std::atomic<std::size_t> length{0};
    std::atomic<std::size_t> whole{1};
    say(operation, [&](const Call& call) {
        const Bytes body = call.usualBody();
        whole = body.size();
        call.answerBody(body.substr(0, length));
    });
    for (; length < whole; ++length)
        ASSERT_EQ(run(operation.name), operation.failure) << length << " of " << whole << " bytes";
    server.behave();
    if (operation.needsSession)
        expectUnharmed();
}

TEST_P(EachOperation, DropsASecondAnswer) {
    const Operation& operation = GetParam();
    prepare(operation);
    say(operation, [](const Call& call) {
        const Bytes body = call.usualBody();
        call.answerBody(body);
        call.answerBody(body);
    });
    EXPECT_EQ(run(operation.name), 0);
    if (operation.needsSession)
        expectUnharmed();
}

/// Those that have a channel: before there is one, nothing else may come.
class OperationInAChannel : public EachOperation {};

TEST_P(OperationInAChannel, DropsAnswersThatNobodyAskedFor) {
    const Operation& operation = GetParam();
    prepare(operation);
    say(operation, [](const Call& call) {
        const Bytes body = call.usualBody();
        for (const std::uint32_t distance : {1U, 1000U, 0x80000000U}) {
            call.connection().sendMessage(call.id() + distance, body);
            call.connection().sendMessage(call.id() + distance, hex("07"));
        }
        call.answerBody(body);
    });
    EXPECT_EQ(run(operation.name), 0);
    if (operation.needsSession)
        expectUnharmed();
}

TEST_P(EachOperation, EndsWhenTheServerHangsUpInstead) {
    const Operation& operation = GetParam();
    prepare(operation);
    say(operation, [](const Call& call) { call.connection().close(); });
    EXPECT_NE(run(operation.name), 0);
    if (operation.needsSession)
        expectLost();
}

TEST_P(EachOperation, EndsWhenTheServerHangsUpInTheMiddleOfAnAnswer) {
    const Operation& operation = GetParam();
    prepare(operation);
    say(operation, [](const Call& call) {
        const Bytes chunk = call.connection().bytesOf(call.chunk('F', call.usualBody()));
        call.connection().send(chunk.substr(0, chunk.size() - 1));
        call.connection().close();
    });
    EXPECT_NE(run(operation.name), 0);
    if (operation.needsSession)
        expectLost();
}

TEST_P(EachOperation, TakesAnAnswerByteByByte) {
    const Operation& operation = GetParam();
    prepare(operation);
    say(operation, [](const Call& call) {
        for (const char byte : call.connection().bytesOf(call.chunk('F', call.usualBody())))
            call.connection().send(Bytes(1, byte));
    });
    EXPECT_EQ(run(operation.name), 0);
}

INSTANTIATE_TEST_SUITE_P(Each, OperationInAChannel,
                         testing::ValuesIn(operations.begin() + 1, operations.end()),
                         [](const auto& one) { return one.param.name; });

INSTANTIATE_TEST_SUITE_P(Each, EachOperation, testing::ValuesIn(operations),
                         [](const auto& one) { return one.param.name; });

/// The values that browsing reads: without them it fails, or leaves the type open.
class BrowsedValues : public Answers, public testing::WithParamInterface<Answer> {};

/// An answer to a read that cannot be decoded costs the value; any other failure is one of the service.
TEST_P(BrowsedValues, LeaveTheTypeNullOrEndTheBrowse) {
    static const std::set<std::string> undecodable{"TypeAlone", "HeaderAlone", "EndlessNames",
                                                   "NestedDiagnostics", "AdditionOfUnknownType"};
    ASSERT_EQ(connect(), 0);
    server.on<UA_ReadRequest>([](const Call& call) { call.answerBody(GetParam().body(call)); });
    const bool goesOn = undecodable.count(GetParam().name) > 0;
    EXPECT_EQ(browse(), goesOn ? 0 : 4);
    const OpcUaNode* child = client.OpcUaReadRootNode()->child;
    ASSERT_EQ(child != nullptr, goesOn);
    if (goesOn)
        EXPECT_EQ(child->dataType, OpcUaDataType_Null);
    server.behave();
    expectUnharmed();
    EXPECT_EQ(browse(), 0);
}

INSTANTIATE_TEST_SUITE_P(Each, BrowsedValues, testing::ValuesIn(failures),
                         [](const auto& one) { return one.param.name; });

/// Closing must not depend on what the server says to it.
class Closing : public Answers, public testing::WithParamInterface<Answer> {};

TEST_P(Closing, GoesOnWhateverIsAnswered) {
    monitor();
    server.on<UA_CloseSessionRequest>([](const Call& call) { call.answerBody(GetParam().body(call)); });
    EXPECT_EQ(client.OpcUaDisConnect(), 0);
    EXPECT_TRUE(server.waitForOpenConnections(0));
}

INSTANTIATE_TEST_SUITE_P(Each, Closing, testing::ValuesIn(failures),
                         [](const auto& one) { return one.param.name; });

class ClosingOtherwise : public HostileTest {};

TEST_F(ClosingOtherwise, DoesNotWaitForAnAnswerForGood) {
    monitor();
    server.on<UA_CloseSessionRequest>([](const Call&) {});
    EXPECT_EQ(client.OpcUaDisConnect(), 0);
}

TEST_F(ClosingOtherwise, EndsWhenTheServerHangsUp) {
    monitor();
    server.on<UA_CloseSessionRequest>([](const Call& call) { call.connection().close(); });
    EXPECT_EQ(client.OpcUaDisConnect(), 0);
}

class ProbeWithoutAnswer : public HostileTest {};

TEST_F(ProbeWithoutAnswer, IsFollowedByAnother) {
    ASSERT_EQ(connect(), 0);
    server.onNext<UA_ReadRequest>([](const Call&) {});
    ASSERT_TRUE(waitForStatus(2));
    EXPECT_TRUE(waitForStatus(connected));
    expectUnharmed();
}

/// A server, or what stands before it, that keeps the connection and knows nothing of the session.
class RefusedProbe : public HostileTest, public testing::WithParamInterface<UA_StatusCode> {};

TEST_P(RefusedProbe, EndsTheConnectionThatIsOfNoUse) {
    ASSERT_EQ(connect(), 0);
    server.on<UA_ReadRequest>([](const Call& call) { call.fault(GetParam()); });
    EXPECT_TRUE(waitForStatus(lost));
    EXPECT_GE(server.count<UA_ReadRequest>(), 2);
}

TEST_P(RefusedProbe, OnceEndsNothing) {
    ASSERT_EQ(connect(), 0);
    server.onNext<UA_ReadRequest>([](const Call& call) { call.fault(GetParam()); });
    ASSERT_TRUE(server.waitForCount<UA_ReadRequest>(3));
    EXPECT_EQ(status(), connected);
    expectUnharmed();
}

TEST_P(RefusedProbe, OnceBehindAnotherRefusalEndsNothing) {
    ASSERT_EQ(connect(), 0);
    server.onNext<UA_ReadRequest>(
        [](const Call& refused) { refused.fault(UA_STATUSCODE_BADUSERACCESSDENIED); });
    ASSERT_TRUE(server.waitForCount<UA_ReadRequest>(1));
    server.onNext<UA_ReadRequest>([](const Call& call) { call.fault(GetParam()); });
    ASSERT_TRUE(server.waitForCount<UA_ReadRequest>(4));
    EXPECT_EQ(status(), connected);
    expectUnharmed();
}

INSTANTIATE_TEST_SUITE_P(Each, RefusedProbe,
                         testing::Values(UA_STATUSCODE_BADSESSIONNOTACTIVATED,
                                         UA_STATUSCODE_BADSECURECHANNELIDINVALID,
                                         UA_STATUSCODE_BADSECURECHANNELCLOSED,
                                         UA_STATUSCODE_BADSECURECHANNELTOKENUNKNOWN),
                         [](const auto& one) { return std::string(UA_StatusCode_name(one.param)); });

TEST_F(ProbeWithoutAnswer, ThatIsRefusedIsToldOnce) {
    client.OpcUaInit(OpcUaTraceLevel_Warnings);
    const TraceFile trace;
    ASSERT_EQ(connect(), 0);
    server.on<UA_ReadRequest>([](const Call& call) { call.fault(UA_STATUSCODE_BADUSERACCESSDENIED); });
    ASSERT_TRUE(server.waitForCount<UA_ReadRequest>(3));
    EXPECT_EQ(trace.linesWith("the server refuses to tell its state: BadUserAccessDenied"), 1);
    EXPECT_EQ(status(), connected);
}

class AnnouncedShutdown : public HostileTest {
protected:
    void answerReadsWith(std::int32_t value) {
        server.edit<UA_ReadResponse>([value](UA_ReadResponse& response) {
            for (std::size_t i = 0; i < response.resultsSize; ++i)
                assign(response.results[i].value, value);
        });
    }
};

TEST_F(AnnouncedShutdown, MayBeCalledOff) {
    ASSERT_EQ(connect(), 0);
    answerReadsWith(UA_SERVERSTATE_SHUTDOWN);
    ASSERT_TRUE(waitForStatus(4));
    answerReadsWith(UA_SERVERSTATE_RUNNING);
    EXPECT_TRUE(waitForStatus(connected));
    server.behave();
    expectUnharmed();
}

/// The watchdog's probe, whatever service it uses: it is the first request that nobody made.
class Probe : public Answers, public testing::WithParamInterface<Answer> {};

TEST_P(Probe, MayBeAnsweredByAnything) {
    ASSERT_EQ(connect(), 0);
    const int before = server.requests();
    server.onAnyOther([](const Call& call) { call.answerBody(GetParam().body(call)); });
    ASSERT_TRUE(waitUntil([&] { return server.requests() > before; }));
    server.behave();
    // Any message is a sign of life.
    expectUnharmed();
}

INSTANTIATE_TEST_SUITE_P(Each, Probe, testing::ValuesIn(failures),
                         [](const auto& one) { return one.param.name; });

} // namespace
