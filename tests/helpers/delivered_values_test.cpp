// The helpers on what the library delivers and connects to.
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "OpcUaClientInterface.h"
#include "OpcUaHelpers.h"
#include "support/server_process.h"

namespace {

/// Keeps the latest change of each node.
class Inbox final : public COpcUaClientInterface::OpcUaCallBack {
public:
    void OpcUaDataChange(_OpcUaDataChangeMsg change) override {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_changes[OpcUaFieldText(change.nodeId)] = change;
        m_arrived.notify_all();
    }
    int OpcUaTrustServerCertificate(_OpcUaCertificateMsg) override { return OpcUaTrust_Reject; }

    _OpcUaDataChangeMsg await(const std::string& nodeId) {
        std::unique_lock<std::mutex> lock(m_mutex);
        EXPECT_TRUE(m_arrived.wait_for(lock, std::chrono::seconds(60), [&] {
            return m_changes.count(nodeId) != 0;
        })) << nodeId;
        return m_changes[nodeId];
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::map<std::string, _OpcUaDataChangeMsg> m_changes;
};

std::string rack(const std::string& name) {
    return "ns=3;s=TestRack." + name;
}

std::string digits(std::size_t length) {
    std::string text;
    while (text.size() < length)
        text += "0123456789abcdef";
    return text.substr(0, length);
}

class DeliveredValues : public testing::Test {
protected:
    DeliveredValues() {
        _OpcUaClientConfig config{};
        OpcUaSetField(config.endpointUrl, server.url());
        EXPECT_EQ(client.OpcUaConnect(config), 0);
        client.installOpcUaCallBack(&inbox);
        EXPECT_EQ(client.OpcUaCreateSubScription(50), 0);
    }
    ~DeliveredValues() override { client.OpcUaDisConnect(); }

    _OpcUaDataChangeMsg changeOf(const std::string& name) {
        OpcUaNode node = OpcUaMakeNode(rack(name), OpcUaDataType_Null);
        EXPECT_EQ(client.OpcUaAddMonitNode(&node, nullptr, 0), 0) << name;
        return inbox.await(rack(name));
    }

