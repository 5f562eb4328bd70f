#include <algorithm>
#include <cstddef>
#include <string>

#include <gmock/gmock.h>

#include "material.h"
#include "support/temporary_directory.h"
#include "uabase/trace.h"
#include "uapki/certificate_verifier.h"

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::SizeIs;

namespace {

constexpr const char* basic256Sha256 = "http://opcfoundation.org/UA/SecurityPolicy#Basic256Sha256";

class VerificationText : public testing::Test {
protected:
    UaPkiVerification verify(const std::string& sent) {
        return UaPkiCertificateVerifier(UaPkiStore(m_folders.locations()))
            .verify(material::chain(sent), "urn:plant:server", basic256Sha256, material::verificationTime());
    }

    static std::string thumbprintOf(const char* name) {
        return UaPkiCertificate::fromDER(material::chain(name)).thumbPrint().toHex(false).text();
    }

    test_support::TemporaryDirectory m_directory;
    material::StoreFolders m_folders{m_directory.path()};
};

TEST_F(VerificationText, AnUntrustedCertificateIsNamedWithTheTrustList) {
    UaPkiVerification result = verify("self_good");
    ASSERT_THAT(result.findings, SizeIs(1));
    EXPECT_EQ(result.findings.front().step, UaPkiVerificationStep::TrustList);
    EXPECT_EQ(result.findings.front().toString().text(),
              "trust list: neither the certificate nor one of its issuers is in the trust list; certificate "
              "\"CN=self_good\", thumbprint " +
                  thumbprintOf("self_good") + "; look at " + m_folders.trusted.string() +
                  " (BadCertificateUntrusted)");
}

TEST_F(VerificationText, EveryObjectionIsListedInTheOrderOfTheSteps) {
    UaPkiVerification result = verify("self_sha1");
    ASSERT_THAT(result.findings, SizeIs(2));
    EXPECT_EQ(result.findings[0].step, UaPkiVerificationStep::SecurityPolicy);
    EXPECT_EQ(result.findings[1].step, UaPkiVerificationStep::TrustList);
    EXPECT_EQ(result.status.statusCode(), result.findings[0].status.statusCode());
}

TEST_F(VerificationText, AnObjectionToEachOfTwoCertificatesIsListedTwice) {
    material::StoreFolders::fill(m_folders.trusted, "root", ".der");
    material::StoreFolders::fill(m_folders.issuers, "middle", ".der");
    UaPkiVerification result = verify("by_middle");
    ASSERT_THAT(result.findings, SizeIs(2));
    EXPECT_EQ(result.findings[0].step, UaPkiVerificationStep::FindRevocationList);
    EXPECT_EQ(result.findings[1].step, UaPkiVerificationStep::FindRevocationList);
    EXPECT_NE(result.findings[0].thumbprint, result.findings[1].thumbprint);
}

TEST_F(VerificationText, AWeakKeySaysHowWeak) {
    material::StoreFolders::fill(m_folders.trusted, "self_short", ".der");
    UaPkiVerification result = verify("self_short");
    ASSERT_THAT(result.findings, SizeIs(1));
    EXPECT_THAT(result.findings[0].text.text(), AllOf(HasSubstr("1024 bits"), HasSubstr("2048")));
}

TEST_F(VerificationText, AKeyThatIsTooLongSaysHowLong) {
    material::StoreFolders::fill(m_folders.trusted, "self_too_long", ".der");
    UaPkiVerification result = verify("self_too_long");
    ASSERT_THAT(result.findings, SizeIs(1));
    EXPECT_EQ(result.findings[0].text, UaString("its RSA key has 4104 bits, the policy allows 4096"));
}

TEST_F(VerificationText, AMissingListOfATrustedAuthorityPointsToTheListsOfTheTrusted) {
    material::StoreFolders::fill(m_folders.trusted, "root", ".der");
    UaPkiVerification result = verify("by_root");
    ASSERT_THAT(result.findings, SizeIs(1));
    EXPECT_EQ(result.findings[0].location.text(), m_folders.trustedLists.string());
}

TEST_F(VerificationText, AMissingListOfAMereIssuerPointsToTheListsOfTheIssuers) {
    material::StoreFolders::fill(m_folders.issuers, "root", ".der");
    material::StoreFolders::fill(m_folders.trusted, "by_root", ".der");
    UaPkiVerification result = verify("by_root");
    ASSERT_THAT(result.findings, SizeIs(1));
    EXPECT_EQ(result.findings[0].location.text(), m_folders.issuerLists.string());
}

TEST_F(VerificationText, AnIssuersFaultNamesTheIssuer) {
    material::StoreFolders::fill(m_folders.trusted, "root_expired", ".der");
    material::StoreFolders::fill(m_folders.trustedLists, "root_expired", ".crl");
    UaPkiVerification result = verify("by_root_expired");
    ASSERT_THAT(result.findings, SizeIs(1));
    EXPECT_EQ(result.findings[0].subject.text(), "CN=root_expired");
    EXPECT_EQ(result.findings[0].thumbprint.text(), thumbprintOf("root_expired"));
}

TEST_F(VerificationText, AMissingIssuerPointsToTheIssuersDirectory) {
    UaPkiVerification result = verify("by_root");
    EXPECT_EQ(result.status.statusCode(), OpcUa_BadCertificateChainIncomplete);
    EXPECT_EQ(result.findings[0].location.text(), m_folders.issuers.string());
    const bool revocationGuessed =
        std::any_of(result.findings.begin(), result.findings.end(), [](const UaPkiFinding& finding) {
            return finding.step == UaPkiVerificationStep::FindRevocationList;
        });
    EXPECT_FALSE(revocationGuessed) << "the missing issuer is the trouble, not its list";
}

TEST_F(VerificationText, AnotherUriIsShownBesideTheExpectedOne) {
    material::StoreFolders::fill(m_folders.trusted, "self_longer_uri", ".der");
    UaPkiVerification result = verify("self_longer_uri");
    ASSERT_THAT(result.findings, SizeIs(1));
    EXPECT_THAT(result.findings[0].text.text(),
                AllOf(HasSubstr("\"urn:plant:server:2\""), EndsWith("\"urn:plant:server\"")));
}

TEST_F(VerificationText, AUriThatIsNotAsciiIsComparedByteByByte) {
    material::StoreFolders::fill(m_folders.trusted, "self_uri_in_utf8 self_uri_in_latin1", ".der");
    const UaPkiCertificateVerifier verifier{UaPkiStore(m_folders.locations())};
    const auto statusOf = [&](const char* sent, const char* announced) {
        return verifier.verify(material::chain(sent), announced, basic256Sha256, material::verificationTime())
            .status.statusCode();
    };
    EXPECT_EQ(statusOf("self_uri_in_utf8", "urn:plant:server:\xC3\xA4"), OpcUa_Good);
    EXPECT_EQ(statusOf("self_uri_in_utf8", "urn:plant:server:\xE4"), OpcUa_BadCertificateUriInvalid);
    EXPECT_EQ(statusOf("self_uri_in_latin1", "urn:plant:server:\xC3\xA4"), OpcUa_BadCertificateUriInvalid);
    // People are shown the same text for both.
    for (const char* sent : {"self_uri_in_utf8", "self_uri_in_latin1"}) {
        EXPECT_EQ(UaPkiCertificate::fromDER(material::chain(sent)).info().uri.text(),
                  "urn:plant:server:\xC3\xA4");
        EXPECT_THAT(verify(sent).findings.at(0).text.text(), HasSubstr("for \"urn:plant:server:\xC3\xA4\""));
    }
}

TEST_F(VerificationText, AServerWithoutAnnouncedUriMatchesNothing) {
    material::StoreFolders::fill(m_folders.trusted, "self_good self_no_uri", ".der");
    const UaPkiCertificateVerifier verifier{UaPkiStore(m_folders.locations())};
    for (const char* sent : {"self_good", "self_no_uri"}) {
        const UaPkiVerification result =
            verifier.verify(material::chain(sent), "", basic256Sha256, material::verificationTime());
        EXPECT_EQ(result.status.statusCode(), OpcUa_BadCertificateUriInvalid) << sent;
    }
}

TEST_F(VerificationText, FindingsAndPassedOverFilesGoToTheTrace) {
    const std::string trace = (m_directory.path() / "trace.log").string();
    material::write(m_folders.trusted / "notes.txt", "ask the vendor for the new certificate");
    ASSERT_EQ(UaTrace::initTrace(UaTrace::Warnings, 100, 0, trace, "pki_test"), 0);
    UaTrace::setTraceActive(true);
    verify("self_good");
    UaTrace::closeTrace();
    const UaByteString content = material::read(trace);
    const std::string text(reinterpret_cast<const char*>(content.data()),
                           static_cast<std::size_t>(content.length()));
    EXPECT_THAT(text, AllOf(HasSubstr((m_folders.trusted / "notes.txt").string()),
                            HasSubstr("BadCertificateUntrusted"), HasSubstr(thumbprintOf("self_good"))));
    EXPECT_THAT(text, testing::Not(HasSubstr("ask the vendor")));
}

TEST_F(VerificationText, ASubjectsControlCharactersDoNotReachATerminal) {
    const UaPkiRsaKeyPair keys(2048);
    UaPkiIdentity identity;
    identity.commonName = "evil\x1B[2Jname";
    UaPkiCertificateInfo info;
    info.uri = "urn:plant:server";
    info.validTime = 3600;
    const UaPkiCertificate certificate(info, identity, keys.publicKey(), identity, keys.privateKey(), false,
                                       UaPkiCertificate::Sha256);
    ASSERT_TRUE(certificate.isValid());
    EXPECT_EQ(certificate.commonName().text(), "evil\xEF\xBF\xBD[2Jname");
    UaPkiVerification result = UaPkiCertificateVerifier(UaPkiStore(m_folders.locations()))
                                   .verify(certificate.toDER(), info.uri, basic256Sha256, UaDateTime::now());
    ASSERT_FALSE(result.findings.empty());
    EXPECT_EQ(result.findings[0].toString().text().find('\x1B'), std::string::npos);
}

} // namespace
