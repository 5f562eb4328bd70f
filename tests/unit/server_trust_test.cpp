#include "client/opcua_client.h"
#include "secured_client_test.h"
#include "uabase/byte_array.h"
#include "uapki/certificate.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;

namespace {

/// Answers what the case wants and keeps what it was asked.
class DecidingApplication final : public COpcUaClientInterface::OpcUaCallBack {
public:
    explicit DecidingApplication(int answer) : m_answer(answer) {}

    void OpcUaDataChange(_OpcUaDataChangeMsg) override {}
    int OpcUaTrustServerCertificate(_OpcUaCertificateMsg certificate) override {
        asked.push_back(certificate);
        held = mutex_watch::held();
        if (throws)
            throw std::runtime_error("no decision");
        return m_answer;
    }

    std::vector<_OpcUaCertificateMsg> asked;
    std::vector<int> held;
    bool throws = false;

private:
    int m_answer;
};

class ServerTrust : public SecuredClientTest {
protected:
    void install(DecidingApplication& application) {
        ASSERT_EQ(m_client->installOpcUaCallBack(&application), 0);
    }
    bool verifiesAtConnect() {
        return script().requests<standin::ConnectRequest>().back().verifiesServerCertificate;
    }

    static std::string thumbprint() {
        return UaPkiCertificate::fromDER(serverCertificate()).thumbPrint().toHex(false).text();
    }
};

} // namespace

TEST_F(ServerTrust, AVerifiedCertificateAsksNobody) {
    DecidingApplication application(2);
    install(application);
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_TRUE(application.asked.empty());
    EXPECT_EQ(argumentsOf(verify), "no callback");
    EXPECT_THAT(script().operations(), Not(Contains(save)));
    EXPECT_TRUE(verifiesAtConnect());
}

TEST_F(ServerTrust, WithoutAnApplicationAnUnknownCertificateIsTrustedForGood) {
    answer(verify, badStatus);
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_EQ(argumentsOf(save), thumbprint());
    EXPECT_TRUE(verifiesAtConnect());
}

TEST_F(ServerTrust, AcceptedOnceIsNeitherSavedNorVerifiedAgain) {
    answer(verify, badStatus);
    DecidingApplication application(0);
    install(application);
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_THAT(script().operations(), Not(Contains(save)));
    EXPECT_FALSE(verifiesAtConnect());
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_EQ(application.asked.size(), 2U);
}

TEST_F(ServerTrust, TrustedPermanentlyIsSaved) {
    answer(verify, badStatus);
    DecidingApplication application(1);
    install(application);
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_EQ(argumentsOf(save), thumbprint());
    EXPECT_TRUE(verifiesAtConnect());
}

TEST_F(ServerTrust, AnyOtherAnswerRejects) {
    for (const int decision : {2, -1, 1000}) {
        answer(verify, badStatus);
        DecidingApplication application(decision);
        install(application);
        EXPECT_EQ(tryConnect(), 23) << decision;
        EXPECT_EQ(message(), messages::serverCertificateFailed);
        EXPECT_THAT(script().operations(), Not(Contains(save)));
        EXPECT_THAT(script().operations(), Not(Contains("UaSession::connect")));
        expectNoSession();
    }
}

TEST_F(ServerTrust, ADecisionThatThrowsRejects) {
    answer(verify, badStatus);
    DecidingApplication application(0);
    application.throws = true;
    install(application);
    EXPECT_EQ(tryConnect(), 23);
    expectNoSession();
}

TEST_F(ServerTrust, ACertificateThatCannotBeSavedGivesTwentyTwo) {
    script().onSecurity = [](const std::string& operation) {
        return operation == verify || operation == save ? UaStatus(badStatus) : UaStatus();
    };
    EXPECT_EQ(tryConnect(), 22);
    EXPECT_EQ(message(), messages::serverCertificateFailed);
    expectNoSession();
}

TEST_F(ServerTrust, UncertainCountsAsSaved) {
    script().onSecurity = [](const std::string& operation) {
        return operation == verify ? UaStatus(badStatus)
               : operation == save ? UaStatus(uncertainStatus)
                                   : UaStatus();
    };
    EXPECT_EQ(tryConnect(), 0);
}

TEST_F(ServerTrust, TheApplicationIsToldAllTwelveTexts) {
    answer(verify, badStatus);
    DecidingApplication application(0);
    install(application);
    EXPECT_EQ(tryConnect(), 0);
    ASSERT_EQ(application.asked.size(), 1U);
    const _OpcUaCertificateMsg& told = application.asked.front();
    const UaPkiCertificate certificate = UaPkiCertificate::fromDER(serverCertificate());
    EXPECT_EQ(told.commonName, "Plant");
    EXPECT_EQ(told.organization, "Dairy");
    EXPECT_EQ(told.organizationUnit, "Filling");
    EXPECT_EQ(told.locality, "Kiel");
    EXPECT_EQ(told.state, "SH");
    EXPECT_EQ(told.country, "DE");
    EXPECT_EQ(told.domainComponent, "plant");
    EXPECT_EQ(told.applicationUri, "urn:plant:server");
    EXPECT_EQ(told.validFrom, certificate.validFrom().toString().text());
    EXPECT_EQ(told.validTo, certificate.validTo().toString().text());
    EXPECT_EQ(told.serialNumber, certificate.serialNumber().text());
    EXPECT_EQ(told.thumbprint, thumbprint());
    EXPECT_EQ(told.thumbprint.size(), 40U);
}

TEST_F(ServerTrust, TheApplicationDecidesUnderTheClientMutex) {
    answer(verify, badStatus);
    DecidingApplication application(0);
    install(application);
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_THAT(application.held, ElementsAre(mutex_watch::clientMutex));
}

TEST_F(ServerTrust, BytesThatAreNoCertificateGiveEmptyTexts) {
    COpcUaClient client;
    _OpcUaCertificateMsg told;
    told.commonName = "left over";
    client.GetServerCertMsg(UaByteString(), told);
    EXPECT_EQ(told.commonName, "");
    EXPECT_EQ(told.applicationUri, "");
    EXPECT_EQ(told.serialNumber, "");
}
