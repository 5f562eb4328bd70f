// The traps that docs/panel.md warns of are there, and what it says against them helps. The seventh, "once",
// is Panel.AsksAgainAfterNoAndAfterOnce.
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "OpcUaClientInterface.h"
#include "OpcUaHelpers.h"
#include "support/server_process.h"

namespace {

const char* const speed = "ns=2;s=Line1.Speed";
const char* const speedSetPoint = "ns=2;s=Line1.SpeedSetpoint";

class Traps : public testing::Test {
protected:
    Traps() {
        _OpcUaClientConfig config{};
        OpcUaSetField(config.endpointUrl, server.url());
        EXPECT_EQ(client.OpcUaConnect(config), 0);
    }

    double read(const std::string& id) {
        OpcUaNode node = OpcUaMakeNode(id, OpcUaDataType_Double);
        double value = 0;
        int size = sizeof value;
        EXPECT_EQ(client.OpcUaGetValue(&node, &value, size), 0) << id;
        return value;
    }
    int write(OpcUaNode* node, double value) {
        int size = sizeof value;
        return client.OpcUaSetValue(node, &value, size);
    }
    std::string message() {
        char text[64] = "";
        client.GetErrorMsg(text, sizeof text);
        return text;
    }

    test_support::PlantServer server;
    COpcUaClientInterface client;
};

} // namespace

TEST_F(Traps, ALookedUpIdMayBeTheBeginningOfAnother) {
    client.OpcUaGetUaNode(speedSetPoint, OpcUaDataType_Double);
    EXPECT_EQ(write(client.OpcUaGetUaNode(speed, OpcUaDataType_Double), 2.75), 0);
    EXPECT_EQ(read(speedSetPoint), 2.75) << "written in place of the speed";

    OpcUaNode node = OpcUaMakeNode(speed, OpcUaDataType_Double);
    EXPECT_EQ(write(&node, 3.5), 8) << "the speed is read-only";
    EXPECT_EQ(read(speedSetPoint), 2.75);
}

TEST_F(Traps, OneSizeMeansATextThatFitsAndOneThatDoesNot) {
    for (const char* text : {"Bytes255", "Bytes256"}) {
        OpcUaNode node = OpcUaMakeNode(std::string("ns=3;s=TestRack.Text.") + text, OpcUaDataType_String);
        char buffer[257] = "";
        int size = 256;
        EXPECT_EQ(client.OpcUaGetValue(&node, buffer, size), 0);
        EXPECT_EQ(size, 255);
        EXPECT_EQ(OpcUaFieldText(buffer).size(), std::strcmp(text, "Bytes255") == 0 ? 255U : 256U)
            << "with a zero to spare";
    }
}

TEST_F(Traps, AMessageOutlivesItsFailure) {
    OpcUaNode none = OpcUaMakeNode("ns=2;s=No.Such.Node", OpcUaDataType_Double);
    EXPECT_EQ(write(&none, 1), 8);
    const std::string ofTheWrite = message();
    EXPECT_FALSE(ofTheWrite.empty());
    OpcUaNode node = OpcUaMakeNode(speedSetPoint, OpcUaDataType_Double);
    EXPECT_EQ(write(&node, 1), 0);
    EXPECT_EQ(message(), ofTheWrite) << "after a success";

    _OpcUaClientConfig secured{};
    OpcUaSetField(secured.endpointUrl, "opc.tcp://127.0.0.1:1");
    secured.securityPolicy = OpcUaSecurityPolicy_Basic256Sha256;
    secured.securityMode = OpcUaSecurityMode_Sign;
    EXPECT_EQ(client.OpcUaConnect(secured), 19);
    EXPECT_EQ(message(), ofTheWrite) << "after a failure without a message";
}

TEST_F(Traps, RemovalTakesTheFirstIdThatBeginsSo) {
    OpcUaNode nodes[] = {OpcUaMakeNode(speedSetPoint, OpcUaDataType_Double),
                         OpcUaMakeNode(speed, OpcUaDataType_Double)};
    ASSERT_EQ(client.OpcUaCreateSubScription(100), 0);
    ASSERT_EQ(client.OpcUaAddMultiMonitNode(nodes, 2), 0);
    EXPECT_EQ(client.OpcUaRemoveMonitNode(&nodes[1], nullptr, 0), 0);
    EXPECT_EQ(client.OpcUaRemoveMonitNode(&nodes[0], nullptr, 0), 15) << "the set point's went";
    EXPECT_EQ(client.OpcUaRemoveMonitNode(&nodes[1], nullptr, 0), 0) << "the speed's stayed";
}

TEST_F(Traps, ChildrenOfOnesOwnRecordAreOnesOwn) {
    ASSERT_EQ(client.OpcUaBrowse(nullptr), 0);
    OpcUaNode line = OpcUaMakeNode("ns=2;s=Line1", OpcUaDataType_Null);
    EXPECT_EQ(client.OpcUaBrowse(&line), 6) << "no record of the tree begins so";
    OpcUaNode objects = OpcUaMakeNode("i=85", OpcUaDataType_Null);
    EXPECT_EQ(client.OpcUaBrowse(&objects), 0);
    EXPECT_NE(objects.child, nullptr);
    EXPECT_EQ(OpcUaChildByName(client.OpcUaReadRootNode(), "Objects")->child, nullptr);
    COpcUaNodelist().deleteMemory(&objects.child);
    EXPECT_EQ(objects.child, nullptr);
}

TEST_F(Traps, ARecordWithoutATypeWritesAnEmptyValue) {
    // Of any type: servers differ in what they make of an empty value where the type is fixed.
    const char* const id = "ns=3;s=TestRack.Special.Empty";
    OpcUaNode typed = OpcUaMakeNode(id, OpcUaDataType_Double);
    OpcUaNode untyped = OpcUaMakeNode(id, OpcUaDataType_Null);
    EXPECT_EQ(write(&typed, 5), 0);
    EXPECT_EQ(read(id), 5);
    EXPECT_EQ(write(&untyped, 6), 0);
    EXPECT_EQ(read(id), 0) << "nothing is there any more";
}
