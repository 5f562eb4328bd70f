#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <utility>

#include "secured_client_test.h"
#include "uapki/certificate.h"
#include "uapki/rsa_key_pair.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

class SecuredConnection : public SecuredClientTest {
protected:
    static unsigned modeOf(const std::filesystem::path& path) {
        struct stat status{};
        EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
        return status.st_mode & 07777U;
    }
};

struct SettingRow {
    const char* name;
    int policy;
    int mode;
    int identity;
};

struct StepRow {
    const char* name;
    const char* operation; ///< null: the server has no endpoints
    int code;
};

class RefusedStep : public SecuredConnection, public ::testing::WithParamInterface<StepRow> {
public:
    using SecuredConnection::initialize;
    using SecuredConnection::loadCertificate;
    using SecuredConnection::verify;
};

class AnySecuritySetting : public SecuredConnection, public ::testing::WithParamInterface<SettingRow> {};

} // namespace

TEST_F(SecuredConnection, TakesItsStepsInOrder) {
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_THAT(steps(), ElementsAre("UaSession::UaSession", initialize, loadCertificate,
                                     "UaDiscovery::UaDiscovery", "UaDiscovery::getEndpoints", verify,
                                     "SessionSecurityInfo::setAnonymousUserIdentity", "UaSession::connect"));
}

TEST_F(SecuredConnection, AsksTheServerThatItConnectsTo) {
    setField(m_config.endpointUrl, "opc.tcp://boiler:4841");
    EXPECT_EQ(tryConnect(), 0);
    const auto queries = script().requests<standin::DiscoveryRequest>();
    ASSERT_EQ(queries.size(), 1U);
    EXPECT_EQ(queries[0].url, "opc.tcp://boiler:4841");
    EXPECT_EQ(queries[0].settings.callTimeout, 10000);
    for (const standin::Call& call : script().calls())
        if (call.operation == verify)
            EXPECT_EQ(call.object, queries[0].security) << "the session learns what was offered";
}

TEST_F(SecuredConnection, BindsTheSessionToTheFirstEndpointsCertificate) {
    EXPECT_EQ(tryConnect(), 0);
    const auto requests = script().requests<standin::ConnectRequest>();
    ASSERT_EQ(requests.size(), 1U);
    EXPECT_EQ(requests[0].serverCertificate, serverCertificate());
    EXPECT_EQ(requests[0].securityPolicyUri, "http://opcfoundation.org/UA/SecurityPolicy#Basic256Sha256");
    EXPECT_EQ(requests[0].securityMode, OpcUa_MessageSecurityMode_SignAndEncrypt);
    EXPECT_TRUE(requests[0].verifiesServerCertificate);
}

TEST_P(AnySecuritySetting, TakesTheSecurePath) {
    m_config.securityPolicy = GetParam().policy;
    m_config.securityMode = GetParam().mode;
    m_config.userIdentity = GetParam().identity;
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_THAT(script().operations(), Contains(initialize));
    EXPECT_THAT(script().operations(), Contains("UaDiscovery::getEndpoints"));
    EXPECT_THAT(script().operations(), Contains(verify));
}

INSTANTIATE_TEST_SUITE_P(
    NotZero, AnySecuritySetting,
    ::testing::Values(SettingRow{"Policy", 1, 0, 0}, SettingRow{"Mode", 0, 1, 0},
                      SettingRow{"UserName", 0, 0, 1}, SettingRow{"UserCertificate", 0, 0, 2},
                      SettingRow{"UnknownIdentity", 0, 0, 3}, SettingRow{"NegativeIdentity", 0, 0, -1},
                      SettingRow{"UnknownPolicy", 6, 0, 0}, SettingRow{"NegativePolicy", -1, 0, 0},
                      SettingRow{"NegativeMode", 0, -1, 0}),
    [](const auto& row) { return row.param.name; });

TEST_F(SecuredConnection, MakesDirectoriesCertificateAndKeyOnFirstUse) {
    EXPECT_EQ(tryConnect(), 0);
    for (const char* made : {"pkiclient/own/certs", "pkiclient/own/private", "pkiclient/trusted/certs",
                             "pkiclient/trusted/crl", "pkiclient/issuers/certs", "pkiclient/issuers/crl"}) {
        EXPECT_TRUE(std::filesystem::is_directory(directory() / made)) << made;
        EXPECT_EQ(modeOf(directory() / made), 0700U) << made;
    }
    EXPECT_FALSE(std::filesystem::exists(directory() / "pkiuser"));
    EXPECT_EQ(modeOf(clientKey()), 0600U);
    EXPECT_THAT(contentOf(clientKey()), HasSubstr("BEGIN PRIVATE KEY"));
}

