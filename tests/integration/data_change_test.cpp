#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <future>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "recording_application.h"

namespace {

using DataChange = MonitoringTest;
using Message = _OpcUaDataChangeMsg;

const char* const typeNames[] = {"",       "Boolean", "SByte",  "Byte",  "Int16",  "UInt16", "Int32",
                                 "UInt32", "Int64",   "UInt64", "Float", "Double", "String"};

TEST_F(DataChange, ScalarsOfAllTypesArrive) {
    subscribe();
    for (int type = 1; type <= 12; ++type)
        ASSERT_EQ(add(rack(std::string("Scalar.") + typeNames[type])), 0);
    ASSERT_TRUE(application.waitForNodes(12));
    const int widths[] = {0, 1, 1, 1, 2, 2, 4, 4, 8, 8, 4, 8, 5};
    for (int type = 1; type <= 12; ++type) {
        const Message message = application.last(rack(std::string("Scalar.") + typeNames[type]));
        EXPECT_EQ(message.dataType, type);
        EXPECT_EQ(message.valueSize, widths[type]);
        EXPECT_EQ(message.arrayIndex.kind, 0);
    }
    EXPECT_EQ(valueOf<char>(application.last(rack("Scalar.Boolean"))), 1);
    EXPECT_EQ(valueOf<short>(application.last(rack("Scalar.Int16"))), -1234);
    EXPECT_EQ(valueOf<long>(application.last(rack("Scalar.Int64"))), -9000000000000000000);
    EXPECT_EQ(valueOf<unsigned long>(application.last(rack("Scalar.UInt64"))), 18000000000000000000U);
    EXPECT_EQ(valueOf<float>(application.last(rack("Scalar.Float"))), 3.25F);
    EXPECT_EQ(valueOf<double>(application.last(rack("Scalar.Double"))), -2.718281828459045);
    EXPECT_STREQ(application.last(rack("Scalar.String")).value, "Hello");
    EXPECT_EQ(application.threads().size(), 1U);
    EXPECT_EQ(application.threads().count(std::this_thread::get_id()), 0U);
}

TEST_F(DataChange, SelectedElementsOfAllTypesArrive) {
    subscribe();
    for (int type = 1; type <= 12; ++type) {
        ASSERT_EQ(add(rack(std::string("Array.") + typeNames[type]), {5}), 0);
        ASSERT_EQ(add(rack(std::string("Matrix2.") + typeNames[type]), {1, 2}), 0);
        ASSERT_EQ(add(rack(std::string("Matrix3.") + typeNames[type]), {1, 2, 3}), 0);
    }
    ASSERT_TRUE(application.waitForNodes(36));
    EXPECT_EQ(valueOf<char>(application.last(rack("Array.Boolean"))), 1);
    EXPECT_EQ(valueOf<int>(application.last(rack("Array.Int32"))), 5);
    EXPECT_EQ(valueOf<float>(application.last(rack("Matrix2.Float"))), 6.5F);
    EXPECT_EQ(valueOf<double>(application.last(rack("Matrix3.Double"))), 23.5);
    EXPECT_EQ(textOf(application.last(rack("Matrix3.String"))), "Element 23");
    EXPECT_EQ(application.last(rack("Matrix3.String")).arrayIndex.dimCount, 3);
    EXPECT_EQ(application.last(rack("Matrix3.String")).arrayIndex.dims[2], 3U);
}

TEST_F(DataChange, LongTextsFillTheField) {
    subscribe();
    ASSERT_EQ(add(rack("Text.Bytes255")), 0);
    ASSERT_EQ(add(rack("Text.Bytes300")), 0);
    ASSERT_TRUE(application.waitForNodes(2));
    EXPECT_EQ(std::strlen(application.last(rack("Text.Bytes255")).value), 255U);
    const Message message = application.last(rack("Text.Bytes300"));
    EXPECT_EQ(message.valueSize, 255);
    EXPECT_EQ(std::string(message.value, 256), readText(rack("Text.Bytes300")).substr(0, 256));
}

TEST_F(DataChange, BadAndUncertainValuesAreNotDelivered) {
    subscribe();
    for (const char* name : {"Bad", "BadWithoutValue", "Uncertain", "UncertainWithoutValue"})
        ASSERT_EQ(add(rack(std::string("Status.") + name)), 0);
    ASSERT_EQ(add(rack("Status.GoodLocalOverride")), 0);
    ASSERT_EQ(add(rack("Moving.Counter")), 0);
    ASSERT_TRUE(application.waitForCount(rack("Moving.Counter"), 5));
    EXPECT_EQ(application.count(rack("Status.GoodLocalOverride")), 1);
    for (const char* name : {"Bad", "BadWithoutValue", "Uncertain", "UncertainWithoutValue"})
        EXPECT_EQ(application.count(rack(std::string("Status.") + name)), 0) << name;
}

TEST_F(DataChange, AnArrayThatShrinksBelowTheElementFallsSilent) {
    subscribe();
    const std::string id = rack("Changing.Array");
    ASSERT_EQ(add(id, {5}), 0);
    ASSERT_TRUE(application.waitForCount(id, 1));
    ASSERT_EQ(write<unsigned>(rack("Control.ArrayLength"), OpcUaDataType_UInt32, 3), 0);
    ASSERT_EQ(add(rack("Moving.Counter")), 0);
    ASSERT_TRUE(application.waitForCount(rack("Moving.Counter"), 5));
    const int before = application.count(id);
    ASSERT_EQ(write<unsigned>(rack("Control.ArrayLength"), OpcUaDataType_UInt32, 8), 0);
    EXPECT_TRUE(application.waitForCount(id, before + 1));
    EXPECT_EQ(before, 1);
}

TEST_F(DataChange, TypeAndShapeChangeFromOneToTheNext) {
    subscribe();
    const std::string id = rack("Changing.Value");
    ASSERT_EQ(add(id), 0);
    const std::pair<const char*, int> rows[] = {{"Int32", 6}, {"Double[5]", 11}, {"String[2,3]", 12},
                                                {"Null", 0},  {"Boolean", 1},    {"UInt16[2,2,2]", 5}};
    for (const auto& row : rows) {
        ASSERT_EQ(writeText(rack("Control.Shape"), row.first), 0) << row.first;
        EXPECT_TRUE(application.waitForValue(id, [&row](const Message& message) {
            return message.dataType == row.second;
        })) << row.first;
    }
}

TEST_F(DataChange, RemovedAndClearedItemsFallSilent) {
    subscribe();
    ASSERT_EQ(add(rack("Moving.Counter")), 0);
    ASSERT_EQ(add(rack("Moving.Ramp")), 0);
    ASSERT_EQ(add(rack("Moving.Sine")), 0);
    ASSERT_TRUE(application.waitForNodes(3));
    ASSERT_EQ(remove(rack("Moving.Counter")), 0);
    const int counter = application.count(rack("Moving.Counter"));
    ASSERT_TRUE(application.waitForCount(rack("Moving.Sine"), application.count(rack("Moving.Sine")) + 3));
    EXPECT_EQ(application.count(rack("Moving.Counter")), counter);
    ASSERT_EQ(client.OpcUaClearMonitNode(), 0);
    const int sine = application.count(rack("Moving.Sine"));
    ASSERT_EQ(add(rack("Moving.Toggle")), 0);
    ASSERT_TRUE(application.waitForCount(rack("Moving.Toggle"), 3));
    EXPECT_EQ(application.count(rack("Moving.Sine")), sine);
    EXPECT_EQ(diagnostics("MonitoredItems"), 1U);
    EXPECT_EQ(client.OpcUaDeleteSubScription(), 0);
    EXPECT_EQ(diagnostics("CurrentSubscriptions"), 0U);
}

TEST_F(DataChange, UnknownNodesFailAlone) {
    subscribe();
    EXPECT_EQ(add(rack("No.Such.Node")), 12);
    EXPECT_EQ(errorText(), "设置监视项出错");
    OpcUaNode nodes[3] = {recordOf(rack("Moving.Counter")), recordOf("no node id"),
                          recordOf(rack("Moving.Sine"))};
    EXPECT_EQ(client.OpcUaAddMultiMonitNode(nodes, 3), 0);
    EXPECT_EQ(nodes[0].result, 0);
    EXPECT_EQ(nodes[1].result, 12);
    EXPECT_EQ(nodes[2].result, 0);
    EXPECT_TRUE(application.waitForNodes(2));
}

TEST_F(DataChange, MoreItemsARequestThanTheServerTakesFail) {
    subscribe({"--max-nodes-per-monitor", "10", "--tags", "25"});
    std::vector<OpcUaNode> nodes;
    for (int i = 0; i < 25; ++i)
        nodes.push_back(recordOf("ns=2;s=Tags.Tag000" + std::string(i < 10 ? "0" : "") + std::to_string(i)));
    EXPECT_EQ(client.OpcUaAddMultiMonitNode(nodes.data(), 25), 0);
    for (int i = 0; i < 25; ++i)
        EXPECT_EQ(nodes[static_cast<std::size_t>(i)].result, i < 20 ? 12 : 0) << i;
    EXPECT_TRUE(application.waitForNodes(5));
}

TEST_F(DataChange, TwentyThousandItemsAreDelivered) {
    // The first values are what counts: looking at all of them ten times a second would keep a CPU busy.
    subscribe({"--tags", "20000", "--min-sampling", "60000"});
    std::vector<OpcUaNode> nodes;
    for (int i = 0; i < 20000; ++i) {
        char id[32];
        std::snprintf(id, sizeof id, "ns=2;s=Tags.Tag%05d", i);
        nodes.push_back(recordOf(id));
    }
    ASSERT_EQ(client.OpcUaAddMultiMonitNode(nodes.data(), 20000), 0);
    for (const OpcUaNode& each : nodes)
        ASSERT_EQ(each.result, 0) << each.nodeId;
    EXPECT_TRUE(application.waitForNodes(20000));
    EXPECT_EQ(add(rack("Moving.Counter")), 12) << "the client is full";
    EXPECT_EQ(client.OpcUaClearMonitNode(), 0);
    EXPECT_EQ(diagnostics("MonitoredItems"), 0U);
}

TEST_F(DataChange, ACallbackMayReadAndWrite) {
    subscribe();
    std::atomic<int> good{0};
    application.onEachChange([&](const Message& message) {
        OpcUaNode record = recordOf(rack("Scalar.UInt32"));
        record.dataType = OpcUaDataType_UInt32;
        auto value = valueOf<unsigned>(message);
        int size = 4;
        good += client.OpcUaSetValue(&record, &value, size) == 0 ? 1 : 0;
        unsigned back = 0;
        good += client.OpcUaGetValue(&record, &back, size) == 0 && back == value ? 1 : 0;
    });
    ASSERT_EQ(add(rack("Moving.Counter")), 0);
    EXPECT_TRUE(waitUntil([&] { return good >= 10; }));
}

TEST_F(DataChange, ACallbackThatThrowsIsCalledAgain) {
    subscribe();
    application.onEachChange([](const Message&) { throw std::runtime_error("out of order"); });
    ASSERT_EQ(add(rack("Moving.Counter")), 0);
    EXPECT_TRUE(application.waitForCount(rack("Moving.Counter"), 5));
    EXPECT_EQ(client.OpcUaGetConnectStatus(), connected);
}

TEST_F(DataChange, ACallbackMayDisconnect) {
    subscribe();
    std::promise<int> result;
    std::atomic<int> calls{0};
    application.onEachChange([&](const Message&) {
        if (calls++ == 0)
            result.set_value(client.OpcUaDisConnect());
    });
    ASSERT_EQ(add(rack("Moving.Counter")), 0);
    EXPECT_EQ(result.get_future().get(), 0);
    EXPECT_EQ(client.OpcUaGetConnectStatus(), 0);
    EXPECT_EQ(client.OpcUaDisConnect(), 3);
    EXPECT_EQ(calls, 1);
    application.onEachChange(nullptr);
    ASSERT_EQ(connect(), 0);
    ASSERT_EQ(client.OpcUaCreateSubScription(50), 0);
    ASSERT_EQ(add(rack("Moving.Ramp")), 0);
    EXPECT_TRUE(application.waitForCount(rack("Moving.Ramp"), 2));
}

TEST_F(DataChange, ACallbackThatBlocksLosesNothingAndHoldsUpNobody) {
    subscribe();
    std::promise<void> release;
    const std::shared_future<void> released = release.get_future().share();
    application.onEachChange([released](const Message&) { released.wait(); });
    const std::string id = rack("Moving.Counter");
    ASSERT_EQ(add(id), 0);
    ASSERT_TRUE(application.waitForCount(id, 1));
    const auto first = read<unsigned>(id, OpcUaDataType_UInt32);
    ASSERT_TRUE(waitUntil([&] { return read<unsigned>(id, OpcUaDataType_UInt32) > first + 20; }));
    EXPECT_EQ(application.count(id), 1);
    EXPECT_EQ(client.OpcUaGetConnectStatus(), connected);
    application.onEachChange(nullptr);
    release.set_value();
    EXPECT_TRUE(application.waitForCount(id, 10)) << "what came meanwhile was kept";
}

TEST_F(DataChange, AKilledServerIsNoticedAndTheNextOneUsed) {
    subscribe();
    ASSERT_EQ(add(rack("Moving.Counter")), 0);
    ASSERT_TRUE(application.waitForCount(rack("Moving.Counter"), 1));
    server().kill(SIGKILL);
    ASSERT_TRUE(waitUntil([this] { return client.OpcUaGetConnectStatus() != connected; }));
    EXPECT_EQ(add(rack("Moving.Sine")), 3);
    EXPECT_EQ(client.OpcUaDeleteSubScription(), 3);
    startServer({});
    ASSERT_EQ(connect(), 0);
    EXPECT_EQ(add(rack("Moving.Sine")), 11) << "nothing is taken over";
    ASSERT_EQ(client.OpcUaCreateSubScription(50), 0);
    ASSERT_EQ(add(rack("Moving.Sine")), 0);
    EXPECT_TRUE(application.waitForCount(rack("Moving.Sine"), 2));
}

TEST_F(DataChange, SubscriptionsComeAndGo) {
    subscribe();
    for (int i = 0; i < 20; ++i) {
        ASSERT_EQ(add(rack("Moving.Counter")), 0);
        ASSERT_EQ(client.OpcUaCreateSubScription(50), 0);
    }
    EXPECT_EQ(diagnostics("CurrentSubscriptions"), 1U);
    EXPECT_EQ(diagnostics("MonitoredItems"), 0U);
    EXPECT_EQ(remove(rack("Moving.Counter")), 15);
}

} // namespace
