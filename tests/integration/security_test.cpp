#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "secured_client_fixture.h"
#include "security_matrix.h"
#include "support/temporary_directory.h"

namespace {

namespace fs = std::filesystem;

class Security : public SecuredClientTest {
protected:
    void expectReadsAndWrites() {
        const std::string id = "ns=3;s=TestRack.Scalar.Int32";
        EXPECT_EQ(write<int>(id, OpcUaDataType_Int32, 4711), 0);
        EXPECT_EQ(read<int>(id, OpcUaDataType_Int32), 4711);
    }

    int tryCell(const SecurityCell& cell) {
        const int code = secureConnect({cell.policy, cell.mode, cell.identity});
        if (code == 0) {
            EXPECT_EQ(client.OpcUaGetConnectStatus(), connected);
            expectReadsAndWrites();
            EXPECT_EQ(diagnostics("CurrentSessions"), 1UL);
            EXPECT_EQ(client.OpcUaDisConnect(), 0);
        } else {
            EXPECT_EQ(client.OpcUaGetConnectStatus(), 0);
        }
        return code;
    }

    const SecurityChoice wrongPassword{SecurityChoice::basic256Sha256, SecurityChoice::signAndEncrypt,
                                       SecurityChoice::byPassword, "wrong"};
};

TEST_F(Security, EveryPolicyModeAndIdentityConnectsReadsAndWrites) {
    startServer({"--security", "--legacy"});
    walkSecurityMatrix(
        "plant server with --legacy", [](const SecurityCell&) { return std::string(); },
        [this](const SecurityCell& cell) { return tryCell(cell); });
}

TEST_F(Security, WithoutTheOldPoliciesTheirCellsAreRefused) {
    startServer({"--security"});
    walkSecurityMatrix(
        "plant server",
        [](const SecurityCell& cell) {
            return std::string(
                cell.policy == 1 || cell.policy == 2 ? "offers the old policies with --legacy alone" : "");
        },
        [this](const SecurityCell& cell) { return tryCell(cell); });
}

TEST_F(Security, APasswordCrossesAnUnsecuredChannelEncrypted) {
    startServer({"--security"});
    ASSERT_EQ(secureConnect({0, 0, SecurityChoice::byPassword}), 0);
    expectReadsAndWrites();
}

TEST_F(Security, AWrongPasswordFailsAndLeavesNoSession) {
    startServer({"--security"});
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(secureConnect(wrongPassword), 1);
        EXPECT_EQ(errorText(), "连接服务器失败");
    }
    ASSERT_EQ(secureConnect({SecurityChoice::basic256Sha256, SecurityChoice::signAndEncrypt,
                             SecurityChoice::byPassword}),
              0);
    EXPECT_TRUE(waitUntil([this] { return diagnostics("CurrentSessions") == 1; }));
    EXPECT_TRUE(waitUntil([this] { return diagnostics("CurrentChannels") == 1; }));
}

TEST_F(Security, WhatTheServerDoesNotOfferIsNotReplacedByAnythingElse) {
    startServer({"--security"});
    EXPECT_EQ(secureConnect({1, SecurityChoice::signAndEncrypt}), 1); // an old policy
    EXPECT_EQ(secureConnect({SecurityChoice::basic256Sha256, 0}), 1); // a policy without its mode
    EXPECT_EQ(secureConnect({0, SecurityChoice::signAndEncrypt}), 1); // a mode without its policy
    EXPECT_EQ(client.OpcUaGetConnectStatus(), 0);
}

TEST_F(Security, ARejectedCertificateEndsTheConnect) {
    startServer({"--security"});
    Operator rejecting(Operator::reject);
    ASSERT_EQ(client.installOpcUaCallBack(&rejecting), 0);
    EXPECT_EQ(secureConnect(), 23);
    EXPECT_EQ(errorText(), "检查服务器证书是否信任时出错");
    EXPECT_EQ(rejecting.asked, 1);
    EXPECT_EQ(rejecting.last.applicationUri, "urn:kestrova:plant-server");
    EXPECT_EQ(rejecting.last.thumbprint.size(), 40U);
}

TEST_F(Security, AcceptedOnceIsAskedAgain) {
    startServer({"--security"});
    Operator accepting(Operator::once);
    ASSERT_EQ(client.installOpcUaCallBack(&accepting), 0);
    EXPECT_EQ(secureConnect(), 0);
    EXPECT_EQ(secureConnect(), 0);
    EXPECT_EQ(accepting.asked, 2);
    EXPECT_TRUE(std::filesystem::is_empty(trustList()));
}

