#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "support/child_process.h"
#include "support/temporary_directory.h"
#include "uapki/certificate.h"

using testing::AllOf;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

constexpr auto sha256 = UaPkiCertificate::Sha256;
constexpr OpcUa_Int64 fiveYears = 157'680'000;

const UaPkiRsaKeyPair& keys() {
    static const UaPkiRsaKeyPair pair(2048);
    return pair;
}

UaPkiIdentity identity() {
    UaPkiIdentity name;
    name.organization = "Organization";
    name.organizationUnit = "Unit";
    name.locality = "LocationName";
    name.state = "Northvale";
    name.country = "SZ";
    name.commonName = "HMI_RK4400";
    name.domainComponent = "HMI_Client";
    return name;
}

UaPkiCertificateInfo applicationInfo() {
    UaPkiCertificateInfo info;
    info.uri = "urn:HMI:Kestrova::RK4400";
    info.dnsNames = {"HMI_Client"};
    info.validTime = fiveYears;
    return info;
}

UaPkiCertificate selfSigned(const UaPkiCertificateInfo& info, const UaPkiIdentity& name = identity()) {
    return UaPkiCertificate(info, name, keys().publicKey(), name, keys().privateKey(), false, sha256);
}

std::string openssl(const std::vector<std::string>& arguments, int exitCode = 0) {
    const test_support::ProgramResult result = test_support::runProgram("openssl", arguments);
    EXPECT_EQ(result.end.exitCode, exitCode) << result.standardOutput << result.standardError;
    return result.standardOutput;
}

class MadeCertificate : public testing::Test {
protected:
    std::string save(const UaPkiCertificate& certificate, const char* name = "made.der") {
        std::string path = (m_directory.path() / name).string();
        EXPECT_EQ(certificate.toDERFile(path.c_str()), 0);
        return path;
    }

    std::string text(const UaPkiCertificate& certificate) {
        return openssl({"x509", "-inform", "DER", "-in", save(certificate), "-noout", "-text", "-nameopt",
                        "sep_comma_plus_space,space_eq,sname"});
    }

    test_support::TemporaryDirectory m_directory;
};

TEST_F(MadeCertificate, OpenSslShowsEveryFieldOfAnApplicationsCertificate) {
    const std::string name = "O = Organization, OU = Unit, L = LocationName, ST = Northvale, C = SZ, CN = "
                             "HMI_RK4400, DC = HMI_Client";
    const std::string shown = text(selfSigned(applicationInfo()));
    EXPECT_THAT(shown, HasSubstr("Version: 3 (0x2)"));
    EXPECT_THAT(shown, HasSubstr("Signature Algorithm: sha256WithRSAEncryption"));
    EXPECT_THAT(shown, HasSubstr("Issuer: " + name + "\n"));
    EXPECT_THAT(shown, HasSubstr("Subject: " + name + "\n"));
    EXPECT_THAT(shown, HasSubstr("Public-Key: (2048 bit)"));
    EXPECT_THAT(shown, HasSubstr("X509v3 Basic Constraints: critical\n                CA:FALSE\n"));
    EXPECT_THAT(shown,
                HasSubstr("X509v3 Key Usage: critical\n                Digital Signature, Non Repudiation, "
                          "Key Encipherment, Data Encipherment, Certificate Sign\n"));
    EXPECT_THAT(
        shown,
        HasSubstr("X509v3 Extended Key Usage: \n                TLS Web Client Authentication, TLS Web "
                  "Server Authentication\n"));
    EXPECT_THAT(shown, HasSubstr("X509v3 Subject Alternative Name: \n                "
                                 "URI:urn:HMI:Kestrova::RK4400, DNS:HMI_Client\n"));
    EXPECT_THAT(shown, ContainsRegex("X509v3 Subject Key Identifier: \n +[0-9A-F:]{59}\n"));
    EXPECT_THAT(shown, ContainsRegex("X509v3 Authority Key Identifier: \n +[0-9A-F:]{59}\n"));
}

