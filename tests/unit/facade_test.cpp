#include <cstring>
#include <memory>

#include "client_test.h"

using ::testing::_;
using ::testing::Ref;
using ::testing::Return;
using ::testing::StrictMock;

namespace {

class ImplementationMock : public COpcUaClientImp {
public:
    ~ImplementationMock() override { destroyed(); }

    MOCK_METHOD(void, destroyed, ());
    MOCK_METHOD(int, OpcUaInit, (_OpcUaClientTraceLevel), (override));
    MOCK_METHOD(int, OpcUaDiscover, (char*, _OpcUa_ServerConfigMsg&), (override));
    MOCK_METHOD(int, OpcUaConnect, (_OpcUaClientConfig&), (override));
    MOCK_METHOD(int, OpcUaDisConnect, (), (override));
    MOCK_METHOD(int, OpcUaBrowse, (OpcUaNode*), (override));
    MOCK_METHOD(int, OpcUaGetValue, (OpcUaNode*, void*, int&), (override));
    MOCK_METHOD(int, OpcUaSetValue, (OpcUaNode*, const void*, int&), (override));
    MOCK_METHOD(int, OpcUaCreateSubScription, (double), (override));
    MOCK_METHOD(int, OpcUaDeleteSubScription, (), (override));
    MOCK_METHOD(int, OpcUaAddMonitNode, (OpcUaNode*, unsigned long*, int), (override));
    MOCK_METHOD(int, OpcUaRemoveMonitNode, (OpcUaNode*, unsigned long*, int), (override));
    MOCK_METHOD(int, OpcUaClearMonitNode, (), (override));
    MOCK_METHOD(OpcUaNode*, OpcUaReadRootNode, (), (override));
    MOCK_METHOD(OpcUaNode*, OpcUaGetUaNode, (const char*, _OpcUaDataType), (override));
    MOCK_METHOD(int, OpcUaGetConnectStatus, (), (override));
    MOCK_METHOD(char*, GetErrorMsg, (char*, int), (override));
    MOCK_METHOD(int, installOpcUaCallBack, (void*), (override));
    MOCK_METHOD(void, installClient, (void*), (override));
    MOCK_METHOD(int, OpcUaGetArrayValue, (OpcUaNode*, unsigned long*, int, void*, int&), (override));
    MOCK_METHOD(int, OpcUaSetArrayValue, (OpcUaNode*, unsigned long*, int, const void*, int&), (override));
    MOCK_METHOD(int, OpcUaGetMultiValue, (OpcUa_ReadNode*, int), (override));
    MOCK_METHOD(int, OpcUaSetMultiValue, (OpcUa_WriteNode*, int), (override));
    MOCK_METHOD(int, OpcUaAddMultiMonitNode, (OpcUaNode*, int), (override));
};

/// A facade is a virtual table pointer and the pointer to its implementation.
constexpr std::size_t implementationOffset = sizeof(void*);
static_assert(sizeof(COpcUaClientInterface) == 2 * sizeof(void*), "the facade's layout is fixed");

COpcUaClientImp* exchangeImplementation(COpcUaClientInterface& facade, COpcUaClientImp* implementation) {
    unsigned char* slot = reinterpret_cast<unsigned char*>(&facade) + implementationOffset;
    COpcUaClientImp* previous;
    std::memcpy(&previous, slot, sizeof(previous));
    std::memcpy(slot, &implementation, sizeof(implementation));
    return previous;
}

/// A facade over a mock, in place of the client that its constructor made.
class Facade : public StandInTest {
protected:
    Facade() : m_mock(new StrictMock<ImplementationMock>) { delete exchangeImplementation(m_facade, m_mock); }

    ~Facade() override {
        if (m_mock != nullptr)
            EXPECT_CALL(*m_mock, destroyed());
    }

    COpcUaClientInterface m_facade;
    StrictMock<ImplementationMock>* m_mock;
    OpcUaNode m_node = {};
    unsigned long m_index[2] = {1, 2};
    int m_size = 17;
};

} // namespace

TEST_F(Facade, ForwardsInit) {
    EXPECT_CALL(*m_mock, OpcUaInit(static_cast<_OpcUaClientTraceLevel>(8))).WillOnce(Return(41));
    EXPECT_EQ(m_facade.OpcUaInit(static_cast<_OpcUaClientTraceLevel>(8)), 41);
}

TEST_F(Facade, ForwardsDiscover) {
    auto result = std::make_unique<_OpcUa_ServerConfigMsg>();
    char url[] = "opc.tcp://plant:4840";
    EXPECT_CALL(*m_mock, OpcUaDiscover(url, Ref(*result))).WillOnce(Return(42));
    EXPECT_EQ(m_facade.OpcUaDiscover(url, *result), 42);
}