TEST_F(Security, TrustedPermanentlyIsFoundByTheNextClient) {
    startServer({"--security"});
    Operator trusting(Operator::always);
    ASSERT_EQ(client.installOpcUaCallBack(&trusting), 0);
    ASSERT_EQ(secureConnect(), 0);
    EXPECT_EQ(trusting.asked, 1);
    EXPECT_TRUE(std::filesystem::exists(trustList() / (trusting.last.thumbprint + ".der")));
    COpcUaClientInterface next;
    ASSERT_EQ(next.installOpcUaCallBack(&trusting), 0);
    EXPECT_EQ(secureConnect(next, {}), 0);
    EXPECT_EQ(trusting.asked, 1);
}

TEST_F(Security, NoPasswordAndNoKeyReachesTheTraceOrTheMessage) {
    startServer({"--security"});
    startTrace(7);
    for (const SecurityChoice& choice :
         {SecurityChoice{3, 2, SecurityChoice::byPassword, "s3cret-of-the-plant"},
          SecurityChoice{0, 0, SecurityChoice::byPassword, "s3cret-of-the-plant"}}) {
        EXPECT_EQ(secureConnect(choice), 1);
        EXPECT_EQ(errorText(), "连接服务器失败");
    }
    EXPECT_EQ(secureConnect({3, 2, SecurityChoice::byCertificate, "s3cret-of-the-plant"}), 0);
    // A line of the key's own text is what a dump of it would show, whatever surrounds it.
    std::vector<std::string> secrets{"s3cret-of-the-plant", "PRIVATE KEY"};
    for (const std::filesystem::path& key : {clientKey(), userKey()}) {
        std::istringstream lines(contentOf(key));
        for (std::string line; std::getline(lines, line);)
            if (line.size() >= 16) // the last one may be so short that it stands anywhere
                secrets.push_back(line);
    }
    EXPECT_GT(secrets.size(), 40U);
    const std::string text = trace();
    EXPECT_GT(text.size(), 1000U);
    for (const std::string& secret : secrets)
        EXPECT_EQ(text.find(secret), std::string::npos) << secret;
}

TEST_F(Security, AnUnreachableServerGivesNineteen) {
    const std::string url = startServer({"--security"}).url();
    stopServer();
    _OpcUaClientConfig config = configFor(url);
    config.timeout = 2000;
    config.securityPolicy = SecurityChoice::basic256Sha256;
    config.securityMode = SecurityChoice::signAndEncrypt;
    EXPECT_EQ(client.OpcUaConnect(config), 19);
    EXPECT_EQ(errorText(), "");
}

/// The variable for as long as it lives.
class NamedDirectory {
public:
    explicit NamedDirectory(const fs::path& directory) {
        setenv("OPCUACLIENT_DIRECTORY", directory.c_str(), 1);
    }
    ~NamedDirectory() { unsetenv("OPCUACLIENT_DIRECTORY"); }
    NamedDirectory(const NamedDirectory&) = delete;
    NamedDirectory& operator=(const NamedDirectory&) = delete;
};

TEST_F(Security, ANamedDirectoryStandsForTheExecutables) {
    startServer({"--security"});
    const test_support::TemporaryDirectory place;
    const fs::path& named = place.path();
    std::ofstream(named / "OpcUaClientConfig.ini")
        << "[UaClientConfig]\nClientCertificate=[ConfigPath]/panel.der\n";
    const auto before = namesIn(directory());
    {
        const NamedDirectory variable(named);
        EXPECT_EQ(client.OpcUaInit(OpcUaTraceLevel_Everything), 0);
        EXPECT_EQ(secureConnect(), 0);
    }
    EXPECT_EQ(client.OpcUaDisConnect(), 0);
    for (const char* file : {"OpcUaClient.log", "panel.der", "pkiclient/own/private/HMIClient.pem"})
        EXPECT_TRUE(fs::is_regular_file(named / file)) << file;
    EXPECT_EQ(namesIn(named / "pkiclient/trusted/certs").size(), 1U);
    EXPECT_EQ(namesIn(directory()), before);
    EXPECT_EQ(secureConnect(), 0);
    EXPECT_TRUE(fs::exists(clientCertificate())) << "unset, nothing has changed";
}

} // namespace