TEST_F(SecuredConnection, TheNewCertificateNamesThePanel) {
    EXPECT_EQ(tryConnect(), 0);
    const UaPkiCertificate certificate =
        UaPkiCertificate::fromDERFile(UaString(clientCertificate().string()));
    ASSERT_TRUE(certificate.isValid());
    EXPECT_EQ(certificate.commonName().text(), "HMI_RK4400");
    expectOwner(certificate.subject());
    const UaPkiCertificateInfo info = certificate.info();
    EXPECT_EQ(info.uri.text(), "urn:HMI:Kestrova::RK4400");
    ASSERT_EQ(info.dnsNames.size(), 1U);
    EXPECT_EQ(info.dnsNames[0].text(), "HMI_Client");
    EXPECT_TRUE(info.ipAddresses.empty());
    EXPECT_TRUE(info.email.isEmpty());
    EXPECT_EQ(info.validTime, 157680000);
    EXPECT_TRUE(belongTogether(clientCertificate(), clientKey()));
    EXPECT_TRUE(standsForItselfAlone(clientCertificate()));
    EXPECT_EQ(bitsOf(clientKey()), 2048);
}

TEST_F(SecuredConnection, WhatCannotBeReadIsNotReplacedAndLeftToTheLoading) {
    for (const auto& [inTheWay, other] :
         {std::pair(clientCertificate(), clientKey()), std::pair(clientKey(), clientCertificate())}) {
        std::filesystem::create_directories(inTheWay); // a directory in the file's place
        EXPECT_EQ(tryConnect(), 0);
        EXPECT_TRUE(std::filesystem::is_directory(inTheWay));
        EXPECT_FALSE(std::filesystem::exists(other)) << "it would belong to nothing";
        answer(loadCertificate, badStatus);
        EXPECT_EQ(tryConnect(), 21);
        answer(loadCertificate, OpcUa_Good);
        std::filesystem::remove_all(directory() / "pkiclient");
    }
}

TEST_F(SecuredConnection, AnExistingCertificateIsKept) {
    EXPECT_EQ(tryConnect(), 0);
    const std::string certificate = contentOf(clientCertificate());
    const std::string key = contentOf(clientKey());
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_EQ(contentOf(clientCertificate()), certificate);
    EXPECT_EQ(contentOf(clientKey()), key);
}

TEST_F(SecuredConnection, AnExpiredCertificateIsKept) {
    const UaPkiRsaKeyPair keys(2048);
    UaPkiIdentity identity;
    identity.commonName = "HMI_RK4400";
    UaPkiCertificateInfo info;
    info.validTime = 86400;
    info.backdateTime = 2 * 86400;
    std::filesystem::create_directories(clientCertificate().parent_path());
    ASSERT_EQ(UaPkiCertificate(info, identity, keys.publicKey(), identity, keys.privateKey(), false,
                               UaPkiCertificate::Sha256)
                  .toDERFile(clientCertificate().c_str()),
              0);
    const std::string expired = contentOf(clientCertificate());
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_EQ(contentOf(clientCertificate()), expired);
    EXPECT_FALSE(std::filesystem::exists(clientKey()));
}

TEST_F(SecuredConnection, ACertificateWithoutItsKeyIsKept) {
    EXPECT_EQ(tryConnect(), 0);
    const std::string certificate = contentOf(clientCertificate());
    std::filesystem::remove(clientKey());
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_EQ(contentOf(clientCertificate()), certificate);
    EXPECT_FALSE(std::filesystem::exists(clientKey()));
}

TEST_F(SecuredConnection, AFileThatIsNoCertificateIsReplaced) {
    std::filesystem::create_directories(clientCertificate().parent_path());
    std::ofstream(clientCertificate()) << "no certificate";
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_TRUE(UaPkiCertificate::fromDERFile(UaString(clientCertificate().string())).isValid());
}