    test_support::PlantServer server;
    Inbox inbox;
    COpcUaClientInterface client;
};

} // namespace

TEST_F(DeliveredValues, AreShownAsWhatTheServerHolds) {
    const std::map<std::string, std::string> values{{"Boolean", "true"},
                                                    {"SByte", "-12"},
                                                    {"Byte", "200"},
                                                    {"Int16", "-1234"},
                                                    {"UInt16", "54321"},
                                                    {"Int32", "-123456789"},
                                                    {"UInt32", "4000000000"},
                                                    {"Int64", "-9000000000000000000"},
                                                    {"UInt64", "18000000000000000000"},
                                                    {"Float", "3.25"},
                                                    {"Double", "-2.718281828459045"},
                                                    {"String", "Hello"}};
    for (const auto& [type, text] : values)
        EXPECT_EQ(OpcUaChangeText(changeOf("Scalar." + type)), text) << type;
}

TEST_F(DeliveredValues, AreTextsUpToTheEndOfTheMessage) {
    std::string text;
    EXPECT_TRUE(OpcUaChangeValue(changeOf("Text.Bytes255"), text));
    EXPECT_EQ(text, digits(255));
    EXPECT_TRUE(OpcUaChangeValue(changeOf("Text.Bytes256"), text));
    EXPECT_EQ(text, digits(256));
    EXPECT_TRUE(OpcUaChangeValue(changeOf("Text.Bytes300"), text));
    EXPECT_EQ(text, digits(256));
}

TEST_F(DeliveredValues, AreOfTheTypeThatIsTold) {
    double number = 0;
    float single = 0;
    const _OpcUaDataChangeMsg change = changeOf("Scalar.Float");
    EXPECT_TRUE(OpcUaChangeValue(change, single));
    EXPECT_EQ(single, 3.25F);
    EXPECT_FALSE(OpcUaChangeValue(change, number));
    EXPECT_TRUE(OpcUaChangeNumber(change, number));
    EXPECT_EQ(number, 3.25);
}

TEST_F(DeliveredValues, ComeFromNodesThatBrowsingFinds) {
    ASSERT_EQ(client.OpcUaBrowse(nullptr), 0);
    const OpcUaNode* node = client.OpcUaReadRootNode();
    for (const char* name : {"Objects", "Plant", "Line1"}) {
        OpcUaNode* const child = OpcUaChildByName(node, name);
        ASSERT_NE(child, nullptr) << name;
        ASSERT_EQ(client.OpcUaBrowse(child), 0);
        node = child;
    }
    OpcUaNode* const speed = OpcUaChildByName(node, "2:Speed");
    ASSERT_NE(speed, nullptr);
    EXPECT_EQ(OpcUaFieldText(speed->nodeId), "ns=2;s=Line1.Speed");
    EXPECT_EQ(speed->nodeClass, OpcUaNodeClass_Variable);
    EXPECT_EQ(node->nodeClass, OpcUaNodeClass_Object);
}

TEST_F(DeliveredValues, AreRefusedByARecordOfNoNode) {
    OpcUaNode none = OpcUaMakeNode(std::string(300, 's'), OpcUaDataType_Int32);
    int value = 0;
    int size = sizeof value;
    EXPECT_EQ(client.OpcUaGetValue(&none, &value, size), 7);
    EXPECT_EQ(client.OpcUaSetValue(&none, &value, size), 8);
    EXPECT_EQ(client.OpcUaAddMonitNode(&none, nullptr, 0), 12);
    ASSERT_EQ(OpcUaChangeText(changeOf("Scalar.Int32")), "-123456789");
    EXPECT_EQ(client.OpcUaRemoveMonitNode(&none, nullptr, 0), 15) << "not the item that is there";
}

namespace {

std::string diagnostics(COpcUaClientInterface& client, const std::string& name) {
    OpcUaNode node = OpcUaMakeNode(rack("Diagnostics." + name), OpcUaDataType_String);
    char text[128] = "";
    int size = sizeof text;
    EXPECT_EQ(client.OpcUaGetValue(&node, text, size), 0) << name;
    return text;
}

} // namespace

TEST(Constants, AskForWhatTheyName) {
    const test_support::PlantServer server({"--legacy"});
    const std::map<int, std::string> policies{
        {OpcUaSecurityPolicy_Basic128Rsa15, "Basic128Rsa15"},
        {OpcUaSecurityPolicy_Basic256, "Basic256"},
        {OpcUaSecurityPolicy_Basic256Sha256, "Basic256Sha256"},
        {OpcUaSecurityPolicy_Aes128_Sha256_RsaOaep, "Aes128_Sha256_RsaOaep"},
        {OpcUaSecurityPolicy_Aes256_Sha256_RsaPss, "Aes256_Sha256_RsaPss"}};
    const std::map<int, std::string> modes{{OpcUaSecurityMode_Sign, "Sign"},
                                           {OpcUaSecurityMode_SignAndEncrypt, "SignAndEncrypt"}};
    const std::map<int, std::string> identities{{OpcUaUserIdentity_Anonymous, "Anonymous"},
                                                {OpcUaUserIdentity_UserName, "UserName"},
                                                {OpcUaUserIdentity_Certificate, "Certificate"}};
    COpcUaClientInterface client;
    _OpcUaClientConfig config{};
    OpcUaSetField(config.endpointUrl, server.url());
    OpcUaSetField(config.userName, "operator");
    OpcUaSetField(config.password, "plant");
    for (const auto& [policy, name] : policies) {
        config.securityPolicy = policy;
        config.securityMode = policy % 2 == 0 ? OpcUaSecurityMode_Sign : OpcUaSecurityMode_SignAndEncrypt;
        config.userIdentity = policy % 3;
        ASSERT_EQ(client.OpcUaConnect(config), 0) << name;
        EXPECT_EQ(client.OpcUaGetConnectStatus(), OpcUaConnectStatus_Connected);
        EXPECT_EQ(diagnostics(client, "LatestSecurityPolicy"),
                  "http://opcfoundation.org/UA/SecurityPolicy#" + name);
        EXPECT_EQ(diagnostics(client, "LatestSecurityMode"), modes.at(config.securityMode));
        EXPECT_EQ(diagnostics(client, "LatestUserType"), identities.at(config.userIdentity));
    }
    client.OpcUaDisConnect();
    EXPECT_EQ(client.OpcUaGetConnectStatus(), OpcUaConnectStatus_NotConnected);
}
