#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstring>
#include <map>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "monitoring_test.h"

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

namespace {

using standin::CreateItemsRequest;
using standin::DeleteItemsRequest;

using MonitoredItems = MonitoringTest;

std::vector<int> resultsOf(const std::vector<OpcUaNode>& nodes) {
    std::vector<int> results;
    for (const OpcUaNode& node : nodes)
        results.push_back(node.result);
    return results;
}

/// Gives every item this status.
auto answerItems(OpcUa_StatusCode status) {
    return [status](const CreateItemsRequest& request, UaMonitoredItemCreateResults& results) {
        results.create(static_cast<OpcUa_UInt32>(request.items.size()));
        // NOLINTNEXTLINE(modernize-loop-convert): an iterator of these results only reads
        for (OpcUa_UInt32 i = 0; i < results.length(); ++i) {
            results[i].statusCode = status;
            results[i].monitoredItemId = 70000;
        }
        return UaStatus();
    };
}

auto answerDeletes(OpcUa_StatusCode service, std::vector<OpcUa_StatusCode> items) {
    return [service, items](const DeleteItemsRequest&, UaStatusCodeArray& results) {
        results.create(static_cast<OpcUa_UInt32>(items.size()));
        std::copy(items.begin(), items.end(), results.rawData());
        return UaStatus(service);
    };
}

std::vector<std::size_t> batchSizes() {
    std::vector<std::size_t> sizes;
    for (const CreateItemsRequest& request : script().requests<CreateItemsRequest>())
        sizes.push_back(request.items.size());
    return sizes;
}

const std::vector<OpcUa_StatusCode> failures = {badStatus, uncertainStatus, bothBitsStatus};

} // namespace

TEST_F(MonitoredItems, OneIsAskedForWithFixedSettings) {
    EXPECT_EQ(add("ns=2;s=A"), 0);
    EXPECT_THAT(script().operations(),
                ElementsAre("UaSession::isConnected", "UaSubscription::createMonitoredItems"));
    const CreateItemsRequest request = script().requests<CreateItemsRequest>().at(0);
    EXPECT_EQ(request.timestamps, OpcUa_TimestampsToReturn_Both);
    EXPECT_EQ(request.settings.callTimeout, UaClientSdk::ServiceSettings().callTimeout);
    ASSERT_THAT(request.items, SizeIs(1));
    const standin::MonitorItem& item = request.items[0];
    EXPECT_EQ(item.node.nodeId, "ns=2;s=A");
    EXPECT_EQ(item.node.attributeId, 13U);
    EXPECT_EQ(item.node.indexRange, "");
    EXPECT_EQ(item.node.dataEncoding, "");
    EXPECT_EQ(item.mode, OpcUa_MonitoringMode_Reporting);
    EXPECT_EQ(item.clientHandle, 1U);
    EXPECT_EQ(item.samplingInterval, 100.0);
    EXPECT_FALSE(item.hasFilter);
    EXPECT_EQ(item.queueSize, 1U);
    EXPECT_TRUE(item.discardOldest);
}

TEST_F(MonitoredItems, AllAreAskedForAlike) {
    auto nodes = manyNodes(2);
    EXPECT_EQ(addMany(nodes), 0);
    const CreateItemsRequest request = script().requests<CreateItemsRequest>().at(0);
    EXPECT_EQ(request.timestamps, OpcUa_TimestampsToReturn_Both);
    for (const standin::MonitorItem& item : request.items) {
        EXPECT_EQ(item.node.attributeId, 13U);
        EXPECT_EQ(item.mode, OpcUa_MonitoringMode_Reporting);
        EXPECT_EQ(item.samplingInterval, 100.0);
        EXPECT_EQ(item.queueSize, 1U);
        EXPECT_TRUE(item.discardOldest);
        EXPECT_FALSE(item.hasFilter);
    }
    EXPECT_EQ(request.items[1].clientHandle, 2U);
}

