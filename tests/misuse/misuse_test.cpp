// Every operation at the wrong moment, without its arguments, or more often than once.
#include <cstring>
#include <memory>

#include <gmock/gmock.h>

#include "operations.h"
#include "support/server_process.h"

using namespace test_support;

namespace {

void expectNotConnected(COpcUaClientInterface& client) {
    for (const Operation& operation : operationsThatNeedASession()) {
        SCOPED_TRACE(operation.name);
        EXPECT_EQ(client.installOpcUaCallBack(nullptr), 29) << "to see the message change";
        EXPECT_EQ(operation.call(client), operation.withoutSession);
        EXPECT_EQ(errorMessage(client), notConnectedMessage);
    }
    EXPECT_EQ(client.OpcUaGetConnectStatus(), 0);
    EXPECT_EQ(client.OpcUaReadRootNode(), nullptr);
}

void expectArgumentsRefused(COpcUaClientInterface& client) {
    for (const Operation& operation : operationsWithAnArgumentLeftOut()) {
        SCOPED_TRACE(operation.name);
        EXPECT_EQ(operation.call(client), 29);
        EXPECT_EQ(errorMessage(client), invalidArgumentMessage);
    }
}

int readServiceLevel(COpcUaClientInterface& client) {
    OpcUaNode node = serviceLevelNode();
    unsigned char level = 0;
    int size = 0;
    const int code = client.OpcUaGetValue(&node, &level, size);
    return code == 0 ? level : -code;
}

constexpr int serviceLevel = 255;

struct SilentCallBack final : COpcUaClientInterface::OpcUaCallBack {
    void OpcUaDataChange(_OpcUaDataChangeMsg) override {}
    int OpcUaTrustServerCertificate(_OpcUaCertificateMsg) override { return -1; }
};

TEST(BeforeConnect, NothingThatNeedsASessionWorks) {
    COpcUaClientInterface client;
    expectNotConnected(client);
}

TEST(BeforeConnect, MissingArgumentsAreRefused) {
    COpcUaClientInterface client;
    expectArgumentsRefused(client);
}

TEST(BeforeConnect, ANewClientHasNoMessage) {
    COpcUaClientInterface client;
    EXPECT_EQ(errorMessage(client), "");
}

TEST(BeforeConnect, NodesAreLookedUpWithoutAServer) {
    COpcUaClientInterface client;
    OpcUaNode* const node = client.OpcUaGetUaNode("ns=2;s=Level", OpcUaDataType_Float);
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(client.OpcUaGetUaNode("ns=2;s=Level", OpcUaDataType_Float), node);
}

TEST(BeforeConnect, ANullTextIsReportedByTheLookup) {
    COpcUaClientInterface client;
    client.OpcUaGetUaNode(nullptr, OpcUaDataType_Float);
    EXPECT_EQ(errorMessage(client), invalidArgumentMessage);
}

TEST(ErrorMessage, WithoutRoomWritesNothing) {
    COpcUaClientInterface client;
    ASSERT_EQ(client.OpcUaDisConnect(), 3);
    char guarded[4] = {'a', 'b', 'c', 'd'};
    client.GetErrorMsg(guarded, 0);
    client.GetErrorMsg(guarded, -1);
    client.GetErrorMsg(guarded, -2147483647 - 1);
    EXPECT_THAT(guarded, testing::ElementsAre('a', 'b', 'c', 'd'));
    client.GetErrorMsg(guarded, 1);
    EXPECT_THAT(guarded, testing::ElementsAre(notConnectedMessage[0], 'b', 'c', 'd'));
}

TEST(Start, EveryLevelAndEveryOtherNumberIsTaken) {
    COpcUaClientInterface client;
    for (const int level : {1, 2, 3, 4, 5, 6, 7, 0, -1, 8, 2147483647}) {
        client.OpcUaInit(static_cast<_OpcUaClientTraceLevel>(level));
        EXPECT_EQ(client.OpcUaGetConnectStatus(), 0);
    }
}

TEST(Start, ClientsComeAndGoBesideEachOther) {
    auto first = std::make_unique<COpcUaClientInterface>();
    auto second = std::make_unique<COpcUaClientInterface>();
    first->OpcUaInit(OpcUaTraceLevel_Errors);
    second->OpcUaInit(OpcUaTraceLevel_Everything);
    first.reset();
    second->OpcUaInit(OpcUaTraceLevel_Errors);
    auto third = std::make_unique<COpcUaClientInterface>();
    second.reset();
    EXPECT_EQ(third->OpcUaDisConnect(), 3);
}

TEST(CallBack, MayBeInstalledAgain) {
    SilentCallBack callback;
    SilentCallBack other;
    COpcUaClientInterface client;
    EXPECT_EQ(client.installOpcUaCallBack(&callback), 0);
    EXPECT_EQ(client.installOpcUaCallBack(&callback), 0);
    EXPECT_EQ(client.installOpcUaCallBack(&other), 0);
}

class Connected : public testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(client->OpcUaConnect(config), 0) << server.standardError(); }

    PlantServer server;
    _OpcUaClientConfig config = connectionTo(server.url());
    std::unique_ptr<COpcUaClientInterface> client = std::make_unique<COpcUaClientInterface>();
};

