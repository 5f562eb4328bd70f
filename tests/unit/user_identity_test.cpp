#include <climits>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <ios>
#include <string>

#include "secured_client_test.h"
#include "security/configuration.h"
#include "support/child_process.h"
#include "uapki/certificate.h"
#include "uapki/rsa_key_pair.h"

using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

constexpr const char* setPassword = "SessionSecurityInfo::setUserPasswordUserIdentity";
constexpr const char* setCertificate = "SessionSecurityInfo::setCertificateUserIdentity";

class UserIdentity : public SecuredClientTest {
protected:
    void useCertificate(const std::string& userName = "") {
        m_config.userIdentity = 2;
        setField(m_config.userName, userName);
    }
    std::string commonName() {
        return UaPkiCertificate::fromDERFile(UaString(userCertificate().string())).commonName().text();
    }
    /// A key that is not RSA.
    static void makeOtherKey(const std::filesystem::path& file) {
        const auto made =
            test_support::runProgram("openssl", {"genpkey", "-algorithm", "ED25519", "-out", file.string()});
        ASSERT_EQ(made.end.exitCode, 0) << made.standardError;
    }
    void expectRefused(int code) {
        script().forgetCalls();
        EXPECT_EQ(tryConnect(), code);
        EXPECT_EQ(message(), messages::userCertificateFailed);
        EXPECT_THAT(script().operations(), Not(Contains("UaSession::connect")));
        expectNoSession();
    }
};

} // namespace

TEST_F(UserIdentity, NameAndPasswordAreHandedOver) {
    m_config.userIdentity = 1;
    setField(m_config.userName, "operator");
    setField(m_config.password, "plant");
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_EQ(argumentsOf(setPassword), "operator|plant");
    EXPECT_FALSE(std::filesystem::exists(userCertificate()));
}

TEST_F(UserIdentity, OfAnyOtherKindIsAnonymous) {
    setField(m_config.userName, "operator");
    setField(m_config.password, "plant");
    for (const int kind : {0, 3, 4, -1, -2, INT_MAX, INT_MIN}) {
        m_config.userIdentity = kind;
        script().forgetCalls();
        EXPECT_EQ(tryConnect(), 0);
        EXPECT_THAT(script().operations(), Contains("SessionSecurityInfo::setAnonymousUserIdentity")) << kind;
        EXPECT_THAT(script().operations(), Not(Contains(setPassword))) << kind;
        EXPECT_THAT(script().operations(), Not(Contains(setCertificate))) << kind;
    }
    EXPECT_FALSE(std::filesystem::exists(userCertificate()));
}

TEST_F(UserIdentity, NameAndPasswordAreReadNoFurtherThanTheirFields) {
    m_config.userIdentity = 1;
    const std::string name(sizeof m_config.userName, 'n');
    const std::string password(sizeof m_config.password, 'p');
    setField(m_config.userName, name);
    setField(m_config.password, password);
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_EQ(argumentsOf(setPassword), name + "|" + password);
}

TEST_F(UserIdentity, ACertificateIsMadeForTheUser) {
    useCertificate("operator");
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_EQ(commonName(), "operator");
    const UaPkiCertificate certificate = UaPkiCertificate::fromDERFile(UaString(userCertificate().string()));
    expectOwner(certificate.subject());
    const UaPkiCertificateInfo info = certificate.info();
    EXPECT_EQ(info.uri.text(), "UserCertificate");
    EXPECT_TRUE(info.dnsNames.empty());
    EXPECT_TRUE(info.ipAddresses.empty());
    EXPECT_TRUE(info.email.isEmpty());
    EXPECT_EQ(info.validTime, 31536000);
    EXPECT_TRUE(belongTogether(userCertificate(), userKey()));
    EXPECT_TRUE(standsForItselfAlone(userCertificate()));
    EXPECT_EQ(bitsOf(userKey()), 2048);
    EXPECT_THAT(contentOf(userKey()), HasSubstr("BEGIN PRIVATE KEY"));
}

TEST_F(UserIdentity, CertificateAndKeyAreHandedOver) {
    useCertificate("operator");
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_EQ(argumentsOf(setCertificate), contentOf(userCertificate()) + "|" + keyBytes(userKey()));
}