TEST_F(MonitoredItems, TheRecordKeepsACopyOfTheWholeNode) {
    OpcUaNode node = makeNode("ns=2;s=A", OpcUaDataType_Double);
    node.parent = &node;
    setField(node.displayName, std::string(256, 'd'));
    node.result = 4711;
    EXPECT_EQ(m_client->OpcUaAddMonitNode(&node, nullptr, 0), 0);
    const _monitItemMsg item = items().at(0);
    EXPECT_EQ(item.monitoredItemId, 5001U);
    EXPECT_EQ(item.clientHandle, 1U);
    ASSERT_NE(item.node, &node);
    EXPECT_EQ(std::memcmp(item.node, &node, sizeof node), 0);
    EXPECT_EQ(item.arrayIndex.kind, 0);
    EXPECT_EQ(item.arrayIndex.dimCount, 0);
    EXPECT_THAT(item.arrayIndex.dims, Each(0U));
}

TEST_F(MonitoredItems, ASelectionKeepsItsIndices) {
    EXPECT_EQ(add("ns=2;s=A", {1, 2, 3}), 0);
    const _ArrayType selection = items().at(0).arrayIndex;
    EXPECT_EQ(selection.kind, 1);
    EXPECT_EQ(selection.dimCount, 3);
    EXPECT_THAT(selection.dims, ElementsAre(1, 2, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0));
    EXPECT_EQ(script().requests<CreateItemsRequest>().at(0).items[0].node.indexRange, "")
        << "the server is asked for the whole value";
}

TEST_F(MonitoredItems, SixteenIndicesAreTakenSeventeenAreNot) {
    EXPECT_EQ(add("ns=2;s=A", Indices(16, 7)), 0);
    EXPECT_EQ(items().at(0).arrayIndex.dimCount, 16);
    EXPECT_THAT(items().at(0).arrayIndex.dims, Each(7U));
    watchFromHere();
    EXPECT_EQ(add("ns=2;s=A", Indices(17, 7)), 29);
    EXPECT_EQ(message(), messages::invalidArgument);
    EXPECT_THAT(script().requests<CreateItemsRequest>(), IsEmpty());
    EXPECT_EQ(remove("ns=2;s=A", Indices(17, 7)), 29);
    EXPECT_THAT(script().requests<DeleteItemsRequest>(), IsEmpty());
}

TEST_F(MonitoredItems, WithoutIndicesTheCountHasNoMeaning) {
    OpcUaNode node = makeNode("ns=2;s=A");
    unsigned long index[1] = {5};
    EXPECT_EQ(m_client->OpcUaAddMonitNode(&node, nullptr, 17), 0);
    EXPECT_EQ(m_client->OpcUaAddMonitNode(&node, nullptr, -1), 0);
    EXPECT_EQ(m_client->OpcUaAddMonitNode(&node, index, 0), 0);
    for (const auto& item : items()) {
        EXPECT_EQ(item.second.arrayIndex.kind, 0);
        EXPECT_EQ(item.second.arrayIndex.dimCount, 0);
        EXPECT_EQ(item.second.arrayIndex.dims[0], 0U);
    }
}

TEST_F(MonitoredItems, ANegativeCountSelectsWithoutIndices) {
    OpcUaNode node = makeNode("ns=2;s=A");
    unsigned long index[1] = {5};
    for (const int count : {-1, INT_MIN}) {
        EXPECT_EQ(m_client->OpcUaAddMonitNode(&node, index, count), 0);
        const _ArrayType selection = items().at(0).arrayIndex;
        EXPECT_EQ(selection.kind, 1);
        EXPECT_EQ(selection.dimCount, count);
        EXPECT_THAT(selection.dims, Each(0U));
        EXPECT_EQ(m_client->OpcUaRemoveMonitNode(&node, index, 1), 15);
        EXPECT_EQ(m_client->OpcUaRemoveMonitNode(&node, index, count), 0);
    }
}

TEST_F(MonitoredItems, AreAddedUnderBothLocksInOrder) {
    EXPECT_EQ(add("ns=2;s=A"), 0);
    EXPECT_THAT(mutex_watch::locked(), ElementsAre(mutex_watch::clientMutex, mutex_watch::bookkeepingMutex));
    EXPECT_THAT(script().calls()[0].surroundings.heldMutexes, ElementsAre(mutex_watch::clientMutex));
    EXPECT_THAT(script().calls()[1].surroundings.heldMutexes,
                ElementsAre(mutex_watch::clientMutex, mutex_watch::bookkeepingMutex));
}