TEST_F(Facade, ForwardsConnect) {
    _OpcUaClientConfig config = makeConfig();
    EXPECT_CALL(*m_mock, OpcUaConnect(Ref(config))).WillOnce(Return(43));
    EXPECT_EQ(m_facade.OpcUaConnect(config), 43);
}

TEST_F(Facade, ForwardsDisconnect) {
    EXPECT_CALL(*m_mock, OpcUaDisConnect()).WillOnce(Return(44));
    EXPECT_EQ(m_facade.OpcUaDisConnect(), 44);
}

TEST_F(Facade, ForwardsBrowse) {
    EXPECT_CALL(*m_mock, OpcUaBrowse(&m_node)).WillOnce(Return(45));
    EXPECT_EQ(m_facade.OpcUaBrowse(&m_node), 45);
}

TEST_F(Facade, ForwardsNullNodeOfBrowse) {
    EXPECT_CALL(*m_mock, OpcUaBrowse(nullptr)).WillOnce(Return(0));
    EXPECT_EQ(m_facade.OpcUaBrowse(nullptr), 0);
}

TEST_F(Facade, ForwardsGetValueWithTheCallersSize) {
    char buffer[8];
    EXPECT_CALL(*m_mock, OpcUaGetValue(&m_node, buffer, Ref(m_size)))
        .WillOnce([](OpcUaNode*, void*, int& size) {
            size = 4;
            return 46;
        });
    EXPECT_EQ(m_facade.OpcUaGetValue(&m_node, buffer, m_size), 46);
    EXPECT_EQ(m_size, 4);
}

TEST_F(Facade, ForwardsSetValueWithTheCallersSize) {
    const char buffer[8] = {};
    EXPECT_CALL(*m_mock, OpcUaSetValue(&m_node, buffer, Ref(m_size)))
        .WillOnce([](OpcUaNode*, const void*, int& size) {
            size = 4;
            return 47;
        });
    EXPECT_EQ(m_facade.OpcUaSetValue(&m_node, buffer, m_size), 47);
    EXPECT_EQ(m_size, 4);
}

TEST_F(Facade, ForwardsCreateSubscription) {
    EXPECT_CALL(*m_mock, OpcUaCreateSubScription(250.5)).WillOnce(Return(48));
    EXPECT_EQ(m_facade.OpcUaCreateSubScription(250.5), 48);
}

TEST_F(Facade, ForwardsDeleteSubscription) {
    EXPECT_CALL(*m_mock, OpcUaDeleteSubScription()).WillOnce(Return(49));
    EXPECT_EQ(m_facade.OpcUaDeleteSubScription(), 49);
}

TEST_F(Facade, ForwardsAddMonitoredNode) {
    EXPECT_CALL(*m_mock, OpcUaAddMonitNode(&m_node, m_index, -1)).WillOnce(Return(50));
    EXPECT_EQ(m_facade.OpcUaAddMonitNode(&m_node, m_index, -1), 50);
}

TEST_F(Facade, ForwardsRemoveMonitoredNode) {
    EXPECT_CALL(*m_mock, OpcUaRemoveMonitNode(&m_node, m_index, 2)).WillOnce(Return(51));
    EXPECT_EQ(m_facade.OpcUaRemoveMonitNode(&m_node, m_index, 2), 51);
}

TEST_F(Facade, ForwardsClearMonitoredNodes) {
    EXPECT_CALL(*m_mock, OpcUaClearMonitNode()).WillOnce(Return(52));
    EXPECT_EQ(m_facade.OpcUaClearMonitNode(), 52);
}

TEST_F(Facade, ForwardsReadRootNode) {
    EXPECT_CALL(*m_mock, OpcUaReadRootNode()).WillOnce(Return(&m_node));
    EXPECT_EQ(m_facade.OpcUaReadRootNode(), &m_node);
}

TEST_F(Facade, ForwardsNodeLookup) {
    const char id[] = "ns=2;s=Line1.Speed";
    EXPECT_CALL(*m_mock, OpcUaGetUaNode(id, OpcUaDataType_Double)).WillOnce(Return(&m_node));
    EXPECT_EQ(m_facade.OpcUaGetUaNode(id, OpcUaDataType_Double), &m_node);
}

TEST_F(Facade, ForwardsConnectStatus) {
    EXPECT_CALL(*m_mock, OpcUaGetConnectStatus()).WillOnce(Return(5));
    EXPECT_EQ(m_facade.OpcUaGetConnectStatus(), 5);
}

TEST_F(Facade, ForwardsErrorMessage) {
    char buffer[4];
    EXPECT_CALL(*m_mock, GetErrorMsg(buffer, -3)).WillOnce(Return(buffer + 1));
    EXPECT_EQ(m_facade.GetErrorMsg(buffer, -3), buffer + 1);
}

