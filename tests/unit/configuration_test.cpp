#include <cstddef>
#include <filesystem>
#include <fstream>
#include <ios>
#include <string>

#include <gtest/gtest.h>

#include "security/configuration.h"
#include "support/temporary_directory.h"

namespace {

class ConfigurationFile : public ::testing::Test {
protected:
    ConfigurationFile() { m_configuration.applicationPath = "/opt/plant"; }

    void write(const std::string& text) { std::ofstream(file(), std::ios::binary) << text; }
    void load() { EXPECT_EQ(m_configuration.loadConfiguration(UaString(file())), 0); }
    std::string file() const { return (m_directory.path() / "OpcUaClientConfig.ini").string(); }

    void expectDefaults(const std::string& directory) {
        EXPECT_EQ(m_configuration.CertificateTrustListLocation.text(),
                  directory + "/pkiclient/trusted/certs/");
        EXPECT_EQ(m_configuration.CertificateRevocationListLocation.text(),
                  directory + "/pkiclient/trusted/crl/");
        EXPECT_EQ(m_configuration.IssuersCertificatesLocation.text(),
                  directory + "/pkiclient/issuers/certs/");
        EXPECT_EQ(m_configuration.IssuersRevocationListLocation.text(),
                  directory + "/pkiclient/issuers/crl/");
        EXPECT_EQ(m_configuration.ClientCertificate.text(), directory + "/pkiclient/own/certs/HMIClient.der");
        EXPECT_EQ(m_configuration.ClientPrivateKey.text(),
                  directory + "/pkiclient/own/private/HMIClient.pem");
        EXPECT_EQ(m_configuration.UserCertificate.text(), directory + "/pkiuser/own/certs/user.der");
        EXPECT_EQ(m_configuration.UserPrivateKey.text(), directory + "/pkiuser/own/private/user.pem");
    }

    test_support::TemporaryDirectory m_directory;
    Configuration m_configuration;
};

} // namespace

TEST(NewConfiguration, IsEmpty) {
    const Configuration configuration;
    EXPECT_EQ(configuration.applicationPath, nullptr);
    EXPECT_EQ(configuration.userCertificateData.length(), 0);
    EXPECT_EQ(configuration.userPrivateKeyData.length(), 0);
    EXPECT_TRUE(configuration.userCertificateName.isEmpty());
    EXPECT_TRUE(configuration.CertificateTrustListLocation.isEmpty());
    EXPECT_TRUE(configuration.CertificateRevocationListLocation.isEmpty());
    EXPECT_TRUE(configuration.IssuersCertificatesLocation.isEmpty());
    EXPECT_TRUE(configuration.IssuersRevocationListLocation.isEmpty());
    EXPECT_TRUE(configuration.ClientCertificate.isEmpty());
    EXPECT_TRUE(configuration.ClientPrivateKey.isEmpty());
    EXPECT_TRUE(configuration.UserCertificate.isEmpty());
    EXPECT_TRUE(configuration.UserPrivateKey.isEmpty());
}

TEST_F(ConfigurationFile, MissingGivesTheDefaults) {
    load();
    expectDefaults("/opt/plant");
    EXPECT_FALSE(std::filesystem::exists(file())) << "nothing is written back";
}

TEST_F(ConfigurationFile, UnreadableGivesTheDefaults) {
    EXPECT_EQ(m_configuration.loadConfiguration(UaString(m_directory.path().string())), 0)
        << "a directory is no file";
    expectDefaults("/opt/plant");
}

TEST_F(ConfigurationFile, EmptyNameGivesTheDefaults) {
    EXPECT_EQ(m_configuration.loadConfiguration(UaString()), 0);
    expectDefaults("/opt/plant");
}

TEST_F(ConfigurationFile, WithoutTheGroupGivesTheDefaults) {
    write("ClientCertificate=/a.der\n[Other]\nClientCertificate=/b.der\n");
    load();
    expectDefaults("/opt/plant");
}

TEST_F(ConfigurationFile, KeysThatItHoldsAreTaken) {
    write("[UaClientConfig]\n"
          "CertificateTrustListLocation=/1/\nCertificateRevocationListLocation=/2/\n"
          "IssuersCertificatesLocation=/3/\nIssuersRevocationListLocation=/4/\n"
          "ClientCertificate=/5\nClientPrivateKey=/6\nUserCertificate=/7\nUserPrivateKey=/8\n");
    load();
    EXPECT_EQ(m_configuration.CertificateTrustListLocation.text(), "/1/");
    EXPECT_EQ(m_configuration.CertificateRevocationListLocation.text(), "/2/");
    EXPECT_EQ(m_configuration.IssuersCertificatesLocation.text(), "/3/");
    EXPECT_EQ(m_configuration.IssuersRevocationListLocation.text(), "/4/");
    EXPECT_EQ(m_configuration.ClientCertificate.text(), "/5");
    EXPECT_EQ(m_configuration.ClientPrivateKey.text(), "/6");
    EXPECT_EQ(m_configuration.UserCertificate.text(), "/7");
    EXPECT_EQ(m_configuration.UserPrivateKey.text(), "/8");
}

