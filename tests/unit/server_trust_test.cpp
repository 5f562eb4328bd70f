#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include "client/opcua_client.h"
#include "secured_client_test.h"
#include "uabase/byte_array.h"
#include "uaclient/security_info.h"
#include "uapki/certificate.h"
#include "uapki/rsa_key_pair.h"

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
        if (throws == Throws::Exception)
            throw std::runtime_error("no decision");
        if (throws == Throws::Anything)
            throw 42;
        return m_answer;
    }

    std::vector<_OpcUaCertificateMsg> asked;
    std::vector<int> held;
    enum class Throws { Nothing, Exception, Anything };
    Throws throws = Throws::Nothing;

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

TEST_F(ServerTrust, TheLastCallbackInstalledDecides) {
    answer(verify, badStatus);
    DecidingApplication first(2);
    DecidingApplication second(0);
    install(first);
    install(second);
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_TRUE(first.asked.empty());
    EXPECT_EQ(second.asked.size(), 1U);
}

TEST_F(ServerTrust, ADecisionThatThrowsRejects) {
    for (const auto thrown :
         {DecidingApplication::Throws::Exception, DecidingApplication::Throws::Anything}) {
        answer(verify, badStatus);
        DecidingApplication application(0);
        application.throws = thrown;
        install(application);
        EXPECT_EQ(tryConnect(), 23);
        EXPECT_EQ(message(), messages::serverCertificateFailed);
        EXPECT_THAT(script().operations(), Not(Contains(save)));
        expectNoSession();
    }
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

TEST_F(ServerTrust, TheNamesAreTheIssuersNotTheServers) {
    const UaPkiRsaKeyPair authorityKeys(2048);
    const UaPkiRsaKeyPair keys(2048);
    UaPkiIdentity authority;
    authority.commonName = "Plant CA";
    authority.organization = "Dairy Group";
    UaPkiIdentity server;
    server.commonName = "Filler";
    server.organization = "Dairy";
    server.locality = "Kiel";
    UaPkiCertificateInfo info;
    info.uri = "urn:plant:filler";
    info.validTime = 86400;
    const UaPkiCertificate issued(info, server, keys.publicKey(), authority, authorityKeys.privateKey(),
                                  false, UaPkiCertificate::Sha256);
    COpcUaClient client;
    _OpcUaCertificateMsg told;
    client.GetServerCertMsg(issued.toDER(), told);
    EXPECT_EQ(told.commonName, "Plant CA");
    EXPECT_EQ(told.organization, "Dairy Group");
    EXPECT_EQ(told.locality, "");
    EXPECT_EQ(told.applicationUri, "urn:plant:filler");
}

TEST_F(ServerTrust, WhatTheApplicationIsToldIsUtf8WhateverTheCertificateHolds) {
    const UaPkiRsaKeyPair keys(2048);
    UaPkiIdentity server;
    server.commonName = "commonna";
    server.organization = "organiza";
    UaPkiCertificateInfo info;
    info.uri = "urn:plant";
    info.validTime = 86400;
    const UaPkiCertificate plain(info, server, keys.publicKey(), server, keys.privateKey(), false,
                                 UaPkiCertificate::Sha256);
    const UaByteString der = plain.toDER();
    const auto toldOf = [&der](const std::string& value, const std::string& uri) {
        std::string bytes(reinterpret_cast<const char*>(der.data()), static_cast<std::size_t>(der.length()));
        for (const char* name : {"commonna", "organiza"})
            for (std::size_t at = bytes.find(name); at != std::string::npos; at = bytes.find(name))
                bytes.replace(at - 2, value.size(), value);
        bytes.replace(bytes.find("urn:plant"), uri.size(), uri);
        COpcUaClient client;
        _OpcUaCertificateMsg told;
        client.GetServerCertMsg(UaByteString(static_cast<int>(bytes.size()),
                                             reinterpret_cast<const unsigned char*>(bytes.data())),
                                told);
        return told;
    };
    using namespace std::string_literals;
    int certificates = 0; // a name that is no text at all makes a certificate none
    for (const std::string& value :
         {"\x1E\x08\xD8\x00\x00\x41\xDC\x00\x00\x42"s, "\x0C\x08\x41\xE9\xED\xA0\x80\xC0\x8A\x42"s,
          "\x1C\x08\x00\x11\x00\x00\x00\x00\xD8\x00"s, "\x14\x08\x41\x9B\xE9\xFF\x42\x43\x44\x45"s,
          "\x13\x08\x41\x9B\xE9\xFF\x42\x43\x44\x45"s}) {
        const _OpcUaCertificateMsg told = toldOf(value, "urn:\xE9\xED\xA0\x80\x9B");
        for (const std::string& text : {told.commonName, told.organization, told.applicationUri})
            EXPECT_EQ(UaUniString(text.c_str()).toUtf8().text(), text) << "valid UTF-8 comes back as it went";
        certificates += told.thumbprint.empty() ? 0 : 1;
    }
    EXPECT_GE(certificates, 2);
}

TEST_F(ServerTrust, BytesThatAreNoCertificateReplaceAllTexts) {
    COpcUaClient client;
    _OpcUaCertificateMsg told;
    std::string* const texts[] = {&told.commonName,      &told.organization,   &told.organizationUnit,
                                  &told.locality,        &told.state,          &told.country,
                                  &told.domainComponent, &told.applicationUri, &told.serialNumber,
                                  &told.thumbprint,      &told.validFrom,      &told.validTo};
    for (std::string* text : texts)
        *text = "left over";
    client.GetServerCertMsg(UaByteString(), told);
    for (const std::string* text : texts)
        EXPECT_EQ(*text, "");
}

namespace {

/// What becomes of the switch that has the session verify the certificate itself.
struct SwitchRow {
    const char* name;
    OpcUa_StatusCode verified;
    OpcUa_StatusCode saved;
    int decision;
    int code;
    bool fromOff;
    bool fromOn;
};

class VerificationSwitch : public ServerTrust, public ::testing::WithParamInterface<SwitchRow> {
protected:
    void expectAfter(bool before, bool expected) {
        UaClientSdk::SessionSecurityInfo security;
        security.serverCertificate = serverCertificate();
        security.doServerCertificateVerify = before;
        EXPECT_EQ(m_deciding.checkServerCertificateTrust(security), GetParam().code);
        EXPECT_EQ(security.doServerCertificateVerify, expected);
    }

    COpcUaClient m_deciding;
};

constexpr int nobody = -99;

} // namespace

TEST_P(VerificationSwitch, FollowsTheDecision) {
    script().onSecurity = [](const std::string& operation) {
        return UaStatus(operation == verify ? GetParam().verified : GetParam().saved);
    };
    DecidingApplication application(GetParam().decision);
    if (GetParam().decision != nobody)
        ASSERT_EQ(m_deciding.installOpcUaCallBack(&application), 0);
    expectAfter(false, GetParam().fromOff);
    expectAfter(true, GetParam().fromOn);
    char text[64] = {};
    m_deciding.GetErrorMsg(text, sizeof text);
    EXPECT_STREQ(text, "") << "the message is the connect's to store";
}

INSTANTIATE_TEST_SUITE_P(
    Of, VerificationSwitch,
    ::testing::Values(SwitchRow{"Verified", OpcUa_Good, OpcUa_Good, 2, 0, false, true},
                      SwitchRow{"Uncertain", uncertainStatus, OpcUa_Good, 2, 0, false, true},
                      SwitchRow{"AcceptedOnce", badStatus, badStatus, 0, 0, false, false},
                      SwitchRow{"Trusted", badStatus, OpcUa_Good, 1, 0, true, true},
                      SwitchRow{"TrustedNotSaved", badStatus, badStatus, 1, 22, false, true},
                      SwitchRow{"Rejected", badStatus, OpcUa_Good, 2, 23, true, true},
                      SwitchRow{"NobodyAsked", badStatus, OpcUa_Good, nobody, 0, true, true},
                      SwitchRow{"NobodyAskedNotSaved", badStatus, bothBitsStatus, nobody, 22, false, true}),
    [](const auto& row) { return row.param.name; });
