// Several requests on their way: what comes of each is what would have come of it alone.
#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "overlap/overlap_fixture.h"

using namespace scripted;

namespace {

class Overlap : public OverlapTest {};

class EachOperation : public Overlap, public testing::WithParamInterface<Operation> {};

INSTANTIATE_TEST_SUITE_P(Of, EachOperation, testing::ValuesIn(operations()),
                         [](const auto& one) { return one.param.name; });

TEST_P(EachOperation, HasSeveralRequestsOnTheirWay) {
    prepare(GetParam());
    EXPECT_GE(mostAhead(GetParam(), 2), 2U);
    EXPECT_EQ(server.connections(), 1);
}

TEST_P(EachOperation, TakesAnswersInAnotherOrder) {
    prepare(GetParam());
    const HeldRequests held(server, *GetParam().request, [](HeldRequests::Calls& calls) {
        std::for_each(calls.rbegin(), calls.rend(), answerWell);
    });
    EXPECT_EQ(run(GetParam()), expected(GetParam(), {}));
    EXPECT_EQ(status(), connected);
}

TEST_P(EachOperation, TakesItsTimeFromAServerThatDoesOneThingAtATime) {
    prepare(GetParam());
    server.onType(*GetParam().request, [](const Call& call) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10)); // what the server needs
        answerWell(call);
    });
    EXPECT_EQ(run(GetParam()), expected(GetParam(), {}));
    serveWell(GetParam());
}

TEST_P(EachOperation, SendsEachRequestOnce) {
    prepare(GetParam());
    int came = 0;
    {
        const HeldRequests held(server, *GetParam().request, [&came](HeldRequests::Calls& calls) {
            came += static_cast<int>(calls.size());
            answerAll(calls);
        });
        EXPECT_EQ(run(GetParam()), expected(GetParam(), {}));
    }
    EXPECT_EQ(came, requests);
}

TEST_P(EachOperation, EndsTheOneRequestThatIsNotAnswered) {
    prepare(GetParam());
    serve(GetParam(), {3}, [](const Call&) {});
    EXPECT_EQ(run(GetParam()), expected(GetParam(), {3}));
    serveWell(GetParam());
    EXPECT_EQ(run(GetParam()), expected(GetParam(), {}));
}

TEST_P(EachOperation, TellsTheLastFailureInOrder) {
    prepare(GetParam());
    const HeldRequests held(server, *GetParam().request, [](HeldRequests::Calls& calls) {
        std::for_each(calls.rbegin(), calls.rend(),
                      [](const Call& call) { call.fault(UA_STATUSCODE_BADINTERNALERROR); });
    });
    EXPECT_EQ(run(GetParam()), expected(GetParam(), from(0)));
    const std::string told = message();
    EXPECT_EQ(told, GetParam().kind == Kind::Browse ? "浏览服务器出错"
                    : GetParam().kind == Kind::Read ? "读节点值出错"
                                                    : "");
}

/// Codes of a server that has too much to do.
class Overloaded : public Overlap,
                   public testing::WithParamInterface<std::tuple<Operation, UA_StatusCode>> {};

INSTANTIATE_TEST_SUITE_P(
    Of, Overloaded,
    testing::Combine(testing::ValuesIn(operations()),
                     testing::Values(UA_STATUSCODE_BADTCPSERVERTOOBUSY, 0x80EE0000,
                                     UA_STATUSCODE_BADRESOURCEUNAVAILABLE,
                                     UA_STATUSCODE_BADTCPNOTENOUGHRESOURCES, UA_STATUSCODE_BADOUTOFMEMORY)),
    [](const auto& one) { return std::get<0>(one.param).name + std::to_string(std::get<1>(one.param)); });

TEST_P(Overloaded, GetOneRequestAtATimeFromThenOn) {
    const auto& [operation, code] = GetParam();
    prepare(operation);
    serve(operation, {0}, [status = code](const Call& call) { call.fault(status); });
    EXPECT_EQ(run(operation), expected(operation, {0}));
    EXPECT_EQ(read(), 0); // behind what a browse has left on its way
    EXPECT_EQ(mostAhead(operation, 1), 1U);
    EXPECT_EQ(server.connections(), 1);
}

TEST_F(Overlap, ARequestThatIsTooLongByItselfIsNoReasonToWait) {
    const Operation reading = operations()[1];
    prepare(reading);
    serve(reading, from(0), [](const Call& call) { call.fault(UA_STATUSCODE_BADTOOMANYOPERATIONS); });
    EXPECT_EQ(run(reading), expected(reading, from(0)));
    EXPECT_GE(mostAhead(reading, 2), 2U);
}

TEST_F(Overlap, TooManyOperationsOfSingleReadsAreAReasonToWait) {
    const Operation browsing = operations()[0];
    prepare(browsing);
    serve(browsing, {0}, [](const Call& call) { call.fault(UA_STATUSCODE_BADTOOMANYOPERATIONS); });
    EXPECT_EQ(run(browsing), expected(browsing, {0}));
    EXPECT_EQ(read(), 0); // behind what it has left on its way
    EXPECT_EQ(mostAhead(browsing, 1), 1U);
}

/// The server hangs up instead of answering this request.
class LostConnection : public Overlap, public testing::WithParamInterface<std::tuple<Operation, int>> {};