TEST_F(MonitoredItems, OthersTakeTheSameLocksAndLeaveNone) {
    auto nodes = manyNodes(21);
    const std::vector<int> both = {mutex_watch::clientMutex, mutex_watch::bookkeepingMutex};
    EXPECT_EQ(addMany(nodes), 0);
    EXPECT_EQ(mutex_watch::locked(), both);
    watchFromHere();
    EXPECT_EQ(remove("ns=2;s=Tag0."), 0);
    EXPECT_EQ(mutex_watch::locked(), both);
    EXPECT_EQ(script().calls().back().surroundings.heldMutexes, both);
    watchFromHere();
    EXPECT_EQ(m_client->OpcUaClearMonitNode(), 0);
    EXPECT_EQ(mutex_watch::locked(), both);
    EXPECT_EQ(script().calls().back().surroundings.heldMutexes, both);
    EXPECT_THAT(script().calls().front().surroundings.heldMutexes, IsEmpty())
        << "clearing looks at the connection before it locks";
    EXPECT_THAT(mutex_watch::held(), IsEmpty());
}

TEST_F(MonitoredItems, WithoutSubscriptionAreRefused) {
    ASSERT_EQ(m_client->OpcUaDeleteSubScription(), 0);
    watchFromHere();
    EXPECT_EQ(add("ns=2;s=A"), 11);
    EXPECT_EQ(message(), messages::noSubscription);
    EXPECT_EQ(remove("ns=2;s=A"), 11);
    EXPECT_EQ(add("ns=2;s=A", Indices(17, 7)), 11);
    EXPECT_EQ(remove("ns=2;s=A", Indices(17, 7)), 11);
    EXPECT_EQ(m_client->OpcUaClearMonitNode(), 11);
    EXPECT_THAT(mutex_watch::locked(), Each(mutex_watch::clientMutex));
    ASSERT_EQ(m_client->installOpcUaCallBack(nullptr), 29);
    auto nodes = manyNodes(3);
    EXPECT_EQ(addMany(nodes), 0);
    EXPECT_THAT(resultsOf(nodes), Each(11));
    EXPECT_EQ(message(), messages::noSubscription);
    EXPECT_THAT(script().operations(), Each("UaSession::isConnected"));
}

TEST_F(MonitoredItems, OfALostConnectionAreRefused) {
    script().onIsConnected = [] { return false; };
    auto nodes = manyNodes(2);
    EXPECT_EQ(add("ns=2;s=A"), 3);
    EXPECT_EQ(message(), messages::notConnected);
    EXPECT_EQ(remove("ns=2;s=A"), 3);
    EXPECT_EQ(m_client->OpcUaClearMonitNode(), 3);
    EXPECT_EQ(addMany(nodes), 3);
    EXPECT_THAT(resultsOf(nodes), Each(3));
    script().onIsConnected = nullptr;
}

TEST_F(MonitoredItems, WithoutSessionTheNodesResultsTell) {
    ASSERT_EQ(m_client->OpcUaDisConnect(), 0);
    auto nodes = manyNodes(2);
    EXPECT_EQ(addMany(nodes), 0);
    EXPECT_THAT(resultsOf(nodes), Each(3));
    EXPECT_EQ(message(), messages::notConnected);
}

TEST_F(MonitoredItems, OneThatFailsIsNotKeptAndKeepsItsHandleFree) {
    for (const OpcUa_StatusCode status : failures) {
        script().onCreateItems = answerItems(status);
        EXPECT_EQ(add("ns=2;s=A"), 12);
        EXPECT_EQ(message(), messages::monitorFailed);
        script().onCreateItems = [status](const CreateItemsRequest&, UaMonitoredItemCreateResults& results) {
            results.create(1);
            return UaStatus(status);
        };
        EXPECT_EQ(add("ns=2;s=A"), 12);
    }
    EXPECT_THAT(items(), IsEmpty());
    script().onCreateItems = answerItems(goodWithDetails);
    EXPECT_EQ(add("ns=2;s=A"), 0);
    EXPECT_EQ(items().at(0).clientHandle, 1U);
}

