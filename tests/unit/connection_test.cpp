#include <climits>
#include <cstring>
#include <stdexcept>
#include <utility>
#include <vector>

#include "client/opcua_client.h"
#include "client_test.h"

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::Not;

namespace {

class Connect : public ClientTest {
protected:
    int tryConnect() { return m_client->OpcUaConnect(m_config); }

    /// The request of the one connect that must have been made.
    standin::ConnectRequest request() {
        const auto requests = script().requests<standin::ConnectRequest>();
        if (requests.size() != 1)
            throw std::logic_error("not exactly one connect");
        return requests.front();
    }

    static standin::ConnectRequest lastRequest() {
        return script().requests<standin::ConnectRequest>().back();
    }

    void expectNoSession() {
        script().forgetCalls();
        EXPECT_EQ(m_client->OpcUaDisConnect(), 3);
        OpcUaNode node = makeNode("ns=2;s=A", OpcUaDataType_Int32);
        int value = 0;
        int size = sizeof(value);
        EXPECT_EQ(m_client->OpcUaGetValue(&node, &value, size), 3);
        EXPECT_THAT(script().operations(), IsEmpty());
    }

    _OpcUaClientConfig m_config = makeConfig();
};

const std::vector<std::string> configurationKeys = {
    "CertificateTrustListLocation or [ConfigPath]/pkiclient/trusted/certs/",
    "CertificateRevocationListLocation or [ConfigPath]/pkiclient/trusted/crl/",
    "IssuersCertificatesLocation or [ConfigPath]/pkiclient/issuers/certs/",
    "IssuersRevocationListLocation or [ConfigPath]/pkiclient/issuers/crl/",
    "ClientCertificate or [ConfigPath]/pkiclient/own/certs/HMIClient.der",
    "ClientPrivateKey or [ConfigPath]/pkiclient/own/private/HMIClient.pem",
    "UserCertificate or [ConfigPath]/pkiuser/own/certs/user.der",
    "UserPrivateKey or [ConfigPath]/pkiuser/own/private/user.pem"};

/// What every connect does before it turns to security.
std::vector<std::string> preparation() {
    std::vector<std::string> operations = {"UaSession::UaSession", "readlink", "UaSettings::UaSettings",
                                           "UaSettings::beginGroup"};
    operations.insert(operations.end(), configurationKeys.size(), "UaSettings::value");
    return operations;
}

} // namespace

TEST_F(Connect, UnsecuredGoesStraightToTheServer) {
    EXPECT_EQ(tryConnect(), 0);
    std::vector<std::string> expected = preparation();
    expected.emplace_back("SessionSecurityInfo::setAnonymousUserIdentity");
    expected.emplace_back("UaSession::connect");
    EXPECT_THAT(script().operations(), ElementsAreArray(expected));
    EXPECT_EQ(message(), "");
}

TEST_F(Connect, HoldsTheClientMutexThroughout) {
    EXPECT_EQ(tryConnect(), 0);
    for (const standin::Call& call : script().calls())
        EXPECT_THAT(call.surroundings.heldMutexes, ElementsAre(mutex_watch::clientMutex)) << call.operation;
    EXPECT_THAT(mutex_watch::locked(), ElementsAre(mutex_watch::clientMutex));
}

TEST_F(Connect, NamesServerAndIdentity) {
    setField(m_config.endpointUrl, "opc.tcp://boiler:4841/path");
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_EQ(request().url, "opc.tcp://boiler:4841/path");
    EXPECT_EQ(request().info.applicationUri.text(), "urn:HMI:Kestrova::RK4400");
    EXPECT_EQ(request().info.applicationName.text(), "HMI_RK4400");
    EXPECT_EQ(request().info.productUri.text(), "urn:Kestrova::RK4400");
}

TEST_F(Connect, EmptySessionNameGivesTheFixedOne) {
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_EQ(request().info.sessionName.text(), "Kestrova@RK4400");
}

TEST_F(Connect, TakesTheCallersSessionName) {
    setField(m_config.sessionName, "Panel 7");
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_EQ(request().info.sessionName.text(), "Panel 7");
}