TEST_F(ConfigurationFile, MissingKeysKeepTheirDefaults) {
    write("[UaClientConfig]\nUserCertificate=[ApplicationPath]/my/user.der\n");
    load();
    EXPECT_EQ(m_configuration.UserCertificate.text(), "/opt/plant/my/user.der");
    EXPECT_EQ(m_configuration.UserPrivateKey.text(), "/opt/plant/pkiuser/own/private/user.pem");
}

TEST_F(ConfigurationFile, IsReadAnewEveryTime) {
    write("[UaClientConfig]\nClientCertificate=/first\nClientPrivateKey=/key\n");
    load();
    write("[UaClientConfig]\nClientCertificate=/second\n");
    load();
    EXPECT_EQ(m_configuration.ClientCertificate.text(), "/second");
    EXPECT_EQ(m_configuration.ClientPrivateKey.text(), "/opt/plant/pkiclient/own/private/HMIClient.pem");
}

TEST_F(ConfigurationFile, LeavesTheUserCertificateDataAlone) {
    const OpcUa_Byte bytes[] = {1, 2, 3};
    m_configuration.userCertificateData = UaByteString(3, bytes);
    m_configuration.userPrivateKeyData = UaByteString(2, bytes);
    m_configuration.userCertificateName = "Operator";
    load();
    EXPECT_EQ(m_configuration.userCertificateData.length(), 3);
    EXPECT_EQ(m_configuration.userPrivateKeyData.length(), 2);
    EXPECT_EQ(m_configuration.userCertificateName.text(), "Operator");
    EXPECT_STREQ(m_configuration.applicationPath, "/opt/plant");
}

TEST_F(ConfigurationFile, BothTokensStandForTheSameDirectory) {
    write("[UaClientConfig]\nClientCertificate=[ApplicationPath]/a\nClientPrivateKey=[ConfigPath]/b\n");
    load();
    EXPECT_EQ(m_configuration.ClientCertificate.text(), "/opt/plant/a");
    EXPECT_EQ(m_configuration.ClientPrivateKey.text(), "/opt/plant/b");
}

TEST_F(ConfigurationFile, ApplicationPathIsReplacedBeforeConfigPath) {
    write("[UaClientConfig]\nClientCertificate=[ApplicationPath]/a/[ConfigPath]/b\n"
          "ClientPrivateKey=[ConfigPath]/a/[ApplicationPath]/b\n");
    load();
    EXPECT_EQ(m_configuration.ClientCertificate.text(), "/opt/plant/b");
    EXPECT_EQ(m_configuration.ClientPrivateKey.text(), "/opt/plant/b");
}

TEST_F(ConfigurationFile, TokenInTheDirectoryIsReplacedByTheSecondStepOnly) {
    m_configuration.applicationPath = "/opt/[ConfigPath]x";
    write("[UaClientConfig]\nClientCertificate=[ApplicationPath]/a\nClientPrivateKey=[ConfigPath]/b\n");
    load();
    EXPECT_EQ(m_configuration.ClientCertificate.text(), "/opt/[ConfigPath]xx/a");
    EXPECT_EQ(m_configuration.ClientPrivateKey.text(), "/opt/[ConfigPath]x/b");
}

TEST_F(ConfigurationFile, EmptyDirectoryLeavesTheTailAlone) {
    m_configuration.applicationPath = "";
    load();
    expectDefaults("");
}

TEST_F(ConfigurationFile, NoDirectoryCountsAsAnEmptyOne) {
    m_configuration.applicationPath = nullptr;
    load();
    expectDefaults("");
}

TEST_F(ConfigurationFile, MakesNoDirectory) {
    const std::string directory = m_directory.path().string();
    m_configuration.applicationPath = directory.c_str();
    load();
    expectDefaults(directory);
    EXPECT_TRUE(std::filesystem::is_empty(directory));
}

namespace {

constexpr std::size_t tokenBuffer = 512;

std::string replaced(const std::string& value, const std::string& path) {
    Configuration configuration;
    UaString text(value);
    configuration.replaceApplicationPath(text, UaString(path));
    return text.text();
}

std::string replacedConfig(const std::string& value, const std::string& path) {
    Configuration configuration;
    UaString text(value);
    configuration.replaceConfigPath(text, UaString(path));
    return text.text();
}

} // namespace

TEST(PathToken, IsReplacedByTheDirectory) {
    EXPECT_EQ(replaced("[ApplicationPath]/pki/", "/opt/plant"), "/opt/plant/pki/");
    EXPECT_EQ(replacedConfig("[ConfigPath]/pki/", "/opt/plant"), "/opt/plant/pki/");
}

TEST(PathToken, AloneBecomesTheDirectory) {
    EXPECT_EQ(replaced("[ApplicationPath]", "/opt/plant"), "/opt/plant");
    EXPECT_EQ(replacedConfig("[ConfigPath]", "/opt/plant"), "/opt/plant");
}

