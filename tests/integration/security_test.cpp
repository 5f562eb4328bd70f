#include "client_fixture.h"

#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

constexpr int signOnly = 1;
constexpr int signAndEncrypt = 2;
constexpr int basic256Sha256 = 3;

const char* const policyNames[] = {"None",           "Basic128Rsa15",         "Basic256",
                                   "Basic256Sha256", "Aes128_Sha256_RsaOaep", "Aes256_Sha256_RsaPss"};

/// Decides as the case says and counts how often it was asked.
class Operator final : public COpcUaClientInterface::OpcUaCallBack {
public:
    explicit Operator(int answer) : m_answer(answer) {}
    void OpcUaDataChange(_OpcUaDataChangeMsg) override {}
    int OpcUaTrustServerCertificate(_OpcUaCertificateMsg certificate) override {
        ++asked;
        last = certificate;
        return m_answer;
    }

    int asked = 0;
    _OpcUaCertificateMsg last;

private:
    int m_answer;
};

class Security : public ClientTest {
protected:
    /// The store lies beside the program; cases that run in one program must not inherit it.
    Security() {
        std::filesystem::remove_all(directory() / "pkiclient");
        std::filesystem::remove_all(directory() / "pkiuser");
    }

    static std::filesystem::path directory() {
        return std::filesystem::read_symlink("/proc/self/exe").parent_path();
    }

    int secureConnect(COpcUaClientInterface& with, int policy, int mode, int identity = 0,
                      const std::string& password = "plant") {
        _OpcUaClientConfig config = configFor(server().url());
        config.timeout = 20000;
        config.securityPolicy = policy;
        config.securityMode = mode;
        config.userIdentity = identity;
        setField(config.userName, "operator");
        setField(config.password, password);
        return with.OpcUaConnect(config);
    }

    void expectReadsAndWrites() {
        const std::string id = "ns=3;s=TestRack.Scalar.Int32";
        EXPECT_EQ(write<int>(id, OpcUaDataType_Int32, 4711), 0);
        EXPECT_EQ(read<int>(id, OpcUaDataType_Int32), 4711);
    }
};

struct ChannelRow {
    int policy;
    int mode;
};

class SecureChannel : public Security, public testing::WithParamInterface<ChannelRow> {};

TEST_P(SecureChannel, ServesEveryIdentity) {
    startServer({"--security", "--legacy"});
    for (int identity = 0; identity <= 2; ++identity) {
        ASSERT_EQ(secureConnect(client, GetParam().policy, GetParam().mode, identity), 0)
            << "identity " << identity;
        EXPECT_EQ(client.OpcUaGetConnectStatus(), connected);
        expectReadsAndWrites();
        EXPECT_EQ(diagnostics("CurrentSessions"), 1UL);
    }
}

INSTANTIATE_TEST_SUITE_P(Matrix, SecureChannel,
                         testing::Values(ChannelRow{1, signOnly}, ChannelRow{1, signAndEncrypt},
                                         ChannelRow{2, signOnly}, ChannelRow{2, signAndEncrypt},
                                         ChannelRow{3, signOnly}, ChannelRow{3, signAndEncrypt},
                                         ChannelRow{4, signOnly}, ChannelRow{4, signAndEncrypt},
                                         ChannelRow{5, signOnly}, ChannelRow{5, signAndEncrypt}),
                         [](const auto& row) {
                             return std::string(policyNames[row.param.policy]) +
                                    (row.param.mode == signOnly ? "_Sign" : "_SignAndEncrypt");
                         });

TEST_F(Security, APasswordCrossesAnUnsecuredChannelEncrypted) {
    startServer({"--security"});
    ASSERT_EQ(secureConnect(client, 0, 0, 1), 0);
    expectReadsAndWrites();
}

TEST_F(Security, AWrongPasswordFailsAndLeavesNoSession) {
    startServer({"--security"});
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(secureConnect(client, basic256Sha256, signAndEncrypt, 1, "wrong"), 1);
        EXPECT_EQ(errorText(), "连接服务器失败");
    }
    ASSERT_EQ(secureConnect(client, basic256Sha256, signAndEncrypt, 1), 0);
    EXPECT_TRUE(waitUntil([this] { return diagnostics("CurrentSessions") == 1; }));
    EXPECT_TRUE(waitUntil([this] { return diagnostics("CurrentChannels") == 1; }));
}