TEST_F(Connect, ReadsNoTextBeyondItsField) {
    const std::string url(sizeof(m_config.endpointUrl), 'u');
    const std::string name(sizeof(m_config.sessionName), 's');
    setField(m_config.endpointUrl, url);
    setField(m_config.sessionName, name);
    m_config.securityPolicy = 0;
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_EQ(request().url, url);
    EXPECT_EQ(request().info.sessionName.text(), name);
}

TEST_F(Connect, TimeoutIsTheConnectTimeout) {
    for (const int timeout : {1, 1234, INT_MAX}) {
        m_config.timeout = timeout;
        script().forgetCalls();
        EXPECT_EQ(tryConnect(), 0);
        EXPECT_EQ(request().info.connectTimeout, timeout);
    }
}

TEST_F(Connect, LetsSeveralRequestsBeOnTheirWay) {
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_EQ(request().info.requestsAhead, 16U);
}

TEST_F(Connect, AfterOneThatBrokeWithSeveralOnTheirWayGoesOneByOne) {
    EXPECT_EQ(tryConnect(), 0);
    script().onWasLostAhead = [] { return true; };
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_EQ(lastRequest().info.requestsAhead, 1U);
    script().onWasLostAhead = [] { return false; };
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_EQ(lastRequest().info.requestsAhead, 1U);
    m_config = makeConfig("opc.tcp://another:4840");
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_EQ(lastRequest().info.requestsAhead, 16U);
}

TEST_F(Connect, TimeoutOfZeroOrLessLeavesTheSdksDefault) {
    for (const int timeout : {0, -1, INT_MIN}) {
        m_config.timeout = timeout;
        script().forgetCalls();
        EXPECT_EQ(tryConnect(), 0);
        const int given = request().info.connectTimeout;
        EXPECT_TRUE(given <= 0 || given == UaClientSdk::SessionConnectInfo::defaultConnectTimeout) << given;
    }
}

TEST_F(Connect, TheDefaultTimeoutIsFiveSeconds) {
    UaClientSdk::SessionConnectInfo info;
    EXPECT_EQ(info.connectTimeout, 5000);
    for (const auto& [asked, effective] : {std::pair(0, 5000), std::pair(-1, 5000), std::pair(INT_MIN, 5000),
                                           std::pair(1, 1), std::pair(INT_MAX, INT_MAX)}) {
        info.connectTimeout = asked;
        EXPECT_EQ(info.effectiveConnectTimeout(), effective);
    }
}

TEST_F(Connect, SwitchesAutomaticReconnectOff) {
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_FALSE(request().info.automaticReconnect);
}

TEST_F(Connect, KeepsEveryOtherDefault) {
    m_config.timeout = 1234;
    m_config.reserved = -1;
    EXPECT_EQ(tryConnect(), 0);
    const UaClientSdk::SessionConnectInfo defaults;
    EXPECT_EQ(request().info.sessionTimeout, defaults.sessionTimeout);
    EXPECT_EQ(request().info.secureChannelLifetime, defaults.secureChannelLifetime);
    EXPECT_EQ(request().info.watchdogInterval, defaults.watchdogInterval);
    EXPECT_EQ(request().info.watchdogTimeout, defaults.watchdogTimeout);
    const UaClientSdk::SessionSecurityInfo unsecured;
    EXPECT_EQ(request().securityPolicyUri, unsecured.securityPolicyUri.text());
    EXPECT_EQ(request().securityMode, unsecured.messageSecurityMode);
    EXPECT_EQ(request().serverCertificate.length(), 0);
}

TEST_F(Connect, LeavesTheCallersRecordAlone) {
    setField(m_config.sessionName, "Panel 7");
    _OpcUaClientConfig before;
    std::memcpy(&before, &m_config, sizeof(before));
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_EQ(std::memcmp(&before, &m_config, sizeof(before)), 0);
}

TEST_F(Connect, HandsOverItsSink) {
    EXPECT_EQ(tryConnect(), 0);
    ASSERT_NE(request().callback, nullptr);
    request().callback->connectionStatusChanged(1, UaClientSdk::UaClient::Connected);
    EXPECT_EQ(m_client->OpcUaGetConnectStatus(), 1);
}