TEST_F(Connected, WithoutInit) {
    EXPECT_EQ(readServiceLevel(*client), serviceLevel);
}

TEST_F(Connected, MissingArgumentsAreRefused) {
    expectArgumentsRefused(*client);
    EXPECT_EQ(readServiceLevel(*client), serviceLevel);
}

TEST_F(Connected, AgainIsANewConnection) {
    EXPECT_EQ(client->OpcUaConnect(config), 0);
    EXPECT_EQ(client->OpcUaGetConnectStatus(), 1);
    EXPECT_EQ(readServiceLevel(*client), serviceLevel);
}

TEST_F(Connected, DisconnectsOnce) {
    EXPECT_EQ(client->OpcUaDisConnect(), 0);
    EXPECT_EQ(client->OpcUaDisConnect(), 3);
    EXPECT_EQ(errorMessage(*client), notConnectedMessage);
}

TEST_F(Connected, NothingThatNeedsASessionWorksAfterwards) {
    ASSERT_EQ(client->OpcUaDisConnect(), 0);
    expectNotConnected(*client);
    expectArgumentsRefused(*client);
}

TEST_F(Connected, AgainAfterADisconnect) {
    ASSERT_EQ(client->OpcUaDisConnect(), 0);
    ASSERT_EQ(client->OpcUaConnect(config), 0);
    EXPECT_EQ(readServiceLevel(*client), serviceLevel);
}

TEST_F(Connected, AFailedConnectLeavesNoSession) {
    server.stop();
    EXPECT_EQ(client->OpcUaConnect(config), 1);
    expectNotConnected(*client);
}

TEST_F(Connected, InitMayComeLateAndTwice) {
    client->OpcUaInit(OpcUaTraceLevel_Everything);
    client->OpcUaInit(OpcUaTraceLevel_Errors);
    EXPECT_EQ(readServiceLevel(*client), serviceLevel);
}

TEST_F(Connected, DeletedAsItIs) {
    ASSERT_EQ(client->OpcUaBrowse(nullptr), 0);
    client.reset();
    EXPECT_EQ(server.stop().text(), "exit code 0");
}

TEST_F(Connected, DeletedAfterTheServerDied) {
    server.kill(SIGKILL);
    client.reset();
}

TEST_F(Connected, DisconnectFromADeadServerSucceeds) {
    server.kill(SIGKILL);
    EXPECT_EQ(client->OpcUaDisConnect(), 0);
    EXPECT_EQ(client->OpcUaDisConnect(), 3);
}

TEST_F(Connected, TwoClientsAreIndependent) {
    COpcUaClientInterface other;
    EXPECT_EQ(readServiceLevel(other), -3);
    ASSERT_EQ(other.OpcUaConnect(config), 0);
    EXPECT_EQ(readServiceLevel(other), serviceLevel);
    ASSERT_EQ(client->OpcUaDisConnect(), 0);
    EXPECT_EQ(readServiceLevel(*client), -3);
    EXPECT_EQ(readServiceLevel(other), serviceLevel);
    EXPECT_EQ(errorMessage(*client), notConnectedMessage);
}

TEST_F(Connected, OneClientOutlivesTheOther) {
    COpcUaClientInterface other;
    ASSERT_EQ(other.OpcUaConnect(config), 0);
    client.reset();
    EXPECT_EQ(readServiceLevel(other), serviceLevel);
    EXPECT_EQ(other.OpcUaGetConnectStatus(), 1);
}

TEST_F(Connected, TreesAreTheClientsOwn) {
    COpcUaClientInterface other;
    ASSERT_EQ(other.OpcUaConnect(config), 0);
    ASSERT_EQ(client->OpcUaBrowse(nullptr), 0);
    EXPECT_EQ(other.OpcUaReadRootNode(), nullptr);
    ASSERT_EQ(other.OpcUaBrowse(nullptr), 0);
    ASSERT_NE(other.OpcUaReadRootNode(), nullptr);
    EXPECT_NE(other.OpcUaReadRootNode(), client->OpcUaReadRootNode());
}

TEST_F(Connected, ANodeIdThatIsNoneIsAnswered) {
    OpcUaNode node = serviceLevelNode();
    unsigned char value = 1;
    int size = 1;
    for (const char* text :
         {"", "nonsense", "ns=", "ns=99999999999;i=1", "i=", "g=1234", "b=%%%", "ns=2;s="}) {
        SCOPED_TRACE(text);
        std::memset(node.nodeId, 0, sizeof node.nodeId);
        std::strcpy(node.nodeId, text);
        EXPECT_EQ(client->OpcUaGetValue(&node, &value, size), 7);
        EXPECT_EQ(client->OpcUaSetValue(&node, &value, size), 8);
        EXPECT_EQ(client->OpcUaGetConnectStatus(), 1);
    }
}

TEST_F(Connected, ANodeIdWithoutTerminatorIsReadNoFurtherThanItsField) {
    OpcUaNode node = serviceLevelNode();
    std::memset(node.nodeId, 'x', sizeof node.nodeId);
    node.result = 0x78787878;
    unsigned char value = 1;
    int size = 1;
    EXPECT_EQ(client->OpcUaGetValue(&node, &value, size), 7);
    EXPECT_EQ(client->OpcUaSetValue(&node, &value, size), 8);
}

} // namespace
