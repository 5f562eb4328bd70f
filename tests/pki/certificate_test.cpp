#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "material.h"
#include "support/child_process.h"
#include "support/temporary_directory.h"
#include "support/unprivileged.h"
#include "uapki/certificate.h"

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

UaPkiCertificate fromFile(const fs::path& path) {
    return UaPkiCertificate::fromDERFile(path.string());
}

std::string openssl(const std::vector<std::string>& arguments) {
    const test_support::ProgramResult result = test_support::runProgram("openssl", arguments);
    EXPECT_EQ(result.end.exitCode, 0) << result.standardError;
    return result.standardOutput;
}

void expectEmpty(const UaPkiCertificate& certificate) {
    EXPECT_TRUE(certificate.isNull());
    EXPECT_FALSE(certificate.isValid());
    EXPECT_EQ(certificate.toDER().length(), 0);
    EXPECT_EQ(certificate.toDERFile("never_written.der"), -1);
    EXPECT_EQ(certificate.subject().organization, "");
    EXPECT_EQ(certificate.issuer().commonName, "");
    EXPECT_EQ(certificate.info().uri, "");
    EXPECT_EQ(certificate.serialNumber(), "");
    EXPECT_EQ(certificate.thumbPrint().toHex(false), "");
    EXPECT_EQ(certificate.validFrom().ticks(), 0);
    EXPECT_EQ(certificate.validTo().ticks(), 0);
    EXPECT_FALSE(fs::exists("never_written.der"));
}

TEST(Certificate, AnEmptyOneAnswersEverythingWithNothing) {
    expectEmpty(UaPkiCertificate());
    expectEmpty(UaPkiCertificate::fromDER(UaByteString()));
}

TEST(Certificate, OneThatNoStoreCouldHoldIsEmpty) {
    EXPECT_FALSE(UaPkiCertificate::fromDER(material::chain("self_of_60_kilobytes")).isNull());
    const UaByteString tooLong = material::chain("self_of_300_kilobytes");
    ASSERT_GT(tooLong.length(), 256 * 1024);
    expectEmpty(UaPkiCertificate::fromDER(tooLong));
}

TEST(Certificate, WhatIsNoDerFileGivesAnEmptyOne) {
    const test_support::TemporaryDirectory directory;
    expectEmpty(fromFile(directory.path() / "missing.der"));
    expectEmpty(fromFile(directory.path() / "missing" / "missing.der"));
    expectEmpty(fromFile(directory.path()));
    expectEmpty(UaPkiCertificate::fromDERFile(UaString()));
    for (const char* name :
         {"garbage.der", "truncated.der", "empty.der", "megabyte.der", "self_good.pem", "root.crl"}) {
        SCOPED_TRACE(name);
        expectEmpty(fromFile(material::file(name)));
    }
}

TEST(Certificate, AFileWithoutPermissionGivesAnEmptyOne) {
    const test_support::TemporaryDirectory directory;
    fs::permissions(directory.path(), fs::perms(0755));
    fs::path file = directory.path() / "client.der";
    ASSERT_EQ(fromFile(material::file("self_good.der")).toDERFile(file.c_str()), 0);
    fs::permissions(file, fs::perms::none);
    EXPECT_EQ(runUnprivileged([&] { return fromFile(file).isNull() ? 1 : 0; }), 1);
}