TEST_F(Connect, ReadsTheConfigurationBesideTheExecutable) {
    platform_recorder::setExecutable("/opt/plant/hmi");
    EXPECT_EQ(tryConnect(), 0);
    std::vector<std::string> read;
    for (const standin::Call& call : script().calls())
        if (call.operation.rfind("UaSettings::", 0) == 0)
            read.push_back(std::get<std::string>(call.arguments));
    std::vector<std::string> expected = {"/opt/plant/OpcUaClientConfig.ini", "UaClientConfig"};
    expected.insert(expected.end(), configurationKeys.begin(), configurationKeys.end());
    EXPECT_THAT(read, ElementsAreArray(expected));
}

TEST_F(Connect, ReadsTheConfigurationAgainEveryTime) {
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_THAT(script().operations(), Contains("UaSettings::UaSettings").Times(2));
}

TEST_F(Connect, UnknownExecutableIsNoFailure) {
    platform_recorder::failExecutable();
    EXPECT_EQ(tryConnect(), 0);
    for (const standin::Call& call : script().calls())
        if (call.operation == "UaSettings::UaSettings")
            EXPECT_EQ(std::get<std::string>(call.arguments), "/OpcUaClientConfig.ini");
}

TEST_F(Connect, RefusedLeavesNoSession) {
    storeEarlierMessage();
    for (const OpcUa_StatusCode status : {badStatus, bothBitsStatus}) {
        script().forgetCalls();
        script().onConnect = [status](const standin::ConnectRequest&) { return UaStatus(status); };
        EXPECT_EQ(tryConnect(), 1);
        EXPECT_EQ(message(), messages::connectFailed);
        EXPECT_EQ(script().operations().back(), "UaSession::~UaSession");
        EXPECT_THAT(script().operations(), Contains("UaSession::~UaSession").Times(1));
        EXPECT_THAT(script().operations(), Not(Contains("UaSession::disconnect")));
        expectNoSession();
    }
}

TEST_F(Connect, UncertainCountsAsSuccess) {
    for (const OpcUa_StatusCode status : {uncertainStatus, goodWithDetails}) {
        script().onConnect = [status](const standin::ConnectRequest&) { return UaStatus(status); };
        EXPECT_EQ(tryConnect(), 0);
        EXPECT_EQ(message(), "");
        EXPECT_EQ(m_client->OpcUaDisConnect(), 0);
    }
}

TEST_F(Connect, SucceedsAfterARefusal) {
    script().onConnect = [](const standin::ConnectRequest&) { return UaStatus(badStatus); };
    EXPECT_EQ(tryConnect(), 1);
    script().onConnect = nullptr;
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_EQ(message(), messages::connectFailed) << "success keeps the earlier message";
    EXPECT_EQ(m_client->OpcUaDisConnect(), 0);
}

TEST_F(Connect, WhileConnectedDisconnectsFirst) {
    connect();
    EXPECT_EQ(tryConnect(), 0);
    std::vector<std::string> expected = {"UaSession::disconnect", "UaSession::~UaSession"};
    for (const std::string& operation : preparation())
        expected.push_back(operation);
    expected.emplace_back("SessionSecurityInfo::setAnonymousUserIdentity");
    expected.emplace_back("UaSession::connect");
    EXPECT_THAT(script().operations(), ElementsAreArray(expected));
    for (const standin::Call& call : script().calls())
        EXPECT_THAT(call.surroundings.heldMutexes, ElementsAre(mutex_watch::clientMutex)) << call.operation;
    const auto disconnects = script().requests<standin::DisconnectRequest>();
    ASSERT_EQ(disconnects.size(), 1U);
    EXPECT_TRUE(disconnects[0].deleteSubscriptions);
}

TEST_F(Connect, GoesOnWhenTheOldSessionCannotBeDisconnected) {
    connect();
    script().onDisconnect = [](const standin::DisconnectRequest&) { return UaStatus(badStatus); };
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_EQ(message(), messages::disconnectFailed) << "the inner disconnect leaves its message";
    EXPECT_THAT(script().operations(), Contains("UaSession::connect").Times(1));
    EXPECT_THAT(script().operations(), Contains("UaSession::~UaSession").Times(1))
        << "the session that could not be disconnected is released";
    script().onDisconnect = nullptr;
    EXPECT_EQ(m_client->OpcUaDisConnect(), 0);
}