TEST_F(Facade, HandsTheCallbackOnAsAnUntypedPointer) {
    Application application;
    EXPECT_CALL(*m_mock, installOpcUaCallBack(static_cast<void*>(&application))).WillOnce(Return(53));
    EXPECT_EQ(m_facade.installOpcUaCallBack(&application), 53);
}

TEST_F(Facade, HandsANullCallbackOn) {
    EXPECT_CALL(*m_mock, installOpcUaCallBack(nullptr)).WillOnce(Return(29));
    EXPECT_EQ(m_facade.installOpcUaCallBack(nullptr), 29);
}

TEST_F(Facade, ForwardsGetArrayValue) {
    char buffer[8];
    EXPECT_CALL(*m_mock, OpcUaGetArrayValue(&m_node, m_index, 2, buffer, Ref(m_size))).WillOnce(Return(54));
    EXPECT_EQ(m_facade.OpcUaGetArrayValue(&m_node, m_index, 2, buffer, m_size), 54);
}

TEST_F(Facade, ForwardsSetArrayValue) {
    const char buffer[8] = {};
    EXPECT_CALL(*m_mock, OpcUaSetArrayValue(&m_node, m_index, 2, buffer, Ref(m_size))).WillOnce(Return(55));
    EXPECT_EQ(m_facade.OpcUaSetArrayValue(&m_node, m_index, 2, buffer, m_size), 55);
}

TEST_F(Facade, ForwardsGetMultiValue) {
    OpcUa_ReadNode nodes[2] = {};
    EXPECT_CALL(*m_mock, OpcUaGetMultiValue(nodes, 2)).WillOnce(Return(56));
    EXPECT_EQ(m_facade.OpcUaGetMultiValue(nodes, 2), 56);
}

TEST_F(Facade, ForwardsSetMultiValue) {
    OpcUa_WriteNode nodes[2] = {};
    EXPECT_CALL(*m_mock, OpcUaSetMultiValue(nodes, 2)).WillOnce(Return(57));
    EXPECT_EQ(m_facade.OpcUaSetMultiValue(nodes, 2), 57);
}

TEST_F(Facade, ForwardsAddMultipleMonitoredNodes) {
    EXPECT_CALL(*m_mock, OpcUaAddMultiMonitNode(&m_node, 1)).WillOnce(Return(58));
    EXPECT_EQ(m_facade.OpcUaAddMultiMonitNode(&m_node, 1), 58);
}

TEST_F(Facade, DestroysItsImplementation) {
    auto facade = std::make_unique<COpcUaClientInterface>();
    auto* mock = new StrictMock<ImplementationMock>;
    delete exchangeImplementation(*facade, mock);
    EXPECT_CALL(*mock, destroyed());
    facade.reset();
}

TEST_F(Facade, WithoutImplementationOnlyRefusesTheCallback) {
    Application application;
    EXPECT_CALL(*m_mock, destroyed());
    delete exchangeImplementation(m_facade, nullptr);
    m_mock = nullptr;
    script().forgetCalls();
    EXPECT_EQ(m_facade.installOpcUaCallBack(&application), 17);
    EXPECT_EQ(m_facade.installOpcUaCallBack(nullptr), 17);
    EXPECT_THAT(script().operations(), ::testing::IsEmpty());
}

using FreshFacade = ClientTest;

TEST_F(FreshFacade, AnswersBeforeInitAndConnect) {
    EXPECT_EQ(m_client->OpcUaGetConnectStatus(), 0);
    EXPECT_EQ(m_client->OpcUaReadRootNode(), nullptr);
    EXPECT_EQ(message(), "");
}

TEST_F(FreshFacade, RefusesANullCallbackLikeItsImplementation) {
    EXPECT_EQ(m_client->installOpcUaCallBack(nullptr), 29);
    EXPECT_EQ(message(), messages::invalidArgument);
}

TEST_F(FreshFacade, ReachesTheServerWithEveryArgumentInPlace) {
    connect();
    OpcUaNode node = makeNode("ns=2;s=Line1.Speed", OpcUaDataType_Double);
    script().onRead = answerValue(doubleVariant(1.5));
    double value = 0;
    int size = 0;
    EXPECT_EQ(m_client->OpcUaGetValue(&node, &value, size), 0);
    EXPECT_EQ(value, 1.5);
    EXPECT_EQ(size, 8);
    EXPECT_EQ(m_client->OpcUaSetValue(&node, &value, size), 0);
    EXPECT_EQ(script().requests<standin::ReadRequest>().at(0).items.at(0).nodeId, "ns=2;s=Line1.Speed");
    EXPECT_EQ(script().requests<standin::WriteRequest>().at(0).items.at(0).nodeId, "ns=2;s=Line1.Speed");
}

TEST_F(FreshFacade, DestroyedWhileConnectedDisconnects) {
    connect();
    m_client.reset();
    EXPECT_THAT(script().operations(),
                ::testing::IsSupersetOf({"UaSession::disconnect", "UaSession::~UaSession"}));
}