TEST_F(Security, WhatTheServerDoesNotOfferIsNotReplacedByAnythingElse) {
    startServer({"--security"});
    EXPECT_EQ(secureConnect(client, 1, signAndEncrypt), 1); // an old policy
    EXPECT_EQ(secureConnect(client, basic256Sha256, 0), 1); // a policy without its mode
    EXPECT_EQ(secureConnect(client, 0, signAndEncrypt), 1); // a mode without its policy
    EXPECT_EQ(client.OpcUaGetConnectStatus(), 0);
}

TEST_F(Security, ARejectedCertificateEndsTheConnect) {
    startServer({"--security"});
    Operator rejecting(2);
    ASSERT_EQ(client.installOpcUaCallBack(&rejecting), 0);
    EXPECT_EQ(secureConnect(client, basic256Sha256, signAndEncrypt), 23);
    EXPECT_EQ(errorText(), "检查服务器证书是否信任时出错");
    EXPECT_EQ(rejecting.asked, 1);
    EXPECT_EQ(rejecting.last.applicationUri, "urn:kestrova:plant-server");
    EXPECT_EQ(rejecting.last.thumbprint.size(), 40U);
}

TEST_F(Security, AcceptedOnceIsAskedAgain) {
    startServer({"--security"});
    Operator accepting(0);
    ASSERT_EQ(client.installOpcUaCallBack(&accepting), 0);
    EXPECT_EQ(secureConnect(client, basic256Sha256, signAndEncrypt), 0);
    EXPECT_EQ(secureConnect(client, basic256Sha256, signAndEncrypt), 0);
    EXPECT_EQ(accepting.asked, 2);
    EXPECT_TRUE(std::filesystem::is_empty(directory() / "pkiclient/trusted/certs"));
}

TEST_F(Security, TrustedPermanentlyIsFoundByTheNextClient) {
    startServer({"--security"});
    Operator trusting(1);
    ASSERT_EQ(client.installOpcUaCallBack(&trusting), 0);
    ASSERT_EQ(secureConnect(client, basic256Sha256, signAndEncrypt), 0);
    EXPECT_EQ(trusting.asked, 1);
    EXPECT_TRUE(std::filesystem::exists(directory() / "pkiclient/trusted/certs" /
                                        (trusting.last.thumbprint + ".der")));
    COpcUaClientInterface next;
    ASSERT_EQ(next.installOpcUaCallBack(&trusting), 0);
    EXPECT_EQ(secureConnect(next, basic256Sha256, signAndEncrypt), 0);
    EXPECT_EQ(trusting.asked, 1);
}

TEST_F(Security, NoPasswordReachesTheTrace) {
    startServer({"--security"});
    ASSERT_EQ(client.OpcUaInit(OpcUaTraceLevel_Everything), 0);
    EXPECT_EQ(secureConnect(client, basic256Sha256, signAndEncrypt, 1, "s3cret-of-the-plant"), 1);
    EXPECT_EQ(secureConnect(client, 0, 0, 1, "s3cret-of-the-plant"), 1);
    std::ifstream file(directory() / "OpcUaClient.log");
    std::ostringstream text;
    text << file.rdbuf();
    EXPECT_GT(text.str().size(), 1000U);
    EXPECT_EQ(text.str().find("s3cret-of-the-plant"), std::string::npos);
}

TEST_F(Security, AnUnreachableServerGivesNineteen) {
    const std::string url = startServer({"--security"}).url();
    stopServer();
    _OpcUaClientConfig config = configFor(url);
    config.timeout = 2000;
    config.securityPolicy = basic256Sha256;
    config.securityMode = signAndEncrypt;
    EXPECT_EQ(client.OpcUaConnect(config), 19);
    EXPECT_EQ(errorText(), "");
}

} // namespace