TEST_F(SecuredConnection, HandsTheStoreOverInTheOrderOfTheSdk) {
    EXPECT_EQ(tryConnect(), 0);
    const std::string base = directory().string() + "/pkiclient/";
    EXPECT_EQ(argumentsOf(initialize), base + "trusted/crl/|" + base + "trusted/certs/|" + base +
                                           "issuers/crl/|" + base + "issuers/certs/");
    EXPECT_EQ(argumentsOf(loadCertificate), clientCertificate().string() + "|" + clientKey().string() + "|");
}

TEST_F(SecuredConnection, AStoreThatCannotBeSetUpGivesTwenty) {
    answer(initialize, badStatus);
    EXPECT_EQ(tryConnect(), 20);
    EXPECT_EQ(message(), messages::clientCertificateFailed);
    EXPECT_THAT(script().operations(), Not(Contains(loadCertificate)));
    EXPECT_THAT(script().operations(), Not(Contains("UaDiscovery::getEndpoints")));
    expectNoSession();
}

TEST_F(SecuredConnection, ACertificateThatCannotBeLoadedGivesTwentyOne) {
    answer(loadCertificate, badStatus);
    EXPECT_EQ(tryConnect(), 21);
    EXPECT_EQ(message(), messages::clientCertificateFailed);
    EXPECT_THAT(script().operations(), Not(Contains("UaDiscovery::getEndpoints")));
    expectNoSession();
}

TEST_F(SecuredConnection, UncertainIsGoodEnoughForStoreAndCertificate) {
    for (const char* operation : {initialize, loadCertificate, verify}) {
        answer(operation, uncertainStatus);
        EXPECT_EQ(tryConnect(), 0) << operation;
    }
}

TEST_F(SecuredConnection, AFailedEndpointQueryGivesNineteenAndKeepsTheMessage) {
    const auto answerEndpoints = script().onGetEndpoints;
    for (const OpcUa_StatusCode status : {badStatus, uncertainStatus, bothBitsStatus}) {
        storeEarlierMessage();
        script().onGetEndpoints = [&](const standin::DiscoveryRequest& request,
                                      UaEndpointDescriptions& endpoints) {
            answerEndpoints(request, endpoints);
            return UaStatus(status);
        };
        EXPECT_EQ(tryConnect(), 19);
        EXPECT_EQ(message(), earlierMessage);
        EXPECT_THAT(script().operations(), Not(Contains(verify)));
        EXPECT_THAT(script().operations(), Not(Contains("UaSession::connect")));
        expectNoSession();
    }
}

TEST_F(SecuredConnection, AServerWithoutEndpointsGivesNineteen) {
    script().onGetEndpoints = nullptr;
    EXPECT_EQ(tryConnect(), 19);
    expectNoSession();
}

TEST_F(SecuredConnection, ARefusedSessionGivesOne) {
    script().onConnect = [](const standin::ConnectRequest&) { return UaStatus(badStatus); };
    EXPECT_EQ(tryConnect(), 1);
    EXPECT_EQ(message(), messages::connectFailed);
    expectNoSession();
}

TEST_P(RefusedStep, EndsTheSessionThatThereWas) {
    Application application; // trusts nobody
    EXPECT_EQ(m_client->installOpcUaCallBack(&application), 0);
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_EQ(m_client->OpcUaCreateSubScription(100), 0);
    script().forgetCalls();
    if (GetParam().operation != nullptr)
        answer(GetParam().operation, badStatus);
    else
        script().onGetEndpoints = nullptr;
    EXPECT_EQ(tryConnect(), GetParam().code);
    EXPECT_EQ(steps().front(), "UaSession::disconnect");
    EXPECT_EQ(m_client->OpcUaDeleteSubScription(), 3);
    expectNoSession();
}

INSTANTIATE_TEST_SUITE_P(All, RefusedStep,
                         ::testing::Values(StepRow{"Endpoints", nullptr, 19},
                                           StepRow{"Store", RefusedStep::initialize, 20},
                                           StepRow{"OwnCertificate", RefusedStep::loadCertificate, 21},
                                           StepRow{"Trust", RefusedStep::verify, 23}),
                         [](const auto& row) { return row.param.name; });

TEST_F(SecuredConnection, HoldsTheClientMutexThroughout) {
    EXPECT_EQ(tryConnect(), 0);
    for (const standin::Call& call : script().calls())
        EXPECT_THAT(call.surroundings.heldMutexes, ElementsAre(mutex_watch::clientMutex)) << call.operation;
}