TEST_F(MonitoredItems, OneThatTheServerMayHaveUsesItsHandleUp) {
    script().onCreateItems = [](const CreateItemsRequest&, UaMonitoredItemCreateResults&) -> UaStatus {
        throw std::bad_alloc();
    };
    EXPECT_THROW(add("ns=2;s=A"), std::bad_alloc);
    EXPECT_THAT(items(), IsEmpty());
    script().onCreateItems = nullptr;
    EXPECT_EQ(add("ns=2;s=B"), 0);
    EXPECT_EQ(items().at(0).clientHandle, 2U);
}

TEST_F(MonitoredItems, AnAnswerWithoutResultsFails) {
    script().onCreateItems = [](const CreateItemsRequest&, UaMonitoredItemCreateResults&) {
        return UaStatus();
    };
    EXPECT_EQ(add("ns=2;s=A"), 12);
    auto nodes = manyNodes(2);
    EXPECT_EQ(addMany(nodes), 0);
    EXPECT_THAT(resultsOf(nodes), Each(12));
    script().onCreateItems = nullptr;
    ASSERT_EQ(add("ns=2;s=A"), 0);
    script().onDeleteItems = answerDeletes(OpcUa_Good, {});
    EXPECT_EQ(remove("ns=2;s=A"), 13);
    EXPECT_EQ(m_client->OpcUaClearMonitNode(), 14);
}

TEST_F(MonitoredItems, SuccessKeepsTheEarlierMessage) {
    ASSERT_EQ(m_client->installOpcUaCallBack(nullptr), 29);
    auto nodes = manyNodes(2);
    EXPECT_EQ(add("ns=2;s=A"), 0);
    EXPECT_EQ(addMany(nodes), 0);
    EXPECT_EQ(remove("ns=2;s=A"), 0);
    EXPECT_EQ(m_client->OpcUaClearMonitNode(), 0);
    EXPECT_EQ(message(), messages::invalidArgument);
}

TEST_F(MonitoredItems, ATextThatIsNoNodeIdAsksForTheNullNode) {
    auto nodes = manyNodes(1);
    setField(nodes[0].nodeId, "no node id");
    EXPECT_EQ(addMany(nodes), 0);
    EXPECT_EQ(add("no node id either"), 0);
    for (const CreateItemsRequest& request : script().requests<CreateItemsRequest>())
        EXPECT_EQ(request.items[0].node.nodeId, UaNodeId().toXmlString().text());
}

TEST_F(MonitoredItems, ManyAreSentInBatchesOfTwenty) {
    const std::vector<std::pair<int, std::vector<std::size_t>>> rows = {
        {1, {1}},       {19, {19}},        {20, {20}},       {21, {20, 1}},
        {40, {20, 20}}, {45, {20, 20, 5}}, {41, {20, 20, 1}}};
    for (const auto& [count, expected] : rows) {
        watchFromHere();
        auto nodes = manyNodes(count);
        EXPECT_EQ(addMany(nodes), 0);
        EXPECT_EQ(batchSizes(), expected) << count;
        EXPECT_THAT(resultsOf(nodes), Each(0));
    }
}

TEST_F(MonitoredItems, BatchesNeedNotWaitForEachOther) {
    watchFromHere();
    auto nodes = manyNodes(45);
    EXPECT_EQ(addMany(nodes), 0);
    EXPECT_EQ(script().sequences(), 1);
    EXPECT_EQ(batchSizes(), (std::vector<std::size_t>{20, 20, 5}));
}

TEST_F(MonitoredItems, ManyKeepTheirOrder) {
    auto nodes = manyNodes(45);
    ASSERT_EQ(addMany(nodes), 0);
    OpcUa_UInt32 position = 0;
    for (const CreateItemsRequest& request : script().requests<CreateItemsRequest>()) {
        for (const standin::MonitorItem& item : request.items) {
            EXPECT_EQ(item.node.nodeId, "ns=2;s=Tag" + std::to_string(position) + ".");
            EXPECT_EQ(item.clientHandle, ++position);
        }
    }
    const auto records = items();
    ASSERT_THAT(records, SizeIs(45));
    for (const auto& [i, record] : records) {
        EXPECT_EQ(record.clientHandle, i + 1UL);
        EXPECT_EQ(record.monitoredItemId, i + 5001UL);
        EXPECT_EQ(record.arrayIndex.kind, 0);
        EXPECT_EQ(fieldText(record.node->nodeId), "ns=2;s=Tag" + std::to_string(i) + ".");
    }
}