TEST(PathToken, AbsentLeavesTheValue) {
    for (const char* value : {"", "/etc/pki/client.der", "[ApplicationPath", "[applicationpath]/a", "[]"}) {
        EXPECT_EQ(replaced(value, "/opt/plant"), value);
        EXPECT_EQ(replacedConfig(value, "/opt/plant"), value);
    }
}

TEST(PathToken, OfTheOtherKindIsLeft) {
    EXPECT_EQ(replaced("[ConfigPath]/a", "/opt/plant"), "[ConfigPath]/a");
    EXPECT_EQ(replacedConfig("[ApplicationPath]/a", "/opt/plant"), "[ApplicationPath]/a");
}

TEST(PathToken, AbsentLeavesEvenALongValue) {
    const std::string value(2000, 'v');
    EXPECT_EQ(replaced(value, "/opt/plant"), value);
}

TEST(PathToken, DropsWhatStandsBeforeIt) {
    EXPECT_EQ(replaced("file://[ApplicationPath]/a", "/opt/plant"), "/opt/plant/a");
    EXPECT_EQ(replacedConfig("x[ConfigPath]/a", "/opt/plant"), "/opt/plant/a");
}

TEST(PathToken, OnlyTheFirstIsReplaced) {
    EXPECT_EQ(replaced("[ApplicationPath]/a[ApplicationPath]/b", "/opt"), "/opt/a[ApplicationPath]/b");
    EXPECT_EQ(replacedConfig("[ConfigPath]/a[ConfigPath]/b", "/opt"), "/opt/a[ConfigPath]/b");
}

TEST(PathToken, OneTrailingSlashOfTheDirectoryIsCut) {
    EXPECT_EQ(replaced("[ApplicationPath]/a", "/opt/plant/"), "/opt/plant/a");
    EXPECT_EQ(replaced("[ApplicationPath]/a", "/opt/plant//"), "/opt/plant//a");
    EXPECT_EQ(replaced("[ApplicationPath]/a", "/"), "/a");
}

TEST(PathToken, EmptyDirectoryLeavesTheTail) {
    EXPECT_EQ(replaced("[ApplicationPath]/a", ""), "/a");
    EXPECT_EQ(replaced("[ApplicationPath]", ""), "");
}

TEST(PathToken, ResultOf511BytesFits) {
    const std::string tail(tokenBuffer - 1 - 4, 't');
    EXPECT_EQ(replaced("[ApplicationPath]" + tail, "/opt"), "/opt" + tail);
    EXPECT_EQ(replacedConfig("[ConfigPath]" + tail, "/opt"), "/opt" + tail);
}

TEST(PathToken, LongerResultIsCutAt511Bytes) {
    for (const std::size_t length : {tokenBuffer - 4, tokenBuffer, std::size_t{3000}}) {
        const std::string tail(length, 't');
        const std::string expected = ("/opt" + tail).substr(0, tokenBuffer - 1);
        EXPECT_EQ(replaced("[ApplicationPath]" + tail, "/opt"), expected);
        EXPECT_EQ(replacedConfig("[ConfigPath]" + tail, "/opt"), expected);
    }
}

TEST(PathToken, ALongDirectoryThatIsCutBehindASlashLosesThatSlash) {
    const std::string directory = "/" + std::string(tokenBuffer - 3, 'd') + "/and more";
    EXPECT_EQ(replaced("[ApplicationPath]/a", directory), directory.substr(0, tokenBuffer - 2) + "/");
    EXPECT_EQ(replacedConfig("[ConfigPath]#a", directory), directory.substr(0, tokenBuffer - 2) + "#");
}

TEST(PathToken, LongDirectoryIsCutAt511Bytes) {
    for (const std::size_t length : {tokenBuffer - 1, tokenBuffer, tokenBuffer + 1, std::size_t{4000}}) {
        const std::string directory = "/" + std::string(length - 1, 'd');
        EXPECT_EQ(replaced("[ApplicationPath]/tail", directory), directory.substr(0, tokenBuffer - 1))
            << length;
    }
}

TEST(PathToken, ADirectoryThatIsCutBehindASlashLosesIt) {
    const std::string start = "/" + std::string(tokenBuffer - 3, 'd');
    EXPECT_EQ(replaced("[ApplicationPath]#tail", start + "/rest"), start + "#");
    EXPECT_EQ(replacedConfig("[ConfigPath]#tail", start + "/rest"), start + "#");
    // And one that ends in a slash only behind the cut loses nothing.
    EXPECT_EQ(replaced("[ApplicationPath]#tail", start + "dd/"), start + "d");
}

TEST(PathToken, DirectoryJustBelowTheLimitKeepsTheStartOfTheTail) {
    const std::string directory = "/" + std::string(tokenBuffer - 4, 'd');
    EXPECT_EQ(replaced("[ApplicationPath]/tail", directory), directory + "/t");
}