TEST_F(Connect, RefusedAfterAFailedDisconnectLeavesNoSessionEither) {
    connect();
    script().onDisconnect = [](const standin::DisconnectRequest&) { return UaStatus(badStatus); };
    script().onConnect = [](const standin::ConnectRequest&) { return UaStatus(badStatus); };
    EXPECT_EQ(tryConnect(), 1);
    EXPECT_THAT(script().operations(), Contains("UaSession::~UaSession").Times(2));
    expectNoSession();
}

TEST_F(Connect, RefusedWhileConnectedLeavesNoSession) {
    connect();
    script().onConnect = [](const standin::ConnectRequest&) { return UaStatus(badStatus); };
    EXPECT_EQ(tryConnect(), 1);
    EXPECT_THAT(script().operations(), Contains("UaSession::~UaSession").Times(2));
    expectNoSession();
}

namespace {

class OwnDisconnect : public COpcUaClient {
public:
    int OpcUaDisConnect() override {
        ++calls;
        return COpcUaClient::OpcUaDisConnect();
    }
    int calls = 0;
};

} // namespace

TEST_F(Connect, DisconnectsThroughTheVirtualSlot) {
    OwnDisconnect client;
    EXPECT_EQ(client.OpcUaConnect(m_config), 0);
    EXPECT_EQ(client.calls, 0) << "there was no session to disconnect";
    EXPECT_EQ(client.OpcUaConnect(m_config), 0);
    EXPECT_EQ(client.calls, 1);
}

namespace {

struct EndpointRow {
    int number;
    const char* uri;
};

class EndpointMessage : public StandInTest {
protected:
    void apply(int policy, int mode, const std::string& certificate = "DER") {
        _OpcUaClientConfig config = makeConfig();
        config.securityPolicy = policy;
        config.securityMode = mode;
        const UaByteString bytes = continuationPoint(certificate);
        m_client.SetEndpointMsg(config, bytes.view(), m_security);
    }

    COpcUaClient m_client;
    UaClientSdk::SessionSecurityInfo m_security;
};

class EndpointPolicies : public EndpointMessage, public ::testing::WithParamInterface<EndpointRow> {};

} // namespace

TEST_P(EndpointPolicies, AreSetByTheirUri) {
    apply(GetParam().number, 0);
    EXPECT_EQ(m_security.securityPolicyUri.text(), GetParam().uri);
}

INSTANTIATE_TEST_SUITE_P(
    Table, EndpointPolicies,
    ::testing::Values(EndpointRow{0, "http://opcfoundation.org/UA/SecurityPolicy#None"},
                      EndpointRow{1, "http://opcfoundation.org/UA/SecurityPolicy#Basic128Rsa15"},
                      EndpointRow{2, "http://opcfoundation.org/UA/SecurityPolicy#Basic256"},
                      EndpointRow{3, "http://opcfoundation.org/UA/SecurityPolicy#Basic256Sha256"},
                      EndpointRow{4, "http://opcfoundation.org/UA/SecurityPolicy#Aes128_Sha256_RsaOaep"},
                      EndpointRow{5, "http://opcfoundation.org/UA/SecurityPolicy#Aes256_Sha256_RsaPss"}),
    [](const auto& row) { return std::to_string(row.param.number); });

TEST_F(EndpointMessage, UnknownPolicyKeepsTheDefault) {
    m_security.securityPolicyUri = "urn:kept";
    for (const int policy : {6, 7, INT_MAX, -1, INT_MIN}) {
        apply(policy, 0);
        EXPECT_EQ(m_security.securityPolicyUri.text(), "urn:kept") << policy;
    }
}

TEST_F(EndpointMessage, ModesAreNumberedAsTheStandardDoes) {
    apply(0, 0);
    EXPECT_EQ(m_security.messageSecurityMode, OpcUa_MessageSecurityMode_None);
    apply(0, 1);
    EXPECT_EQ(m_security.messageSecurityMode, OpcUa_MessageSecurityMode_Sign);
    apply(0, 2);
    EXPECT_EQ(m_security.messageSecurityMode, OpcUa_MessageSecurityMode_SignAndEncrypt);
}

TEST_F(EndpointMessage, UnknownModeKeepsTheDefault) {
    m_security.messageSecurityMode = OpcUa_MessageSecurityMode_Sign;
    for (const int mode : {3, INT_MAX, -1, INT_MIN}) {
        apply(0, mode);
        EXPECT_EQ(m_security.messageSecurityMode, OpcUa_MessageSecurityMode_Sign) << mode;
    }
}