TEST_F(MadeCertificate, TheKeyIdentifiersOfASelfSignedOneAreTheSame) {
    std::string path = save(selfSigned(applicationInfo()));
    auto identifier = [&path](const char* extension) {
        const std::string shown =
            openssl({"x509", "-inform", "DER", "-in", path, "-noout", "-ext", extension});
        return shown.substr(shown.find('\n'));
    };
    EXPECT_EQ(identifier("subjectKeyIdentifier"), identifier("authorityKeyIdentifier"));
}

TEST_F(MadeCertificate, ItHoldsFromNowForExactlyTheGivenTime) {
    const OpcUa_Int64 before = UaDateTime::now().toUnixTime();
    const UaPkiCertificate certificate = selfSigned(applicationInfo());
    const OpcUa_Int64 after = UaDateTime::now().toUnixTime();
    EXPECT_GE(certificate.validFrom().toUnixTime(), before);
    EXPECT_LE(certificate.validFrom().toUnixTime(), after);
    EXPECT_EQ(certificate.validTo().toUnixTime() - certificate.validFrom().toUnixTime(), fiveYears);
    EXPECT_EQ(certificate.info().validTime, fiveYears);
}

TEST_F(MadeCertificate, ItMayStartInThePast) {
    UaPkiCertificateInfo info = applicationInfo();
    info.backdateTime = 7200;
    const OpcUa_Int64 latest = UaDateTime::now().toUnixTime() - 7200;
    const UaPkiCertificate certificate = selfSigned(info);
    EXPECT_GE(certificate.validFrom().toUnixTime(), latest);
    EXPECT_LE(certificate.validFrom().toUnixTime(), UaDateTime::now().toUnixTime() - 7200);
    EXPECT_EQ(certificate.info().validTime, fiveYears);
}

TEST_F(MadeCertificate, AUsersCertificateHasNoNamesButItsUri) {
    UaPkiCertificateInfo info;
    info.uri = "UserCertificate";
    info.validTime = 31'536'000;
    UaPkiIdentity name = identity();
    name.commonName = "Authenticated";
    const UaPkiCertificate certificate = selfSigned(info, name);
    EXPECT_THAT(text(certificate),
                AllOf(HasSubstr("CN = Authenticated,"), HasSubstr("                URI:UserCertificate\n")));
    EXPECT_EQ(certificate.commonName(), "Authenticated");
    EXPECT_EQ(certificate.info().uri, "UserCertificate");
    EXPECT_TRUE(certificate.info().dnsNames.empty());
    EXPECT_EQ(certificate.info().validTime, 31'536'000);
}

TEST_F(MadeCertificate, OpenSslVerifiesItsSignature) {
    const std::string path = save(selfSigned(applicationInfo()));
    const std::string pem = (m_directory.path() / "made.pem").string();
    openssl({"x509", "-inform", "DER", "-in", path, "-out", pem});
    openssl({"verify", "-check_ss_sig", "-partial_chain", "-CAfile", pem, pem});
}

TEST_F(MadeCertificate, SerialNumbersArePositiveRandomAndLong) {
    std::set<std::string> seen;
    for (int i = 0; i < 20; ++i) {
        const std::string number = selfSigned(applicationInfo()).serialNumber().text();
        EXPECT_EQ(number.size(), 32U) << number;
        EXPECT_THAT(number, testing::MatchesRegex("[4-7][0-9A-F]+")) << "top bit clear, the next one set";
        EXPECT_TRUE(seen.insert(number).second);
    }
}

TEST_F(MadeCertificate, AddressesNamesAndEmailComeBack) {
    UaPkiCertificateInfo info = applicationInfo();
    info.ipAddresses = {"192.168.0.17", "fe80::1"};
    info.dnsNames = {"panel", "panel.plant.example"};
    info.email = "maintenance@plant.example";
    const UaPkiCertificateInfo read = selfSigned(info).info();
    EXPECT_EQ(read.uri, info.uri);
    EXPECT_EQ(read.ipAddresses, info.ipAddresses);
    EXPECT_EQ(read.dnsNames, info.dnsNames);
    EXPECT_EQ(read.email, info.email);
}

