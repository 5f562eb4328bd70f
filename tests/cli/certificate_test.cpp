#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/err.h>

#include "files/library_files.h"
#include "security/certificate.h"
#include "support/child_process.h"
#include "support/temporary_directory.h"

using namespace opcua_cli;
using testing::ElementsAre;

namespace {

/// A certificate as others make them, in DER and in PEM.
class CertificateFile : public testing::Test {
protected:
    CertificateFile() {
        make({"req",
              "-x509",
              "-newkey",
              "ec",
              "-pkeyopt",
              "ec_paramgen_curve:prime256v1",
              "-nodes",
              "-keyout",
              path("key.pem"),
              "-out",
              path("cert.pem"),
              "-days",
              "30",
              "-set_serial",
              "0x00C0FFEE",
              "-subj",
              "/O=Dairy/CN=Press 4 Füllstand",
              "-utf8",
              "-addext",
              "subjectAltName=URI:urn:dairy:press4,DNS:press4,DNS:press4.example"});
        make({"x509", "-in", path("cert.pem"), "-outform", "der", "-out", path("cert.der")});
    }

    std::string path(const std::string& name) const { return (m_directory.path() / name).string(); }
    std::string der() const { return readSmallFile(path("cert.der")); }
    static std::string make(const std::vector<std::string>& arguments) {
        const auto result = test_support::runProgram("openssl", arguments);
        EXPECT_EQ(result.end.exitCode, 0) << result.standardError;
        return result.standardOutput;
    }

private:
    test_support::TemporaryDirectory m_directory;
};

} // namespace

TEST_F(CertificateFile, IsReadAsOthersReadIt) {
    const Certificate certificate = certificateFromDer(der());
    EXPECT_EQ(certificate.commonName, "Press 4 Füllstand");
    EXPECT_EQ(certificate.organization, "Dairy");
    EXPECT_EQ(certificate.issuerCommonName, "Press 4 Füllstand");
    EXPECT_EQ(certificate.applicationUri, "urn:dairy:press4");
    EXPECT_THAT(certificate.hostNames, ElementsAre("press4", "press4.example"));
    EXPECT_EQ(certificate.serialNumber, "C0FFEE");
    const std::string told = make({"x509", "-in", path("cert.pem"), "-noout", "-dates", "-dateopt",
                                   "iso_8601", "-fingerprint", "-sha1"});
    std::string thumbprint = told.substr(told.rfind('=') + 1, 59);
    thumbprint.erase(std::remove(thumbprint.begin(), thumbprint.end(), ':'), thumbprint.end());
    EXPECT_EQ(certificate.thumbprint, thumbprint);
    const auto inIsoForm = [](std::string time) { return time.replace(10, 1, " "); };
    EXPECT_THAT(told, testing::HasSubstr("notBefore=" + inIsoForm(certificate.validFrom)));
    EXPECT_THAT(told, testing::HasSubstr("notAfter=" + inIsoForm(certificate.validTo)));
}

TEST_F(CertificateFile, PemHoldsTheSame) {
    EXPECT_EQ(derOf(readSmallFile(path("cert.pem"))), der());
    EXPECT_EQ(derOf(der()), der());
    EXPECT_THROW(derOf("-----BEGIN CERTIFICATE-----\nMIID"), std::invalid_argument);
}

TEST_F(CertificateFile, APieceOfOneIsNone) {
    const std::string whole = der();
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_THROW(certificateFromDer(whole.substr(0, length)), std::invalid_argument) << length;
}

TEST_F(CertificateFile, NoChangedByteLeadsAstray) {
    const std::string whole = der();
    for (std::size_t i = 0; i < whole.size(); ++i) {
        for (const char wrong : {'\0', '\x7F', '\x80', '\xFF'}) {
            std::string changed = whole;
            changed[i] = wrong;
            try {
                EXPECT_EQ(certificateFromDer(changed).thumbprint.size(), 40U);
            } catch (const std::invalid_argument&) {
            }
        }
    }
}

TEST(Pem, OfAnEncryptedCertificateIsNoneAndAsksForNothing) {
    const std::string text = "-----BEGIN CERTIFICATE-----\nProc-Type: 4,ENCRYPTED\n"
                             "DEK-Info: AES-128-CBC,000102030405060708090A0B0C0D0E0F\n\n"
                             "AAECAwQFBgcICQoLDA0ODw==\n-----END CERTIFICATE-----\n";
    EXPECT_THROW(derOf(text), std::invalid_argument);
    EXPECT_EQ(ERR_peek_error(), 0U) << "what the library would take for its own";
}

TEST(SmallFile, IsNoDirectoryAndNoDevice) {
    EXPECT_THROW(readSmallFile("/"), std::runtime_error);
    EXPECT_THROW(readSmallFile("/dev/zero"), std::runtime_error);
    EXPECT_THROW(readSmallFile("/no/such/file"), std::runtime_error);
}