TEST_F(UserIdentity, ComesAfterTheDecisionOnTheServer) {
    useCertificate();
    answer(verify, badStatus);
    Application rejecting;
    ASSERT_EQ(m_client->installOpcUaCallBack(&rejecting), 0);
    EXPECT_EQ(tryConnect(), 23);
    EXPECT_FALSE(std::filesystem::exists(userCertificate()));
}

TEST_F(UserIdentity, WithoutANameItIsAuthenticated) {
    useCertificate();
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_EQ(commonName(), "Authenticated");
}

TEST_F(UserIdentity, AnExistingPairKeepsItsName) {
    useCertificate("operator");
    EXPECT_EQ(tryConnect(), 0);
    const std::string before = contentOf(userCertificate());
    useCertificate("somebody");
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_EQ(contentOf(userCertificate()), before);
}

TEST_F(UserIdentity, AMissingKeyMakesANewPair) {
    useCertificate("operator");
    EXPECT_EQ(tryConnect(), 0);
    const std::string before = contentOf(userCertificate());
    std::filesystem::remove(userKey());
    EXPECT_EQ(tryConnect(), 0);
    EXPECT_NE(contentOf(userCertificate()), before);
    EXPECT_TRUE(std::filesystem::exists(userKey()));
}

TEST_F(UserIdentity, AFileThatIsNoCertificateGivesTwentyFourAndStays) {
    useCertificate();
    EXPECT_EQ(tryConnect(), 0);
    std::ofstream(userCertificate()) << "no certificate";
    expectRefused(24);
    EXPECT_EQ(contentOf(userCertificate()), "no certificate");
}

TEST_F(UserIdentity, ACertificateWithAKeyThatCannotBeUsedGivesTwentyFour) {
    useCertificate();
    EXPECT_EQ(tryConnect(), 0);
    std::string content = contentOf(userCertificate());
    const std::string rsa = "\x2A\x86\x48\x86\xF7\x0D\x01\x01\x01"; // the kind of its key
    const std::size_t kind = content.find(rsa);
    ASSERT_NE(kind, std::string::npos);
    content[kind + rsa.size() - 1] = 99; // a kind that nobody has heard of
    std::ofstream(userCertificate(), std::ios::binary) << content;
    ASSERT_FALSE(UaPkiCertificate::fromDERFile(UaString(userCertificate().string())).isNull());
    expectRefused(24);
}

TEST_F(UserIdentity, AKeyThatIsNoneGivesTwentyFive) {
    useCertificate();
    EXPECT_EQ(tryConnect(), 0);
    std::ofstream(userKey()) << "no key";
    expectRefused(25);
}

TEST_F(UserIdentity, AnEncryptedKeyGivesTwentyFive) {
    useCertificate();
    EXPECT_EQ(tryConnect(), 0);
    ASSERT_EQ(UaPkiRsaKeyPair(2048).toPEMFile(UaString(userKey().string()), "secret"), 0);
    expectRefused(25);
}

TEST_F(UserIdentity, AKeyThatIsNotRsaGivesTwentySix) {
    useCertificate();
    EXPECT_EQ(tryConnect(), 0);
    makeOtherKey(userKey());
    expectRefused(26);
}

TEST_F(UserIdentity, AStoreThatCannotBeOpenedGivesTwentySeven) {
    useCertificate();
    EXPECT_EQ(tryConnect(), 0);
    const std::filesystem::path trusted = directory() / "pkiclient/trusted/certs";
    std::filesystem::remove_all(trusted);
    std::ofstream(trusted) << "a file in its place";
    expectRefused(27);
}

TEST_F(UserIdentity, RevocationListsThatCannotBeListedGiveTwentySeven) {
    useCertificate();
    EXPECT_EQ(tryConnect(), 0);
    const std::filesystem::path lists = directory() / "pkiclient/trusted/crl";
    std::filesystem::remove_all(lists);
    std::ofstream(lists) << "a file in their place";
    expectRefused(27);
}