TEST_F(MadeCertificate, NamesMayBeOfAnyLanguage) {
    UaPkiIdentity name = identity();
    name.commonName = "操作员 Jörg";
    EXPECT_EQ(selfSigned(applicationInfo(), name).commonName(), "操作员 Jörg");
}

TEST_F(MadeCertificate, EmptyAttributesAreLeftOut) {
    UaPkiIdentity name;
    name.commonName = "alone";
    const UaPkiCertificate certificate = selfSigned(applicationInfo(), name);
    EXPECT_THAT(text(certificate), HasSubstr("Subject: CN = alone\n"));
    EXPECT_EQ(certificate.subject().organization, "");
    EXPECT_EQ(certificate.subject().country, "");
}

TEST_F(MadeCertificate, WhatDoesNotFitGivesAnEmptyOne) {
    auto changedInfo = [](auto change) {
        UaPkiCertificateInfo info = applicationInfo();
        change(info);
        return selfSigned(info).isNull();
    };
    auto changedName = [](auto change) {
        UaPkiIdentity name = identity();
        change(name);
        return selfSigned(applicationInfo(), name).isNull();
    };
    EXPECT_TRUE(changedInfo([](auto& info) { info.validTime = 0; }));
    EXPECT_TRUE(changedInfo([](auto& info) { info.validTime = -1; }));
    EXPECT_TRUE(changedInfo([](auto& info) { info.validTime = INT64_MAX; }));
    EXPECT_TRUE(changedInfo([](auto& info) { info.uri = "urn:Jörg"; }));
    EXPECT_TRUE(changedInfo([](auto& info) { info.dnsNames = {"a b"}; }));
    EXPECT_TRUE(changedInfo([](auto& info) { info.ipAddresses = {"300.1.1.1"}; }));
    EXPECT_TRUE(changedName([](auto& name) { name.country = "Switzerland"; }));
    EXPECT_TRUE(changedName([](auto& name) { name.commonName = std::string(65, 'x'); }));
    EXPECT_TRUE(changedName([](auto& name) { name.commonName = "\xFF\xFE"; }));
    const UaPkiIdentity name = identity();
    EXPECT_TRUE(
        UaPkiCertificate(applicationInfo(), name, {}, name, keys().privateKey(), false, sha256).isNull());
    EXPECT_TRUE(
        UaPkiCertificate(applicationInfo(), name, keys().publicKey(), name, {}, false, sha256).isNull());
}

TEST_F(MadeCertificate, AnAuthorityIssuesWhatOpenSslAccepts) {
    const UaPkiRsaKeyPair authorityKeys(2048);
    UaPkiIdentity authorityName;
    authorityName.commonName = "Plant CA";
    UaPkiCertificateInfo authorityInfo;
    authorityInfo.validTime = fiveYears;
    const UaPkiCertificate authority(authorityInfo, authorityName, authorityKeys.publicKey(), authorityName,
                                     authorityKeys.privateKey(), true, sha256);
    const UaPkiCertificate issued(applicationInfo(), identity(), keys().publicKey(), authorityName,
                                  authorityKeys.privateKey(), false, sha256);
    EXPECT_THAT(text(authority),
                AllOf(HasSubstr("CA:TRUE, pathlen:0"), HasSubstr("Certificate Sign, CRL Sign")));
    EXPECT_THAT(text(issued),
                AllOf(HasSubstr("Issuer: CN = Plant CA\n"), Not(HasSubstr("Certificate Sign"))));
    EXPECT_EQ(issued.issuer().commonName, "Plant CA");
    auto pem = [this](const UaPkiCertificate& certificate, const char* name) {
        std::string path = (m_directory.path() / name).string();
        openssl({"x509", "-inform", "DER", "-in", save(certificate), "-out", path});
        return path;
    };
    openssl({"verify", "-x509_strict", "-CAfile", pem(authority, "ca.pem"), pem(issued, "issued.pem")});
}

} // namespace