TEST(Certificate, FieldsAreReadAsOpenSslShowsThem) {
    const std::string file = material::file("by_root.der").string();
    const UaPkiCertificate certificate = UaPkiCertificate::fromDERFile(file);
    ASSERT_TRUE(certificate.isValid());
    EXPECT_EQ(certificate.subject().commonName, "by_root");
    EXPECT_EQ(certificate.commonName(), "by_root");
    EXPECT_EQ(certificate.issuer().commonName, "root");
    EXPECT_EQ(certificate.info().uri, "urn:plant:server");
    EXPECT_THAT(certificate.info().dnsNames, ElementsAre(UaString("plant")));
    EXPECT_EQ(certificate.validFrom().toString(), "2020-01-01T00:00:00.000Z");
    EXPECT_EQ(certificate.validTo().toString(), "2049-01-01T00:00:00.000Z");
    EXPECT_EQ("serial=" + certificate.serialNumber().text() + "\n",
              openssl({"x509", "-inform", "DER", "-in", file, "-noout", "-serial"}));
    const std::string fingerprint =
        openssl({"x509", "-inform", "DER", "-in", file, "-noout", "-fingerprint", "-sha1"});
    std::string separated = certificate.thumbPrint().toHex(true).text();
    std::replace(separated.begin(), separated.end(), ' ', ':');
    EXPECT_THAT(fingerprint, HasSubstr("=" + separated + "\n"));
    separated.erase(std::remove(separated.begin(), separated.end(), ':'), separated.end());
    EXPECT_EQ(certificate.thumbPrint().toHex(false).text(), separated);
    EXPECT_EQ(certificate.thumbPrint().size(), 20);
}

TEST(Certificate, OfSeveralUrisTheFirstCounts) {
    EXPECT_EQ(fromFile(material::file("self_two_uris_other_first.der")).info().uri, "urn:plant:other");
}

TEST(Certificate, AnAddressThatIsNoneIsEmpty) {
    const UaPkiCertificateInfo info = fromFile(material::file("self_address_of_three_bytes.der")).info();
    EXPECT_THAT(info.ipAddresses, ElementsAre(UaString()));
    EXPECT_EQ(info.uri, "urn:plant:server");
}

TEST(Certificate, OfAChainTheFirstIsRead) {
    const UaPkiCertificate certificate = UaPkiCertificate::fromDER(material::chain("by_root root"));
    EXPECT_EQ(certificate.commonName(), "by_root");
    EXPECT_EQ(certificate.toDER(), material::chain("by_root"));
}

TEST(Certificate, AnExpiredOneIsStillValidToRead) {
    EXPECT_TRUE(fromFile(material::file("self_expired.der")).isValid());
    EXPECT_TRUE(fromFile(material::file("self_future.der")).isValid());
}

TEST(Certificate, WithAKeyThatCannotBeUsedItIsReadAndNotValid) {
    const UaPkiCertificate certificate = fromFile(material::file("self_unusable_key.der"));
    EXPECT_FALSE(certificate.isNull());
    EXPECT_FALSE(certificate.isValid());
    EXPECT_EQ(certificate.commonName(), "self_good");
}

TEST(Certificate, WhatIsWrittenIsReadBack) {
    const test_support::TemporaryDirectory directory;
    const fs::path file = directory.path() / "copy.der";
    const UaPkiCertificate certificate = fromFile(material::file("self_good.der"));
    EXPECT_EQ(certificate.toDERFile(file.c_str()), 0);
    EXPECT_EQ(material::read(file), material::chain("self_good"));
    EXPECT_EQ(certificate.toDERFile(UaString((directory.path() / "second.der").string())), 0);
    EXPECT_EQ(material::read(directory.path() / "second.der"), material::chain("self_good"));
    EXPECT_EQ(fromFile(file).toDER(), certificate.toDER());
}

TEST(Certificate, AFileNameInTheWorkingDirectoryIsEnough) {
    const test_support::TemporaryDirectory directory;
    const fs::path before = fs::current_path();
    fs::current_path(directory.path());
    EXPECT_EQ(fromFile(material::file("self_good.der")).toDERFile("bare.der"), 0);
    fs::current_path(before);
    EXPECT_EQ(material::read(directory.path() / "bare.der"), material::chain("self_good"));
}

TEST(Certificate, WhereNothingCanBeWrittenTheResultSaysSo) {
    const test_support::TemporaryDirectory directory;
    const UaPkiCertificate certificate = fromFile(material::file("self_good.der"));
    EXPECT_EQ(certificate.toDERFile((directory.path() / "missing" / "c.der").c_str()), -1);
    EXPECT_EQ(certificate.toDERFile(directory.path().c_str()), -1);
    EXPECT_EQ(certificate.toDERFile(static_cast<const char*>(nullptr)), -1);
    EXPECT_EQ(certificate.toDERFile(UaString()), -1);
    EXPECT_TRUE(fs::is_empty(directory.path()));
}

} // namespace