TEST_F(UserIdentity, TheCertificateIsJudgedBeforeTheStoreAndTheStoreBeforeTheKey) {
    useCertificate();
    EXPECT_EQ(tryConnect(), 0);
    const std::string certificate = contentOf(userCertificate());
    const std::filesystem::path trusted = directory() / "pkiclient/trusted/certs";
    std::ofstream(userCertificate()) << "no certificate";
    std::filesystem::remove_all(trusted);
    std::ofstream(trusted) << "a file in its place";
    std::ofstream(userKey()) << "no key";
    expectRefused(24);
    std::ofstream(userCertificate(), std::ios::binary) << certificate;
    expectRefused(27);
    makeOtherKey(userKey());
    expectRefused(27);
    std::filesystem::remove(trusted);
    expectRefused(26);
    std::ofstream(userKey()) << "no key";
    expectRefused(25);
}

TEST_F(UserIdentity, APairThatCannotBeWrittenGivesTwentyEight) {
    useCertificate();
    std::filesystem::create_directories(userCertificate()); // a directory in the file's place
    expectRefused(28);
    EXPECT_FALSE(std::filesystem::exists(userKey())) << "it would belong to nothing";
}

TEST_F(UserIdentity, ANameThatMakesNoCertificateReplacesNoKey) {
    useCertificate();
    EXPECT_EQ(tryConnect(), 0);
    const std::string key = contentOf(userKey());
    std::filesystem::remove(userCertificate());
    setField(m_config.userName, "\xD5\xC5"); // GBK
    expectRefused(28);
    EXPECT_EQ(contentOf(userKey()), key);
    EXPECT_FALSE(std::filesystem::exists(userKey().string() + ".old"));
}

TEST_F(UserIdentity, AKeyThatCannotBeWrittenGivesTwentyEight) {
    useCertificate();
    std::filesystem::create_directories(userKey());
    expectRefused(28);
    EXPECT_FALSE(std::filesystem::exists(userCertificate())) << "it would belong to nothing";
}

TEST_F(UserIdentity, AfterALateFailureTheCertificateIsTheNewOneAndTheKeyTheOld) {
    const auto in = [this](const char* name) { return UaString((directory() / name).string()); };
    Configuration configuration;
    configuration.UserCertificate = in("certs/user.der");
    configuration.UserPrivateKey = in("private/user.pem");
    ASSERT_EQ(configuration.loadUserCertificate(), 0);
    const UaByteString key = configuration.userPrivateKeyData;
    EXPECT_GT(key.length(), 0);
    ASSERT_EQ(UaPkiCertificate::fromDER(serverCertificate()).toDERFile(configuration.UserCertificate), 0);
    std::ofstream(configuration.UserPrivateKey.toUtf8()) << "no key";
    EXPECT_EQ(configuration.loadUserCertificate(), 25);
    EXPECT_EQ(configuration.userCertificateData, serverCertificate());
    EXPECT_EQ(configuration.userPrivateKeyData, key);
    std::ofstream(configuration.UserCertificate.toUtf8()) << "no certificate";
    EXPECT_EQ(configuration.loadUserCertificate(), 24);
    EXPECT_EQ(configuration.userCertificateData, serverCertificate());
}

TEST_F(UserIdentity, NeitherTheStoreNorAKeyThatIsNotRsaKeepsTheNewCertificateOut) {
    const auto in = [this](const char* name) { return UaString((directory() / name).string()); };
    Configuration configuration;
    configuration.UserCertificate = in("certs/user.der");
    configuration.UserPrivateKey = in("private/user.pem");
    ASSERT_EQ(configuration.loadUserCertificate(), 0);
    const UaByteString first = configuration.userCertificateData;
    const UaByteString key = configuration.userPrivateKeyData;
    EXPECT_GT(key.length(), 0);
    const auto loadAnother = [&configuration](const UaByteString& certificate) {
        EXPECT_EQ(UaPkiCertificate::fromDER(certificate).toDERFile(configuration.UserCertificate), 0);
        return configuration.loadUserCertificate();
    };

    makeOtherKey(configuration.UserPrivateKey.toUtf8());
    EXPECT_EQ(loadAnother(serverCertificate()), 26);
    EXPECT_EQ(configuration.userCertificateData, serverCertificate());
    EXPECT_EQ(configuration.userPrivateKeyData, key);

    configuration.CertificateTrustListLocation = in("trusted");
    std::ofstream(configuration.CertificateTrustListLocation.toUtf8()) << "a file in its place";
    EXPECT_EQ(loadAnother(first), 27);
    EXPECT_EQ(configuration.userCertificateData, first);
    EXPECT_EQ(configuration.userPrivateKeyData, key);
}