TEST_F(MonitoredItems, ABatchThatFailsDoesNotStopTheNext) {
    script().onCreateItems = [](const CreateItemsRequest& request, UaMonitoredItemCreateResults& results) {
        results.create(static_cast<OpcUa_UInt32>(request.items.size()));
        return UaStatus(request.items[0].clientHandle == 21 ? uncertainStatus : OpcUa_Good);
    };
    ASSERT_EQ(m_client->installOpcUaCallBack(nullptr), 29);
    auto nodes = manyNodes(50);
    EXPECT_EQ(addMany(nodes), 0);
    std::vector<int> expected(50, 0);
    std::fill(expected.begin() + 20, expected.begin() + 40, 12);
    EXPECT_EQ(resultsOf(nodes), expected);
    EXPECT_EQ(message(), messages::invalidArgument) << "a failed service leaves no message";
    EXPECT_THAT(items(), SizeIs(30));
    EXPECT_EQ(items().at(20).clientHandle, 41U) << "failed ones use their handles up";
}

TEST_F(MonitoredItems, ANodeThatFailsDoesNotStopTheOthers) {
    for (const OpcUa_StatusCode status : failures) {
        script().onCreateItems = [status](const CreateItemsRequest& request,
                                          UaMonitoredItemCreateResults& results) {
            results.create(static_cast<OpcUa_UInt32>(request.items.size()));
            results[1].statusCode = status;
            return UaStatus();
        };
        ASSERT_EQ(m_client->installOpcUaCallBack(nullptr), 29);
        auto nodes = manyNodes(3);
        EXPECT_EQ(addMany(nodes), 0);
        EXPECT_THAT(resultsOf(nodes), ElementsAre(0, 12, 0));
        EXPECT_EQ(message(), messages::monitorFailed);
        EXPECT_THAT(monitored(), ElementsAre("ns=2;s=Tag0.", "ns=2;s=Tag2."));
        EXPECT_EQ(m_client->OpcUaClearMonitNode(), 0);
    }
}

TEST_F(MonitoredItems, HandlesWrapAfterTwentyThousand) {
    auto nodes = manyNodes(20000);
    ASSERT_EQ(addMany(nodes), 0);
    EXPECT_EQ(items().at(19999).clientHandle, 20000U);
    nodes = {makeNode("ns=2;s=Again")};
    script().onCreateItems = answerItems(OpcUa_Good);
    EXPECT_EQ(addMany(nodes), 0) << "many may be added beyond the limit";
    EXPECT_EQ(script().requests<CreateItemsRequest>().back().items[0].clientHandle, 1U);
    EXPECT_THAT(items(), SizeIs(20000));
    EXPECT_EQ(fieldText(items().at(0).node->nodeId), "ns=2;s=Again");
    EXPECT_EQ(items().at(0).clientHandle, 1U);
    EXPECT_EQ(items().at(0).monitoredItemId, 70000U);
    EXPECT_EQ(record_census::live(), 20000) << "the copy that was replaced is freed";
    EXPECT_THAT(script().requests<DeleteItemsRequest>(), IsEmpty());
    EXPECT_EQ(m_client->OpcUaClearMonitNode(), 0);
    EXPECT_THAT(script().requests<DeleteItemsRequest>().at(0).ids, SizeIs(20000));
}

