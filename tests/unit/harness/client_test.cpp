#include "client_test.h"

#include <cstring>
#include <memory>
#include <string>

namespace {

standin::Surroundings observe() {
    return {mutex_watch::held(), record_census::live()};
}

} // namespace

StandInTest::StandInTest() {
    mutex_watch::reset();
    platform_recorder::reset();
    script().reset();
    script().probe = observe;
}

StandInTest::~StandInTest() {
    EXPECT_EQ(mutex_watch::alive(), 0) << "a mutex was not destroyed";
    EXPECT_EQ(record_census::live(), 0) << "a node record was not freed";
    EXPECT_THAT(mutex_watch::held(), ::testing::IsEmpty()) << "a mutex was left locked";
}

ClientTest::ClientTest() : m_client(std::make_unique<COpcUaClientInterface>()) {
    script().forgetCalls();
}

ClientTest::~ClientTest() {
    m_client.reset();
}

void ClientTest::connect() {
    _OpcUaClientConfig config = makeConfig();
    ASSERT_EQ(m_client->OpcUaConnect(config), 0);
    script().forgetCalls();
    mutex_watch::forgetLocks();
}

std::string ClientTest::message() {
    char text[256];
    std::memset(text, 'x', sizeof(text));
    m_client->GetErrorMsg(text, sizeof(text));
    EXPECT_NE(std::memchr(text, 0, sizeof(text)), nullptr);
    return fieldText(text);
}

void ClientTest::storeEarlierMessage() {
    EXPECT_EQ(m_client->installOpcUaCallBack(nullptr), 29);
}

OpcUaNode makeNode(const std::string& nodeId, int dataType) {
    OpcUaNode node = {};
    node.dataType = static_cast<_OpcUaDataType>(dataType);
    setField(node.nodeId, nodeId);
    return node;
}

_OpcUaClientConfig makeConfig(const std::string& url) {
    _OpcUaClientConfig config = {};
    setField(config.endpointUrl, url);
    return config;
}