INSTANTIATE_TEST_SUITE_P(Of, LostConnection,
                         testing::Combine(testing::ValuesIn(operations()), testing::Range(0, 12)),
                         [](const auto& one) {
                             return std::get<0>(one.param).name + std::to_string(std::get<1>(one.param));
                         });

TEST_P(LostConnection, FailsWhatWasNotAnswered) {
    const auto& [operation, position] = GetParam();
    prepare(operation);
    serve(operation, {position}, [](const Call& call) { call.connection().finish(); });
    EXPECT_EQ(run(operation), expected(operation, from(position)));
    expectLost();
}

TEST_P(LostConnection, ByAResetFailsWhatWasNotAnswered) {
    const auto& [operation, position] = GetParam();
    prepare(operation);
    serve(operation, {position}, [](const Call& call) { call.connection().reset(); });
    EXPECT_EQ(run(operation), expected(operation, from(position)));
    expectLost();
}

TEST_P(EachOperation, TakesWhatCameBeforeTheEndAndBeforeItsTurn) {
    prepare(GetParam());
    const HeldRequests held(server, *GetParam().request, [](HeldRequests::Calls& calls) {
        std::for_each(calls.rbegin(), calls.rend(), answerWell);
        calls.front().connection().close(); // what the client sends now meets a reset
    });
    EXPECT_EQ(run(GetParam()), expected(GetParam(), from(2)));
    expectLost();
}

TEST_P(EachOperation, GoesOneByOneAfterAConnectionThatBroke) {
    prepare(GetParam());
    {
        const HeldRequests held(server, *GetParam().request,
                                [](HeldRequests::Calls& calls) { calls.front().connection().close(); });
        EXPECT_EQ(run(GetParam()), expected(GetParam(), from(0)));
        EXPECT_GE(held.most(), 2U);
    }
    for (int i = 0; i < 2; ++i) {
        prepare(GetParam());
        EXPECT_EQ(mostAhead(GetParam(), 1), 1U);
    }
}

TEST_P(EachOperation, GoesOnAsBeforeToAnotherServer) {
    prepare(GetParam());
    {
        const HeldRequests held(server, *GetParam().request,
                                [](HeldRequests::Calls& calls) { calls.front().connection().close(); });
        run(GetParam());
    }
    Server other;
    serveChildren(other);
    _OpcUaClientConfig config{};
    setField(config.endpointUrl, other.url());
    ASSERT_EQ(client.OpcUaConnect(config), 0);
    if (GetParam().kind == Kind::Add)
        ASSERT_EQ(client.OpcUaCreateSubScription(50), 0);
    const HeldRequests held(other, *GetParam().request, answerAll);
    EXPECT_EQ(run(GetParam()), expected(GetParam(), {}));
    EXPECT_GE(held.most(), 2U);
    client.OpcUaDisConnect();
}

TEST_P(EachOperation, GoesOnAsBeforeAfterADisconnect) {
    prepare(GetParam());
    EXPECT_EQ(client.OpcUaDisConnect(), 0);
    prepare(GetParam());
    EXPECT_GE(mostAhead(GetParam(), 2), 2U);
}

TEST_F(Overlap, ItemsAreThoseOfTheirNodes) {
    const Operation adding = operations()[2];
    prepare(adding);
    {
        const HeldRequests held(server, *adding.request, [](HeldRequests::Calls& calls) {
            std::for_each(calls.rbegin(), calls.rend(), [](const Call& call) {
                const auto& request = call.request<UA_CreateMonitoredItemsRequest>();
                Owned<UA_CreateMonitoredItemsResponse> response;
                resize(response->results, response->resultsSize, request.itemsToCreateSize);
                for (std::size_t i = 0; i < response->resultsSize; ++i) {
                    response->results[i].monitoredItemId =
                        5000 + request.itemsToCreate[i].requestedParameters.clientHandle;
                }
                call.answer(*response);
            });
        });
        EXPECT_EQ(run(adding), expected(adding, {}));
    }
    for (const int number : {0, 39, 40, 239}) {
        OpcUaNode node{};
        setField(node.nodeId, "ns=1;s=N" + std::to_string(number));
        client.OpcUaRemoveMonitNode(&node, nullptr, 0);
        const auto request = server.last<UA_DeleteMonitoredItemsRequest>();
        ASSERT_EQ(request->monitoredItemIdsSize, 1U);
        EXPECT_EQ(request->monitoredItemIds[0], 5001U + static_cast<unsigned>(number));
    }
}

TEST_F(Overlap, WritesWaitForEachOther) {
    prepare(operations()[1]);
    constexpr int count = requests * nodesPerRequest;
    std::vector<OpcUaNode> nodes(count);
    std::vector<std::int32_t> values(count, 1);
    std::vector<OpcUa_WriteNode> records(count);
    for (std::size_t i = 0; i < count; ++i) {
        setField(nodes[i].nodeId, "ns=1;s=Value");
        nodes[i].dataType = OpcUaDataType_Int32;
        records[i] = {&nodes[i], &values[i], 4};
    }
    const HeldRequests held(server, typeOf<UA_WriteRequest>(), answerAll, 1);
    EXPECT_EQ(client.OpcUaSetMultiValue(records.data(), count), 0);
    EXPECT_EQ(held.most(), 1U);
}

} // namespace