TEST_F(MonitoredItems, ASingleOneIsRefusedWhenThereAreTwentyThousand) {
    auto nodes = manyNodes(19999);
    ASSERT_EQ(addMany(nodes), 0);
    EXPECT_EQ(add("ns=2;s=Last"), 0);
    EXPECT_EQ(items().at(19999).clientHandle, 20000U);
    watchFromHere();
    EXPECT_EQ(add("ns=2;s=More", Indices(17, 1)), 12) << "before the arguments are looked at";
    EXPECT_EQ(message(), messages::monitorFailed);
    EXPECT_THAT(script().requests<CreateItemsRequest>(), IsEmpty());
    EXPECT_EQ(remove("ns=2;s=Tag5."), 0);
    EXPECT_EQ(add("ns=2;s=More"), 0);
    EXPECT_EQ(items().at(0).clientHandle, 1U) << "takes the place of the first";
    EXPECT_EQ(fieldText(items().at(0).node->nodeId), "ns=2;s=More");
    EXPECT_THAT(items(), SizeIs(19999));
}

TEST_F(MonitoredItems, OneIsRemovedByTheServersId) {
    ASSERT_EQ(add("ns=2;s=A"), 0);
    ASSERT_EQ(add("ns=2;s=B"), 0);
    watchFromHere();
    EXPECT_EQ(remove("ns=2;s=B"), 0);
    EXPECT_THAT(script().operations(),
                ElementsAre("UaSession::isConnected", "UaSubscription::deleteMonitoredItems"));
    const DeleteItemsRequest request = script().requests<DeleteItemsRequest>().at(0);
    EXPECT_THAT(request.ids, ElementsAre(5002U));
    EXPECT_EQ(request.settings.callTimeout, UaClientSdk::ServiceSettings().callTimeout);
    EXPECT_THAT(monitored(), ElementsAre("ns=2;s=A"));
    EXPECT_EQ(record_census::live(), 1);
}

TEST_F(MonitoredItems, RemoveTakesTheFirstThatBeginsWithTheText) {
    ASSERT_EQ(add("ns=2;s=Tank1"), 0);
    ASSERT_EQ(add("ns=2;s=Tank"), 0);
    EXPECT_EQ(remove("ns=2;s=Tank"), 0);
    EXPECT_THAT(monitored(), ElementsAre("ns=2;s=Tank"));
    EXPECT_EQ(remove("ns=2;s=Tank1"), 15);
    EXPECT_EQ(message(), messages::notMonitored);
    EXPECT_EQ(remove(""), 0) << "every text begins with the empty one";
    EXPECT_EQ(remove(""), 15);
}

TEST_F(MonitoredItems, RemoveTakesOneOfSeveral) {
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(add("ns=2;s=A"), 0);
    EXPECT_EQ(remove("ns=2;s=A"), 0);
    EXPECT_THAT(items(), SizeIs(2));
    EXPECT_EQ(items().at(0).clientHandle, 2U);
}

TEST_F(MonitoredItems, AnIdThatFillsItsFieldIsFound) {
    const std::string full = "ns=2;s=" + std::string(249, 'x');
    ASSERT_EQ(add(full), 0);
    EXPECT_EQ(remove(full), 0);
}

TEST_F(MonitoredItems, RemoveWithIndicesNeedsTheSameOnes) {
    ASSERT_EQ(add("ns=2;s=A", {1, 2, 3}), 0);
    EXPECT_EQ(remove("ns=2;s=A", {1, 2}), 15);
    EXPECT_EQ(remove("ns=2;s=A", {1, 2, 4}), 15);
    EXPECT_EQ(remove("ns=2;s=A", {1, 2, 3, 0}), 15);
    EXPECT_EQ(remove("ns=2;s=B", {1, 2, 3}), 15);
    EXPECT_EQ(remove("ns=2;s=A", {1, 2, 3}), 0);
}

TEST_F(MonitoredItems, RemoveWithIndicesPassesOverOtherElements) {
    ASSERT_EQ(add("ns=2;s=A"), 0);
    ASSERT_EQ(add("ns=2;s=A", {0}), 0);
    ASSERT_EQ(add("ns=2;s=A", {5}), 0);
    EXPECT_EQ(remove("ns=2;s=A", {5}), 0);
    EXPECT_EQ(remove("ns=2;s=A", {0}), 0);
    ASSERT_THAT(items(), SizeIs(1));
    EXPECT_EQ(items().at(0).clientHandle, 1U);
}

TEST_F(MonitoredItems, RemoveWithoutIndicesTakesAnElement) {
    ASSERT_EQ(add("ns=2;s=A", {5}), 0);
    EXPECT_EQ(remove("ns=2;s=A"), 0);
}