TEST_F(EndpointMessage, CopiesTheServerCertificate) {
    {
        std::string certificate("DER\0bytes", 9);
        apply(3, 2, certificate);
        certificate.assign(9, 'x');
    }
    EXPECT_EQ(m_security.serverCertificate, continuationPoint(std::string("DER\0bytes", 9)));
    apply(0, 0, "");
    EXPECT_EQ(m_security.serverCertificate.length(), 0);
}

using Disconnect = ClientTest;

TEST_F(Disconnect, WithoutSessionIsRefused) {
    EXPECT_EQ(m_client->OpcUaDisConnect(), 3);
    EXPECT_EQ(message(), messages::notConnected);
    EXPECT_THAT(script().operations(), IsEmpty());
    EXPECT_THAT(mutex_watch::locked(), IsEmpty());
}

TEST_F(Disconnect, EndsSessionAndSubscriptions) {
    connect();
    EXPECT_EQ(m_client->OpcUaDisConnect(), 0);
    EXPECT_THAT(script().operations(), ElementsAre("UaSession::disconnect", "UaSession::~UaSession"));
    const auto requests = script().requests<standin::DisconnectRequest>();
    EXPECT_TRUE(requests.at(0).deleteSubscriptions);
    EXPECT_EQ(requests.at(0).settings.callTimeout, UaClientSdk::ServiceSettings().callTimeout);
    EXPECT_EQ(message(), "");
}

TEST_F(Disconnect, TakesNoLock) {
    connect();
    EXPECT_EQ(m_client->OpcUaDisConnect(), 0);
    EXPECT_THAT(mutex_watch::locked(), IsEmpty());
}

TEST_F(Disconnect, SecondOneIsRefused) {
    connect();
    EXPECT_EQ(m_client->OpcUaDisConnect(), 0);
    EXPECT_EQ(m_client->OpcUaDisConnect(), 3);
    EXPECT_EQ(message(), messages::notConnected);
}

TEST_F(Disconnect, FailureKeepsTheSession) {
    connect();
    for (const OpcUa_StatusCode status : {badStatus, bothBitsStatus}) {
        script().forgetCalls();
        script().onDisconnect = [status](const standin::DisconnectRequest&) { return UaStatus(status); };
        EXPECT_EQ(m_client->OpcUaDisConnect(), 2);
        EXPECT_EQ(message(), messages::disconnectFailed);
        EXPECT_THAT(script().operations(), ElementsAre("UaSession::disconnect"));
    }
    OpcUaNode node = makeNode("ns=2;s=A", OpcUaDataType_Int32);
    int value = 0;
    int size = sizeof(value);
    script().onRead = answerValue(int32Variant(5));
    EXPECT_EQ(m_client->OpcUaGetValue(&node, &value, size), 0);
    script().onDisconnect = nullptr;
    EXPECT_EQ(m_client->OpcUaDisConnect(), 0);
}

TEST_F(Disconnect, UncertainCountsAsSuccess) {
    connect();
    script().onDisconnect = [](const standin::DisconnectRequest&) { return UaStatus(uncertainStatus); };
    EXPECT_EQ(m_client->OpcUaDisConnect(), 0);
    EXPECT_EQ(message(), "");
    EXPECT_EQ(m_client->OpcUaDisConnect(), 3);
}

TEST_F(Disconnect, OfALostConnectionReleasesTheSession) {
    connect();
    script().onIsConnected = [] { return false; };
    EXPECT_EQ(m_client->OpcUaDisConnect(), 0);
    EXPECT_THAT(script().operations(), ElementsAre("UaSession::disconnect", "UaSession::~UaSession"));
}

TEST_F(Disconnect, KeepsBrowsedAndLookedUpNodes) {
    connect();
    ASSERT_EQ(m_client->OpcUaBrowse(nullptr), 0);
    OpcUaNode* looked = m_client->OpcUaGetUaNode("ns=2;s=A", OpcUaDataType_Int32);
    EXPECT_EQ(m_client->OpcUaDisConnect(), 0);
    EXPECT_NE(m_client->OpcUaReadRootNode(), nullptr);
    EXPECT_EQ(m_client->OpcUaGetUaNode("ns=2;s=A", OpcUaDataType_Int32), looked);
}