TEST_F(MonitoredItems, WhatTheServerKeepsStays) {
    ASSERT_EQ(add("ns=2;s=A"), 0);
    for (const OpcUa_StatusCode status : failures) {
        script().onDeleteItems = answerDeletes(status, {OpcUa_Good});
        EXPECT_EQ(remove("ns=2;s=A"), 13);
        EXPECT_EQ(message(), messages::unmonitorFailed);
        EXPECT_EQ(m_client->OpcUaClearMonitNode(), 14);
        EXPECT_EQ(message(), messages::clearFailed);
        script().onDeleteItems = answerDeletes(OpcUa_Good, {status});
        EXPECT_EQ(remove("ns=2;s=A"), 13);
        EXPECT_EQ(m_client->OpcUaClearMonitNode(), 14);
        EXPECT_THAT(items(), SizeIs(1));
    }
    script().onDeleteItems = answerDeletes(goodWithDetails, {goodWithDetails});
    EXPECT_EQ(remove("ns=2;s=A"), 0);
}

TEST_F(MonitoredItems, AllAreClearedInOneCallInTheOrderOfTheirKeys) {
    auto nodes = manyNodes(30);
    ASSERT_EQ(addMany(nodes), 0);
    watchFromHere();
    EXPECT_EQ(m_client->OpcUaClearMonitNode(), 0);
    EXPECT_THAT(script().operations(),
                ElementsAre("UaSession::isConnected", "UaSubscription::deleteMonitoredItems"));
    std::vector<OpcUa_UInt32> expected;
    for (OpcUa_UInt32 i = 0; i < 30; ++i)
        expected.push_back(5001 + i);
    EXPECT_EQ(script().requests<DeleteItemsRequest>().at(0).ids, expected);
    EXPECT_THAT(items(), IsEmpty());
    EXPECT_EQ(record_census::live(), 0);
}

TEST_F(MonitoredItems, ClearLooksAtTheFirstResultAlone) {
    auto nodes = manyNodes(2);
    ASSERT_EQ(addMany(nodes), 0);
    script().onDeleteItems = answerDeletes(OpcUa_Good, {OpcUa_Good, badStatus});
    EXPECT_EQ(m_client->OpcUaClearMonitNode(), 0);
    EXPECT_THAT(items(), IsEmpty());
}

TEST_F(MonitoredItems, ClearWithoutItemsSendsNothing) {
    EXPECT_EQ(m_client->OpcUaClearMonitNode(), 0);
    EXPECT_THAT(script().operations(), ElementsAre("UaSession::isConnected"));
}

TEST_F(MonitoredItems, TheirRecordsAreCopiedOutByPosition) {
    ASSERT_EQ(add("ns=2;s=A"), 0);
    ASSERT_EQ(add("ns=2;s=B"), 0);
    ASSERT_EQ(add("ns=2;s=C"), 0);
    ASSERT_EQ(remove("ns=2;s=A"), 0);
    std::map<unsigned int, _monitItemMsg> out;
    out[1] = {};
    out[7].clientHandle = 77;
    watchFromHere();
    m_client->ReturnMonitorItemMsg(out);
    EXPECT_THAT(mutex_watch::locked(), IsEmpty());
    ASSERT_THAT(out, SizeIs(3)) << "what was there stays";
    EXPECT_EQ(out[0].clientHandle, 2U);
    EXPECT_EQ(out[1].clientHandle, 3U);
    EXPECT_EQ(out[7].clientHandle, 77U);
    EXPECT_EQ(out[0].node, items().at(0).node) << "the node is shared";
}

TEST_F(MonitoredItems, GoWithASessionThatCouldNotBeDisconnected) {
    ASSERT_EQ(add("ns=2;s=A"), 0);
    script().onDisconnect = [](const standin::DisconnectRequest&) { return UaStatus(badStatus); };
    _OpcUaClientConfig config = makeConfig();
    EXPECT_EQ(m_client->OpcUaConnect(config), 0);
    EXPECT_TRUE(items().empty());
    EXPECT_EQ(add("ns=2;s=A"), 11) << "the new session has no subscription yet";
    script().onDisconnect = nullptr;
}
